// The report on a recording and on what it was resampled to.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "recording.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::examples {

/// Wall-clock seconds of each stage of a run.
struct StageTimes {
  double reading_s = 0.0;
  double resampling_s = 0.0;
  double differentiating_s = 0.0;
  double writing_s = 0.0;
};

/// Samples, duration and steps of the recording and of the new grid, and the time spent, a few lines of text.
/// @param how the method and grid mode as the user named them
std::string FormatReport(const Recording& recording, const util::timing::JointTrajectory& resampled,
                         const std::string& how, const StageTimes& times);

}  // namespace velmora::examples
