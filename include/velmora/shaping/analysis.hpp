// What a sequence leaves of a vibration, and how far a mode may be off.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/array_types.hpp"
#include "velmora/native/export.hpp"
#include "velmora/shaping/impulse_sequence.hpp"
#include "velmora/shaping/vibration_mode.hpp"

namespace velmora::shaping {

/// Residual vibration of a mode: its amplitude at the end of the shaped command, as a share of the amplitude at the end
/// of the unshaped one. It is exp(-z w t_n) sqrt(C^2 + S^2) with C, S the sums of A_i exp(z w t_i) (cos, sin)(w sqrt(1
/// - z^2) t_i).
/// @param sequence n impulses
/// @param mode the machine's mode, which need not be the one that the sequence was designed for
/// @return 0 for no vibration, 1 for as much as the unshaped command leaves at its own end; NaN where the product of
///   frequency and time overflows
/// @throws native::InvalidArgumentError the messages on sizes of the `ImpulseSequence` constructor, for a sequence that
///   was moved from or written to
///
/// Complexity: O(n). Thread safety: pure. Source of the method: Singer and Seering 1990, as `Zv`.
VELMORA_EXPORT double ResidualVibration(const ImpulseSequence& sequence, const VibrationMode& mode);

/// Sensitivity curve over frequency: the residual of modes of these frequencies and the damping ratio of `mode`.
/// @param sequence n impulses
/// @param mode gives the damping ratio
/// @param frequencies_hz undamped natural frequencies, length F, in any order
/// @return residual vibration at each of them, length F; NaN where the product of frequency and time overflows
/// @throws native::InvalidArgumentError the messages on sizes of the `ImpulseSequence` constructor, for a sequence that
///   was moved from or written to
/// @throws native::InvalidArgumentError "frequencies_hz must be finite and non-negative."
///
/// Complexity: O(F n), one allocation. Thread safety: pure.
VELMORA_EXPORT Vector ResidualOverFrequency(const ImpulseSequence& sequence, const VibrationMode& mode,
                                            const Vector& frequencies_hz);

/// Sensitivity curve over damping: the residual of modes of the frequency of `mode` and these damping ratios.
/// @param sequence n impulses
/// @param mode gives the undamped natural frequency
/// @param damping_ratios damping ratios, length Z, in any order
/// @return residual vibration at each of them, length Z
/// @throws native::InvalidArgumentError the messages on sizes of the `ImpulseSequence` constructor, for a sequence that
///   was moved from or written to
/// @throws native::InvalidArgumentError "damping_ratios must be in [0, 1)."
///
/// Complexity: O(Z n), one allocation. Thread safety: pure.
VELMORA_EXPORT Vector ResidualOverDamping(const ImpulseSequence& sequence, const VibrationMode& mode,
                                          const Vector& damping_ratios);

/// The frequencies around a mode at which a sequence keeps a tolerated residual.
///
/// Thread safety: a value type without shared state.
struct InsensitivityBand {
  double low_hz;   ///< lower end of the band
  double high_hz;  ///< upper end of the band
  double width;    ///< (high_hz - low_hz) / f, the insensitivity
};

/// The connected band of frequencies around that of the mode, all with its damping ratio, in which the residual is at
/// most `tolerance`.
///
/// A hump between two parts of the band belongs to it where it exceeds the tolerance by no more than a millionth of the
/// tolerance: humps that are designed to touch it do so up to roundings, and must not cut the band. With a hump that is
/// higher the band ends before it. The search ends at ten times the frequency of the mode, and after a million steps of
/// min(1/256, 0.04 sqrt(tolerance)) / t_n for a sequence that lasts t_n.
/// @param sequence n impulses
/// @param mode the mode in the band
/// @param tolerance tolerated residual vibration, above 0 and below 1
/// @return the band; of width 0 at the frequency of the mode where its own residual is larger
/// @throws native::InvalidArgumentError the messages on sizes of the `ImpulseSequence` constructor, for a sequence that
///   was moved from or written to
/// @throws native::InvalidArgumentError "tolerance must be in (0, 1)."
///
/// Complexity: O(n f t_n w) for a band of width w and a sequence that lasts t_n, times 1/sqrt(tolerance) where that is
/// small. Thread safety: pure.
/// Source of the method: Vaughan, Yano and Singhose 2008, as `SpecifiedInsensitivity`.
///
/// @code{.cpp}
/// Vector times_s(2);
/// times_s << 0.0, 0.1;
/// const ImpulseSequence zv(times_s, Vector::Constant(2, 0.5));  // for 5 Hz
/// const VibrationMode mode(5.0, 0.0);
/// assert(ResidualVibration(zv, mode) < 1e-15);
/// const InsensitivityBand band = Insensitivity(zv, mode, 0.05);
/// assert(band.low_hz < 4.85 && band.high_hz > 5.15 && band.width < 0.07);
/// @endcode
VELMORA_EXPORT InsensitivityBand Insensitivity(const ImpulseSequence& sequence, const VibrationMode& mode,
                                               double tolerance);

}  // namespace velmora::shaping
