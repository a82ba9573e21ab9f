// Shaping sample by sample: the bits of the whole, the stops, the checks, and no allocation.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/streaming_shaper.hpp"

#include <gtest/gtest.h>

#include <optional>

#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"
#include "support/generator.hpp"
#include "velmora/shaping/designs.hpp"
#include "velmora/shaping/shape_trajectory.hpp"

namespace velmora::shaping {
namespace {

using testing::ExpectInvalidArgument;
using testing::kInfinity;
using testing::kNan;
using testing::SameBits;
using testing::Values;

constexpr const char* kNoSample = "no sample has been shaped yet.";

JointSample SampleOf(const JointTrajectory& trajectory, Eigen::Index row) {
  return {trajectory.positions.row(row).transpose(), trajectory.velocities().row(row).transpose(),
          trajectory.accelerations().row(row).transpose()};
}

JointTrajectory RandomCommand(testing::SplitMix64& random, std::size_t samples, std::size_t joints, double dt) {
  using testing::ValueFamily;
  const auto matrix = [&] { return testing::RandomMatrix(random, samples, joints, ValueFamily::moderate); };
  return JointTrajectory(matrix(), matrix(), matrix(), std::nullopt, dt, std::nullopt);
}

void ExpectRow(const ShapedTrajectory& expected, Eigen::Index row, const JointSample& actual) {
  ASSERT_TRUE(SameBits(Vector(expected.positions.row(row).transpose()), actual.position)) << "sample " << row;
  ASSERT_TRUE(SameBits(Vector(expected.velocities.row(row).transpose()), actual.velocity)) << "sample " << row;
  ASSERT_TRUE(SameBits(Vector(expected.accelerations.row(row).transpose()), actual.acceleration)) << "sample " << row;
}

// On the grid k dt, far into the tail.
TEST(StreamingShaper, GivesTheBitsOfTheWholeTrajectory) {
  testing::SplitMix64 random(51);
  const double spacings[] = {0.001, 0.004, 1.0 / 3.0, 0.008, 7e-5};
  for (int k = 0; k < 60; ++k) {
    const double dt = spacings[random.Below(5)];
    const std::size_t samples = 1 + random.Below(120);
    const JointTrajectory raw = RandomCommand(random, samples, random.Below(9), dt);
    // Delays of a whole number of samples too.
    const double frequency_hz = random.OneIn(3) ? 1.0 / (16.0 * dt) : (0.5 + random.Unit()) / (20.0 * dt);
    const ImpulseSequence sequence = Zvd(VibrationMode(frequency_hz, random.OneIn(2) ? 0.0 : 0.1));
    const Eigen::Index all = static_cast<Eigen::Index>(samples) + 40;
    Vector times_s(all);
    for (Eigen::Index i = 0; i < all; ++i) times_s[i] = static_cast<double>(i) * dt;
    const ShapedTrajectory batch =
        JoinMoveAndTail(ShapeTrajectory(raw, {sequence}, times_s, util::timing::ResamplingMethod::linear));

    StreamingShaper shaper(sequence, raw.positions.cols(), dt);
    EXPECT_TRUE(shaper.AtRest());
    for (Eigen::Index i = 0; i < all; ++i) {
      const bool moves = i < static_cast<Eigen::Index>(samples);
      ExpectRow(batch, i, moves ? shaper.Step(SampleOf(raw, i)) : shaper.StepTail());
      const double end_s = static_cast<double>(samples - 1) * dt;
      EXPECT_EQ(shaper.AtRest(), times_s[i] - sequence.duration_s() > end_s) << "sample " << i;
    }
  }
}

// A zero's sign between two samples depends on the next one, which only the whole trajectory knows.
TEST(StreamingShaper, GivesTheValuesOfTheWholeTrajectoryAroundZeros) {
  testing::SplitMix64 random(53);
  const ImpulseSequence halves(Values({0.0, 0.5}), Values({0.5, 0.5}));
  const double values[] = {-0.0, 0.0, 1.0, -1.0};
  for (int k = 0; k < 40; ++k) {
    const auto matrix = [&] {
      return native::Matrix::NullaryExpr(12, 3, [&] { return values[random.Below(4)]; }).eval();
    };
    const double dt = random.OneIn(2) ? 0.25 : 0.2;
    const JointTrajectory raw(matrix(), matrix(), matrix(), std::nullopt, dt, std::nullopt);
    const ShapedTrajectory batch = ShapeTrajectory(raw, {halves}, dt, util::timing::ResamplingMethod::linear).move;
    StreamingShaper shaper(halves, 3, dt);
    for (Eigen::Index i = 0; i < 12; ++i) {
      const JointSample& sample = shaper.Step(SampleOf(raw, i));
      ASSERT_EQ(Vector(batch.positions.row(i).transpose()), sample.position);
      ASSERT_EQ(Vector(batch.velocities.row(i).transpose()), sample.velocity);
      ASSERT_EQ(Vector(batch.accelerations.row(i).transpose()), sample.acceleration);
    }
  }
}

TEST(StreamingShaper, HoldsAtRestOnAHardStopAndStartsAnew) {
  testing::SplitMix64 random(52);
  const JointTrajectory raw = RandomCommand(random, 20, 3, 0.01);
  const ImpulseSequence sequence = Zv(VibrationMode(5.0, 0.1));
  StreamingShaper shaper(sequence, 3, 0.01);
  for (Eigen::Index i = 0; i < 10; ++i) shaper.Step(SampleOf(raw, i));
  EXPECT_FALSE(shaper.AtRest());
  const Vector held = shaper.Step(SampleOf(raw, 10)).position;
  const JointSample& stopped = shaper.HardStop();
  EXPECT_TRUE(SameBits(held, stopped.position));
  EXPECT_TRUE(SameBits(Values({0.0, 0.0, 0.0}), stopped.velocity));
  EXPECT_TRUE(SameBits(Values({0.0, 0.0, 0.0}), stopped.acceleration));
  EXPECT_TRUE(shaper.AtRest());
  ExpectInvalidArgument([&] { shaper.StepTail(); }, kNoSample);
  EXPECT_TRUE(SameBits(held, shaper.HardStop().position)) << "once more";

  StreamingShaper fresh(sequence, 3, 0.01);
  for (Eigen::Index i = 0; i < 20; ++i) {
    const JointSample expected = fresh.Step(SampleOf(raw, i));
    EXPECT_TRUE(SameBits(expected.position, shaper.Step(SampleOf(raw, i)).position));
  }
}

TEST(StreamingShaper, ContinuesAfterASoftStop) {
  const ImpulseSequence halves(Values({0.0, 2.0}), Values({0.5, 0.5}));
  StreamingShaper shaper(halves, 1, 1.0);
  const auto at = [](double position) { return JointSample{Values({position}), Values({0.0}), Values({0.0})}; };
  EXPECT_EQ(shaper.Step(at(0.0)).position[0], 0.0);
  EXPECT_EQ(shaper.Step(at(4.0)).position[0], 2.0);
  EXPECT_EQ(shaper.StepTail().position[0], 2.0);
  EXPECT_FALSE(shaper.AtRest());
  EXPECT_EQ(shaper.StepTail().position[0], 4.0);
  EXPECT_FALSE(shaper.AtRest()) << "the last copy arrives at this very sample";
  EXPECT_EQ(shaper.StepTail().position[0], 4.0);
  EXPECT_TRUE(shaper.AtRest());
  EXPECT_EQ(shaper.Step(at(8.0)).position[0], 6.0);
  EXPECT_FALSE(shaper.AtRest());
}

TEST(StreamingShaper, RunsLongOnLittleMemory) {
  StreamingShaper shaper(Zvd(VibrationMode(5.0, 0.0)), 1, 0.001);
  JointSample sample{Values({0.0}), Values({0.0}), Values({0.0})};
  for (int i = 0; i < 100000; ++i) {
    sample.position[0] = 1e-3 * i;
    const JointSample& shaped = shaper.Step(sample);
    // A command of constant velocity lags by the centroid, 0.1 s.
    if (i > 300) {
      ASSERT_NEAR(shaped.position[0], 1e-3 * i - 0.1, 1e-10) << i;
    }
  }
}

TEST(StreamingShaper, ThrowsForEveryBrokenRuleInOrder) {
  const ImpulseSequence sequence = Zv(VibrationMode(5.0, 0.1));
  ExpectInvalidArgument([&] { StreamingShaper(sequence, -1, kNan); }, "joints must be non-negative.");
  for (const double bad : {0.0, -0.1, kNan, kInfinity}) {
    ExpectInvalidArgument([&] { StreamingShaper(sequence, 1, bad); }, "sample_time_s must be positive.");
  }
  EXPECT_THROW(StreamingShaper(sequence, 1, 1e-300), std::bad_alloc);

  StreamingShaper shaper(sequence, 2, 0.01);
  ExpectInvalidArgument([&] { shaper.StepTail(); }, kNoSample);
  ExpectInvalidArgument([&] { shaper.HardStop(); }, kNoSample);
  const JointSample good{Values({1.0, 2.0}), Values({0.0, 0.0}), Values({0.0, 0.0})};
  for (Vector JointSample::*part : {&JointSample::position, &JointSample::velocity, &JointSample::acceleration}) {
    JointSample bad = good;
    bad.*part = Values({kNan});
    ExpectInvalidArgument([&] { shaper.Step(bad); }, "raw sample must have the number of joints of the shaper.");
    bad.*part = Values({0.0, kInfinity});
    ExpectInvalidArgument([&] { shaper.Step(bad); }, "raw sample must contain only finite values.");
  }
  EXPECT_TRUE(shaper.AtRest());
  EXPECT_TRUE(SameBits(good.position, shaper.Step(good).position)) << "a refused sample leaves nothing behind";
}

}  // namespace
}  // namespace velmora::shaping
