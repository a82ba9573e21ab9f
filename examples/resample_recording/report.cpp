// The report on a recording and on what it was resampled to.
// SPDX-License-Identifier: Apache-2.0
#include "report.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <iterator>
#include <string>
#include <vector>

namespace velmora::examples {
namespace {

// A step this far from the median step is not the clock's own resolution any more.
constexpr double kUnevenShare = 0.01;

std::string Count(Eigen::Index count, const char* noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

std::string FormatSteps(const Vector& time_s) {
  const Eigen::Index count = time_s.size() - 1;
  if (count < 1) return "no steps";
  const Vector steps_s = time_s.tail(count) - time_s.head(count);
  Eigen::Index longest = 0;
  const double longest_s = steps_s.maxCoeff(&longest);
  std::vector<double> sorted_s(steps_s.begin(), steps_s.end());
  const auto middle = sorted_s.begin() + count / 2;
  std::nth_element(sorted_s.begin(), middle, sorted_s.end());
  const double median_s = *middle;
  const auto uneven = std::count_if(steps_s.begin(), steps_s.end(), [median_s](double step_s) {
    return std::abs(step_s - median_s) > kUnevenShare * median_s;
  });
  return fmt::format("{}, {} uneven (over {:.0f} % off the median); median {:.6g} s, longest {:.6g} s after {:.6g} s",
                     Count(count, "step"), uneven, 100.0 * kUnevenShare, median_s, longest_s, time_s[longest]);
}

void AppendSpan(std::string& text, const char* label, const std::string& what, const Vector& time_s) {
  const double start_s = time_s[0];
  const double end_s = time_s[time_s.size() - 1];
  fmt::format_to(std::back_inserter(text), "{:<11}{}\n{:<11}{}, {:.6g} s from {} s to {} s\n", label, what, "",
                 Count(time_s.size(), "sample"), end_s - start_s, start_s, end_s);
  fmt::format_to(std::back_inserter(text), "{:<11}{}\n", "", FormatSteps(time_s));
}

double PeakOfJoint(const Matrix& values, Eigen::Index joint) { return values.col(joint).cwiseAbs().maxCoeff(); }

}  // namespace

std::string FormatReport(const Recording& recording, const util::timing::JointTrajectory& resampled,
                         const std::string& how, const StageTimes& times) {
  std::string text;
  AppendSpan(text, "recording", Count(recording.positions.cols(), "joint"), recording.time);
  AppendSpan(text, "resampled", how, resampled.time);

  std::size_t name_width = 0;
  for (const std::string& name : recording.joint_names) name_width = std::max(name_width, name.size());
  fmt::format_to(std::back_inserter(text),
                 "{:<11}in the unit of the recording per s, s^2 and s^3\n{:<11}{:<{}}  {:>12}  {:>12}  {:>12}\n",
                 "peaks", "", "", name_width, "velocity", "acceleration", "jerk");
  for (std::size_t j = 0; j < recording.joint_names.size(); ++j) {
    const Eigen::Index joint = static_cast<Eigen::Index>(j);
    fmt::format_to(std::back_inserter(text), "{:<11}{:<{}}  {:>12.5g}  {:>12.5g}  {:>12.5g}\n", "",
                   recording.joint_names[j], name_width, PeakOfJoint(resampled.velocities(), joint),
                   PeakOfJoint(resampled.accelerations(), joint), PeakOfJoint(resampled.jerks(), joint));
  }
  fmt::format_to(std::back_inserter(text),
                 "{:<11}reading {:.1f} ms, resampling {:.1f} ms, differentiating {:.1f} ms, writing {:.1f} ms\n",
                 "time spent", 1e3 * times.reading_s, 1e3 * times.resampling_s, 1e3 * times.differentiating_s,
                 1e3 * times.writing_s);
  return text;
}

}  // namespace velmora::examples
