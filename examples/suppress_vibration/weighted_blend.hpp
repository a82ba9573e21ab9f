// From the raw command to its shaped copy: the ramped weight, the blend of the move and the blend of the tail.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"
#include "velmora/native/shaped_trajectory.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::examples {

using native::Vector;

/// How much shaping, and how it sets in.
struct BlendParameters {
  double vibration_shaping_weight = 0.5;        ///< final share of the shaped copy, in [0, 1]
  double vibration_weight_transition_s = 0.02;  ///< shortest time for the rise from zero to it
  double vibration_weight_rate_per_s = 50.0;    ///< steepest rise of the share; a longer rise keeps to it
};

/// The share of the shaped copy over time, with its derivatives.
struct WeightRamp {
  Vector weight;                      ///< per sample
  Vector weight_rate_per_s;           ///< first derivative
  Vector weight_acceleration_per_s2;  ///< second derivative
};

/// The rise from zero at the first of the sample times to the final weight, along `Smootherstep`.
/// @throws native::InvalidArgumentError where one of the three validators refuses its parameter
WeightRamp RampWeight(const Vector& time_s, const BlendParameters& parameters);

/// The raw command blended with its shaped copy, over all times of the copy.
///
/// Up to the end of `raw` the weight is ramped; on the tail beyond it the weight reached there stays, and the raw
/// endpoint is held.
/// @param raw the raw command, N samples
/// @param shaped its shaped copy at the same N times and those of the tail
/// @throws native::InvalidArgumentError as `RampWeight`, and where the shapes do not fit
native::ShapedTrajectory BlendRawWithShaped(const util::timing::JointTrajectory& raw,
                                            const native::ShapedTrajectory& shaped, const BlendParameters& parameters);

}  // namespace velmora::examples
