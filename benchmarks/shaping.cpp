// Shaping by an impulse sequence, with velocities and accelerations, beside the evaluations that it consists of.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/shape_trajectory.hpp"

#include <vector>

#include "agreement.hpp"
#include "contender.hpp"
#include "shaping_sequence.hpp"
#include "util/timing/cubic_spline.hpp"

namespace velmora::benchmarks {
namespace {

using shaping::ShapedTrajectory;
using util::timing::SplineSamples;

// The delayed copies that are weighted and added, each of as many rows as the result.
std::vector<SplineSamples> EvaluateCopies(const Recording& r) {
  const shaping::ImpulseSequence sequence = ThreeImpulses();
  const Vector& time = r.trajectory.time;
  const Matrix& positions = r.trajectory.positions;
  const Matrix knot_second_derivatives = util::timing::BuildCubicSpline(time, positions);
  std::vector<SplineSamples> copies;
  for (const double delay_s : sequence.times_s) {
    const Vector delayed_s = (time.array() - delay_s).max(time[0]);
    copies.push_back(util::timing::EvaluateCubicSpline(time, positions, knot_second_derivatives, delayed_s));
  }
  return copies;
}

}  // namespace

void AddShaping() {
  AddContender("shape", "library", kLargestResampled, Shape);
  AddContender("shape", "evaluations", kLargestResampled, EvaluateCopies);
}

void CheckShaping() {
  const Recording r(1000, 7);
  const Vector amplitudes = ThreeImpulses().amplitudes;
  const std::vector<SplineSamples> copies = EvaluateCopies(r);
  Matrix sum = Matrix::Zero(1000, 7);
  for (std::size_t i = 0; i < copies.size(); ++i) sum += amplitudes[static_cast<Eigen::Index>(i)] * copies[i].values;
  RequireAgreement("shape/evaluations", Shape(r).move.positions, sum);
}

}  // namespace velmora::benchmarks
