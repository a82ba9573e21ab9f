// The checks of the trajectory's constructor and their order.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "support/arrays.hpp"
#include "support/expect_throws.hpp"
#include "velmora/util/timing/trajectory.hpp"

namespace velmora::util::timing {
namespace {

using testing::ExpectInvalidArgument;
using testing::kInfinity;
using testing::kLargest;
using testing::kNan;
using testing::Rows;
using testing::Values;

constexpr char kNoSample[] =
    "JointTrajectory requires at least 1 sample to support velocity and acceleration evaluation, got 0.";
constexpr char kPositionsFinite[] = "JointTrajectory.positions must contain only finite values.";
constexpr char kAlign[] = "JointTrajectory.positions must align with JointTrajectory.time.";
constexpr char kTimeFinite[] = "JointTrajectory.time must contain only finite values.";
constexpr char kIncreasing[] = "JointTrajectory.time must be strictly increasing.";
constexpr char kNoTimes[] = "Either `time` or `dt` must be provided.";
constexpr char kSpacing[] = "JointTrajectory.dt must be finite and positive.";

// The arguments of the constructor; by default they are admissible and have three samples of two joints.
struct Arguments {
  Matrix positions = Matrix::Zero(3, 2);
  std::optional<Matrix> velocities;
  std::optional<Matrix> accelerations;
  std::optional<Vector> time = Vector::LinSpaced(3, 0.0, 2.0);
  std::optional<double> dt;
  std::optional<Matrix> jerks;
};

JointTrajectory Make(const Arguments& given) {
  return {given.positions, given.velocities, given.accelerations, given.time, given.dt, given.jerks};
}

void ExpectRejected(const Arguments& given, const std::string& message, const char* file = __builtin_FILE(),
                    int line = __builtin_LINE()) {
  ExpectInvalidArgument([&] { Make(given); }, message, file, line);
}

Matrix NonFinite(Eigen::Index rows, Eigen::Index cols) {
  Matrix matrix = Matrix::Zero(rows, cols);
  matrix(rows - 1, cols - 1) = kNan;
  return matrix;
}

TEST(JointTrajectoryChecks, AcceptsTheArgumentsThatTheOtherTestsSpoil) { EXPECT_NO_THROW(Make(Arguments())); }

TEST(JointTrajectoryChecks, ThrowsWithoutSamplesWhateverElseIsPassed) {
  Arguments given;
  given.positions = Matrix(0, 2);
  ExpectRejected(given, kNoSample);
  given.time = Values({1.0, kNan, 0.0});
  given.dt = kNan;
  given.velocities = NonFinite(2, 5);
  ExpectRejected(given, kNoSample);
  given.time = std::nullopt;
  ExpectRejected(given, kNoSample);
  given.dt = std::nullopt;
  ExpectRejected(given, kNoSample);
  given.positions = Matrix(0, 0);
  ExpectRejected(given, kNoSample);
}

TEST(JointTrajectoryChecks, ThrowsForPositionsThatAreNotFiniteBeforeLookingAtTheTimes) {
  for (const double bad : {kNan, kInfinity, -kInfinity}) {
    for (Eigen::Index place = 0; place < 6; ++place) {
      Arguments given;
      given.positions.data()[place] = bad;
      ExpectRejected(given, kPositionsFinite);
      given.time = Values({0.0});
      ExpectRejected(given, kPositionsFinite);
      given.time = std::nullopt;
      ExpectRejected(given, kPositionsFinite);
      given.dt = -1.0;
      ExpectRejected(given, kPositionsFinite);
    }
  }
}

TEST(JointTrajectoryChecks, AcceptsTheLargestPositions) {
  Arguments given;
  given.positions = Matrix::Constant(3, 2, kLargest);
  EXPECT_NO_THROW(Make(given));
}

TEST(JointTrajectoryChecks, ThrowsForTimesOfAnotherLengthBeforeTheirValues) {
  for (const Vector& time : {Values({}), Values({0.0, 1.0}), Values({0.0, 1.0, 2.0, 3.0}), Values({kNan, 1.0}),
                             Values({1.0, kNan, 0.0, 0.0})}) {
    Arguments given;
    given.time = time;
    ExpectRejected(given, kAlign);
  }
}

TEST(JointTrajectoryChecks, ThrowsForTimesThatAreNotFiniteBeforeTheirOrder) {
  for (const double bad : {kNan, kInfinity, -kInfinity}) {
    for (Eigen::Index place = 0; place < 3; ++place) {
      Arguments given;
      (*given.time)[place] = bad;
      ExpectRejected(given, kTimeFinite);
      given.time = Values({2.0, 1.0, 0.0});
      (*given.time)[place] = bad;
      ExpectRejected(given, kTimeFinite);
    }
  }
  Arguments single;
  single.positions = Rows({{1.0}});
  single.time = Values({kInfinity});
  ExpectRejected(single, kTimeFinite);
}

TEST(JointTrajectoryChecks, ThrowsForTimesThatDoNotIncrease) {
  for (const Vector& time : {Values({0.0, 1.0, 1.0}), Values({0.0, 0.0, 1.0}), Values({0.0, -1.0, 1.0}),
                             Values({2.0, 1.0, 0.0}), Values({0.0, 2.0, 1.0}), Values({-0.0, 0.0, 1.0})}) {
    Arguments given;
    given.time = time;
    ExpectRejected(given, kIncreasing);
    given.velocities = NonFinite(3, 1);
    ExpectRejected(given, kIncreasing);
  }
}

TEST(JointTrajectoryChecks, ChecksTheTimesEvenWithoutJoints) {
  Arguments given;
  given.positions = Matrix(3, 0);
  given.time = Values({0.0, 1.0, 1.0});
  ExpectRejected(given, kIncreasing);
}

TEST(JointTrajectoryChecks, ThrowsWithoutTimesAndSpacing) {
  Arguments given;
  given.time = std::nullopt;
  ExpectRejected(given, kNoTimes);
  given.velocities = Matrix(1, 1);
  ExpectRejected(given, kNoTimes);
}

TEST(JointTrajectoryChecks, ThrowsForASpacingThatIsNotFiniteAndPositive) {
  for (const double dt : {0.0, -0.0, -1.0, kNan, kInfinity, -kInfinity}) {
    Arguments given;
    given.time = std::nullopt;
    given.dt = dt;
    ExpectRejected(given, kSpacing);
    given.velocities = Matrix(1, 1);
    ExpectRejected(given, kSpacing);
  }
}

// Times built from a spacing are not tested again: an index times the spacing may overflow.
TEST(JointTrajectoryChecks, AcceptsEveryFinitePositiveSpacing) {
  for (const double dt : {testing::kSmallest, kLargest}) {
    Arguments given;
    given.time = std::nullopt;
    given.dt = dt;
    EXPECT_NO_THROW(Make(given)) << dt;
  }
}

TEST(JointTrajectoryChecks, ThrowsForDerivativesOfAnotherShapeBeforeTheirValues) {
  for (const Matrix& wrong : {NonFinite(2, 2), NonFinite(4, 2), NonFinite(3, 1), NonFinite(3, 3), NonFinite(2, 3),
                              Matrix(0, 0), Matrix(3, 0), Matrix(0, 2)}) {
    Arguments given;
    given.velocities = wrong;
    ExpectRejected(given, "JointTrajectory.velocities must match JointTrajectory.positions shape.");
    given.velocities = std::nullopt;
    given.accelerations = wrong;
    ExpectRejected(given, "JointTrajectory.accelerations must match JointTrajectory.positions shape.");
    given.accelerations = std::nullopt;
    given.jerks = wrong;
    ExpectRejected(given, "JointTrajectory.jerks must match JointTrajectory.positions shape.");
  }
}

TEST(JointTrajectoryChecks, ThrowsForDerivativesThatAreNotFinite) {
  for (const double bad : {kNan, kInfinity, -kInfinity}) {
    Matrix wrong = Matrix::Zero(3, 2);
    wrong(1, 1) = bad;
    Arguments given;
    given.velocities = wrong;
    ExpectRejected(given, "JointTrajectory.velocities must contain only finite values.");
    given.velocities = Matrix::Zero(3, 2);
    given.accelerations = wrong;
    ExpectRejected(given, "JointTrajectory.accelerations must contain only finite values.");
    given.accelerations = Matrix::Zero(3, 2);
    given.jerks = wrong;
    ExpectRejected(given, "JointTrajectory.jerks must contain only finite values.");
  }
}

TEST(JointTrajectoryChecks, ReportsVelocitiesThenAccelerationsThenJerks) {
  Arguments given;
  given.velocities = NonFinite(3, 2);
  given.accelerations = Matrix::Zero(2, 2);
  ExpectRejected(given, "JointTrajectory.velocities must contain only finite values.");
  given.velocities = std::nullopt;
  given.accelerations = NonFinite(3, 2);
  given.jerks = Matrix::Zero(2, 2);
  ExpectRejected(given, "JointTrajectory.accelerations must contain only finite values.");
  given.velocities = Matrix::Zero(3, 1);
  ExpectRejected(given, "JointTrajectory.velocities must match JointTrajectory.positions shape.");
}

TEST(JointTrajectoryChecks, ChecksTheShapesOfDerivativesWithoutJoints) {
  Arguments given;
  given.positions = Matrix(3, 0);
  given.velocities = Matrix(3, 0);
  EXPECT_NO_THROW(Make(given));
  given.velocities = Matrix(2, 0);
  ExpectRejected(given, "JointTrajectory.velocities must match JointTrajectory.positions shape.");
}

TEST(JointTrajectoryChecks, LeavesArgumentsThatWereCopiedUnchanged) {
  Arguments given;
  given.positions(2, 1) = kNan;
  ExpectRejected(given, kPositionsFinite);
  EXPECT_EQ(given.positions.rows(), 3);
  EXPECT_EQ(given.time, Values({0.0, 1.0, 2.0}));
}

}  // namespace
}  // namespace velmora::util::timing
