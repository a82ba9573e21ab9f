// Reference for linear interpolation, sampling and resampling.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "oracle/table.hpp"
#include "oracle/trajectory.hpp"

namespace velmora::oracle {

/// Index of the first entry strictly greater than `t`, their number if there is none, found by visiting all in order.
std::size_t FirstGreater(const std::vector<double>& times, double t);

Table InterpolateRowsLinear(const std::vector<double>& query_times, const std::vector<double>& sample_times,
                            const Table& values);

/// Fills derivatives of `trajectory` as the library fills its caches.
Trajectory SampleTrajectoryAtTimes(Trajectory& trajectory, const std::vector<double>& query_time_s,
                                   bool include_derivatives);

Trajectory ResampleTrajectoryLinear(const Trajectory& trajectory, double sample_time_s, int grid_mode);

}  // namespace velmora::oracle
