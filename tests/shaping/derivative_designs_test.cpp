// The sequences in closed form: literal values, and the vibration and its slopes that they leave.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <cmath>

#include "shaping/residual_oracle.hpp"
#include "support/arrays.hpp"
#include "support/compare_bits.hpp"
#include "support/expect_throws.hpp"
#include "velmora/shaping/designs.hpp"

namespace velmora::shaping {
namespace {

using testing::IsNear;
using testing::OracleResidual;
using testing::SameBits;
using testing::Values;

TEST(Designs, HaveTheirUndampedValues) {
  const VibrationMode mode(0.5, 0.0);  // T = 2 s
  EXPECT_TRUE(SameBits(Values({0.0, 1.0}), Zv(mode).times_s));
  EXPECT_TRUE(SameBits(Values({0.5, 0.5}), Zv(mode).amplitudes));
  EXPECT_TRUE(SameBits(Values({0.0, 1.0, 2.0}), Zvd(mode).times_s));
  EXPECT_TRUE(SameBits(Values({0.25, 0.5, 0.25}), Zvd(mode).amplitudes));
  EXPECT_TRUE(SameBits(Values({0.0, 1.0, 2.0, 3.0}), Zvdd(mode).times_s));
  EXPECT_TRUE(SameBits(Values({0.125, 0.375, 0.375, 0.125}), Zvdd(mode).amplitudes));
  EXPECT_TRUE(SameBits(Values({0.0, 0.75, 1.5}), Mzv(mode).times_s));
  const double outer = 1.0 - std::sqrt(0.5);
  EXPECT_TRUE(IsNear(Values({outer, std::sqrt(2.0) - 1.0, outer}), Mzv(mode).amplitudes, 1e-16));
}

TEST(Designs, HaveTheirDampedValues) {
  const VibrationMode mode(5.0, 0.1);
  const double k = std::exp(-0.1 * 3.141592653589793 / std::sqrt(0.99));
  const double period_s = 0.2 / std::sqrt(0.99);
  EXPECT_TRUE(IsNear(Values({0.0, period_s / 2, period_s}), Zvd(mode).times_s, 1e-16));
  const double sum = (1.0 + k) * (1.0 + k);
  EXPECT_TRUE(IsNear(Values({1.0 / sum, 2.0 * k / sum, k * k / sum}), Zvd(mode).amplitudes, 2e-16));
  EXPECT_TRUE(IsNear(Values({1.0 / (1.0 + k), k / (1.0 + k)}), Zv(mode).amplitudes, 2e-16));
  EXPECT_TRUE(IsNear(Values({0.0, 0.375 * period_s, 0.75 * period_s}), Mzv(mode).times_s, 1e-16));
}

// The derivative of order n of the residual vector over the frequency vanishes where the residual near the mode falls
// like the power n + 1 of the distance.
TEST(Designs, LeaveNoVibrationAndNoSlopesOfIt) {
  for (const double damping_ratio : {0.0, 0.05, 0.3, 0.7}) {
    const VibrationMode mode(5.0, damping_ratio);
    int order = 1;
    for (const ImpulseSequence& sequence : {Zv(mode), Zvd(mode), Zvdd(mode)}) {
      EXPECT_NEAR(OracleResidual(sequence, 5.0, damping_ratio), 0.0, 1e-15);
      const double near = OracleResidual(sequence, 5.0 * 1.01, damping_ratio);
      const double nearer = OracleResidual(sequence, 5.0 * 1.001, damping_ratio);
      EXPECT_NEAR(std::log10(near / nearer), order, 0.05) << "damping " << damping_ratio;
      ++order;
    }
    EXPECT_NEAR(OracleResidual(Mzv(mode), 5.0, damping_ratio), 0.0, 1e-15);
  }
}

TEST(Designs, ThrowWhereTimesLeaveTheRangeOfNumbers) {
  testing::ExpectInvalidArgument([] { Zv(VibrationMode(1e-320, 0.0)); },
                                 "ImpulseSequence.times_s must contain only finite values.");
}

}  // namespace
}  // namespace velmora::shaping
