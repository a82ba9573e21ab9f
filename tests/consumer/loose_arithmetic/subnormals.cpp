// A plain program that uses the library: subnormal numbers exist in it before and after, and in the library.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <cstdio>
#include <limits>

#include "velmora/control/shaper/parameters.hpp"
#include "velmora/util/timing/differentiation.hpp"

int main() {
  volatile double smallest_normal = std::numeric_limits<double>::min();
  volatile double half = smallest_normal / 2.0;
  if (std::fpclassify(half) != FP_SUBNORMAL) {
    std::puts("the library switched subnormals off in this program");
    return 1;
  }
  velmora::control::shaper::ValidateVibrationWeightRatePerS(half);  // positive
  velmora::native::Matrix signal = velmora::native::Matrix::Zero(2, 1);
  signal(1, 0) = half;
  const velmora::native::Matrix difference = velmora::util::timing::SampleAlignedFirstDifference(signal, 1.0);
  if (difference(0, 0) != half) {
    std::puts("the library takes subnormals for zero");
    return 1;
  }
  std::puts("subnormals stay");
  return 0;
}
