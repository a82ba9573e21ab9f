// The corpus reaches what its families promise: both outcomes of every routine, and systems beyond the range of
// doubles.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <string>

#include "calls/call_reference.hpp"
#include "calls/random_calls.hpp"
#include "golden/corpus.hpp"
#include "util/timing/knot_factors.hpp"

namespace velmora::testing {
namespace {

TEST(Corpus, HoldsAtLeast5000Calls) { EXPECT_GE(CallFamilies().size() * kCasesPerFamily, 5000U); }

TEST(Corpus, HasSuccessesAndFailuresInEveryFamily) {
  for (std::size_t family = 0; family < CallFamilies().size(); ++family) {
    std::size_t failures = 0;
    for (std::size_t index = 0; index < kCasesPerFamily; ++index) {
      if (CallReference(GoldenCall(family, index)).failure) ++failures;
    }
    const std::string name(CallFamilies()[family].name);
    if (name != "joint_path_coordinate/any") {
      EXPECT_GE(failures, 5U) << name;
    }
    EXPECT_LE(failures, kCasesPerFamily * 19 / 20) << name;
  }
}

// Without joints there is nothing that is not finite.
TEST(Corpus, HasReciprocalsOfPivotsThatOverflow) {
  for (std::size_t family = 0; family < CallFamilies().size(); ++family) {
    if (CallFamilies()[family].name != "resample_cubic/dense_refused") continue;
    for (std::size_t index = 0; index < kCasesPerFamily; ++index) {
      const Call call = GoldenCall(family, index);
      const native::Vector& x = *std::get<Resample>(call).trajectory.time;
      const native::Vector h = x.tail(x.size() - 1) - x.head(x.size() - 1);
      EXPECT_FALSE(util::timing::FactoriseKnotSystem(h).inverse_pivot.allFinite()) << index;
    }
  }
}

}  // namespace
}  // namespace velmora::testing
