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


def peaks(trajectory: vm.JointTrajectory) -> dict[str, Peaks]:
    """The peaks of velocity, acceleration and jerk: as given to the trajectory, else three-point differences."""
    return {level: _peaks_of(getattr(trajectory, level), trajectory.time) for level in LEVELS}


def _peaks_of(values: NDArray[np.float64], time_s: NDArray[np.float64]) -> Peaks:
    joints = np.arange(values.shape[1])
    highest, lowest = values.argmax(axis=0), values.argmin(axis=0)
    higher = values[highest, joints] >= -values[lowest, joints]
    rows = np.where(higher, highest, lowest)
    # Where both signs reach the same magnitude the earlier one counts.
    equal = values[highest, joints] == -values[lowest, joints]
    rows = np.where(equal, np.minimum(highest, lowest), rows)
    return Peaks(values[rows, joints], time_s[rows])
