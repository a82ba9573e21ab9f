// A machine with one flexible mode per joint, solved exactly: how it swings under a command and after it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <vector>

#include "velmora/native/array_types.hpp"
#include "velmora/native/shaped_trajectory.hpp"
#include "velmora/shaping/vibration_mode.hpp"

namespace velmora::examples {

using native::Matrix;
using native::Vector;
using shaping::VibrationMode;

/// Where a joint stands relative to its command.
struct Deflection {
  double position_rad = 0.0;
  double velocity_rad_per_s = 0.0;
};

/// The deflection q of a link behind a spring and a damper whose motor follows its command exactly. The command's
/// acceleration a drives it: `q'' + 2 zeta w q' + w^2 q = -a`.
class FlexibleJoint {
 public:
  explicit FlexibleJoint(const VibrationMode& mode);

  /// After `duration_s` without a drive: the closed form of the damped oscillation.
  Deflection Free(const Deflection& start, double duration_s) const;

  /// After `duration_s` in which the acceleration goes linearly from `start_rad_per_s2` to `end_rad_per_s2`.
  ///
  /// Exact for such a drive, whatever the duration (a first-order hold; K. J. Astrom, B. Wittenmark,
  /// "Computer-Controlled Systems", chapter 2): the deflection follows a straight line and swings freely about it.
  Deflection Driven(const Deflection& start, double start_rad_per_s2, double end_rad_per_s2, double duration_s) const;

  /// The largest deflection of either sign from `start` on, without a drive.
  double FreePeak_rad(const Deflection& start) const;

  /// The deflection, of either sign, that the free oscillation from `start` never exceeds; it shrinks with
  /// `exp(-decay_rate_per_s * t)`.
  double FreeEnvelope_rad(const Deflection& start) const;

  double decay_rate_per_s() const { return decay_rate_per_s_; }  ///< zeta w

 private:
  double angular_frequency_per_s_;
  double damped_angular_frequency_per_s_;
  double decay_rate_per_s_;
};

/// What a command does to all joints of a machine.
struct Response {
  Matrix deflection_rad;           ///< N x J, at the times of the command
  std::vector<Deflection> at_end;  ///< per joint, at the last of them; from there on the joints swing freely
};

/// The response of joints that are all alike, from rest.
Response Simulate(const FlexibleJoint& joint, const native::ShapedTrajectory& command);

/// The residual vibration: the largest deflection of any joint at or after the end of the command.
double ResidualVibration_rad(const FlexibleJoint& joint, const Response& response);

/// When the machine is done: the time from the start of the command after which every joint stays within the tolerance.
/// @return none where that takes more than a minute after the end of the command
std::optional<double> SettlingTime_s(const FlexibleJoint& joint, const Response& response,
                                     const native::ShapedTrajectory& command, double tolerance_rad);

}  // namespace velmora::examples
