// Residual vibration, sensitivity curves and the insensitivity, beside published figures and a plain formula.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/analysis.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "shaping/residual_oracle.hpp"
#include "support/arrays.hpp"
#include "support/expect_throws.hpp"
#include "support/generator.hpp"
#include "velmora/shaping/designs.hpp"

namespace velmora::shaping {
namespace {

using testing::ExpectInvalidArgument;
using testing::kInfinity;
using testing::kNan;
using testing::OracleResidual;
using testing::Values;

const VibrationMode kUndamped(1.0, 0.0);

ImpulseSequence Nothing() { return ImpulseSequence(Values({0.0}), Values({1.0})); }

TEST(ResidualVibration, HasThePublishedFigures) {
  for (const double error : {0.95, 1.05}) {
    EXPECT_NEAR(ResidualVibration(Zv(kUndamped), VibrationMode(error, 0.0)), 0.0785, 5e-5);
    EXPECT_NEAR(ResidualVibration(Zvd(kUndamped), VibrationMode(error, 0.0)), 0.0062, 5e-5);
  }
  EXPECT_NEAR(ResidualVibration(Zv(kUndamped), VibrationMode(1.1, 0.0)), 0.1564, 5e-5);
  EXPECT_NEAR(ResidualVibration(Zv(kUndamped), VibrationMode(0.8, 0.0)), 0.3090, 5e-5);
  EXPECT_NEAR(ResidualVibration(Zvd(kUndamped), VibrationMode(1.1, 0.0)), 0.0245, 5e-5);
  EXPECT_NEAR(ResidualVibration(Zvd(kUndamped), VibrationMode(0.8, 0.0)), 0.0955, 5e-5);
}

TEST(ResidualVibration, IsOneWithoutShaping) { EXPECT_EQ(ResidualVibration(Nothing(), VibrationMode(5.0, 0.3)), 1.0); }

TEST(ResidualVibration, IsThePlainFormula) {
  testing::SplitMix64 random(31);
  for (int k = 0; k < 2000; ++k) {
    const double damping_ratio = k % 3 == 0 ? 0.0 : 0.9 * random.Unit();
    const VibrationMode mode(10.0 * random.Unit() + 0.1, damping_ratio);
    const ImpulseSequence sequence = Convolve(Zvd(VibrationMode(5.0, 0.1)), Mzv(VibrationMode(8.0, 0.02)));
    EXPECT_NEAR(ResidualVibration(sequence, mode), OracleResidual(sequence, mode.frequency_hz, damping_ratio), 1e-14);
  }
}

TEST(ResidualVibration, StaysFiniteWhereTheFormulaOverflows) {
  const ImpulseSequence sequence(Values({0.0, 100.0}), Values({0.5, 0.5}));
  EXPECT_DOUBLE_EQ(ResidualVibration(sequence, VibrationMode(1000.0, 0.5)), 0.5);
}

TEST(SensitivityCurves, AreResidualsAtEveryPoint) {
  const VibrationMode mode(5.0, 0.1);
  const ImpulseSequence sequence = Ei(mode, 0.05);
  const Vector over_frequency = ResidualOverFrequency(sequence, mode, Values({0.0, 4.0, 7.5}));
  ASSERT_EQ(over_frequency.size(), 3);
  EXPECT_EQ(over_frequency[0], 1.0) << "what does not oscillate is not suppressed";
  EXPECT_EQ(over_frequency[1], ResidualVibration(sequence, VibrationMode(4.0, 0.1)));
  EXPECT_EQ(over_frequency[2], ResidualVibration(sequence, VibrationMode(7.5, 0.1)));
  const Vector over_damping = ResidualOverDamping(sequence, mode, Values({0.0, 0.5}));
  ASSERT_EQ(over_damping.size(), 2);
  EXPECT_EQ(over_damping[0], ResidualVibration(sequence, VibrationMode(5.0, 0.0)));
  EXPECT_EQ(over_damping[1], ResidualVibration(sequence, VibrationMode(5.0, 0.5)));
  EXPECT_EQ(ResidualOverFrequency(sequence, mode, Vector()).size(), 0);
}

TEST(SensitivityCurves, ThrowForPointsOutsideTheirRange) {
  const VibrationMode mode(5.0, 0.1);
  for (const double bad : {-1e-300, kNan, kInfinity}) {
    ExpectInvalidArgument(
        [&] {
          ResidualOverFrequency(Zv(mode), mode, Values({5.0, bad}));
        },
        "frequencies_hz must be finite and non-negative.");
  }
  for (const double bad : {-1e-300, 1.0, kNan}) {
    ExpectInvalidArgument(
        [&] {
          ResidualOverDamping(Zv(mode), mode, Values({0.1, bad}));
        },
        "damping_ratios must be in [0, 1).");
  }
}

TEST(Insensitivity, HasThePublishedFigures) {
  const auto width = [](const ImpulseSequence& sequence) { return Insensitivity(sequence, kUndamped, 0.05).width; };
  EXPECT_NEAR(width(Zv(kUndamped)), 0.064, 5e-4);
  EXPECT_NEAR(width(Mzv(kUndamped)), 0.10, 5e-3);
  EXPECT_NEAR(width(Zvd(kUndamped)), 0.287, 5e-4);
  EXPECT_NEAR(width(Ei(kUndamped, 0.05)), 0.399, 6e-4);
  EXPECT_NEAR(width(Zvdd(kUndamped)), 0.480, 5e-4);
  EXPECT_NEAR(width(TwoHumpEi(kUndamped, 0.05)), 0.72, 5e-3);
  EXPECT_NEAR(width(ThreeHumpEi(kUndamped, 0.05)), 0.96, 5e-3);
  EXPECT_NEAR(width(UmZv(kUndamped)), 0.055, 5e-4);
}

TEST(Insensitivity, EndsWhereTheResidualReachesTheTolerance) {
  for (const double damping_ratio : {0.0, 0.05, 0.2}) {
    const VibrationMode mode(5.0, damping_ratio);
    for (const ImpulseSequence& sequence : {Zv(mode), Zvd(mode), Ei(mode, 0.05), ThreeHumpEi(mode, 0.05)}) {
      const InsensitivityBand band = Insensitivity(sequence, mode, 0.05);
      EXPECT_EQ(band.width, (band.high_hz - band.low_hz) / 5.0);
      EXPECT_NEAR(OracleResidual(sequence, band.low_hz, damping_ratio), 0.05, 1e-7);
      EXPECT_NEAR(OracleResidual(sequence, band.high_hz, damping_ratio), 0.05, 1e-7);
      EXPECT_LE(testing::OracleLargestResidual(sequence, band.low_hz, band.high_hz, damping_ratio), 0.05 * 1.0000011);
    }
  }
}

// Humps that touch the tolerance belong to the band up to a millionth; a little higher ones end it before them.
TEST(Insensitivity, JumpsWhereAHumpExceedsTheTolerance) {
  const ImpulseSequence sequence = ThreeHumpEi(kUndamped, 0.05);
  EXPECT_GT(Insensitivity(sequence, kUndamped, 0.05).width, 0.95);
  EXPECT_GT(Insensitivity(sequence, kUndamped, 0.05 * (1.0 - 0.9e-6)).width, 0.95);
  // The hump is at the mode itself, which is then outside.
  EXPECT_EQ(Insensitivity(sequence, kUndamped, 0.05 * (1.0 - 1.1e-6)).width, 0.0);
  const ImpulseSequence two = TwoHumpEi(kUndamped, 0.05);
  EXPECT_GT(Insensitivity(two, kUndamped, 0.05 * (1.0 - 0.9e-6)).width, 0.7);
  const InsensitivityBand inner = Insensitivity(two, kUndamped, 0.05 * (1.0 - 1.1e-6));
  EXPECT_LT(inner.width, 0.5);
  EXPECT_GT(inner.width, 0.2);
  EXPECT_NEAR(inner.low_hz + inner.high_hz, 2.0, 1e-4) << "symmetric about the mode";
}

// Two zeros beside each other with a hump between them that is a fiftieth too high, however small the tolerance is.
TEST(Insensitivity, EndsBeforeNarrowHumpsToo) {
  for (const double apart_hz : {0.1, 0.03, 0.01, 0.003, 0.001}) {
    for (const double damping_ratio : {0.0, 0.02}) {
      const VibrationMode low(1.0 - 0.5 * apart_hz, damping_ratio);
      const ImpulseSequence sequence = Convolve(Zv(low), Zv(VibrationMode(1.0 + 0.5 * apart_hz, damping_ratio)));
      const double tolerance = ResidualVibration(sequence, VibrationMode(1.0, damping_ratio)) / 1.02;
      const InsensitivityBand band = Insensitivity(sequence, low, tolerance);
      EXPECT_LT(band.low_hz, low.frequency_hz);
      EXPECT_GT(band.high_hz, low.frequency_hz);
      EXPECT_LT(band.high_hz, 1.0) << "tolerance " << tolerance;
    }
  }
}

// The top of the hump lies within the first step from these modes, on one side or the other.
TEST(Insensitivity, HoldsAModeBesideTheTopOfAHump) {
  const ImpulseSequence sequence = TwoHumpEi(kUndamped, 0.05);
  const double top_hz = 0.8263372;
  const auto residual_at = [&](double at_hz) { return ResidualVibration(sequence, VibrationMode(at_hz, 0.0)); };
  const double top = residual_at(top_hz);
  for (const double off_hz : {2e-4, 5e-5, -5e-5, -2e-4}) {
    const VibrationMode mode(top_hz + off_hz, 0.0);
    const double tolerance = 0.5 * (residual_at(mode.frequency_hz) + top) / (1.0 + 1e-6);
    const InsensitivityBand band = Insensitivity(sequence, mode, tolerance);
    EXPECT_LE(band.low_hz, mode.frequency_hz);
    EXPECT_GE(band.high_hz, mode.frequency_hz);
    EXPECT_EQ(off_hz > 0.0, band.high_hz > 1.0) << "the hump ends the band on its own side";
    EXPECT_EQ(off_hz > 0.0, band.low_hz > top_hz);
  }
}

TEST(Insensitivity, IsEmptyWhereTheModeItselfIsOutside) {
  const VibrationMode mode(5.0, 0.1);
  const InsensitivityBand band = Insensitivity(Nothing(), mode, 0.05);
  EXPECT_EQ(band.low_hz, 5.0);
  EXPECT_EQ(band.high_hz, 5.0);
  EXPECT_EQ(band.width, 0.0);
}

TEST(Insensitivity, LooksNoFurtherThanTenTimesTheFrequency) {
  // Heavily damped, with a last amplitude below the tolerance: high frequencies have died out by its time.
  const VibrationMode mode(1.0, 0.8);
  const ImpulseSequence sequence(Values({0.0, 2.0}), Values({0.99, 0.01}));
  const InsensitivityBand band = Insensitivity(sequence, mode, 0.05);
  EXPECT_EQ(band.high_hz, 10.0);
  EXPECT_GT(band.low_hz, 0.0);
}

TEST(Insensitivity, ReachesDownToStandstillForAToleranceNearOne) {
  const InsensitivityBand band = Insensitivity(Zv(kUndamped), kUndamped, 1.0 - 1e-9);
  EXPECT_EQ(band.low_hz, 0.0);
  EXPECT_EQ(band.high_hz, 10.0);
}

// The residual of a command that hardly lasts grows so slowly that one step goes from the mode to far beyond
// standstill.
TEST(Insensitivity, HasNoNegativeFrequencies) {
  const VibrationMode mode(5.0, 0.02);
  for (const double duration_s : {1e-3, 1e-6}) {
    const ImpulseSequence sequence(Values({0.0, duration_s}), Values({0.5, 0.5}));
    const InsensitivityBand band = Insensitivity(sequence, mode, 0.9999995);
    EXPECT_EQ(band.low_hz, 0.0);
    EXPECT_EQ(band.high_hz, 50.0);
    EXPECT_EQ(band.width, 10.0);
  }
}

TEST(Insensitivity, ThrowsForTolerancesOutsideTheirRange) {
  for (const double tolerance : {0.0, 1.0, -0.1, kNan, kInfinity}) {
    ExpectInvalidArgument([&] { Insensitivity(Zv(kUndamped), kUndamped, tolerance); }, "tolerance must be in (0, 1).");
  }
}

}  // namespace
}  // namespace velmora::shaping
