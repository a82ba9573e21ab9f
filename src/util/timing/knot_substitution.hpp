// Forward and back substitution with the factors of the spline's system.
#pragma once

#include "util/timing/knot_factors.hpp"
#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

using native::Matrix;

/// Overwrites the right-hand side `m`, one row per knot, with the solution, to the bit as a dense solve does: for a
/// dense triangular solve takes unknowns in panels of four, sums the products with unknowns of other panels before it
/// subtracts them, and subtracts those within a panel one by one.
void SubstituteKnots(const KnotFactors& factors, Matrix& m);

}  // namespace velmora::util::timing
