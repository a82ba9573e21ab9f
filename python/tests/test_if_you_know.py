# SPDX-License-Identifier: Apache-2.0
"""What docs/reference/if_you_know.md says of scipy, numpy and pandas."""

from __future__ import annotations

import numpy as np
import pandas as pd
import pytest
import velmora as vm

T = np.array([0.0, 0.1, 0.25, 0.35, 0.6])
P = np.array([[0.0, 1.0], [0.2, 0.5], [0.7, 0.1], [1.0, -0.5], [0.4, -0.6]])
TRAJECTORY = vm.JointTrajectory(P, time=T)


def close(one: object, other: object) -> None:
    np.testing.assert_allclose(one, other, rtol=1e-12, atol=1e-12)  # type: ignore[arg-type]


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
    close(TRAJECTORY.resample(samples=9).time, grid)


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
