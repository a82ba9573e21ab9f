// What a resampling yields, on its way into a trajectory.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "velmora/util/timing/trajectory.hpp"

namespace velmora::util::timing {

/// Positions, derivatives of their shape, and one time per row.
struct ResampledParts {
  Matrix positions;
  std::optional<Matrix> velocities;
  std::optional<Matrix> accelerations;
  Vector time;
  bool
      all_finite;  ///< that every element but the times is, as seen while they were computed; if false, it is not known

  /// The trajectory of these parts, with the checks of its constructor: those that cannot fail are spared.
  static JointTrajectory Assemble(ResampledParts parts);
};

}  // namespace velmora::util::timing
