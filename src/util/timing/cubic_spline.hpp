// Not-a-knot cubic splines through the rows of a matrix.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

using native::Matrix;
using native::Vector;

/// Piecewise cubic. On interval i, from `x[i]` to `x[i + 1]` = `x[i]` + h, a joint follows a + b dx + c dx^2 + d dx^3
/// with dx = t - `x[i]` and, from its values y and second derivatives M at the two knots, a = y_i, b = (y_(i+1) - y_i)
/// / h - h (2 M_i + M_(i+1)) / 6, c = M_i / 2, d = (M_(i+1) - M_i) / (6 h). The coefficients are formed while
/// evaluating: that costs less than storing them.
struct CubicSpline {
  const Vector& x;                 ///< knots, length N; refers to what the spline was built from
  const Matrix& y;                 ///< values at the knots, N x J; likewise
  Matrix knot_second_derivatives;  ///< N x J
};

/// The not-a-knot spline through row k of `y` at `x[k]`; a parabola for three knots, a line for two.
///
/// The caller guarantees finite, strictly increasing knots and one row of `y` for each, and keeps both alive.
/// @throws native::InvalidArgumentError "`x` must contain at least 2 elements."
/// @throws native::InvalidArgumentError "Cubic-spline construction produced non-finite coefficients."
CubicSpline BuildCubicSpline(const Vector& x, const Matrix& y);

/// Values (order 0), first derivatives (1) or second derivatives (any other order), one row per query time.
///
/// A query at an inner knot belongs to the interval that starts there; queries beyond the knots continue the first or
/// last polynomial. Queries need not be sorted.
Matrix EvaluateCubicSpline(const CubicSpline& spline, const Vector& query_times, std::uint32_t derivative_order);

/// Values, first and second derivatives at the query times.
struct SplineSamples {
  Matrix values;
  Matrix first_derivatives;
  Matrix second_derivatives;
};

/// All three of `EvaluateCubicSpline` in one walk over the query times.
SplineSamples EvaluateCubicSpline(const CubicSpline& spline, const Vector& query_times);

}  // namespace velmora::util::timing
