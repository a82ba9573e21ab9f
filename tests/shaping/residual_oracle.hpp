// The residual vibration as its textbook formula says, in long double and by the system's own functions.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>

#include "velmora/shaping/impulse_sequence.hpp"
#include "velmora/shaping/vibration_mode.hpp"

namespace velmora::testing {

constexpr long double kPiLong = 3.14159265358979323846264338327950288L;

/// exp(-z w t_n) sqrt(C^2 + S^2), C and S the sums of A_i exp(z w t_i) (cos, sin)(wd t_i).
inline double OracleResidual(const shaping::ImpulseSequence& sequence, double frequency_hz, double damping_ratio) {
  const long double w = 2.0L * kPiLong * frequency_hz;
  const long double wd = w * std::sqrt(1.0L - static_cast<long double>(damping_ratio) * damping_ratio);
  long double c = 0.0L;
  long double s = 0.0L;
  long double last = 0.0L;
  for (Eigen::Index i = 0; i < sequence.times_s.size(); ++i) {
    const long double t = sequence.times_s[i];
    const long double weight = sequence.amplitudes[i] * std::exp(damping_ratio * w * t);
    c += weight * std::cos(wd * t);
    s += weight * std::sin(wd * t);
    last = t;
  }
  return static_cast<double>(std::exp(-damping_ratio * w * last) * std::sqrt(c * c + s * s));
}

/// The largest residual from `low_hz` to `high_hz` on a fine grid.
inline double OracleLargestResidual(const shaping::ImpulseSequence& sequence, double low_hz, double high_hz,
                                    double damping_ratio) {
  double largest = 0.0;
  for (int k = 0; k <= 4000; ++k) {
    const double frequency_hz = low_hz + (high_hz - low_hz) * k / 4000.0;
    largest = std::fmax(largest, OracleResidual(sequence, frequency_hz, damping_ratio));
  }
  return largest;
}

}  // namespace velmora::testing
