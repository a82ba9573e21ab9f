// resample_recording: puts a recorded joint trajectory onto a regular time grid.
// SPDX-License-Identifier: Apache-2.0
#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "csv_output.hpp"
#include "recording.hpp"
#include "velmora/native/invalid_argument_error.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace {

using velmora::examples::Matrix;
using velmora::examples::Recording;
using velmora::util::timing::JointTrajectory;
using velmora::util::timing::ResamplingMethod;
using velmora::util::timing::ResamplingTimeGridMode;

struct Options {
  std::string recording_path;
  std::string output_path = "-";
  std::string method_text = "cubic";
  std::string grid_text = "exact_dt_append_endpoint";
  double sample_time_s = 0.0;
  bool strict = false;
};

void DeclareOptions(CLI::App& app, Options& options) {
  app.add_option("recording", options.recording_path,
                 "CSV with the column time_s [s] and one column per joint; - is standard input")
      ->required();
  app.add_option("-t,--sample-time", options.sample_time_s, "spacing of the new grid [s], for example 0.001")
      ->required();
  app.add_option("-m,--method", options.method_text, "interpolation between samples: linear or cubic");
  app.add_option("-g,--grid", options.grid_text,
                 "exact_dt_append_endpoint, exact_dt_trim, exact_duration_adjust_dt or exact_dt_extend_endpoint");
  app.add_flag("--strict", options.strict, "fail where the cubic spline fails, instead of resampling linearly");
  app.add_option("-o,--output", options.output_path, "CSV to write; - is standard output");
  app.footer("For logs as they come, other formats and many files there is the command velmora.");
}

// The library falls back to linear resampling without a word; whoever reads the result should know.
JointTrajectory Resample(const JointTrajectory& recorded, const Options& options) {
  const ResamplingMethod method = velmora::util::timing::ParseResamplingMethod(options.method_text);
  const ResamplingTimeGridMode grid = velmora::util::timing::ParseResamplingTimeGridMode(options.grid_text);
  try {
    return ResampleTrajectory(recorded, options.sample_time_s, method, grid, /*strict_cubic=*/true);
  } catch (const velmora::native::InvalidArgumentError& error) {
    if (options.strict || method == ResamplingMethod::linear) throw;
    JointTrajectory resampled =
        ResampleTrajectory(recorded, options.sample_time_s, ResamplingMethod::linear, grid, /*strict_cubic=*/false);
    fmt::print(stderr, "LINEAR INSTEAD OF CUBIC: {}\n", error.what());
    return resampled;
  }
}

// The time, then positions, velocities, accelerations and jerks of all joints.
std::string ToCsv(const std::vector<std::string>& joint_names, const JointTrajectory& trajectory) {
  std::vector<std::string> column_names = joint_names;
  for (const int order : {1, 2, 3}) {
    const std::vector<std::string> names = velmora::examples::DerivativeNames(joint_names, order);
    column_names.insert(column_names.end(), names.begin(), names.end());
  }
  return velmora::examples::FormatCsv(
      column_names, trajectory.time,
      {trajectory.positions, trajectory.velocities(), trajectory.accelerations(), trajectory.jerks()});
}

void PrintPeaks(const std::vector<std::string>& joint_names, const JointTrajectory& trajectory) {
  const auto peak = [](const Matrix& values, std::size_t joint) {
    return values.col(static_cast<Eigen::Index>(joint)).cwiseAbs().maxCoeff();
  };
  fmt::print(stderr, "{:<24}{:>12}  {:>12}  {:>12}\n", "peaks", "velocity", "acceleration", "jerk");
  for (std::size_t j = 0; j < joint_names.size(); ++j) {
    fmt::print(stderr, "{:<24}{:>12.5g}  {:>12.5g}  {:>12.5g}\n", joint_names[j], peak(trajectory.velocities(), j),
               peak(trajectory.accelerations(), j), peak(trajectory.jerks(), j));
  }
}

void Run(const Options& options) {
  const Recording recording = velmora::examples::ReadRecordingFile(options.recording_path);
  const JointTrajectory recorded = velmora::util::timing::TrajectoryAtTimes(recording.positions, recording.time);
  const JointTrajectory resampled = Resample(recorded, options);
  velmora::examples::WriteOutput(options.output_path, ToCsv(recording.joint_names, resampled));
  fmt::print(stderr, "{} samples, resampled to {}\n", recorded.time.size(), resampled.time.size());
  PrintPeaks(recording.joint_names, resampled);
}

}  // namespace

// NOLINTNEXTLINE(bugprone-exception-escape): it can where not even the message can be printed.
int main(int argc, char** argv) {
  Options options;
  CLI::App app{"Resamples a recorded joint trajectory onto a regular time grid.", "resample_recording"};
  DeclareOptions(app, options);
  CLI11_PARSE(app, argc, argv);
  try {
    Run(options);
    return 0;
  } catch (const std::bad_alloc&) {
    fmt::print(stderr, "resample_recording: out of memory: the recording or the new grid is too long\n");
  } catch (const std::exception& error) {
    fmt::print(stderr, "resample_recording: {}\n", error.what());
  }
  return 1;
}
