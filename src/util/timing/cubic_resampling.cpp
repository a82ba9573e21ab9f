// Resampling by a cubic spline.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/cubic_resampling.hpp"

#include <optional>
#include <utility>

#include "util/timing/cubic_spline.hpp"
#include "util/timing/resampled_parts.hpp"
#include "util/timing/time_grid.hpp"
#include "util/timing/trajectory_sizes.hpp"

namespace velmora::util::timing {

JointTrajectory ResampleTrajectoryCubic(const JointTrajectory& trajectory, double sample_time_s,
                                        ResamplingTimeGridMode grid_mode) {
  CheckSizes(trajectory);
  const Vector& time = trajectory.time;
  const double end_time_s = time[time.size() - 1];
  Vector grid = BuildResamplingTimeGrid(time[0], end_time_s, sample_time_s, grid_mode);
  const std::optional<Vector> clamped_times = ClampedTimes(grid, end_time_s, grid_mode);
  const Matrix m = BuildCubicSpline(time, trajectory.positions);
  SplineSamples samples = EvaluateCubicSpline(time, trajectory.positions, m, clamped_times ? *clamped_times : grid);
  return ResampledParts::Assemble({std::move(samples.values), std::move(samples.first_derivatives),
                                   std::move(samples.second_derivatives), std::move(grid), samples.all_finite});
}

}  // namespace velmora::util::timing
