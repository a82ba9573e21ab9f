# SPDX-License-Identifier: Apache-2.0
"""Samples on an even grid, and where in a recording the free decay begins."""

from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray

from velmora._damped_sinusoids import Fit, Poles, fit, project
from velmora._mode_search import search

Array = NDArray[np.float64]

MIN_SAMPLES = 16
# Fewer samples are taken as one decay: there is too little to tell a move from its ring-down.
_MIN_SAMPLES_TO_SPLIT = 96
# Steps that differ by less, relative to their mean, move a sample by less than its noise.
_EVEN = 1e-3
_STARTS = 32
# The end of the recording that is taken to be free decay whatever comes before.
_CERTAIN_SHARE = 0.25
_BLOCKS = 24
# A pole that decays by this much of its angular frequency is down to 15 % after one swing.
_LASTING = 0.3
_MIN_REDUCED_RATE_PER_HZ = 2.5
# Runs of equal samples, in usual ones, and what follows them, in steps of an encoder, where a signal is clipped.
_LONG, _STEEP = 2.0, 4.0


@dataclass(frozen=True)
class Even:
    """Samples `values` (N, J) at the even `times_s`; `uneven` tells whether they had to be resampled."""

    times_s: Array
    values: Array
    step_s: float
    uneven: bool


def even(times_s: Array, values: Array, max_frequency_hz: float) -> Even:
    """On an even grid (linear interpolation where the stamps are uneven), averaged in blocks where that keeps
    `max_frequency_hz`.

    The mean over a block of an exponential is the same exponential by block, so averaging moves no pole.
    """
    count = times_s.size
    step = float(times_s[-1] - times_s[0]) / (count - 1)
    grid = times_s[0] + step * np.arange(count)
    uneven = bool(np.max(np.abs(np.diff(times_s) - step)) > _EVEN * step)
    samples = np.column_stack([np.interp(grid, times_s, c) for c in values.T]) if uneven else values
    block = max(1, min(int(1.0 / (step * _MIN_REDUCED_RATE_PER_HZ * max_frequency_hz)), count // 1000))
    whole = count // block * block
    means = samples[:whole].reshape(-1, block, values.shape[1]).mean(axis=1)
    return Even(grid[:whole].reshape(-1, block).mean(axis=1), means, step * block, uneven)


def free_decay(times_s: Array, values: Array, grid: Even, max_modes: int) -> int:
    """Index in the `grid` of the first sample from which lasting oscillations explain all that follows down to the
    noise.

    The noise is what a fit of the last quarter leaves; a start is good where no block of the residuals exceeds it.
    Halving finds the earliest good one, since what follows a good start is good as well. Poles that die within a swing
    take no part: with them a fit would follow the end of the move, which is not free.
    """
    count = grid.times_s.size
    if count < _MIN_SAMPLES_TO_SPLIT:
        return 0
    last = round(count * (1.0 - _CERTAIN_SHARE))

    def block_powers(start: int) -> Array:
        residuals = _lasting_fit(times_s, values, grid, start, max_modes).residuals
        return np.array([np.mean(block**2, axis=0) for block in np.array_split(residuals, _BLOCKS)])

    noise = np.maximum(block_powers(last).mean(axis=0), _resolution(values) ** 2 / 12.0)
    noise = np.maximum(noise, (1e-9 * np.ptp(values, axis=0)) ** 2)

    def is_free(start: int) -> bool:
        per_block = (count - start) * times_s.size / count / _BLOCKS
        return bool(np.all(block_powers(start) <= noise * (1.0 + 6.0 * np.sqrt(2.0 / per_block))))

    if is_free(0):
        return 0
    early, late = 0, _STARTS
    while late - early > 1:
        middle = (early + late) // 2
        if is_free(round(last * middle / _STARTS)):
            late = middle
        else:
            early = middle
    return round(last * late / _STARTS)


def clipped(values: Array) -> tuple[int, float, int] | None:
    """The last sample of the last shelf at a column's largest or least value, that value, and the longest's length.

    A shelf is a run of equal samples between steep edges. The turning points of a coarse encoder are flat as well,
    but next to `n` equal samples of a parabola the encoder moves by at most (1 + 2 / n)^2 of its steps. Where runs are
    long everywhere, or shelves at other values half as long, samples were held; one shelf alone may be chance.
    """
    found = []
    for column, resolution in zip(values.T, _resolution(values), strict=True):
        edges = np.flatnonzero(np.diff(column) != 0.0)
        if edges.size < 3:
            continue
        heights = np.abs(np.diff(column)[edges])
        lengths, levels = np.diff(edges), column[edges[1:]]
        steep = np.minimum(heights[:-1], heights[1:]) > _STEEP * resolution
        usual = np.median(lengths)
        outer = (levels == column.max()) | (levels == column.min())
        at = np.flatnonzero(steep & outer & (lengths > usual))
        if at.size > 1 and lengths[at].max() > max(_LONG * usual, 2 * np.max(lengths[steep & ~outer], initial=0)):
            found.append((int(edges[at[-1] + 1]), float(levels[at[-1]]), int(lengths[at].max())))
    return max(found, default=None)


def _lasting_fit(times_s: Array, values: Array, grid: Even, start: int, max_modes: int) -> Fit:
    """On the samples themselves, since resampling leaves errors of its own."""
    on_grid = grid.times_s[start:] - grid.times_s[start]
    poles = search(on_grid, grid.values[start:], grid.step_s, max_modes).poles
    lasting = poles.decays < _LASTING * poles.omegas
    slowest = float(np.min(poles.omegas[lasting], initial=np.pi / on_grid[-1]))
    kept = Poles(poles.decays[lasting], poles.omegas[lasting], poles.creeps[poles.creeps < _LASTING * slowest])
    weights = np.ones(values.shape[1])
    if kept.count < poles.count:
        kept = fit(on_grid, grid.values[start:], weights, kept, np.pi / grid.step_s, 1e-6).poles
    inside = times_s >= grid.times_s[start] - (grid.step_s / 2.0 if start else np.inf)
    return project(times_s[inside] - grid.times_s[start], values[inside], weights, kept)


def _resolution(values: Array) -> Array:
    """Per column the step of the encoder, the least difference between values; near 0 for what is not in steps."""
    found = np.zeros(values.shape[1])
    for k, column in enumerate(values.T):
        steps = np.diff(np.unique(column))
        steps = steps[steps > 1e-9 * np.ptp(column)] if steps.size else steps
        found[k] = steps.min() if steps.size else 0.0
    return found
