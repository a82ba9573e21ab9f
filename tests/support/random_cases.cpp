// Runs randomized cases, and reports the smallest one that fails.
// SPDX-License-Identifier: Apache-2.0
#include "support/random_cases.hpp"

#include <algorithm>

#include "support/generator.hpp"

namespace velmora::testing {
namespace {

RandomCase CaseOf(std::uint64_t seed, const CaseSizes& sizes) {
  SplitMix64 random(~seed);
  const std::size_t span = sizes.max_samples - sizes.min_samples + 1;
  const std::size_t kind = random.Below(16);
  const std::size_t limit = kind < 6    ? std::min<std::size_t>(span, 8)
                            : kind < 12 ? std::min<std::size_t>(span, 40)
                                        : span;
  const std::size_t joint_limit = random.OneIn(2) ? std::min<std::size_t>(sizes.max_joints, 3) : sizes.max_joints;
  return {seed, sizes.min_samples + random.Below(limit), random.Below(joint_limit + 1)};
}

void ReportFailure(const RandomCase& failed, const CaseSizes& sizes, const CaseCheck& check) {
  constexpr std::size_t kLargestTried = 12;
  constexpr std::uint64_t kSeedsTried = 32;
  for (std::size_t samples = sizes.min_samples; samples <= std::min(failed.samples, kLargestTried); ++samples) {
    for (std::size_t joints = 0; joints <= std::min(failed.joints, kLargestTried); ++joints) {
      for (std::uint64_t seed = failed.seed; seed < failed.seed + kSeedsTried; ++seed) {
        const RandomCase smaller{seed, samples, joints};
        if (const ::testing::AssertionResult result = check(smaller); !result) {
          ADD_FAILURE() << "smallest failing case: seed " << seed << ", " << samples << " samples, " << joints
                        << " joints: " << result.message();
          return;
        }
      }
    }
  }
}

}  // namespace

void CheckRandomCases(std::uint64_t first_seed, int count, const CaseSizes& sizes, const CaseCheck& check) {
  for (int k = 0; k < count; ++k) {
    const RandomCase random_case = CaseOf(first_seed + static_cast<std::uint64_t>(k), sizes);
    if (const ::testing::AssertionResult result = check(random_case); !result) {
      ADD_FAILURE() << "case " << k << " of " << count << ": seed " << random_case.seed << ", " << random_case.samples
                    << " samples, " << random_case.joints << " joints: " << result.message();
      ReportFailure(random_case, sizes, check);
      return;
    }
  }
}

}  // namespace velmora::testing
