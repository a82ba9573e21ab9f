// A raw command at any time: between its samples interpolated, before and after them held at rest.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "velmora/native/array_types.hpp"
#include "velmora/util/timing/resampling.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::shaping {

using native::Matrix;
using native::Vector;

/// Positions, velocities and accelerations, one row per time.
struct CommandRows {
  Matrix positions;
  Matrix velocities;
  Matrix accelerations;
};

/// Throws the constructor's sentence where velocities or accelerations have not the shape of the positions.
void CheckDerivatives(const util::timing::JointTrajectory& trajectory);

/// Refers to the trajectory, which has to outlive it.
class CommandAtTimes {
 public:
  /// @throws native::InvalidArgumentError as `BuildCubicSpline`, where the method is not linear
  CommandAtTimes(const util::timing::JointTrajectory& trajectory, util::timing::ResamplingMethod method);

  /// The command at ascending times.
  CommandRows At(const Vector& times_s) const;

 private:
  CommandRows Inside(const Vector& times_s) const;

  const util::timing::JointTrajectory& trajectory_;
  std::optional<Matrix> knot_second_derivatives_;  // none for linear interpolation, and for one sample
};

}  // namespace velmora::shaping
