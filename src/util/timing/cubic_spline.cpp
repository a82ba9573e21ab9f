// Not-a-knot cubic splines through the rows of a matrix.
#include "util/timing/cubic_spline.hpp"

#include <cmath>

#include "native/finiteness.hpp"
#include "native/throw_invalid_argument.hpp"
#include "util/timing/knot_search.hpp"
#include "util/timing/knot_second_derivatives.hpp"

namespace velmora::util::timing {
namespace {

Vector Intervals(const Vector& x) {
  Vector h(x.size() - 1);
  for (Eigen::Index k = 0; k < h.size(); ++k) h[k] = x[k + 1] - x[k];
  return h;
}

CubicSpline SplineFromSecondDerivatives(const Vector& x, const Vector& h, const Matrix& y,
                                        const Matrix& knot_second_derivatives) {
  const Matrix& m = knot_second_derivatives;
  const Eigen::Index intervals = h.size();
  const Eigen::Index joints = y.cols();
  CubicSpline spline{x, Matrix(intervals, joints), Matrix(intervals, joints), Matrix(intervals, joints),
                     Matrix(intervals, joints)};
  for (Eigen::Index i = 0; i < intervals; ++i) {
    const double six_h = h[i] * 6.0;
    for (Eigen::Index j = 0; j < joints; ++j) {
      const double slope = (y(i + 1, j) - y(i, j)) / h[i];
      const double curvature = 2.0 * m(i, j) + m(i + 1, j);
      spline.a(i, j) = y(i, j);
      spline.b(i, j) = slope - (h[i] * curvature) / 6.0;
      spline.c(i, j) = m(i, j) * 0.5;
      spline.d(i, j) = (m(i + 1, j) - m(i, j)) / six_h;
    }
  }
  return spline;
}

Eigen::Index IntervalOf(const Vector& x, double t) {
  const Eigen::Index last = x.size() - 1;
  if (t >= x[last]) return last - 1;
  if (t > x[0]) return UpperBound(x, t) - 1;
  return 0;  // before the first knot, or NaN
}

}  // namespace

CubicSpline BuildCubicSpline(const Vector& x, const Matrix& y) {
  const Eigen::Index knots = x.size();
  if (knots < 2) native::ThrowInvalidArgument("`x` must contain at least 2 elements.");
  const Vector h = Intervals(x);
  if (knots == 2) return SplineFromSecondDerivatives(x, h, y, Matrix::Zero(2, y.cols()));

  const Matrix knot_second_derivatives = SolveKnotSecondDerivatives(h, y);
  if (!native::AllFinite(knot_second_derivatives)) {
    native::ThrowInvalidArgument("Cubic-spline construction produced non-finite coefficients.");
  }
  return SplineFromSecondDerivatives(x, h, y, knot_second_derivatives);
}

Matrix EvaluateCubicSpline(const CubicSpline& spline, const Vector& query_times, std::uint32_t derivative_order) {
  const Eigen::Index joints = spline.a.cols();
  Matrix result(query_times.size(), joints);
  for (Eigen::Index q = 0; q < query_times.size(); ++q) {
    const Eigen::Index i = IntervalOf(spline.x, query_times[q]);
    const double dx = query_times[q] - spline.x[i];
    const double* a = spline.a.data() + i * joints;
    const double* b = spline.b.data() + i * joints;
    const double* c = spline.c.data() + i * joints;
    const double* d = spline.d.data() + i * joints;
    double* value = result.data() + q * joints;
    if (derivative_order == 0) {  // a + dx (b + dx (c + dx d))
      for (Eigen::Index j = 0; j < joints; ++j) {
        value[j] = std::fma(dx, std::fma(dx, std::fma(dx, d[j], c[j]), b[j]), a[j]);
      }
    } else if (derivative_order == 1) {  // b + 2 dx c + 3 dx^2 d
      const double two_dx = dx + dx;
      const double three_dx_squared = (dx * 3.0) * dx;
      for (Eigen::Index j = 0; j < joints; ++j) {
        value[j] = std::fma(three_dx_squared, d[j], std::fma(two_dx, c[j], b[j]));
      }
    } else {  // 2 c + 6 dx d
      const double six_dx = dx * 6.0;
      for (Eigen::Index j = 0; j < joints; ++j) value[j] = std::fma(c[j], 2.0, six_dx * d[j]);
    }
  }
  return result;
}

}  // namespace velmora::util::timing
