// Admissible joint states: per-joint intervals for position, velocity, acceleration and jerk.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "velmora/native/array_types.hpp"
#include "velmora/native/export.hpp"

namespace velmora::util::timing {

using native::Vector;

/// Per-joint closed interval [lower, upper] of one quantity for J >= 0 joints.
///
/// The fields are public: a caller that writes to them takes over their invariants.
///
/// Thread safety: a value type without shared state.
///
/// @code{.cpp}
/// const Vector quarter_turn = Vector::Constant(7, 1.57);  // rad
/// const JointStateBox position(-quarter_turn, quarter_turn);
/// const JointStateBox velocity(Vector::Constant(7, -2.0), Vector::Constant(7, 2.0));  // rad/s
/// const JointStateLimits limits(position, velocity, std::nullopt, std::nullopt);
/// assert(!limits.jerk && limits.velocity->upper[6] == 2.0);
/// @endcode
class JointStateBox {
 public:
  Vector lower;  ///< lower limits, length J, finite, in the unit of the quantity
  Vector upper;  ///< upper limits, length J, finite, in the same unit, `upper[j] >= lower[j]`

  /// Takes over the limits and checks them in the order below. Equal limits pin a joint; an empty box is valid.
  /// @param lower lower limits, length J, in the unit of the quantity
  /// @param upper upper limits, length J, in the same unit
  /// @throws native::InvalidArgumentError "Lower and upper limits must have matching shapes."
  /// @throws native::InvalidArgumentError "Joint-state limits must contain only finite values."
  /// @throws native::InvalidArgumentError "Lower limits cannot exceed upper limits."
  ///
  /// Complexity: O(J).
  VELMORA_EXPORT JointStateBox(Vector lower, Vector upper);
};

/// Optional boxes for the joint state and its derivatives, all for the same number of joints.
///
/// Thread safety: a value type without shared state.
class JointStateLimits {
 public:
  std::optional<JointStateBox> position;      ///< positions, such as rad
  std::optional<JointStateBox> velocity;      ///< first derivative, in that unit per second
  std::optional<JointStateBox> acceleration;  ///< second derivative, per second squared
  std::optional<JointStateBox> jerk;          ///< third derivative, per second cubed

  /// Takes over the boxes. Any of them may be absent.
  /// @param position limits of the positions, for J joints, or none
  /// @param velocity limits of the first derivative, for J joints, or none
  /// @param acceleration limits of the second derivative, for J joints, or none
  /// @param jerk limits of the third derivative, for J joints, or none
  /// @throws native::InvalidArgumentError "Position, velocity, acceleration, and jerk limits must have matching
  ///   shapes."
  ///
  /// Complexity: O(1).
  VELMORA_EXPORT JointStateLimits(std::optional<JointStateBox> position, std::optional<JointStateBox> velocity,
                                  std::optional<JointStateBox> acceleration, std::optional<JointStateBox> jerk);
};

}  // namespace velmora::util::timing
