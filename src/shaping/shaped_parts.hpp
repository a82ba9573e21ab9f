// The check of the two parts of a shaped command.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "internal/throw_invalid_argument.hpp"
#include "velmora/native/array_types.hpp"
#include "velmora/shaping/shape_trajectory.hpp"

namespace velmora::shaping {

inline bool HasShape(const ShapedTrajectory& part, Eigen::Index joints) {
  const auto fits = [&](const native::Matrix& values) {
    return values.rows() == part.time.size() && values.cols() == joints;
  };
  return fits(part.positions) && fits(part.velocities) && fits(part.accelerations);
}

/// @throws native::InvalidArgumentError "command parts must have matching sample and joint shapes"
inline void CheckParts(const ShapedCommand& command) {
  const Eigen::Index joints = command.move.positions.cols();
  if (!HasShape(command.move, joints) || !HasShape(command.tail, joints)) {
    internal::ThrowInvalidArgument("command parts must have matching sample and joint shapes");
  }
}

}  // namespace velmora::shaping
