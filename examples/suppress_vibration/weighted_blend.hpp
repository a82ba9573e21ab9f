// The blend of the raw command with its shaped copy, under a weight that rises no faster than it may.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/shaping/blend_shaped_trajectory.hpp"
#include "velmora/shaping/shape_trajectory.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::examples {

/// How much shaping, and how it sets in.
struct BlendParameters {
  double vibration_shaping_weight = 0.5;        ///< final share of the shaped copy, in [0, 1]
  double vibration_weight_transition_s = 0.02;  ///< shortest time for the rise from zero to it
  double vibration_weight_rate_per_s = 50.0;    ///< steepest rise of the share; a longer rise keeps to it
};

/// The rise from zero to the final weight that keeps to both limits.
/// @throws native::InvalidArgumentError where one of the three validators refuses its parameter
shaping::WeightTransition TransitionOf(const BlendParameters& parameters);

/// The raw command blended with its shaped copy: up to the end of `raw` the weight rises; on the tail beyond it the
/// weight reached there stays, and the raw endpoint is held.
/// @throws native::InvalidArgumentError as `TransitionOf` and `shaping::BlendShapedTrajectory`
native::ShapedTrajectory BlendRawWithShaped(const util::timing::JointTrajectory& raw,
                                            const shaping::ShapedCommand& shaped, const BlendParameters& parameters);

}  // namespace velmora::examples
