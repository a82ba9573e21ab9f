// The linear system behind the not-a-knot cubic spline.
#include "util/timing/knot_second_derivatives.hpp"

#include <Eigen/LU>

namespace velmora::util::timing {
namespace {

// Continuity of the first derivative at the inner knots; not-a-knot at the two outermost of them, that is, continuity
// of the third derivative there (de Boor, "A Practical Guide to Splines", chapter IV).
Matrix SystemMatrix(const Vector& h) {
  const Eigen::Index knots = h.size() + 1;
  const Eigen::Index last = knots - 1;
  Matrix system = Matrix::Zero(knots, knots);
  for (Eigen::Index i = 1; i < last; ++i) {
    system(i, i - 1) = h[i - 1];
    system(i, i) = 2.0 * (h[i - 1] + h[i]);
    system(i, i + 1) = h[i];
  }
  if (knots == 3) {
    system(0, 0) = 1.0;
    system(0, 1) = -1.0;
    system(2, 1) = 1.0;
    system(2, 2) = -1.0;
  } else {
    system(0, 0) = -h[1];
    system(0, 1) = h[0] + h[1];
    system(0, 2) = -h[0];
    system(last, last - 2) = -h[last - 1];
    system(last, last - 1) = h[last - 2] + h[last - 1];
    system(last, last) = -h[last - 2];
  }
  return system;
}

// Six times the second divided differences; the end conditions have a right-hand side of zero.
Matrix RightHandSide(const Vector& h, const Matrix& y) {
  Matrix right_hand_side = Matrix::Zero(y.rows(), y.cols());
  for (Eigen::Index i = 1; i + 1 < y.rows(); ++i) {
    for (Eigen::Index j = 0; j < y.cols(); ++j) {
      const double slope_after = (y(i + 1, j) - y(i, j)) / h[i];
      const double slope_before = (y(i, j) - y(i - 1, j)) / h[i - 1];
      right_hand_side(i, j) = 6.0 * (slope_after - slope_before);
    }
  }
  return right_hand_side;
}

}  // namespace

Matrix SolveKnotSecondDerivatives(const Vector& h, const Matrix& y) {
  return SystemMatrix(h).partialPivLu().solve(RightHandSide(h, y));
}

}  // namespace velmora::util::timing
