// Unity-magnitude sequences: impulses of 1 and -1 in turn, at times solved for the damping.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <utility>

#include "internal/finiteness.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "shaping/equations.hpp"
#include "shaping/residual_vector.hpp"
#include "velmora/shaping/designs.hpp"

namespace velmora::shaping {
namespace {

using Eigen::Index;

constexpr double kLargestDampingStep = 0.02;
constexpr int kIterationsPerStep = 6;
constexpr int kFinalIterations = 10;
constexpr double kVerifiedWithin = 1e-9;

// For a mode of 1 Hz; the unknowns are the times without the first.
Impulses ImpulsesOf(const Vector& unknowns) {
  const Index impulses = unknowns.size() + 1;
  Impulses result{Vector(impulses), Vector(impulses)};
  result.times_s[0] = 0.0;
  result.amplitudes[0] = 1.0;
  for (Index i = 1; i < impulses; ++i) {
    result.times_s[i] = unknowns[i - 1];
    result.amplitudes[i] = i % 2 == 0 ? 1.0 : -1.0;
  }
  return result;
}

// No vibration and, where there are unknowns left for it, no slope of it over the frequency.
void EvaluateConstraints(const Vector& unknowns, double damping_ratio, Vector& residuals) {
  const ResidualVector residual = ResidualOf(ImpulsesOf(unknowns), 1.0, damping_ratio);
  residuals[0] = residual.cosine;
  residuals[1] = residual.sine;
  if (unknowns.size() == 2) return;
  residuals[2] = residual.cosine_rate;
  residuals[3] = residual.sine_rate;
}

bool MeetsItsDescription(const Vector& unknowns, double damping_ratio) {
  if (!internal::AllFinite(unknowns)) return false;
  Vector residuals(unknowns.size());
  EvaluateConstraints(unknowns, damping_ratio, residuals);
  for (Index i = 0; i < unknowns.size(); ++i) {
    if (!(std::abs(residuals[i]) <= kVerifiedWithin)) return false;
    if (!(unknowns[i] > (i == 0 ? 0.0 : unknowns[i - 1]))) return false;
  }
  return true;
}

// From the undamped times on, the damping is raised step by step, each solution being the start of the next.
ImpulseSequence Design(const VibrationMode& mode, Vector times) {
  const int steps = static_cast<int>(std::ceil(mode.damping_ratio / kLargestDampingStep));
  for (int step = 0; step <= steps; ++step) {
    const double damping_ratio = steps == 0 ? 0.0 : mode.damping_ratio * (static_cast<double>(step) / steps);
    const Equations equations = [&](const Vector& unknowns, Vector& residuals) {
      EvaluateConstraints(unknowns, damping_ratio, residuals);
    };
    times = NewtonSteps(equations, std::move(times), step < steps ? kIterationsPerStep : kFinalIterations);
  }
  if (!MeetsItsDescription(times, mode.damping_ratio)) {
    internal::ThrowInvalidArgument("No sequence of this design was found for this damping_ratio.");
  }
  Impulses impulses = ImpulsesOf(times);
  impulses.times_s /= mode.frequency_hz;
  return ImpulseSequence(std::move(impulses.times_s), std::move(impulses.amplitudes));
}

}  // namespace

ImpulseSequence UmZv(const VibrationMode& mode) { return Design(mode, Vector{{1.0 / 6.0, 1.0 / 3.0}}); }

// The undamped times to a few digits; the first steps find the others.
ImpulseSequence UmZvd(const VibrationMode& mode) { return Design(mode, Vector{{0.0894, 0.3661, 0.6428, 0.7323}}); }

}  // namespace velmora::shaping
