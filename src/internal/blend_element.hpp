// The one rule by which two values are mixed.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "internal/row_lanes.hpp"

namespace velmora::internal {

/// `(1 - w) * from + w * to` with the complement `1 - w` given: one product rounded, the other fused, so that every
/// machine rounds alike.
template <typename Processor, typename Value>
VELMORA_ALWAYS_INLINE Value BlendElement(double complement, const Value& from, double w, const Value& to) {
  return Fma<Processor>(complement, from, w * to);
}

}  // namespace velmora::internal
