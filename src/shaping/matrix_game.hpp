// Two-person zero-sum games, solved exactly up to rounding.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"

namespace velmora::shaping {

using native::Matrix;
using native::Vector;

struct GameSolution {
  double value;
  Vector column_shares;
};

/// The mixture of columns, non-negative shares that sum to 1, for which the largest row of `payoffs` times the shares
/// is smallest, and that row's value. The payoffs lie in [-1, 1].
///
/// By the simplex method on the linear programme of the game (G. B. Dantzig, "Linear Programming and Extensions", 1963,
/// chapter 13), with R. G. Bland's rule of pivots (1977), under which it ends. Every operation is fixed.
GameSolution SolveGame(const Matrix& payoffs);

}  // namespace velmora::shaping
