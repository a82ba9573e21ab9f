// Blends of a raw trajectory with its shaped copy: values, derivatives, checks, and the closed form of their residual.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/blend_shaped_trajectory.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"
#include "velmora/control/shaper/blending.hpp"
#include "velmora/control/shaper/tail_blend.hpp"
#include "velmora/shaping/analysis.hpp"
#include "velmora/shaping/designs.hpp"
#include "velmora/util/smootherstep.hpp"

namespace velmora::shaping {
namespace {

using native::Matrix;
using testing::ExpectInvalidArgument;
using testing::IsNear;
using testing::kNan;
using testing::SameBits;
using testing::Values;

constexpr const char* kWeight = "vibration_shaping_weight must be in [0.0, 1.0]";

class Blend : public ::testing::Test {
 protected:
  static JointTrajectory RawMove() {
    const Eigen::Index samples = 401;
    Matrix positions(samples, 2);
    Matrix velocities(samples, 2);
    Matrix accelerations(samples, 2);
    Vector time(samples);
    for (Eigen::Index i = 0; i < samples; ++i) {
      const double x = static_cast<double>(i) / 400.0;
      time[i] = x;
      positions.row(i).setConstant(x * x * x * (10.0 + x * (-15.0 + x * 6.0)));
      velocities.row(i).setConstant(30.0 * x * x * (1.0 - x) * (1.0 - x));
      accelerations.row(i).setConstant(60.0 * x * (1.0 - x) * (1.0 - 2.0 * x));
    }
    return JointTrajectory(positions, velocities, accelerations, time, std::nullopt, std::nullopt);
  }

  JointTrajectory raw_ = RawMove();
  ShapedCommand shaped_ =
      ShapeTrajectory(raw_, {Zvd(VibrationMode(3.0, 0.05))}, 0.0025, util::timing::ResamplingMethod::linear);
};

TEST_F(Blend, MixesByTheLibrarysRoutinesWithAConstantWeight) {
  const ShapedCommand blend = BlendShapedTrajectory(raw_, shaped_, 0.7);
  EXPECT_TRUE(
      SameBits(control::shaper::BlendArrays(raw_.positions, shaped_.move.positions, 0.7), blend.move.positions));
  EXPECT_TRUE(
      SameBits(control::shaper::BlendArrays(raw_.velocities(), shaped_.move.velocities, 0.7), blend.move.velocities));
  EXPECT_TRUE(SameBits(control::shaper::BlendArrays(raw_.accelerations(), shaped_.move.accelerations, 0.7),
                       blend.move.accelerations));
  const Vector end = raw_.positions.row(400).transpose();
  const ShapedTrajectory tail = control::shaper::BlendTailWithHeldRawEndpoint(end, shaped_.tail, 0.7);
  EXPECT_TRUE(SameBits(tail.positions, blend.tail.positions));
  EXPECT_TRUE(SameBits(tail.velocities, blend.tail.velocities));
  EXPECT_TRUE(SameBits(tail.accelerations, blend.tail.accelerations));
  EXPECT_TRUE(SameBits(shaped_.tail.time, blend.tail.time));
  EXPECT_TRUE(SameBits(raw_.time, blend.move.time));
  EXPECT_EQ(blend.added_duration_s, shaped_.added_duration_s);
}

TEST_F(Blend, IsOneOfTheTwoAtTheEndsOfTheWeight) {
  EXPECT_TRUE(IsNear(raw_.positions, BlendShapedTrajectory(raw_, shaped_, 0.0).move.positions, 0.0));
  EXPECT_TRUE(IsNear(shaped_.move.positions, BlendShapedTrajectory(raw_, shaped_, 1.0).move.positions, 0.0));
  EXPECT_TRUE(IsNear(shaped_.tail.positions, BlendShapedTrajectory(raw_, shaped_, 1.0).tail.positions, 0.0));
}

TEST_F(Blend, RampsTheWeightAlongSmootherstep) {
  const ShapedCommand blend = BlendShapedTrajectory(raw_, shaped_, WeightTransition{0.8, 0.5});
  for (const Eigen::Index i : {0, 37, 100, 200, 300, 400}) {
    const double w = 0.8 * util::Smootherstep(std::min(raw_.time[i] / 0.5, 1.0));
    EXPECT_DOUBLE_EQ(blend.move.positions(i, 1), (1.0 - w) * raw_.positions(i, 1) + w * shaped_.move.positions(i, 1));
  }
  EXPECT_NEAR(blend.tail.positions(0, 0), 0.2 * raw_.positions(400, 0) + 0.8 * shaped_.tail.positions(0, 0), 1e-15);
}

TEST_F(Blend, StaysFiniteForATransitionWhoseSquareUnderflows) {
  const ShapedCommand at_once = BlendShapedTrajectory(raw_, shaped_, 0.5);
  for (const double transition_s : {1e-150, 1e-170, 5e-324}) {
    const ShapedCommand blend = BlendShapedTrajectory(raw_, shaped_, WeightTransition{0.5, transition_s});
    EXPECT_TRUE(blend.move.accelerations.allFinite());
    EXPECT_TRUE(
        SameBits(at_once.move.accelerations.bottomRows(400).eval(), blend.move.accelerations.bottomRows(400).eval()));
  }
}

// The derivatives of the blend are those of its positions, ramp included: compared with differences of the positions.
TEST_F(Blend, KeepsVelocitiesAndAccelerationsTheDerivativesOfThePositions) {
  Vector weights(401);
  for (Eigen::Index i = 0; i < 401; ++i) weights[i] = 0.5 - 0.5 * std::cos(3.0 * raw_.time[i]);
  const auto expect_derivatives = [&](const ShapedCommand& blend) {
    const double h = raw_.time[1] - raw_.time[0];
    for (Eigen::Index i = 5; i < 396; ++i) {
      const Matrix& p = blend.move.positions;
      const double velocity = (p(i + 1, 0) - p(i - 1, 0)) / (2.0 * h);
      const double acceleration = (p(i + 1, 0) - 2.0 * p(i, 0) + p(i - 1, 0)) / (h * h);
      ASSERT_NEAR(blend.move.velocities(i, 0), velocity, 5e-3) << i;
      ASSERT_NEAR(blend.move.accelerations(i, 0), acceleration, 0.3) << i;
    }
  };
  expect_derivatives(BlendShapedTrajectory(raw_, shaped_, weights));
  expect_derivatives(BlendShapedTrajectory(raw_, shaped_, WeightTransition{0.9, 0.7}));
}

TEST_F(Blend, TreatsEqualWeightsPerSampleAsOne) {
  const ShapedCommand one = BlendShapedTrajectory(raw_, shaped_, 0.25);
  const ShapedCommand each = BlendShapedTrajectory(raw_, shaped_, Vector(Vector::Constant(401, 0.25)));
  EXPECT_TRUE(SameBits(one.move.positions, each.move.positions));
  EXPECT_TRUE(IsNear(one.move.velocities, each.move.velocities, 1e-14));
  EXPECT_TRUE(IsNear(one.move.accelerations, each.move.accelerations, 1e-11));  // roundings over squared steps
  EXPECT_TRUE(SameBits(one.tail.positions, each.tail.positions));
  const ShapedCommand at_once = BlendShapedTrajectory(raw_, shaped_, WeightTransition{0.25, 0.0});
  EXPECT_TRUE(SameBits(one.move.accelerations, at_once.move.accelerations));
}

TEST_F(Blend, ThrowsForEveryBrokenRuleInOrder) {
  ShapedCommand bad = shaped_;
  bad.tail.positions = Matrix::Zero(1, 2);
  constexpr const char* kParts = "command parts must have matching sample and joint shapes";
  ExpectInvalidArgument([&] { BlendShapedTrajectory(raw_, bad, 2.0); }, kParts);
  ExpectInvalidArgument([&] { BlendShapedTrajectory(raw_, bad, WeightTransition{2.0, -1.0}); }, kParts);

  const JointTrajectory one_joint(raw_.positions.leftCols(1), std::nullopt, std::nullopt,
                                  Vector(raw_.time.array() + 1.0), std::nullopt, std::nullopt);
  ExpectInvalidArgument([&] { BlendShapedTrajectory(one_joint, shaped_, 2.0); },
                        "raw and shaped.move must have the same number of joints.");

  constexpr const char* kTimes = "raw and shaped.move must have the same sample times.";
  JointTrajectory later = RawMove();
  later.time[400] += 1e-9;
  ExpectInvalidArgument([&] { BlendShapedTrajectory(later, shaped_, 2.0); }, kTimes);
  const JointTrajectory shorter(raw_.positions.topRows(400), std::nullopt, std::nullopt, Vector(raw_.time.head(400)),
                                std::nullopt, std::nullopt);
  ExpectInvalidArgument([&] { BlendShapedTrajectory(shorter, shaped_, WeightTransition{2.0, -1.0}); }, kTimes);

  ExpectInvalidArgument([&] { BlendShapedTrajectory(raw_, shaped_, Values({2.0})); },
                        "per-sample shaping weights must match the sample count");
  for (const double weight : {-0.1, 1.1, kNan}) {
    ExpectInvalidArgument([&] { BlendShapedTrajectory(raw_, shaped_, weight); }, kWeight);
    ExpectInvalidArgument([&] { BlendShapedTrajectory(raw_, shaped_, WeightTransition{weight, -1.0}); }, kWeight);
    Vector weights = Vector::Constant(401, 0.5);
    weights[400] = weight;
    ExpectInvalidArgument([&] { BlendShapedTrajectory(raw_, shaped_, weights); }, kWeight);
  }
  for (const double transition_s : {-0.1, kNan, testing::kInfinity}) {
    ExpectInvalidArgument(
        [&] {
          BlendShapedTrajectory(raw_, shaped_, WeightTransition{0.5, transition_s});
        },
        "vibration_weight_transition_s must be non-negative");
  }
}

TEST(BlendedSequence, IsTheConvolutionThatTheBlendAmountsTo) {
  const VibrationMode mode(5.0, 0.05);
  const ImpulseSequence zvd = Zvd(mode);
  const ImpulseSequence blend = BlendedSequence(zvd, 0.25);
  EXPECT_TRUE(SameBits(zvd.times_s, blend.times_s));
  EXPECT_NEAR(blend.amplitudes[0], 0.75 + 0.25 * zvd.amplitudes[0], 1e-16);
  EXPECT_NEAR(blend.amplitudes[1], 0.25 * zvd.amplitudes[1], 1e-16);
  // What the mode keeps is what the raw share leaves, decayed until the last impulse.
  const double decay = mode.half_period_decay() * mode.half_period_decay();
  EXPECT_NEAR(ResidualVibration(blend, mode), 0.75 * decay, 1e-14);
}

TEST(BlendedSequence, IsNothingOrAllAtTheEndsOfTheWeight) {
  const ImpulseSequence zvd = Zvd(VibrationMode(5.0, 0.05));
  EXPECT_EQ(BlendedSequence(zvd, 0.0).duration_s(), 0.0);
  EXPECT_EQ(BlendedSequence(zvd, 0.0).amplitudes[0], 1.0);
  EXPECT_TRUE(SameBits(zvd.amplitudes, BlendedSequence(zvd, 1.0).amplitudes));
  ExpectInvalidArgument([&] { BlendedSequence(zvd, 1.5); }, kWeight);
}

}  // namespace
}  // namespace velmora::shaping
