// Unity-magnitude sequences: published values, and what defines them.
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
using testing::Values;

TEST(UnityMagnitude, HasItsUndampedValues) {
  const VibrationMode mode(0.5, 0.0);  // T = 2 s
  EXPECT_TRUE(IsNear(Values({0.0, 1.0 / 3.0, 2.0 / 3.0}), UmZv(mode).times_s, 1e-15));
  EXPECT_TRUE(IsNear(Values({1.0, -1.0, 1.0}), UmZv(mode).amplitudes, 0.0));
  EXPECT_TRUE(IsNear(Values({1.0, -1.0, 1.0, -1.0, 1.0}), UmZvd(mode).amplitudes, 0.0));
  EXPECT_TRUE(IsNear(Values({0.0, 0.17902, 0.73247, 1.28592, 1.46494}), UmZvd(mode).times_s, 1e-5));
}

TEST(UnityMagnitude, LeavesNoVibrationAndNoSlopeOfIt) {
  for (const double damping_ratio : {0.0, 0.01, 0.05, 0.1, 0.2, 0.5, 0.8}) {
    const VibrationMode mode(5.0, damping_ratio);
    EXPECT_LT(OracleResidual(UmZv(mode), 5.0, damping_ratio), 1e-9);
    EXPECT_LT(OracleResidual(UmZvd(mode), 5.0, damping_ratio), 1e-9);
    EXPECT_LT(OracleResidual(UmZvd(mode), 5.0 * 1.001, damping_ratio), 1e-5);
  }
}

TEST(UnityMagnitude, IsShorterThanPositiveImpulses) {
  const VibrationMode mode(5.0, 0.1);
  EXPECT_LT(UmZv(mode).duration_s(), Zv(mode).duration_s());
  EXPECT_LT(UmZvd(mode).duration_s(), Zvd(mode).duration_s());
}

TEST(UnityMagnitude, ThrowsWhereTimesFallTogether) {
  testing::ExpectInvalidArgument([] { UmZvd(VibrationMode(1.0, 0.99)); },
                                 "No sequence of this design was found for this damping_ratio.");
}

}  // namespace
}  // namespace velmora::shaping
