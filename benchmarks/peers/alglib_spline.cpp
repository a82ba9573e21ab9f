// Cubic splines of ALGLIB.
// SPDX-License-Identifier: Apache-2.0
#include <libalglib/interpolation.h>

#include "peers/spline_samples.hpp"

namespace velmora::benchmarks::peers {
namespace {

using Eigen::Index;

alglib::real_1d_array Copied(const Vector& values) {
  alglib::real_1d_array copy;
  copy.setcontent(values.size(), values.data());
  return copy;
}

}  // namespace

SplineSamples AlglibSpline(const Vector& time, const Matrix& positions, Index entries) {
  const Vector grid = Vector::LinSpaced(entries, time[0], time[time.size() - 1]);
  const alglib::real_1d_array x = Copied(time);
  SplineSamples samples(entries, positions.cols());
  for (Index j = 0; j < positions.cols(); ++j) {
    alglib::spline1dinterpolant spline;
    alglib::spline1dbuildcubic(x, Copied(positions.col(j)), spline);
    for (Index k = 0; k < entries; ++k) {
      alglib::spline1ddiff(spline, grid[k], samples.positions(k, j), samples.velocities(k, j),
                           samples.accelerations(k, j));
    }
  }
  return samples;
}

SplineSamples AlglibSplineOnGrid(const Vector& time, const Matrix& positions, Index entries) {
  const alglib::real_1d_array grid = Copied(Vector::LinSpaced(entries, time[0], time[time.size() - 1]));
  const alglib::real_1d_array x = Copied(time);
  SplineSamples samples(entries, positions.cols());
  alglib::real_1d_array values, first_derivatives, second_derivatives;
  for (Index j = 0; j < positions.cols(); ++j) {
    alglib::spline1dconvdiff2cubic(x, Copied(positions.col(j)), grid, values, first_derivatives, second_derivatives);
    samples.positions.col(j) = Eigen::Map<const Vector>(values.getcontent(), entries);
    samples.velocities.col(j) = Eigen::Map<const Vector>(first_derivatives.getcontent(), entries);
    samples.accelerations.col(j) = Eigen::Map<const Vector>(second_derivatives.getcontent(), entries);
  }
  return samples;
}

}  // namespace velmora::benchmarks::peers
