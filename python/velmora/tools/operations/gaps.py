# SPDX-License-Identifier: Apache-2.0
"""Gaps: steps between samples that are too long to be the clock's own unevenness."""

from __future__ import annotations

import itertools
from dataclasses import dataclass, replace

import numpy as np
from numpy.typing import NDArray

from velmora.tools.errors import DataError
from velmora.tools.recording import Recording
from velmora.tools.text import count, seconds_text

# A step is a gap where it is longer than this many median steps, unless the user says how long a gap is.
GAP_IN_MEDIAN_STEPS = 10.0


@dataclass(frozen=True)
class Gaps:
    """The gaps of a recording.

    Attributes
    ----------
    threshold_s
        A step longer than this is a gap; infinite where there are no steps to judge by.
    before
        Index of the last sample before each gap.
    starts_s, ends_s
        Times of the samples around each gap, in seconds after the first sample.
    """

    threshold_s: float
    before: NDArray[np.intp]
    starts_s: NDArray[np.float64]
    ends_s: NDArray[np.float64]

    def __len__(self) -> int:
        return len(self.before)


def find_gaps(times_s: NDArray[np.float64], max_gap_s: float | None = None) -> Gaps:
    """Find the steps that are longer than `max_gap_s`, or than ten median steps.

    Parameters
    ----------
    times_s
        Sample times in seconds, shape (N,), increasing.
    max_gap_s
        The longest step that is no gap, in seconds.
    """
    steps_s = np.diff(times_s)
    if max_gap_s is not None:
        threshold_s = max_gap_s
    elif len(steps_s) > 0:
        threshold_s = GAP_IN_MEDIAN_STEPS * float(np.median(steps_s))
    else:
        threshold_s = np.inf
    before = np.flatnonzero(steps_s > threshold_s)
    return Gaps(threshold_s, before, times_s[before], times_s[before + 1])


def refuse_gaps(recording: Recording, gaps: Gaps) -> None:
    """Raise a data error that names the first of the gaps, if there is one."""
    if len(gaps) > 0:
        raise DataError(
            f"{recording.source}:{recording.rows[gaps.before[0] + 1]}: {count(len(gaps), 'gap')}, the first after "
            f"{seconds_text(float(gaps.starts_s[0]))} s, {gaps.ends_s[0] - gaps.starts_s[0]:.6g} s long; no step over "
            f"{gaps.threshold_s:.6g} s was expected; --gaps bridge or split, --max-gap"
        )


def split(recording: Recording, gaps: Gaps) -> list[Recording]:
    """The pieces of a recording between its gaps, each with times of its own."""
    edges = [0, *(gaps.before + 1).tolist(), len(recording.rows)]
    return [take(recording, slice(start, stop)) for start, stop in itertools.pairwise(edges)]


def take(recording: Recording, rows: slice | NDArray[np.bool_] | NDArray[np.intp]) -> Recording:
    """The recording with only some of its samples."""

    def part(array: NDArray[np.float64] | None) -> NDArray[np.float64] | None:
        return None if array is None else array[rows]

    stamps = recording.stamps
    return replace(
        recording,
        stamps=None if stamps is None else stamps.part(rows),
        positions=recording.positions[rows],
        velocities=part(recording.velocities),
        accelerations=part(recording.accelerations),
        jerks=part(recording.jerks),
        efforts=part(recording.efforts),
        rows=recording.rows[rows],
        missing=None if recording.missing is None else {name: mask[rows] for name, mask in recording.missing.items()},
    )
