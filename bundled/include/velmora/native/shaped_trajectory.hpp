// The record in which the output of a vibration shaper travels.
#pragma once

#include "velmora/native/eigen_abi.hpp"

#include "velmora/native/array_types.hpp"

namespace velmora::native {

/// A vibration-shaped trajectory of N samples and J joints. A plain record: its shapes are checked where it is used.
struct ShapedTrajectory {
  Matrix positions;      ///< joint positions, N x J
  Matrix velocities;     ///< joint velocities, N x J
  Matrix accelerations;  ///< joint accelerations, N x J
  Vector time;           ///< sample times in seconds, length N
};

}  // namespace velmora::native
