// The two finiteness rules.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

namespace velmora::oracle {

/// By comparison with the largest double; a comparison with NaN is false.
inline bool IsFiniteScalar(double x) {
  const double magnitude = x < 0.0 ? -x : x;
  return magnitude <= 1.7976931348623157e308;
}

inline bool AreFinite(const std::vector<double>& values) {
  for (const double x : values) {
    const double difference = x - x;
    if (!(difference == difference)) return false;
  }
  return true;
}

}  // namespace velmora::oracle
