// Resampling by a cubic spline.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/util/timing/resampling.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::util::timing {

/// The spline through the trajectory's positions on the grid of `BuildResamplingTimeGrid`, with its velocities and
/// accelerations.
/// @throws as `BuildResamplingTimeGrid`, `BuildCubicSpline` and the `JointTrajectory` constructor, in this order
JointTrajectory ResampleTrajectoryCubic(const JointTrajectory& trajectory, double sample_time_s,
                                        ResamplingTimeGridMode grid_mode);

}  // namespace velmora::util::timing
