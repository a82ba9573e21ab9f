// The rest-to-rest move that the demonstration commands.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "recording.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::examples {

/// A move with the names of its joints.
struct Move {
  std::vector<std::string> joint_names;      ///< J names
  util::timing::JointTrajectory trajectory;  ///< N samples of J joints, at rest at both ends
};

/// One joint that turns by 1 rad in 0.35 s along a quintic with zero velocity and acceleration at both ends.
///
/// Source of the profile: T. Flash, N. Hogan, "The coordination of arm movements", Journal of Neuroscience 5 (1985),
/// the minimum-jerk move.
Move QuinticMove();

/// The move resampled with a cubic spline onto times `sample_time_s` apart, the end time included.
///
/// A held endpoint is only the continuation of a move that has come to rest, so a move that has not is refused.
/// @throws std::runtime_error where a joint moves at either end, faster than 5 % of the top speed of all joints
/// @throws native::InvalidArgumentError as `ResampleTrajectory`
Move ResampledRestToRestMove(const Move& move, double sample_time_s);

/// The positions and times of a recording as a move.
Move RecordedMove(const Recording& recording);

}  // namespace velmora::examples
