// The smooth ramp from 0 to 1.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/export.hpp"

/// General numerical helpers.
namespace velmora::util {

/// Quintic ramp 6 x^5 - 15 x^4 + 10 x^3 with zero first and second derivative at both ends.
///
/// | progress | result |
/// |---|---|
/// | below 0 | 0 |
/// | -0.0 | -0.0 |
/// | from 0 to 1 | the quintic |
/// | above 1 | 1 |
/// @param unit_progress progress along the ramp, finite; clamped to [0, 1]
/// @return value of the ramp, from 0 to 1
/// @throws native::InvalidArgumentError "unit_progress must be finite", with argument name "unit_progress"
///
/// Complexity: O(1). Thread safety: pure.
/// Source of the method: K. Perlin, "Improving noise", ACM Transactions on Graphics 21 (2002).
///
/// @code{.cpp}
/// assert(velmora::util::Smootherstep(0.5) == 0.5);
/// assert(velmora::util::Smootherstep(7.0) == 1.0);
/// @endcode
VELMORA_EXPORT double Smootherstep(double unit_progress);

}  // namespace velmora::util
