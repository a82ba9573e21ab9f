// Not-a-knot cubic splines through the rows of a matrix.
#pragma once

#include <cstdint>

#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

using native::Matrix;
using native::Vector;

/// Piecewise cubic: on interval i, from `x[i]` to `x[i + 1]`, joint j follows
/// `a(i, j) + b(i, j) dx + c(i, j) dx^2 + d(i, j) dx^3` with `dx = t - x[i]`.
struct CubicSpline {
  Vector x;  ///< knots, length N
  Matrix a;  ///< values at the start of each interval, N - 1 x J
  Matrix b;  ///< first derivatives there
  Matrix c;  ///< half the second derivatives there
  Matrix d;  ///< a sixth of the third derivatives
};

/// The not-a-knot spline through row k of `y` at `x[k]`; a parabola for three knots, a line for two.
///
/// The caller guarantees finite, strictly increasing knots and one row of `y` for each.
/// @throws native::InvalidArgumentError "`x` must contain at least 2 elements."
/// @throws native::InvalidArgumentError "Cubic-spline construction produced non-finite coefficients."
CubicSpline BuildCubicSpline(const Vector& x, const Matrix& y);

/// Values (order 0), first derivatives (1) or second derivatives (any other order), one row per query time.
///
/// A query at an inner knot belongs to the interval that starts there; queries beyond the knots continue the first or
/// last polynomial. Queries need not be sorted.
Matrix EvaluateCubicSpline(const CubicSpline& spline, const Vector& query_times, std::uint32_t derivative_order);

}  // namespace velmora::util::timing
