// Reference for linear interpolation, sampling and resampling.
// SPDX-License-Identifier: Apache-2.0
#include "oracle/linear.hpp"

#include <cmath>
#include <limits>
#include <optional>

#include "oracle/failure.hpp"
#include "oracle/finiteness.hpp"
#include "oracle/time_grid.hpp"

namespace velmora::oracle {

std::size_t FirstGreater(const std::vector<double>& times, double t) {
  std::size_t index = 0;
  while (index < times.size() && times[index] <= t) ++index;
  return index;
}

Table InterpolateRowsLinear(const std::vector<double>& query_times, const std::vector<double>& sample_times,
                            const Table& values) {
  const std::size_t n = sample_times.size();
  Table result(query_times.size(), values.cols);
  for (std::size_t row = 0; row < query_times.size(); ++row) {
    const double q = query_times[row];
    for (std::size_t c = 0; c < values.cols; ++c) {
      if (n == 1) {
        result(row, c) = values(0, c);
      } else if (!IsFiniteScalar(q)) {
        result(row, c) = std::numeric_limits<double>::quiet_NaN();
      } else if (q <= sample_times[0]) {
        result(row, c) = values(0, c);
      } else if (q >= sample_times[n - 1]) {
        result(row, c) = values(n - 1, c);
      } else {
        const std::size_t j = FirstGreater(sample_times, q);
        const double w = (q - sample_times[j - 1]) / (sample_times[j] - sample_times[j - 1]);
        const double late = w * values(j, c);
        result(row, c) = std::fma(1.0 - w, values(j - 1, c), late);
      }
    }
  }
  return result;
}

Trajectory SampleTrajectoryAtTimes(Trajectory& trajectory, const std::vector<double>& query_time_s,
                                   bool include_derivatives) {
  if (query_time_s.empty()) return Copy(trajectory);
  for (const double q : query_time_s) {
    if (q < trajectory.time.front() || q > trajectory.time.back()) {
      Fail("query_time_s must lie inside trajectory.time.");
    }
  }
  const Table positions = InterpolateRowsLinear(query_time_s, trajectory.time, trajectory.positions);
  std::optional<Table> velocities;
  std::optional<Table> accelerations;
  if (include_derivatives) {
    velocities = InterpolateRowsLinear(query_time_s, trajectory.time, Velocities(trajectory));
    accelerations = InterpolateRowsLinear(query_time_s, trajectory.time, Accelerations(trajectory));
  }
  return MakeTrajectory(positions, velocities, accelerations, query_time_s, std::nullopt, std::nullopt);
}

Trajectory ResampleTrajectoryLinear(const Trajectory& trajectory, double sample_time_s, int grid_mode) {
  const double end_time_s = trajectory.time.back();
  const std::vector<double> grid =
      BuildResamplingTimeGrid(trajectory.time.front(), end_time_s, sample_time_s, grid_mode);
  const Table positions =
      InterpolateRowsLinear(EvaluationTimes(grid, end_time_s, grid_mode), trajectory.time, trajectory.positions);
  return MakeTrajectory(positions, std::nullopt, std::nullopt, grid, std::nullopt, std::nullopt);
}

}  // namespace velmora::oracle
