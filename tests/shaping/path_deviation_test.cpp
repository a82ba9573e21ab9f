// How far the path of a shaped command is from the raw one: literal cases and the checks.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "shaping/commands.hpp"
#include "support/arrays.hpp"
#include "support/expect_throws.hpp"
#include "velmora/shaping/designs.hpp"
#include "velmora/shaping/shape_trajectory.hpp"
#include "velmora/util/timing/resampling.hpp"

namespace velmora::shaping {
namespace {

using testing::ExpectInvalidArgument;
using testing::Halves;
using testing::Rows;
using testing::SmoothMove;
using testing::Trajectory;
using testing::Values;

constexpr ResamplingMethod kLinear = ResamplingMethod::linear;

TEST(PathDeviation, VanishesForAStraightLineUnderOneSequence) {
  const JointTrajectory raw = SmoothMove(200, 4);
  const ShapedCommand shaped = ShapeTrajectory(raw, {Zvd(VibrationMode(5.0, 0.02))}, 0.0025, kLinear);
  EXPECT_LT(PathDeviation(raw, shaped), 1e-14);
}

TEST(PathDeviation, IsTheDistanceToTheCornerThatIsCut) {
  // Along x, then along y, a second each; halves a tenth apart cut the corner, at the worst by half the way of a
  // twentieth of a second in both directions.
  const JointTrajectory raw = Trajectory(Rows({{0.0, 0.0}, {1.0, 0.0}, {1.0, 1.0}}), Values({0.0, 1.0, 2.0}));
  const Vector times = Vector::LinSpaced(401, 0.0, 2.1);
  const ShapedCommand shaped = ShapeTrajectory(raw, {Halves(0.1)}, times, kLinear);
  EXPECT_NEAR(PathDeviation(raw, shaped), 0.025, 1e-3);
}

TEST(PathDeviation, SeesJointsOfUnlikeSequences) {
  const JointTrajectory raw = SmoothMove(200, 2);
  const ShapedCommand shaped = ShapeTrajectory(raw, {Zvd(VibrationMode(5.0, 0.02)), Zvd(VibrationMode(9.0, 0.02))},
                                               0.0025, ResamplingMethod::cubic);
  EXPECT_GT(PathDeviation(raw, shaped), 1e-3);
  EXPECT_LT(PathDeviation(raw, shaped), 0.5);
}

// Of the path, which comes back to none of these points, only the half second before each sample counts.
TEST(PathDeviation, LooksAtTheStretchThatTheCopiesComeFrom) {
  const JointTrajectory raw = Trajectory(Rows({{0.0, 0.0}, {4.0, 0.0}, {4.0, 3.0}}), Values({0.0, 1.0, 2.0}));
  const auto deviation = [&](const native::Matrix& move, double move_s, const native::Matrix& tail) {
    const auto part = [](const native::Matrix& positions, const Vector& time) {
      const native::Matrix rest = native::Matrix::Zero(positions.rows(), 2);
      return ShapedTrajectory{positions, rest, rest, time};
    };
    const Vector none = Vector::Zero(2);
    const ShapedCommand command{
        part(move, Values({move_s})), part(tail, Values({2.25})), 0.5, 0.0, none, none, none, none};
    return PathDeviation(raw, command);
  };
  const native::Matrix end = Rows({{4.0, 3.0}});
  EXPECT_EQ(deviation(Rows({{0.0, 0.0}}), 2.0, end), 4.0) << "the start is long past";
  EXPECT_EQ(deviation(end, 0.5, end), 3.0) << "the end is still to come";
  EXPECT_EQ(deviation(end, 2.0, Rows({{4.0, 8.0}})), 5.0) << "the tail counts";
  EXPECT_EQ(deviation(end, 2.0, end), 0.0);
}

TEST(PathDeviation, ThrowsForCommandsThatDoNotFit) {
  const ShapedCommand shaped = ShapeTrajectory(SmoothMove(5, 2), {Halves(0.5)}, 0.1, kLinear);
  ExpectInvalidArgument([&] { PathDeviation(SmoothMove(5, 3), shaped); },
                        "trajectory and command must have the same number of joints.");
  ShapedCommand bad = shaped;
  bad.tail.time = Vector();
  ExpectInvalidArgument([&] { PathDeviation(SmoothMove(5, 2), bad); },
                        "command parts must have matching sample and joint shapes");
  ExpectInvalidArgument([&] { PathDeviation(SmoothMove(5, 3), bad); },
                        "trajectory and command must have the same number of joints.");
}

}  // namespace
}  // namespace velmora::shaping
