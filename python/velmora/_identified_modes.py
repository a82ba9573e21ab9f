# SPDX-License-Identifier: Apache-2.0
"""Modes with their 95 % intervals, out of a fit of damped sinusoids."""

from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray
from scipy.stats import t as student_t

from velmora._damped_sinusoids import Fit, colour, covariances

Array = NDArray[np.float64]

_CONFIDENCE = 0.95


@dataclass(frozen=True)
class Estimate:
    """A value with the ends of its 95 % interval."""

    value: float
    low: float
    high: float


@dataclass(frozen=True)
class IdentifiedMode:
    """A damped oscillation A exp(-z w t) cos(w sqrt(1 - z^2) t + phase), w = 2 pi f, t from the start of the free
    decay.

    Attributes
    ----------
    frequency_hz : Estimate
        Undamped natural frequency f.
    damping_ratio : Estimate
        z, 0 or more; 0 where the fit found no damping.
    amplitudes : tuple of Estimate
        A of each column, in the unit of the column, at the start of the free decay.
    phases_rad : tuple of float
        Phase of each column.
    """

    frequency_hz: Estimate
    damping_ratio: Estimate
    amplitudes: tuple[Estimate, ...]
    phases_rad: tuple[float, ...]

    @property
    def amplitude(self) -> Estimate:
        """The greatest of `amplitudes`."""
        return max(self.amplitudes, key=lambda estimate: estimate.value)


def described(times_s: Array, found: Fit, noise: Array, rate_hz: float) -> list[IdentifiedMode]:
    """All oscillations of the fit, in its order; `noise` is the standard deviation of each column."""
    if found.poles.decays.size == 0:
        return []
    covariance = covariances(times_s, found, noise)
    freedom = max(1, times_s.size - found.poles.linear_count - found.poles.parameters.size)
    factor = float(student_t.ppf(0.5 + _CONFIDENCE / 2.0, freedom))
    n = found.poles.decays.size
    colours = np.array([colour(column, found.poles.omegas / rate_hz) for column in found.residuals.T])
    modes = []
    for k in range(n):
        a, w = found.poles.decays[k], found.poles.omegas[k]
        natural = np.hypot(a, w)
        cosines, sines = found.coefficients[k], found.coefficients[n + k]
        sizes = np.hypot(cosines, sines)
        widened = factor * np.sqrt(max(1.0, float(colours[np.argmax(sizes / noise), k])))
        of_poles = covariance.poles[np.ix_([k, n + k], [k, n + k])]
        by_frequency = np.array([a, w]) / natural / (2.0 * np.pi)
        by_damping = np.array([w * w, -a * w]) / natural**3
        frequency, damping = natural / (2.0 * np.pi), a / natural
        of_f = widened * np.sqrt(by_frequency @ of_poles @ by_frequency)
        of_z = widened * np.sqrt(by_damping @ of_poles @ by_damping)
        amplitudes = []
        for c, s, size, matrix in zip(cosines, sines, sizes, covariance.coefficients, strict=True):
            direction = np.array([c, s]) / max(size, np.finfo(float).tiny)
            half = widened * np.sqrt(direction @ matrix[np.ix_([k, n + k], [k, n + k])] @ direction)
            amplitudes.append(_estimate(size, half))
        modes.append(
            IdentifiedMode(
                frequency_hz=_estimate(frequency, of_f),
                damping_ratio=_estimate(damping, of_z),
                amplitudes=tuple(amplitudes),
                phases_rad=tuple(float(p) for p in np.arctan2(-sines, cosines)),
            )
        )
    return modes


def _estimate(value: float, half_width: float) -> Estimate:
    """None of the quantities can be negative, so an interval is cut at 0."""
    low, high = value - half_width, value + half_width
    return Estimate(max(float(value), 0.0), max(float(low), 0.0), max(float(high), 0.0))
