// Makes a call in the reference.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "calls/call.hpp"
#include "calls/result.hpp"

namespace velmora::testing {

/// What `CallLibrary` has to give.
Result CallReference(const Call& call);

}  // namespace velmora::testing
