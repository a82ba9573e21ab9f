// Regular time grids between two times.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "velmora/native/array_types.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::util::timing {

/// Sample times from `start_time_s` with spacing `sample_time_s` towards `end_time_s`, placed as `grid_mode` says.
/// @throws native::InvalidArgumentError "sample_time_s must be positive."
/// @throws native::InvalidArgumentError "trajectory.time must be nondecreasing."
/// @throws std::bad_alloc for a grid too long to be counted or allocated
/// @throws native::InvalidArgumentError "Unsupported resampling time-grid mode." (not for a span of zero)
Vector BuildResamplingTimeGrid(double start_time_s, double end_time_s, double sample_time_s,
                               ResamplingTimeGridMode grid_mode);

/// The times at which a trajectory that ends at `end_time_s` is evaluated: none where they are those of `grid` itself;
/// in the extend mode, where an entry may lie beyond the end, a copy of `grid` with what does moved back to the end.
std::optional<Vector> ClampedTimes(const Vector& grid, double end_time_s, ResamplingTimeGridMode grid_mode);

}  // namespace velmora::util::timing
