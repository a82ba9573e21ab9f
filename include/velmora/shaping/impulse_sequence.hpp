// Impulse sequences, which shape a command when it is convolved with them.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"
#include "velmora/native/export.hpp"

namespace velmora::shaping {

using native::Vector;

/// n >= 1 impulses in the order of their times. A command shaped by them is the sum of its copies, each delayed by
/// `times_s[i]` and scaled by `amplitudes[i]`.
///
/// `times_s` and `amplitudes` are public for reading; a caller that writes to them takes over their invariants.
///
/// Thread safety: a value type without shared state.
///
/// @code{.cpp}
/// Vector times_s(2);
/// times_s << 0.0, 0.5;
/// const ImpulseSequence halves(times_s, Vector::Constant(2, 0.5));
/// assert(halves.duration_s() == 0.5 && halves.centroid_s() == 0.25);
/// assert(Convolve(halves, halves).amplitudes[1] == 0.5);
/// @endcode
class ImpulseSequence {
 public:
  Vector times_s;     ///< delays in seconds, length n, finite, strictly increasing from 0
  Vector amplitudes;  ///< share of each copy, length n, finite; their sum is 1 as the constructor says

  /// Takes over its arguments and checks them in the order below.
  ///
  /// The sum may miss 1 by up to 1e-9, as that of numbers from a file does; the last amplitude is then replaced by 1
  /// less the sum of those before it. Added from the first to the last, with a rounding at every addition, non-negative
  /// amplitudes give exactly 1, and any others 1 up to the rounding of the last.
  /// @param times_s delays in seconds, length n
  /// @param amplitudes share of each copy, length n; negative ones are allowed
  /// @throws native::InvalidArgumentError "ImpulseSequence requires at least 1 impulse, got 0."
  /// @throws native::InvalidArgumentError "ImpulseSequence.times_s must contain only finite values."
  /// @throws native::InvalidArgumentError "ImpulseSequence.times_s must start at 0."
  /// @throws native::InvalidArgumentError "ImpulseSequence.times_s must be strictly increasing."
  /// @throws native::InvalidArgumentError "ImpulseSequence.amplitudes must match ImpulseSequence.times_s length."
  /// @throws native::InvalidArgumentError "ImpulseSequence.amplitudes must contain only finite values."
  /// @throws native::InvalidArgumentError "ImpulseSequence.amplitudes must sum to 1."
  ///
  /// Complexity: O(n).
  VELMORA_EXPORT ImpulseSequence(Vector times_s, Vector amplitudes);

  /// How much longer a shaped command takes: the time of the last impulse.
  /// @return the duration in seconds
  /// @throws native::InvalidArgumentError "ImpulseSequence requires at least 1 impulse, got 0.", for a sequence
  ///   that was moved from or written to
  ///
  /// Complexity: O(1). Thread safety: pure.
  VELMORA_EXPORT double duration_s() const;

  /// How far a shaped command lags behind the raw one on average: the sum of amplitude times time.
  ///
  /// A command of constant velocity lags by exactly this much once all copies move. With negative amplitudes it may
  /// lie outside the span of the times.
  /// @return the lag in seconds
  /// @throws native::InvalidArgumentError the messages on sizes of the constructor, for a sequence that was moved
  ///   from or written to
  ///
  /// Complexity: O(n). Thread safety: pure.
  VELMORA_EXPORT double centroid_s() const;
};

/// The sequence that shapes as `first` and `second` do one after the other, in any order; with it the vibration of two
/// modes is suppressed by one sequence for each.
///
/// Its impulses lie at the sums of one time of each, with the products of their amplitudes. Impulses at most 1e-9 of
/// the total duration later than the first of a group count as coinciding with it: their amplitudes are added, in the
/// order of the times and, for equal times, of the impulses of `first`; the time is that of the first. Sums that cancel
/// to an amplitude of 0 stay.
/// @param first sequence of n impulses
/// @param second sequence of m impulses
/// @return up to n m impulses
/// @throws native::InvalidArgumentError the messages of the `ImpulseSequence` constructor, where values overflow, and
///   those on sizes for a sequence that was moved from or written to
///
/// Complexity: O(n m log(n m)). Thread safety: pure.
VELMORA_EXPORT ImpulseSequence Convolve(const ImpulseSequence& first, const ImpulseSequence& second);

}  // namespace velmora::shaping
