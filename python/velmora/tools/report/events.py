# SPDX-License-Identifier: Apache-2.0
"""Where a trajectory is worth looking at: its peaks, its violations, its gaps."""

from __future__ import annotations

import numpy as np

from velmora.tools.operations.peaks import Peak, column_peaks
from velmora.tools.report.data import QUANTITIES, Quantity, ReportData, Track, TrackName

Peaks = dict[tuple[TrackName, Quantity], tuple[Peak | None, ...]]


def peaks_of(data: ReportData) -> Peaks:
    """The peak of each joint, for each track and quantity; None where no value is finite."""
    return {
        (name, quantity): column_peaks(track.values[quantity])
        for name, track in data.tracks()
        for quantity in QUANTITIES
        if quantity in track.values
    }


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
