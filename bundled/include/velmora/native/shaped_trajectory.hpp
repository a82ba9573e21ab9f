// The record in which the output of a vibration shaper travels.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"

namespace velmora::native {

/// A vibration-shaped trajectory of N samples and J joints. A plain record: its shapes are checked where it is used.
///
/// @code{.cpp}
/// velmora::native::ShapedTrajectory tail;  // one sample of two joints, at rest
/// tail.positions = velmora::native::Matrix::Ones(1, 2);
/// tail.velocities = tail.accelerations = velmora::native::Matrix::Zero(1, 2);
/// tail.time = velmora::native::Vector::Constant(1, 0.35);
/// @endcode
struct ShapedTrajectory {
  Matrix positions;      ///< joint positions, N x J, such as rad
  Matrix velocities;     ///< joint velocities, N x J, in the unit of the positions per second
  Matrix accelerations;  ///< joint accelerations, N x J, in the unit of the positions per second squared
  Vector time;           ///< sample times in seconds, length N
};

}  // namespace velmora::native
