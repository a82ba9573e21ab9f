// The code of the guide's page on numeric promises that is compiled and linked with -ffast-math.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <velmora/control/shaper/blending.hpp>
#include <velmora/control/shaper/parameters.hpp>
#include <velmora/util/smootherstep.hpp>
#include <velmora/util/timing/trajectory.hpp>

#include <limits>

#include "guide_support.hpp"

namespace {

using velmora::control::shaper::BlendArrays;
using velmora::native::Matrix;
using velmora::native::Vector;
using velmora::util::Smootherstep;
using velmora::util::timing::TrajectoryAtTimes;

TEST(GuideFastMath, KeepsTheBitsOfOrdinaryNumbers) {
  //! [same]
  EXPECT_EQ(BlendArrays(Matrix::Constant(1, 1, 0.1), Matrix::Constant(1, 1, 0.3), 0.3)(0, 0), 0.16);
  EXPECT_EQ(Smootherstep(0.25), 0.103515625);

  const Matrix not_a_number = Matrix::Constant(1, 1, std::numeric_limits<double>::quiet_NaN());
  EXPECT_EQ(MessageOf([&] { TrajectoryAtTimes(not_a_number, Vector::Zero(1)); }),
            "JointTrajectory.positions must contain only finite values.");
  //! [same]
}

TEST(GuideFastMath, TakesSubnormalsForZero) {
  //! [subnormal]
  using velmora::control::shaper::ValidateVibrationWeightRatePerS;
  const double subnormal = std::numeric_limits<double>::denorm_min();
  EXPECT_EQ(MessageOf([=] { ValidateVibrationWeightRatePerS(subnormal); }),
            "vibration_weight_rate_per_s must be positive");  // taken for zero
  //! [subnormal]
}

}  // namespace
