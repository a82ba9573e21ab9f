// The blend of the raw command with its shaped copy, under a weight that rises no faster than it may.
// SPDX-License-Identifier: Apache-2.0
#include "weighted_blend.hpp"

#include <algorithm>

#include "velmora/control/shaper/parameters.hpp"

namespace velmora::examples {

namespace {
// 6 x^5 - 15 x^4 + 10 x^3 is steepest at x = 1/2.
constexpr double kSmootherstepTopSlope = 1.875;
}  // namespace

shaping::WeightTransition TransitionOf(const BlendParameters& parameters) {
  const double final_weight = parameters.vibration_shaping_weight;
  control::shaper::ValidateVibrationShapingWeight(final_weight);
  control::shaper::ValidateVibrationWeightTransitionS(parameters.vibration_weight_transition_s);
  control::shaper::ValidateVibrationWeightRatePerS(parameters.vibration_weight_rate_per_s);
  return {final_weight, std::max(parameters.vibration_weight_transition_s,
                                 kSmootherstepTopSlope * final_weight / parameters.vibration_weight_rate_per_s)};
}

native::ShapedTrajectory BlendRawWithShaped(const util::timing::JointTrajectory& raw,
                                            const shaping::ShapedCommand& shaped, const BlendParameters& parameters) {
  return shaping::JoinMoveAndTail(shaping::BlendShapedTrajectory(raw, shaped, TransitionOf(parameters)));
}

}  // namespace velmora::examples
