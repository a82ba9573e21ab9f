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
Matrix SolveKnotSecondDerivatives(const Vector& h, const Matrix& y);

}  // namespace velmora::util::timing
