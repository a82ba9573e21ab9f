// Forward differences that keep one row per sample.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"
#include "velmora/native/export.hpp"

namespace velmora::util::timing {

using native::Matrix;
using native::Vector;

/// First-order forward difference of a uniformly sampled signal; the last row repeats the last difference.
///
/// Row i is `(x[i+1] - x[i]) / sample_spacing`. One sample gives one row of zeros, whatever the spacing; no sample
/// gives no row.
/// @param signal N x J samples
/// @param sample_spacing seconds between samples, finite and positive
/// @return N x J differences per second
/// @throws native::InvalidArgumentError "sample_spacing must be finite and positive." (not for N = 1)
/// @throws std::bad_alloc where memory runs out
///
/// Complexity: O(N J), one allocation. Thread safety: pure.
/// Source of the method: the first-order divided difference, e.g. Quarteroni, Sacco, Saleri, "Numerical Mathematics",
/// section 10.10.
///
/// @code{.cpp}
/// Matrix position(3, 1);
/// position << 0.0, 1.0, 3.0;
/// const Matrix velocity = SampleAlignedFirstDifference(position, 0.5);
/// assert(velocity(0, 0) == 2.0 && velocity(1, 0) == 4.0 && velocity(2, 0) == 4.0);
/// @endcode
VELMORA_EXPORT Matrix SampleAlignedFirstDifference(const Matrix& signal, double sample_spacing);

/// First-order forward difference of a signal with its own sample times; the last row repeats the last difference.
///
/// Row i is `(x[i+1] - x[i]) / (t[i+1] - t[i])`. One sample gives one row of zeros, whatever the times; no sample
/// gives no row.
/// @param signal N x J samples
/// @param sample_spacing the sample times t in seconds (not the gaps between them), length N, strictly increasing
/// @return N x J differences per second
/// @throws native::InvalidArgumentError "sample_spacing length must match signal samples." (not for N = 1)
/// @throws native::InvalidArgumentError "sample_spacing times must be strictly increasing." (also where a step is NaN
///   or infinite; not for N = 1)
/// @throws std::bad_alloc where memory runs out
///
/// Complexity: O(N J), one allocation. Thread safety: pure. Source of the method: as above.
VELMORA_EXPORT Matrix SampleAlignedFirstDifference(const Matrix& signal, const Vector& sample_spacing);

}  // namespace velmora::util::timing
