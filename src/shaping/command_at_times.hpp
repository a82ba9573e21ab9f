// A raw command at any time: between its samples interpolated, before and after them held at rest.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "util/timing/spline_intervals.hpp"
#include "velmora/native/array_types.hpp"
#include "velmora/util/timing/resampling.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::shaping {

using native::Matrix;
using native::Vector;

/// Room for positions, velocities and accelerations, one row per time.
struct CommandRows {
  CommandRows(Eigen::Index rows, Eigen::Index joints);

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

  /// Writes the command at ascending times to the first of these rows, which are as many at least, of as many joints.
  void At(const Eigen::Ref<const Vector>& times_s, CommandRows& rows) const;

  /// Of the command between its samples; none for linear interpolation, and for one sample.
  std::optional<util::timing::SplineRows> spline() const;

 private:
  void Inside(const Eigen::Ref<const Vector>& times_s, Eigen::Index first_row, CommandRows& rows) const;

  const util::timing::JointTrajectory& trajectory_;
  std::optional<Matrix> knot_second_derivatives_;  // where there is a spline
};

}  // namespace velmora::shaping
