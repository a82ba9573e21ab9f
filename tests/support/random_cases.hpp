// Runs randomized cases, and reports the smallest one that fails.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>

namespace velmora::testing {

/// The sizes are apart from the seed, so that a failing case can be tried again in smaller sizes.
struct RandomCase {
  std::uint64_t seed = 0;
  std::size_t samples = 0;
  std::size_t joints = 0;
};

struct CaseSizes {
  std::size_t min_samples = 1;
  std::size_t max_samples = 300;
  std::size_t max_joints = 33;
};

using CaseCheck = std::function<::testing::AssertionResult(const RandomCase&)>;

/// Checks `count` cases, small sizes more often than large ones, until one fails: that failure shows the case, and the
/// smallest sizes at which its seed or one of the seeds after it fails too.
void CheckRandomCases(std::uint64_t first_seed, int count, const CaseSizes& sizes, const CaseCheck& check);

}  // namespace velmora::testing
