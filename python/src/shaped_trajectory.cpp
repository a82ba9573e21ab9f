// The class ShapedTrajectory.
#include "velmora/native/shaped_trajectory.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "records.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

using native::ShapedTrajectory;
using Self = nb::pointer_and_handle<ShapedTrajectory>;

template <auto kField>
nb::object View(Self self) {
  return ViewOf(self.p->*kField, self.h);
}

}  // namespace

void RegisterShapedTrajectory(nb::module_& module) {
  nb::class_<ShapedTrajectory> record(module, "ShapedTrajectory");
  record
      .def(
          "__init__",
          [](ShapedTrajectory* place, nb::handle positions, nb::handle velocities, nb::handle accelerations,
             nb::handle time) {
            new (place) ShapedTrajectory{ToMatrix(positions, "positions"), ToMatrix(velocities, "velocities"),
                                         ToMatrix(accelerations, "accelerations"), ToVector(time, "time")};
          },
          nb::arg("positions").none(), nb::arg("velocities").none(), nb::arg("accelerations").none(),
          nb::arg("time").none())
      .def_prop_ro("positions", &View<&ShapedTrajectory::positions>)
      .def_prop_ro("velocities", &View<&ShapedTrajectory::velocities>)
      .def_prop_ro("accelerations", &View<&ShapedTrajectory::accelerations>)
      .def_prop_ro("time", &View<&ShapedTrajectory::time>)
      .def(
          "__eq__",
          [](const ShapedTrajectory& a, const ShapedTrajectory& b) {
            return SameBits(a.positions, b.positions) && SameBits(a.velocities, b.velocities) &&
                   SameBits(a.accelerations, b.accelerations) && SameBits(a.time, b.time);
          },
          nb::is_operator());
  AddRecordMethods(record, {"positions", "velocities", "accelerations", "time"});
}

}  // namespace velmora::python
