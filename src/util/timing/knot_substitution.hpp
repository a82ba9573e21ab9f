// Forward and back substitution with the factors of the spline's system.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "util/timing/knot_factors.hpp"
#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

using native::Matrix;

/// Replaces the right-hand side `m`, one row per knot, by the solution, with the bits of `SubstituteInPanels`.
void SubstituteKnots(const KnotFactors& factors, Matrix& m);

}  // namespace velmora::util::timing
