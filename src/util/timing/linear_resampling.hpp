// Piecewise-linear evaluation of sampled rows, and resampling built on it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"
#include "velmora/util/timing/resampling.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::util::timing {

struct InterpolatedRows {
  Matrix values;
  bool all_finite;  ///< every one of them
};

/// Rows of `values` (one per entry of `sample_times`, at least one, nondecreasing) at each of `query_times`.
///
/// Held at the first and last row outside the sampled span; NaN for a query that is NaN or infinite, except that a
/// single sample holds for every query. Queries need not be sorted. Nothing is checked.
InterpolatedRows InterpolateRowsLinear(const Vector& query_times, const Vector& sample_times, const Matrix& values);

/// The trajectory's positions on the grid of `BuildResamplingTimeGrid`, without derivatives.
/// @throws as `BuildResamplingTimeGrid` and the `JointTrajectory` constructor
JointTrajectory ResampleTrajectoryLinear(const JointTrajectory& trajectory, double sample_time_s,
                                         ResamplingTimeGridMode grid_mode);

}  // namespace velmora::util::timing
