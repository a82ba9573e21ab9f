// The dense solve that defines, to the last bit, what a solve of the spline's system gives.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"

namespace velmora::util::timing {

using native::Matrix;

/// Solves `system` x = `m` for every column of `m`, in place, by LU factorisation with partial pivoting.
///
/// Where the system is singular, or an operation overflows, the solution is not finite; nothing is reported. Takes the
/// cube of the number of unknowns in time.
void SolveDense(Matrix system, Matrix& m);

/// Replaces `a` by its factors as `SubstituteInPanels` takes them, and exchanges the rows of `m` with those of `a`.
void FactoriseDense(Matrix& a, Matrix& m);

}  // namespace velmora::util::timing
