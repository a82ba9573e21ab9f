// The jobs as plain Eigen expressions and loops, compiled for any x86-64, and what touching the memory costs.
// SPDX-License-Identifier: Apache-2.0
#include "peers/eigen_expressions.hpp"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

namespace velmora::benchmarks::peers {

using Eigen::Index;

Matrix BlendByExpression(const Matrix& raw, const Matrix& shaped, double weight) {
  return (1.0 - weight) * raw + weight * shaped;
}

Matrix BlendByFma(const Matrix& raw, const Matrix& shaped, double weight) {
  Matrix blend(raw.rows(), raw.cols());
  for (Index k = 0; k < raw.size(); ++k) {
    blend.data()[k] = std::fma(1.0 - weight, raw.data()[k], weight * shaped.data()[k]);
  }
  return blend;
}

Matrix BlendByRow(const Matrix& raw, const Matrix& shaped, const Vector& weights) {
  Matrix blend(raw.rows(), raw.cols());
  for (Index i = 0; i < raw.rows(); ++i) {
    blend.row(i) = (1.0 - weights[i]) * raw.row(i) + weights[i] * shaped.row(i);
  }
  return blend;
}

Vector PathCoordinate(const Matrix& positions) {
  Vector coordinate(positions.rows());
  coordinate[0] = 0.0;
  for (Index i = 1; i < positions.rows(); ++i) {
    coordinate[i] = coordinate[i - 1] + (positions.row(i) - positions.row(i - 1)).norm();
  }
  return coordinate;
}

Matrix ThreePointDerivative(const Matrix& x, const Vector& t) {
  const Index last = x.rows() - 1;
  Matrix d(x.rows(), x.cols());
  const double h0 = t[1] - t[0];
  const double h1 = t[2] - t[1];
  d.row(0) = -(2.0 * h0 + h1) / ((h1 + h0) * h0) * x.row(0) + (h1 + h0) / (h1 * h0) * x.row(1) -
             h0 / ((h1 + h0) * h1) * x.row(2);
  for (Index i = 1; i < last; ++i) {
    const double hm = t[i] - t[i - 1];
    const double hp = t[i + 1] - t[i];
    d.row(i) =
        (hp - hm) / (hm * hp) * x.row(i) - hp / ((hm + hp) * hm) * x.row(i - 1) + hm / ((hm + hp) * hp) * x.row(i + 1);
  }
  const double a = t[last] - t[last - 1];
  const double b = t[last - 1] - t[last - 2];
  d.row(last) = a / ((a + b) * b) * x.row(last - 2) - (a + b) / (a * b) * x.row(last - 1) +
                (2.0 * a + b) / ((a + b) * a) * x.row(last);
  return d;
}

Matrix FirstDifference(const Matrix& x, const Vector& t) {
  const Index last = x.rows() - 1;
  Matrix d(x.rows(), x.cols());
  for (Index i = 0; i < last; ++i) d.row(i) = (x.row(i + 1) - x.row(i)) / (t[i + 1] - t[i]);
  d.row(last) = d.row(last - 1);
  return d;
}

namespace {

Vector RegularGrid(const Vector& time, Index entries) {
  return Vector::LinSpaced(entries, time[0], time[time.size() - 1]);
}

Matrix Interpolate(const Vector& time, const Matrix& positions, const Vector& grid) {
  const Index last = time.size() - 1;
  Matrix result(grid.size(), positions.cols());
  for (Index k = 0; k < grid.size(); ++k) {
    const Index found = std::upper_bound(time.begin(), time.end(), grid[k]) - time.begin();
    const Index after = std::clamp<Index>(found, 1, last);
    const double w = (grid[k] - time[after - 1]) / (time[after] - time[after - 1]);
    result.row(k) = (1.0 - w) * positions.row(after - 1) + w * positions.row(after);
  }
  return result;
}

}  // namespace

Matrix ResampleLinear(const Vector& time, const Matrix& positions, Index entries) {
  return Interpolate(time, positions, RegularGrid(time, entries));
}

Matrix ResampleLinearChecked(const Vector& time, const Matrix& positions, Index entries) {
  const Vector grid = RegularGrid(time, entries);
  Matrix result = Interpolate(time, positions, grid);
  const bool increasing = ((grid.tail(entries - 1) - grid.head(entries - 1)).array() > 0.0).all();
  if (!result.allFinite() || !grid.allFinite() || !increasing) throw std::invalid_argument("not a trajectory");
  return result;
}

Matrix Sum(const Matrix& a, const Matrix& b) { return a + b; }

Matrix CopyBytes(const Matrix& a) {
  Matrix copy(a.rows(), a.cols());
  std::memcpy(copy.data(), a.data(), static_cast<std::size_t>(a.size()) * sizeof(double));
  return copy;
}

}  // namespace velmora::benchmarks::peers
