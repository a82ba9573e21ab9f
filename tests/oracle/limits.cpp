// Reference for the checks of joint-state limits.
// SPDX-License-Identifier: Apache-2.0
#include "oracle/limits.hpp"

#include "oracle/failure.hpp"
#include "oracle/finiteness.hpp"

namespace velmora::oracle {

void CheckJointStateBox(const std::vector<double>& lower, const std::vector<double>& upper) {
  if (lower.size() != upper.size()) Fail("Lower and upper limits must have matching shapes.");
  if (!AreFinite(lower) || !AreFinite(upper)) Fail("Joint-state limits must contain only finite values.");
  for (std::size_t j = 0; j < lower.size(); ++j) {
    if (upper[j] < lower[j]) Fail("Lower limits cannot exceed upper limits.");
  }
}

void CheckJointStateLimits(const std::array<std::optional<std::size_t>, 4>& joint_counts) {
  std::optional<std::size_t> previous;
  for (const std::optional<std::size_t>& count : joint_counts) {
    if (!count) continue;
    if (previous && *previous != *count) {
      Fail("Position, velocity, acceleration, and jerk limits must have matching shapes.");
    }
    previous = count;
  }
}

}  // namespace velmora::oracle
