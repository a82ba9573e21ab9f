// Makes a call in the library.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "calls/call.hpp"
#include "calls/result.hpp"

namespace velmora::testing {

/// Its values, or the exception that it threw, with its type. A trajectory counts with its times, positions and the
/// three derivatives, which its accessors compute where they were not carried over.
Result CallLibrary(const Call& call);

}  // namespace velmora::testing
