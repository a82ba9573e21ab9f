// The commands that are compared, and what they do to a machine that is not quite the one modelled.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "velmora/native/shaped_trajectory.hpp"
#include "velmora/shaping/vibration_mode.hpp"
#include "weighted_blend.hpp"

namespace velmora::examples {

using shaping::VibrationMode;

/// Which of the two shapers makes the copy that is blended with the raw command.
enum class BlendedShaper { zv, zvd };

/// A command as the machine gets it.
struct Command {
  std::string key;                   ///< short name, for columns of files
  std::string label;                 ///< name in the table
  native::ShapedTrajectory samples;  ///< up to the first sample at or after its end
  double added_duration_s;           ///< how much later than the raw command it ends
};

/// The raw command, its ZV and ZVD copies, and the blend of raw with one of them: the whole road through the library.
/// @param raw a move at rest at both ends
/// @param sample_time_s spacing of the samples beyond its end
/// @throws native::InvalidArgumentError as `BlendRawWithShaped`
std::vector<Command> BuildCommands(const util::timing::JointTrajectory& raw, double sample_time_s,
                                   const VibrationMode& model, BlendedShaper blended_shaper,
                                   const BlendParameters& blend);

/// The model with its frequency off by a share of it: -0.1 is a machine that swings 10 % slower than modelled.
VibrationMode Detuned(const VibrationMode& model, double frequency_error);

/// The comparison as a Markdown table: when each command ends, and the residual vibration and the settling time into
/// +-1 mrad on the machine as modelled and on machines with a frequency 10 % lower and higher.
std::string MarkdownTable(const std::vector<Command>& commands, const VibrationMode& model);

/// CSV of all commands and the deflections that they cause on the machine as modelled, until five periods after the
/// last of them has ended.
/// @param joint_names J names
std::string ResponseCsv(const std::vector<Command>& commands, const std::vector<std::string>& joint_names,
                        const VibrationMode& model, double sample_time_s);

/// CSV of the residual vibration in percent of the longest travel of a joint, for machines with a frequency from 30 %
/// below to 30 % above the modelled one.
std::string RobustnessCsv(const std::vector<Command>& commands, const VibrationMode& model);

}  // namespace velmora::examples
