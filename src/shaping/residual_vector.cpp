// The vibration that impulses leave behind, as a vector: what every design and every figure of a shaper rests on.
// SPDX-License-Identifier: Apache-2.0
#include "shaping/residual_vector.hpp"

#include "internal/exact_arithmetic.hpp"
#include "shaping/elementary_functions.hpp"

namespace velmora::shaping {

ResidualVector ResidualOf(const Vector& times_s, const Vector& amplitudes, double frequency_hz, double damping_ratio) {
  const double damped_share = DampedShare(damping_ratio);
  const double damped_frequency_hz = frequency_hz * damped_share;
  const double last_s = times_s[times_s.size() - 1];
  ResidualVector sum;
  for (Eigen::Index i = 0; i < times_s.size(); ++i) {
    const double before_last_s = last_s - times_s[i];
    const double decay_rate = 2.0 * kPi * damping_ratio * before_last_s;  // of the exponent, per Hz
    const double phase_rate = 2.0 * kPi * damped_share * times_s[i];      // of the angle, per Hz
    const SineCosine phase = SineCosineOfTurns(damped_frequency_hz * times_s[i]);
    const double weight = amplitudes[i] * Exp(-decay_rate * frequency_hz);
    const double cosine = weight * phase.cosine;
    const double sine = weight * phase.sine;
    sum.cosine += cosine;
    sum.sine += sine;
    sum.cosine_rate -= std::fma(decay_rate, cosine, phase_rate * sine);
    sum.sine_rate -= std::fma(decay_rate, sine, -(phase_rate * cosine));
  }
  return sum;
}

}  // namespace velmora::shaping
