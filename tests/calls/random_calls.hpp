// Random calls of every exported routine, by family; the same on every machine and with every compiler.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "calls/call.hpp"
#include "support/generator.hpp"

namespace velmora::testing {

struct CallFamily {
  std::string_view name;  ///< `routine/what is special about the arguments`
  Call (*make)(SplitMix64& random);
};

/// In a fixed order, which decides the seeds of a family's calls.
const std::vector<CallFamily>& CallFamilies();

}  // namespace velmora::testing
