// The choice between the resampling methods.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/timing/resampling.hpp"

#include <exception>

#include "util/timing/cubic_resampling.hpp"
#include "util/timing/linear_resampling.hpp"

namespace velmora::util::timing {

JointTrajectory ResampleTrajectory(const JointTrajectory& trajectory, double sample_time_s, ResamplingMethod method,
                                   ResamplingTimeGridMode grid_mode, bool strict_cubic) {
  if (method == ResamplingMethod::linear) return ResampleTrajectoryLinear(trajectory, sample_time_s, grid_mode);
  try {
    return ResampleTrajectoryCubic(trajectory, sample_time_s, grid_mode);
  } catch (const std::exception&) {
    if (strict_cubic) throw;
    return ResampleTrajectoryLinear(trajectory, sample_time_s, grid_mode);
  }
}

}  // namespace velmora::util::timing
