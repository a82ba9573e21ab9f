// A machine with one flexible mode per joint, solved exactly: how it swings under a command and after it.
// SPDX-License-Identifier: Apache-2.0
#include "flexible_joint.hpp"

#include <algorithm>
#include <cmath>

namespace velmora::examples {

namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kLongestWait_s = 60.0;
constexpr double kSettlingResolution_s = 1e-4;

// How long after the command's end the free oscillation still leaves the tolerance; infinite without damping.
double FreeSettlingTime_s(const FlexibleJoint& joint, const Deflection& at_end, double tolerance_rad) {
  const double envelope_rad = joint.FreeEnvelope_rad(at_end);
  if (envelope_rad <= tolerance_rad) return 0.0;
  const double bound_s = std::log(envelope_rad / tolerance_rad) / joint.decay_rate_per_s();
  if (bound_s > kLongestWait_s) return bound_s;
  for (int step = static_cast<int>(std::ceil(bound_s / kSettlingResolution_s)); step > 0; --step) {
    const double after_end_s = step * kSettlingResolution_s;
    if (std::abs(joint.Free(at_end, after_end_s).position_rad) > tolerance_rad) return after_end_s;
  }
  return 0.0;
}

}  // namespace

FlexibleJoint::FlexibleJoint(const VibrationMode& mode)
    : angular_frequency_per_s_(2.0 * kPi * mode.frequency_hz),
      damped_angular_frequency_per_s_(2.0 * kPi * mode.damped_frequency_hz()),
      decay_rate_per_s_(mode.damping_ratio * angular_frequency_per_s_) {}

Deflection FlexibleJoint::Free(const Deflection& start, double duration_s) const {
  const double q = start.position_rad;
  const double v = start.velocity_rad_per_s;
  const double w = angular_frequency_per_s_;
  const double wd = damped_angular_frequency_per_s_;
  const double decay = std::exp(-decay_rate_per_s_ * duration_s);
  const double cosine = std::cos(wd * duration_s);
  const double sine = std::sin(wd * duration_s);
  return {decay * (q * cosine + (v + decay_rate_per_s_ * q) / wd * sine),
          decay * (v * cosine - (w * w * q + decay_rate_per_s_ * v) / wd * sine)};
}

Deflection FlexibleJoint::Driven(const Deflection& start, double start_rad_per_s2, double end_rad_per_s2,
                                 double duration_s) const {
  // The line c0 + c1 t solves the equation for a = a0 + slope t: the coefficients of t and 1 must vanish.
  const double w2 = angular_frequency_per_s_ * angular_frequency_per_s_;
  const double slope = (end_rad_per_s2 - start_rad_per_s2) / duration_s;
  const double c1 = -slope / w2;
  const double c0 = -(start_rad_per_s2 + 2.0 * decay_rate_per_s_ * c1) / w2;
  const Deflection about_line = Free({start.position_rad - c0, start.velocity_rad_per_s - c1}, duration_s);
  return {about_line.position_rad + c0 + c1 * duration_s, about_line.velocity_rad_per_s + c1};
}

double FlexibleJoint::FreePeak_rad(const Deflection& start) const {
  const double w2 = angular_frequency_per_s_ * angular_frequency_per_s_;
  const double wd = damped_angular_frequency_per_s_;
  // Free()'s velocity vanishes here first; later extremes are smaller.
  double turning_s = std::atan2(start.velocity_rad_per_s * wd,
                                w2 * start.position_rad + decay_rate_per_s_ * start.velocity_rad_per_s) /
                     wd;
  if (turning_s < 0.0) turning_s += kPi / wd;
  return std::max(std::abs(start.position_rad), std::abs(Free(start, turning_s).position_rad));
}

double FlexibleJoint::FreeEnvelope_rad(const Deflection& start) const {
  return std::hypot(start.position_rad, (start.velocity_rad_per_s + decay_rate_per_s_ * start.position_rad) /
                                            damped_angular_frequency_per_s_);
}

Response Simulate(const FlexibleJoint& joint, const native::ShapedTrajectory& command) {
  const Matrix& a = command.accelerations;
  Response response{Matrix::Zero(a.rows(), a.cols()), std::vector<Deflection>(static_cast<std::size_t>(a.cols()))};
  for (Eigen::Index i = 1; i < a.rows(); ++i) {
    const double step_s = command.time[i] - command.time[i - 1];
    for (Eigen::Index j = 0; j < a.cols(); ++j) {
      Deflection& deflection = response.at_end[static_cast<std::size_t>(j)];
      deflection = joint.Driven(deflection, a(i - 1, j), a(i, j), step_s);
      response.deflection_rad(i, j) = deflection.position_rad;
    }
  }
  return response;
}

double ResidualVibration_rad(const FlexibleJoint& joint, const Response& response) {
  double residual_rad = 0.0;
  for (const Deflection& at_end : response.at_end) residual_rad = std::max(residual_rad, joint.FreePeak_rad(at_end));
  return residual_rad;
}

std::optional<double> SettlingTime_s(const FlexibleJoint& joint, const Response& response,
                                     const native::ShapedTrajectory& command, double tolerance_rad) {
  double after_end_s = 0.0;
  for (const Deflection& at_end : response.at_end) {
    after_end_s = std::max(after_end_s, FreeSettlingTime_s(joint, at_end, tolerance_rad));
  }
  if (after_end_s > kLongestWait_s) return std::nullopt;
  Eigen::Index sample = command.time.size() - 1;
  if (after_end_s == 0.0) {
    while (sample > 0 && response.deflection_rad.row(sample).cwiseAbs().maxCoeff() <= tolerance_rad) --sample;
  }
  return command.time[sample] - command.time[0] + after_end_s;
}

}  // namespace velmora::examples
