// Reference for the not-a-knot cubic spline and for resampling by it.
// SPDX-License-Identifier: Apache-2.0
#include "oracle/cubic.hpp"

#include <Eigen/Dense>
#include <cmath>
#include <optional>

#include "oracle/failure.hpp"
#include "oracle/finiteness.hpp"
#include "oracle/linear.hpp"
#include "oracle/options.hpp"
#include "oracle/time_grid.hpp"

namespace velmora::oracle {
namespace {

using DenseMatrix = Eigen::Matrix<double, Eigen::Dynamic, Eigen::Dynamic, Eigen::RowMajor>;

DenseMatrix ToDense(const Table& table) {
  DenseMatrix dense(static_cast<Eigen::Index>(table.rows), static_cast<Eigen::Index>(table.cols));
  for (std::size_t i = 0; i < table.rows; ++i) {
    for (std::size_t j = 0; j < table.cols; ++j) {
      dense(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(j)) = table(i, j);
    }
  }
  return dense;
}

std::size_t IntervalOf(const std::vector<double>& x, double t) {
  const std::size_t n = x.size();
  if (t >= x[n - 1]) return n - 2;
  if (t > x[0]) return FirstGreater(x, t) - 1;
  return 0;
}

}  // namespace

std::vector<double> Intervals(const std::vector<double>& x) {
  std::vector<double> h;
  for (std::size_t k = 0; k + 1 < x.size(); ++k) h.push_back(x[k + 1] - x[k]);
  return h;
}

KnotSystem AssembleKnotSystem(const std::vector<double>& h, const Table& y) {
  const std::size_t n = y.rows;
  KnotSystem system{Table(n, n), Table(n, y.cols)};
  Table& k = system.matrix;
  for (std::size_t i = 1; i + 1 < n; ++i) {
    k(i, i - 1) = h[i - 1];
    k(i, i) = 2.0 * (h[i - 1] + h[i]);
    k(i, i + 1) = h[i];
    for (std::size_t j = 0; j < y.cols; ++j) {
      const double later_slope = (y(i + 1, j) - y(i, j)) / h[i];
      const double earlier_slope = (y(i, j) - y(i - 1, j)) / h[i - 1];
      system.right_hand_side(i, j) = 6.0 * (later_slope - earlier_slope);
    }
  }
  if (n == 3) {
    k(0, 0) = 1.0;
    k(0, 1) = -1.0;
    k(2, 1) = 1.0;
    k(2, 2) = -1.0;
  } else {
    k(0, 0) = -h[1];
    k(0, 1) = h[0] + h[1];
    k(0, 2) = -h[0];
    k(n - 1, n - 3) = -h[n - 2];
    k(n - 1, n - 2) = h[n - 3] + h[n - 2];
    k(n - 1, n - 1) = -h[n - 3];
  }
  return system;
}

Table SolveKnotSecondDerivatives(const std::vector<double>& h, const Table& y) {
  if (y.cols == 0) return y;  // the solve would form a reference to the first of no elements
  Eigen::setCpuCacheSizes(32 * 1024, 512 * 1024, 8 * 1024 * 1024);  // they decide the blocks of the back substitution
  const KnotSystem system = AssembleKnotSystem(h, y);
  const Eigen::PartialPivLU<DenseMatrix> factorisation(ToDense(system.matrix));
  const DenseMatrix solution = factorisation.solve(ToDense(system.right_hand_side));
  Table m(y.rows, y.cols);
  for (std::size_t i = 0; i < y.rows; ++i) {
    for (std::size_t j = 0; j < y.cols; ++j) {
      m(i, j) = solution(static_cast<Eigen::Index>(i), static_cast<Eigen::Index>(j));
    }
  }
  return m;
}

CubicSpline BuildCubicSpline(const std::vector<double>& x, const Table& y) {
  const std::size_t n = x.size();
  if (n < 2) Fail("`x` must contain at least 2 elements.");
  const std::vector<double> h = Intervals(x);
  Table m(n, y.cols);
  if (n > 2) {
    m = SolveKnotSecondDerivatives(h, y);
    if (!AreFinite(m.values)) Fail("Cubic-spline construction produced non-finite coefficients.");
  }
  CubicSpline spline{x, Table(n - 1, y.cols), Table(n - 1, y.cols), Table(n - 1, y.cols), Table(n - 1, y.cols)};
  for (std::size_t i = 0; i + 1 < n; ++i) {
    for (std::size_t j = 0; j < y.cols; ++j) {
      const double slope = (y(i + 1, j) - y(i, j)) / h[i];
      const double bend = h[i] * (2.0 * m(i, j) + m(i + 1, j));
      spline.a(i, j) = y(i, j);
      spline.b(i, j) = slope - bend / 6.0;
      spline.c(i, j) = m(i, j) * 0.5;
      spline.d(i, j) = (m(i + 1, j) - m(i, j)) / (h[i] * 6.0);
    }
  }
  return spline;
}

Table EvaluateCubicSpline(const CubicSpline& spline, const std::vector<double>& query_times,
                          std::uint32_t derivative_order) {
  Table result(query_times.size(), spline.a.cols);
  for (std::size_t q = 0; q < query_times.size(); ++q) {
    const std::size_t i = IntervalOf(spline.x, query_times[q]);
    const double dx = query_times[q] - spline.x[i];
    for (std::size_t j = 0; j < result.cols; ++j) {
      const double a = spline.a(i, j);
      const double b = spline.b(i, j);
      const double c = spline.c(i, j);
      const double d = spline.d(i, j);
      if (derivative_order == 0) {
        double value = std::fma(dx, d, c);
        value = std::fma(dx, value, b);
        result(q, j) = std::fma(dx, value, a);
      } else if (derivative_order == 1) {
        const double twice = dx + dx;
        const double thrice_squared = (dx * 3.0) * dx;
        result(q, j) = std::fma(thrice_squared, d, std::fma(twice, c, b));
      } else {
        const double product = (dx * 6.0) * d;
        result(q, j) = std::fma(c, 2.0, product);
      }
    }
  }
  return result;
}

Trajectory ResampleTrajectoryCubic(const Trajectory& trajectory, double sample_time_s, int grid_mode) {
  const double end_time_s = trajectory.time.back();
  const std::vector<double> grid =
      BuildResamplingTimeGrid(trajectory.time.front(), end_time_s, sample_time_s, grid_mode);
  const std::vector<double> evaluation_times = EvaluationTimes(grid, end_time_s, grid_mode);
  const CubicSpline spline = BuildCubicSpline(trajectory.time, trajectory.positions);
  return MakeTrajectory(EvaluateCubicSpline(spline, evaluation_times, 0),
                        EvaluateCubicSpline(spline, evaluation_times, 1),
                        EvaluateCubicSpline(spline, evaluation_times, 2), grid, std::nullopt, std::nullopt);
}

Trajectory ResampleTrajectory(const Trajectory& trajectory, double sample_time_s, int method, int grid_mode,
                              bool strict_cubic) {
  if (method == kMethodLinear) return ResampleTrajectoryLinear(trajectory, sample_time_s, grid_mode);
  try {
    return ResampleTrajectoryCubic(trajectory, sample_time_s, grid_mode);
  } catch (const Failure&) {
    if (strict_cubic) throw;
  }
  return ResampleTrajectoryLinear(trajectory, sample_time_s, grid_mode);
}

}  // namespace velmora::oracle
