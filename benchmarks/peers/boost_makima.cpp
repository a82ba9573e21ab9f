// The piecewise cubics of Boost.Math for uneven abscissas; its cubic splines take regular ones only.
// SPDX-License-Identifier: Apache-2.0
#include <boost/math/interpolators/makima.hpp>
#include <utility>
#include <vector>

#include "peers/spline_samples.hpp"

namespace velmora::benchmarks::peers {

SplineSamples BoostMakima(const Vector& time, const Matrix& positions, Eigen::Index entries) {
  const Vector grid = Vector::LinSpaced(entries, time[0], time[time.size() - 1]);
  SplineSamples samples(entries, positions.cols());
  for (Eigen::Index j = 0; j < positions.cols(); ++j) {
    std::vector<double> x(time.begin(), time.end());
    const Vector joint = positions.col(j);
    std::vector<double> y(joint.begin(), joint.end());
    const boost::math::interpolators::makima<std::vector<double>> curve(std::move(x), std::move(y));
    for (Eigen::Index k = 0; k < entries; ++k) {
      samples.positions(k, j) = curve(grid[k]);
      samples.velocities(k, j) = curve.prime(grid[k]);
    }
  }
  samples.accelerations.setZero();
  return samples;
}

}  // namespace velmora::benchmarks::peers
