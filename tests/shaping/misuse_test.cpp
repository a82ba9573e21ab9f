// Records whose public fields were moved from or written to get a sentence instead of a crash.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <optional>
#include <utility>

#include "support/arrays.hpp"
#include "support/expect_throws.hpp"
#include "velmora/shaping/analysis.hpp"
#include "velmora/shaping/blend_shaped_trajectory.hpp"
#include "velmora/shaping/designs.hpp"
#include "velmora/shaping/shape_trajectory.hpp"
#include "velmora/shaping/streaming_shaper.hpp"

namespace velmora::shaping {
namespace {

using testing::ExpectInvalidArgument;
using testing::Values;

constexpr const char* kNoImpulse = "ImpulseSequence requires at least 1 impulse, got 0.";
constexpr const char* kLengths = "ImpulseSequence.amplitudes must match ImpulseSequence.times_s length.";
constexpr const char* kAligned = "JointTrajectory.positions must align with JointTrajectory.time.";

class Misuse : public ::testing::Test {
 protected:
  void ExpectRefused(const ImpulseSequence& bad, const char* message) const {
    ExpectInvalidArgument([&] { bad.centroid_s(); }, message);
    ExpectInvalidArgument([&] { Convolve(bad, good_); }, message);
    ExpectInvalidArgument([&] { Convolve(good_, bad); }, message);
    ExpectInvalidArgument([&] { ResidualVibration(bad, mode_); }, message);
    ExpectInvalidArgument([&] { ResidualOverFrequency(bad, mode_, Values({-1.0})); }, message);
    ExpectInvalidArgument([&] { ResidualOverDamping(bad, mode_, Values({-1.0})); }, message);
    ExpectInvalidArgument([&] { Insensitivity(bad, mode_, 7.0); }, message);
    ExpectInvalidArgument([&] { ShapeTrajectory(raw_, {bad}, -1.0, util::timing::ResamplingMethod::linear); }, message);
    ExpectInvalidArgument([&] { BlendedSequence(bad, 7.0); }, message);
    ExpectInvalidArgument([&] { StreamingShaper(bad, -1, 0.0); }, message);
  }

  VibrationMode mode_{5.0, 0.1};
  ImpulseSequence good_ = Zv(mode_);
  JointTrajectory raw_{
      testing::Rows({{0.0}, {1.0}, {2.0}}), std::nullopt, std::nullopt, std::nullopt, 0.1, std::nullopt};
};

TEST_F(Misuse, OfASequenceThatWasMovedFrom) {
  ImpulseSequence moved = good_;
  const ImpulseSequence taken = std::move(moved);
  EXPECT_EQ(taken.times_s.size(), 2);
  // NOLINTNEXTLINE(bugprone-use-after-move): what this test is about
  ExpectInvalidArgument([&] { moved.duration_s(); }, kNoImpulse);
  ExpectRefused(moved, kNoImpulse);
}

TEST_F(Misuse, OfAShaperThatWasMovedFrom) {
  const auto expect_refused = [](StreamingShaper& shaper) {
    constexpr const char* kMovedFrom = "the shaper was moved from.";
    const JointSample sample{Values({1.0}), Values({0.0}), Values({0.0})};
    ExpectInvalidArgument([&] { shaper.Step(sample); }, kMovedFrom);
    ExpectInvalidArgument([&] { shaper.StepTail(); }, kMovedFrom);
    ExpectInvalidArgument([&] { shaper.HardStop(); }, kMovedFrom);
    ExpectInvalidArgument([&] { shaper.AtRest(); }, kMovedFrom);
  };
  StreamingShaper longer(good_, 1, 0.001);
  StreamingShaper shorter(good_, 1, 0.01);
  shorter = std::move(longer);
  expect_refused(longer);  // NOLINT(bugprone-use-after-move): which is the point
  const StreamingShaper whole = std::move(shorter);
  EXPECT_TRUE(whole.AtRest());
  expect_refused(shorter);  // NOLINT(bugprone-use-after-move): which is the point
}

TEST_F(Misuse, OfASequenceThatLostAnAmplitude) {
  ImpulseSequence spoilt = good_;
  spoilt.amplitudes.conservativeResize(1);
  ExpectRefused(spoilt, kLengths);
}

TEST_F(Misuse, OfATrajectoryThatLostATime) {
  const ShapedCommand shaped = ShapeTrajectory(raw_, {good_}, 0.1, util::timing::ResamplingMethod::linear);
  raw_.time.conservativeResize(2);
  for (const auto method : {util::timing::ResamplingMethod::linear, util::timing::ResamplingMethod::cubic}) {
    ExpectInvalidArgument([&] { ShapeTrajectory(raw_, {}, -1.0, method); }, kAligned);
    ExpectInvalidArgument([&] { ShapeTrajectory(raw_, {}, Values({testing::kNan}), method); }, kAligned);
  }
  ExpectInvalidArgument([&] { BlendShapedTrajectory(raw_, shaped, 7.0); }, kAligned);
  ExpectInvalidArgument([&] { BlendShapedTrajectory(raw_, shaped, WeightTransition{7.0, -1.0}); }, kAligned);
  ExpectInvalidArgument([&] { PathDeviation(raw_, shaped); }, kAligned);
}

TEST_F(Misuse, OfATrajectoryWhosePositionsGrewBesideItsGivenAccelerations) {
  JointTrajectory given{
      testing::Rows({{0.0}, {1.0}}), std::nullopt, testing::Rows({{0.0}, {0.0}}), std::nullopt, 0.1, std::nullopt};
  given.positions = testing::Rows({{0.0, 0.0}, {1.0, 1.0}});
  ExpectInvalidArgument([&] { ShapeTrajectory(given, {good_}, 0.1, util::timing::ResamplingMethod::linear); },
                        "JointTrajectory.accelerations must match JointTrajectory.positions shape.");
}

TEST_F(Misuse, OfATrajectoryWhosePositionsGrewAfterItsVelocitiesWereComputed) {
  raw_.velocities();
  raw_.positions = testing::Rows({{0.0, 0.0}, {1.0, 1.0}, {2.0, 2.0}});
  const auto shape = [&](std::vector<ImpulseSequence> sequences) {
    ShapeTrajectory(raw_, sequences, 0.1, util::timing::ResamplingMethod::linear);
  };
  constexpr const char* kVelocities = "JointTrajectory.velocities must match JointTrajectory.positions shape.";
  ExpectInvalidArgument([&] { shape({good_}); }, kVelocities);
  ExpectInvalidArgument([&] { shape({good_, good_}); }, kVelocities);
}

}  // namespace
}  // namespace velmora::shaping
