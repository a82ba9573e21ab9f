// Resampling by linear interpolation.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/linear_resampling.hpp"

#include <algorithm>
#include <optional>
#include <utility>

#include "internal/exact_arithmetic.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "util/timing/linear_interpolation.hpp"
#include "util/timing/resampled_parts.hpp"
#include "util/timing/time_grid.hpp"
#include "util/timing/trajectory_sizes.hpp"

namespace velmora::util::timing {
namespace {

// Written per query, so that a NaN is neither inside nor outside wherever it stands among the queries; the constructor
// of the result rejects it.
bool AnyOutside(const Vector& queries, double first, double last) {
  return std::any_of(queries.begin(), queries.end(), [=](double q) { return q < first || q > last; });
}

}  // namespace

JointTrajectory SampleTrajectoryAtTimes(const JointTrajectory& trajectory, const Vector& query_time_s,
                                        bool include_derivatives) {
  if (query_time_s.size() == 0) return trajectory.Copy();
  CheckSizes(trajectory);
  const Vector& time = trajectory.time;
  if (AnyOutside(query_time_s, time[0], time[time.size() - 1])) {
    internal::ThrowInvalidArgument("query_time_s must lie inside trajectory.time.");
  }
  InterpolatedRows positions = InterpolateRowsLinear(query_time_s, time, trajectory.positions);
  ResampledParts parts{std::move(positions.values), std::nullopt, std::nullopt, query_time_s, positions.all_finite};
  if (include_derivatives) {
    InterpolatedRows velocities = InterpolateRowsLinear(query_time_s, time, trajectory.velocities());
    InterpolatedRows accelerations = InterpolateRowsLinear(query_time_s, time, trajectory.accelerations());
    parts.velocities = std::move(velocities.values);
    parts.accelerations = std::move(accelerations.values);
    parts.all_finite = parts.all_finite && velocities.all_finite && accelerations.all_finite;
  }
  return ResampledParts::Assemble(std::move(parts));
}

JointTrajectory ResampleTrajectoryLinear(const JointTrajectory& trajectory, double sample_time_s,
                                         ResamplingTimeGridMode grid_mode) {
  CheckSizes(trajectory);
  const Vector& time = trajectory.time;
  const double end_time_s = time[time.size() - 1];
  Vector grid = BuildResamplingTimeGrid(time[0], end_time_s, sample_time_s, grid_mode);
  const std::optional<Vector> clamped_times = ClampedTimes(grid, end_time_s, grid_mode);
  InterpolatedRows positions = InterpolateRowsLinear(clamped_times ? *clamped_times : grid, time, trajectory.positions);
  return ResampledParts::Assemble(
      {std::move(positions.values), std::nullopt, std::nullopt, std::move(grid), positions.all_finite});
}

}  // namespace velmora::util::timing
