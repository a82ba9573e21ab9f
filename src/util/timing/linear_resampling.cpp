// Piecewise-linear evaluation of sampled rows, and resampling built on it.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/linear_resampling.hpp"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <optional>
#include <type_traits>
#include <utility>

#include "native/blend_element.hpp"
#include "native/cpu_dispatch.hpp"
#include "native/finiteness.hpp"
#include "native/row_lanes.hpp"
#include "native/throw_invalid_argument.hpp"
#include "util/timing/knot_search.hpp"
#include "util/timing/time_grid.hpp"
#include "util/timing/trajectory_sizes.hpp"

namespace velmora::util::timing {
namespace {

using Eigen::Index;
using native::ForEachColumnBlock;
using native::ForEachJoint;
using native::kLanes;
using native::Lanes;
using native::Load;
using native::Store;

// How far into a step each of a run of queries lies. Four divisions side by side cost no more than one; the last four
// may overlap those before.
VELMORA_ALWAYS_INLINE void SharesOfStep(const double* queries, Index count, double start, double end, double* shares) {
  const double step = end - start;
  if (count < kLanes) {
    for (Index k = 0; k < count; ++k) shares[k] = (queries[k] - start) / step;
    return;
  }
  for (Index k = 0; k < count; k += kLanes) {
    const Index at = std::min(k, count - kLanes);
    Store<Lanes>((Load<Lanes>(queries + at) - start) / step, shares + at);
  }
}

// A run of queries inside one step: between the rows `from` and the next, by the share of each query.
template <typename Processor>
VELMORA_ALWAYS_INLINE void BlendRun(const double* shares, Index count, const double* from, Index joints,
                                    double* result) {
  const double* to = from + joints;
  ForEachColumnBlock(joints, [=](const auto& columns) VELMORA_ALWAYS_INLINE_LAMBDA {
    using Block = std::decay_t<decltype(columns)>;
    using Value = typename Block::Value;
    std::array<Value, Block::kSize> before;
    std::array<Value, Block::kSize> after;
    for (std::size_t c = 0; c < Block::kSize; ++c) {
      before[c] = Load<Value>(from + columns.first[c]);
      after[c] = Load<Value>(to + columns.first[c]);
    }
    double* row = result;
    // More than this does not pay: g++ would unroll it as often as it may run at all.
#pragma GCC unroll 4
    for (Index k = 0; k < count; ++k, row += joints) {
      const double complement = 1.0 - shares[k];
      for (std::size_t c = 0; c < Block::kSize; ++c) {
        Store<Value>(native::BlendElement<Processor>(complement, before[c], shares[k], after[c]),
                     row + columns.first[c]);
      }
    }
  });
}

struct InterpolationKernel {
  template <typename Processor>
  static VELMORA_ALWAYS_INLINE void Run(const double* queries, Index query_count, const double* times, Index count,
                                        const double* values, Index joints, double* result) {
    const Index last = count - 1;
    constexpr Index kLongestRun = 16;
    double shares[kLongestRun];
    Index after = 1;
    Index run = 1;
    for (Index i = 0; i < query_count; i += run, result += run * joints) {
      const double query = queries[i];
      run = 1;
      if (last > 0 && !native::IsFinite(query)) {
        std::fill_n(result, joints, std::numeric_limits<double>::quiet_NaN());
        continue;
      }
      const bool before_all = last == 0 || query <= times[0];
      if (before_all || query >= times[last]) {
        const double* row = values + (before_all ? 0 : last) * joints;
        ForEachJoint(joints, result, [=](auto at) VELMORA_ALWAYS_INLINE_LAMBDA { return at(row); });
        continue;
      }
      after = UpperBoundNear(times, count, query, after);
      const double start = times[after - 1];
      const double end = times[after];
      for (; run < kLongestRun && i + run < query_count; ++run) {
        const double next = queries[i + run];
        // The very first time belongs to the first row itself; NaN ends a run.
        if (!(next > times[0] && next >= start && next < end)) break;
      }
      SharesOfStep(queries + i, run, start, end, shares);
      BlendRun<Processor>(shares, run, values + (after - 1) * joints, joints, result);
    }
  }
};

// Written per query, so that a NaN is neither inside nor outside wherever it stands among the queries; the constructor
// of the result rejects it.
bool AnyOutside(const Vector& queries, double first, double last) {
  return std::any_of(queries.begin(), queries.end(), [=](double q) { return q < first || q > last; });
}

}  // namespace

Matrix InterpolateRowsLinear(const Vector& query_times, const Vector& sample_times, const Matrix& values) {
  Matrix result(query_times.size(), values.cols());
  native::RunKernel<InterpolationKernel>(query_times.data(), query_times.size(), sample_times.data(),
                                         sample_times.size(), values.data(), values.cols(), result.data());
  return result;
}

JointTrajectory SampleTrajectoryAtTimes(const JointTrajectory& trajectory, const Vector& query_time_s,
                                        bool include_derivatives) {
  if (query_time_s.size() == 0) return trajectory.Copy();
  CheckSizes(trajectory);
  const Vector& time = trajectory.time;
  if (AnyOutside(query_time_s, time[0], time[time.size() - 1])) {
    native::ThrowInvalidArgument("query_time_s must lie inside trajectory.time.");
  }
  Matrix positions = InterpolateRowsLinear(query_time_s, time, trajectory.positions);
  std::optional<Matrix> velocities;
  std::optional<Matrix> accelerations;
  if (include_derivatives) {
    CheckShape(trajectory.velocities(), trajectory.positions, "velocities");
    CheckShape(trajectory.accelerations(), trajectory.positions, "accelerations");
    velocities = InterpolateRowsLinear(query_time_s, time, trajectory.velocities());
    accelerations = InterpolateRowsLinear(query_time_s, time, trajectory.accelerations());
  }
  return JointTrajectory(std::move(positions), std::move(velocities), std::move(accelerations), query_time_s,
                         std::nullopt, std::nullopt);
}

JointTrajectory ResampleTrajectoryLinear(const JointTrajectory& trajectory, double sample_time_s,
                                         ResamplingTimeGridMode grid_mode) {
  CheckSizes(trajectory);
  const Vector& time = trajectory.time;
  const double end_time_s = time[time.size() - 1];
  Vector grid = BuildResamplingTimeGrid(time[0], end_time_s, sample_time_s, grid_mode);
  const std::optional<Vector> clamped_times = ClampedTimes(grid, end_time_s, grid_mode);
  Matrix positions = InterpolateRowsLinear(clamped_times ? *clamped_times : grid, time, trajectory.positions);
  return JointTrajectory(std::move(positions), std::nullopt, std::nullopt, std::move(grid), std::nullopt, std::nullopt);
}

}  // namespace velmora::util::timing
