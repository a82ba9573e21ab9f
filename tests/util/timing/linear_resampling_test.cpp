// Sampling at given times and resampling by the linear method, through the exported routines.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <optional>
#include <type_traits>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::util::timing {
namespace {

using testing::ExpectInvalidArgument;
using testing::kInfinity;
using testing::kNan;
using testing::Rows;
using testing::SameBits;
using testing::Values;

static_assert(std::is_same_v<decltype(&SampleTrajectoryAtTimes),
                             JointTrajectory (*)(const JointTrajectory&, const Vector&, bool)>);

constexpr char kOutside[] = "query_time_s must lie inside trajectory.time.";
constexpr char kIncreasing[] = "JointTrajectory.time must be strictly increasing.";
constexpr char kTimeFinite[] = "JointTrajectory.time must contain only finite values.";
constexpr char kPositionsFinite[] = "JointTrajectory.positions must contain only finite values.";

const Matrix kPositions = Rows({{0.0, 10.0}, {1.0, 20.0}, {3.0, 20.0}});
const Vector kTimes = Values({0.0, 0.5, 1.0});

JointTrajectory Trajectory() { return {kPositions, std::nullopt, std::nullopt, kTimes, std::nullopt, std::nullopt}; }

JointTrajectory OverflowingWhenDifferentiated() {
  return {Rows({{-1e308}, {1e308}, {-1e308}}), std::nullopt, std::nullopt,
          Values({0.0, 1e-3, 2e-3}),           std::nullopt, std::nullopt};
}

TEST(SampleTrajectoryAtTimes, InterpolatesBetweenSamplesAndMeetsThem) {
  const Vector queries = Values({0.25, 0.5, 1.0});
  const JointTrajectory sampled = SampleTrajectoryAtTimes(Trajectory(), queries, false);
  EXPECT_TRUE(SameBits(Rows({{0.5, 15.0}, {1.0, 20.0}, {3.0, 20.0}}), sampled.positions));
  EXPECT_TRUE(SameBits(queries, sampled.time));
}

TEST(SampleTrajectoryAtTimes, AcceptsBothEnds) {
  EXPECT_TRUE(SameBits(Rows({{0.0, 10.0}}), SampleTrajectoryAtTimes(Trajectory(), Values({0.0}), false).positions));
  EXPECT_TRUE(SameBits(Rows({{3.0, 20.0}}), SampleTrajectoryAtTimes(Trajectory(), Values({1.0}), true).positions));
}

TEST(SampleTrajectoryAtTimes, ThrowsForAQueryOutsideTheSampledSpan) {
  for (const Vector& queries : {Values({1.0000001}), Values({-0.1}), Values({0.5, 1.5}), Values({-0.5, 0.5}),
                                Values({kInfinity}), Values({-kInfinity}), Values({0.5, kInfinity})}) {
    ExpectInvalidArgument([&] { SampleTrajectoryAtTimes(Trajectory(), queries, false); }, kOutside);
    ExpectInvalidArgument([&] { SampleTrajectoryAtTimes(Trajectory(), queries, true); }, kOutside);
  }
}

TEST(SampleTrajectoryAtTimes, ThrowsForQueriesThatDoNotIncrease) {
  ExpectInvalidArgument([] { SampleTrajectoryAtTimes(Trajectory(), Values({0.5, 0.25}), false); }, kIncreasing);
  ExpectInvalidArgument([] { SampleTrajectoryAtTimes(Trajectory(), Values({0.5, 0.5}), true); }, kIncreasing);
}

// Derivatives asked for before the range test would have filled the caches with values that no copy accepts.
TEST(SampleTrajectoryAtTimes, TestsTheRangeBeforeInterpolating) {
  const JointTrajectory trajectory = OverflowingWhenDifferentiated();
  ExpectInvalidArgument([&] { SampleTrajectoryAtTimes(trajectory, Values({1.0, 0.5}), true); }, kOutside);
  EXPECT_NO_THROW(trajectory.Copy());
}

TEST(SampleTrajectoryAtTimes, RejectsNanQueriesByTheConstructorOfTheResult) {
  for (Eigen::Index place = 0; place < 9; ++place) {
    Vector queries = Vector::LinSpaced(9, 0.1, 0.9);
    queries[place] = kNan;
    for (const bool include_derivatives : {false, true}) {
      ExpectInvalidArgument([&] { SampleTrajectoryAtTimes(Trajectory(), queries, include_derivatives); },
                            kPositionsFinite);
    }
  }
  ExpectInvalidArgument([] { SampleTrajectoryAtTimes(Trajectory(), Values({kNan}), false); }, kPositionsFinite);
}

TEST(SampleTrajectoryAtTimes, RejectsNanQueriesByTheTimesWhereNoPositionShowsThem) {
  const JointTrajectory one_sample(Rows({{1.0, 2.0}}), std::nullopt, std::nullopt, Values({2.0}), std::nullopt,
                                   std::nullopt);
  ExpectInvalidArgument([&] { SampleTrajectoryAtTimes(one_sample, Values({kNan}), false); }, kTimeFinite);
  const JointTrajectory no_joints(Matrix(3, 0), std::nullopt, std::nullopt, kTimes, std::nullopt, std::nullopt);
  ExpectInvalidArgument([&] { SampleTrajectoryAtTimes(no_joints, Values({0.5, kNan}), true); }, kTimeFinite);
}

TEST(SampleTrajectoryAtTimes, ReportsAQueryOutsideEvenBesideANan) {
  ExpectInvalidArgument([] { SampleTrajectoryAtTimes(Trajectory(), Values({kNan, 2.0}), false); }, kOutside);
  ExpectInvalidArgument([] { SampleTrajectoryAtTimes(Trajectory(), Values({2.0, kNan}), false); }, kOutside);
}

TEST(SampleTrajectoryAtTimes, ReturnsACopyWithItsCachesForNoQuery) {
  const Matrix velocities = Rows({{1.0, 2.0}, {3.0, 4.0}, {5.0, 6.0}});
  const JointTrajectory trajectory(kPositions, velocities, 2.0 * velocities, kTimes, std::nullopt, 3.0 * velocities);
  for (const bool include_derivatives : {false, true}) {
    const JointTrajectory copy = SampleTrajectoryAtTimes(trajectory, Vector(0), include_derivatives);
    EXPECT_TRUE(SameBits(kPositions, copy.positions));
    EXPECT_TRUE(SameBits(kTimes, copy.time));
    EXPECT_TRUE(SameBits(velocities, copy.velocities()));
    EXPECT_TRUE(SameBits(2.0 * velocities, copy.accelerations()));
    EXPECT_TRUE(SameBits(3.0 * velocities, copy.jerks()));
  }
}

TEST(SampleTrajectoryAtTimes, FillsNoCacheForNoQuery) {
  const JointTrajectory trajectory = OverflowingWhenDifferentiated();
  EXPECT_NO_THROW(SampleTrajectoryAtTimes(trajectory, Vector(0), true));
  EXPECT_NO_THROW(trajectory.Copy());
}

TEST(SampleTrajectoryAtTimes, FillsNoCacheWithoutDerivatives) {
  const JointTrajectory trajectory = OverflowingWhenDifferentiated();
  EXPECT_NO_THROW(SampleTrajectoryAtTimes(trajectory, Values({0.0, 1e-3}), false));
  EXPECT_NO_THROW(trajectory.Copy());
  ExpectInvalidArgument(
      [&] {
        SampleTrajectoryAtTimes(trajectory, Values({0.0, 1e-3}), true);
      },
      "JointTrajectory.velocities must contain only finite values.");
}

TEST(SampleTrajectoryAtTimes, InterpolatesTheDerivativesOfTheSource) {
  const Matrix velocities = Rows({{1.0, 2.0}, {3.0, 4.0}, {5.0, 8.0}});
  const Matrix accelerations = Rows({{-1.0, 0.0}, {1.0, 4.0}, {7.0, 8.0}});
  const JointTrajectory trajectory(kPositions, velocities, accelerations, kTimes, std::nullopt,
                                   Matrix::Constant(3, 2, 99.0));
  const JointTrajectory sampled = SampleTrajectoryAtTimes(trajectory, Values({0.25, 0.75}), true);
  EXPECT_TRUE(SameBits(Rows({{2.0, 3.0}, {4.0, 6.0}}), sampled.velocities()));
  EXPECT_TRUE(SameBits(Rows({{0.0, 2.0}, {4.0, 6.0}}), sampled.accelerations()));
  EXPECT_TRUE(SameBits(Rows({{8.0, 8.0}, {8.0, 8.0}}), sampled.jerks())) << "jerks are never carried over";
}

TEST(SampleTrajectoryAtTimes, DropsTheDerivativesOfTheSourceOtherwise) {
  const Matrix velocities = Rows({{1.0, 2.0}, {3.0, 4.0}, {5.0, 8.0}});
  const JointTrajectory trajectory(kPositions, velocities, velocities, kTimes, std::nullopt, velocities);
  const JointTrajectory sampled = SampleTrajectoryAtTimes(trajectory, Values({0.0, 1.0}), false);
  EXPECT_TRUE(SameBits(Rows({{3.0, 10.0}, {3.0, 10.0}}), sampled.velocities()));
}

TEST(SampleTrajectoryAtTimes, ComputesTheDerivativesOfTheSourceFirst) {
  const JointTrajectory sampled = SampleTrajectoryAtTimes(Trajectory(), Values({0.0, 1.0}), true);
  EXPECT_TRUE(SameBits(Rows({{1.0, 30.0}, {5.0, -10.0}}), sampled.velocities()));
}

TEST(ResampleTrajectoryLinearly, GivesTheSameGridInEveryModeForAnExactMultiple) {
  for (int mode = 0; mode < 4; ++mode) {
    const JointTrajectory resampled = ResampleTrajectory(Trajectory(), 0.25, ResamplingMethod::linear,
                                                         static_cast<ResamplingTimeGridMode>(mode), false);
    EXPECT_TRUE(SameBits(Values({0.0, 0.25, 0.5, 0.75, 1.0}), resampled.time)) << mode;
    EXPECT_TRUE(SameBits(Rows({{0.0, 10.0}, {0.5, 15.0}, {1.0, 20.0}, {2.0, 20.0}, {3.0, 20.0}}), resampled.positions));
  }
}

TEST(ResampleTrajectoryLinearly, PlacesTheGridAsTheModeSays) {
  const auto resample = [](ResamplingTimeGridMode mode) {
    return ResampleTrajectory(Trajectory(), 0.4, ResamplingMethod::linear, mode, true);
  };
  const JointTrajectory appended = resample(ResamplingTimeGridMode::exact_dt_append_endpoint);
  EXPECT_TRUE(SameBits(Values({0.0, 0.4, 0.8, 1.0}), appended.time));
  EXPECT_TRUE(testing::IsNear(Rows({{0.0, 10.0}, {0.8, 18.0}, {2.2, 20.0}, {3.0, 20.0}}), appended.positions,
                              20.0 * testing::kEpsilon));
  const JointTrajectory trimmed = resample(ResamplingTimeGridMode::exact_dt_trim);
  EXPECT_TRUE(SameBits(Values({0.0, 0.4, 0.8}), trimmed.time));
  EXPECT_TRUE(SameBits(Matrix(appended.positions.topRows(3)), trimmed.positions));
  const JointTrajectory adjusted = resample(ResamplingTimeGridMode::exact_duration_adjust_dt);
  EXPECT_TRUE(SameBits(kTimes, adjusted.time));
  EXPECT_TRUE(SameBits(kPositions, adjusted.positions));
  const JointTrajectory extended = resample(ResamplingTimeGridMode::exact_dt_extend_endpoint);
  EXPECT_TRUE(SameBits(Values({0.0, 0.4, 0.8, 1.2000000000000002}), extended.time));
  EXPECT_TRUE(SameBits(Matrix(Rows({{3.0, 20.0}})), Matrix(extended.positions.bottomRows(1))));
}

TEST(ResampleTrajectoryLinearly, ReturnsTheOneSampleForAnyMode) {
  const JointTrajectory one(Rows({{1.0, 2.0}}), std::nullopt, std::nullopt, Values({2.0}), std::nullopt, std::nullopt);
  for (const int mode : {-1, 0, 1, 2, 3, 4, 7}) {
    const JointTrajectory resampled =
        ResampleTrajectory(one, 0.1, ResamplingMethod::linear, static_cast<ResamplingTimeGridMode>(mode), false);
    EXPECT_TRUE(SameBits(Values({2.0}), resampled.time));
    EXPECT_TRUE(SameBits(Rows({{1.0, 2.0}}), resampled.positions));
  }
}

TEST(ResampleTrajectoryLinearly, CarriesNoDerivativeOfTheInput) {
  const JointTrajectory trajectory(Rows({{0.0}, {1.0}, {2.0}}), Matrix::Constant(3, 1, 9.0),
                                   Matrix::Constant(3, 1, 9.0), kTimes, std::nullopt, Matrix::Constant(3, 1, 9.0));
  const JointTrajectory resampled =
      ResampleTrajectory(trajectory, 0.5, ResamplingMethod::linear, ResamplingTimeGridMode::exact_dt_trim, false);
  EXPECT_TRUE(SameBits(Matrix::Constant(3, 1, 2.0), resampled.velocities()));
  EXPECT_TRUE(SameBits(Matrix::Zero(3, 1), resampled.accelerations()));
  EXPECT_TRUE(SameBits(Matrix::Zero(3, 1), resampled.jerks()));
}

}  // namespace
}  // namespace velmora::util::timing
