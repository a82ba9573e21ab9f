# SPDX-License-Identifier: Apache-2.0
"""Vibration modes from a recording: frequency, damping and amplitude, each with its uncertainty."""

from __future__ import annotations

from dataclasses import dataclass, replace
from typing import Literal

import numpy as np
from numpy.typing import ArrayLike, NDArray

try:
    import scipy  # noqa: F401  # for the sake of the message; the modules below import what they use
except ModuleNotFoundError as error:
    raise ModuleNotFoundError(
        "velmora.identify needs scipy; pip install 'velmora[tools]' installs it", name="scipy"
    ) from error

from velmora._damped_sinusoids import Fit, Poles, basis, fit
from velmora._identified_modes import Estimate, IdentifiedMode, described
from velmora._mode_search import search
from velmora._ring_down import MIN_SAMPLES, clipped, even, free_decay

__all__ = ["Estimate", "Identification", "IdentificationError", "IdentifiedMode", "identify_modes"]

Array = NDArray[np.float64]
Reason = Literal["too_short", "too_little_sampled", "growing", "clipped", "no_peak"]

# A mode damped more than this has no peak in its frequency response, so it is a transient and not a vibration.
_MOST_DAMPING = np.sqrt(0.5)
_MIN_SWINGS = 1.5
_MIN_SAMPLES_PER_SWING = 2.5
# An amplitude must exceed its standard deviation this many times: noise alone reaches it in about one case of a
# thousand, since the largest of many frequencies is taken.
_MIN_SIGNIFICANCE = 5.0
_FOUND_AT = (
    "The free decay was found to begin at {:.4g} s; if it begins before, as that of a vibration damped by more than "
    "0.25 may, give start_s (velmora identify --from)."
)
# Squares of larger values, of which the fit adds many, overflow.
_LARGEST_VALUE = 1e100


class IdentificationError(ValueError):
    """Raised where the samples do not support a mode; `reason` tells which way, the message tells what to do.

    Examples
    --------
    >>> from velmora.identify import IdentificationError, identify_modes
    >>> try:
    ...     identify_modes([0.0, 0.1, 0.2], [0.0, 1.0, 0.0])
    ... except IdentificationError as error:
    ...     print(error.reason, "-", error)
    too_short - 3 samples are too few to fit a vibration; at least 16 are needed.
    """

    def __init__(self, reason: Reason, message: str) -> None:
        super().__init__(message)
        self.reason: Reason = reason

    def __reduce__(self) -> tuple[type[IdentificationError], tuple[Reason, str]]:
        """Give both arguments to the copy, so that the error crosses from one process to another."""
        return type(self), (self.reason, str(self))


@dataclass(frozen=True)
class Identification:
    """What a recording tells about its vibration.

    Attributes
    ----------
    modes : tuple of IdentifiedMode
        By ascending frequency; at least one.
    start_s, end_s : float
        First and last time of the free decay that was fitted, on the clock of the recording.
    sample_count : int
        Samples in it.
    sample_rate_hz : float
        Their mean rate.
    resampled : bool
        Whether the stamps were uneven, so that the poles were looked for on an even grid; the fit itself always uses
        the samples at their own times.
    noise : tuple of float
        Standard deviation of what the fit leaves, per column.
    explained : float
        Share of the variance that the oscillations and transients explain, 0 to 1.

    Examples
    --------
    >>> import numpy as np
    >>> from velmora.identify import identify_modes
    >>> t = np.arange(500) / 250.0
    >>> swing = np.exp(-0.6 * t) * np.cos(31.0 * t)
    >>> found = identify_modes(t, swing + 0.01 * np.random.default_rng(1).standard_normal(t.size), start_s=0.0)
    >>> len(found.modes), found.sample_count, found.resampled
    (1, 500, False)
    >>> bool(np.abs(found.evaluate(t)[:, 0] - swing).max() < 0.01)
    True
    """

    modes: tuple[IdentifiedMode, ...]
    start_s: float
    end_s: float
    sample_count: int
    sample_rate_hz: float
    resampled: bool
    noise: tuple[float, ...]
    explained: float
    _poles: Poles
    _coefficients: Array

    def evaluate(self, times_s: ArrayLike) -> Array:
        """The fitted decay (oscillations, transients and offset) at `times_s` on the clock of the recording: (N, J)."""
        times = np.asarray(times_s, dtype=np.float64) - self.start_s
        return basis(times, self._poles) @ self._coefficients


def identify_modes(
    times_s: ArrayLike,
    values: ArrayLike,
    *,
    max_modes: int = 4,
    frequency_range_hz: tuple[float, float] = (0.0, 200.0),
    start_s: float | None = None,
    end_s: float | None = None,
) -> Identification:
    """Modes of the free decay in a recording of an encoder or an accelerometer.

    The matrix pencil finds poles, an information criterion decides how many of them the samples support, and a
    nonlinear least-squares fit of damped sinusoids with common poles refines them on the samples at their own times.
    The offset is a pole of its own at zero and so biases nothing; a creep towards rest is fitted as a real pole. Where
    `start_s` is not given, the free decay begins where such a fit explains all that follows down to the noise; one that
    is damped by more than 0.25 dies too soon to be told from the end of a move and needs `start_s`.

    Parameters
    ----------
    times_s : array_like, shape (N,)
        Strictly increasing times in seconds; uneven ones are fine.
    values : array_like, shape (N,) or (N, J)
        Positions, velocities or accelerations of any unit. Columns share frequencies and dampings.
    max_modes : int, optional
        Most oscillations to look for, 1 to 10.
    frequency_range_hz : tuple of float, optional
        Modes outside are fitted but not reported. Its upper end also bounds the work: faster sampling than it takes is
        averaged in blocks while the poles are looked for.
    start_s, end_s : float, optional
        Where the free decay begins and ends, on the clock of `times_s`.

    Returns
    -------
    Identification
        With at least one mode. Intervals are 95 % ones from the curvature of the fit (the Cramer-Rao bound at the
        values found), widened where the residuals have colour at the mode's frequency; where the damping is known to no
        better than 5 %, those of frequency and damping follow the likelihood to either side.

    Raises
    ------
    TypeError
        "times_s must be an array of real numbers, got ...", and likewise for `values`: masked, complex, text, objects.
    ValueError
        "times_s and values must have the same number of rows, values in one or two dimensions."
        "times_s and values must contain only finite values."
        "times_s must be strictly increasing."
        "values must not exceed 1e100 in magnitude."
        "max_modes must be from 1 to 10."
        "frequency_range_hz must be two increasing frequencies, the first 0 or more."
    IdentificationError
        Where the samples do not support a mode: too short, too little sampled, growing, clipped, or no peak.

    Notes
    -----
    Nothing is random, but the linear algebra is that of numpy and scipy, whose last digits depend on their versions and
    on the processor. Complexity: O(N J) for the fit, and a bound that does not depend on N for the search. Thread
    safety: holds no state.

    Y. Hua and T. K. Sarkar, IEEE Trans. Acoust., Speech, Signal Process. 38 (1990) 814-824 (matrix pencil); G. Schwarz,
    Ann. Statist. 6 (1978) 461-464 (order); G. H. Golub and V. Pereyra, SIAM J. Numer. Anal. 10 (1973) 413-432 (fit);
    D. M. Bates and D. G. Watts, "Nonlinear Regression Analysis and Its Applications", Wiley 1988 (intervals).

    Examples
    --------
    >>> import numpy as np
    >>> from velmora.identify import identify_modes
    >>> t = np.arange(500) / 250.0
    >>> w = 2 * np.pi * 5.0
    >>> swing = np.exp(-0.02 * w * t) * np.cos(w * np.sqrt(1 - 0.02**2) * t)
    >>> noise = 0.01 * np.random.default_rng(1).standard_normal(t.size)
    >>> mode = identify_modes(t, 0.3 + swing + noise).modes[0]
    >>> print(f"{mode.frequency_hz.value:.3f} Hz, damping {mode.damping_ratio.value:.4f}")
    5.000 Hz, damping 0.0200
    """
    times, columns = _checked(times_s, values, max_modes, frequency_range_hz)
    inside = np.ones(times.size, dtype=bool)
    if start_s is not None:
        inside &= times >= start_s
    if end_s is not None:
        inside &= times <= end_s
    times, columns = times[inside], columns[inside]
    _require_samples(times.size)
    if not np.ptp(columns, axis=0).any():
        raise IdentificationError("no_peak", "The samples never change, so there is no vibration in them.")

    grid = even(times, columns, frequency_range_hz[1])
    first = 0 if start_s is not None else free_decay(times, columns, grid, max_modes)
    found = search(grid.times_s[first:] - grid.times_s[first], grid.values[first:], grid.step_s, max_modes)

    # The blocks of the grid begin half a block before their mean times.
    kept = times >= (times[0] if first == 0 else grid.times_s[first] - grid.step_s / 2.0)
    times, columns = times[kept], columns[kept]
    _require_unclipped(times, columns)
    origin = float(times[0])
    rate = (times.size - 1) / (float(times[-1]) - origin)
    weights = 1.0 / _noise(found, columns)
    refined = fit(times - origin, columns, weights, found.poles, np.pi * rate, 1e-12)
    try:
        modes = _supported_modes(times - origin, columns, refined, _noise(refined, columns), rate, frequency_range_hz)
    except IdentificationError as error:
        if first == 0:
            raise
        raise IdentificationError(error.reason, f"{error} {_FOUND_AT.format(origin)}") from error
    spread = np.sum((columns - columns.mean(axis=0)) ** 2)
    return Identification(
        modes=modes,
        start_s=origin,
        end_s=float(times[-1]),
        sample_count=times.size,
        sample_rate_hz=rate,
        resampled=grid.uneven,
        noise=tuple(float(s) for s in _noise(refined, columns)),
        explained=float(1.0 - np.sum(refined.residuals**2) / spread),
        _poles=refined.poles,
        _coefficients=refined.coefficients,
    )


def _checked(
    times_s: ArrayLike, values: ArrayLike, max_modes: int, frequency_range_hz: tuple[float, float]
) -> tuple[Array, Array]:
    times, columns = _real("times_s", times_s), _real("values", values)
    if times.ndim != 1 or columns.ndim not in (1, 2) or columns.shape[0] != times.size:
        raise ValueError("times_s and values must have the same number of rows, values in one or two dimensions.")
    if not (np.isfinite(times).all() and np.isfinite(columns).all()):
        raise ValueError("times_s and values must contain only finite values.")
    if not (np.diff(times) > 0.0).all():
        raise ValueError("times_s must be strictly increasing.")
    if not np.abs(columns).max(initial=0.0) <= _LARGEST_VALUE:
        raise ValueError("values must not exceed 1e100 in magnitude.")
    if not 1 <= max_modes <= 10:
        raise ValueError("max_modes must be from 1 to 10.")
    if len(frequency_range_hz) != 2 or not 0.0 <= frequency_range_hz[0] < frequency_range_hz[1]:
        raise ValueError("frequency_range_hz must be two increasing frequencies, the first 0 or more.")
    return times, columns if columns.ndim == 2 else columns[:, np.newaxis]


def _real(name: str, values: ArrayLike) -> Array:
    """An array of doubles; what would lose a part on the way is refused, as by the rest of the package."""
    if isinstance(values, np.ma.MaskedArray):
        raise TypeError(f"{name} must be an array of real numbers, got a masked array.")
    array = np.asarray(values)
    if array.dtype.kind not in "biuf":
        raise TypeError(f"{name} must be an array of real numbers, got one of {array.dtype}.")
    return array.astype(np.float64, copy=False)


def _require_samples(count: int) -> None:
    if count < MIN_SAMPLES:
        raise IdentificationError(
            "too_short", f"{count} samples are too few to fit a vibration; at least {MIN_SAMPLES} are needed."
        )


def _require_unclipped(times_s: Array, columns: Array) -> None:
    """Corners have harmonics, which would be taken for modes."""
    found = clipped(columns)
    if found is not None:
        last, value, longest = found
        raise IdentificationError(
            "clipped",
            f"Up to {longest} samples in a row, the last at {times_s[last]:.4g} s, stay at the extreme {value:.4g} as "
            "where the range of a sensor ends; give a start_s (velmora identify --from) after them, or record a "
            "smaller swing.",
        )


def _noise(found: Fit, columns: Array) -> Array:
    """Standard deviation of the residuals per column; the floor keeps the weight of an exact column finite."""
    freedom = max(1, found.residuals.shape[0] - found.poles.linear_count - found.poles.parameters.size)
    scale = float(np.max(np.abs(columns - columns.mean(axis=0))))
    deviations: Array = np.sqrt(np.sum(found.residuals**2, axis=0) / freedom)
    return np.maximum(deviations, 1e-9 * scale)


def _supported_modes(
    times_s: Array, columns: Array, found: Fit, noise: Array, rate_hz: float, range_hz: tuple[float, float]
) -> tuple[IdentifiedMode, ...]:
    """The oscillations that the samples support, or the reason why there is none."""
    span = float(times_s[-1])
    modes, refusals = [], []
    for k, mode in enumerate(described(times_s, columns, found, noise, rate_hz)):
        frequency = mode.frequency_hz.value
        if mode.damping_ratio.value >= _MOST_DAMPING or not _stands_out(mode):
            continue
        if not range_hz[0] <= frequency <= range_hz[1]:
            continue
        swings = span * found.poles.omegas[k] / (2.0 * np.pi)
        per_swing = rate_hz / frequency
        if swings < _MIN_SWINGS:
            message = (
                f"The oscillation near {frequency:.3g} Hz swings {swings:.2f} times in the {span:.3g} s recorded; "
                f"at least {_MIN_SWINGS} are needed."
            )
            refusals.append(IdentificationError("too_short", message))
        elif per_swing < _MIN_SAMPLES_PER_SWING:
            message = (
                f"The oscillation near {frequency:.3g} Hz has {per_swing:.2f} samples a swing at {rate_hz:.4g} Hz; "
                f"at least {_MIN_SAMPLES_PER_SWING} are needed to tell it from a faster one."
            )
            refusals.append(IdentificationError("too_little_sampled", message))
        elif (widest := _twice_as_wide(mode.damping_ratio, found.poles.decays[k], found.poles.omegas[k])) < 0.0:
            growth = np.exp(-found.poles.decays[k] * span)
            message = (
                f"The oscillation near {frequency:.3g} Hz grows, to {growth:.3g} times its amplitude in the "
                f"{span:.3g} s recorded; one that decays, or keeps its amplitude, is needed."
            )
            refusals.append(IdentificationError("growing", message))
        elif mode.damping_ratio.high < 0.0:
            modes.append(replace(mode, damping_ratio=Estimate(0.0, 0.0, widest)))
        else:
            modes.append(mode)
    if modes:
        return tuple(modes)
    if refusals:
        raise refusals[0]
    raise IdentificationError(
        "no_peak", f"No vibration stands out of the noise in the {span:.3g} s from the start of the free decay."
    )


def _twice_as_wide(damping: Estimate, decay: float, omega: float) -> float:
    """The upper end of an interval of twice the width: that of 95 % lies below 0 for one in 40 that do not decay."""
    return 2.0 * damping.high - decay / float(np.hypot(decay, omega))


def _stands_out(mode: IdentifiedMode) -> bool:
    strongest = max(mode.amplitudes, key=lambda a: a.value / max(a.high - a.low, 1e-300))
    return strongest.value * 2.0 * 1.96 > _MIN_SIGNIFICANCE * (strongest.high - strongest.low)
