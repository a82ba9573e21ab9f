// The vibration that impulses leave behind, as a vector: what every design and every figure of a shaper rests on.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>

#include "velmora/native/array_types.hpp"
#include "velmora/shaping/impulse_sequence.hpp"

namespace velmora::shaping {

using native::Vector;

constexpr double kPi = 3.141592653589793;

/// sqrt(1 - z^2), by which damping lowers the frequency of a free oscillation.
inline double DampedShare(double damping_ratio) { return std::sqrt((1.0 - damping_ratio) * (1.0 + damping_ratio)); }

/// Impulses without the rules of an `ImpulseSequence`, as a solver moves them about.
struct Impulses {
  Vector times_s;
  Vector amplitudes;
};

/// Two components of a vibration, and the rates at which they change with the undamped frequency.
struct ResidualVector {
  double cosine = 0.0;
  double sine = 0.0;
  double cosine_rate = 0.0;  ///< per Hz
  double sine_rate = 0.0;    ///< per Hz

  double squared_length() const { return std::fma(cosine, cosine, sine * sine); }
  /// Half the rate of `squared_length()`.
  double half_squared_length_rate() const { return std::fma(cosine, cosine_rate, sine * sine_rate); }
};

/// The vibration of a mode of this frequency and damping at the time t_n of the last impulse, as a share of the
/// amplitude that one impulse of amplitude 1 starts: the sums over i of
///
///   A_i exp(-z w (t_n - t_i)) cos(w sqrt(1 - z^2) t_i), and of the same with the sine.
///
/// Its length is the residual vibration exp(-z w t_n) sqrt(C^2 + S^2) of N. C. Singer and W. P. Seering (1990), where
/// the factor stands inside the sums so that nothing overflows.
ResidualVector ResidualOf(const Vector& times_s, const Vector& amplitudes, double frequency_hz, double damping_ratio);

inline ResidualVector ResidualOf(const Impulses& impulses, double frequency_hz, double damping_ratio) {
  return ResidualOf(impulses.times_s, impulses.amplitudes, frequency_hz, damping_ratio);
}

inline ResidualVector ResidualOf(const ImpulseSequence& sequence, double frequency_hz, double damping_ratio) {
  return ResidualOf(sequence.times_s, sequence.amplitudes, frequency_hz, damping_ratio);
}

}  // namespace velmora::shaping
