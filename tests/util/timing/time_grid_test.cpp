// The regular time grids.
// SPDX-License-Identifier: Apache-2.0
#include "util/timing/time_grid.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <new>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"

namespace velmora::util::timing {
namespace {

using testing::ExpectInvalidArgument;
using testing::ExpectThrows;
using testing::kInfinity;
using testing::kLargest;
using testing::kNan;
using testing::kSmallest;
using testing::SameBits;
using testing::Values;
using Mode = ResamplingTimeGridMode;

constexpr char kSampleTime[] = "sample_time_s must be positive.";
constexpr char kNondecreasing[] = "trajectory.time must be nondecreasing.";
constexpr char kMode[] = "Unsupported resampling time-grid mode.";

Vector Append(double t0, double t1, double dt) {
  return BuildResamplingTimeGrid(t0, t1, dt, Mode::exact_dt_append_endpoint);
}
Vector Trim(double t0, double t1, double dt) { return BuildResamplingTimeGrid(t0, t1, dt, Mode::exact_dt_trim); }
Vector Adjust(double t0, double t1, double dt) {
  return BuildResamplingTimeGrid(t0, t1, dt, Mode::exact_duration_adjust_dt);
}
Vector Extend(double t0, double t1, double dt) {
  return BuildResamplingTimeGrid(t0, t1, dt, Mode::exact_dt_extend_endpoint);
}

TEST(BuildResamplingTimeGrid, PlacesTheEndAsTheModeSays) {
  EXPECT_TRUE(SameBits(Values({0.0, 0.3, 0.6, 0.8999999999999999, 1.0}), Append(0.0, 1.0, 0.3)));
  EXPECT_TRUE(SameBits(Values({0.0, 0.3, 0.6, 0.8999999999999999}), Trim(0.0, 1.0, 0.3)));
  EXPECT_TRUE(SameBits(Values({0.0, 0.3333333333333333, 0.6666666666666666, 1.0}), Adjust(0.0, 1.0, 0.3)));
  EXPECT_TRUE(SameBits(Values({0.0, 0.3, 0.6, 0.8999999999999999, 1.2}), Extend(0.0, 1.0, 0.3)));
}

TEST(BuildResamplingTimeGrid, DecidesByTheRoundedRatio) {
  EXPECT_TRUE(SameBits(Values({0.0, 0.1, 0.2, 0.3}), Append(0.0, 0.3, 0.1)));
  EXPECT_TRUE(SameBits(Values({0.0, 0.1, 0.2}), Trim(0.0, 0.3, 0.1)));
  EXPECT_TRUE(SameBits(Values({0.0, 0.09999999999999999, 0.19999999999999998, 0.3}), Adjust(0.0, 0.3, 0.1)));
  EXPECT_TRUE(SameBits(Values({0.0, 0.1, 0.2, 0.30000000000000004}), Extend(0.0, 0.3, 0.1)));
}

TEST(BuildResamplingTimeGrid, AgreesInEveryModeOnAnExactMultiple) {
  const Vector expected = Values({0.0, 0.25, 0.5, 0.75, 1.0});
  EXPECT_TRUE(SameBits(expected, Append(0.0, 1.0, 0.25)));
  EXPECT_TRUE(SameBits(expected, Trim(0.0, 1.0, 0.25)));
  EXPECT_TRUE(SameBits(expected, Adjust(0.0, 1.0, 0.25)));
  EXPECT_TRUE(SameBits(expected, Extend(0.0, 1.0, 0.25)));
}

TEST(BuildResamplingTimeGrid, RoundsTiesToEvenWhenAdjusting) {
  EXPECT_TRUE(SameBits(Values({0.0, 1.25, 2.5}), Adjust(0.0, 2.5, 1.0)));
  EXPECT_TRUE(SameBits(Values({0.0, 0.875, 1.75, 2.625, 3.5}), Adjust(0.0, 3.5, 1.0)));
}

TEST(BuildResamplingTimeGrid, SnapsTheLastStepOntoTheEndWithinTheTolerance) {
  const Vector snapped = Append(0.0, 1.0000001, 0.1);
  ASSERT_EQ(snapped.size(), 11);
  EXPECT_TRUE(SameBits(1.0000001, snapped[10]));
  const Vector appended = Append(0.0, 1.00002, 0.1);
  ASSERT_EQ(appended.size(), 12);
  EXPECT_TRUE(SameBits(0.9, appended[9]));
  EXPECT_TRUE(SameBits(1.0, appended[10]));
  EXPECT_TRUE(SameBits(1.00002, appended[11]));
}

// A hundredth of a second at 1000 s, whatever the span and the spacing; at -1000 s as well.
TEST(BuildResamplingTimeGrid, TakesTheToleranceFromTheMagnitudeOfTheEnd) {
  EXPECT_TRUE(SameBits(Values({1000.3}), Append(1000.3 - 0.009, 1000.3, 0.1)));
  EXPECT_EQ(Append(1000.0, 1000.3, 0.1).size(), 4);
  EXPECT_EQ(Append(1000.0, 1000.309, 0.1).size(), 4) << "0.009 s from the end";
  EXPECT_EQ(Append(1000.0, 1000.3101, 0.1).size(), 5) << "0.0101 s from the end";
  EXPECT_EQ(Append(-1000.309, -1000.0, 0.1).size(), 4);
  EXPECT_EQ(Append(-0.309, 0.0, 0.1).size(), 5) << "at zero only 1e-8 s are left";
  EXPECT_EQ(Append(-0.300000009, 0.0, 0.1).size(), 4);
}

TEST(BuildResamplingTimeGrid, HandlesASpanShorterThanOneStep) {
  EXPECT_TRUE(SameBits(Values({0.0, 0.05}), Append(0.0, 0.05, 0.1)));
  EXPECT_TRUE(SameBits(Values({0.0}), Trim(0.0, 0.05, 0.1)));
  EXPECT_TRUE(SameBits(Values({0.0, 0.05}), Adjust(0.0, 0.05, 0.1)));
  EXPECT_TRUE(SameBits(Values({0.0, 0.1}), Extend(0.0, 0.05, 0.1)));
}

TEST(BuildResamplingTimeGrid, HandlesASpanInsideTheTolerance) {
  EXPECT_TRUE(SameBits(Values({10.00000002}), Append(10.0, 10.00000002, 0.1)));
  EXPECT_TRUE(SameBits(Values({10.0}), Trim(10.0, 10.00000002, 0.1)));
  EXPECT_TRUE(SameBits(Values({10.0, 10.00000002}), Adjust(10.0, 10.00000002, 0.1)));
  EXPECT_TRUE(SameBits(Values({10.0, 10.1}), Extend(10.0, 10.00000002, 0.1)));
}

TEST(BuildResamplingTimeGrid, StartsBelowZero) {
  EXPECT_TRUE(SameBits(Values({-0.5, -0.2, 0.09999999999999998, 0.39999999999999997, 0.5}), Append(-0.5, 0.5, 0.3)));
}

TEST(BuildResamplingTimeGrid, GivesOneEntryForASpanOfZeroInAnyMode) {
  for (const int mode : {-1, 0, 1, 2, 3, 4, 7}) {
    EXPECT_TRUE(SameBits(Values({2.0}), BuildResamplingTimeGrid(2.0, 2.0, 0.1, static_cast<Mode>(mode))));
  }
  EXPECT_TRUE(SameBits(Values({-0.0}), Trim(-0.0, 0.0, 0.1)));
}

TEST(BuildResamplingTimeGrid, ThrowsForASampleTimeThatIsNotFiniteAndPositiveBeforeAllElse) {
  for (const double dt : {0.0, -0.0, -0.1, kNan, kInfinity, -kInfinity}) {
    ExpectInvalidArgument([=] { Trim(0.0, 1.0, dt); }, kSampleTime);
    ExpectInvalidArgument([=] { Trim(1.0, 0.0, dt); }, kSampleTime);
    ExpectInvalidArgument([=] { Trim(2.0, 2.0, dt); }, kSampleTime);
    ExpectInvalidArgument([=] { BuildResamplingTimeGrid(0.0, 1.0, dt, static_cast<Mode>(7)); }, kSampleTime);
  }
}

TEST(BuildResamplingTimeGrid, ThrowsForAnEndBeforeTheStartBeforeItLooksAtTheMode) {
  ExpectInvalidArgument([] { Append(1.0, 0.0, 0.1); }, kNondecreasing);
  ExpectInvalidArgument([] { BuildResamplingTimeGrid(1.0, 0.0, 0.1, static_cast<Mode>(7)); }, kNondecreasing);
  ExpectInvalidArgument([] { Trim(kLargest, -kLargest, kSmallest); }, kNondecreasing);
}

TEST(BuildResamplingTimeGrid, ThrowsForAnUnsupportedMode) {
  for (const int mode : {-1, 4, 7}) {
    ExpectInvalidArgument([=] { BuildResamplingTimeGrid(0.0, 1.0, 0.1, static_cast<Mode>(mode)); }, kMode);
  }
}

// The grid of exact spacing is built before the mode is looked at: where it cannot be, that is what is reported.
TEST(BuildResamplingTimeGrid, ReportsAGridTooLongForMemoryInEveryModeAndBeforeTheMode) {
  for (const int mode : {0, 1, 2, 3, 7}) {
    const auto build = [=](double t0, double t1, double dt) {
      ExpectThrows<std::bad_alloc>([=] { BuildResamplingTimeGrid(t0, t1, dt, static_cast<Mode>(mode)); },
                                   "std::bad_alloc");
    };
    build(0.0, 1e300, 1.0);                  // a count beyond any integer
    build(0.0, 1.0, kSmallest);              // an infinite ratio
    build(-kLargest, kLargest, 1.0);         // an infinite span
    build(0.0, 9223372036854775808.0, 1.0);  // the first count beyond 64 bits
    build(0.0, 9223372036854774784.0, 1.0);  // the last count within them
    build(0.0, 1e17, 1.0);                   // a count that fits, an array that does not
  }
}

TEST(BuildResamplingTimeGrid, ReportsTimesThatAreNotFiniteAsAnAllocationFailure) {
  for (const double bad : {kNan, kInfinity}) {
    ExpectThrows<std::bad_alloc>([=] { Trim(0.0, bad, 0.1); }, "std::bad_alloc");
  }
}

// A separately rounded product gives other entries, as the count shows.
TEST(BuildResamplingTimeGrid, RoundsEachEntryOfAnExactSpacingOnce) {
  const double t0 = 0.1;
  const double dt = 0.7;
  const Vector grid = Trim(t0, 100.0, dt);
  int told_apart = 0;
  for (Eigen::Index k = 0; k < grid.size(); ++k) {
    const double index = static_cast<double>(k);
    EXPECT_TRUE(SameBits(std::fma(index, dt, t0), grid[k])) << k;
    const double product = index * dt;
    if (!SameBits(product + t0, grid[k])) ++told_apart;
  }
  EXPECT_GT(told_apart, 0);
}

TEST(ClampedTimes, EndAtTheEndAndAreForTheExtendModeOnly) {
  const Vector grid = Values({0.0, 0.5, 1.0, 1.5});
  EXPECT_TRUE(SameBits(Values({0.0, 0.5, 0.7, 0.7}), ClampedTimes(grid, 0.7, Mode::exact_dt_extend_endpoint).value()));
  for (const int mode : {0, 1, 2}) EXPECT_FALSE(ClampedTimes(grid, 0.7, static_cast<Mode>(mode)).has_value());
}

}  // namespace
}  // namespace velmora::util::timing
