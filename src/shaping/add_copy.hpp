// How one more delayed copy is added to a sum.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "internal/cpu_dispatch.hpp"

namespace velmora::shaping {

/// With amplitudes that sum to one, copies weighted and summed are the first one plus the others' weighted distances
/// from it: so a command at rest is kept to the last bit. Of a joint or of four side by side.
template <typename Value>
VELMORA_ALWAYS_INLINE Value AddCopy(const Value& sum, double amplitude, const Value& copy, const Value& first) {
  return sum + amplitude * (copy - first);
}

}  // namespace velmora::shaping
