// The code of the guide's page on numeric promises.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <velmora/control/shaper/blending.hpp>
#include <velmora/control/shaper/parameters.hpp>
#include <velmora/util/smootherstep.hpp>
#include <velmora/util/timing/differentiation.hpp>

#include <cfenv>
#include <cmath>
#include <limits>

namespace {

using velmora::control::shaper::BlendArrays;
using velmora::native::Matrix;
using velmora::util::Smootherstep;
using velmora::util::timing::SampleAlignedFirstDifference;

TEST(GuideNumerics, FuseOnlyWhereNamed) {
  //! [fused]
  const double w = 0.3;
  const double raw = 0.1;
  const double shaped = 0.3;
  const double blend = BlendArrays(Matrix::Constant(1, 1, raw), Matrix::Constant(1, 1, shaped), w)(0, 0);

  EXPECT_EQ(blend, std::fma(1.0 - w, raw, w * shaped));  // one product rounded, the other fused
  EXPECT_EQ(blend, 0.16);

  const double rounded_raw = (1.0 - w) * raw;
  const double rounded_shaped = w * shaped;
  EXPECT_EQ(rounded_raw + rounded_shaped, 0.15999999999999998);  // three roundings: the neighbouring double
  //! [fused]
}

TEST(GuideNumerics, WriteTheOrderOfOperations) {
  //! [order]
  for (const double x : {0.1, 0.3, 0.7, 0.9}) {
    const double p = std::fma(x, 6.0, -15.0);
    const double cube = (x * x) * x;
    const double q = std::fma(p, x, 10.0);
    EXPECT_EQ(Smootherstep(x), cube * q);
  }
  //! [order]
}

TEST(GuideNumerics, DivideRatherThanMultiplyByAReciprocal) {
  //! [division]
  const Matrix difference = SampleAlignedFirstDifference(Matrix{{0.0}, {5.0}}, 49.0);
  EXPECT_EQ(difference(0, 0), 5.0 / 49.0);
  EXPECT_NE(difference(0, 0), 5.0 * (1.0 / 49.0));
  //! [division]
}

TEST(GuideNumerics, KeepSubnormals) {
  //! [subnormal]
  const double subnormal = std::numeric_limits<double>::denorm_min();
  EXPECT_NO_THROW(velmora::control::shaper::ValidateVibrationWeightRatePerS(subnormal));  // greater than zero
  //! [subnormal]
}

TEST(GuideNumerics, FollowTheCallersRoundingMode) {
  //! [rounding]
  const Matrix third{{0.0}, {1.0}};
  const double nearest = SampleAlignedFirstDifference(third, 3.0)(0, 0);
  std::fesetround(FE_UPWARD);
  const double upward = SampleAlignedFirstDifference(third, 3.0)(0, 0);
  std::fesetround(FE_TONEAREST);
  EXPECT_EQ(upward, std::nextafter(nearest, 1.0));
  //! [rounding]
}

}  // namespace
