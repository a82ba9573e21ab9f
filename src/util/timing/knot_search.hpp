// The interval of sorted times that holds a given time.
#pragma once

#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

/// Index of the first entry of `times` strictly greater than `t`, or their number if there is none: binary search over
/// nondecreasing times. Written out rather than taken from the standard library because the sequence of comparisons
/// decides the answer for NaN and for repeated times.
inline Eigen::Index UpperBound(const Vector& times, double t) {
  Eigen::Index count = times.size();
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

}  // namespace velmora::util::timing
