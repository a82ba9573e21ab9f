// Impulse sequences: their checks, figures and convolution.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/impulse_sequence.hpp"

#include <gtest/gtest.h>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"
#include "support/generator.hpp"
#include "velmora/shaping/designs.hpp"

namespace velmora::shaping {
namespace {

using testing::ExpectInvalidArgument;
using testing::kInfinity;
using testing::kNan;
using testing::SameBits;
using testing::Values;

constexpr const char* kNoImpulse = "ImpulseSequence requires at least 1 impulse, got 0.";
constexpr const char* kTimesFinite = "ImpulseSequence.times_s must contain only finite values.";
constexpr const char* kTimesStart = "ImpulseSequence.times_s must start at 0.";
constexpr const char* kTimesIncreasing = "ImpulseSequence.times_s must be strictly increasing.";
constexpr const char* kLengths = "ImpulseSequence.amplitudes must match ImpulseSequence.times_s length.";
constexpr const char* kAmplitudesFinite = "ImpulseSequence.amplitudes must contain only finite values.";
constexpr const char* kSum = "ImpulseSequence.amplitudes must sum to 1.";

void ExpectRefused(std::initializer_list<double> times_s, std::initializer_list<double> amplitudes, const char* message,
                   int line = __builtin_LINE()) {
  ExpectInvalidArgument([&] { ImpulseSequence(Values(times_s), Values(amplitudes)); }, message, __FILE__, line);
}

double OrderedSum(const Vector& amplitudes) {
  double sum = 0.0;
  for (const double amplitude : amplitudes) sum += amplitude;
  return sum;
}

TEST(ImpulseSequence, KeepsItsValues) {
  const ImpulseSequence sequence(Values({0.0, 0.1, 0.2}), Values({0.25, 0.5, 0.25}));
  EXPECT_TRUE(SameBits(Values({0.0, 0.1, 0.2}), sequence.times_s));
  EXPECT_TRUE(SameBits(Values({0.25, 0.5, 0.25}), sequence.amplitudes));
}

TEST(ImpulseSequence, ThrowsForEveryBrokenRule) {
  ExpectRefused({}, {}, kNoImpulse);
  ExpectRefused({0.0, kNan}, {0.5, 0.5}, kTimesFinite);
  ExpectRefused({0.0, kInfinity}, {0.5, 0.5}, kTimesFinite);
  ExpectRefused({0.1, 0.2}, {0.5, 0.5}, kTimesStart);
  ExpectRefused({-0.1, 0.2}, {0.5, 0.5}, kTimesStart);
  ExpectRefused({0.0, 0.0}, {0.5, 0.5}, kTimesIncreasing);
  ExpectRefused({0.0, 0.2, 0.1}, {0.5, 0.25, 0.25}, kTimesIncreasing);
  ExpectRefused({0.0, 0.1}, {1.0}, kLengths);
  ExpectRefused({0.0}, {0.5, 0.5}, kLengths);
  ExpectRefused({0.0, 0.1}, {kNan, 0.5}, kAmplitudesFinite);
  ExpectRefused({0.0, 0.1}, {kInfinity, -kInfinity}, kAmplitudesFinite);
  ExpectRefused({0.0, 0.1}, {0.5, 0.500000002}, kSum);
  ExpectRefused({0.0, 0.1}, {0.5, 0.499999998}, kSum);
  ExpectRefused({0.0}, {0.0}, kSum);
}

TEST(ImpulseSequence, ChecksInTheDocumentedOrder) {
  ExpectRefused({}, {kNan}, kNoImpulse);
  ExpectRefused({0.1, kNan}, {0.5, 0.5}, kTimesFinite);
  ExpectRefused({0.1, 0.1}, {0.5, 0.5}, kTimesStart);
  ExpectRefused({0.0, 0.0}, {1.0}, kTimesIncreasing);
  ExpectRefused({0.0, 0.1}, {kNan}, kLengths);
  ExpectRefused({0.0, 0.1}, {kNan, 7.0}, kAmplitudesFinite);
}

TEST(ImpulseSequence, ReplacesTheLastAmplitudeOfARoundedSum) {
  const ImpulseSequence sequence(Values({0.0, 1.0, 2.0}), Values({0.333333333, 0.333333333, 0.333333333}));
  EXPECT_EQ(sequence.amplitudes[0], 0.333333333);
  EXPECT_EQ(sequence.amplitudes[2], 1.0 - 0.666666666);
  EXPECT_EQ(OrderedSum(sequence.amplitudes), 1.0);
}

TEST(ImpulseSequence, HasNonNegativeAmplitudesThatSumToExactlyOne) {
  testing::SplitMix64 random(21);
  for (int k = 0; k < 2000; ++k) {
    const Eigen::Index impulses = static_cast<Eigen::Index>(1 + random.Below(9));
    Vector times_s(impulses);
    Vector amplitudes(impulses);
    for (Eigen::Index i = 0; i < impulses; ++i) {
      times_s[i] = static_cast<double>(i);
      amplitudes[i] = random.Unit() + 1e-3;
    }
    amplitudes /= amplitudes.sum();
    EXPECT_EQ(OrderedSum(ImpulseSequence(times_s, amplitudes).amplitudes), 1.0);
  }
}

TEST(ImpulseSequence, HasDurationAndCentroid) {
  const ImpulseSequence sequence(Values({0.0, 0.5, 2.0}), Values({0.5, 0.25, 0.25}));
  EXPECT_EQ(sequence.duration_s(), 2.0);
  EXPECT_EQ(sequence.centroid_s(), 0.625);
  const ImpulseSequence negative(Values({0.0, 1.0, 2.0}), Values({1.0, -1.0, 1.0}));
  EXPECT_EQ(negative.centroid_s(), 1.0);
  const ImpulseSequence uneven(Values({0.0, 0.1, 0.7}), Values({0.25, 0.35, 0.4}));
  EXPECT_EQ(uneven.centroid_s(), 0.315) << "each product and sum is rounded once; twice gives the double before";
}

TEST(ImpulseSequence, TakesASumThatMissesOneByABillionth) {
  for (const double miss : {0.9e-9, -0.9e-9}) {
    EXPECT_EQ(ImpulseSequence(Values({0.0, 0.1}), Values({0.5, 0.5 + miss})).amplitudes[1], 0.5);
  }
  ExpectRefused({0.0, 0.1}, {0.5, 0.5 + 1.1e-9}, kSum);
  ExpectRefused({0.0, 0.1}, {0.5, 0.5 - 1.1e-9}, kSum);
}

TEST(Convolve, MultipliesAmplitudesAndAddsTimes) {
  const ImpulseSequence a(Values({0.0, 1.0}), Values({0.5, 0.5}));
  const ImpulseSequence b(Values({0.0, 0.25}), Values({0.75, 0.25}));
  const ImpulseSequence both = Convolve(a, b);
  EXPECT_TRUE(SameBits(Values({0.0, 0.25, 1.0, 1.25}), both.times_s));
  EXPECT_TRUE(SameBits(Values({0.375, 0.125, 0.375, 0.125}), both.amplitudes));
}

// More impulses than a short sort takes, which arrive in an order of their own.
TEST(Convolve, PutsManyImpulsesInOrder) {
  const auto spread = [](Eigen::Index impulses, double apart_s) {
    return ImpulseSequence(Vector::LinSpaced(impulses, 0.0, static_cast<double>(impulses - 1) * apart_s),
                           Vector::Constant(impulses, 1.0 / static_cast<double>(impulses)));
  };
  const ImpulseSequence both = Convolve(spread(16, 1.0), spread(16, 0.875));
  for (Eigen::Index i = 1; i < both.times_s.size(); ++i) ASSERT_GT(both.times_s[i], both.times_s[i - 1]);
  EXPECT_EQ(both.duration_s(), 15.0 * 1.875);
  EXPECT_EQ(both.times_s.size(), 16 * 16 - 8 * 9);  // 7 steps of one are 8 of the other
  EXPECT_NEAR(both.centroid_s(), 7.5 * 1.875, 1e-12);
}

TEST(Convolve, MergesCoincidingImpulses) {
  const VibrationMode mode(4.0, 0.0);
  const ImpulseSequence twice = Convolve(Zv(mode), Zv(mode));
  EXPECT_TRUE(SameBits(Zvd(mode).times_s, twice.times_s));
  EXPECT_TRUE(SameBits(Zvd(mode).amplitudes, twice.amplitudes));
}

TEST(Convolve, AddsCoincidingImpulsesInTheOrderOfTheFirstSequence) {
  const ImpulseSequence a(Values({0.0, 1.0, 2.0}), Values({0.1, 0.7, 0.2}));
  const ImpulseSequence b(Values({0.0, 1.0, 2.0}), Values({0.3, 0.3, 0.4}));
  EXPECT_EQ(Convolve(a, b).amplitudes[2], 0.31) << "the other way round it is the next double";
}

// The total duration is 2: the limit of coincidence lies 2e-9 after the first of a group.
TEST(Convolve, MergesWithinABillionthOfTheDuration) {
  const ImpulseSequence a(Values({0.0, 1.0}), Values({0.5, 0.5}));
  const ImpulseSequence near(Values({0.0, 1.0 + 1.9e-9}), Values({0.5, 0.5}));
  const ImpulseSequence merged = Convolve(a, near);
  ASSERT_EQ(merged.times_s.size(), 3);
  EXPECT_EQ(merged.times_s[1], 1.0) << "the time of the first";
  EXPECT_EQ(merged.amplitudes[1], 0.5);
  const ImpulseSequence apart(Values({0.0, 1.0 + 2.1e-9}), Values({0.5, 0.5}));
  EXPECT_EQ(Convolve(a, apart).times_s.size(), 4);
}

TEST(Convolve, MeasuresAGroupFromItsFirstImpulse) {
  // 1, 1 + 1.5e-9, 1 + 3e-9 in a duration of 2: the third is near the second but not near the first.
  const ImpulseSequence a(Values({0.0, 1.0, 2.0}), Values({0.5, 0.25, 0.25}));
  const ImpulseSequence b(Values({0.0, 1.5e-9, 3e-9}), Values({0.5, 0.25, 0.25}));
  const ImpulseSequence both = Convolve(a, b);
  ASSERT_EQ(both.times_s.size(), 6);
  EXPECT_EQ(both.times_s[1], 3e-9);
  EXPECT_EQ(both.amplitudes[0], 0.375);
  EXPECT_EQ(both.amplitudes[1], 0.125);
}

TEST(Convolve, KeepsAmplitudesThatCancel) {
  const ImpulseSequence a(Values({0.0, 1.0}), Values({2.0, -1.0}));
  const ImpulseSequence b(Values({0.0, 1.0}), Values({2.0 / 3.0, 1.0 / 3.0}));
  const ImpulseSequence both = Convolve(a, b);
  ASSERT_EQ(both.times_s.size(), 3);
  EXPECT_NEAR(both.amplitudes[1], 0.0, 1e-15);
}

TEST(Convolve, CommutesUpToRounding) {
  const ImpulseSequence a = Zvd(VibrationMode(5.0, 0.02));
  const ImpulseSequence b = Zv(VibrationMode(12.0, 0.05));
  const ImpulseSequence ab = Convolve(a, b);
  const ImpulseSequence ba = Convolve(b, a);
  EXPECT_TRUE(SameBits(ab.times_s, ba.times_s));
  EXPECT_TRUE(testing::IsNear(ab.amplitudes, ba.amplitudes, 1e-16));
}

TEST(Convolve, ThrowsWhereTimesOverflow) {
  const ImpulseSequence a(Values({0.0, 1e308}), Values({0.5, 0.5}));
  ExpectInvalidArgument([&] { Convolve(a, a); }, kTimesFinite);
}

}  // namespace
}  // namespace velmora::shaping
