// The two finiteness rules: one for scalars, one for arrays.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <limits>

#include "internal/exact_arithmetic.hpp"
#include "velmora/native/array_types.hpp"

namespace velmora::internal {

/// True for finite values. Written as a comparison that NaN fails.
inline bool IsFinite(double x) { return std::abs(x) <= std::numeric_limits<double>::max(); }

/// True when `x - x == x - x` for every element: false where one is NaN or infinite.
bool AllFinite(const native::Matrix& values);
bool AllFinite(const native::Vector& values);

}  // namespace velmora::internal
