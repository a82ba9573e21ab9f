// The two finiteness rules: one for scalars, one for arrays.
#pragma once

#include <cmath>
#include <limits>

#include "velmora/native/array_types.hpp"

namespace velmora::native {

/// True for finite values. Written as a comparison that NaN fails.
inline bool IsFinite(double x) { return std::abs(x) <= std::numeric_limits<double>::max(); }

/// True when `x - x == x - x` for every element: false at the first NaN or infinity.
inline bool AllFinite(const double* values, Eigen::Index count) {
  for (Eigen::Index k = 0; k < count; ++k) {
    const double difference = values[k] - values[k];
    if (!(difference == difference)) return false;
  }
  return true;
}

inline bool AllFinite(const Matrix& values) { return AllFinite(values.data(), values.size()); }
inline bool AllFinite(const Vector& values) { return AllFinite(values.data(), values.size()); }

}  // namespace velmora::native
