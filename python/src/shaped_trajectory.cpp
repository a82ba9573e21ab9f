// The class ShapedTrajectory.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/native/shaped_trajectory.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "records.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

constexpr const char* kDocstring =
    R"doc(A vibration-shaped trajectory of N samples and J joints: a plain record, whose shapes are checked where it is used.

Parameters
----------
positions, velocities, accelerations : (N, J) array_like of float
    A row per sample, a column per joint.
time : (N,) array_like of float
    Sample times in seconds.

Raises
------
TypeError, ValueError
    For arguments of another kind or number of dimensions; the message names the argument.

Notes
-----
Its arrays are read-only, so that any number of threads may use it. It can be copied and pickled, and equals a record of
the same bits.

Examples
--------
>>> import velmora as vm
>>> vm.ShapedTrajectory([[1.0]], [[0.5]], [[0.0]], [2.0]).velocities
array([[0.5]])
)doc";

using native::ShapedTrajectory;
using Self = nb::pointer_and_handle<ShapedTrajectory>;

template <auto kField>
nb::object View(Self self) {
  return ViewOf(self.p->*kField, self.h);
}

}  // namespace

void RegisterShapedTrajectory(nb::module_& module) {
  nb::class_<ShapedTrajectory> record(module, "ShapedTrajectory", kDocstring);
  record
      .def(
          "__init__",
          [](ShapedTrajectory* place, nb::handle positions, nb::handle velocities, nb::handle accelerations,
             nb::handle time) {
            new (place) ShapedTrajectory{ToMatrix(positions, "positions"), ToMatrix(velocities, "velocities"),
                                         ToMatrix(accelerations, "accelerations"), ToVector(time, "time")};
          },
          nb::arg("positions").none(), nb::arg("velocities").none(), nb::arg("accelerations").none(),
          nb::arg("time").none(),
          nb::sig("def __init__(self, positions: velmora._typing.MatrixLike, velocities: velmora._typing.MatrixLike, "
                  "accelerations: velmora._typing.MatrixLike, time: velmora._typing.VectorLike) -> None"))
      .def_prop_ro("positions", &View<&ShapedTrajectory::positions>,
                   nb::for_getter(nb::sig("def positions(self) -> velmora._typing.FloatArray")),
                   "(N, J) joint positions.")
      .def_prop_ro("velocities", &View<&ShapedTrajectory::velocities>,
                   nb::for_getter(nb::sig("def velocities(self) -> velmora._typing.FloatArray")),
                   "(N, J) joint velocities.")
      .def_prop_ro("accelerations", &View<&ShapedTrajectory::accelerations>,
                   nb::for_getter(nb::sig("def accelerations(self) -> velmora._typing.FloatArray")),
                   "(N, J) joint accelerations.")
      .def_prop_ro("time", &View<&ShapedTrajectory::time>,
                   nb::for_getter(nb::sig("def time(self) -> velmora._typing.FloatArray")),
                   "(N,) sample times in seconds.")
      .def(
          "__eq__",
          [](const ShapedTrajectory& a, const ShapedTrajectory& b) {
            return SameBits(a.positions, b.positions) && SameBits(a.velocities, b.velocities) &&
                   SameBits(a.accelerations, b.accelerations) && SameBits(a.time, b.time);
          },
          nb::is_operator(), nb::sig("def __eq__(self, other: object) -> bool"));
  AddRecordMethods(record, {"positions", "velocities", "accelerations", "time"});
}

}  // namespace velmora::python
