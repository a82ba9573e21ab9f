# SPDX-License-Identifier: Apache-2.0
"""Modes with their 95 % intervals, out of a fit of damped sinusoids."""

from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray
from scipy.stats import t as student_t

from velmora._damped_sinusoids import Fit, colour, covariances
from velmora._profile_intervals import Coordinate, Profile

Array = NDArray[np.float64]

_CONFIDENCE = 0.95
# Up to this share of the damping an interval of it is symmetric for all that matters, and so is that of the frequency:
# the variance grows with the third power of the decay at most.
_SYMMETRIC = 0.05


@dataclass(frozen=True)
class Estimate:
    """A value with the ends of its 95 % interval.

    Examples
    --------
    >>> from velmora.identify import Estimate
    >>> Estimate(5.0, 4.9, 5.1).scaled(2.0)
    Estimate(value=10.0, low=9.8, high=10.2)
    """

    value: float
    low: float
    high: float

    def scaled(self, factor: float) -> "Estimate":
        """In another unit."""
        return Estimate(self.value * factor, self.low * factor, self.high * factor)


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

    Examples
    --------
    >>> from velmora.identify import Estimate, IdentifiedMode
    >>> small, large = Estimate(0.1, 0.09, 0.11), Estimate(0.3, 0.29, 0.31)
    >>> mode = IdentifiedMode(Estimate(5.0, 4.9, 5.1), Estimate(0.02, 0.01, 0.03), (small, large), (0.0, 3.1))
    >>> mode.amplitude.value
    0.3
    """

    frequency_hz: Estimate
    damping_ratio: Estimate
    amplitudes: tuple[Estimate, ...]
    phases_rad: tuple[float, ...]

    @property
    def amplitude(self) -> Estimate:
        """The greatest of `amplitudes`."""
        return max(self.amplitudes, key=lambda estimate: estimate.value)


def described(times_s: Array, values: Array, found: Fit, noise: Array, rate_hz: float) -> list[IdentifiedMode]:
    """All oscillations of the fit of `values`, in its order; `noise` is the standard deviation of each column."""
    if found.poles.decays.size == 0:
        return []
    covariance = covariances(times_s, found, noise)
    freedom = max(1, times_s.size - found.poles.linear_count - found.poles.parameters.size)
    factor = float(student_t.ppf(0.5 + _CONFIDENCE / 2.0, freedom))
    n = found.poles.decays.size
    profile = Profile(times_s, values, found, noise, covariance.poles, np.pi * rate_hz)
    colours = np.array([colour(column, found.poles.omegas / rate_hz) for column in found.residuals.T])
    modes = []
    for k in range(n):
        cosines, sines = found.coefficients[k], found.coefficients[n + k]
        sizes = np.hypot(cosines, sines)
        widened = factor * np.sqrt(max(1.0, float(colours[np.argmax(sizes / noise), k])))
        natural, damping = _of_poles(profile, k, n, widened)
        amplitudes = []
        for c, s, size, matrix in zip(cosines, sines, sizes, covariance.coefficients, strict=True):
            direction = np.array([c, s]) / max(size, np.finfo(float).tiny)
            half = widened * np.sqrt(direction @ matrix[np.ix_([k, n + k], [k, n + k])] @ direction)
            amplitudes.append(_estimate(size, half))
        modes.append(
            IdentifiedMode(
                frequency_hz=natural.scaled(0.5 / np.pi),
                damping_ratio=damping,
                amplitudes=tuple(amplitudes),
                phases_rad=tuple(float(p) for p in np.arctan2(-sines, cosines)),
            )
        )
    return modes


def _of_poles(profile: Profile, mode: int, count: int, widened: float) -> tuple[Estimate, Estimate]:
    """Natural angular frequency and damping ratio, `widened` standard deviations to either side or as far in terms of
    the likelihood."""
    coordinates = [Coordinate(mode, count, is_damping) for is_damping in (False, True)]
    parameters = profile.found.poles.parameters
    gradients = [coordinate.gradient(parameters) for coordinate in coordinates]
    halves = [float(widened * np.sqrt(gradient @ profile.covariance @ gradient)) for gradient in gradients]
    values = [coordinate.value(parameters) for coordinate in coordinates]
    natural, damping = (_estimate(value, half) for value, half in zip(values, halves, strict=True))
    if halves[1] > _SYMMETRIC * abs(values[1]):
        natural = Estimate(natural.value, *profile.interval(coordinates[0], halves[0], widened))
        damping = Estimate(damping.value, *profile.interval(coordinates[1], halves[1], widened))
    return natural, damping


def _estimate(value: float, half_width: float) -> Estimate:
    """None of the quantities can be negative, so an interval is cut at 0; one that ends below 0 is seen by that."""
    low, high = value - half_width, value + half_width
    return Estimate(max(float(value), 0.0), max(float(low), 0.0), float(high))
