// Piecewise-linear evaluation of sampled rows, and resampling built on it.
#include "util/timing/linear_resampling.hpp"

#include <algorithm>
#include <limits>
#include <optional>
#include <utility>

#include "native/blend_element.hpp"
#include "native/cpu_dispatch.hpp"
#include "native/finiteness.hpp"
#include "native/row_lanes.hpp"
#include "native/throw_invalid_argument.hpp"
#include "util/timing/knot_search.hpp"
#include "util/timing/time_grid.hpp"

namespace velmora::util::timing {
namespace {

using Eigen::Index;
using native::ForEachJoint;

struct InterpolationKernel {
  static VELMORA_ALWAYS_INLINE void Run(const double* queries, Index query_count, const double* times, Index count,
                                        const double* values, Index joints, double* result) {
    const Index last = count - 1;
    Index after = 1;
    for (Index i = 0; i < query_count; ++i, result += joints) {
      const double query = queries[i];
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
      const double w = (query - times[after - 1]) / (times[after] - times[after - 1]);
      const double complement = 1.0 - w;
      const double* to = values + after * joints;
      const double* from = to - joints;
      ForEachJoint(joints, result, [=](auto at) VELMORA_ALWAYS_INLINE_LAMBDA {
        return native::BlendElement(complement, at(from), w, at(to));
      });
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
  const Vector& time = trajectory.time;
  if (AnyOutside(query_time_s, time[0], time[time.size() - 1])) {
    native::ThrowInvalidArgument("query_time_s must lie inside trajectory.time.");
  }
  Matrix positions = InterpolateRowsLinear(query_time_s, time, trajectory.positions);
  std::optional<Matrix> velocities;
  std::optional<Matrix> accelerations;
  if (include_derivatives) {
    velocities = InterpolateRowsLinear(query_time_s, time, trajectory.velocities());
    accelerations = InterpolateRowsLinear(query_time_s, time, trajectory.accelerations());
  }
  return JointTrajectory(std::move(positions), std::move(velocities), std::move(accelerations), query_time_s,
                         std::nullopt, std::nullopt);
}

JointTrajectory ResampleTrajectoryLinear(const JointTrajectory& trajectory, double sample_time_s,
                                         ResamplingTimeGridMode grid_mode) {
  const Vector& time = trajectory.time;
  const double end_time_s = time[time.size() - 1];
  Vector grid = BuildResamplingTimeGrid(time[0], end_time_s, sample_time_s, grid_mode);
  Matrix positions = InterpolateRowsLinear(EvaluationTimes(grid, end_time_s, grid_mode), time, trajectory.positions);
  return JointTrajectory(std::move(positions), std::nullopt, std::nullopt, std::move(grid), std::nullopt, std::nullopt);
}

}  // namespace velmora::util::timing
