// Blending of raw and shaped sample arrays, and the arc length of a joint path.
#include "velmora/control/shaper/blending.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "register.hpp"

namespace velmora::python {
namespace {

Matrix BlendUnlocked(const Matrix& raw, const Matrix& shaped, const std::variant<double, Vector>& weight) {
  const nb::gil_scoped_release unlocked;
  return control::shaper::BlendArrays(raw, shaped, weight);
}

nb::object Blend(nb::handle raw, nb::handle shaped, nb::handle weight) {
  const Matrix given_raw = ToMatrix(raw, "raw");
  const Matrix given_shaped = ToMatrix(shaped, "shaped");
  const std::variant<double, Vector> given_weight = ToDoubleOrVector(weight, "weight");
  return ToArray(BlendUnlocked(given_raw, given_shaped, given_weight));
}

Vector PathUnlocked(const Matrix& positions) {
  const nb::gil_scoped_release unlocked;
  return control::shaper::JointPathCoordinate(positions);
}

nb::object Path(nb::handle positions) { return ToArray(PathUnlocked(ToMatrix(positions, "positions"))); }

}  // namespace

void RegisterBlending(nb::module_& module) {
  module.def("blend_arrays", &Blend, nb::arg("raw").none(), nb::arg("shaped").none(), nb::arg("weight").none());
  module.def("joint_path_coordinate", &Path, nb::arg("positions").none());
}

}  // namespace velmora::python
