// The class JointTrajectory.
#include <nanobind/nanobind.h>
#include <nanobind/stl/unique_ptr.h>

#include <memory>
#include <string>

#include "conversions.hpp"
#include "register.hpp"
#include "shared_trajectory.hpp"

namespace velmora::python {
namespace {

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
  return nb::str("JointTrajectory(shape=({}, {}), time=[{:.9g}, {:.9g}] s, mean step={})")
      .attr("format")(self.positions().rows(), self.positions().cols(), StartTime(self), EndTime(self),
                      step.is_none() ? nb::object(nb::str("none")) : nb::str("{:.9g} s").attr("format")(step));
}

}  // namespace

void RegisterTrajectory(nb::module_& module) {
  nb::class_<SharedTrajectory>(module, "JointTrajectory", "A time-sampled joint trajectory.")
      .def("__init__", &Construct, nb::arg("positions").none(), nb::arg("velocities").none() = nb::none(),
           nb::arg("accelerations").none() = nb::none(), nb::arg("time").none() = nb::none(),
           nb::arg("dt").none() = nb::none(), nb::arg("jerks").none() = nb::none())
      .def_prop_ro("positions", [](Self self) { return ViewOf(self.p->positions(), self.h); })
      .def_prop_ro("time", [](Self self) { return ViewOf(self.p->time(), self.h); })
      .def_prop_ro("velocities", &GetDerivative<kVelocities>)
      .def_prop_ro("accelerations", &GetDerivative<kAccelerations>)
      .def_prop_ro("jerks", &GetDerivative<kJerks>)
      .def_prop_ro("sample_count", [](const SharedTrajectory& self) { return self.positions().rows(); })
      .def_prop_ro("joint_count", [](const SharedTrajectory& self) { return self.positions().cols(); })
      .def_prop_ro("start_time_s", &StartTime)
      .def_prop_ro("end_time_s", &EndTime)
      .def_prop_ro("duration_s", [](const SharedTrajectory& self) { return EndTime(self) - StartTime(self); })
      .def("copy", &Copy)
      .def("__copy__", &Copy)
      .def(
          "__deepcopy__", [](const SharedTrajectory& self, nb::handle) { return Copy(self); }, nb::arg("memo"))
      .def("__eq__", &IsEqual, nb::is_operator())
      .def("__reduce__", &Reduce)
      .def("__repr__", &Represent)
      .attr("__hash__") = nb::none();
}

}  // namespace velmora::python
