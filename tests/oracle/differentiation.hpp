// Reference for both differentiation schemes.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "oracle/table.hpp"

namespace velmora::oracle {

Table ThreePointSampleDerivative(const Table& signal, const std::vector<double>& time);

Table SampleAlignedFirstDifference(const Table& signal, double sample_spacing);
Table SampleAlignedFirstDifference(const Table& signal, const std::vector<double>& sample_times);

}  // namespace velmora::oracle
