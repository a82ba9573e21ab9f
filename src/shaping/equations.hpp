// Newton's method on small systems of equations, with a fixed sequence of operations.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "velmora/native/array_types.hpp"

namespace velmora::shaping {

using native::Vector;

/// As many residuals as there are unknowns.
using Equations = std::function<void(const Vector& unknowns, Vector& residuals)>;

/// `iterations` steps of Newton's method from `unknowns` on.
///
/// The Jacobian is taken by forward differences, which slows the convergence only by a factor of their relative step,
/// and the linear system is solved by elimination with row pivots. There is no test of convergence, so the number of
/// operations hangs on nothing; the caller verifies what comes out, which may be NaN.
Vector NewtonSteps(const Equations& equations, Vector unknowns, int iterations);

}  // namespace velmora::shaping
