// Specified insensitivity: where its optimum is known, and its promise over the range where it is not.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>

#include "shaping/residual_oracle.hpp"
#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"
#include "velmora/shaping/analysis.hpp"
#include "velmora/shaping/designs.hpp"

namespace velmora::shaping {
namespace {

using testing::ExpectInvalidArgument;
using testing::kInfinity;
using testing::kNan;
using testing::OracleLargestResidual;

// Without damping and up to a width of 0.222 the optimum is three symmetric impulses whose residual falls from V at the
// lower end to -V at the upper one: with B + 2 A = 1, B + 2 A cos(pi low D) = V and B + 2 A cos(pi high D) = -V.
TEST(SpecifiedInsensitivity, IsTheKnownOptimumOfNarrowRanges) {
  const double low = 0.9;
  const double high = 1.1;
  const double v = 0.05;
  const auto amplitude = [&](double d) { return v / (std::cos(M_PI * low * d) - std::cos(M_PI * high * d)); };
  double shorter = 0.7;
  double longer = 0.9;
  for (int k = 0; k < 60; ++k) {
    const double d = 0.5 * (shorter + longer);
    const double a = amplitude(d);
    (1.0 - 2.0 * a + 2.0 * a * std::cos(M_PI * low * d) > v ? shorter : longer) = d;
  }
  const ImpulseSequence sequence = SpecifiedInsensitivity(VibrationMode(1.0, 0.0), low, high, v);
  ASSERT_EQ(sequence.times_s.size(), 3);
  EXPECT_NEAR(sequence.duration_s(), shorter, 1e-4 * shorter);
  EXPECT_NEAR(sequence.times_s[1], 0.5 * shorter, 1e-3);
  EXPECT_NEAR(sequence.amplitudes[0], amplitude(shorter), 1e-3);
}

// The band of EI and of the two- and three-hump sequences cannot be had in less time.
TEST(SpecifiedInsensitivity, IsTheExtraInsensitiveSequenceForItsBand) {
  const VibrationMode mode(1.0, 0.0);
  for (const ImpulseSequence& known : {Ei(mode, 0.05), TwoHumpEi(mode, 0.05)}) {
    const InsensitivityBand band = Insensitivity(known, mode, 0.05);
    // A little less than the band: what is a little more takes one impulse more.
    const ImpulseSequence found = SpecifiedInsensitivity(mode, band.low_hz + 1e-3, band.high_hz - 1e-3, 0.05);
    ASSERT_EQ(found.times_s.size(), known.times_s.size());
    EXPECT_NEAR(found.duration_s(), known.duration_s(), 3e-3 * known.duration_s());
    EXPECT_TRUE(testing::IsNear(known.amplitudes, found.amplitudes, 2e-3));
  }
}

TEST(SpecifiedInsensitivity, ToleratesAtOneFrequencyWhatTwoImpulsesLeave) {
  // 0.5, 0.5 with cos(pi D) = V.
  const ImpulseSequence sequence = SpecifiedInsensitivity(VibrationMode(2.0, 0.0), 2.0, 2.0, 0.05);
  ASSERT_EQ(sequence.times_s.size(), 2);
  EXPECT_NEAR(sequence.duration_s(), 0.5 * std::acos(0.05) / M_PI, 1e-5);
}

TEST(SpecifiedInsensitivity, KeepsTheToleranceOverTheRange) {
  for (const double damping_ratio : {0.0, 0.02, 0.1, 0.3}) {
    for (const double tolerance : {0.02, 0.05, 0.2}) {
      for (const double width : {0.05, 0.25, 0.6}) {
        const VibrationMode mode(5.0, damping_ratio);
        const double low_hz = 5.0 * (1.0 - width);
        const double high_hz = 5.0 * (1.0 + 0.5 * width);
        const ImpulseSequence sequence = SpecifiedInsensitivity(mode, low_hz, high_hz, tolerance);
        EXPECT_LE(OracleLargestResidual(sequence, low_hz, high_hz, damping_ratio), tolerance * (1.0 + 1e-12));
        EXPECT_GT(OracleLargestResidual(sequence, low_hz, high_hz, damping_ratio), tolerance * 0.999);
        EXPECT_GT(sequence.amplitudes.minCoeff(), 0.0);
      }
    }
  }
}

TEST(SpecifiedInsensitivity, IsNoLongerThanTheExtraInsensitiveSequenceOfADampedMode) {
  const VibrationMode mode(5.0, 0.1);
  const ImpulseSequence known = Ei(mode, 0.05);
  const InsensitivityBand band = Insensitivity(known, mode, 0.05);
  EXPECT_LT(SpecifiedInsensitivity(mode, band.low_hz, band.high_hz, 0.05).duration_s(), known.duration_s() * 1.0002);
}

TEST(SpecifiedInsensitivity, FindsZeroVibrationForTheSmallestTolerance) {
  const ImpulseSequence sequence = SpecifiedInsensitivity(VibrationMode(5.0, 0.0), 5.0, 5.0, 1e-7);
  ASSERT_EQ(sequence.times_s.size(), 2);
  EXPECT_NEAR(sequence.duration_s(), 0.1, 1e-6);
}

TEST(SpecifiedInsensitivity, ThrowsForEveryBrokenRuleInOrder) {
  const VibrationMode mode(5.0, 0.1);
  const auto expect = [&](double low_hz, double high_hz, double tolerance, const char* message) {
    ExpectInvalidArgument([&] { SpecifiedInsensitivity(mode, low_hz, high_hz, tolerance); }, message);
  };
  for (const double bad : {0.0, -1.0, kNan, kInfinity}) {
    expect(bad, 5.5, 0.05, "low_hz must be finite and positive.");
    expect(4.5, bad, 0.05, "high_hz must be finite and positive.");
    expect(bad, bad, 0.05, "low_hz must be finite and positive.");
    expect(bad, 5.5, 1.0, "tolerance must be in (0, 1).");
  }
  expect(5.1, 5.5, 0.05, "mode.frequency_hz must lie between low_hz and high_hz.");
  expect(4.5, 4.9, 0.05, "mode.frequency_hz must lie between low_hz and high_hz.");
  expect(5.5, 4.5, 0.05, "mode.frequency_hz must lie between low_hz and high_hz.");
  expect(2.4, 9.7, 0.05, "high_hz must not exceed 4 times low_hz.");
  expect(1e-300, 1e300, 0.05, "high_hz must not exceed 4 times low_hz.");
  expect(2.4, 9.7, 9.9e-8, "high_hz must not exceed 4 times low_hz.");
  expect(5.0, 5.0, 9.9e-8, "No sequence of this design was found for this range and tolerance.");
}

TEST(SpecifiedInsensitivity, ThrowsWhereThePeriodIsNoNumber) {
  ExpectInvalidArgument([] { SpecifiedInsensitivity(VibrationMode(1e-320, 0.0), 1e-320, 1e-320, 0.05); },
                        "ImpulseSequence.times_s must contain only finite values.");
}

}  // namespace
}  // namespace velmora::shaping
