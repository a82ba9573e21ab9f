# SPDX-License-Identifier: Apache-2.0
"""Where a trajectory is worth looking at: its peaks, its violations, its gaps."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray

from velmora.tools.report.data import QUANTITIES, Quantity, ReportData, Track, TrackName

ROWS = 1 << 17  # rows looked at at a time


@dataclass(frozen=True)
class Peak:
    """The value of largest magnitude of one joint, with its sign, the sample where it is first, and the extremes."""

    value: float
    sample: int
    lowest: float
    highest: float


Peaks = dict[tuple[TrackName, Quantity], tuple[Peak | None, ...]]


def peaks_of(data: ReportData) -> Peaks:
    """The peak of each joint, for each track and quantity; None where no value is finite."""
    return {
        (name, quantity): _peaks(track.values[quantity])
        for name, track in data.tracks()
        for quantity in QUANTITIES
        if quantity in track.values
    }


def _peaks(values: NDArray[np.float64]) -> tuple[Peak | None, ...]:
    found: list[Peak | None] = [None] * values.shape[1]
    for first in range(0, len(values), ROWS):
        # Joints as rows: argmin and argmax along short strided columns are several times slower.
        block = np.ascontiguousarray(values[first : first + ROWS].T)
        finite = np.isfinite(block)
        if finite.all():
            lowest, highest = block.argmin(axis=1), block.argmax(axis=1)
        else:
            lowest = np.where(finite, block, np.inf).argmin(axis=1)
            highest = np.where(finite, block, -np.inf).argmax(axis=1)
        for joint, (low, high) in enumerate(zip(lowest.tolist(), highest.tolist(), strict=True)):
            if finite[joint, low]:
                found[joint] = _larger(found[joint], block[joint], first, low, high)
    return tuple(found)


def _larger(known: Peak | None, values: NDArray[np.float64], first: int, low: int, high: int) -> Peak:
    """The peak of the samples so far and of a block from `first` on, whose extremes are at `low` and `high`."""
    lowest, highest = float(values[low]), float(values[high])
    at = min(low, high) if -lowest == highest else (high if highest > -lowest else low)
    peak = Peak(float(values[at]), first + at, lowest, highest)
    if known is None:
        return peak
    if abs(known.value) >= abs(peak.value):
        peak = known
    return Peak(peak.value, peak.sample, min(known.lowest, lowest), max(known.highest, highest))


def ratio(value: float, bound: float) -> float:
    """How far a value is outside, to sort by: its share of the bound, or its size where the bound is 0."""
    return abs(value / bound) if bound != 0 else abs(value) + 1.0


def events_of(data: ReportData, peaks: Peaks, name: TrackName, track: Track) -> list[int]:
    """Samples of a track that are kept with their neighbours one by one, the most important first."""
    worst = sorted(data.violations, key=lambda violation: -ratio(violation.worst, violation.bound))
    found = [violation.worst_s for violation in worst]
    largest: list[float] = []
    others: list[float] = []
    for (owner, _), of_joints in peaks.items():
        times = data.before.times if owner == "before" or data.after is None else data.after.times
        there = sorted((peak for peak in of_joints if peak is not None), key=lambda peak: -abs(peak.value))
        # The peaks of what came out first: the raw jerk has its peak in noise.
        rank = largest if owner == name else others
        rank += [float(times[peak.sample]) for peak in there[:1]]
        others += [float(times[peak.sample]) for peak in there[1:]]
    times_s = np.asarray(_interleaved(found, largest) + others)
    samples = np.minimum(np.searchsorted(track.times, times_s), len(track.times) - 1)
    gaps = track.gaps[np.argsort(-(track.times[track.gaps + 1] - track.times[track.gaps]), kind="stable")]
    return list(dict.fromkeys(samples.tolist() + gaps.tolist()))


def _interleaved(first: list[float], second: list[float]) -> list[float]:
    pairs = [value for pair in zip(first, second, strict=False) for value in pair]
    shorter = min(len(first), len(second))
    return pairs + first[shorter:] + second[shorter:]
