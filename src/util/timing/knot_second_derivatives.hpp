// The linear system behind the not-a-knot cubic spline.
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
/// The dense solve defines the result. Beyond `kDenseKnots` knots an elimination of linear cost gives the same bits;
/// where it meets a pivot that it does not foresee, the dense solve is taken all the same.
Matrix SolveKnotSecondDerivatives(const Vector& h, const Matrix& y);

/// The dense solve, by LU factorisation with partial pivoting.
Matrix SolveKnotSecondDerivativesDense(const Vector& h, const Matrix& y);

/// Up to this many knots the dense solve costs next to nothing.
constexpr Eigen::Index kDenseKnots = 32;

}  // namespace velmora::util::timing
