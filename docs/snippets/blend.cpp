// The code of the guide's page on blending: from raw to shaped to tail.
// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>
#include <velmora/control/shaper/blending.hpp>
#include <velmora/control/shaper/parameters.hpp>
#include <velmora/control/shaper/tail_blend.hpp>
#include <velmora/util/smootherstep.hpp>
#include <velmora/util/timing/resampling.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

#include "guide_support.hpp"

namespace {

using namespace velmora::control::shaper;
using velmora::native::ShapedTrajectory;
using velmora::util::Smootherstep;
using velmora::util::timing::JointTrajectory;
using velmora::util::timing::SampleTrajectoryAtTimes;
using velmora::util::timing::TrajectoryAtTimes;

TEST(GuideBlend, ValidatesItsParametersFirst) {
  //! [validate]
  ValidateVibrationShapingWeight(1.0);
  ValidateVibrationWeightTransitionS(0.0);
  ValidateVibrationWeightRatePerS(2.5);
  EXPECT_EQ(MessageOf([] { ValidateVibrationShapingWeight(1.5); }), "vibration_shaping_weight must be in [0.0, 1.0]");
  EXPECT_EQ(MessageOf([] { ValidateVibrationWeightTransitionS(-0.1); }),
            "vibration_weight_transition_s must be non-negative");
  EXPECT_EQ(MessageOf([] { ValidateVibrationWeightRatePerS(0.0); }), "vibration_weight_rate_per_s must be positive");
  //! [validate]
}

TEST(GuideBlend, RampsSmoothly) {
  //! [ramp]
  EXPECT_EQ(Smootherstep(-3.0), 0.0);
  EXPECT_EQ(Smootherstep(0.25), 0.103515625);
  EXPECT_EQ(Smootherstep(0.5), 0.5);
  EXPECT_EQ(Smootherstep(7.0), 1.0);
  EXPECT_EQ(MessageOf([] { Smootherstep(std::nan("")); }), "unit_progress must be finite");
  //! [ramp]
}

TEST(GuideBlend, MixesRawAndShaped) {
  //! [blend]
  const Matrix raw{{4.0}, {4.0}, {4.0}};
  const Matrix shaped{{8.0}, {8.0}, {8.0}};
  EXPECT_EQ(BlendArrays(raw, shaped, 0.25), (Matrix{{5.0}, {5.0}, {5.0}}));  // one weight for all samples

  const Vector ramp{{0.0, 0.5, 1.0}};  // one weight per sample
  EXPECT_EQ(BlendArrays(raw, shaped, ramp), (Matrix{{4.0}, {6.0}, {8.0}}));

  EXPECT_EQ(MessageOf([&] { BlendArrays(raw, Matrix::Zero(2, 1), ramp); }),
            "raw and shaped arrays must have the same shape");
  EXPECT_EQ(MessageOf([&] { BlendArrays(raw, shaped, Vector::Zero(2)); }),
            "per-sample shaping weights must match the sample count");
  //! [blend]
}

TEST(GuideBlend, LeavesTheWeightAlone) {
  //! [unvalidated]
  const Matrix raw = Matrix::Constant(1, 1, 4.0);
  const Matrix shaped = Matrix::Constant(1, 1, 8.0);
  EXPECT_EQ(BlendArrays(raw, shaped, 1.5)(0, 0), 10.0);  // extrapolates
  EXPECT_TRUE(std::isnan(BlendArrays(raw, shaped, std::nan(""))(0, 0)));

  // A weight of 0 still multiplies the shaped array: by zero, which makes NaN of infinity and +0.0 of -0.0.
  const Matrix infinite = Matrix::Constant(1, 1, std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(BlendArrays(raw, infinite, 0.0)(0, 0)));
  const Matrix minus_zero = Matrix::Constant(1, 1, -0.0);
  EXPECT_EQ(BlendArrays(minus_zero, shaped, 0.0), minus_zero);             // equal by value ...
  EXPECT_FALSE(std::signbit(BlendArrays(minus_zero, shaped, 0.0)(0, 0)));  // ... with another sign bit
  //! [unvalidated]
}

TEST(GuideBlend, HoldsTheRawEndpointUnderTheTail) {
  //! [tail]
  ShapedTrajectory tail;  // what the shaped copy still does after the raw end
  tail.positions = Matrix{{4.0}, {2.5}};
  tail.velocities = Matrix{{6.0}, {1.0}};
  tail.accelerations = Matrix{{-8.0}, {-2.0}};
  tail.time = Vector{{1.0, 1.25}};
  const Vector raw_end = Vector::Constant(1, 2.0);

  const ShapedTrajectory half = BlendTailWithHeldRawEndpoint(raw_end, tail, 0.5);
  EXPECT_EQ(half.positions, (Matrix{{3.0}, {2.25}}));
  EXPECT_EQ(half.velocities, (Matrix{{3.0}, {0.5}}));
  EXPECT_EQ(half.accelerations, (Matrix{{-4.0}, {-1.0}}));
  EXPECT_EQ(half.time, tail.time);

  const Vector two_joints = Vector::Zero(2);
  EXPECT_EQ(MessageOf([&] { BlendTailWithHeldRawEndpoint(two_joints, tail, 0.5); }), "raw_position length mismatch");
  //! [tail]
}

//! [road_shape]
// Half of the command at once and half of it `delay_s` later, held at the start before it begins and at the end after
// it is over: the simplest two-impulse shaper, for a mode whose half period is `delay_s` and that is not damped.
Matrix ShapedPositions(const JointTrajectory& raw, const Vector& time, double delay_s) {
  const double start_time_s = raw.time[0];
  const double end_time_s = raw.time[raw.time.size() - 1];
  const auto at = [&](double time_s) -> Matrix {
    const Vector query = Vector::Constant(1, std::clamp(time_s, start_time_s, end_time_s));
    return SampleTrajectoryAtTimes(raw, query, false).positions;
  };
  Matrix shaped(time.size(), raw.positions.cols());
  for (Eigen::Index i = 0; i < time.size(); ++i) shaped.row(i) = 0.5 * at(time[i]) + 0.5 * at(time[i] - delay_s);
  return shaped;
}
//! [road_shape]

TEST(GuideBlend, WalksTheWholeRoad) {
  //! [road]
  const JointTrajectory raw =
      TrajectoryAtTimes(Matrix{{0.0}, {0.25}, {0.5}, {0.75}, {1.0}}, Vector{{0.0, 0.25, 0.5, 0.75, 1.0}});
  const double weight = 0.5;
  const double transition_s = 0.5;
  const double delay_s = 0.5;
  ValidateVibrationShapingWeight(weight);
  ValidateVibrationWeightTransitionS(transition_s);

  // Up to the raw end: the weight rises from 0 to its value within the transition, sample by sample.
  Vector weights(raw.time.size());
  for (Eigen::Index i = 0; i < weights.size(); ++i) weights[i] = weight * Smootherstep(raw.time[i] / transition_s);
  const Matrix moving = BlendArrays(raw.positions, ShapedPositions(raw, raw.time, delay_s), weights);

  // Beyond the raw end: the same weight, against the raw endpoint held at rest.
  const Vector tail_time{{1.25, 1.5}};
  const JointTrajectory shaped_tail = TrajectoryAtTimes(ShapedPositions(raw, tail_time, delay_s), tail_time);
  const ShapedTrajectory tail{shaped_tail.positions, shaped_tail.velocities(), shaped_tail.accelerations(), tail_time};
  const Vector raw_end = raw.positions.row(raw.positions.rows() - 1);
  const ShapedTrajectory settling = BlendTailWithHeldRawEndpoint(raw_end, tail, weight);

  EXPECT_EQ(moving(0, 0), 0.0);    // starts with raw
  EXPECT_EQ(moving(4, 0), 0.875);  // half raw 1.0, half shaped 0.75
  EXPECT_EQ(settling.positions(0, 0), 0.9375);
  EXPECT_EQ(settling.positions(1, 0), 1.0);  // arrives, `delay_s` late
  //! [road]
}

TEST(GuideBlend, MeasuresThePath) {
  //! [path]
  const Matrix positions{{0.0, 0.0}, {3.0, 4.0}, {3.0, 4.0}, {6.0, 8.0}};
  EXPECT_EQ(JointPathCoordinate(positions), (Vector{{0.0, 5.0, 5.0, 10.0}}));
  //! [path]
}

}  // namespace
