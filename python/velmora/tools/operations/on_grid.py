# SPDX-License-Identifier: Apache-2.0
"""Runs the library's resampling: all joints of a short recording at once, one joint after the other of a long one.

Joints do not depend on each other, so the bits are the same. Of a long recording the library then holds one joint
beside the result, and the samples of a joint stay together in memory, as tables in files want them.
"""

from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass, replace

import numpy as np
from numpy.typing import NDArray

import velmora as vm
from velmora.tools.operations.peaks import Peaks, joined, trajectory_peaks
from velmora.tools.recording import Recording

CELLS_AT_ONCE = 1 << 21
# With values and times of such sizes nothing overflows on the way: a spline fails for all joints or for none.
TAME_POSITION, TAME_STEP_S = 1e100, 1e-50

Run = Callable[[vm.JointTrajectory], vm.JointTrajectory]


@dataclass(frozen=True)
class OnGrid:
    """What the library gave.

    Attributes
    ----------
    time_s
        The grid, in seconds after the first sample of the recording, shape (M,).
    values
        The quantities that were wanted, shape (M, J), column by column in memory.
    peaks
        Of velocity, acceleration and jerk, where they were wanted.
    failure
        Why the spline failed, where the result is linear instead.
    """

    time_s: NDArray[np.float64]
    values: dict[str, NDArray[np.float64]]
    peaks: dict[str, Peaks] | None
    failure: str | None = None


class Joints:
    """A recording as trajectories of some joints each, which need the recording no longer."""

    def __init__(self, recording: Recording, samples: float) -> None:
        """Copy the joints of a recording; `samples` is the length of the grid."""
        assert recording.stamps is not None
        time_s = recording.stamps.seconds()
        self.count = len(recording.joints)
        at_once = max(1, int(CELLS_AT_ONCE // max(len(time_s), samples, 1)))

        def part(values: NDArray[np.float64] | None, first: int) -> NDArray[np.float64] | None:
            return None if values is None else values[:, first : first + at_once]

        self.trajectories: list[vm.JointTrajectory | None] = [
            vm.JointTrajectory(
                recording.positions[:, first : first + at_once],
                part(recording.velocities, first),
                part(recording.accelerations, first),
                time_s,
                jerks=part(recording.jerks, first),
            )
            for first in range(0, max(self.count, 1), at_once)
        ]
        largest = max(recording.positions.max(initial=0.0), -recording.positions.min(initial=0.0))
        self.tame = bool(largest < TAME_POSITION and np.diff(time_s).min(initial=np.inf) > TAME_STEP_S)


def put_on_grid(joints: Joints, cubic: Run | None, linear: Run | None, columns: tuple[str, ...], peaks: bool) -> OnGrid:
    """Resample all joints, each of which is let go as soon as it is done.

    Parameters
    ----------
    cubic, linear
        The library's calls; the second is used where the first fails.
    columns
        The quantities that are wanted.
    peaks
        Whether the peaks of the derivatives are wanted.

    Raises
    ------
    velmora.InvalidArgumentError
        As the library does.
    """
    if cubic is None:
        assert linear is not None
        return _collected(joints, linear, columns, peaks)
    try:
        return _collected(joints, cubic, columns, peaks)
    except vm.InvalidArgumentError as error:
        if linear is None or None in joints.trajectories:
            raise
        failure = str(error)
    return replace(_collected(joints, linear, columns, peaks), failure=failure)


def _collected(joints: Joints, run: Run, columns: tuple[str, ...], peaks: bool) -> OnGrid:
    time_s = np.empty(0)
    values: dict[str, NDArray[np.float64]] = {}
    found = []
    first = 0
    for index, trajectory in enumerate(joints.trajectories):
        assert trajectory is not None
        on_grid = run(trajectory)
        del trajectory
        if joints.tame:
            joints.trajectories[index] = None
        if index == 0:
            time_s = on_grid.time.copy()
            values = {column: np.empty((joints.count, len(time_s))).T for column in columns}
        last = first + on_grid.joint_count
        for column, matrix in values.items():
            matrix[:, first:last] = getattr(on_grid, column)
        if peaks:
            found.append(trajectory_peaks(on_grid))
        first = last
        del on_grid  # before the next joint needs the room
    return OnGrid(time_s, values, joined(found) if peaks else None)
