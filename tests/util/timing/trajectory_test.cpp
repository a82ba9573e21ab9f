// The trajectory record: its fields, derivatives and copies.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/util/timing/trajectory.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <type_traits>
#include <utility>

#include "oracle/differentiation.hpp"
#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"

namespace velmora::util::timing {
namespace {

using testing::ExpectInvalidArgument;
using testing::kNan;
using testing::Rows;
using testing::SameBits;
using testing::ToStd;
using testing::ToTable;
using testing::Values;

static_assert(std::is_constructible_v<JointTrajectory, Matrix, std::optional<Matrix>, std::optional<Matrix>,
                                      std::optional<Vector>, std::optional<double>, std::optional<Matrix>>);
static_assert(std::is_same_v<decltype(&JointTrajectory::velocities), const Matrix& (JointTrajectory::*)() const>);
static_assert(std::is_same_v<decltype(&JointTrajectory::accelerations), const Matrix& (JointTrajectory::*)() const>);
static_assert(std::is_same_v<decltype(&JointTrajectory::jerks), const Matrix& (JointTrajectory::*)() const>);
static_assert(std::is_same_v<decltype(&JointTrajectory::Copy), JointTrajectory (JointTrajectory::*)() const>);
static_assert(std::is_same_v<decltype(JointTrajectory::positions), Matrix>);
static_assert(std::is_same_v<decltype(JointTrajectory::time), Vector>);
static_assert(sizeof(JointTrajectory) == sizeof(Matrix) + sizeof(Vector) + 3 * sizeof(std::optional<Matrix>));
static_assert(std::is_nothrow_move_constructible_v<JointTrajectory>);

JointTrajectory AtTimes(const Matrix& positions, const Vector& time) {
  return {positions, std::nullopt, std::nullopt, time, std::nullopt, std::nullopt};
}

JointTrajectory WithSpacing(const Matrix& positions, double dt) {
  return {positions, std::nullopt, std::nullopt, std::nullopt, dt, std::nullopt};
}

Matrix Derivative(const Matrix& signal, const Vector& time) {
  const oracle::Table derivative = oracle::ThreePointSampleDerivative(ToTable(signal), ToStd(time));
  Matrix matrix(signal.rows(), signal.cols());
  for (Eigen::Index k = 0; k < matrix.size(); ++k) matrix.data()[k] = derivative.values[static_cast<std::size_t>(k)];
  return matrix;
}

const Vector kTimes = Values({0.0, 1.0, 3.0, 4.0});
const Matrix kPositions = Rows({{0.0, 1.0}, {1.0, 5.0}, {9.0, 2.0}, {16.0, -3.0}});
const Matrix kOther = Rows({{1.0, 2.0}, {-3.0, 4.0}, {5.0, -6.0}, {7.0, 8.0}});

// Finite positions whose first derivative overflows, so that a cache filled from them is not finite.
JointTrajectory OverflowingWhenDifferentiated() { return WithSpacing(Rows({{-1e308}, {1e308}, {-1e308}}), 1e-3); }

TEST(JointTrajectory, HoldsItsFieldsInTheDocumentedOrder) {
  const JointTrajectory trajectory = AtTimes(kPositions, kTimes);
  const auto offset = [&](const void* field) {
    return reinterpret_cast<const char*>(field) - reinterpret_cast<const char*>(&trajectory);
  };
  constexpr long kCaches = sizeof(Matrix) + sizeof(Vector);
  constexpr long kCache = sizeof(std::optional<Matrix>);
  EXPECT_EQ(offset(&trajectory.positions), 0);
  EXPECT_EQ(offset(&trajectory.time), static_cast<long>(sizeof(Matrix)));
  EXPECT_EQ(offset(&trajectory.velocities()), kCaches);
  EXPECT_EQ(offset(&trajectory.accelerations()), kCaches + kCache);
  EXPECT_EQ(offset(&trajectory.jerks()), kCaches + 2 * kCache);
}

TEST(JointTrajectory, ComputesTimesFromTheIndexNotByARunningSum) {
  const JointTrajectory trajectory = WithSpacing(Matrix::Zero(7, 1), 0.1);
  EXPECT_TRUE(SameBits(Values({0.0, 0.1, 0.2, 0.30000000000000004, 0.4, 0.5, 0.6000000000000001}), trajectory.time));
}

TEST(JointTrajectory, KeepsTheTimesGivenAndIgnoresTheSpacingThen) {
  for (const std::optional<double>& dt :
       {std::optional<double>(), std::optional<double>(kNan), std::optional<double>(0.0), std::optional<double>(-1.0),
        std::optional<double>(0.5)}) {
    const JointTrajectory trajectory(kPositions, std::nullopt, std::nullopt, kTimes, dt, std::nullopt);
    EXPECT_TRUE(SameBits(kTimes, trajectory.time));
  }
}

TEST(JointTrajectory, AcceptsASingleSampleAtAnyFiniteTime) {
  EXPECT_TRUE(SameBits(Values({7.25}), AtTimes(Rows({{1.0}}), Values({7.25})).time));
  EXPECT_TRUE(SameBits(Values({-0.0}), AtTimes(Rows({{1.0}}), Values({-0.0})).time));
  const JointTrajectory trajectory = WithSpacing(Rows({{1.0, 2.0}}), 0.5);
  EXPECT_TRUE(SameBits(Values({0.0}), trajectory.time));
  EXPECT_TRUE(SameBits(Rows({{0.0, 0.0}}), trajectory.velocities()));
  EXPECT_TRUE(SameBits(Rows({{0.0, 0.0}}), trajectory.accelerations()));
  EXPECT_TRUE(SameBits(Rows({{0.0, 0.0}}), trajectory.jerks()));
}

TEST(JointTrajectory, AcceptsNoJoints) {
  const JointTrajectory trajectory = WithSpacing(Matrix(3, 0), 0.5);
  EXPECT_TRUE(SameBits(Matrix(3, 0), trajectory.velocities()));
  EXPECT_TRUE(SameBits(Matrix(3, 0), trajectory.accelerations()));
  EXPECT_TRUE(SameBits(Matrix(3, 0), trajectory.jerks()));
}

TEST(JointTrajectory, DifferentiatesLevelByLevel) {
  const JointTrajectory trajectory = AtTimes(kPositions, kTimes);
  const Matrix velocities = Derivative(kPositions, kTimes);
  const Matrix accelerations = Derivative(velocities, kTimes);
  EXPECT_TRUE(SameBits(Derivative(accelerations, kTimes), trajectory.jerks()));
  EXPECT_TRUE(SameBits(accelerations, trajectory.accelerations()));
  EXPECT_TRUE(SameBits(velocities, trajectory.velocities()));
}

TEST(JointTrajectory, DifferentiatesSuppliedVelocities) {
  const JointTrajectory trajectory(kPositions, kOther, std::nullopt, kTimes, std::nullopt, std::nullopt);
  EXPECT_TRUE(SameBits(kOther, trajectory.velocities()));
  EXPECT_TRUE(SameBits(Derivative(kOther, kTimes), trajectory.accelerations()));
}

// Velocities computed on the way would overflow, and the copy would be rejected.
TEST(JointTrajectory, DifferentiatesSuppliedAccelerationsWithoutTouchingTheVelocities) {
  const Matrix accelerations = Rows({{1.0}, {2.0}, {4.0}});
  const Vector time = Values({0.0, 1e-3, 2e-3});
  const JointTrajectory trajectory(Rows({{-1e308}, {1e308}, {-1e308}}), std::nullopt, accelerations, time, std::nullopt,
                                   std::nullopt);
  EXPECT_TRUE(SameBits(Derivative(accelerations, time), trajectory.jerks()));
  EXPECT_TRUE(SameBits(accelerations, trajectory.accelerations()));
  EXPECT_NO_THROW(trajectory.Copy());
}

TEST(JointTrajectory, ReturnsSuppliedDerivativesAndTheSameReferenceAgain) {
  const JointTrajectory trajectory(kPositions, kOther, 2.0 * kOther, kTimes, std::nullopt, 3.0 * kOther);
  EXPECT_TRUE(SameBits(kOther, trajectory.velocities()));
  EXPECT_TRUE(SameBits(2.0 * kOther, trajectory.accelerations()));
  EXPECT_TRUE(SameBits(3.0 * kOther, trajectory.jerks()));
  const JointTrajectory computed = AtTimes(kPositions, kTimes);
  EXPECT_EQ(computed.velocities().data(), computed.velocities().data());
  const double* velocities = computed.velocities().data();
  static_cast<void>(computed.jerks());
  EXPECT_EQ(computed.velocities().data(), velocities) << "a present cache is never computed again";
}

TEST(JointTrajectory, TakesOverItsArguments) {
  Matrix positions = kPositions;
  Matrix velocities = kOther;
  Vector time = kTimes;
  const double* buffers[] = {positions.data(), velocities.data(), time.data()};
  const JointTrajectory trajectory(std::move(positions), std::move(velocities), std::nullopt, std::move(time),
                                   std::nullopt, std::nullopt);
  EXPECT_EQ(trajectory.positions.data(), buffers[0]);
  EXPECT_EQ(trajectory.velocities().data(), buffers[1]);
  EXPECT_EQ(trajectory.time.data(), buffers[2]);
}

TEST(JointTrajectory, MovesWithItsCaches) {
  JointTrajectory source = AtTimes(kPositions, kTimes);
  const double* velocities = source.velocities().data();
  const double* positions = source.positions.data();
  const JointTrajectory moved(std::move(source));
  EXPECT_EQ(moved.positions.data(), positions);
  EXPECT_EQ(moved.velocities().data(), velocities);
  EXPECT_TRUE(SameBits(kTimes, moved.time));
}

TEST(JointTrajectoryCopy, IsIndependentAndEqual) {
  JointTrajectory original(kPositions, kOther, 2.0 * kOther, kTimes, std::nullopt, 3.0 * kOther);
  const JointTrajectory copy = original.Copy();
  original.positions.setZero();
  original.time.setZero();
  EXPECT_TRUE(SameBits(kPositions, copy.positions));
  EXPECT_TRUE(SameBits(kTimes, copy.time));
  EXPECT_TRUE(SameBits(kOther, copy.velocities()));
  EXPECT_TRUE(SameBits(2.0 * kOther, copy.accelerations()));
  EXPECT_TRUE(SameBits(3.0 * kOther, copy.jerks()));
}

// Positions changed behind the cache show whether the copy carries the cached values or computes them anew.
TEST(JointTrajectoryCopy, CarriesComputedDerivatives) {
  JointTrajectory original = AtTimes(kPositions, kTimes);
  const Matrix velocities = original.velocities();
  const Matrix accelerations = original.accelerations();
  const Matrix jerks = original.jerks();
  original.positions = 5.0 * kOther;
  const JointTrajectory copy = original.Copy();
  EXPECT_TRUE(SameBits(velocities, copy.velocities()));
  EXPECT_TRUE(SameBits(accelerations, copy.accelerations()));
  EXPECT_TRUE(SameBits(jerks, copy.jerks()));
}

TEST(JointTrajectoryCopy, ComputesNothingThatWasNotPresent) {
  const JointTrajectory original = OverflowingWhenDifferentiated();
  const JointTrajectory copy = original.Copy();
  EXPECT_NO_THROW(copy.Copy());
  EXPECT_NO_THROW(original.Copy());
}

TEST(JointTrajectoryCopy, PassesTheConstructorAgain) {
  const JointTrajectory overflowed = OverflowingWhenDifferentiated();
  static_cast<void>(overflowed.velocities());
  ExpectInvalidArgument([&] { overflowed.Copy(); }, "JointTrajectory.velocities must contain only finite values.");
  JointTrajectory spoiled = AtTimes(kPositions, kTimes);
  spoiled.time[2] = spoiled.time[1];
  ExpectInvalidArgument([&] { spoiled.Copy(); }, "JointTrajectory.time must be strictly increasing.");
  spoiled.positions(0, 0) = kNan;
  ExpectInvalidArgument([&] { spoiled.Copy(); }, "JointTrajectory.positions must contain only finite values.");
}

TEST(TrajectoryAtTimes, IsTheConstructorWithPositionsAndTimes) {
  const Matrix positions = Rows({{0.0, 1.0}, {0.5, -1.0}});
  const JointTrajectory trajectory = TrajectoryAtTimes(positions, Values({0.25, 1.0}));
  EXPECT_TRUE(SameBits(trajectory.positions, positions));
  EXPECT_TRUE(SameBits(trajectory.time, Values({0.25, 1.0})));
  EXPECT_TRUE(SameBits(trajectory.velocities(), AtTimes(positions, Values({0.25, 1.0})).velocities()));
  ExpectInvalidArgument([&] { TrajectoryAtTimes(positions, Values({0.25})); },
                        "JointTrajectory.positions must align with JointTrajectory.time.");
}

TEST(TrajectoryAtTimes, TakesOverWhatIsMovedIn) {
  Matrix positions = Rows({{0.0, 1.0}, {0.5, -1.0}});
  Vector time = Values({0.25, 1.0});
  const double* moved_positions = positions.data();
  const double* moved_time = time.data();
  const JointTrajectory trajectory = TrajectoryAtTimes(std::move(positions), std::move(time));
  EXPECT_EQ(trajectory.positions.data(), moved_positions);
  EXPECT_EQ(trajectory.time.data(), moved_time);
}

TEST(TrajectoryAtSpacing, IsTheConstructorWithPositionsAndSpacing) {
  const Matrix positions = Rows({{0.0}, {0.5}, {3.0}});
  const JointTrajectory trajectory = TrajectoryAtSpacing(positions, 0.1);
  EXPECT_TRUE(SameBits(trajectory.positions, positions));
  EXPECT_TRUE(SameBits(trajectory.time, Values({0.0, 0.1, 2 * 0.1})));
  ExpectInvalidArgument([&] { TrajectoryAtSpacing(positions, 0.0); },
                        "JointTrajectory.dt must be finite and positive.");
}

}  // namespace
}  // namespace velmora::util::timing
