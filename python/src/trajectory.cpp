// The class JointTrajectory.
// SPDX-License-Identifier: Apache-2.0
#include <nanobind/nanobind.h>
#include <nanobind/stl/unique_ptr.h>

#include <memory>
#include <string>

#include "conversions.hpp"
#include "register.hpp"
#include "shared_trajectory.hpp"

namespace velmora::python {
namespace {

constexpr const char* kDocstring =
    R"doc(A time-sampled joint trajectory of N >= 1 samples and J >= 0 joints, checked once and unchangeable from then on.

Derivatives are computed at their first use, level by level, by three-point differences: accelerations from the
velocities as they stand in the object (supplied or computed), jerks from the accelerations. A derivative that was
supplied is returned as it is.

Parameters
----------
positions : (N, J) array_like of float
    Joint positions: a row per sample, a column per joint.
velocities, accelerations : (N, J) array_like of float, optional
    First and second derivative.
time : (N,) array_like of float, optional
    Sample times in seconds, finite and strictly increasing.
dt : float, optional
    Sample spacing in seconds, finite and positive, for the times ``i * dt``; ignored where `time` is given.
jerks : (N, J) array_like of float, optional
    Third derivative.

Raises
------
InvalidArgumentError
    Checked in this order: "JointTrajectory requires at least 1 sample to support velocity and acceleration evaluation,
    got 0."; "JointTrajectory.positions must contain only finite values."; "JointTrajectory.positions must align with
    JointTrajectory.time."; "JointTrajectory.time must contain only finite values."; "JointTrajectory.time must be
    strictly increasing."; "Either `time` or `dt` must be provided."; "JointTrajectory.dt must be finite and positive.";
    then for velocities, accelerations and jerks in turn "JointTrajectory.velocities must match
    JointTrajectory.positions shape." and "JointTrajectory.velocities must contain only finite values.".
TypeError, ValueError
    For arguments of another kind or number of dimensions; the message names the argument.

Notes
-----
Arrays are converted to C-ordered float64 once, and copied. Those that come out are views into the trajectory: read-only,
at the same address at every call, and they keep it alive. Any number of threads may share a trajectory.

``==`` compares the bits of times, positions and every derivative that either of the two holds; a derivative that was not
asked for yet counts with what would be computed. A trajectory can be copied and pickled, with the derivatives it holds.

Near the largest double a computed derivative may overflow; it is stored as it comes, and `copy` fails with the message of
the constructor. Differences of three points: B. Fornberg, "Generation of finite difference formulas on arbitrarily spaced
grids", Mathematics of Computation 51 (1988).

Examples
--------
>>> import velmora as vm
>>> trajectory = vm.JointTrajectory([[0.0], [1.0], [4.0]], dt=0.5)
>>> trajectory
JointTrajectory(shape=(3, 1), time=[0, 1] s, mean step=0.5 s)
>>> trajectory.velocities
array([[0.],
       [4.],
       [8.]])
)doc";

constexpr const char* kCopyDocstring = R"doc(Return an independent copy, with the derivatives held so far.

Returns
-------
JointTrajectory
    Equal to this trajectory; none of its arrays shares memory with this one's.

Raises
------
InvalidArgumentError
    "JointTrajectory.velocities must contain only finite values.", or the same of accelerations or jerks, where a
    derivative that was asked for had overflowed.
MemoryError
    Where memory runs out.

Notes
-----
Linear in the number of elements. Any number of threads may call it at once. `copy.copy` and `copy.deepcopy` do the same.

Examples
--------
>>> import velmora as vm
>>> trajectory = vm.JointTrajectory([[0.0], [1.0]], dt=0.5)
>>> copied = trajectory.copy()
>>> copied == trajectory, copied is trajectory
(True, False)
)doc";

using Self = nb::pointer_and_handle<SharedTrajectory>;

void Construct(SharedTrajectory* place, nb::handle positions, nb::handle velocities, nb::handle accelerations,
               nb::handle time, nb::handle dt, nb::handle jerks) {
  Matrix given_positions = ToMatrix(positions, "positions");
  std::optional<Matrix> given_velocities = ToOptionalMatrix(velocities, "velocities");
  std::optional<Matrix> given_accelerations = ToOptionalMatrix(accelerations, "accelerations");
  std::optional<Vector> given_time = ToOptionalVector(time, "time");
  const std::optional<double> given_dt = ToOptionalDouble(dt, "dt");
  std::optional<Matrix> given_jerks = ToOptionalMatrix(jerks, "jerks");
  const nb::gil_scoped_release unlocked;
  new (place) SharedTrajectory(JointTrajectory(std::move(given_positions), std::move(given_velocities),
                                               std::move(given_accelerations), std::move(given_time), given_dt,
                                               std::move(given_jerks)));
}

template <Derivative kDerivative>
nb::object GetDerivative(Self self) {
  if (!self.p->Has(kDerivative)) {
    const nb::gil_scoped_release unlocked;
    self.p->Get(kDerivative);
  }
  return ViewOf(self.p->Get(kDerivative), self.h);
}

std::unique_ptr<SharedTrajectory> Copy(const SharedTrajectory& self) {
  const nb::gil_scoped_release unlocked;
  return std::make_unique<SharedTrajectory>(self.Read([](const JointTrajectory& held) { return held.Copy(); }));
}

bool IsEqual(const SharedTrajectory& self, const SharedTrajectory& other) {
  const nb::gil_scoped_release unlocked;
  return self.HasSameBits(other);
}

// A derivative that overflowed was computed, and is computed again from what is kept.
template <Derivative kDerivative>
nb::object PresentDerivative(Self self) {
  if (!self.p->Has(kDerivative) || !self.p->Get(kDerivative).allFinite()) return nb::none();
  return ViewOf(self.p->Get(kDerivative), self.h);
}

nb::object Reduce(Self self) {
  return nb::make_tuple(
      self.h.type(), nb::make_tuple(ViewOf(self.p->positions(), self.h), PresentDerivative<kVelocities>(self),
                                    PresentDerivative<kAccelerations>(self), ViewOf(self.p->time(), self.h), nb::none(),
                                    PresentDerivative<kJerks>(self)));
}

double StartTime(const SharedTrajectory& self) { return self.time()[0]; }
double EndTime(const SharedTrajectory& self) { return self.time()[self.time().size() - 1]; }

// With the mean step, since the steps may differ.
nb::object Represent(const SharedTrajectory& self) {
  const Eigen::Index steps = self.positions().rows() - 1;
  const double span = EndTime(self) - StartTime(self);
  const nb::object step = steps > 0 ? nb::cast(span / static_cast<double>(steps)) : nb::none();
  return nb::str("JointTrajectory(shape=({}, {}), time=[{:.15g}, {:.15g}] s, mean step={})")
      .attr("format")(self.positions().rows(), self.positions().cols(), StartTime(self), EndTime(self),
                      step.is_none() ? nb::object(nb::str("none")) : nb::str("{:.9g} s").attr("format")(step));
}

}  // namespace

void RegisterTrajectory(nb::module_& module) {
  nb::class_<SharedTrajectory>(module, "JointTrajectory", kDocstring)
      .def("__init__", &Construct, nb::arg("positions").none(), nb::arg("velocities").none() = nb::none(),
           nb::arg("accelerations").none() = nb::none(), nb::arg("time").none() = nb::none(),
           nb::arg("dt").none() = nb::none(), nb::arg("jerks").none() = nb::none(),
           nb::sig("def __init__(self, positions: velmora._typing.MatrixLike, "
                   "velocities: velmora._typing.MatrixLike | None = None, "
                   "accelerations: velmora._typing.MatrixLike | None = None, "
                   "time: velmora._typing.VectorLike | None = None, dt: velmora._typing.Real | None = None, "
                   "jerks: velmora._typing.MatrixLike | None = None) -> None"))
      .def_prop_ro(
          "positions", [](Self self) { return ViewOf(self.p->positions(), self.h); },
          nb::for_getter(nb::sig("def positions(self) -> velmora._typing.FloatArray")), "(N, J) joint positions.")
      .def_prop_ro(
          "time", [](Self self) { return ViewOf(self.p->time(), self.h); },
          nb::for_getter(nb::sig("def time(self) -> velmora._typing.FloatArray")), "(N,) sample times in seconds.")
      .def_prop_ro("velocities", &GetDerivative<kVelocities>,
                   nb::for_getter(nb::sig("def velocities(self) -> velmora._typing.FloatArray")),
                   "(N, J) first derivative, per second; computed at the first use unless supplied.")
      .def_prop_ro("accelerations", &GetDerivative<kAccelerations>,
                   nb::for_getter(nb::sig("def accelerations(self) -> velmora._typing.FloatArray")),
                   "(N, J) second derivative, per second squared; computed at the first use unless supplied.")
      .def_prop_ro("jerks", &GetDerivative<kJerks>,
                   nb::for_getter(nb::sig("def jerks(self) -> velmora._typing.FloatArray")),
                   "(N, J) third derivative, per second cubed; computed at the first use unless supplied.")
      .def_prop_ro(
          "sample_count", [](const SharedTrajectory& self) { return self.positions().rows(); }, "Number of samples, N.")
      .def_prop_ro(
          "joint_count", [](const SharedTrajectory& self) { return self.positions().cols(); }, "Number of joints, J.")
      .def_prop_ro("start_time_s", &StartTime, "Time of the first sample in seconds.")
      .def_prop_ro("end_time_s", &EndTime, "Time of the last sample in seconds.")
      .def_prop_ro(
          "duration_s", [](const SharedTrajectory& self) { return EndTime(self) - StartTime(self); },
          "Seconds from the first to the last sample.")
      .def("copy", &Copy, nb::sig("def copy(self) -> JointTrajectory"), kCopyDocstring)
      .def("__copy__", &Copy, nb::sig("def __copy__(self) -> JointTrajectory"))
      .def(
          "__deepcopy__", [](const SharedTrajectory& self, nb::handle) { return Copy(self); }, nb::arg("memo"),
          nb::sig("def __deepcopy__(self, memo: dict[int, object]) -> JointTrajectory"))
      .def("__eq__", &IsEqual, nb::is_operator(), nb::sig("def __eq__(self, other: object) -> bool"))
      .def("__reduce__", &Reduce, nb::sig("def __reduce__(self) -> tuple[object, ...]"))
      .def("__repr__", &Represent, nb::sig("def __repr__(self) -> str"))
      .attr("__hash__") = nb::none();
}

}  // namespace velmora::python
