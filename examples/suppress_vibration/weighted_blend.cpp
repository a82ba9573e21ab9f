// From the raw command to its shaped copy: the ramped weight, the blend of the move and the blend of the tail.
// SPDX-License-Identifier: Apache-2.0
#include "weighted_blend.hpp"

#include <algorithm>

#include "velmora/control/shaper/blending.hpp"
#include "velmora/control/shaper/parameters.hpp"
#include "velmora/control/shaper/tail_blend.hpp"
#include "velmora/util/smootherstep.hpp"

namespace velmora::examples {

using control::shaper::BlendArrays;
using control::shaper::BlendTailWithHeldRawEndpoint;
using native::Matrix;
using native::ShapedTrajectory;
using util::timing::JointTrajectory;

namespace {

// 6 x^5 - 15 x^4 + 10 x^3 is steepest at x = 1/2.
constexpr double kSmootherstepTopSlope = 1.875;

ShapedTrajectory BlendMove(const JointTrajectory& raw, const ShapedTrajectory& shaped, const WeightRamp& ramp) {
  const Eigen::Index samples = raw.time.size();
  const Matrix shaped_positions = shaped.positions.topRows(samples);
  const Matrix shaped_velocities = shaped.velocities.topRows(samples);
  const Matrix shaped_accelerations = shaped.accelerations.topRows(samples);
  ShapedTrajectory blend;
  blend.time = raw.time;
  blend.positions = BlendArrays(raw.positions, shaped_positions, ramp.weight);
  blend.velocities = BlendArrays(raw.velocities(), shaped_velocities, ramp.weight);
  blend.accelerations = BlendArrays(raw.accelerations(), shaped_accelerations, ramp.weight);
  // While the weight w changes, the product rule adds terms with the difference d = shaped - raw:
  // (w d)' = w d' + w' d and (w d)'' = w d'' + 2 w' d' + w'' d.
  const Matrix position_difference = shaped_positions - raw.positions;
  const Matrix velocity_difference = shaped_velocities - raw.velocities();
  blend.velocities += ramp.weight_rate_per_s.asDiagonal() * position_difference;
  blend.accelerations += 2.0 * (ramp.weight_rate_per_s.asDiagonal() * velocity_difference);
  blend.accelerations += ramp.weight_acceleration_per_s2.asDiagonal() * position_difference;
  return blend;
}

ShapedTrajectory BottomRows(const ShapedTrajectory& trajectory, Eigen::Index count) {
  return {trajectory.positions.bottomRows(count), trajectory.velocities.bottomRows(count),
          trajectory.accelerations.bottomRows(count), trajectory.time.tail(count)};
}

Matrix Stacked(const Matrix& top, const Matrix& bottom) {
  Matrix stacked(top.rows() + bottom.rows(), top.cols());
  stacked << top, bottom;
  return stacked;
}

}  // namespace

WeightRamp RampWeight(const Vector& time_s, const BlendParameters& parameters) {
  const double final_weight = parameters.vibration_shaping_weight;
  control::shaper::ValidateVibrationShapingWeight(final_weight);
  control::shaper::ValidateVibrationWeightTransitionS(parameters.vibration_weight_transition_s);
  control::shaper::ValidateVibrationWeightRatePerS(parameters.vibration_weight_rate_per_s);

  WeightRamp ramp{Vector::Constant(time_s.size(), final_weight), Vector::Zero(time_s.size()),
                  Vector::Zero(time_s.size())};
  const double rise_s = std::max(parameters.vibration_weight_transition_s,
                                 kSmootherstepTopSlope * final_weight / parameters.vibration_weight_rate_per_s);
  if (rise_s == 0.0) return ramp;
  for (Eigen::Index i = 0; i < time_s.size(); ++i) {
    const double progress = (time_s[i] - time_s[0]) / rise_s;
    ramp.weight[i] = final_weight * util::Smootherstep(progress);
    const double x = std::min(progress, 1.0);
    ramp.weight_rate_per_s[i] = final_weight * 30.0 * x * x * (1.0 - x) * (1.0 - x) / rise_s;
    ramp.weight_acceleration_per_s2[i] = final_weight * 60.0 * x * (1.0 - x) * (1.0 - 2.0 * x) / (rise_s * rise_s);
  }
  return ramp;
}

ShapedTrajectory BlendRawWithShaped(const JointTrajectory& raw, const ShapedTrajectory& shaped,
                                    const BlendParameters& parameters) {
  const Eigen::Index samples = raw.time.size();
  const WeightRamp ramp = RampWeight(raw.time, parameters);
  const ShapedTrajectory move = BlendMove(raw, shaped, ramp);

  const Vector raw_endpoint = raw.positions.row(samples - 1).transpose();
  const ShapedTrajectory tail = BlendTailWithHeldRawEndpoint(
      raw_endpoint, BottomRows(shaped, shaped.time.size() - samples), ramp.weight[samples - 1]);

  return {Stacked(move.positions, tail.positions), Stacked(move.velocities, tail.velocities),
          Stacked(move.accelerations, tail.accelerations), shaped.time};
}

}  // namespace velmora::examples
