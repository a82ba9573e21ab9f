// The not-a-knot spline by the book: a dense system, the coefficients stored, three evaluations of every grid entry.
// SPDX-License-Identifier: Apache-2.0
#include <Eigen/LU>
#include <algorithm>
#include <cmath>

#include "peers/spline_samples.hpp"

namespace velmora::benchmarks::peers {
namespace {

using Eigen::Index;

Matrix KnotSecondDerivatives(const Vector& h, const Matrix& y) {
  const Index last = h.size();
  Matrix system = Matrix::Zero(last + 1, last + 1);
  Matrix right_hand_side = Matrix::Zero(last + 1, y.cols());
  for (Index i = 1; i < last; ++i) {
    system(i, i - 1) = h[i - 1];
    system(i, i) = 2.0 * (h[i - 1] + h[i]);
    system(i, i + 1) = h[i];
    right_hand_side.row(i) = 6.0 * ((y.row(i + 1) - y.row(i)) / h[i] - (y.row(i) - y.row(i - 1)) / h[i - 1]);
  }
  system.row(0).head(3) << -h[1], h[0] + h[1], -h[0];
  system.row(last).tail(3) << -h[last - 1], h[last - 2] + h[last - 1], -h[last - 2];
  return system.partialPivLu().solve(right_hand_side);
}

}  // namespace

SplineSamples DenseSpline(const Vector& time, const Matrix& y, Index entries) {
  const Index last = time.size() - 1;
  const Vector h = time.tail(last) - time.head(last);
  const Matrix m = KnotSecondDerivatives(h, y);
  Matrix b(last, y.cols());
  Matrix d(last, y.cols());
  for (Index i = 0; i < last; ++i) {
    b.row(i) = (y.row(i + 1) - y.row(i)) / h[i] - h[i] * (2.0 * m.row(i) + m.row(i + 1)) / 6.0;
    d.row(i) = (m.row(i + 1) - m.row(i)) / (6.0 * h[i]);
  }

  const Vector grid = Vector::LinSpaced(entries, time[0], time[last]);
  SplineSamples samples(entries, y.cols());
  for (Index k = 0; k < entries; ++k) {
    const Index after = std::upper_bound(time.begin(), time.end(), grid[k]) - time.begin();
    const Index i = std::clamp<Index>(after - 1, 0, last - 1);
    const double dx = grid[k] - time[i];
    samples.positions.row(k) = y.row(i) + dx * (b.row(i) + dx * (0.5 * m.row(i) + dx * d.row(i)));
    samples.velocities.row(k) = b.row(i) + dx * (m.row(i) + 3.0 * dx * d.row(i));
    samples.accelerations.row(k) = m.row(i) + 6.0 * dx * d.row(i);
  }
  return samples;
}

}  // namespace velmora::benchmarks::peers
