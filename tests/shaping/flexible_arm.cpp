// An arm of flexible joints, each with two vibration modes, simulated step by step by exact discretisation.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/flexible_arm.hpp"

#include <cmath>

namespace velmora::testing {
namespace {

using Eigen::Index;
using native::Vector;
using State = Eigen::Vector4d;  // q, q', a, slope of a
using Transition = Eigen::Matrix4d;

Transition Exponential(const Transition& generator) {
  constexpr int kSquarings = 12;
  const Transition small = generator / std::pow(2.0, kSquarings);
  Transition sum = Transition::Identity();
  Transition power = Transition::Identity();
  for (int k = 1; k <= 12; ++k) {
    power = power * small / k;
    sum += power;
  }
  for (int k = 0; k < kSquarings; ++k) sum = sum * sum;
  return sum;
}

}  // namespace

Vector ResidualAmplitudes(const ArmMode& mode, const native::ShapedTrajectory& command) {
  const double w = 2.0 * M_PI * mode.frequency_hz;
  const double z = mode.damping_ratio;
  const double wd = w * std::sqrt(1.0 - z * z);
  Transition generator = Transition::Zero();
  generator(0, 1) = 1.0;
  generator(1, 0) = -w * w;
  generator(1, 1) = -2.0 * z * w;
  generator(1, 2) = -1.0;
  generator(2, 3) = 1.0;

  const Index joints = command.accelerations.cols();
  Eigen::Matrix<double, 4, Eigen::Dynamic> states = Eigen::Matrix<double, 4, Eigen::Dynamic>::Zero(4, joints);
  double step_s = 0.0;
  Transition transition;
  for (Index i = 1; i < command.time.size(); ++i) {
    const double next_step_s = command.time[i] - command.time[i - 1];
    if (std::abs(next_step_s - step_s) > 1e-12) {
      step_s = next_step_s;
      transition = Exponential(generator * step_s);
    }
    states.row(2) = command.accelerations.row(i - 1);
    states.row(3) = (command.accelerations.row(i) - command.accelerations.row(i - 1)) / step_s;
    states = transition * states;
  }
  Vector amplitudes(joints);
  for (Index j = 0; j < joints; ++j) {
    amplitudes[j] = std::hypot(states(0, j), (states(1, j) + z * w * states(0, j)) / wd);
  }
  return amplitudes;
}

}  // namespace velmora::testing
