# SPDX-License-Identifier: Apache-2.0
"""The values of largest magnitude of every joint, and when they occur."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray

import velmora as vm
from velmora.tools.operations.finite import all_finite

LEVELS = ("velocities", "accelerations", "jerks")
ROWS = 1 << 14  # rows looked at at a time: a block of a few joints stays in the processor's cache


@dataclass(frozen=True)
class Peak:
    """The value of largest magnitude of one joint, with its sign, the sample where it is first, and the extremes."""

    value: float
    sample: int
    lowest: float
    highest: float


@dataclass(frozen=True)
class Peaks:
    """Per joint the value of largest magnitude and its time.

    Attributes
    ----------
    values
        The value with its sign, shape (J,); NaN where the joint has a value that is not finite.
    times_s
        When it occurs first, in seconds after the first sample, shape (J,).
    """

    values: NDArray[np.float64]
    times_s: NDArray[np.float64]


Given = NDArray[np.float64] | None


def column_peaks(values: NDArray[np.float64]) -> tuple[Peak | None, ...]:
    """The peak of each column of (N, J) among its finite values; None where there are none."""
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


def peaks(
    time_s: NDArray[np.float64],
    positions: NDArray[np.float64],
    velocities: Given = None,
    accelerations: Given = None,
    jerks: Given = None,
) -> dict[str, Peaks]:
    """The peaks of velocity, acceleration and jerk: as given, else three-point differences.

    One joint after the other, so that derivatives of a long recording take the memory of one joint.
    """

    def column(values: Given, j: int) -> Given:
        return None if values is None else values[:, j : j + 1]

    return joined(
        [
            trajectory_peaks(
                vm.JointTrajectory(
                    positions[:, j : j + 1],
                    column(velocities, j),
                    column(accelerations, j),
                    time_s,
                    jerks=column(jerks, j),
                )
            )
            for j in range(positions.shape[1])
        ]
    )


def trajectory_peaks(trajectory: vm.JointTrajectory) -> dict[str, Peaks]:
    """The peaks of velocity, acceleration and jerk of every joint of a trajectory."""
    return {level: _peaks_of(getattr(trajectory, level), trajectory.time) for level in LEVELS}


def joined(parts: Sequence[dict[str, Peaks]]) -> dict[str, Peaks]:
    """The peaks of some joints after the other as the peaks of all."""
    nothing = np.empty(0)
    return {
        level: Peaks(
            np.concatenate([nothing, *(part[level].values for part in parts)]),
            np.concatenate([nothing, *(part[level].times_s for part in parts)]),
        )
        for level in LEVELS
    }


def _peaks_of(values: NDArray[np.float64], time_s: NDArray[np.float64]) -> Peaks:
    found = column_peaks(values)
    magnitudes = np.array([np.nan if peak is None else peak.value for peak in found])
    samples = np.array([0 if peak is None else peak.sample for peak in found], dtype=np.intp)
    if not all_finite(values):
        faulty = ~np.isfinite(values)
        magnitudes[faulty.any(axis=0)] = np.nan
        samples = np.where(faulty.any(axis=0), faulty.argmax(axis=0), samples)
    return Peaks(magnitudes, time_s[samples])
