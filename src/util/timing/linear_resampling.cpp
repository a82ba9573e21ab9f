// Piecewise-linear evaluation of sampled rows, and resampling built on it.
#include "util/timing/linear_resampling.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "native/finiteness.hpp"
#include "native/throw_invalid_argument.hpp"
#include "util/timing/knot_search.hpp"
#include "util/timing/time_grid.hpp"

namespace velmora::util::timing {
namespace {

// (1 - w) * before + w * after: one product rounded, the other fused, so that every machine rounds alike.
void InterpolateRow(const double* before, double w, Eigen::Index joints, double* result) {
  const double* after = before + joints;
  const double a = 1.0 - w;
  for (Eigen::Index j = 0; j < joints; ++j) result[j] = std::fma(a, before[j], w * after[j]);
}

void InterpolateQuery(double query, const Vector& sample_times, const Matrix& values, double* result) {
  const Eigen::Index last = sample_times.size() - 1;
  const Eigen::Index joints = values.cols();
  const auto row = [&](Eigen::Index i) { return values.data() + i * joints; };
  if (last == 0) {
    std::copy_n(row(0), joints, result);
  } else if (!native::IsFinite(query)) {
    std::fill_n(result, joints, std::numeric_limits<double>::quiet_NaN());
  } else if (query <= sample_times[0]) {
    std::copy_n(row(0), joints, result);
  } else if (query >= sample_times[last]) {
    std::copy_n(row(last), joints, result);
  } else {
    const Eigen::Index j = UpperBound(sample_times, query);
    const double w = (query - sample_times[j - 1]) / (sample_times[j] - sample_times[j - 1]);
    InterpolateRow(row(j - 1), w, joints, result);
  }
}

// Written per query, so that a NaN is neither inside nor outside wherever it stands among the queries; the constructor
// of the result rejects it.
bool AnyOutside(const Vector& queries, double first, double last) {
  return std::any_of(queries.begin(), queries.end(), [=](double q) { return q < first || q > last; });
}

}  // namespace

Matrix InterpolateRowsLinear(const Vector& query_times, const Vector& sample_times, const Matrix& values) {
  Matrix result(query_times.size(), values.cols());
  for (Eigen::Index i = 0; i < query_times.size(); ++i) {
    InterpolateQuery(query_times[i], sample_times, values, result.data() + i * values.cols());
  }
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
