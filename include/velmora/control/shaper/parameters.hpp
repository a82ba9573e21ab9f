// Validation of the parameters that steer a vibration-shaping blend.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/export.hpp"

/// Blending of a raw trajectory with its vibration-shaped copy.
namespace velmora::control::shaper {

/// Accepts a share of the shaped trajectory from 0 (raw) to 1 (shaped), both included.
/// @param vibration_shaping_weight the share, without a unit
/// @throws native::InvalidArgumentError "vibration_shaping_weight must be in [0.0, 1.0]" (also for NaN and infinities)
///
/// Complexity: O(1). Thread safety: pure.
///
/// @code{.cpp}
/// ValidateVibrationShapingWeight(0.5);
/// ValidateVibrationWeightTransitionS(0.0);
/// ValidateVibrationWeightRatePerS(2.0);
/// @endcode
VELMORA_EXPORT void ValidateVibrationShapingWeight(double vibration_shaping_weight);

/// Accepts the duration of a change of weight, zero included.
/// @param vibration_weight_transition_s the duration in seconds
/// @throws native::InvalidArgumentError "vibration_weight_transition_s must be non-negative" (also for NaN and
///   infinities)
///
/// Complexity: O(1). Thread safety: pure.
VELMORA_EXPORT void ValidateVibrationWeightTransitionS(double vibration_weight_transition_s);

/// Accepts a rate of change of weight above zero.
/// @param vibration_weight_rate_per_s the rate in 1/s
/// @throws native::InvalidArgumentError "vibration_weight_rate_per_s must be positive" (also for NaN and infinities)
///
/// Complexity: O(1). Thread safety: pure.
VELMORA_EXPORT void ValidateVibrationWeightRatePerS(double vibration_weight_rate_per_s);

}  // namespace velmora::control::shaper
