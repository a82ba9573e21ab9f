// Reference for the checks of joint-state limits.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <vector>

namespace velmora::oracle {

/// Throws `Failure` where the limits of one quantity are not admissible.
void CheckJointStateBox(const std::vector<double>& lower, const std::vector<double>& upper);

/// Joint counts of the position, velocity, acceleration and jerk boxes; absent boxes have none.
void CheckJointStateLimits(const std::array<std::optional<std::size_t>, 4>& joint_counts);

}  // namespace velmora::oracle
