// One vibration mode of a machine, as a shaper models it and as a flexible joint has it.
// SPDX-License-Identifier: Apache-2.0
#include "vibration_mode.hpp"

#include <cmath>
#include <stdexcept>

namespace velmora::examples {

namespace {
constexpr double kPi = 3.141592653589793;
}

double VibrationMode::angular_frequency_per_s() const { return 2.0 * kPi * frequency_hz; }

double VibrationMode::damped_angular_frequency_per_s() const {
  return angular_frequency_per_s() * std::sqrt(1.0 - damping_ratio * damping_ratio);
}

double VibrationMode::damped_period_s() const { return 2.0 * kPi / damped_angular_frequency_per_s(); }

void ValidateVibrationMode(const VibrationMode& mode) {
  if (!(std::isfinite(mode.frequency_hz) && mode.frequency_hz > 0.0)) {
    throw std::invalid_argument("the frequency must be finite and positive");
  }
  if (!(mode.damping_ratio >= 0.0 && mode.damping_ratio < 1.0)) {
    throw std::invalid_argument("the damping ratio must be in [0, 1)");
  }
}

}  // namespace velmora::examples
