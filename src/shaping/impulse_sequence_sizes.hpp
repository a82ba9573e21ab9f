// The constructor's checks of sizes, which hold for sequences that were moved from or written to as well.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/shaping/impulse_sequence.hpp"

namespace velmora::shaping {

/// Throws the constructor's sentence where there is no impulse.
void CheckImpulseCount(const Vector& times_s);

/// Throws the constructor's sentence where there are not as many amplitudes as times.
void CheckAmplitudeCount(const Vector& amplitudes, const Vector& times_s);

/// Both of them.
void CheckSizes(const ImpulseSequence& sequence);

}  // namespace velmora::shaping
