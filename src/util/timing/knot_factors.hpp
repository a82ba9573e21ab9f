// LU factors of the spline's system, without its zeros.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

using native::Vector;

/// LU factors with partial pivoting of the not-a-knot system over N >= 5 knots, which is tridiagonal but for its first
/// and last row. Rows are numbered as they stand after the exchanges; only two exchanges can occur.
struct KnotFactors {
  static constexpr Eigen::Index kReach = 3;  ///< beyond it, beside the diagonal, every entry is zero

  explicit KnotFactors(Eigen::Index knots);

  /// Entry of the factors as `SubstituteInPanels` takes them, zeros with their sign.
  double operator()(Eigen::Index i, Eigen::Index c) const;

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
///
/// Nothing is checked. A pivot that overflows has the reciprocal zero, and the solution may be finite all the same.
/// Where an entry, or the reciprocal of a pivot, is not finite, a row of every solution is not finite either, here as
/// in the dense solve.
/// @param h intervals between the knots, at least 4, each above zero
KnotFactors FactoriseKnotSystem(const Vector& h);

}  // namespace velmora::util::timing
