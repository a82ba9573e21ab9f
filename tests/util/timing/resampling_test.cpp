// The choice between the resampling methods, and cubic resampling through the exported routine.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/timing/resampling.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <new>
#include <optional>
#include <type_traits>

#include "oracle/differentiation.hpp"
#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"

namespace velmora::util::timing {
namespace {

using testing::ExpectInvalidArgument;
using testing::ExpectThrows;
using testing::kInfinity;
using testing::kNan;
using testing::Rows;
using testing::SameBits;
using testing::Values;
using Mode = ResamplingTimeGridMode;

static_assert(std::is_same_v<decltype(&ResampleTrajectory),
                             JointTrajectory (*)(const JointTrajectory&, double, ResamplingMethod, Mode, bool)>);

constexpr char kSampleTime[] = "sample_time_s must be positive.";
constexpr char kTooFewKnots[] = "`x` must contain at least 2 elements.";
constexpr char kCoefficients[] = "Cubic-spline construction produced non-finite coefficients.";
constexpr char kMode[] = "Unsupported resampling time-grid mode.";

JointTrajectory AtTimes(const Matrix& positions, const Vector& time) {
  return {positions, std::nullopt, std::nullopt, time, std::nullopt, std::nullopt};
}

JointTrajectory Uneven() {
  return AtTimes(Rows({{0.0, 1.0}, {1.0, -2.0}, {0.5, 4.0}, {2.0, 3.0}, {-1.0, 0.0}}),
                 Values({0.0, 0.3, 0.5, 1.1, 1.6}));
}

JointTrajectory OneSample() { return AtTimes(Rows({{1.0, 2.0}}), Values({2.0})); }

// Positions so large that the spline's right-hand side overflows, while every position is finite.
JointTrajectory OverflowingSpline() {
  return AtTimes(Rows({{-1e308}, {1e308}, {-1e308}, {1e308}}), Values({0.0, 1.0, 2.0, 3.0}));
}

JointTrajectory Linear(const JointTrajectory& trajectory, double dt, Mode mode) {
  return ResampleTrajectory(trajectory, dt, ResamplingMethod::linear, mode, false);
}

JointTrajectory Cubic(const JointTrajectory& trajectory, double dt, Mode mode) {
  return ResampleTrajectory(trajectory, dt, ResamplingMethod::cubic, mode, true);
}

void ExpectSameTrajectory(const JointTrajectory& expected, const JointTrajectory& actual) {
  EXPECT_TRUE(SameBits(expected.positions, actual.positions));
  EXPECT_TRUE(SameBits(expected.time, actual.time));
  EXPECT_TRUE(SameBits(expected.velocities(), actual.velocities()));
  EXPECT_TRUE(SameBits(expected.accelerations(), actual.accelerations()));
  EXPECT_TRUE(SameBits(expected.jerks(), actual.jerks()));
}

TEST(ResampleTrajectory, TreatsEveryMethodButLinearAsCubic) {
  const JointTrajectory cubic = Cubic(Uneven(), 0.2, Mode::exact_dt_trim);
  ASSERT_FALSE(SameBits(Linear(Uneven(), 0.2, Mode::exact_dt_trim).positions, cubic.positions));
  for (const int method : {-1, 2, 7}) {
    ExpectSameTrajectory(
        cubic, ResampleTrajectory(Uneven(), 0.2, static_cast<ResamplingMethod>(method), Mode::exact_dt_trim, true));
    ExpectInvalidArgument(
        [=] { ResampleTrajectory(OneSample(), 0.2, static_cast<ResamplingMethod>(method), Mode::exact_dt_trim, true); },
        kTooFewKnots);
  }
}

TEST(ResampleTrajectory, DoesNotConsultStrictnessForTheLinearMethod) {
  ExpectSameTrajectory(Linear(Uneven(), 0.2, Mode::exact_dt_trim),
                       ResampleTrajectory(Uneven(), 0.2, ResamplingMethod::linear, Mode::exact_dt_trim, true));
  ExpectSameTrajectory(OneSample(),
                       ResampleTrajectory(OneSample(), 0.2, ResamplingMethod::linear, Mode::exact_dt_trim, true));
}

TEST(ResampleTrajectory, ThrowsForOneSampleOnlyWhenStrict) {
  ExpectInvalidArgument([] { Cubic(OneSample(), 0.1, Mode::exact_dt_trim); }, kTooFewKnots);
  ExpectSameTrajectory(Linear(OneSample(), 0.1, Mode::exact_dt_trim),
                       ResampleTrajectory(OneSample(), 0.1, ResamplingMethod::cubic, Mode::exact_dt_trim, false));
}

TEST(ResampleTrajectory, ReportsTheGridFirstWhateverTheStrictness) {
  for (const bool strict : {false, true}) {
    for (const double dt : {0.0, -1.0, kNan, kInfinity}) {
      for (const int method : {0, 1, 5}) {
        ExpectInvalidArgument(
            [=] {
              ResampleTrajectory(OneSample(), dt, static_cast<ResamplingMethod>(method), static_cast<Mode>(7), strict);
            },
            kSampleTime);
      }
    }
    for (const int mode : {-1, 4, 7}) {
      for (const int method : {0, 1, 5}) {
        ExpectInvalidArgument(
            [=] {
              ResampleTrajectory(OverflowingSpline(), 0.1, static_cast<ResamplingMethod>(method),
                                 static_cast<Mode>(mode), strict);
            },
            kMode);
      }
    }
  }
}

TEST(ResampleTrajectory, ReportsAGridThatCannotBeCountedAsAnAllocationFailure) {
  const JointTrajectory infinite_span = AtTimes(Rows({{0.0}, {1.0}}), Values({-1e308, 1e308}));
  for (const bool strict : {false, true}) {
    for (const int method : {0, 1}) {
      for (const int mode : {0, 1, 2, 3, 7}) {
        const auto resample = [&](const JointTrajectory& trajectory, double dt) {
          ResampleTrajectory(trajectory, dt, static_cast<ResamplingMethod>(method), static_cast<Mode>(mode), strict);
        };
        ExpectThrows<std::bad_alloc>([&] { resample(infinite_span, 1.0); }, "std::bad_alloc");
        ExpectThrows<std::bad_alloc>([&] { resample(Uneven(), 1e-300); }, "std::bad_alloc");
        ExpectThrows<std::bad_alloc>([&] { resample(Uneven(), testing::kSmallest); }, "std::bad_alloc");
      }
    }
  }
}

TEST(ResampleTrajectory, FallsBackToLinearWhenTheSplineIsNotFinite) {
  ExpectInvalidArgument([] { Cubic(OverflowingSpline(), 0.5, Mode::exact_dt_trim); }, kCoefficients);
  const JointTrajectory fallen_back =
      ResampleTrajectory(OverflowingSpline(), 0.5, ResamplingMethod::cubic, Mode::exact_dt_trim, false);
  EXPECT_TRUE(SameBits(Linear(OverflowingSpline(), 0.5, Mode::exact_dt_trim).positions, fallen_back.positions));
}

// With two samples no second derivative is tested; the overflowing slope is found by the result's constructor.
TEST(ResampleTrajectory, ReportsTheConstructorOfTheResult) {
  const JointTrajectory steep = AtTimes(Rows({{-1e308}, {1e308}}), Values({0.0, 1.0}));
  ExpectInvalidArgument([&] { Cubic(steep, 0.5, Mode::exact_dt_trim); },
                        "JointTrajectory.positions must contain only finite values.");
  EXPECT_TRUE(SameBits(Rows({{-1e308}, {0.0}, {1e308}}),
                       ResampleTrajectory(steep, 0.5, ResamplingMethod::cubic, Mode::exact_dt_trim, false).positions));
}

TEST(ResampleTrajectory, RejectsASpacingThatRepeatsGridEntries) {
  const JointTrajectory late = AtTimes(Rows({{0.0}, {1.0}}), Values({1e16, 1e16 + 2.0}));
  for (const int method : {0, 1}) {
    for (const bool strict : {false, true}) {
      ExpectInvalidArgument(
          [&] { ResampleTrajectory(late, 0.5, static_cast<ResamplingMethod>(method), Mode::exact_dt_trim, strict); },
          "JointTrajectory.time must be strictly increasing.");
    }
  }
}

TEST(ResampleTrajectoryCubic, FollowsTheLineThroughTwoSamples) {
  const JointTrajectory two = AtTimes(Rows({{1.0, 0.0}, {3.0, -4.0}}), Values({0.0, 2.0}));
  const JointTrajectory resampled = Cubic(two, 0.5, Mode::exact_dt_append_endpoint);
  EXPECT_TRUE(SameBits(Rows({{1.0, 0.0}, {1.5, -1.0}, {2.0, -2.0}, {2.5, -3.0}, {3.0, -4.0}}), resampled.positions));
  EXPECT_EQ(Rows({{1.0, -2.0}, {1.0, -2.0}, {1.0, -2.0}, {1.0, -2.0}, {1.0, -2.0}}), resampled.velocities());
  EXPECT_EQ(Matrix::Zero(5, 2), resampled.accelerations());
}

TEST(ResampleTrajectoryCubic, FollowsTheParabolaThroughThreeSamples) {
  const JointTrajectory three = AtTimes(Rows({{1.0}, {0.0}, {4.0}}), Values({-1.0, 0.0, 2.0}));  // t^2
  const JointTrajectory resampled = Cubic(three, 0.5, Mode::exact_dt_trim);
  const JointTrajectory expected = AtTimes(Rows({{1.0}, {0.25}, {0.0}, {0.25}, {1.0}, {2.25}, {4.0}}), resampled.time);
  constexpr double kTolerance = 16.0 * 4.0 * testing::kEpsilon;  // a few roundings of values up to 4
  EXPECT_TRUE(testing::IsNear(expected.positions, resampled.positions, kTolerance));
  EXPECT_TRUE(testing::IsNear(2.0 * resampled.time, resampled.velocities(), kTolerance));
  EXPECT_TRUE(testing::IsNear(Matrix::Constant(7, 1, 2.0), resampled.accelerations(), kTolerance));
}

TEST(ResampleTrajectoryCubic, MeetsEverySampleButTheLastExactly) {
  const JointTrajectory trajectory =
      AtTimes(Rows({{0.1}, {-0.7}, {2.3}, {1.9}, {0.3}}), Values({0.0, 0.5, 1.0, 1.5, 2.0}));
  const JointTrajectory resampled = Cubic(trajectory, 0.5, Mode::exact_dt_trim);
  ASSERT_TRUE(SameBits(trajectory.time, resampled.time));
  EXPECT_TRUE(SameBits(Matrix(trajectory.positions.topRows(4)), Matrix(resampled.positions.topRows(4))));
  EXPECT_TRUE(testing::IsNear(trajectory.positions, resampled.positions, 8.0 * 2.3 * testing::kEpsilon));
}

TEST(ResampleTrajectoryCubic, ClampsOnlyTheEvaluationTimesInTheExtendMode) {
  const JointTrajectory trajectory = Uneven();
  const JointTrajectory extended = Cubic(trajectory, 0.7, Mode::exact_dt_extend_endpoint);
  EXPECT_TRUE(SameBits(Values({0.0, 0.7, 1.4, 2.0999999999999996}), extended.time));
  const JointTrajectory at_end = Cubic(trajectory, 1.6, Mode::exact_dt_extend_endpoint);
  ASSERT_TRUE(SameBits(Values({0.0, 1.6}), at_end.time));
  EXPECT_TRUE(SameBits(Matrix(at_end.positions.bottomRows(1)), Matrix(extended.positions.bottomRows(1))));
  EXPECT_TRUE(SameBits(Matrix(at_end.velocities().bottomRows(1)), Matrix(extended.velocities().bottomRows(1))));
  EXPECT_TRUE(SameBits(Matrix(at_end.accelerations().bottomRows(1)), Matrix(extended.accelerations().bottomRows(1))));
  EXPECT_NE(extended.velocities()(3, 0), 0.0) << "the end velocity is held too";
}

// In these modes an entry past the end by a rounding continues the last polynomial instead of being clamped.
TEST(ResampleTrajectoryCubic, DoesNotClampInTheOtherModes) {
  const Vector times = Values({0.1, 0.2, 0.25, 0.4, 0.6});
  const double dt = 0.1;
  ASSERT_GT(std::fma(5.0, dt, 0.1), 0.6) << "the last entry lies past the end by a rounding";
  const JointTrajectory trajectory = AtTimes(Rows({{0.0}, {1.0}, {-2.0}, {5.0}, {1e6}}), times);
  const JointTrajectory trimmed = Cubic(trajectory, dt, Mode::exact_dt_trim);
  const JointTrajectory extended = Cubic(trajectory, dt, Mode::exact_dt_extend_endpoint);
  ASSERT_TRUE(SameBits(trimmed.time, extended.time));
  EXPECT_FALSE(SameBits(trimmed.positions, extended.positions));
}

TEST(ResampleTrajectoryCubic, LeavesJerksToDifferentiation) {
  const JointTrajectory resampled = Cubic(Uneven(), 0.2, Mode::exact_dt_trim);
  EXPECT_TRUE(SameBits(
      oracle::ThreePointSampleDerivative(testing::ToTable(resampled.accelerations()), testing::ToStd(resampled.time)),
      resampled.jerks()));
}

TEST(ResampleTrajectoryCubic, AcceptsNoJoints) {
  const JointTrajectory trajectory = AtTimes(Matrix(4, 0), Values({0.0, 1.0, 2.0, 3.0}));
  const JointTrajectory resampled = Cubic(trajectory, 0.5, Mode::exact_dt_trim);
  EXPECT_TRUE(SameBits(Matrix(7, 0), resampled.positions));
  EXPECT_TRUE(SameBits(Matrix(7, 0), resampled.velocities()));
  EXPECT_TRUE(SameBits(Matrix(7, 0), resampled.accelerations()));
}

TEST(ResampleTrajectoryCubic, ReadsNoDerivativeOfTheInput) {
  const JointTrajectory plain = Uneven();
  const Matrix wrong = Matrix::Constant(5, 2, 1e6);
  const JointTrajectory supplied(plain.positions, wrong, wrong, plain.time, std::nullopt, wrong);
  ExpectSameTrajectory(Cubic(plain, 0.2, Mode::exact_dt_trim), Cubic(supplied, 0.2, Mode::exact_dt_trim));
}

// Every derivative of these positions overflows: once computed, it would be carried by the copy and rejected.
TEST(ResampleTrajectory, FillsNoDerivativeOfTheInput) {
  const JointTrajectory trajectory =
      AtTimes(Rows({{-1e308}, {1e308}, {-1e308}, {1e308}}), Values({0.0, 1e-3, 2e-3, 3e-3}));
  for (const bool strict : {false, true}) {
    for (const int method : {0, 1}) {
      try {
        ResampleTrajectory(trajectory, 1e-3, static_cast<ResamplingMethod>(method), Mode::exact_dt_trim, strict);
      } catch (const native::InvalidArgumentError&) {
      }
      EXPECT_NO_THROW(trajectory.Copy());
    }
  }
}

TEST(ResampleTrajectory, LeavesTheInputUnchanged) {
  const JointTrajectory trajectory = Uneven();
  Cubic(trajectory, 0.2, Mode::exact_dt_extend_endpoint);
  Linear(trajectory, 0.2, Mode::exact_dt_extend_endpoint);
  ExpectInvalidArgument([&] { Cubic(trajectory, 0.0, Mode::exact_dt_trim); }, kSampleTime);
  EXPECT_TRUE(SameBits(Uneven().positions, trajectory.positions));
  EXPECT_TRUE(SameBits(Uneven().time, trajectory.time));
}

}  // namespace
}  // namespace velmora::util::timing
