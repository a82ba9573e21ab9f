// The one rule on tolerated residual vibrations.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/tolerance.hpp"

#include "internal/exact_arithmetic.hpp"
#include "internal/throw_invalid_argument.hpp"

namespace velmora::shaping {

void ValidateTolerance(double tolerance) {
  if (!(tolerance > 0.0 && tolerance < 1.0)) internal::ThrowInvalidArgument("tolerance must be in (0, 1).");
}

}  // namespace velmora::shaping
