// The blend of a shaped tail with the raw endpoint held at rest.
#include "velmora/control/shaper/tail_blend.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

using native::ShapedTrajectory;

ShapedTrajectory BlendTail(nb::handle raw_position, const ShapedTrajectory& shaped_tail, nb::handle weight) {
  const Vector given_position = ToVector(raw_position, "raw_position");
  const double given_weight = ToDouble(weight, "weight");
  const nb::gil_scoped_release unlocked;
  return control::shaper::BlendTailWithHeldRawEndpoint(given_position, shaped_tail, given_weight);
}

}  // namespace

void RegisterTailBlend(nb::module_& module) {
  module.def("blend_tail_with_held_raw_endpoint", &BlendTail, nb::arg("raw_position").none(), nb::arg("shaped_tail"),
             nb::arg("weight").none());
}

}  // namespace velmora::python
