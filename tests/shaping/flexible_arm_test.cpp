// What is left of two modes of a simulated arm of seven joints: raw, under every shaper, and under blends of the two.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/flexible_arm.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "velmora/shaping/analysis.hpp"
#include "velmora/shaping/blend_shaped_trajectory.hpp"
#include "velmora/shaping/designs.hpp"
#include "velmora/shaping/shape_trajectory.hpp"

namespace velmora::shaping {
namespace {

using native::Matrix;
using testing::ArmMode;
using testing::ResidualAmplitudes;

constexpr double kStep_s = 0.0005;
const ArmMode kSlow{5.0, 0.02};
const ArmMode kFast{12.0, 0.05};

// Seven joints that move at once by different angles, each along a quintic with its exact derivatives.
util::timing::JointTrajectory RawMove() {
  constexpr Eigen::Index kSteps = 500;
  constexpr double kDuration_s = kSteps * kStep_s;
  const double angles[] = {1.0, -0.7, 0.4, 1.3, -0.2, 0.9, -1.1};
  Matrix positions(kSteps + 1, 7);
  Matrix velocities(kSteps + 1, 7);
  Matrix accelerations(kSteps + 1, 7);
  for (Eigen::Index i = 0; i <= kSteps; ++i) {
    const double x = static_cast<double>(i) / kSteps;
    for (Eigen::Index j = 0; j < 7; ++j) {
      positions(i, j) = angles[j] * x * x * x * (10.0 + x * (-15.0 + x * 6.0));
      velocities(i, j) = angles[j] * 30.0 * x * x * (1.0 - x) * (1.0 - x) / kDuration_s;
      accelerations(i, j) = angles[j] * 60.0 * x * (1.0 - x) * (1.0 - 2.0 * x) / (kDuration_s * kDuration_s);
    }
  }
  return util::timing::JointTrajectory(positions, velocities, accelerations, std::nullopt, kStep_s, std::nullopt);
}

class FlexibleArm : public ::testing::Test {
 protected:
  // Of every joint, within 2 % of the prediction, or of a ten-thousandth of what is left unshaped where that is zero.
  void ExpectResidual(const ShapedCommand& command, const ImpulseSequence& sequence, const ArmMode& arm,
                      const std::string& name) const {
    const VibrationMode mode(arm.frequency_hz, arm.damping_ratio);
    const ShapedTrajectory whole = JoinMoveAndTail(command);
    const double after_s = whole.time[whole.time.size() - 1] - raw_.time[raw_.time.size() - 1];
    const double w = 2.0 * M_PI * arm.frequency_hz;
    const Vector raw = ResidualAmplitudes(arm, {raw_.positions, raw_.velocities(), raw_.accelerations(), raw_.time});
    const Vector left = ResidualAmplitudes(arm, whole);
    // The prediction is that for the time of the last impulse; the last sample may lie a little after it.
    const double waits_s = after_s - sequence.duration_s();
    const double predicted = ResidualVibration(sequence, mode) * std::exp(-arm.damping_ratio * w * waits_s);
    EXPECT_GE(waits_s, -1e-12);
    for (Eigen::Index j = 0; j < 7; ++j) {
      EXPECT_NEAR(left[j] / raw[j], predicted, std::max(0.02 * predicted, 1e-4)) << name << ", joint " << j;
    }
  }

  ShapedCommand Shaped(const ImpulseSequence& sequence) const {
    return ShapeTrajectory(raw_, {sequence}, kStep_s, util::timing::ResamplingMethod::linear);
  }

  util::timing::JointTrajectory raw_ = RawMove();
  std::vector<std::pair<std::string, ImpulseSequence>> designs_ = [] {
    // Designed for the slow mode, and for a mode that is a tenth off.
    std::vector<std::pair<std::string, ImpulseSequence>> designs;
    for (const double frequency_hz : {5.0, 5.5}) {
      const VibrationMode mode(frequency_hz, 0.02);
      const std::string at = " for " + std::to_string(frequency_hz);
      designs.emplace_back("ZV" + at, Zv(mode));
      designs.emplace_back("ZVD" + at, Zvd(mode));
      designs.emplace_back("ZVDD" + at, Zvdd(mode));
      designs.emplace_back("MZV" + at, Mzv(mode));
      designs.emplace_back("EI" + at, Ei(mode, 0.05));
      designs.emplace_back("two-hump EI" + at, TwoHumpEi(mode, 0.05));
      designs.emplace_back("three-hump EI" + at, ThreeHumpEi(mode, 0.05));
      designs.emplace_back("UM-ZV" + at, UmZv(mode));
      designs.emplace_back("UM-ZVD" + at, UmZvd(mode));
      designs.emplace_back("SI" + at, SpecifiedInsensitivity(mode, 0.9 * frequency_hz, 1.1 * frequency_hz, 0.05));
    }
    return designs;
  }();
};

TEST_F(FlexibleArm, VibratesAsPredictedAfterEveryShaper) {
  for (const auto& [name, sequence] : designs_) {
    const ShapedCommand command = Shaped(sequence);
    ExpectResidual(command, sequence, kSlow, name + ", slow mode");
    ExpectResidual(command, sequence, kFast, name + ", fast mode");
  }
}

TEST_F(FlexibleArm, VibratesAsPredictedAfterBlends) {
  for (const auto& [name, sequence] : designs_) {
    const ShapedCommand shaped = Shaped(sequence);
    for (const double weight : {0.0, 0.3, 0.7, 1.0}) {
      const ShapedCommand blend = BlendShapedTrajectory(raw_, shaped, weight);
      // The same sequence of times, so that the residual is that at the end of the tail.
      Vector amplitudes = weight * sequence.amplitudes;
      amplitudes[0] += 1.0 - weight;
      const ImpulseSequence predicted(sequence.times_s, amplitudes);
      ExpectResidual(blend, predicted, kSlow, name + ", weight " + std::to_string(weight));
    }
  }
}

TEST_F(FlexibleArm, ComesToRestInBothModesAfterTheConvolutionOfTwoShapers) {
  const ImpulseSequence both = Convolve(Zvd(VibrationMode(5.0, 0.02)), Zv(VibrationMode(12.0, 0.05)));
  const ShapedCommand command = Shaped(both);
  ExpectResidual(command, both, kSlow, "both, slow mode");
  ExpectResidual(command, both, kFast, "both, fast mode");
  EXPECT_LT(ResidualVibration(both, VibrationMode(5.0, 0.02)), 1e-12);
  EXPECT_LT(ResidualVibration(both, VibrationMode(12.0, 0.05)), 1e-12);
}

}  // namespace
}  // namespace velmora::shaping
