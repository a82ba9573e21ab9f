// The smooth ramp from 0 to 1.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/smootherstep.hpp"

#include <cmath>

#include "internal/finiteness.hpp"
#include "velmora/native/invalid_argument_error.hpp"

namespace velmora::util {

double Smootherstep(double unit_progress) {
  if (!internal::IsFinite(unit_progress)) {
    throw native::InvalidArgumentError("unit_progress must be finite", "unit_progress");
  }
  double x = unit_progress < 0.0 ? 0.0 : unit_progress;
  if (x > 1.0) x = 1.0;
  // x^3 (10 + x (-15 + 6 x)), in this order: the last bit is part of the promise.
  const double p = std::fma(x, 6.0, -15.0);
  const double cube = (x * x) * x;
  const double q = std::fma(p, x, 10.0);
  return cube * q;
}

}  // namespace velmora::util
