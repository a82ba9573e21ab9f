# SPDX-License-Identifier: Apache-2.0
"""Joints resampled one after the other: the bits of all at once, one spline for all or for none."""

from __future__ import annotations

from typing import Any

import numpy as np
import pytest
import velmora as vm
from support import recording
from velmora.tools.errors import DataError
from velmora.tools.operations.peaks import peaks
from velmora.tools.operations.resample import QUANTITIES, ResampleOptions, resample, resample_from


@pytest.fixture(params=[1, 100, 10**6])
def cells(request: pytest.FixtureRequest, monkeypatch: pytest.MonkeyPatch) -> None:
    """One joint at once, two, or all of them."""
    monkeypatch.setattr("velmora.tools.operations.on_grid.CELLS_AT_ONCE", request.param)


@pytest.mark.usefixtures("cells")
@pytest.mark.parametrize("method", ["cubic", "linear"])
def test_groups_of_joints_have_the_bits_of_all_joints(method: Any) -> None:
    generator = np.random.default_rng(6)
    times_s = np.concatenate(([0.0], np.cumsum(generator.uniform(0.5, 1.5, 39))))
    whole = recording(times_s.tolist(), generator.normal(size=(40, 5)).tolist())
    options = ResampleOptions(sample_time_s=0.9, method=method, columns=QUANTITIES)
    (result,) = resample(whole, options, with_peaks=True)
    expected = vm.resample_trajectory(vm.JointTrajectory(whole.positions, time=times_s), 0.9, method, strict_cubic=True)
    assert result.time_s.tobytes() == expected.time.tobytes()
    for name in QUANTITIES:
        assert getattr(result.recording, name).tobytes() == getattr(expected, name).tobytes()
    assert result.peaks is not None
    levels = (expected.velocities, expected.accelerations, expected.jerks)
    for level, found in peaks(expected.time, expected.positions, *levels).items():
        assert result.peaks[level].values.tolist() == found.values.tolist()
        assert result.peaks[level].times_s.tolist() == found.times_s.tolist()


@pytest.mark.usefixtures("cells")
def test_a_spline_that_fails_for_the_last_joint_makes_all_of_them_linear() -> None:
    positions = [[0.0, 0.0, 1e308], [1.0, 3.0, -1e308], [4.0, 0.0, 1e308], [9.0, 1.0, -1e308]]
    whole = recording([0.0, 1.0, 2.0, 3.0], positions)
    options = ResampleOptions(sample_time_s=0.5, columns=("positions",))
    (result,) = resample(whole, options)
    assert "LINEAR INSTEAD OF CUBIC" in result.warnings[0]
    assert result.recording.positions[:, :2].tolist() == [
        [0.0, 0.0],
        [0.5, 1.5],
        [1.0, 3.0],
        [2.5, 1.5],
        [4.0, 0.0],
        [6.5, 0.5],
        [9.0, 1.0],
    ]
    with pytest.raises(DataError):
        resample(whole, ResampleOptions(sample_time_s=0.5, columns=("positions",), strict=True))


def test_the_recording_is_let_go() -> None:
    held = [recording([0.0, 1.0, 2.0], [[0.0], [1.0], [0.0]])]
    (result,) = resample_from(held, ResampleOptions(rate_hz=2.0))
    assert held == []
    assert result.recording.positions[:, 0].tolist()[::2] == [0.0, 1.0, 0.0]


def test_quantities_beside_the_columns_may_overflow() -> None:
    huge = recording([0.0, 1e-3, 2e-3], [[1e305], [-1e305], [1e305]])
    linear = ResampleOptions(rate_hz=1000.0, method="linear", columns=("positions",))
    (result,) = resample(huge, linear, also=("velocities",))
    assert result.recording.velocities is not None
    assert not np.isfinite(result.recording.velocities).all()
    assert result.recording.jerks is None
