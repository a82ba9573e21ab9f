// The constructor's checks of sizes, which hold for sequences that were moved from or written to as well.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/impulse_sequence_sizes.hpp"

#include "internal/exact_arithmetic.hpp"
#include "internal/throw_invalid_argument.hpp"

namespace velmora::shaping {

using internal::ThrowInvalidArgument;

void CheckImpulseCount(const Vector& times_s) {
  if (times_s.size() < 1) ThrowInvalidArgument("ImpulseSequence requires at least 1 impulse, got 0.");
}

void CheckAmplitudeCount(const Vector& amplitudes, const Vector& times_s) {
  if (amplitudes.size() != times_s.size()) {
    ThrowInvalidArgument("ImpulseSequence.amplitudes must match ImpulseSequence.times_s length.");
  }
}

void CheckSizes(const ImpulseSequence& sequence) {
  CheckImpulseCount(sequence.times_s);
  CheckAmplitudeCount(sequence.amplitudes, sequence.times_s);
}

}  // namespace velmora::shaping
