// The linear system behind the not-a-knot cubic spline.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

using native::Matrix;
using native::Vector;

/// Second derivatives at the knots of the not-a-knot cubic splines through the rows of `y`, N x J.
///
/// `h` holds the N - 1 intervals between the knots, N >= 3. One system serves all joints: it is factorised once and
/// solved with one right-hand side per joint. With three knots the two end conditions would coincide, so the second
/// derivative is held constant instead. Values that are not finite are returned as they come.
///
/// The dense solve defines the result. Beyond `kDenseKnots` knots an elimination of linear cost gives the same bits, or
/// likewise values that are not finite.
Matrix SolveKnotSecondDerivatives(const Vector& h, const Matrix& y);

/// The dense solve of `KnotSystem`.
Matrix SolveKnotSecondDerivativesDense(const Vector& h, const Matrix& y);

/// The system's matrix, N x N.
Matrix KnotSystem(const Vector& h);

/// Up to this many knots the first and the last rows of the system meet, and the dense solve is taken.
constexpr Eigen::Index kDenseKnots = 4;

}  // namespace velmora::util::timing
