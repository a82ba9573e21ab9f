// Sequences in closed form: zero vibration, with derivatives or by three impulses.
// SPDX-License-Identifier: Apache-2.0
#include <cmath>
#include <initializer_list>
#include <utility>

#include "internal/exact_arithmetic.hpp"
#include "shaping/elementary_functions.hpp"
#include "shaping/residual_vector.hpp"
#include "velmora/shaping/designs.hpp"

namespace velmora::shaping {
namespace {

using Eigen::Index;

// Impulses `spacing_s` apart whose vibrations, each decayed by `decay` when the next one comes, are as the weights say.
ImpulseSequence EvenlySpaced(std::initializer_list<double> weights, double decay, double spacing_s) {
  const Index impulses = static_cast<Index>(weights.size());
  Vector times_s(impulses);
  Vector amplitudes(impulses);
  double power = 1.0;
  double sum = 0.0;
  Index i = 0;
  for (const double weight : weights) {
    times_s[i] = static_cast<double>(i) * spacing_s;
    amplitudes[i] = weight * power;
    sum += amplitudes[i];
    power *= decay;
    ++i;
  }
  amplitudes /= sum;
  return ImpulseSequence(std::move(times_s), std::move(amplitudes));
}

}  // namespace

ImpulseSequence Zv(const VibrationMode& mode) {
  return EvenlySpaced({1.0, 1.0}, mode.half_period_decay(), 0.5 * mode.damped_period_s());
}

ImpulseSequence Zvd(const VibrationMode& mode) {
  return EvenlySpaced({1.0, 2.0, 1.0}, mode.half_period_decay(), 0.5 * mode.damped_period_s());
}

ImpulseSequence Zvdd(const VibrationMode& mode) {
  return EvenlySpaced({1.0, 3.0, 3.0, 1.0}, mode.half_period_decay(), 0.5 * mode.damped_period_s());
}

ImpulseSequence Mzv(const VibrationMode& mode) {
  const double decay = Exp(-(0.75 * kPi * mode.damping_ratio) / DampedShare(mode.damping_ratio));
  return EvenlySpaced({1.0, std::sqrt(2.0), 1.0}, decay, 0.375 * mode.damped_period_s());
}

}  // namespace velmora::shaping
