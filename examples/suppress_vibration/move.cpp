// The rest-to-rest move that the demonstration commands.
// SPDX-License-Identifier: Apache-2.0
#include "move.hpp"

#include <fmt/core.h>

#include <optional>
#include <stdexcept>

#include "velmora/util/timing/resampling.hpp"

namespace velmora::examples {

using util::timing::JointTrajectory;
using util::timing::ResamplingMethod;
using util::timing::ResamplingTimeGridMode;

namespace {

constexpr double kRestSpeedShare = 0.05;

void RequireRestAt(const Move& move, Eigen::Index sample, const char* place) {
  const Matrix& velocities = move.trajectory.velocities();
  const double top_speed = velocities.cwiseAbs().maxCoeff();
  for (Eigen::Index joint = 0; joint < velocities.cols(); ++joint) {
    const double speed = std::abs(velocities(sample, joint));
    if (speed > kRestSpeedShare * top_speed) {
      throw std::runtime_error(
          fmt::format("the move must be at rest at its {}, but {} moves there at {:.3g} per second", place,
                      move.joint_names[static_cast<std::size_t>(joint)], speed));
    }
  }
}

}  // namespace

Move QuinticMove() {
  constexpr double kTravel_rad = 1.0;
  constexpr double kDuration_s = 0.35;
  constexpr Eigen::Index kSteps = 175;
  Matrix positions(kSteps + 1, 1);
  Vector time(kSteps + 1);
  for (Eigen::Index i = 0; i <= kSteps; ++i) {
    const double x = static_cast<double>(i) / static_cast<double>(kSteps);
    positions(i, 0) = kTravel_rad * x * x * x * (10.0 + x * (-15.0 + x * 6.0));
    time[i] = kDuration_s * x;
  }
  return {{"joint_1"}, util::timing::TrajectoryAtTimes(std::move(positions), std::move(time))};
}

Move RecordedMove(const Recording& recording) {
  return {recording.joint_names, util::timing::TrajectoryAtTimes(recording.positions, recording.time)};
}

Move ResampledRestToRestMove(const Move& move, double sample_time_s) {
  Move resampled{move.joint_names, util::timing::ResampleTrajectory(
                                       move.trajectory, sample_time_s, ResamplingMethod::cubic,
                                       ResamplingTimeGridMode::exact_dt_append_endpoint, /*strict_cubic=*/true)};
  RequireRestAt(resampled, 0, "start");
  RequireRestAt(resampled, resampled.trajectory.time.size() - 1, "end");
  return resampled;
}

}  // namespace velmora::examples
