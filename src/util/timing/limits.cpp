// Consistency of joint-state limits.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/timing/limits.hpp"

#include <utility>

#include "internal/finiteness.hpp"
#include "internal/throw_invalid_argument.hpp"

namespace velmora::util::timing {

using internal::ThrowInvalidArgument;

JointStateBox::JointStateBox(Vector given_lower, Vector given_upper)
    : lower(std::move(given_lower)), upper(std::move(given_upper)) {
  if (lower.size() != upper.size()) ThrowInvalidArgument("Lower and upper limits must have matching shapes.");
  if (!internal::AllFinite(lower) || !internal::AllFinite(upper)) {
    ThrowInvalidArgument("Joint-state limits must contain only finite values.");
  }
  for (Eigen::Index j = 0; j < lower.size(); ++j) {
    if (upper[j] < lower[j]) ThrowInvalidArgument("Lower limits cannot exceed upper limits.");
  }
}

JointStateLimits::JointStateLimits(std::optional<JointStateBox> given_position,
                                   std::optional<JointStateBox> given_velocity,
                                   std::optional<JointStateBox> given_acceleration,
                                   std::optional<JointStateBox> given_jerk)
    : position(std::move(given_position)),
      velocity(std::move(given_velocity)),
      acceleration(std::move(given_acceleration)),
      jerk(std::move(given_jerk)) {
  const JointStateBox* previous = nullptr;
  for (const std::optional<JointStateBox>* box : {&position, &velocity, &acceleration, &jerk}) {
    if (!*box) continue;
    const JointStateBox& present = **box;
    if (previous != nullptr && present.lower.size() != previous->lower.size()) {
      ThrowInvalidArgument("Position, velocity, acceleration, and jerk limits must have matching shapes.");
    }
    previous = &present;
  }
}

}  // namespace velmora::util::timing
