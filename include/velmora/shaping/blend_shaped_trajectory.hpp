// Blends of a raw trajectory with its shaped copy.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <variant>

#include "velmora/native/array_types.hpp"
#include "velmora/native/export.hpp"
#include "velmora/shaping/impulse_sequence.hpp"
#include "velmora/shaping/shape_trajectory.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::shaping {

/// A share of the shaped copy that rises along `util::Smootherstep` from 0 at the start of the move. A plain record.
struct WeightTransition {
  double vibration_shaping_weight;       ///< final share, in [0, 1]
  double vibration_weight_transition_s;  ///< duration of the rise in seconds, not negative; 0 for none
};

/// Blends a raw trajectory with its shaped copy: `(1 - w) * raw + w * shaped`, by `control::shaper::BlendArrays`.
///
/// Beyond the end of the raw trajectory its endpoint is held and blended with the tail by
/// `control::shaper::BlendTailWithHeldRawEndpoint`, with the weight of the last sample. Where the weight w changes with
/// time, velocities and accelerations get the terms of the product rule with d = shaped - raw, that is w' d, and
/// 2 w' d' + w'' d, so that they remain derivatives of the positions; w' and w'' of a weight per sample are its
/// three-point derivatives (see `JointTrajectory`).
/// @param raw the raw trajectory, N samples of J joints; its velocities and accelerations as its accessors give them
/// @param shaped its shaped copy, sampled at the same times
/// @param weight share of the shaped copy: one value, or one per sample of the raw trajectory (length N)
/// @return the blend; its tail has the times of `shaped.tail`, and the other fields are those of `shaped`
/// @throws native::InvalidArgumentError the messages on sizes of the `JointTrajectory` constructor, for a trajectory
///   that was moved from or written to
/// @throws native::InvalidArgumentError "command parts must have matching sample and joint shapes"
/// @throws native::InvalidArgumentError "raw and shaped.move must have the same number of joints."
/// @throws native::InvalidArgumentError "raw and shaped.move must have the same sample times."
/// @throws native::InvalidArgumentError "per-sample shaping weights must match the sample count"
/// @throws native::InvalidArgumentError "vibration_shaping_weight must be in [0.0, 1.0]" (also for one of the samples)
/// @throws std::bad_variant_access for a valueless `weight`
///
/// Complexity: O((N + M) J). Thread safety: pure, but it may fill the caches of `raw` (see `JointTrajectory`).
///
/// @code{.cpp}
/// const velmora::native::Matrix positions = Vector::LinSpaced(3, 0.0, 2.0);
/// const JointTrajectory raw(positions, std::nullopt, std::nullopt, std::nullopt, 1.0, std::nullopt);
/// Vector times_s(2);
/// times_s << 0.0, 0.5;
/// const ImpulseSequence halves(times_s, Vector::Constant(2, 0.5));
/// const ShapedCommand shaped =
///     ShapeTrajectory(raw, {halves}, 1.0, velmora::util::timing::ResamplingMethod::linear);
/// assert(BlendShapedTrajectory(raw, shaped, 0.5).move.positions(1, 0) == 0.875);
/// assert(BlendedSequence(halves, 0.5).amplitudes[0] == 0.75);
/// @endcode
VELMORA_EXPORT ShapedCommand BlendShapedTrajectory(const JointTrajectory& raw, const ShapedCommand& shaped,
                                                   const std::variant<double, Vector>& weight);

/// The same with a weight that rises from 0 to its final value, with the exact derivatives of the ramp.
/// @param raw the raw trajectory, N samples of J joints
/// @param shaped its shaped copy, sampled at the same times
/// @param transition final weight, and duration of the rise from the first sample on
/// @return the blend
/// @throws native::InvalidArgumentError the first messages above
/// @throws native::InvalidArgumentError "vibration_shaping_weight must be in [0.0, 1.0]"
/// @throws native::InvalidArgumentError "vibration_weight_transition_s must be non-negative"
///
/// Complexity and thread safety: as above.
VELMORA_EXPORT ShapedCommand BlendShapedTrajectory(const JointTrajectory& raw, const ShapedCommand& shaped,
                                                   const WeightTransition& transition);

/// The sequence that a blend with a constant weight amounts to: w times the given one, and 1 - w more at time 0. Its
/// `ResidualVibration` is that of the blend.
/// @param sequence the sequence of the shaped copy
/// @param vibration_shaping_weight share w of the shaped copy, in [0, 1]
/// @return n impulses; the single impulse at 0 for a weight of 0
/// @throws native::InvalidArgumentError the messages on sizes of the `ImpulseSequence` constructor, for a sequence that
///   was moved from or written to
/// @throws native::InvalidArgumentError "vibration_shaping_weight must be in [0.0, 1.0]"
/// @throws native::InvalidArgumentError "ImpulseSequence.amplitudes must sum to 1." where the weighted amplitudes no
///   longer do: amplitudes of ten millions and more, which their rounding outgrows
///
/// Complexity: O(n). Thread safety: pure.
VELMORA_EXPORT ImpulseSequence BlendedSequence(const ImpulseSequence& sequence, double vibration_shaping_weight);

}  // namespace velmora::shaping
