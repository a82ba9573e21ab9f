// The arguments of a call, condensed.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "calls/call.hpp"

namespace velmora::testing {

/// Changes with every bit of every array (all NaNs alike) that the call holds.
std::uint64_t DigestOfArguments(const Call& call);

}  // namespace velmora::testing
