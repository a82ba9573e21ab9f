// One vibration mode of a machine, as a shaper models it and as a flexible joint has it.
// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace velmora::examples {

/// A damped oscillation `q'' + 2 zeta w q' + w^2 q`.
struct VibrationMode {
  double frequency_hz = 5.0;    ///< undamped natural frequency w / (2 pi), positive
  double damping_ratio = 0.02;  ///< zeta, in [0, 1)

  double angular_frequency_per_s() const;         ///< w
  double damped_angular_frequency_per_s() const;  ///< wd = w sqrt(1 - zeta^2), at which the mode swings freely
  double damped_period_s() const;                 ///< Td = 2 pi / wd
};

/// Accepts a mode that oscillates.
/// @throws std::invalid_argument for a frequency that is not finite and positive, or a damping ratio outside [0, 1)
void ValidateVibrationMode(const VibrationMode& mode);

}  // namespace velmora::examples
