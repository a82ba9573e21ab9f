// Validation of the parameters that steer a vibration-shaping blend.
#include "velmora/control/shaper/parameters.hpp"

#include <nanobind/nanobind.h>

#include "conversions.hpp"
#include "register.hpp"

namespace velmora::python {

void RegisterParameters(nb::module_& module) {
  using namespace control::shaper;
  module.def(
      "validate_vibration_shaping_weight",
      [](nb::handle value) { ValidateVibrationShapingWeight(ToDouble(value, "vibration_shaping_weight")); },
      nb::arg("vibration_shaping_weight").none());
  module.def(
      "validate_vibration_weight_transition_s",
      [](nb::handle value) { ValidateVibrationWeightTransitionS(ToDouble(value, "vibration_weight_transition_s")); },
      nb::arg("vibration_weight_transition_s").none());
  module.def(
      "validate_vibration_weight_rate_per_s",
      [](nb::handle value) { ValidateVibrationWeightRatePerS(ToDouble(value, "vibration_weight_rate_per_s")); },
      nb::arg("vibration_weight_rate_per_s").none());
}

}  // namespace velmora::python
