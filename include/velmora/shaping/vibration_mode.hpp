// One vibration mode of a machine.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/export.hpp"

/// Input shapers: impulse sequences that move a machine without exciting its vibration modes.
namespace velmora::shaping {

/// A damped oscillation `q'' + 2 z w q' + w^2 q = 0` with w = 2 pi `frequency_hz` and z = `damping_ratio`.
///
/// Thread safety: a value type without shared state.
///
/// @code{.cpp}
/// const VibrationMode mode(4.0, 0.0);
/// assert(mode.damped_period_s() == 0.25 && mode.half_period_decay() == 1.0);
/// @endcode
class VibrationMode {
 public:
  double frequency_hz;   ///< undamped natural frequency f, finite and positive
  double damping_ratio;  ///< damping ratio z, at least 0 and below 1

  /// Checks the values in the order below.
  /// @param frequency_hz undamped natural frequency in Hz
  /// @param damping_ratio damping ratio, without a unit
  /// @throws native::InvalidArgumentError "VibrationMode.frequency_hz must be finite and positive."
  /// @throws native::InvalidArgumentError "VibrationMode.damping_ratio must be in [0, 1)." (also for NaN)
  ///
  /// Complexity: O(1).
  VELMORA_EXPORT VibrationMode(double frequency_hz, double damping_ratio);

  /// Frequency of the free oscillation, f sqrt(1 - z^2).
  /// @return the frequency in Hz
  ///
  /// Complexity: O(1). Thread safety: pure.
  VELMORA_EXPORT double damped_frequency_hz() const;

  /// Period of the free oscillation, Td = 1 / (f sqrt(1 - z^2)).
  /// @return the period in seconds
  ///
  /// Complexity: O(1). Thread safety: pure.
  VELMORA_EXPORT double damped_period_s() const;

  /// Share K = exp(-z pi / sqrt(1 - z^2)) of its amplitude that a free oscillation keeps over half a period.
  /// @return the share, above 0 and at most 1; 0 where it is below the smallest number
  ///
  /// Complexity: O(1). Thread safety: pure.
  VELMORA_EXPORT double half_period_decay() const;
};

}  // namespace velmora::shaping
