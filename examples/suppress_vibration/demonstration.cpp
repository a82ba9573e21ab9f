// The commands that are compared, and what they do to a machine that is not quite the one modelled.
// SPDX-License-Identifier: Apache-2.0
#include "demonstration.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <optional>

#include "csv_output.hpp"
#include "flexible_joint.hpp"
#include "velmora/shaping/designs.hpp"

namespace velmora::examples {

using native::Matrix;
using native::ShapedTrajectory;
using util::timing::JointTrajectory;

namespace {

constexpr double kSettledWithin_rad = 1e-3;
constexpr double kPeriodsShownAfterEnd = 5.0;
constexpr int kLargestFrequencyError_percent = 30;
constexpr std::array<double, 3> kFrequencyErrors = {0.0, -0.1, 0.1};

std::string ResidualText(double residual_rad) {
  return residual_rad < 1e-5 ? std::string("< 0.01 mrad") : fmt::format("{:.2f} mrad", 1e3 * residual_rad);
}

std::string SettlingText(const std::optional<double>& settling_time_s) {
  return settling_time_s ? fmt::format("{:.2f} s", *settling_time_s) : std::string("over a minute");
}

// The command and the deflection it causes at all of `time_s`: beyond its end the command is held at rest and the
// joints swing freely.
struct HeldResponse {
  ShapedTrajectory command;
  Matrix deflection_rad;
};

HeldResponse HoldAfterEnd(const ShapedTrajectory& command, const FlexibleJoint& joint, const Vector& time_s) {
  const Eigen::Index samples = command.time.size();
  const Eigen::Index joints = command.positions.cols();
  const Response response = Simulate(joint, command);
  HeldResponse held{{command.positions.row(samples - 1).replicate(time_s.size(), 1),
                     Matrix::Zero(time_s.size(), joints), Matrix::Zero(time_s.size(), joints), time_s},
                    Matrix::Zero(time_s.size(), joints)};
  held.command.positions.topRows(samples) = command.positions;
  held.command.velocities.topRows(samples) = command.velocities;
  held.command.accelerations.topRows(samples) = command.accelerations;
  held.deflection_rad.topRows(samples) = response.deflection_rad;
  for (Eigen::Index i = samples; i < time_s.size(); ++i) {
    const double after_end_s = time_s[i] - command.time[samples - 1];
    for (Eigen::Index j = 0; j < joints; ++j) {
      held.deflection_rad(i, j) = joint.Free(response.at_end[static_cast<std::size_t>(j)], after_end_s).position_rad;
    }
  }
  return held;
}

// The times of the move, and after its end every `sample_time_s` until `shown_s` have passed.
Vector ShownTimes_s(const Vector& move_time_s, double shown_s, double sample_time_s) {
  const Eigen::Index samples = move_time_s.size();
  const Eigen::Index after = static_cast<Eigen::Index>(std::ceil(shown_s / sample_time_s));
  Vector time_s(samples + after);
  time_s.head(samples) = move_time_s;
  for (Eigen::Index i = 0; i < after; ++i) {
    time_s[samples + i] = move_time_s[samples - 1] + static_cast<double>(i + 1) * sample_time_s;
  }
  return time_s;
}

}  // namespace

std::vector<Command> BuildCommands(const JointTrajectory& raw, double sample_time_s, const VibrationMode& model,
                                   BlendedShaper blended_shaper, const BlendParameters& blend) {
  const auto shaped = [&](const shaping::ImpulseSequence& sequence) {
    return shaping::ShapeTrajectory(raw, {sequence}, sample_time_s, util::timing::ResamplingMethod::linear);
  };
  const auto command = [](const std::string& key, const std::string& label, const shaping::ShapedCommand& copy) {
    return Command{key, label, shaping::JoinMoveAndTail(copy), copy.added_duration_s};
  };
  const shaping::ShapedCommand zv = shaped(shaping::Zv(model));
  const shaping::ShapedCommand zvd = shaped(shaping::Zvd(model));
  std::vector<Command> commands;
  commands.push_back({"raw", "raw", {raw.positions, raw.velocities(), raw.accelerations(), raw.time}, 0.0});
  commands.push_back(command("zv", "ZV", zv));
  commands.push_back(command("zvd", "ZVD", zvd));

  const Command& copy = commands[blended_shaper == BlendedShaper::zv ? 1 : 2];
  const double shaped_percent = 100.0 * blend.vibration_shaping_weight;
  commands.push_back({fmt::format("blend_{:.4g}_percent_{}", shaped_percent, copy.key),
                      fmt::format("{:.4g} % raw, {:.4g} % {}", 100.0 - shaped_percent, shaped_percent, copy.label),
                      BlendRawWithShaped(raw, blended_shaper == BlendedShaper::zv ? zv : zvd, blend),
                      copy.added_duration_s});
  return commands;
}

VibrationMode Detuned(const VibrationMode& model, double frequency_error) {
  return {model.frequency_hz * (1.0 + frequency_error), model.damping_ratio};
}

std::string MarkdownTable(const std::vector<Command>& commands, const VibrationMode& model) {
  std::string table =
      "| command | added duration | residual: exact model | plant -10 % | plant +10 % "
      "| settled: exact model | plant -10 % | plant +10 % |\n"
      "|---|--:|--:|--:|--:|--:|--:|--:|\n";
  for (const Command& command : commands) {
    std::string residuals;
    std::string settling_times;
    for (const double frequency_error : kFrequencyErrors) {
      const FlexibleJoint joint(Detuned(model, frequency_error));
      const Response response = Simulate(joint, command.samples);
      residuals += fmt::format(" {} |", ResidualText(ResidualVibration_rad(joint, response)));
      settling_times +=
          fmt::format(" {} |", SettlingText(SettlingTime_s(joint, response, command.samples, kSettledWithin_rad)));
    }
    table += fmt::format("| {} | {:.3f} s |{}{}\n", command.label, command.added_duration_s, residuals, settling_times);
  }
  return table;
}

std::string ResponseCsv(const std::vector<Command>& commands, const std::vector<std::string>& joint_names,
                        const VibrationMode& model, double sample_time_s) {
  const ShapedTrajectory& raw = commands.front().samples;
  double shown_s = 0.0;
  for (const Command& command : commands) shown_s = std::max(shown_s, command.added_duration_s);
  shown_s += kPeriodsShownAfterEnd * model.damped_period_s();
  const Vector time_s = ShownTimes_s(raw.time, shown_s, sample_time_s);

  const FlexibleJoint joint(model);
  std::vector<HeldResponse> responses;
  responses.reserve(commands.size());
  for (const Command& command : commands) responses.push_back(HoldAfterEnd(command.samples, joint, time_s));

  std::vector<std::string> columns;
  std::vector<std::reference_wrapper<const Matrix>> blocks;
  for (std::size_t i = 0; i < commands.size(); ++i) {
    std::vector<std::string> names;
    names.reserve(joint_names.size());
    for (const std::string& joint_name : joint_names) names.push_back(commands[i].key + "_" + joint_name);
    for (int order = 0; order <= 2; ++order) {
      const std::vector<std::string> block_names = order == 0 ? names : DerivativeNames(names, order);
      columns.insert(columns.end(), block_names.begin(), block_names.end());
    }
    for (const std::string& name : names) columns.push_back(name + "_deflection");
    const HeldResponse& response = responses[i];
    blocks.insert(blocks.end(), {response.command.positions, response.command.velocities,
                                 response.command.accelerations, response.deflection_rad});
  }
  return FormatCsv(columns, time_s, blocks);
}

std::string RobustnessCsv(const std::vector<Command>& commands, const VibrationMode& model) {
  const Matrix& raw = commands.front().samples.positions;
  const double travel_rad = (raw.colwise().maxCoeff() - raw.colwise().minCoeff()).maxCoeff();
  std::string text = "frequency_error_percent";
  for (const Command& command : commands) text += fmt::format(",{}_residual_percent", command.key);
  text += '\n';
  for (int error = -kLargestFrequencyError_percent; error <= kLargestFrequencyError_percent; ++error) {
    text += fmt::format("{}", error);
    const FlexibleJoint joint(Detuned(model, error / 100.0));
    for (const Command& command : commands) {
      const double residual_rad = ResidualVibration_rad(joint, Simulate(joint, command.samples));
      text += fmt::format(",{}", 100.0 * residual_rad / travel_rad);
    }
    text += '\n';
  }
  return text;
}

}  // namespace velmora::examples
