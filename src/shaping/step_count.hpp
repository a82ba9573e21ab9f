// How many samples a time takes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>
#include <new>

namespace velmora::shaping {

/// The steps after which `span_s` is over, up to the rounding of the quotient; `std::bad_alloc` where they are more
/// than any memory holds.
inline std::int64_t StepCount(double span_s, double step_s) {
  constexpr double kMostSteps = 1e15;
  const double steps = std::ceil(span_s / step_s);
  if (!(steps <= kMostSteps)) throw std::bad_alloc();
  return static_cast<std::int64_t>(steps);
}

}  // namespace velmora::shaping
