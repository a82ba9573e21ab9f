// Piecewise-linear evaluation of sampled rows.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

using native::Matrix;
using native::Vector;

struct InterpolatedRows {
  Matrix values;
  bool all_finite;  ///< every one of them
};

/// Rows of `values` (one per entry of `sample_times`, at least one, nondecreasing) at each of `query_times`.
///
/// Held at the first and last row outside the sampled span; NaN for a query that is NaN or infinite, except that a
/// single sample holds for every query. Queries need not be sorted. Nothing is checked.
InterpolatedRows InterpolateRowsLinear(const Eigen::Ref<const Vector>& query_times, const Vector& sample_times,
                                       const Matrix& values);

}  // namespace velmora::util::timing
