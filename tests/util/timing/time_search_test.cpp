// The search for the interval that holds a time.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <algorithm>

#include "support/arrays.hpp"
#include "support/generator.hpp"
#include "util/timing/time_search.hpp"

namespace velmora::util::timing {
namespace {

using testing::kInfinity;
using testing::kNan;
using testing::Values;

TEST(UpperBound, FindsTheFirstEntryStrictlyGreater) {
  const native::Vector times = Values({0.0, 1.0, 1.0, 2.0});
  EXPECT_EQ(UpperBound(times.data(), times.size(), -kInfinity), 0);
  EXPECT_EQ(UpperBound(times.data(), times.size(), -0.5), 0);
  EXPECT_EQ(UpperBound(times.data(), times.size(), -0.0), 1);
  EXPECT_EQ(UpperBound(times.data(), times.size(), 1.0), 3);
  EXPECT_EQ(UpperBound(times.data(), times.size(), 2.0), 4);
  EXPECT_EQ(UpperBound(times.data(), times.size(), kInfinity), 4);
  EXPECT_EQ(UpperBound(times.data(), times.size(), kNan), 4) << "no entry is greater than NaN";
  EXPECT_EQ(UpperBound(nullptr, 0, 1.0), 0);
}

TEST(UpperBound, AgreesWithTheStandardLibrary) {
  testing::SplitMix64 random(8100);
  for (int run = 0; run < 2000; ++run) {
    native::Vector times(static_cast<Eigen::Index>(random.Below(40)));
    for (double& time : times) time = static_cast<double>(random.Below(20));
    std::sort(times.begin(), times.end());
    const double t = static_cast<double>(random.Below(42)) / 2.0 - 0.5;
    EXPECT_EQ(UpperBound(times.data(), times.size(), t),
              std::upper_bound(times.begin(), times.end(), t) - times.begin());
  }
}

}  // namespace
}  // namespace velmora::util::timing
