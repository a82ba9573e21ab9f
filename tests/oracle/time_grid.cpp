// Reference for the regular time grids.
// SPDX-License-Identifier: Apache-2.0
#include "oracle/time_grid.hpp"

#include <cmath>

#include "oracle/failure.hpp"
#include "oracle/finiteness.hpp"
#include "oracle/options.hpp"

namespace velmora::oracle {
namespace {

// A NaN count, from times that are not finite, cannot be allocated either.
std::size_t WholeSteps(double steps) {
  if (!(steps < kLargestGridEntries)) throw Failure{FailureKind::bad_alloc, "", std::nullopt};
  return static_cast<std::size_t>(steps);
}

std::vector<double> FixedSpacing(double t0, double dt, std::size_t steps) {
  std::vector<double> grid;
  for (std::size_t k = 0; k <= steps; ++k) grid.push_back(std::fma(static_cast<double>(k), dt, t0));
  return grid;
}

}  // namespace

std::vector<double> BuildResamplingTimeGrid(double t0, double t1, double dt, int grid_mode) {
  if (!IsFiniteScalar(dt) || dt <= 0.0) Fail("sample_time_s must be positive.");
  const double span = t1 - t0;
  if (span < 0.0) Fail("trajectory.time must be nondecreasing.");
  if (span == 0.0) return {t0};

  const double r = span / dt;
  const std::size_t n = WholeSteps(std::floor(r));
  std::vector<double> base = FixedSpacing(t0, dt, n);
  if (grid_mode == kAppendEndpoint) {
    const double tolerance = std::fma(std::fabs(t1), 1e-5, 1e-8);
    if (std::fabs(base[n] - t1) <= tolerance) {
      base[n] = t1;
    } else {
      base.push_back(t1);
    }
    return base;
  }
  if (grid_mode == kTrim) return base;
  if (grid_mode == kAdjustDt) {
    double m = std::nearbyint(r);
    if (m < 1.0) m = 1.0;
    std::vector<double> grid;
    for (std::size_t k = 0; k <= WholeSteps(m); ++k) {
      const double product = static_cast<double>(k) * span;
      const double quotient = product / m;
      grid.push_back(quotient + t0);
    }
    return grid;
  }
  if (grid_mode == kExtendEndpoint) {
    double m = std::ceil(r);
    if (m < 1.0) m = 1.0;
    return FixedSpacing(t0, dt, WholeSteps(m));
  }
  Fail("Unsupported resampling time-grid mode.");
}

std::vector<double> EvaluationTimes(const std::vector<double>& grid, double end_time_s, int grid_mode) {
  std::vector<double> times;
  for (const double g : grid) times.push_back(grid_mode == kExtendEndpoint && end_time_s < g ? end_time_s : g);
  return times;
}

}  // namespace velmora::oracle
