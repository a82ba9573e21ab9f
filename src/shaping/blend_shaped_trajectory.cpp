// Blends of a raw trajectory with its shaped copy.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/blend_shaped_trajectory.hpp"

#include <algorithm>
#include <optional>
#include <utility>

#include "internal/exact_arithmetic.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "shaping/command_at_times.hpp"
#include "shaping/impulse_sequence_sizes.hpp"
#include "shaping/shaped_parts.hpp"
#include "util/timing/trajectory_sizes.hpp"
#include "velmora/control/shaper/blending.hpp"
#include "velmora/control/shaper/parameters.hpp"
#include "velmora/control/shaper/tail_blend.hpp"
#include "velmora/util/smootherstep.hpp"

namespace velmora::shaping {
namespace {

using control::shaper::BlendArrays;
using Eigen::Index;
using internal::ThrowInvalidArgument;

// A weight over time, with its derivatives.
struct WeightCurve {
  Vector weight;
  Vector rate_per_s;
  Vector acceleration_per_s2;
};

void CheckSamples(const JointTrajectory& raw, const ShapedCommand& shaped) {
  util::timing::CheckSizes(raw);
  CheckDerivatives(raw);
  CheckParts(shaped);
  if (shaped.move.positions.cols() != raw.positions.cols()) {
    ThrowInvalidArgument("raw and shaped.move must have the same number of joints.");
  }
  if (shaped.move.time.size() != raw.time.size() ||
      !std::equal(raw.time.begin(), raw.time.end(), shaped.move.time.begin())) {
    ThrowInvalidArgument("raw and shaped.move must have the same sample times.");
  }
}

ShapedCommand BlendConstant(const JointTrajectory& raw, const ShapedCommand& shaped,
                            const std::variant<double, Vector>& weight, double tail_weight) {
  ShapedCommand blend = shaped;
  blend.move.positions = BlendArrays(raw.positions, shaped.move.positions, weight);
  blend.move.velocities = BlendArrays(raw.velocities(), shaped.move.velocities, weight);
  blend.move.accelerations = BlendArrays(raw.accelerations(), shaped.move.accelerations, weight);
  const Vector endpoint = raw.positions.row(raw.positions.rows() - 1).transpose();
  blend.tail = control::shaper::BlendTailWithHeldRawEndpoint(endpoint, shaped.tail, tail_weight);
  return blend;
}

ShapedCommand BlendCurve(const JointTrajectory& raw, const ShapedCommand& shaped, const WeightCurve& curve) {
  const Index samples = raw.time.size();
  ShapedCommand blend = BlendConstant(raw, shaped, curve.weight, curve.weight[samples - 1]);
  const Matrix& raw_velocities = raw.velocities();
  for (Index i = 0; i < samples; ++i) {
    const double rate = curve.rate_per_s[i];
    const double acceleration = curve.acceleration_per_s2[i];
    for (Index j = 0; j < raw.positions.cols(); ++j) {
      const double position_difference = shaped.move.positions(i, j) - raw.positions(i, j);
      const double velocity_difference = shaped.move.velocities(i, j) - raw_velocities(i, j);
      blend.move.velocities(i, j) += rate * position_difference;
      blend.move.accelerations(i, j) += 2.0 * (rate * velocity_difference);
      blend.move.accelerations(i, j) += acceleration * position_difference;
    }
  }
  return blend;
}

WeightCurve CurveOfSamples(const Vector& weights, const Vector& time) {
  const JointTrajectory curve(weights, std::nullopt, std::nullopt, time, std::nullopt, std::nullopt);
  return {weights, curve.velocities().col(0), curve.accelerations().col(0)};
}

// 6 x^5 - 15 x^4 + 10 x^3 over the transition, with 30 x^2 (1 - x)^2 and 60 x (1 - x) (1 - 2 x).
WeightCurve CurveOfTransition(const WeightTransition& transition, const Vector& time) {
  const double final_weight = transition.vibration_shaping_weight;
  const double rise_s = transition.vibration_weight_transition_s;
  WeightCurve curve{Vector(time.size()), Vector(time.size()), Vector(time.size())};
  for (Index i = 0; i < time.size(); ++i) {
    // A step may lie beyond the largest number of transitions.
    const double x = std::min((time[i] - time[0]) / rise_s, 1.0);
    const double rest = 1.0 - x;
    curve.weight[i] = final_weight * util::Smootherstep(x);
    curve.rate_per_s[i] = final_weight * 30.0 * x * x * rest * rest / rise_s;
    const double bend = final_weight * 60.0 * x * rest * (1.0 - 2.0 * x);
    curve.acceleration_per_s2[i] = bend == 0.0 ? bend : bend / (rise_s * rise_s);  // the square may underflow
  }
  return curve;
}

}  // namespace

ShapedCommand BlendShapedTrajectory(const JointTrajectory& raw, const ShapedCommand& shaped,
                                    const std::variant<double, Vector>& weight) {
  CheckSamples(raw, shaped);
  if (std::holds_alternative<double>(weight)) {
    const double constant = std::get<double>(weight);
    control::shaper::ValidateVibrationShapingWeight(constant);
    return BlendConstant(raw, shaped, weight, constant);
  }
  const Vector& weights = std::get<Vector>(weight);
  if (weights.size() != raw.time.size()) {
    ThrowInvalidArgument("per-sample shaping weights must match the sample count");
  }
  for (const double one : weights) control::shaper::ValidateVibrationShapingWeight(one);
  return BlendCurve(raw, shaped, CurveOfSamples(weights, raw.time));
}

ShapedCommand BlendShapedTrajectory(const JointTrajectory& raw, const ShapedCommand& shaped,
                                    const WeightTransition& transition) {
  CheckSamples(raw, shaped);
  control::shaper::ValidateVibrationShapingWeight(transition.vibration_shaping_weight);
  control::shaper::ValidateVibrationWeightTransitionS(transition.vibration_weight_transition_s);
  if (transition.vibration_weight_transition_s == 0.0) {
    const double weight = transition.vibration_shaping_weight;
    return BlendConstant(raw, shaped, weight, weight);
  }
  return BlendCurve(raw, shaped, CurveOfTransition(transition, raw.time));
}

ImpulseSequence BlendedSequence(const ImpulseSequence& sequence, double vibration_shaping_weight) {
  CheckSizes(sequence);
  control::shaper::ValidateVibrationShapingWeight(vibration_shaping_weight);
  if (vibration_shaping_weight == 0.0) return ImpulseSequence(Vector::Zero(1), Vector::Ones(1));
  Vector amplitudes = vibration_shaping_weight * sequence.amplitudes;
  amplitudes[0] += 1.0 - vibration_shaping_weight;
  return ImpulseSequence(sequence.times_s, std::move(amplitudes));
}

}  // namespace velmora::shaping
