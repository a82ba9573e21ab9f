// Validation of the parameters that steer a vibration-shaping blend.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/control/shaper/parameters.hpp"

#include "internal/finiteness.hpp"
#include "internal/throw_invalid_argument.hpp"

namespace velmora::control::shaper {

using internal::IsFinite;
using internal::ThrowInvalidArgument;

void ValidateVibrationShapingWeight(double vibration_shaping_weight) {
  if (!IsFinite(vibration_shaping_weight) || vibration_shaping_weight < 0.0 || vibration_shaping_weight > 1.0) {
    ThrowInvalidArgument("vibration_shaping_weight must be in [0.0, 1.0]");
  }
}

void ValidateVibrationWeightTransitionS(double vibration_weight_transition_s) {
  if (!IsFinite(vibration_weight_transition_s) || vibration_weight_transition_s < 0.0) {
    ThrowInvalidArgument("vibration_weight_transition_s must be non-negative");
  }
}

void ValidateVibrationWeightRatePerS(double vibration_weight_rate_per_s) {
  if (!IsFinite(vibration_weight_rate_per_s) || vibration_weight_rate_per_s <= 0.0) {
    ThrowInvalidArgument("vibration_weight_rate_per_s must be positive");
  }
}

}  // namespace velmora::control::shaper
