# SPDX-License-Identifier: Apache-2.0
"""What docs/reference/if_you_know.md says of scipy, numpy, pandas, and of formulas of other programs."""

from __future__ import annotations

from typing import Any

import numpy as np
import pandas as pd
import pytest
import velmora as vm

T = np.array([0.0, 0.1, 0.25, 0.35, 0.6])
P = np.array([[0.0, 1.0], [0.2, 0.5], [0.7, 0.1], [1.0, -0.5], [0.4, -0.6]])
TRAJECTORY = vm.JointTrajectory(P, time=T)


def close(one: Any, other: Any) -> None:
    np.testing.assert_allclose(one, other, rtol=1e-12, atol=1e-12)


@pytest.mark.parametrize("samples", [2, 3, 4, 5])
def test_cubic_spline(samples: int) -> None:
    interpolate = pytest.importorskip("scipy.interpolate", reason="scipy belongs to the tools, not to the library")
    spline = interpolate.CubicSpline(T[:samples], P[:samples])
    result = vm.JointTrajectory(P[:samples], time=T[:samples]).resample(samples=13, strict_cubic=True)
    close(result.positions, spline(result.time))
    close(result.velocities, spline(result.time, 1))
    np.testing.assert_allclose(result.accelerations, spline(result.time, 2), rtol=1e-9, atol=1e-9)


def test_ends_of_the_spline() -> None:
    held = TRAJECTORY.resample(0.25, grid_mode="exact_dt_extend_endpoint")
    assert held.time.tolist() == [0.0, 0.25, 0.5, 0.75]
    close(held.positions[-1], P[-1])
    assert TRAJECTORY.resample(0.25).time.tolist() == [0.0, 0.25, 0.5, 0.6]


def test_interp_and_linspace() -> None:
    grid = np.linspace(T[0], T[-1], 9)
    close(TRAJECTORY.sample(grid).positions, np.stack([np.interp(grid, T, column) for column in P.T], axis=1))
    with pytest.raises(vm.InvalidArgumentError):
        TRAJECTORY.sample([-0.1])
    for count in range(2, 40):
        time = TRAJECTORY.resample(samples=count).time
        close(time, np.linspace(T[0], T[-1], count))
        assert (time[0], time[-1]) == (T[0], T[-1])


def test_gradient() -> None:
    close(TRAJECTORY.velocities, np.gradient(P, T, axis=0, edge_order=2))
    twice = np.gradient(np.gradient(P, T, axis=0, edge_order=2), T, axis=0, edge_order=2)
    close(TRAJECTORY.accelerations, twice)
    assert not np.allclose(TRAJECTORY.velocities[0], np.gradient(P, T, axis=0)[0])
    assert vm.JointTrajectory([[0.0], [1.0]], dt=0.5).velocities.tolist() == [[2.0], [2.0]]
    assert vm.JointTrajectory([[3.0]], dt=0.5).velocities.tolist() == [[0.0]]


def test_diff_path_and_blend() -> None:
    difference = np.diff(P, axis=0)
    close(vm.sample_aligned_first_difference(P, 0.5), np.concatenate([difference, difference[-1:]]) / 0.5)
    close(vm.joint_path_coordinate(P)[1:], np.cumsum(np.linalg.norm(difference, axis=1)))
    weights = np.linspace(0.0, 1.0, 5)
    close(vm.blend_arrays(P, P[::-1], weights), (1 - weights)[:, None] * P + weights[:, None] * P[::-1])


def test_pandas() -> None:
    series, grid = pd.Series(P[:, 0], index=T), np.array([-0.1, 0.05, 0.3, 0.7])
    there = series.reindex(series.index.union(grid)).interpolate("index").loc[grid].to_numpy()
    close(there[1:3], TRAJECTORY.sample(grid[1:3]).positions[:, 0])
    assert np.isnan(there[0]) and there[3] == P[-1, 0]


@pytest.mark.skipif(int(pd.__version__.split(".")[0]) < 3, reason="pandas 2 drops samples beside the grid first")
def test_pandas_resample() -> None:
    series = pd.Series(P[:, 0], index=pd.to_timedelta(T, unit="s"))
    grid = TRAJECTORY.resample(0.2, "linear", "exact_dt_trim")
    assert grid.time[:3].tolist() == [0.0, 0.2, 0.4]
    by_time = series.resample("200ms").interpolate("time").to_numpy()
    close(by_time[1:3], grid.positions[1:3, 0])
    by_rows = series.resample("200ms").interpolate().to_numpy()
    close(by_rows[1], (P[1, 0] + P[2, 0]) / 2)
    ends = [0.05, 0.75]
    durations = pd.Series([0.0, 1.0], index=pd.to_timedelta(ends, unit="s")).resample("200ms").interpolate("time")
    close([entry.total_seconds() for entry in durations.index], [0.05, 0.25, 0.45, 0.65])
    dates = pd.Series([0.0, 1.0], index=pd.to_datetime(ends, unit="s")).resample("200ms").interpolate("time")
    assert np.isnan(dates.iloc[0]) and dates.index[-1] == pd.Timestamp(0.6, unit="s")


def test_scipy_resample_rings_at_the_ends() -> None:
    signal = pytest.importorskip("scipy.signal", reason="scipy belongs to the tools, not to the library")
    line = np.linspace(0.0, 1.0, 21)
    there = signal.resample(line, 41)
    here = vm.JointTrajectory(line[:, None], dt=0.05).resample(samples=41).positions[:, 0]
    close(here, np.linspace(0.0, 1.0, 41))
    assert abs(there[1] - here[1]) > 0.1 and abs(there[-1] - here[-1]) > 0.1


def test_third_derivatives_and_ramp() -> None:
    assert not np.allclose(TRAJECTORY.resample(0.05).jerks[:-1], 0.0)
    x = np.array([-1.0, 0.0, 0.3, 1.0, 2.0])
    clipped = np.clip(x, 0.0, 1.0)
    close(vm.smootherstep(x), 6 * clipped**5 - 15 * clipped**4 + 10 * clipped**3)


def test_slope_of_the_chord() -> None:
    """Inside, MATLAB's gradient: the slope of the chord, which is that of the parabola on even times only."""
    chord = (P[2:] - P[:-2]) / (T[2:] - T[:-2])[:, None]
    assert np.abs(TRAJECTORY.velocities[1:-1] - chord).max() > 0.1
    close(vm.JointTrajectory(P, dt=0.1).velocities[1:-1], (P[2:] - P[:-2]) / 0.2)


def test_zero_extension_bends_the_ends() -> None:
    """What a filter makes of a signal that is zero outside, whatever its taps; here the ends stay."""
    smoothed = np.convolve(np.ones(50), np.full(9, 1 / 9), mode="same")
    assert smoothed[0] < 0.6 and smoothed[-1] < 0.6
    close(vm.JointTrajectory(np.ones((50, 1)), dt=0.1).resample(rate_hz=25.0).positions, 1.0)


def test_grids_of_planners() -> None:
    duration, step = 0.07, 0.01
    assert duration / step == 7.000000000000001
    theirs = [min(k * step, duration) for k in range(int(np.ceil(duration / step)) + 1)]
    assert theirs[-1] == theirs[-2]
    move = vm.JointTrajectory([[0.0], [1.0]], time=[0.0, duration])
    assert move.resample(step).time.tolist() == theirs[:-1]
    uneven = [min(k * 0.02, duration) for k in range(int(np.ceil(duration / 0.02)) + 1)]
    close(move.resample(0.02).time, uneven)
    running, entries = 0.0, 0
    while running < 0.3:
        running, entries = running + 0.1, entries + 1
    assert (entries, running) == (3, 0.30000000000000004)
    while running < 0.8:
        running, entries = running + 0.1, entries + 1
    assert (entries, running) == (9, 0.8999999999999999)  # one more than 0.8 / 0.1


def test_hermite_pieces_step_in_acceleration() -> None:
    interpolate = pytest.importorskip("scipy.interpolate", reason="scipy belongs to the tools, not to the library")
    pieces = interpolate.CubicHermiteSpline(T, P, TRAJECTORY.velocities)
    just = 1e-9
    assert np.abs(pieces(T[2] + just, 2) - pieces(T[2] - just, 2)).max() > 1.0
    spline = interpolate.CubicSpline(T, P)
    assert np.abs(spline(T[2] + just, 2) - spline(T[2] - just, 2)).max() < 1e-5


def test_equal_distances_along_a_path() -> None:
    along = vm.joint_path_coordinate(P)
    even = vm.JointTrajectory(P, time=along).resample(samples=200, method="linear").positions
    steps = np.linalg.norm(np.diff(even, axis=0), axis=1)
    assert np.ptp(np.sort(steps)[10:]) < 1e-12  # all, but those that cut a corner
