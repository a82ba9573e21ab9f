// Not-a-knot cubic splines through the rows of a matrix.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

using native::Matrix;
using native::Vector;

/// Second derivatives at the knots, N x J, of the not-a-knot spline through row k of `y` at `x[k]`; a parabola for
/// three knots, a line for two.
///
/// The caller guarantees finite, strictly increasing knots and one row of `y` for each.
/// @throws native::InvalidArgumentError "`x` must contain at least 2 elements."
/// @throws native::InvalidArgumentError "Cubic-spline construction produced non-finite coefficients."
Matrix BuildCubicSpline(const Vector& x, const Matrix& y);

/// Values, first and second derivatives, one row per query time.
struct SplineSamples {
  Matrix values;
  Matrix first_derivatives;
  Matrix second_derivatives;
  bool all_finite;  ///< every one of them; where the sum of a joint's three overflows, this may be false all the same
};

/// The spline through row k of `y` at `x[k]` with the second derivatives `m` there.
///
/// On interval i, from `x[i]` to `x[i + 1]` = `x[i]` + h, a joint follows a + b dx + c dx^2 + d dx^3 with dx = t -
/// `x[i]` and a = y_i, b = (y_(i+1) - y_i) / h - h (2 m_i + m_(i+1)) / 6, c = m_i / 2, d = (m_(i+1) - m_i) / (6 h). The
/// coefficients are formed while evaluating: that costs less than storing them.
///
/// A query at an inner knot belongs to the interval that starts there; queries beyond the knots continue the first or
/// last polynomial. Queries need not be sorted.
SplineSamples EvaluateCubicSpline(const Vector& x, const Matrix& y, const Matrix& m, const Vector& query_times);

/// Room for samples: one row per query time in each block, the rows one after the other.
struct SampleRows {
  double* values;
  double* first_derivatives;
  double* second_derivatives;
};

/// Likewise, into rows that the caller provides; returns whether every sample is finite, as `all_finite`.
bool EvaluateCubicSpline(const Vector& x, const Matrix& y, const Matrix& m, const Eigen::Ref<const Vector>& query_times,
                         const SampleRows& samples);

}  // namespace velmora::util::timing
