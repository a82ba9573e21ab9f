// Shaping in a control loop, one sample at a time.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "velmora/native/array_types.hpp"
#include "velmora/native/export.hpp"
#include "velmora/shaping/impulse_sequence.hpp"

namespace velmora::shaping {

using native::Matrix;
using native::Vector;

/// Position, velocity and acceleration of all joints at one time. A plain record.
struct JointSample {
  Vector position;      ///< length J
  Vector velocity;      ///< length J, per second
  Vector acceleration;  ///< length J, per second squared
};

/// Shapes a command as it comes, with the results of `ShapeTrajectory` with `linear` and one sequence for all joints.
///
/// Sample k of a command is the one at time k `sample_time_s`. What comes out is, to the last bit but the sign of a
/// zero, what `ShapeTrajectory` gives at the same times for the trajectory of all samples of the command, whose
/// velocities and accelerations are those given here: the joints are held at rest at the first sample before it, and at
/// the last one after it. A command can last 2^53 samples, while its times are finite: beyond the largest double it
/// rests at its last sample, and is never told to have ended.
///
/// | call | effect |
/// |---|---|
/// | `Step` | the next sample of the command goes in, the next shaped sample comes out |
/// | `StepTail` | soft stop: the command rests at its last sample, and the copies still under way run on |
/// | `HardStop` | the shaped position is held at once, at rest, and the copies under way are dropped |
///
/// `Step` after `StepTail` continues the command: the time in between counts as samples at rest, and what `StepTail`
/// gave is that of a command that ended there. `Step` after `HardStop` starts a new command with its own time.
///
/// A shaper that was moved from can be assigned to and destroyed; every other call throws "the shaper was moved from.",
/// or goes on with what it got in exchange.
///
/// Memory is allocated by the constructor alone. Thread safety: none; one shaper belongs to one thread.
///
/// @code{.cpp}
/// Vector times_s(2);
/// times_s << 0.0, 1.0;
/// StreamingShaper shaper(ImpulseSequence(times_s, Vector::Constant(2, 0.5)), 1, 1.0);
/// JointSample sample{Vector::Zero(1), Vector::Zero(1), Vector::Zero(1)};
/// shaper.Step(sample);
/// sample.position[0] = 2.0;
/// assert(shaper.Step(sample).position[0] == 1.0);
/// assert(shaper.StepTail().position[0] == 2.0 && !shaper.AtRest());
/// @endcode
class StreamingShaper {
 public:
  /// Takes memory for as many samples as the sequence lasts.
  /// @param sequence the sequence of all joints, n impulses
  /// @param joints number of joints J
  /// @param sample_time_s time between samples, finite and positive
  /// @throws native::InvalidArgumentError the messages on sizes of the `ImpulseSequence` constructor, for a
  ///   sequence that was moved from or written to
  /// @throws native::InvalidArgumentError "joints must be non-negative."
  /// @throws native::InvalidArgumentError "sample_time_s must be positive." (also for NaN and infinities)
  /// @throws std::bad_alloc where memory runs out, and for a sequence of more samples than can be counted
  ///
  /// Complexity: O(J T) for a sequence of T samples.
  VELMORA_EXPORT StreamingShaper(const ImpulseSequence& sequence, Eigen::Index joints, double sample_time_s);

  /// Takes the next sample of the command.
  /// @param raw the sample; copied
  /// @return the shaped sample of the same time, valid until the next call
  /// @throws native::InvalidArgumentError "raw sample must have the number of joints of the shaper."
  /// @throws native::InvalidArgumentError "raw sample must contain only finite values."; the shaper is then as before
  ///
  /// Complexity: O(n J), without an allocation.
  VELMORA_EXPORT const JointSample& Step(const JointSample& raw);

  /// Soft stop: takes the last sample once more, at rest.
  /// @return the shaped sample of that time, valid until the next call
  /// @throws native::InvalidArgumentError "no sample has been shaped yet." (also for none since a hard stop)
  ///
  /// Complexity: O(n J), without an allocation.
  VELMORA_EXPORT const JointSample& StepTail();

  /// Hard stop: holds the last shaped position at rest, and forgets the command.
  /// @return the held sample, valid until the next call
  /// @throws native::InvalidArgumentError "no sample has been shaped yet."
  ///
  /// Complexity: O(J), without an allocation.
  VELMORA_EXPORT const JointSample& HardStop();

  /// Whether all copies have ended: true before the first sample, after a hard stop, and after enough calls of
  /// `StepTail`, when the shaped sample is the raw one at rest.
  /// @return whether nothing would move any more without another `Step`
  ///
  /// Complexity: O(1).
  VELMORA_EXPORT bool AtRest() const;

 private:
  void CheckCapacity() const;
  const JointSample& Shape();
  void CopyAt(double time_s, JointSample& copy) const;
  void RowAt(std::int64_t sample, JointSample& copy) const;
  double TimeOf(std::int64_t sample) const;

  ImpulseSequence sequence_;
  double sample_time_s_;
  std::int64_t capacity_;
  Matrix positions_;  // of the last samples, sample k in row k modulo the capacity
  Matrix velocities_;
  Matrix accelerations_;
  std::int64_t samples_ = 0;       // taken so far, those of the tail included
  std::int64_t tail_samples_ = 0;  // of these at the end
  bool has_output_ = false;
  JointSample first_;  // copy with the delay of the first impulse
  JointSample other_;
  JointSample shaped_;
};

}  // namespace velmora::shaping
