// Impulse sequences for one vibration mode.
// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "velmora/native/export.hpp"
#include "velmora/shaping/impulse_sequence.hpp"
#include "velmora/shaping/vibration_mode.hpp"

namespace velmora::shaping {

// Every design depends on the damping ratio, its own parameters and, by a factor of 1 / f on all times, the frequency.
// With K = `mode.half_period_decay()` and Td = `mode.damped_period_s()`; T = 1 / f. The same arguments give the same
// bits on every machine. All of them throw the messages of the `ImpulseSequence` constructor for a mode so slow or so
// fast that its times leave the range of numbers, and are thread-safe: pure.

/// Zero vibration: two impulses half a period apart, 1, K over their sum.
/// @param mode the mode that is not excited
/// @return 2 impulses; they last Td / 2
/// @throws native::InvalidArgumentError the messages of the `ImpulseSequence` constructor
///
/// Complexity: O(1). Thread safety: pure.
/// Source of the method: N. C. Singer, W. P. Seering, "Preshaping command inputs to reduce system vibration", Journal
/// of Dynamic Systems, Measurement, and Control 112 (1990).
VELMORA_EXPORT ImpulseSequence Zv(const VibrationMode& mode);

/// Zero vibration and derivative: the residual also has no slope over the frequency; 1, 2 K, K^2 over their sum at
/// multiples of Td / 2.
/// @param mode the mode that is not excited
/// @return 3 impulses; they last Td
/// @throws native::InvalidArgumentError the messages of the `ImpulseSequence` constructor
///
/// Complexity: O(1). Thread safety: pure.
/// Source of the method: as `Zv`.
///
/// @code{.cpp}
/// const ImpulseSequence zvd = Zvd(VibrationMode(2.0, 0.0));
/// assert(zvd.times_s[1] == 0.25 && zvd.times_s[2] == 0.5);
/// assert(zvd.amplitudes[0] == 0.25 && zvd.amplitudes[1] == 0.5);
/// @endcode
VELMORA_EXPORT ImpulseSequence Zvd(const VibrationMode& mode);

/// Zero vibration and two derivatives: 1, 3 K, 3 K^2, K^3 over their sum at multiples of Td / 2.
/// @param mode the mode that is not excited
/// @return 4 impulses; they last 3 Td / 2
/// @throws native::InvalidArgumentError the messages of the `ImpulseSequence` constructor
///
/// Complexity: O(1). Thread safety: pure.
/// Source of the method: as `Zv`.
VELMORA_EXPORT ImpulseSequence Zvdd(const VibrationMode& mode);

/// Zero vibration by three impulses 3 Td / 8 apart: 1, sqrt(2) k, k^2 over their sum with k = K^(3/4), the decay from
/// one to the next. Between `Zv` and `Zvd` in time and in robustness.
/// @param mode the mode that is not excited
/// @return 3 impulses; they last 3 Td / 4
/// @throws native::InvalidArgumentError the messages of the `ImpulseSequence` constructor
///
/// Complexity: O(1). Thread safety: pure.
/// Source of the method: as `Zv`; the three vectors of vibration, 3/8 of a turn apart, add up to zero.
VELMORA_EXPORT ImpulseSequence Mzv(const VibrationMode& mode);

/// Extra insensitive: a residual of `tolerance` at the frequency of the mode, where it is largest in between, and of
/// exactly zero at one frequency below and one above it.
///
/// Without damping (1 + V) / 4, (1 - V) / 2, (1 + V) / 4 at multiples of T / 2. With damping, amplitudes and times
/// solve the equations of that description, from the undamped solution on; what is returned meets them within 1e-9.
/// @param mode the mode in the middle of the band
/// @param tolerance tolerated residual vibration V as a share of the unshaped one, above 0 and below 1
/// @return 3 impulses; they last Td without damping and about as long with it
/// @throws native::InvalidArgumentError "tolerance must be in (0, 1)."
/// @throws native::InvalidArgumentError "No sequence of this design was found for this damping_ratio and tolerance."
/// @throws native::InvalidArgumentError the messages of the `ImpulseSequence` constructor
///
/// Complexity: O(1); up to some milliseconds with damping. Thread safety: pure.
/// Source of the method: W. Singhose, W. Seering, N. Singer, "Residual vibration reduction using vector diagrams to
/// generate shaped inputs", Journal of Mechanical Design 116 (1994).
VELMORA_EXPORT ImpulseSequence Ei(const VibrationMode& mode, double tolerance);

/// Two-hump extra insensitive: zero residual at the frequency of the mode and at one below and one above it, and humps
/// of exactly `tolerance` between these.
/// @param mode the mode in the middle of the band
/// @param tolerance tolerated residual vibration as a share of the unshaped one, above 0 and below 1
/// @return 4 impulses; they last 3 Td / 2 without damping and about as long with it
/// @throws native::InvalidArgumentError as `Ei`
///
/// Complexity and thread safety: as `Ei`.
/// Source of the method: W. Singhose, L. Porter, T. Tuttle, N. Singer, "Vibration reduction using multi-hump input
/// shapers", Journal of Dynamic Systems, Measurement, and Control 119 (1997).
VELMORA_EXPORT ImpulseSequence TwoHumpEi(const VibrationMode& mode, double tolerance);

/// Three-hump extra insensitive: a hump of exactly `tolerance` at the frequency of the mode and one on either side of
/// it, and zero residual at the four frequencies around them.
/// @param mode the mode in the middle of the band
/// @param tolerance tolerated residual vibration as a share of the unshaped one, above 0 and below 1
/// @return 5 impulses; they last 2 Td without damping and about as long with it
/// @throws native::InvalidArgumentError as `Ei`
///
/// Complexity and thread safety: as `Ei`. Source of the method: as `TwoHumpEi`.
VELMORA_EXPORT ImpulseSequence ThreeHumpEi(const VibrationMode& mode, double tolerance);

/// Unity-magnitude zero vibration: amplitudes 1, -1, 1 at times solved for the damping, T / 6 apart without.
///
/// Negative amplitudes shorten the sequence, at a price: a shaped command may leave the extremes of the raw one's
/// velocities and accelerations by a factor of up to 3, the sum of the magnitudes, and modes of higher frequencies are
/// excited more than by the raw command.
/// @param mode the mode that is not excited
/// @return 3 impulses; they last T / 3 without damping
/// @throws native::InvalidArgumentError "No sequence of this design was found for this damping_ratio."
/// @throws native::InvalidArgumentError the messages of the `ImpulseSequence` constructor
///
/// Complexity: O(1). Thread safety: pure.
/// Source of the method: W. Singhose, N. Singer, W. Seering, "Time-optimal negative input shapers", Journal of Dynamic
/// Systems, Measurement, and Control 119 (1997).
VELMORA_EXPORT ImpulseSequence UmZv(const VibrationMode& mode);

/// Unity-magnitude zero vibration and derivative: amplitudes 1, -1, 1, -1, 1; see `UmZv` for what they cost, here by a
/// factor of up to 5.
/// @param mode the mode that is not excited
/// @return 5 impulses; they last 0.73 T without damping
/// @throws native::InvalidArgumentError as `UmZv`
///
/// Complexity, thread safety and source of the method: as `UmZv`.
VELMORA_EXPORT ImpulseSequence UmZvd(const VibrationMode& mode);

/// Specified insensitivity: the shortest sequence of positive impulses that keeps the residual at or below `tolerance`
/// for all frequencies from `low_hz` to `high_hz`, each with the damping ratio of the mode.
///
/// For a given duration the smallest attainable residual is the value of a matrix game between impulse times and
/// frequencies, solved on grids of times that are refined around the impulses; the duration is found by bisection. The
/// result is at most a ten-thousandth longer than the shortest one wherever that is known, and its residual is verified
/// on the range.
/// @param mode the mode; its frequency lies in the range
/// @param low_hz lower end of the range
/// @param high_hz upper end of the range
/// @param tolerance tolerated residual vibration as a share of the unshaped one, above 0 and below 1
/// @return the sequence
/// @throws native::InvalidArgumentError "tolerance must be in (0, 1)."
/// @throws native::InvalidArgumentError "low_hz must be finite and positive."
/// @throws native::InvalidArgumentError "high_hz must be finite and positive."
/// @throws native::InvalidArgumentError "mode.frequency_hz must lie between low_hz and high_hz."
/// @throws native::InvalidArgumentError "high_hz must not exceed 4 times low_hz." (the search would take minutes)
/// @throws native::InvalidArgumentError "No sequence of this design was found for this range and tolerance." (so
///   for every tolerance below 1e-7, which the search cannot tell from its own roundings)
/// @throws native::InvalidArgumentError the messages of the `ImpulseSequence` constructor
///
/// Complexity: tens to hundreds of milliseconds; up to minutes for a small tolerance over a wide range.
/// Thread safety: pure.
/// Source of the method: W. Singhose, W. Seering, N. Singer, "Input shaping for vibration reduction with specified
/// insensitivity to modeling errors", Japan/USA Symposium on Flexible Automation (1996); J. Vaughan, A. Yano,
/// W. Singhose, "Comparison of robust input shapers", Journal of Sound and Vibration 315 (2008).
VELMORA_EXPORT ImpulseSequence SpecifiedInsensitivity(const VibrationMode& mode, double low_hz, double high_hz,
                                                      double tolerance);

}  // namespace velmora::shaping
