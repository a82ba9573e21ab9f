// The derivative scheme behind the trajectory's velocities, accelerations and jerks.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

using native::Matrix;
using native::Vector;

/// Second-order derivative on uneven sample times, one row per sample; exact for quadratics, ends included.
///
/// One sample gives zeros, two give the difference quotient twice. The caller guarantees one finite time per row,
/// strictly increasing; nothing is checked.
Matrix ThreePointSampleDerivative(const Matrix& signal, const Vector& time);

}  // namespace velmora::util::timing
