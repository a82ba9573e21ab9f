// Vibration modes: their checks and derived figures.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/vibration_mode.hpp"

#include <gtest/gtest.h>

#include <cmath>

#include "support/arrays.hpp"
#include "support/expect_throws.hpp"

namespace velmora::shaping {
namespace {

using testing::ExpectInvalidArgument;
using testing::kInfinity;
using testing::kNan;

TEST(VibrationMode, KeepsItsValues) {
  const VibrationMode mode(5.0, 0.02);
  EXPECT_EQ(mode.frequency_hz, 5.0);
  EXPECT_EQ(mode.damping_ratio, 0.02);
}

TEST(VibrationMode, ThrowsForFrequenciesThatDoNotOscillate) {
  for (const double frequency_hz : {0.0, -5.0, kNan, kInfinity, -kInfinity}) {
    ExpectInvalidArgument([=] { VibrationMode(frequency_hz, 0.1); },
                          "VibrationMode.frequency_hz must be finite and positive.");
  }
}

TEST(VibrationMode, ThrowsForDampingOutsideItsRange) {
  for (const double damping_ratio : {-1e-300, 1.0, 2.0, kNan, kInfinity}) {
    ExpectInvalidArgument([=] { VibrationMode(5.0, damping_ratio); }, "VibrationMode.damping_ratio must be in [0, 1).");
  }
}

TEST(VibrationMode, ChecksTheFrequencyFirst) {
  ExpectInvalidArgument([] { VibrationMode(0.0, 1.0); }, "VibrationMode.frequency_hz must be finite and positive.");
}

TEST(VibrationMode, HasTheFiguresOfAnUndampedMode) {
  const VibrationMode mode(4.0, 0.0);
  EXPECT_EQ(mode.damped_frequency_hz(), 4.0);
  EXPECT_EQ(mode.damped_period_s(), 0.25);
  EXPECT_EQ(mode.half_period_decay(), 1.0);
}

TEST(VibrationMode, HasTheFiguresOfADampedMode) {
  const VibrationMode mode(5.0, 0.6);  // sqrt(1 - 0.36) = 0.8
  EXPECT_DOUBLE_EQ(mode.damped_frequency_hz(), 4.0);
  EXPECT_DOUBLE_EQ(mode.damped_period_s(), 0.25);
  EXPECT_DOUBLE_EQ(mode.half_period_decay(), std::exp(-0.75 * 3.141592653589793));
}

}  // namespace
}  // namespace velmora::shaping
