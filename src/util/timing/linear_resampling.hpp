// Resampling by linear interpolation.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/util/timing/resampling.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::util::timing {

/// The trajectory's positions on the grid of `BuildResamplingTimeGrid`, without derivatives.
/// @throws as `BuildResamplingTimeGrid` and the `JointTrajectory` constructor
JointTrajectory ResampleTrajectoryLinear(const JointTrajectory& trajectory, double sample_time_s,
                                         ResamplingTimeGridMode grid_mode);

}  // namespace velmora::util::timing
