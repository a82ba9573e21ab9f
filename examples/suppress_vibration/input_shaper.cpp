// Input shaping: a command that excites no vibration, as a weighted sum of delayed copies of itself.
// SPDX-License-Identifier: Apache-2.0
#include "input_shaper.hpp"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "velmora/util/timing/resampling.hpp"

namespace velmora::examples {

using native::Matrix;
using native::ShapedTrajectory;
using util::timing::JointTrajectory;

namespace {

constexpr double kMaxTailSamples = 1e7;
constexpr double kPi = 3.141592653589793;

double HalfPeriodDecay(const VibrationMode& mode) {
  return std::exp(-mode.damping_ratio * kPi / std::sqrt(1.0 - mode.damping_ratio * mode.damping_ratio));
}

// Adds amplitude * raw(time - delay) to `sum`, row by row of sum.time.
void AddDelayedCopy(const JointTrajectory& raw, const ShaperImpulse& impulse, ShapedTrajectory& sum) {
  const Vector query_time_s = sum.time.array() - impulse.delay_s;
  const double first_time_s = raw.time[0];
  const double last_time_s = raw.time[raw.time.size() - 1];
  const Eigen::Index held_before =
      std::lower_bound(query_time_s.begin(), query_time_s.end(), first_time_s) - query_time_s.begin();
  const Eigen::Index inside_end =
      std::upper_bound(query_time_s.begin(), query_time_s.end(), last_time_s) - query_time_s.begin();
  const Eigen::Index inside = inside_end - held_before;
  const Eigen::Index held_after = query_time_s.size() - inside_end;

  sum.positions.topRows(held_before).rowwise() += impulse.amplitude * raw.positions.row(0);
  sum.positions.bottomRows(held_after).rowwise() += impulse.amplitude * raw.positions.row(raw.positions.rows() - 1);
  // Without a query time, SampleTrajectoryAtTimes returns the whole trajectory.
  if (inside == 0) return;
  const JointTrajectory copy = util::timing::SampleTrajectoryAtTimes(raw, query_time_s.segment(held_before, inside),
                                                                     /*include_derivatives=*/true);
  sum.positions.middleRows(held_before, inside) += impulse.amplitude * copy.positions;
  sum.velocities.middleRows(held_before, inside) += impulse.amplitude * copy.velocities();
  sum.accelerations.middleRows(held_before, inside) += impulse.amplitude * copy.accelerations();
}

}  // namespace

InputShaper ZeroVibrationShaper(const VibrationMode& mode) {
  const double decay = HalfPeriodDecay(mode);
  const double half_period_s = 0.5 * mode.damped_period_s();
  const double total = 1.0 + decay;
  return {{1.0 / total, 0.0}, {decay / total, half_period_s}};
}

InputShaper ZeroVibrationDerivativeShaper(const VibrationMode& mode) {
  const double decay = HalfPeriodDecay(mode);
  const double period_s = mode.damped_period_s();
  const double total = (1.0 + decay) * (1.0 + decay);
  return {{1.0 / total, 0.0}, {2.0 * decay / total, 0.5 * period_s}, {decay * decay / total, period_s}};
}

double AddedDuration_s(const InputShaper& shaper) { return shaper.back().delay_s; }

Vector TailTimes_s(double raw_end_time_s, double added_duration_s, double sample_time_s) {
  const double steps = std::ceil(added_duration_s / sample_time_s);
  if (!(steps <= kMaxTailSamples)) throw std::length_error("the shaper delays the move by too many samples");
  Vector tail_time_s(static_cast<Eigen::Index>(steps));
  for (Eigen::Index i = 0; i < tail_time_s.size(); ++i) {
    tail_time_s[i] = raw_end_time_s + static_cast<double>(i + 1) * sample_time_s;
  }
  return tail_time_s;
}

ShapedTrajectory ShapeTrajectory(const JointTrajectory& raw, const Vector& tail_time_s, const InputShaper& shaper) {
  ShapedTrajectory shaped;
  shaped.time.resize(raw.time.size() + tail_time_s.size());
  shaped.time << raw.time, tail_time_s;
  shaped.positions = Matrix::Zero(shaped.time.size(), raw.positions.cols());
  shaped.velocities = shaped.positions;
  shaped.accelerations = shaped.positions;
  for (const ShaperImpulse& impulse : shaper) AddDelayedCopy(raw, impulse, shaped);
  return shaped;
}

}  // namespace velmora::examples
