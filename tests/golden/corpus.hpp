// The golden corpus: thousands of calls made from seeds, condensed to one digest per routine and family.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string_view>

#include "calls/call.hpp"
#include "calls/result.hpp"

namespace velmora::testing {

constexpr std::size_t kCasesPerFamily = 300;

/// Call `index` of the family, made by a SplitMix64 that is seeded with the family's place and the index.
Call GoldenCall(std::size_t family, std::size_t index);

/// One line per family: name, number of calls, digest of the results in hexadecimal.
void PrintDigests(std::ostream& output, Result (*make_call)(const Call&), Digest::Zeros zeros);

}  // namespace velmora::testing
