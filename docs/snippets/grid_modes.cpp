// The code of the guide's page on time grids.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <velmora/util/timing/resampling.hpp>

#include <limits>
#include <new>

#include "guide_support.hpp"

namespace {

using namespace velmora::util::timing;

//! [grid]
// The time grid that a trajectory from `start_time_s` to `end_time_s` is resampled onto.
Vector Grid(double start_time_s, double end_time_s, double sample_time_s, ResamplingTimeGridMode mode) {
  const JointTrajectory span = TrajectoryAtTimes(Matrix{{0.0}, {1.0}}, Vector{{start_time_s, end_time_s}});
  return ResampleTrajectory(span, sample_time_s, ResamplingMethod::linear, mode, false).time;
}
constexpr auto append = ResamplingTimeGridMode::exact_dt_append_endpoint;
constexpr auto trim = ResamplingTimeGridMode::exact_dt_trim;
constexpr auto adjust = ResamplingTimeGridMode::exact_duration_adjust_dt;
constexpr auto extend = ResamplingTimeGridMode::exact_dt_extend_endpoint;
//! [grid]

TEST(GuideGridModes, DifferWhereTheSpacingDoesNotDivideTheSpan) {
  //! [differ]
  EXPECT_EQ(Grid(0.0, 1.0, 0.3, append), (Vector{{0.0, 0.3, 0.6, 0.8999999999999999, 1.0}}));
  EXPECT_EQ(Grid(0.0, 1.0, 0.3, trim), (Vector{{0.0, 0.3, 0.6, 0.8999999999999999}}));
  EXPECT_EQ(Grid(0.0, 1.0, 0.3, adjust), (Vector{{0.0, 0.3333333333333333, 0.6666666666666666, 1.0}}));
  EXPECT_EQ(Grid(0.0, 1.0, 0.3, extend), (Vector{{0.0, 0.3, 0.6, 0.8999999999999999, 1.2}}));
  //! [differ]
}

TEST(GuideGridModes, AgreeWhereTheSpacingDividesTheSpan) {
  //! [agree]
  const Vector quarters{{0.0, 0.25, 0.5, 0.75, 1.0}};
  for (const ResamplingTimeGridMode mode : {append, trim, adjust, extend}) {
    EXPECT_EQ(Grid(0.0, 1.0, 0.25, mode), quarters);
  }
  //! [agree]
}

TEST(GuideGridModes, CountStepsFromTheRoundedQuotient) {
  //! [quotient]
  EXPECT_EQ(0.3 / 0.1, 2.9999999999999996);  // three steps in decimal, two whole ones in double
  EXPECT_EQ(Grid(0.0, 0.3, 0.1, append), (Vector{{0.0, 0.1, 0.2, 0.3}}));
  EXPECT_EQ(Grid(0.0, 0.3, 0.1, trim), (Vector{{0.0, 0.1, 0.2}}));
  EXPECT_EQ(Grid(0.0, 0.3, 0.1, adjust), (Vector{{0.0, 0.09999999999999999, 0.19999999999999998, 0.3}}));
  EXPECT_EQ(Grid(0.0, 0.3, 0.1, extend), (Vector{{0.0, 0.1, 0.2, 0.30000000000000004}}));
  //! [quotient]
}

TEST(GuideGridModes, TrimMayEndBeyondTheEndByARounding) {
  //! [trim_beyond]
  const double end_time_s = 1.95;
  const Vector grid = Grid(0.0, end_time_s, 0.65, trim);
  EXPECT_EQ(grid.size(), 4);
  EXPECT_EQ(grid[3], 1.9500000000000002);
  EXPECT_GT(grid[3], end_time_s);
  //! [trim_beyond]
}

TEST(GuideGridModes, AppendMovesANearEntryOntoTheEnd) {
  //! [snap]
  EXPECT_EQ(Grid(0.0, 1.000009, 0.1, append).size(), 11);  // 1.0 is moved onto the end ...
  EXPECT_EQ(Grid(0.0, 1.000009, 0.1, append)[10], 1.000009);
  EXPECT_EQ(Grid(0.0, 1.000011, 0.1, append).size(), 12);  // ... and here the end is appended
  //! [snap]
}

TEST(GuideGridModes, AppendMeasuresNearnessByTheEndTime) {
  //! [absolute_times]
  const double start_time_s = 1.7e9;  // seconds since 1970: the tolerance is about 17000 s
  const Vector absolute = Grid(start_time_s, start_time_s + 1.0, 0.3, append);
  EXPECT_EQ(absolute.size(), 4);
  EXPECT_GT(absolute[3] - absolute[2], 0.39);  // the entry at 0.9 s became the end
  EXPECT_EQ(Grid(0.0, 1.0, 0.3, append).size(), 5);
  //! [absolute_times]
}

TEST(GuideGridModes, AppendMayGiveASingleEntry) {
  //! [single]
  const double end_time_s = 10.00000002;
  EXPECT_EQ(Grid(10.0, end_time_s, 0.1, append), Vector::Constant(1, end_time_s));
  EXPECT_EQ(Grid(10.0, end_time_s, 0.1, trim), Vector::Constant(1, 10.0));
  EXPECT_EQ(Grid(10.0, end_time_s, 0.1, adjust), (Vector{{10.0, end_time_s}}));
  EXPECT_EQ(Grid(10.0, end_time_s, 0.1, extend), (Vector{{10.0, 10.1}}));
  //! [single]
}

TEST(GuideGridModes, AdjustRoundsTiesToEven) {
  //! [ties]
  EXPECT_EQ(Grid(0.0, 2.5, 1.0, adjust), (Vector{{0.0, 1.25, 2.5}}));
  EXPECT_EQ(Grid(0.0, 3.5, 1.0, adjust), (Vector{{0.0, 0.875, 1.75, 2.625, 3.5}}));
  //! [ties]
}

TEST(GuideGridModes, RefuseWhatCannotBeAGrid) {
  //! [refused]
  EXPECT_EQ(MessageOf([] { Grid(0.0, 1.0, 0.0, trim); }), "sample_time_s must be positive.");

  // 1e9 s is followed by the next double 1.2e-7 s later: entries 1e-8 s apart repeat.
  EXPECT_EQ(MessageOf([] { Grid(1e9, 1e9 + 1e-6, 1e-8, trim); }), "JointTrajectory.time must be strictly increasing.");

  // More entries than any memory holds.
  EXPECT_THROW(Grid(-1e308, 1e308, 1.0, trim), std::bad_alloc);  // the span overflows
  EXPECT_THROW(Grid(0.0, 1.0, 1e-310, trim), std::bad_alloc);    // the number of steps overflows
  //! [refused]
}

TEST(GuideGridModes, AreNamedInConfigurationText) {
  //! [parse]
  EXPECT_EQ(ParseResamplingTimeGridMode("exact_dt_trim"), ResamplingTimeGridMode::exact_dt_trim);
  EXPECT_EQ(ParseResamplingMethod("cubic"), ResamplingMethod::cubic);
  EXPECT_EQ(MessageOf([] { ParseResamplingMethod("Linear"); }), "Unsupported resampling method: 'Linear'.");
  EXPECT_EQ(MessageOf([] { ParseResamplingTimeGridMode("trim"); }), "Unsupported resampling time-grid mode: 'trim'.");
  //! [parse]
}

}  // namespace
