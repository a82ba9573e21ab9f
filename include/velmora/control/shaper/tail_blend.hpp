// The blend of a shaped tail with the raw endpoint held at rest.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"
#include "velmora/native/export.hpp"
#include "velmora/native/shaped_trajectory.hpp"

namespace velmora::control::shaper {

using native::ShapedTrajectory;
using native::Vector;

/// Blends the part of a shaped trajectory beyond the end of the raw one with the raw endpoint, held at rest.
///
/// Positions are mixed between `raw_position` and the tail, velocities and accelerations between zero and the tail,
/// all by `BlendArrays` with the same weight, so that for a constant weight they remain each other's derivatives. The
/// times are copied. The weight is not checked; validate it first with `ValidateVibrationShapingWeight`.
/// @param raw_position final joint position of the raw trajectory, length J
/// @param shaped_tail N samples of J joints; N may be 0
/// @param weight share of the shaped tail; 1 keeps it, 0 gives the held endpoint
/// @return N samples of J joints
/// @throws native::InvalidArgumentError "raw_position length mismatch"
/// @throws native::InvalidArgumentError "shaped_tail fields must have matching sample and joint shapes"
/// @throws std::bad_alloc where memory runs out
///
/// Complexity: O(N J), two N x J scratch arrays. Thread safety: pure.
///
/// @code{.cpp}
/// ShapedTrajectory tail;  // one joint that still swings around 1 rad
/// tail.positions = velmora::native::Matrix::Constant(2, 1, 1.5);
/// tail.velocities = velmora::native::Matrix::Constant(2, 1, -4.0);
/// tail.accelerations = velmora::native::Matrix::Zero(2, 1);
/// tail.time = Vector::LinSpaced(2, 0.35, 0.45);
/// const ShapedTrajectory blend = BlendTailWithHeldRawEndpoint(Vector::Ones(1), tail, 0.5);
/// assert(blend.positions(0, 0) == 1.25 && blend.velocities(0, 0) == -2.0);
/// @endcode
VELMORA_EXPORT ShapedTrajectory BlendTailWithHeldRawEndpoint(const Vector& raw_position,
                                                             const ShapedTrajectory& shaped_tail, double weight);

}  // namespace velmora::control::shaper
