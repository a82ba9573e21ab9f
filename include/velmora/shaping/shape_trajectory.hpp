// Trajectories shaped by impulse sequences.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "velmora/native/array_types.hpp"
#include "velmora/native/export.hpp"
#include "velmora/native/shaped_trajectory.hpp"
#include "velmora/shaping/impulse_sequence.hpp"
#include "velmora/util/timing/resampling.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::shaping {

using native::ShapedTrajectory;
using util::timing::JointTrajectory;
using util::timing::ResamplingMethod;

/// A shaped command in two parts, and what shaping had to do at its ends. A plain record.
struct ShapedCommand {
  ShapedTrajectory move;      ///< the samples up to the end of the raw command, N x J
  ShapedTrajectory tail;      ///< the samples after it, until all copies have ended
  double added_duration_s;    ///< how much longer the shaped command takes
  double lag_s;               ///< how far it lags behind the raw one on average, the centroid of the sequences
  Vector start_velocity;      ///< velocity of the raw command at its first sample, length J: not zero where it starts
                              ///< abruptly, since it is held at rest before; each copy makes its share of that step
  Vector start_acceleration;  ///< likewise its acceleration
  Vector end_velocity;        ///< velocity at the last sample, after which it is held at rest
  Vector end_acceleration;    ///< likewise its acceleration
};

/// The trajectory shaped at its own sample times, and after its end every `sample_time_s` until all copies have ended.
///
/// Shaped is x(t - t_1) + the sum over i >= 2 of A_i (x(t - t_i) - x(t - t_1)), which is the sum of the delayed copies
/// weighted by the amplitudes, in a form in which a joint that stands still stays where it is to the last bit. Every
/// product, sum and difference is rounded by itself, in the order of the impulses. Each copy is evaluated at its exact
/// time; delays are not rounded to samples. Velocities and accelerations are shaped likewise.
///
/// | time of a copy | position | velocity, acceleration |
/// |---|---|---|
/// | before the first sample | the first sample | 0 |
/// | from the first to the last sample, `cubic` | of the not-a-knot spline | its derivatives |
/// | the same, `linear` | between the samples | of the trajectory's velocities and accelerations, likewise |
/// | after the last sample | the last sample | 0 |
///
/// With one sequence all joints share it, and a straight line in joint space stays straight. With one sequence per
/// joint the shorter ones are delayed until the centroids of all coincide, so that the joints lag alike; they still
/// leave the raw path, as `PathDeviation` tells.
///
/// Without negative amplitudes positions, velocities and accelerations stay within the extremes of the raw command as
/// it is interpolated, standstill included for the latter two, where no difference overflows; with negative ones they
/// may exceed them. A spline itself may exceed the extremes of its samples at the corners of a move; `linear` does not.
/// @param trajectory the raw command, N samples of J joints; a trajectory of one sample is held
/// @param sequences one sequence for all joints, or one per joint (J of them)
/// @param sample_time_s spacing of the samples after the end, finite and positive
/// @param method interpolation between samples; any value but `linear` is treated as `cubic`
/// @return the command; `move.time` is `trajectory.time`, and the last entry of `tail.time` is, up to rounding, the
///   first one at or after the end of the last copy, or the one after it. A spacing below the resolution of the times
///   repeats entries.
/// @throws native::InvalidArgumentError the messages on sizes of the `JointTrajectory` constructor, for a trajectory
///   that was moved from or written to; those on its derivatives come last
/// @throws native::InvalidArgumentError "sequences must hold one sequence, or one per joint."
/// @throws native::InvalidArgumentError the messages on sizes of the `ImpulseSequence` constructor, likewise
/// @throws native::InvalidArgumentError "sample_time_s must be positive." (also for NaN and infinities)
/// @throws native::InvalidArgumentError "Cubic-spline construction produced non-finite coefficients." (cubic)
/// @throws native::InvalidArgumentError with one sequence per joint, the messages on values of the `JointTrajectory`
///   constructor: for a trajectory that was written to, and where its derivatives overflow (linear)
/// @throws std::bad_alloc where memory runs out, and for a tail too long to be counted
///
/// Complexity: O(n (N + M) J) for M samples of the tail and n impulses, beside one spline (see `ResampleTrajectory`).
/// Thread safety: pure, but with `linear` it may fill the caches of `trajectory` (see `JointTrajectory`).
/// Source of the method: Singer and Seering 1990, as `Zv`.
///
/// @code{.cpp}
/// const velmora::native::Matrix positions = Vector::LinSpaced(3, 0.0, 2.0);
/// const JointTrajectory raw(positions, std::nullopt, std::nullopt, std::nullopt, 1.0, std::nullopt);
/// Vector times_s(2);
/// times_s << 0.0, 0.5;
/// const ImpulseSequence halves(times_s, Vector::Constant(2, 0.5));
/// const ShapedCommand shaped = ShapeTrajectory(raw, {halves}, 1.0, ResamplingMethod::linear);
/// assert(shaped.move.positions(1, 0) == 0.75 && shaped.tail.positions(0, 0) == 2.0);
/// assert(JoinMoveAndTail(shaped).time.size() == 4 && PathDeviation(raw, shaped) == 0.0);
/// @endcode
VELMORA_EXPORT ShapedCommand ShapeTrajectory(const JointTrajectory& trajectory,
                                             const std::vector<ImpulseSequence>& sequences, double sample_time_s,
                                             ResamplingMethod method);

/// The trajectory shaped at times of the caller's own.
///
/// Otherwise as above: the samples at most at the time of the trajectory's last one are `move`, the others `tail`.
/// @param trajectory the raw command, N samples of J joints
/// @param sequences one sequence for all joints, or one per joint
/// @param times_s sample times in seconds, finite and strictly increasing, anywhere; length M, which may be 0
/// @param method interpolation between samples
/// @return the command at these times
/// @throws native::InvalidArgumentError the messages above, with these two in the place of that on `sample_time_s`:
///   "times_s must contain only finite values.", "times_s must be strictly increasing."
///
/// Complexity: O(n M J), beside one spline. Thread safety and source of the method: as above.
VELMORA_EXPORT ShapedCommand ShapeTrajectory(const JointTrajectory& trajectory,
                                             const std::vector<ImpulseSequence>& sequences, const Vector& times_s,
                                             ResamplingMethod method);

/// Both parts of a command in one: the samples of `move`, then those of `tail`.
/// @param command a shaped command
/// @return N + M samples of J joints
/// @throws native::InvalidArgumentError "command parts must have matching sample and joint shapes"
///
/// Complexity: O((N + M) J). Thread safety: pure.
VELMORA_EXPORT ShapedTrajectory JoinMoveAndTail(const ShapedCommand& command);

/// How far a shaped command leaves the path of the raw one: the largest distance in joint space, over its samples, to
/// the nearest point of the raw path.
///
/// The raw path is the polyline through the samples; for the sample at time t only the stretch from t less the added
/// duration to t is looked at, of which shaped positions are averages. Zero up to rounding, and up to what a spline
/// leaves of its chords, for a straight line under one sequence for all joints. Values are not looked at: a NaN among
/// them may go unnoticed.
/// @param trajectory the raw command, N samples of J joints
/// @param command the same command shaped
/// @return the distance, in the unit of the positions
/// @throws native::InvalidArgumentError the messages on sizes of the `JointTrajectory` constructor, for a trajectory
///   that was moved from or written to
/// @throws native::InvalidArgumentError "trajectory and command must have the same number of joints."
/// @throws native::InvalidArgumentError "command parts must have matching sample and joint shapes"
///
/// Complexity: O(M W J) for M samples of the command and W samples of the trajectory in the added duration. Thread
/// safety: pure.
VELMORA_EXPORT double PathDeviation(const JointTrajectory& trajectory, const ShapedCommand& command);

}  // namespace velmora::shaping
