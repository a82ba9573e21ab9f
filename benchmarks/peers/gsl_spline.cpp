// Cubic splines of the GNU Scientific Library.
// SPDX-License-Identifier: Apache-2.0
#include <gsl/gsl_spline.h>

#include <memory>

#include "peers/spline_samples.hpp"

namespace velmora::benchmarks::peers {

SplineSamples GslSpline(const Vector& time, const Matrix& positions, Eigen::Index entries) {
  const auto knots = static_cast<std::size_t>(time.size());
  const std::unique_ptr<gsl_spline, decltype(&gsl_spline_free)> spline(gsl_spline_alloc(gsl_interp_cspline, knots),
                                                                       gsl_spline_free);
  const std::unique_ptr<gsl_interp_accel, decltype(&gsl_interp_accel_free)> accelerator(gsl_interp_accel_alloc(),
                                                                                        gsl_interp_accel_free);
  const Vector grid = Vector::LinSpaced(entries, time[0], time[time.size() - 1]);
  SplineSamples samples(entries, positions.cols());
  for (Eigen::Index j = 0; j < positions.cols(); ++j) {
    const Vector joint = positions.col(j);
    gsl_spline_init(spline.get(), time.data(), joint.data(), knots);
    gsl_interp_accel_reset(accelerator.get());
    for (Eigen::Index k = 0; k < entries; ++k) {
      samples.positions(k, j) = gsl_spline_eval(spline.get(), grid[k], accelerator.get());
      samples.velocities(k, j) = gsl_spline_eval_deriv(spline.get(), grid[k], accelerator.get());
      samples.accelerations(k, j) = gsl_spline_eval_deriv2(spline.get(), grid[k], accelerator.get());
    }
  }
  return samples;
}

}  // namespace velmora::benchmarks::peers
