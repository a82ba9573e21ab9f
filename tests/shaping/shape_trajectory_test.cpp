// Shaped trajectories: literal cases, a plain oracle, the checks, and what the ends report.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/shape_trajectory.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <vector>

#include "shaping/commands.hpp"
#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"
#include "support/generator.hpp"
#include "velmora/shaping/designs.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::shaping {
namespace {

using native::Matrix;
using testing::Column;
using testing::ExpectInvalidArgument;
using testing::Halves;
using testing::IsNear;
using testing::kInfinity;
using testing::kNan;
using testing::Rows;
using testing::SameBits;
using testing::SmoothMove;
using testing::Trajectory;
using testing::Values;

constexpr ResamplingMethod kLinear = ResamplingMethod::linear;
constexpr ResamplingMethod kCubic = ResamplingMethod::cubic;

TEST(ShapeTrajectory, AddsDelayedCopiesAtTheirExactTimes) {
  // Half a sample off the grid the copies lie between the samples of the raw command.
  const JointTrajectory raw = Trajectory(Rows({{0.0}, {1.0}, {2.0}, {3.0}}), Values({0.0, 1.0, 2.0, 3.0}));
  const ShapedCommand shaped = ShapeTrajectory(raw, {Halves(0.5)}, 1.0, kLinear);
  EXPECT_TRUE(SameBits(Rows({{0.0}, {0.75}, {1.75}, {2.75}}), shaped.move.positions));
  EXPECT_TRUE(SameBits(Rows({{3.0}}), shaped.tail.positions));
  EXPECT_TRUE(SameBits(Values({0.0, 1.0, 2.0, 3.0}), shaped.move.time));
  EXPECT_TRUE(SameBits(Values({4.0}), shaped.tail.time));
  // Both copies move in between; the first alone at the very start, and none after the end.
  EXPECT_TRUE(SameBits(Rows({{0.5}, {1.0}, {1.0}, {1.0}}), shaped.move.velocities));
  EXPECT_TRUE(SameBits(Rows({{0.0}}), shaped.tail.velocities));
  EXPECT_EQ(shaped.added_duration_s, 0.5);
  EXPECT_EQ(shaped.lag_s, 0.25);
}

TEST(ShapeTrajectory, ReportsTheStepsOfACommandThatIsNotAtRest) {
  const JointTrajectory raw = Trajectory(Rows({{0.0, 7.0}, {1.0, 7.0}, {3.0, 7.0}}), Values({0.0, 1.0, 2.0}));
  const ShapedCommand shaped = ShapeTrajectory(raw, {Halves(0.5)}, 1.0, kCubic);  // the parabola (t + t^2) / 2
  EXPECT_TRUE(IsNear(Values({0.5, 0.0}), shaped.start_velocity, 1e-14));
  EXPECT_TRUE(IsNear(Values({2.5, 0.0}), shaped.end_velocity, 1e-14));
  EXPECT_TRUE(IsNear(Values({1.0, 0.0}), shaped.start_acceleration, 1e-14));
  EXPECT_TRUE(IsNear(Values({1.0, 0.0}), shaped.end_acceleration, 1e-14));
}

// Whole stretches, and rests of fewer numbers than are added at once.
TEST(ShapeTrajectory, TakesEverySampleByItself) {
  const JointTrajectory raw = SmoothMove(40, 1);
  const ImpulseSequence sequence = Zvd(VibrationMode(5.0, 0.02));
  for (const Eigen::Index samples : {1, 2, 3, 5, 256, 257, 258, 259, 515}) {
    const Vector times_s = Vector::LinSpaced(samples, 0.05, 0.5);
    const ShapedCommand shaped = ShapeTrajectory(raw, {sequence}, times_s, kCubic);
    ASSERT_EQ(shaped.move.time.size(), samples);
    for (Eigen::Index k = 0; k < samples; ++k) {
      const ShapedCommand alone = ShapeTrajectory(raw, {sequence}, Values({times_s[k]}), kCubic);
      ASSERT_TRUE(SameBits(alone.move.positions, Matrix(shaped.move.positions.row(k)))) << k << " of " << samples;
      ASSERT_TRUE(SameBits(alone.move.velocities, Matrix(shaped.move.velocities.row(k))));
      ASSERT_TRUE(SameBits(alone.move.accelerations, Matrix(shaped.move.accelerations.row(k))));
    }
  }
}

TEST(ShapeTrajectory, ReportsTheStepsOfTheFewestSamples) {
  const JointTrajectory two(Rows({{0.0}, {1.0}}), Rows({{2.0}, {3.0}}), Rows({{4.0}, {5.0}}), std::nullopt, 1.0,
                            std::nullopt);
  const ShapedCommand of_two = ShapeTrajectory(two, {Halves(0.5)}, 1.0, kLinear);
  EXPECT_TRUE(SameBits(Values({2.0}), of_two.start_velocity));
  EXPECT_TRUE(SameBits(Values({4.0}), of_two.start_acceleration));
  EXPECT_TRUE(SameBits(Values({3.0}), of_two.end_velocity));
  EXPECT_TRUE(SameBits(Values({5.0}), of_two.end_acceleration));
  EXPECT_TRUE(SameBits(Values({1.0}), ShapeTrajectory(two, {Halves(0.5)}, 1.0, kCubic).start_velocity));  // of the line
  const JointTrajectory one(Rows({{0.0}}), Rows({{2.0}}), Rows({{4.0}}), std::nullopt, 1.0, std::nullopt);
  const ShapedCommand of_one = ShapeTrajectory(one, {Halves(0.5)}, 1.0, kCubic);
  EXPECT_TRUE(SameBits(Values({2.0}), of_one.start_velocity));
  EXPECT_TRUE(SameBits(Values({4.0}), of_one.end_acceleration));
}

TEST(ShapeTrajectory, EndsAtTheFirstSampleAtOrAfterTheLastCopy) {
  const JointTrajectory raw = SmoothMove(51, 2);
  for (const double added_s : {0.1, 0.099, 0.101}) {
    const ShapedCommand shaped = ShapeTrajectory(raw, {Halves(added_s)}, 0.01, kCubic);
    const Vector& tail_s = shaped.tail.time;
    const double end_s = raw.time[50] + added_s;
    ASSERT_GT(tail_s.size(), 1);
    EXPECT_GE(tail_s[tail_s.size() - 1], end_s - 1e-12) << added_s;
    EXPECT_LT(tail_s[tail_s.size() - 2], end_s - 1e-12) << added_s;
    EXPECT_EQ(tail_s[0], raw.time[50] + 0.01);
  }
}

TEST(ShapeTrajectory, ArrivesExactlyAndAtRest) {
  const JointTrajectory raw = SmoothMove(51, 3);
  const VibrationMode mode(5.0, 0.02);
  for (const ImpulseSequence& sequence : {Zv(mode), Zvd(mode), Ei(mode, 0.05), UmZv(mode)}) {
    for (const ResamplingMethod method : {kLinear, kCubic}) {
      // One sample more, since the last one may meet the end of the last copy exactly.
      const Vector after = Values({0.5 + sequence.duration_s() + 1e-9});
      const ShapedCommand shaped = ShapeTrajectory(raw, {sequence}, after, method);
      EXPECT_EQ(shaped.move.time.size(), 0);
      EXPECT_TRUE(SameBits(Matrix(raw.positions.row(50)), shaped.tail.positions));
      EXPECT_TRUE(SameBits(Matrix(Matrix::Zero(1, 3)), shaped.tail.velocities));
      EXPECT_TRUE(SameBits(Matrix(Matrix::Zero(1, 3)), shaped.tail.accelerations));
    }
  }
}

TEST(ShapeTrajectory, KeepsAJointThatStandsStillToTheLastBit) {
  JointTrajectory raw = SmoothMove(31, 2);
  raw.positions.col(1).setConstant(0.1);
  const ShapedCommand shaped = ShapeTrajectory(raw, {Zvdd(VibrationMode(3.0, 0.1))}, 0.01, kLinear);
  const Matrix whole = JoinMoveAndTail(shaped).positions;
  for (Eigen::Index i = 0; i < whole.rows(); ++i) EXPECT_EQ(whole(i, 1), 0.1);
}

TEST(ShapeTrajectory, GivesTheRawCommandForOneImpulse) {
  const JointTrajectory raw = SmoothMove(21, 2);
  const ImpulseSequence identity(Values({0.0}), Values({1.0}));
  const ShapedCommand shaped = ShapeTrajectory(raw, {identity}, 0.01, kLinear);
  EXPECT_TRUE(SameBits(raw.positions, shaped.move.positions));
  EXPECT_TRUE(SameBits(raw.velocities(), shaped.move.velocities));
  EXPECT_TRUE(SameBits(raw.accelerations(), shaped.move.accelerations));
  EXPECT_EQ(shaped.tail.time.size(), 0);
  EXPECT_EQ(shaped.added_duration_s, 0.0);
}

// By the library's public routines alone: each copy sampled or resampled by them, then added up element by element.
TEST(ShapeTrajectory, IsTheSumOfCopiesSampledOneByOne) {
  testing::SplitMix64 random(41);
  for (int k = 0; k < 100; ++k) {
    const Eigen::Index samples = static_cast<Eigen::Index>(2 + random.Below(600));
    const Eigen::Index joints = static_cast<Eigen::Index>(1 + random.Below(9));
    const Vector time = testing::RandomTimes(random, static_cast<std::size_t>(samples), testing::TimeFamily::jittered);
    const JointTrajectory raw =
        Trajectory(testing::RandomMatrix(random, static_cast<std::size_t>(samples), static_cast<std::size_t>(joints),
                                         testing::ValueFamily::moderate),
                   time);
    const double span_s = time[samples - 1] - time[0];
    const ImpulseSequence sequence(Values({0.0, 0.3 * span_s * random.Unit() + 1e-3 * span_s, 0.5 * span_s}),
                                   Values({0.25, 0.5, 0.25}));
    const ShapedTrajectory shaped = JoinMoveAndTail(ShapeTrajectory(raw, {sequence}, span_s / 50.0, kLinear));
    for (Eigen::Index i = 0; i < shaped.time.size(); ++i) {
      Vector position = Vector::Zero(joints);
      Vector velocity = Vector::Zero(joints);
      Vector first_position;
      Vector first_velocity;
      for (Eigen::Index n = 0; n < 3; ++n) {
        const double at_s = shaped.time[i] - sequence.times_s[n];
        const double clamped_s = std::min(std::max(at_s, time[0]), time[samples - 1]);
        const JointTrajectory copy = util::timing::SampleTrajectoryAtTimes(raw, Values({clamped_s}), true);
        const Vector copy_position = copy.positions.row(0).transpose();
        Vector copy_velocity = copy.velocities().row(0).transpose();
        if (clamped_s != at_s) copy_velocity.setZero();
        if (n == 0) {
          position = first_position = copy_position;
          velocity = first_velocity = copy_velocity;
        } else {
          for (Eigen::Index j = 0; j < joints; ++j) {
            position[j] += sequence.amplitudes[n] * (copy_position[j] - first_position[j]);
            velocity[j] += sequence.amplitudes[n] * (copy_velocity[j] - first_velocity[j]);
          }
        }
      }
      ASSERT_TRUE(SameBits(position, Vector(shaped.positions.row(i).transpose()))) << "case " << k << " sample " << i;
      ASSERT_TRUE(SameBits(velocity, Vector(shaped.velocities.row(i).transpose()))) << "case " << k << " sample " << i;
    }
  }
}

// On a grid that the delays are multiples of, the copies are rows of the resampled trajectory.
TEST(ShapeTrajectory, EvaluatesTheLibrarysSpline) {
  const JointTrajectory raw = SmoothMove(41, 5);
  const double dt = 0.0078125;  // so that times and delays are exact
  const JointTrajectory fine =
      util::timing::ResampleTrajectory(raw, dt, kCubic, util::timing::ResamplingTimeGridMode::exact_dt_trim, true);
  const ImpulseSequence sequence(Values({0.0, 8 * dt, 20 * dt}), Values({0.5, 0.25, 0.25}));
  const ShapedCommand shaped = ShapeTrajectory(raw, {sequence}, fine.time, kCubic);
  for (Eigen::Index i = 0; i < fine.time.size(); ++i) {
    for (Eigen::Index j = 0; j < 5; ++j) {
      const auto at = [&](const Matrix& rows, Eigen::Index row, bool rests) {
        return row >= 0 ? rows(row, j) : (rests ? 0.0 : raw.positions(0, j));
      };
      const auto sum = [&](const Matrix& rows, bool rests) {
        const double first = at(rows, i, rests);
        double result = first;
        result += 0.25 * (at(rows, i - 8, rests) - first);
        result += 0.25 * (at(rows, i - 20, rests) - first);
        return result;
      };
      ASSERT_TRUE(SameBits(sum(fine.positions, false), shaped.move.positions(i, j))) << i;
      ASSERT_TRUE(SameBits(sum(fine.velocities(), true), shaped.move.velocities(i, j))) << i;
      ASSERT_TRUE(SameBits(sum(fine.accelerations(), true), shaped.move.accelerations(i, j))) << i;
    }
  }
}

TEST(ShapeTrajectory, AlignsOneSequencePerJointByTheirCentroids) {
  const JointTrajectory raw = Trajectory(Rows({{0.0, 0.0}, {4.0, 4.0}}), Values({0.0, 4.0}));
  // Centroids 0.5 and 0.25: the second joint starts a quarter later.
  const ShapedCommand shaped = ShapeTrajectory(raw, {Halves(1.0), Halves(0.5)}, 0.25, kLinear);
  EXPECT_EQ(shaped.lag_s, 0.5);
  EXPECT_EQ(shaped.added_duration_s, 1.0);
  const ShapedCommand at = ShapeTrajectory(raw, {Halves(1.0), Halves(0.5)}, Values({0.25, 0.5, 2.0, 4.75}), kLinear);
  EXPECT_TRUE(SameBits(Rows({{0.125, 0.0}, {0.25, 0.125}, {1.5, 1.5}}), at.move.positions));
  EXPECT_TRUE(SameBits(Rows({{3.875, 4.0}}), at.tail.positions));
}

TEST(ShapeTrajectory, GivesTheSameBitsForEqualSequencesPerJoint) {
  const JointTrajectory moved = SmoothMove(300, 7);
  const JointTrajectory raw(moved.positions, Matrix(2.0 * moved.positions), Matrix(3.0 * moved.positions), moved.time,
                            std::nullopt, std::nullopt);
  const ImpulseSequence sequence = Zvd(VibrationMode(7.3, 0.05));
  for (const ResamplingMethod method : {kLinear, kCubic}) {
    const ShapedTrajectory one = JoinMoveAndTail(ShapeTrajectory(raw, {sequence}, 0.003, method));
    const ShapedTrajectory each =
        JoinMoveAndTail(ShapeTrajectory(raw, std::vector<ImpulseSequence>(7, sequence), 0.003, method));
    EXPECT_TRUE(SameBits(one.positions, each.positions));
    EXPECT_TRUE(SameBits(one.velocities, each.velocities));
    EXPECT_TRUE(SameBits(one.accelerations, each.accelerations));
  }
}

TEST(ShapeTrajectory, HoldsASingleSample) {
  const JointTrajectory raw = Trajectory(Rows({{1.0, 2.0}}), Values({3.0}));
  const ShapedTrajectory shaped = JoinMoveAndTail(ShapeTrajectory(raw, {Halves(0.5)}, 0.25, kCubic));
  EXPECT_TRUE(SameBits(Values({3.0, 3.25, 3.5}), shaped.time));
  EXPECT_TRUE(SameBits(Rows({{1.0, 2.0}, {1.0, 2.0}, {1.0, 2.0}}), shaped.positions));
  EXPECT_TRUE(SameBits(Matrix(Matrix::Zero(3, 2)), shaped.velocities));
}

TEST(ShapeTrajectory, TakesNoJointsAndNoTimes) {
  const JointTrajectory none = Trajectory(Matrix(3, 0), Values({0.0, 1.0, 2.0}));
  EXPECT_EQ(ShapeTrajectory(none, {Halves(0.5)}, 0.5, kLinear).move.positions.rows(), 3);
  EXPECT_EQ(ShapeTrajectory(none, {Halves(0.5)}, 0.5, kCubic).tail.positions.rows(), 1);
  const ShapedCommand empty = ShapeTrajectory(SmoothMove(3, 2), {Halves(0.5)}, Vector(), kLinear);
  EXPECT_EQ(empty.move.positions.rows(), 0);
  EXPECT_EQ(empty.tail.positions.cols(), 2);
  const std::vector<ImpulseSequence> each(2, Halves(0.5));
  const ShapedCommand for_each = ShapeTrajectory(SmoothMove(3, 2), each, Vector(), kLinear);
  EXPECT_EQ(for_each.move.positions.cols(), 2) << "no column of these is looked for, as undefined behaviour would be";
  EXPECT_EQ(for_each.tail.positions.rows(), 0);
}

TEST(ShapeTrajectory, ThrowsForEveryBrokenRuleInOrder) {
  const JointTrajectory raw = SmoothMove(5, 3);
  const ImpulseSequence halves = Halves(0.5);
  const JointTrajectory none = Trajectory(Matrix(3, 0), Values({0.0, 1.0, 2.0}));
  constexpr const char* kSequences = "sequences must hold one sequence, or one per joint.";
  ExpectInvalidArgument([&] { ShapeTrajectory(raw, {}, 0.1, kLinear); }, kSequences);
  ExpectInvalidArgument([&] { ShapeTrajectory(none, {}, 0.1, kLinear); }, kSequences);
  ExpectInvalidArgument([&] { ShapeTrajectory(raw, {halves, halves}, kNan, kLinear); }, kSequences);
  ExpectInvalidArgument([&] { ShapeTrajectory(raw, {halves, halves}, Values({kNan}), kLinear); }, kSequences);
  for (const double bad : {0.0, -0.1, kNan, kInfinity}) {
    ExpectInvalidArgument([&] { ShapeTrajectory(raw, {halves}, bad, kLinear); }, "sample_time_s must be positive.");
  }
  ExpectInvalidArgument(
      [&] {
        ShapeTrajectory(raw, {halves}, Values({1.0, 0.5, kNan}), kLinear);
      },
      "times_s must contain only finite values.");
  ExpectInvalidArgument(
      [&] {
        ShapeTrajectory(raw, {halves}, Values({1.0, 1.0}), kLinear);
      },
      "times_s must be strictly increasing.");
  const JointTrajectory huge = Trajectory(Rows({{-1e308}, {1e308}, {-1e308}}), Values({0.0, 1e-3, 2e-3}));
  ExpectInvalidArgument([&] { ShapeTrajectory(huge, {halves}, 0.1, kCubic); },
                        "Cubic-spline construction produced non-finite coefficients.");
}

TEST(ShapeTrajectory, RunsOutOfMemoryForATailThatCannotBeCounted) {
  const JointTrajectory raw = SmoothMove(5, 1);
  EXPECT_THROW(ShapeTrajectory(raw, {Halves(1.0)}, 1e-300, kLinear), std::bad_alloc);
}

TEST(JoinMoveAndTail, ThrowsForPartsThatDoNotFit) {
  const ShapedCommand good = ShapeTrajectory(SmoothMove(5, 2), {Halves(0.5)}, 0.1, kLinear);
  constexpr const char* kParts = "command parts must have matching sample and joint shapes";
  const auto expect = [&](auto spoil) {
    ShapedCommand bad = good;
    spoil(bad);
    ExpectInvalidArgument([&] { JoinMoveAndTail(bad); }, kParts);
  };
  expect([](ShapedCommand& c) { c.move.time.conservativeResize(4); });
  expect([](ShapedCommand& c) { c.move.velocities = Matrix::Zero(5, 1); });
  expect([](ShapedCommand& c) { c.move.accelerations = Matrix::Zero(4, 2); });
  expect([](ShapedCommand& c) { c.tail.positions = Matrix::Zero(c.tail.time.size(), 3); });
  expect([](ShapedCommand& c) { c.tail.time = Vector(); });
}

}  // namespace
}  // namespace velmora::shaping
