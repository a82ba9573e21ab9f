// Commands and a sequence that tests of shaping share.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <utility>

#include "support/arrays.hpp"
#include "velmora/shaping/impulse_sequence.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::testing {

inline util::timing::JointTrajectory Trajectory(native::Matrix positions, native::Vector time) {
  return {std::move(positions), std::nullopt, std::nullopt, std::move(time), std::nullopt, std::nullopt};
}

/// A rest-to-rest move along a quintic, of several joints.
inline util::timing::JointTrajectory SmoothMove(Eigen::Index samples, Eigen::Index joints) {
  native::Matrix positions(samples, joints);
  native::Vector time(samples);
  for (Eigen::Index i = 0; i < samples; ++i) {
    const double x = static_cast<double>(i) / static_cast<double>(samples - 1);
    time[i] = 0.5 * x;
    for (Eigen::Index j = 0; j < joints; ++j) {
      positions(i, j) = static_cast<double>(j + 1) * x * x * x * (10.0 + x * (-15.0 + x * 6.0)) - 0.3;
    }
  }
  return Trajectory(std::move(positions), std::move(time));
}

/// Two halves of a command.
inline shaping::ImpulseSequence Halves(double apart_s) {
  return shaping::ImpulseSequence(Values({0.0, apart_s}), Values({0.5, 0.5}));
}

}  // namespace velmora::testing
