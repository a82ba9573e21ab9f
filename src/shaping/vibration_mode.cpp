// One vibration mode of a machine.
// SPDX-License-Identifier: Apache-2.0
#include "velmora/shaping/vibration_mode.hpp"

#include "internal/finiteness.hpp"
#include "internal/throw_invalid_argument.hpp"
#include "shaping/elementary_functions.hpp"
#include "shaping/residual_vector.hpp"

namespace velmora::shaping {

using internal::IsFinite;
using internal::ThrowInvalidArgument;

VibrationMode::VibrationMode(double given_frequency_hz, double given_damping_ratio)
    : frequency_hz(given_frequency_hz), damping_ratio(given_damping_ratio) {
  if (!IsFinite(frequency_hz) || frequency_hz <= 0.0) {
    ThrowInvalidArgument("VibrationMode.frequency_hz must be finite and positive.");
  }
  if (!(damping_ratio >= 0.0 && damping_ratio < 1.0)) {
    ThrowInvalidArgument("VibrationMode.damping_ratio must be in [0, 1).");
  }
}

double VibrationMode::damped_frequency_hz() const { return frequency_hz * DampedShare(damping_ratio); }

double VibrationMode::damped_period_s() const { return 1.0 / damped_frequency_hz(); }

double VibrationMode::half_period_decay() const { return Exp(-(kPi * damping_ratio) / DampedShare(damping_ratio)); }

}  // namespace velmora::shaping
