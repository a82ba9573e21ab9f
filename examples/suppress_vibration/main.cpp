// suppress_vibration: how much a flexible machine still swings after a move, raw, shaped, and blended from both.
//
// The road of a caller of the library:
//   move.cpp            a recorded move becomes a trajectory, resampled onto the controller's grid
//   demonstration.cpp   its shaped copies, and the commands side by side on the machine of flexible_joint.cpp
//   weighted_blend.cpp  validated parameters, and the blend under a weight that rises
// SPDX-License-Identifier: Apache-2.0
#include <fmt/core.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#include "csv_output.hpp"
#include "demonstration.hpp"
#include "move.hpp"

namespace {

using namespace velmora::examples;

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

struct Options {
  std::string recording_path;
  std::string output_directory;
  std::string shaper_text = "zvd";
  double frequency_hz = 5.0;
  double damping_ratio = 0.02;
  BlendParameters blend;
  double sample_time_s = 0.001;
};

void DeclareOptions(CLI::App& app, Options& options) {
  app.option_defaults()->always_capture_default();
  app.add_option("-r,--recording", options.recording_path,
                 "CSV with a column time_s [s] and one column per joint [rad], at rest at both ends; - is standard\n"
                 "input (default: one joint turns by 1 rad in 0.35 s)")
      ->always_capture_default(false)
      ->type_name("FILE");
  app.add_option("-s,--shaper", options.shaper_text,
                 "shaper of the copy that is blended with the raw command: zv or zvd")
      ->check(CLI::IsMember({"zv", "zvd"}))
      ->type_name("SHAPER");
  app.add_option("-f,--frequency", options.frequency_hz, "natural frequency of the flexible joints")->type_name("HZ");
  app.add_option("-d,--damping", options.damping_ratio, "their damping ratio, in [0, 1)")->type_name("RATIO");
  app.add_option("-w,--weight", options.blend.vibration_shaping_weight,
                 "share of the shaped copy in the blend, in [0, 1]")
      ->type_name("SHARE");
  app.add_option("--transition", options.blend.vibration_weight_transition_s,
                 "shortest rise of the share from zero, at the start of the move")
      ->type_name("SECONDS");
  app.add_option("--rate", options.blend.vibration_weight_rate_per_s, "steepest rise of the share")->type_name("PER_S");
  app.add_option("-t,--sample-time", options.sample_time_s, "spacing of the command's samples")->type_name("SECONDS");
  app.add_option("-o,--output", options.output_directory, "directory for response.csv and robustness.csv")
      ->always_capture_default(false)
      ->type_name("DIR");
  app.footer(
      "\nThe table on standard output compares the raw command, its ZV and ZVD copies and the blend. Residual: "
      "largest\n"
      "deflection of a joint after the command's end. Settled: time from the start of the move until every joint "
      "stays\n"
      "within 1 mrad of its command. Plant -10 %, +10 %: the machine's frequency lies that far from the modelled one.\n"
      "\nExit code: 0 done, 1 bad recording or failure, 2 bad usage.");
}

// Refuses what no recording could make right, so that it is reported as bad usage.
void ValidateOptions(const Options& options) {
  const VibrationMode mode(options.frequency_hz, options.damping_ratio);
  TransitionOf(options.blend);
  if (!(options.sample_time_s > 0.0 && options.sample_time_s <= 0.05 * mode.damped_period_s())) {
    throw std::invalid_argument("the sample time must be positive and at most a twentieth of the period of the mode");
  }
}

void Demonstrate(const Options& options) {
  const VibrationMode mode(options.frequency_hz, options.damping_ratio);
  const Move move =
      options.recording_path.empty() ? QuinticMove() : RecordedMove(ReadRecordingFile(options.recording_path));
  const Move raw = ResampledRestToRestMove(move, options.sample_time_s);
  const BlendedShaper blended_shaper = options.shaper_text == "zv" ? BlendedShaper::zv : BlendedShaper::zvd;
  const std::vector<Command> commands =
      BuildCommands(raw.trajectory, options.sample_time_s, mode, blended_shaper, options.blend);

  if (!options.output_directory.empty()) {
    const std::filesystem::path directory(options.output_directory);
    std::filesystem::create_directories(directory);
    WriteOutput(directory / "response.csv", ResponseCsv(commands, raw.joint_names, mode, options.sample_time_s));
    WriteOutput(directory / "robustness.csv", RobustnessCsv(commands, mode));
  }
  WriteOutput("-", MarkdownTable(commands, mode));
}

int RunProgram(int argc, char** argv) {
  Options options;
  CLI::App app("Compares how much a flexible machine still swings after a raw, a shaped and a blended move.");
  DeclareOptions(app, options);
  try {
    app.parse(argc, argv);
    ValidateOptions(options);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kExitUsage;
  } catch (const std::exception& error) {
    fmt::print(stderr, "suppress_vibration: {}\n", error.what());
    return kExitUsage;
  }
  try {
    Demonstrate(options);
  } catch (const std::bad_alloc&) {
    fmt::print(stderr, "suppress_vibration: out of memory\n");
    return kExitFailure;
  } catch (const std::exception& error) {
    fmt::print(stderr, "suppress_vibration: {}\n", error.what());
    return kExitFailure;
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return RunProgram(argc, argv);
  } catch (...) {
    // Not even the message could be printed.
    return kExitFailure;
  }
}
