// The code of the guide's page on the trajectory and its derivatives.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <velmora/util/timing/differentiation.hpp>
#include <velmora/util/timing/limits.hpp>
#include <velmora/util/timing/resampling.hpp>
#include <velmora/util/timing/trajectory.hpp>

#include <limits>

#include "guide_support.hpp"

namespace {

using namespace velmora::util::timing;

TEST(GuideTrajectory, IsBuiltFromSampleTimesOrFromASpacing) {
  //! [build]
  const Matrix positions{{0.0, 10.0}, {1.0, 20.0}, {3.0, 20.0}};  // 3 samples of 2 joints
  const Vector time{{0.0, 0.5, 1.0}};

  const JointTrajectory timed = TrajectoryAtTimes(positions, time);
  const JointTrajectory spaced = TrajectoryAtSpacing(positions, 0.5);
  EXPECT_EQ(timed.time, spaced.time);
  //! [build]
}

TEST(GuideTrajectory, ComputesSpacedTimesFromTheIndex) {
  //! [index]
  const JointTrajectory spaced = TrajectoryAtSpacing(Matrix::Zero(7, 1), 0.1);
  EXPECT_EQ(spaced.time[6], 6 * 0.1);
  EXPECT_EQ(spaced.time[6], 0.6000000000000001);
  EXPECT_NE(spaced.time[6], 0.1 + 0.1 + 0.1 + 0.1 + 0.1 + 0.1);  // 0.6, or 0.1 more often: another number
  //! [index]
}

TEST(GuideTrajectory, DifferentiatesAParabolaExactly) {
  //! [parabola]
  const Vector time{{0.0, 1.0, 3.0, 4.0}};  // uneven on purpose
  const Matrix squares{{0.0}, {1.0}, {9.0}, {16.0}};

  const JointTrajectory parabola = TrajectoryAtTimes(squares, time);
  EXPECT_TRUE(parabola.velocities().isApprox(Matrix{{0.0}, {2.0}, {6.0}, {8.0}}));
  EXPECT_TRUE(parabola.accelerations().isApprox(Matrix{{2.0}, {2.0}, {2.0}, {2.0}}));

  const Matrix forward = SampleAlignedFirstDifference(squares, time);
  EXPECT_EQ(forward, (Matrix{{1.0}, {4.0}, {7.0}, {7.0}}));
  //! [parabola]
}

TEST(GuideTrajectory, DerivesEachLevelFromTheOneBelow) {
  //! [supplied]
  const Matrix measured_velocities{{5.0}, {6.0}, {7.0}};
  // Arguments: positions, velocities, accelerations, time, dt, jerks. What is not known is std::nullopt.
  const JointTrajectory held(Matrix::Zero(3, 1), measured_velocities, std::nullopt, std::nullopt, 1.0, std::nullopt);
  EXPECT_EQ(held.velocities(), measured_velocities);               // as supplied, although the positions do not move
  EXPECT_EQ(held.accelerations(), (Matrix{{1.0}, {1.0}, {1.0}}));  // the derivative of what was supplied
  //! [supplied]
}

TEST(GuideTrajectory, DifferentiatesFewSamples) {
  //! [few]
  const JointTrajectory two = TrajectoryAtTimes(Matrix{{0.0}, {2.0}}, Vector{{0.0, 0.5}});
  EXPECT_EQ(two.velocities(), (Matrix{{4.0}, {4.0}}));
  EXPECT_EQ(two.accelerations(), Matrix::Zero(2, 1));

  const JointTrajectory one = TrajectoryAtTimes(Matrix::Ones(1, 1), Vector::Constant(1, 7.25));
  EXPECT_EQ(one.velocities(), Matrix::Zero(1, 1));
  //! [few]
}

TEST(GuideTrajectory, ReportsAnOverflowedCacheWhenItIsCopied) {
  //! [overflow]
  const JointTrajectory extreme = TrajectoryAtTimes(Matrix{{-1.5e308}, {1.5e308}, {-1.5e308}}, Vector{{0.0, 1.0, 2.0}});
  EXPECT_EQ(MessageOf([&] { extreme.Copy(); }), "no error");

  EXPECT_EQ(extreme.velocities()(0, 0), std::numeric_limits<double>::infinity());
  const std::string refused = "JointTrajectory.velocities must contain only finite values.";
  EXPECT_EQ(MessageOf([&] { extreme.Copy(); }), refused);
  const Vector halfway = Vector::Constant(1, 0.5);
  EXPECT_EQ(MessageOf([&] { SampleTrajectoryAtTimes(extreme, halfway, true); }), refused);
  EXPECT_EQ(MessageOf([&] { SampleTrajectoryAtTimes(extreme, halfway, false); }), "no error");
  //! [overflow]
}

TEST(GuideTrajectory, ReportsOverflowedTimesWhenItIsCopied) {
  //! [overflowed_times]
  const JointTrajectory endless = TrajectoryAtSpacing(Matrix::Zero(3, 1), 1e308);
  EXPECT_EQ(endless.time[2], std::numeric_limits<double>::infinity());
  EXPECT_EQ(MessageOf([&] { endless.Copy(); }), "JointTrajectory.time must contain only finite values.");
  //! [overflowed_times]
}

TEST(GuideTrajectory, LimitsAreCheckedRecords) {
  //! [limits]
  const JointStateBox speed(Vector{{-2.0, -1.5}}, Vector{{2.0, 1.5}});  // rad/s, two joints
  const JointStateLimits limits(std::nullopt, speed, std::nullopt, std::nullopt);

  const JointTrajectory move = TrajectoryAtTimes(Matrix{{0.0, 0.0}, {1.0, 1.0}}, Vector{{0.0, 0.6}});
  const Vector peak_speed = move.velocities().cwiseAbs().colwise().maxCoeff();
  EXPECT_LE(peak_speed[0], limits.velocity->upper[0]);
  EXPECT_GT(peak_speed[1], limits.velocity->upper[1]);
  //! [limits]
}

}  // namespace
