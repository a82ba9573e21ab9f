// Lets an allocation of this program fail on demand, and counts what is allocated.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace velmora::testing {

/// The `countdown`-th allocation from now on fails (1: the next one), and no other.
void FailAllocation(std::size_t countdown);

/// Ends `FailAllocation`. True if the allocation was reached, and so failed.
bool StopFailing();

/// Allocations that have not been freed.
long LiveAllocations();

/// Bytes of the largest allocation since the last call.
std::size_t TakeLargestAllocation();

}  // namespace velmora::testing
