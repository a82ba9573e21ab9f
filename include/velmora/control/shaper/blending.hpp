// Blending of raw and shaped sample arrays, and the arc length of a joint path.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <variant>

#include "velmora/native/array_types.hpp"
#include "velmora/native/export.hpp"

namespace velmora::control::shaper {

using native::Matrix;
using native::Vector;

/// Mixes a raw array with its shaped counterpart: `(1 - w) * raw + w * shaped`, element by element.
///
/// `w * shaped` is rounded, then fused with `(1 - w) * raw` in one multiply-add. The weight is not checked or clamped:
/// outside [0, 1] it extrapolates, NaN gives NaN, and a weight of 0 or 1 still multiplies the other array by zero.
/// Validate it first with `ValidateVibrationShapingWeight`. Under a weight that changes with time, blended velocities
/// are not the derivative of blended positions: the term "rate of the weight times (shaped - raw)" is theirs to add.
/// @param raw N x J
/// @param shaped N x J
/// @param weight share of the shaped array: one value, or one per sample (length N)
/// @return N x J
/// @throws native::InvalidArgumentError "raw and shaped arrays must have the same shape"
/// @throws native::InvalidArgumentError "per-sample shaping weights must match the sample count"
/// @throws std::bad_variant_access for a valueless `weight`
/// @throws std::bad_alloc where memory runs out
///
/// Complexity: O(N J), one allocation. Thread safety: pure.
///
/// @code{.cpp}
/// const Matrix raw = Matrix::Zero(2, 3);
/// const Matrix shaped = Matrix::Ones(2, 3);
/// assert(BlendArrays(raw, shaped, 0.25)(1, 2) == 0.25);
/// const Vector fade_in = Vector::LinSpaced(2, 0.0, 1.0);
/// assert(BlendArrays(raw, shaped, fade_in)(1, 2) == 1.0);
/// assert(JointPathCoordinate(shaped)[1] == 0.0);  // the joints do not move
/// @endcode
VELMORA_EXPORT Matrix BlendArrays(const Matrix& raw, const Matrix& shaped, const std::variant<double, Vector>& weight);

/// Cumulative arc length along a joint path: entry i is the length of the path from sample 0 to sample i.
///
/// It starts at 0, never falls, and is not normalised. Nothing is checked: a position that is not finite makes the
/// entries from its sample on not finite, but for entry 0, which is 0; so does a step whose square overflows.
/// @param positions N x J
/// @return length N, in the unit of the positions
/// @throws std::bad_alloc where memory runs out
///
/// Complexity: O(N J), one allocation. Thread safety: pure.
VELMORA_EXPORT Vector JointPathCoordinate(const Matrix& positions);

}  // namespace velmora::control::shaper
