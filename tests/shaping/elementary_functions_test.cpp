// The library's own exponential, sine and cosine, against the system's in long double.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/elementary_functions.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "calls/result.hpp"
#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/generator.hpp"

namespace velmora::shaping {
namespace {

using testing::kInfinity;
using testing::kNan;
using testing::SameBits;

static_assert(std::numeric_limits<long double>::digits >= 64, "the reference needs more digits than the function");

// Distance in units of the last place of `expected`.
double Ulps(double actual, long double expected) {
  const double rounded = static_cast<double>(expected);
  const double ulp = std::nextafter(std::abs(rounded), kInfinity) - std::abs(rounded);
  return static_cast<double>(std::abs(actual - expected) / ulp);
}

TEST(Exp, HasItsExactValuesAndLimits) {
  EXPECT_TRUE(SameBits(Exp(0.0), 1.0));
  EXPECT_TRUE(SameBits(Exp(-0.0), 1.0));
  EXPECT_DOUBLE_EQ(Exp(1.0), 2.718281828459045);
  EXPECT_DOUBLE_EQ(Exp(-1.0), 0.36787944117144233);
  EXPECT_TRUE(SameBits(Exp(-1000.0), 0.0));
  EXPECT_TRUE(SameBits(Exp(-kInfinity), 0.0));
  EXPECT_EQ(Exp(710.0), kInfinity);
  EXPECT_EQ(Exp(kInfinity), kInfinity);
  EXPECT_TRUE(std::isnan(Exp(kNan)));
  EXPECT_LT(Exp(709.78), kInfinity);
  EXPECT_GT(Exp(-745.0), 0.0);
}

TEST(Exp, LiesWithinOneUlp) {
  testing::SplitMix64 random(1);
  double worst = 0.0;
  for (int k = 0; k < 400000; ++k) {
    const double x = (k % 2 == 0 ? 708.0 : 2.0) * random.Symmetric();
    worst = std::max(worst, Ulps(Exp(x), std::exp(static_cast<long double>(x))));
  }
  EXPECT_LT(worst, 1.0);
  EXPECT_GT(worst, 0.5) << "the reference must see the rounding at least";
}

TEST(SineCosineOfTurns, HasTheExactValuesOfQuarterTurns) {
  for (const double turns : {0.0, 1.0, -3.0, 4503599627370496.0}) {
    EXPECT_EQ(SineCosineOfTurns(turns).sine, 0.0) << turns;
    EXPECT_EQ(SineCosineOfTurns(turns).cosine, 1.0) << turns;
  }
  for (const double turns : {0.25, -0.75, 5.25}) {
    EXPECT_EQ(SineCosineOfTurns(turns).sine, 1.0) << turns;
    EXPECT_EQ(SineCosineOfTurns(turns).cosine, 0.0) << turns;
  }
  for (const double turns : {0.5, -0.5, 7.5, -2.5}) {
    EXPECT_EQ(SineCosineOfTurns(turns).sine, 0.0) << turns;
    EXPECT_EQ(SineCosineOfTurns(turns).cosine, -1.0) << turns;
  }
  for (const double turns : {-0.25, 0.75}) {
    EXPECT_EQ(SineCosineOfTurns(turns).sine, -1.0) << turns;
    EXPECT_EQ(SineCosineOfTurns(turns).cosine, 0.0) << turns;
  }
}

TEST(SineCosineOfTurns, LiesWithinOneUlp) {
  constexpr long double kTwoPi = 6.28318530717958647692528676655900577L;
  testing::SplitMix64 random(2);
  double worst = 0.0;
  for (int k = 0; k < 400000; ++k) {
    const double turns = (k % 2 == 0 ? 3.0 : 0.3) * random.Symmetric();
    // Reduced before the multiplication, so that the reference loses nothing near its zeros.
    const long double quarters = std::round(4.0L * turns);
    const long double rest = (static_cast<long double>(turns) - 0.25L * quarters) * kTwoPi;
    const long double sine = std::sin(rest);
    const long double cosine = std::cos(rest);
    const int quadrant = (static_cast<int>(quarters) % 4 + 4) % 4;
    const long double sines[] = {sine, cosine, -sine, -cosine};
    const SineCosine actual = SineCosineOfTurns(turns);
    worst = std::max(worst, Ulps(actual.sine, sines[quadrant]));
    worst = std::max(worst, Ulps(actual.cosine, sines[(quadrant + 1) % 4]));
  }
  EXPECT_LT(worst, 1.0);
  EXPECT_GT(worst, 0.5) << "the reference must see the rounding at least";
}

TEST(SineCosineOfTurns, IsNanForWhatIsNotFinite) {
  for (const double turns : {kNan, kInfinity, -kInfinity}) {
    EXPECT_TRUE(std::isnan(SineCosineOfTurns(turns).sine));
    EXPECT_TRUE(std::isnan(SineCosineOfTurns(turns).cosine));
  }
}

TEST(SineCosineOfTurns, IsOddAndEven) {
  testing::SplitMix64 random(3);
  for (int k = 0; k < 1000; ++k) {
    const double turns = 10.0 * random.Unit();
    EXPECT_EQ(SineCosineOfTurns(-turns).sine, -SineCosineOfTurns(turns).sine);
    EXPECT_EQ(SineCosineOfTurns(-turns).cosine, SineCosineOfTurns(turns).cosine);
  }
}

// A last bit that another compiler, or one rounding more, decides would be another design. The digest is that of the
// first release.
TEST(ElementaryFunctions, HaveTheSameBitsEverywhere) {
  testing::SplitMix64 random(4);
  testing::Digest digest;
  for (int k = 0; k < 400000; ++k) {
    const double x = (k % 2 == 0 ? 30.0 : 1.0) * random.Symmetric();
    const SineCosine phase = SineCosineOfTurns(x);
    for (const double value : {Exp(x), phase.sine, phase.cosine}) digest.Add(value);
  }
  EXPECT_EQ(digest.value(), 0x1c693892f7c6f89dU);
}

}  // namespace
}  // namespace velmora::shaping
