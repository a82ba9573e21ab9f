// resample_recording: puts a recorded joint trajectory onto a regular time grid.
// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <cstdio>
#include <exception>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "csv_output.hpp"
#include "recording.hpp"
#include "report.hpp"
#include "velmora/native/invalid_argument_error.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace {

using velmora::examples::Matrix;
using velmora::examples::Recording;
using velmora::examples::StageTimes;
using velmora::util::timing::JointTrajectory;
using velmora::util::timing::ResamplingMethod;
using velmora::util::timing::ResamplingTimeGridMode;

constexpr int kExitFailure = 1;
constexpr int kExitUsage = 2;

struct Options {
  std::string recording_path;
  std::string output_path = "-";
  std::string method_text = "cubic";
  std::string grid_text = "exact_dt_append_endpoint";
  double sample_time_s = 0.0;
  bool strict = false;
};

// A usage check that asks the library whether it knows the text.
template <typename Parse>
CLI::Validator KnownTo(Parse parse) {
  return CLI::Validator(
      [parse](std::string& text) -> std::string {
        try {
          parse(text);
          return {};
        } catch (const velmora::native::InvalidArgumentError& error) {
          return error.what();
        }
      },
      "");
}

void DeclareOptions(CLI::App& app, Options& options) {
  app.option_defaults()->always_capture_default();
  app.add_option("recording", options.recording_path,
                 "CSV with a column time_s [s] and one column per joint; - is standard input")
      ->required()
      ->always_capture_default(false)
      ->type_name("FILE");
  app.add_option("-t,--sample-time", options.sample_time_s, "spacing of the new grid [s], for example 0.001")
      ->required()
      ->always_capture_default(false)
      ->default_str("")
      ->type_name("SECONDS");
  app.add_option("-m,--method", options.method_text, "interpolation between samples: linear or cubic")
      ->check(KnownTo(velmora::util::timing::ParseResamplingMethod))
      ->type_name("METHOD");
  app.add_option("-g,--grid", options.grid_text, "placement of the new samples, see below")
      ->check(KnownTo(velmora::util::timing::ParseResamplingTimeGridMode))
      ->type_name("GRID");
  app.add_flag("--strict", options.strict, "fail where the cubic spline fails, instead of resampling linearly");
  app.add_option("-o,--output", options.output_path, "CSV to write; - is standard output")->type_name("FILE");
  app.footer(
      "Grids, for a recording from t0 to t1 and a spacing dt:\n"
      "  exact_dt_append_endpoint  t0, t0 + dt, ... and t1 as the last sample; the last step may be shorter\n"
      "  exact_dt_trim             t0, t0 + dt, ... up to t1; what does not fill a step is dropped\n"
      "  exact_duration_adjust_dt  t0 to t1 in equal steps, as near to dt as a whole number of them allows\n"
      "  exact_dt_extend_endpoint  t0, t0 + dt, ... until t1 is reached or passed; the last position is held\n"
      "\nThe output holds time_s, then the positions of all joints under their own names, then velocities (_per_s),\n"
      "accelerations (_per_s2) and jerks (_per_s3). A report goes to standard error.\n"
      "\nExamples:\n"
      "  resample_recording log.csv --sample-time 0.001 --output log_1khz.csv\n"
      "  zcat log.csv.gz | resample_recording - -t 0.004 -m linear -g exact_duration_adjust_dt > log_250hz.csv\n"
      "\nExit code: 0 done, 1 bad recording or failure, 2 bad usage.");
}

class Stopwatch {
 public:
  // Seconds since the last call, or since construction.
  double Lap() {
    const Clock::time_point now = Clock::now();
    return std::chrono::duration<double>(now - std::exchange(start_, now)).count();
  }

 private:
  using Clock = std::chrono::steady_clock;
  Clock::time_point start_ = Clock::now();
};

// The library falls back to linear resampling without a word; whoever reads the result should know.
JointTrajectory Resample(const JointTrajectory& recorded, const Options& options, std::string& how) {
  const ResamplingMethod method = velmora::util::timing::ParseResamplingMethod(options.method_text);
  const ResamplingTimeGridMode grid = velmora::util::timing::ParseResamplingTimeGridMode(options.grid_text);
  how = fmt::format("{}, {}, sample time {} s", options.method_text, options.grid_text, options.sample_time_s);
  if (method == ResamplingMethod::linear || options.strict) {
    return ResampleTrajectory(recorded, options.sample_time_s, method, grid, options.strict);
  }
  try {
    return ResampleTrajectory(recorded, options.sample_time_s, method, grid, true);
  } catch (const std::exception& error) {
    const std::string reason = error.what();
    JointTrajectory resampled =
        ResampleTrajectory(recorded, options.sample_time_s, ResamplingMethod::linear, grid, false);
    how += fmt::format("\n{:<11}LINEAR INSTEAD OF CUBIC: {}", "", reason);
    return resampled;
  }
}

void Run(const Options& options) {
  StageTimes times;
  Stopwatch stopwatch;
  const Recording recording = velmora::examples::ReadRecordingFile(options.recording_path);
  const JointTrajectory recorded(recording.positions, std::nullopt, std::nullopt, recording.time, std::nullopt,
                                 std::nullopt);
  times.reading_s = stopwatch.Lap();

  std::string how;
  const JointTrajectory resampled = Resample(recorded, options, how);
  times.resampling_s = stopwatch.Lap();
  const std::vector<std::reference_wrapper<const Matrix>> blocks = {resampled.positions, resampled.velocities(),
                                                                    resampled.accelerations(), resampled.jerks()};
  times.differentiating_s = stopwatch.Lap();

  std::vector<std::string> column_names = recording.joint_names;
  for (const int order : {1, 2, 3}) {
    const std::vector<std::string> names = velmora::examples::DerivativeNames(recording.joint_names, order);
    column_names.insert(column_names.end(), names.begin(), names.end());
  }
  velmora::examples::WriteOutput(options.output_path,
                                 velmora::examples::FormatCsv(column_names, resampled.time, blocks));
  times.writing_s = stopwatch.Lap();
  fmt::print(stderr, "{}", velmora::examples::FormatReport(recording, resampled, how, times));
}

int RunProgram(int argc, char** argv) {
  Options options;
  CLI::App app{"Resamples a recorded joint trajectory onto a regular time grid.", "resample_recording"};
  try {
    DeclareOptions(app, options);
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return app.exit(error) == 0 ? 0 : kExitUsage;
  }
  try {
    Run(options);
    return 0;
  } catch (const velmora::examples::RecordingError& error) {
    // The message begins with file and line, where editors look for them.
    fmt::print(stderr, "{}\n", error.what());
  } catch (const std::bad_alloc&) {
    fmt::print(stderr, "resample_recording: out of memory: the recording or the new grid is too long\n");
  } catch (const std::exception& error) {
    fmt::print(stderr, "resample_recording: {}\n", error.what());
  }
  return kExitFailure;
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
