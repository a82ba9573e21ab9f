// Reference for the regular time grids.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

namespace velmora::oracle {

/// More entries than this count as an allocation failure: 2^45 doubles exceed the address space of a process. Grids
/// between what a test can afford and this limit are not modelled; do not ask for them.
constexpr double kLargestGridEntries = 35184372088832.0;

/// `grid_mode` as in options.hpp; any other value is the error that it is to the library.
std::vector<double> BuildResamplingTimeGrid(double start_time_s, double end_time_s, double sample_time_s,
                                            int grid_mode);

/// The grid, in the extend mode with no entry beyond the end.
std::vector<double> EvaluationTimes(const std::vector<double>& grid, double end_time_s, int grid_mode);

}  // namespace velmora::oracle
