// LU factors of the spline's system, without its zeros.
#pragma once

#include <optional>

#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

using native::Vector;

/// LU factors with partial pivoting of the not-a-knot system over N knots, which is tridiagonal but for its first and
/// last row. Rows are numbered as they stand after the exchanges; only two exchanges can occur.
struct KnotFactors {
  explicit KnotFactors(Eigen::Index knots);

  Vector lower;                  ///< lower[i]: multiplier of row i - 1 in row i
  Vector inverse_pivot;          ///< 1 / u(i, i)
  Vector upper;                  ///< upper[i]: u(i, i + 1)
  double first_upper2 = 0.0;     ///< u(0, 2)
  double tail_upper2 = 0.0;      ///< u(N - 3, N - 1)
  double last_lower2 = 0.0;      ///< multiplier of row N - 3 in row N - 1
  double last_lower3 = 0.0;      ///< multiplier of row N - 4 in row N - 1
  bool first_exchanged = false;  ///< rows 0 and 1
  bool last_exchanged = false;   ///< rows N - 3 and N - 1
};

/// The factors that a dense factorisation yields, each entry formed by the same operations in the same order.
/// @param h intervals between the knots, at least 8
/// @return nothing where a pivot is not the one foreseen, or where it or its reciprocal is not finite
std::optional<KnotFactors> FactoriseKnotSystem(const Vector& h);

}  // namespace velmora::util::timing
