# SPDX-License-Identifier: Apache-2.0
"""Vibration modes as a user gives or measures them, the shapers for them, and what a command leaves of them."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray
from scipy.signal import lfilter

from velmora import shaping
from velmora.tools.errors import UsageError

Array = NDArray[np.float64]

TOLERANCE = 0.05
# Of a machine's modes, in Hz; beyond them a slip of the pen is likelier than a machine.
SLOWEST_HZ, FASTEST_HZ = 1e-3, 1e6
# Where nobody measured, a frequency is taken to be known this well.
ASSUMED_SHARE = 0.01
# In the order of the table; the unity-magnitude ones have negative impulses and are never recommended.
NAMES = ("zv", "mzv", "zvd", "zvdd", "ei", "two_hump_ei", "three_hump_ei", "si", "um_zv", "um_zvd")
NEGATIVE = ("um_zv", "um_zvd")


@dataclass(frozen=True)
class KnownMode:
    """A mode, and the frequencies between which it is known to lie."""

    mode: shaping.VibrationMode
    low_hz: float
    high_hz: float
    origin: str  # "given", "given range", "measured in ringdown.csv"

    def widened(self, share: float) -> KnownMode:
        """With the frequencies on both sides farther away by a share of the frequency."""
        more = share * self.mode.frequency_hz
        low = max(self.low_hz - more, 0.01 * self.mode.frequency_hz)
        return KnownMode(self.mode, low, self.high_hz + more, self.origin)

    def text(self) -> str:
        """The mode for people."""
        return f"{self.mode.frequency_hz:.5g} Hz, damping {self.mode.damping_ratio:.3g}"


def parse_mode(text: str) -> shaping.VibrationMode:
    """The mode in a text such as ``5:0.02``.

    Raises
    ------
    UsageError
        Where it is none.
    """
    first, colon, second = text.partition(":")
    try:
        mode = shaping.VibrationMode(float(first), float(second if colon else "0"))
    except ValueError as error:
        raise UsageError(
            f"--mode {text}: FREQUENCY:DAMPING in Hz and as a ratio was expected, such as 5:0.02 ({error})"
        ) from error
    if not SLOWEST_HZ <= mode.frequency_hz <= FASTEST_HZ:
        raise UsageError(f"--mode {text}: a frequency from {SLOWEST_HZ:g} to {FASTEST_HZ:,.0f} Hz was expected")
    return mode


def parse_range(text: str, mode: shaping.VibrationMode) -> tuple[float, float]:
    """The frequencies in a text such as ``4.5:5.5``, which must hold that of the mode."""
    first, _, second = text.partition(":")
    try:
        low, high = float(first), float(second)
    except ValueError:
        low, high = np.nan, np.nan
    if not 0.0 < low <= mode.frequency_hz <= high < np.inf:
        raise UsageError(
            f"--range {text}: LOW:HIGH in Hz around the mode at {mode.frequency_hz:g} Hz was expected, such as "
            f"{0.9 * mode.frequency_hz:.4g}:{1.1 * mode.frequency_hz:.4g}"
        )
    return low, high


def design(name: str, known: tuple[KnownMode, ...], tolerance: float = TOLERANCE) -> shaping.ImpulseSequence:
    """The shaper of that name for all modes: the sequences for each, one after the other."""
    sequence = _design_for(name, known[0], tolerance)
    for k in known[1:]:
        sequence = shaping.convolve(sequence, _design_for(name, k, tolerance))
    return sequence


def asked_for(name: str, known: tuple[KnownMode, ...], tolerance: float) -> shaping.ImpulseSequence:
    """The shaper that a user asked for.

    Raises
    ------
    UsageError
        "--shaper NAME: ..." where there is none of that kind for the modes.
    """
    try:
        return design(name, known, tolerance)
    except ValueError as error:
        raise UsageError(f"--shaper {name}: {error}") from error


def _design_for(name: str, known: KnownMode, tolerance: float) -> shaping.ImpulseSequence:
    if name == "si":
        return shaping.specified_insensitivity(known.mode, known.low_hz, known.high_hz, tolerance)
    arguments = (known.mode, tolerance) if name.endswith("ei") else (known.mode,)
    found: shaping.ImpulseSequence = getattr(shaping, name)(*arguments)
    return found


def residual_at(sequence: shaping.ImpulseSequence, known: tuple[KnownMode, ...], shift: float) -> float:
    """The largest residual over the modes, each with its frequency off by the share `shift`."""
    return max(
        shaping.residual_vibration(
            sequence, shaping.VibrationMode(k.mode.frequency_hz * (1.0 + shift), k.mode.damping_ratio)
        )
        for k in known
    )


def worst_residual(sequence: shaping.ImpulseSequence, known: tuple[KnownMode, ...]) -> float:
    """The largest residual over the frequencies at which the modes may lie."""
    return max(
        float(np.max(shaping.residual_over_frequency(sequence, k.mode, np.linspace(k.low_hz, k.high_hz, 201))))
        for k in known
    )


def sensitivity(sequences: list[shaping.ImpulseSequence], known: tuple[KnownMode, ...]) -> tuple[Array, list[Array]]:
    """Frequencies around all modes, and what each sequence leaves of the mode that is nearest; NaN between two."""
    centres = np.array([k.mode.frequency_hz for k in known])
    frequencies = np.linspace(0.6 * centres.min(), 1.5 * centres.max(), 900)
    nearest = np.argmin(np.abs(np.log(frequencies[:, None] / centres)), axis=1)
    found = []
    for sequence in sequences:
        left = np.empty(frequencies.size)
        for index, k in enumerate(known):
            left[nearest == index] = shaping.residual_over_frequency(sequence, k.mode, frequencies[nearest == index])
        left[1:][np.diff(nearest) != 0] = np.nan
        found.append(left)
    return frequencies, found


def path_deviation_s2(sequence: shaping.ImpulseSequence) -> float:
    """Distance between the shaped command and the raw one delayed by the lag, per unit of acceleration, in s^2.

    Copies x(t - t_i) of a command of acceleration a differ from x(t - lag) by a (t_i - lag)^2 / 2 beside terms that
    cancel, so the sum of A_i (t_i - lag)^2 / 2 is left.
    """
    return float(np.sum(sequence.amplitudes * (sequence.times_s - sequence.centroid_s) ** 2) / 2.0)


def rounded(sequence: shaping.ImpulseSequence, period_s: float) -> shaping.ImpulseSequence:
    """The sequence with its delays rounded to the period of a controller; impulses that meet are added."""
    ticks = np.rint(sequence.times_s / period_s)
    times, index = np.unique(ticks, return_inverse=True)
    return shaping.ImpulseSequence(times * period_s, np.bincount(index, weights=sequence.amplitudes))


def response(times_s: Array, positions: Array, velocities: Array, mode: shaping.VibrationMode) -> Array:
    """How far a mode on top of the joints swings, over evenly spaced times and later: q'' + 2 z w q' + w^2 q = -x''.

    The command x is at rest before; in each step it is the cubic through positions and velocities at both ends, and the
    swing from one sample to the next is that of the cubic exactly. Where within a step an acceleration jumps, as at the
    ends of a ramp or where a delayed copy begins, this keeps its integral and its first moment. Shape (N, J).
    """
    step = float(times_s[-1] - times_s[0]) / (len(times_s) - 1)
    w, z = 2.0 * np.pi * mode.frequency_hz, mode.damping_ratio
    damped = w * np.sqrt(1.0 - z * z)
    pole = complex(-z * w, damped)
    # The acceleration of the cubic: mean + slope (s - step / 2).
    mean = np.diff(velocities, axis=0) / step
    average = (velocities[1:] + velocities[:-1]) / 2.0
    slope = 12.0 / step**2 * (average - np.diff(positions, axis=0) / step)
    # The integrals of exp(pole (step - s)) times 1 and times s - step / 2.
    of_mean = np.expm1(pole * step) / pole
    of_slope = (of_mean - step) / pole - step / 2.0 * of_mean
    # A velocity at the first sample is a jump from rest.
    drive = np.vstack([velocities[:1], of_mean * mean + of_slope * slope])
    driven = lfilter([1.0], [1.0, -np.exp(pole * step)], drive, axis=0)
    return np.asarray(-driven.imag / damped, dtype=np.float64)


def amplitude(swing: Array, mode: shaping.VibrationMode, step_s: float) -> Array:
    """Amplitude per joint at the last sample of a free decay, from its displacement and rate there."""
    w, z = 2.0 * np.pi * mode.frequency_hz, mode.damping_ratio
    damped = w * np.sqrt(1.0 - z * z)
    # Two samples of A exp(-z w t) cos(damped t + phase) determine A and the phase.
    last, before = swing[-1], swing[-2] * np.exp(-z * w * step_s)
    sine = (before - last * np.cos(damped * step_s)) / np.sin(damped * step_s)
    return np.asarray(np.hypot(last, sine), dtype=np.float64)
