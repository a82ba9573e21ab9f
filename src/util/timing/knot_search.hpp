// The step of sorted times that holds a given time.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "native/cpu_dispatch.hpp"
#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

/// Index of the first of `count` nondecreasing times strictly greater than `t`, or `count` if there is none. A binary
/// search, written out because its sequence of comparisons decides the answer for NaN.
VELMORA_ALWAYS_INLINE Eigen::Index UpperBound(const double* times, Eigen::Index count, double t) {
  Eigen::Index first = 0;
  while (count > 0) {
    const Eigen::Index half = count / 2;
    if (t < times[first + half]) {
      count = half;
    } else {
      first += half + 1;
      count -= half + 1;
    }
  }
  return first;
}

/// `UpperBound`, looked for first at `previous` (an earlier answer, or 1) and right after it: queries mostly ascend in
/// steps shorter than those of the times. An entry above `t` whose predecessor is not above is the first such entry, so
/// the answer is the same.
VELMORA_ALWAYS_INLINE Eigen::Index UpperBoundNear(const double* times, Eigen::Index count, double t,
                                                  Eigen::Index previous) {
  for (Eigen::Index candidate = previous; candidate < count && candidate < previous + 2; ++candidate) {
    if (times[candidate - 1] <= t && t < times[candidate]) return candidate;
  }
  return UpperBound(times, count, t);
}

}  // namespace velmora::util::timing
