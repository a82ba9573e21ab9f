// Linear interpolation of rows, and the linear path behind the exported routines.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"
#include "util/timing/linear_interpolation.hpp"
#include "util/timing/linear_resampling.hpp"

namespace velmora::util::timing {
namespace {

using native::Matrix;
using native::Vector;
using testing::kInfinity;
using testing::kNan;
using testing::Rows;
using testing::SameBits;
using testing::Values;

const Vector kTimes = Values({0.0, 0.5, 1.0});
const Matrix kValues = Rows({{0.0, 10.0}, {1.0, 20.0}, {3.0, 20.0}});

TEST(InterpolateRowsLinear, HoldsTheEndsAndGivesNanForQueriesThatAreNotFinite) {
  EXPECT_TRUE(
      SameBits(Rows({{0.0, 10.0}, {3.0, 20.0}, {kNan, kNan}, {kNan, kNan}, {kNan, kNan}}),
               InterpolateRowsLinear(Values({-1.0, 2.0, kInfinity, -kInfinity, kNan}), kTimes, kValues).values));
}

TEST(InterpolateRowsLinear, HoldsASingleSampleForEveryQuery) {
  EXPECT_TRUE(SameBits(Rows({{4.0}, {4.0}, {4.0}}),
                       InterpolateRowsLinear(Values({0.3, kNan, -kInfinity}), Values({2.0}), Rows({{4.0}})).values));
}

TEST(InterpolateRowsLinear, TakesQueriesInAnyOrder) {
  EXPECT_TRUE(SameBits(Rows({{2.0, 20.0}, {0.5, 15.0}, {2.0, 20.0}}),
                       InterpolateRowsLinear(Values({0.75, 0.25, 0.75}), kTimes, kValues).values));
}

TEST(InterpolateRowsLinear, MeetsSamplesExactlyWhateverTheNextOneHolds) {
  const Matrix values = Rows({{0.1}, {0.3}, {1e300}});
  EXPECT_TRUE(SameBits(Rows({{0.1}, {0.3}, {1e300}}), InterpolateRowsLinear(kTimes, kTimes, values).values));
}

TEST(InterpolateRowsLinear, TakesTheLastOfRepeatedTimesInside) {
  const Vector times = Values({0.0, 0.0, 1.0, 1.0, 1.0, 2.0, 2.0});
  const Matrix values = Rows({{0.0}, {1.0}, {2.0}, {3.0}, {4.0}, {5.0}, {6.0}});
  EXPECT_TRUE(
      SameBits(Rows({{0.0}, {4.0}, {6.0}}), InterpolateRowsLinear(Values({0.0, 1.0, 2.0}), times, values).values));
  EXPECT_TRUE(SameBits(Rows({{1.5}, {4.5}}), InterpolateRowsLinear(Values({0.5, 1.5}), times, values).values));
}

TEST(InterpolateRowsLinear, RoundsTheLaterProductAndFusesTheEarlierOne) {
  const Vector times = Values({0.0, 1.0});
  int told_apart = 0;
  for (int k = 1; k < 100; ++k) {
    const double w = k / 100.0;
    const double before = 1.0 / 3.0;
    const double after = 10.0 / 7.0;
    const double expected = std::fma(1.0 - w, before, w * after);
    EXPECT_TRUE(
        SameBits(Rows({{expected}}), InterpolateRowsLinear(Values({w}), times, Rows({{before}, {after}})).values));
    if (!SameBits(expected, std::fma(w, after, (1.0 - w) * before))) ++told_apart;
  }
  EXPECT_GT(told_apart, 0);
}

TEST(InterpolateRowsLinear, AcceptsNoQueriesAndNoJoints) {
  EXPECT_TRUE(SameBits(Matrix(0, 2), InterpolateRowsLinear(Vector(0), kTimes, kValues).values));
  EXPECT_TRUE(SameBits(Matrix(2, 0), InterpolateRowsLinear(Values({0.1, 0.2}), kTimes, Matrix(3, 0)).values));
}

// In every joint, wherever the query lies.
TEST(InterpolateRowsLinear, NoticesWhatIsNotFinite) {
  const Vector queries = Vector::LinSpaced(100, 0.0, 1.0);
  for (const Eigen::Index joints : {1, 3, 4, 7, 8, 13}) {
    const Matrix values = Matrix::Constant(3, joints, 1e300);
    EXPECT_TRUE(InterpolateRowsLinear(queries, kTimes, values).all_finite);
    EXPECT_FALSE(InterpolateRowsLinear(Values({kNan}), kTimes, values).all_finite);
    for (Eigen::Index row = 0; row < 3; ++row) {
      for (Eigen::Index joint = 0; joint < joints; ++joint) {
        Matrix spoilt = values;
        spoilt(row, joint) = kInfinity;
        EXPECT_FALSE(InterpolateRowsLinear(queries, kTimes, spoilt).all_finite) << row << ", " << joint;
        EXPECT_FALSE(InterpolateRowsLinear(Values({kTimes[row]}), kTimes, spoilt).all_finite) << row << ", " << joint;
      }
    }
  }
}

TEST(ResampleTrajectoryLinear, RepeatsTheLastRowAtTheUnclampedTimesOfTheExtendMode) {
  const JointTrajectory trajectory(kValues, std::nullopt, std::nullopt, kTimes, std::nullopt, std::nullopt);
  const JointTrajectory extended =
      ResampleTrajectoryLinear(trajectory, 0.4, ResamplingTimeGridMode::exact_dt_extend_endpoint);
  EXPECT_TRUE(SameBits(1.2000000000000002, extended.time[3]));
  EXPECT_TRUE(SameBits(Rows({{3.0, 20.0}}), Matrix(extended.positions.bottomRows(1))));
}

TEST(ResampleTrajectoryLinear, PassesTheErrorsOfTheGridOn) {
  const JointTrajectory trajectory(kValues, std::nullopt, std::nullopt, kTimes, std::nullopt, std::nullopt);
  testing::ExpectInvalidArgument(
      [&] { ResampleTrajectoryLinear(trajectory, 0.0, ResamplingTimeGridMode::exact_dt_trim); },
      "sample_time_s must be positive.");
  testing::ExpectInvalidArgument(
      [&] { ResampleTrajectoryLinear(trajectory, 0.1, static_cast<ResamplingTimeGridMode>(4)); },
      "Unsupported resampling time-grid mode.");
}

}  // namespace
}  // namespace velmora::util::timing
