// The constructor's checks of sizes, which hold for trajectories that were moved from or written to as well.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/trajectory_sizes.hpp"

#include <string>

#include "internal/shapes.hpp"
#include "internal/throw_invalid_argument.hpp"

namespace velmora::util::timing {

using internal::ThrowInvalidArgument;

void CheckSampleCount(const Matrix& positions) {
  if (positions.rows() < 1) {
    ThrowInvalidArgument(
        "JointTrajectory requires at least 1 sample to support velocity and acceleration evaluation, got 0.");
  }
}

void CheckTimeCount(const Vector& time, const Matrix& positions) {
  if (time.size() != positions.rows()) {
    ThrowInvalidArgument("JointTrajectory.positions must align with JointTrajectory.time.");
  }
}

void CheckSizes(const JointTrajectory& trajectory) {
  CheckSampleCount(trajectory.positions);
  CheckTimeCount(trajectory.time, trajectory.positions);
}

void CheckShape(const Matrix& derivative, const Matrix& positions, const char* name) {
  if (!internal::HaveSameShape(derivative, positions)) {
    ThrowInvalidArgument(std::string("JointTrajectory.") + name + " must match JointTrajectory.positions shape.");
  }
}

}  // namespace velmora::util::timing
