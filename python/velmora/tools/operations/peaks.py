# SPDX-License-Identifier: Apache-2.0
"""The largest velocity, acceleration and jerk of every joint, and when they occur."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray

import velmora as vm

LEVELS = ("velocities", "accelerations", "jerks")


@dataclass(frozen=True)
class Peaks:
    """Per joint the value of largest magnitude and its time.

    Attributes
    ----------
    values
        The value with its sign, shape (J,).
    times_s
        When it occurs first, in seconds after the first sample, shape (J,).
    """

    values: NDArray[np.float64]
    times_s: NDArray[np.float64]


Given = NDArray[np.float64] | None


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
    found: dict[str, list[Peaks]] = {level: [] for level in LEVELS}
    for j in range(positions.shape[1]):

        def column(values: Given, j: int = j) -> Given:
            return None if values is None else values[:, j : j + 1]

        joint = vm.JointTrajectory(
            positions[:, j : j + 1], column(velocities), column(accelerations), time_s, jerks=column(jerks)
        )
        for level in LEVELS:
            found[level].append(_peaks_of(getattr(joint, level), time_s))
    return {
        level: Peaks(np.array([peak.values[0] for peak in entries]), np.array([peak.times_s[0] for peak in entries]))
        for level, entries in found.items()
    }


def _peaks_of(values: NDArray[np.float64], time_s: NDArray[np.float64]) -> Peaks:
    joints = np.arange(values.shape[1])
    highest, lowest = values.argmax(axis=0), values.argmin(axis=0)
    higher = values[highest, joints] >= -values[lowest, joints]
    rows = np.where(higher, highest, lowest)
    # Where both signs reach the same magnitude the earlier one counts.
    equal = values[highest, joints] == -values[lowest, joints]
    rows = np.where(equal, np.minimum(highest, lowest), rows)
    return Peaks(values[rows, joints], time_s[rows])
