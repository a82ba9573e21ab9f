// The smooth ramp.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/smootherstep.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"

namespace velmora::util {
namespace {

using testing::kEpsilon;
using testing::kInfinity;
using testing::kLargest;
using testing::kNan;
using testing::kSmallest;
using testing::SameBits;

static_assert(std::is_same_v<decltype(&Smootherstep), double (*)(double)>);

TEST(Smootherstep, HasTheExactValuesOfTheRamp) {
  EXPECT_TRUE(SameBits(Smootherstep(0.0), 0.0));
  EXPECT_TRUE(SameBits(Smootherstep(0.5), 0.5));
  EXPECT_TRUE(SameBits(Smootherstep(1.0), 1.0));
}

TEST(Smootherstep, ClampsFiniteProgressOutsideTheUnitInterval) {
  EXPECT_TRUE(SameBits(Smootherstep(-3.0), 0.0));
  EXPECT_TRUE(SameBits(Smootherstep(7.0), 1.0));
  EXPECT_TRUE(SameBits(Smootherstep(kLargest), 1.0));
  EXPECT_TRUE(SameBits(Smootherstep(-kLargest), 0.0));
  EXPECT_TRUE(SameBits(Smootherstep(-kSmallest), 0.0));
  EXPECT_TRUE(SameBits(Smootherstep(1.0 + kEpsilon), 1.0));
}

TEST(Smootherstep, LetsNegativeZeroThrough) { EXPECT_TRUE(SameBits(Smootherstep(-0.0), -0.0)); }

TEST(Smootherstep, ThrowsForProgressThatIsNotFinite) {
  for (const double progress : {kNan, kInfinity, -kInfinity}) {
    testing::ExpectThrows<native::InvalidArgumentError>([=] { Smootherstep(progress); }, "unit_progress must be finite",
                                                        "unit_progress");
  }
}

// Rounding either fused operation twice would change values of this table, as the counts show.
TEST(Smootherstep, FusesExactlyTheTwoNamedOperations) {
  int different_without_first = 0;
  int different_without_second = 0;
  for (int k = 1; k < 1000; ++k) {
    const double x = k / 1000.0;
    const double cube = (x * x) * x;
    const double expected = cube * std::fma(std::fma(x, 6.0, -15.0), x, 10.0);
    EXPECT_TRUE(SameBits(Smootherstep(x), expected)) << x;
    const double unfused = x * 6.0 - 15.0;
    if (!SameBits(cube * std::fma(unfused, x, 10.0), expected)) ++different_without_first;
    const double product = std::fma(x, 6.0, -15.0) * x;
    if (!SameBits(cube * (product + 10.0), expected)) ++different_without_second;
  }
  EXPECT_GT(different_without_first, 0);
  EXPECT_GT(different_without_second, 0);
}

TEST(Smootherstep, RisesMonotonicallyUpToRounding) {
  for (int k = 0; k < 4096; ++k) {
    EXPECT_LE(Smootherstep(k / 4096.0), Smootherstep((k + 1) / 4096.0) + kEpsilon);
  }
}

}  // namespace
}  // namespace velmora::util
