# SPDX-License-Identifier: Apache-2.0
"""Properties of any valid input: shapes with no joints, one sample, huge and tiny values."""

from __future__ import annotations

import pickle
from typing import Any

import numpy as np
import velmora as vm
from hypothesis import given, settings
from hypothesis import strategies as st
from hypothesis.extra import numpy as hnp
from numpy.typing import NDArray

VALUES = st.floats(allow_nan=False, allow_infinity=False, width=64)
SHAPES = st.tuples(st.integers(1, 40), st.integers(0, 9))
Floats = NDArray[np.float64]


@st.composite
def matrices(draw: Any, elements: Any = VALUES) -> Floats:
    values: Floats = draw(hnp.arrays(np.float64, draw(SHAPES), elements=elements))
    return values


@st.composite
def trajectories(draw: Any, elements: Any = VALUES) -> vm.JointTrajectory:
    positions = draw(matrices(elements))
    steps = draw(hnp.arrays(np.float64, len(positions) - 1, elements=st.floats(1e-6, 1e3)))
    start = draw(st.sampled_from([0.0, -5.0, 1e6]))
    return vm.JointTrajectory(positions, time=start + np.concatenate([[0.0], np.cumsum(np.maximum(steps, 1e-3))]))


@given(matrices(), st.sampled_from(["C", "F"]))
def test_what_goes_in_comes_out(positions: Floats, order: Any) -> None:
    trajectory = vm.JointTrajectory(np.array(positions, order=order), dt=0.1)
    assert trajectory.positions.tobytes() == np.ascontiguousarray(positions).tobytes()
    assert trajectory.positions.shape == positions.shape


@given(trajectories())
def test_pickles_keep_all_bits(trajectory: vm.JointTrajectory) -> None:
    velocities = trajectory.velocities.tobytes()
    again = pickle.loads(pickle.dumps(trajectory))
    assert again == trajectory
    assert again.velocities.tobytes() == velocities


@given(trajectories())
def test_sampling_at_its_own_times_gives_it_back(trajectory: vm.JointTrajectory) -> None:
    assert (trajectory.sample(trajectory.time, False).positions == trajectory.positions).all()


@given(trajectories(st.floats(-1e3, 1e3)), st.integers(2, 200))
@settings(max_examples=50)
def test_resampling_keeps_ends_and_shape(trajectory: vm.JointTrajectory, count: int) -> None:
    if trajectory.sample_count == 1:
        return
    result = trajectory.resample(samples=count)
    assert result.positions.shape == (count, trajectory.joint_count)
    assert result.start_time_s == trajectory.start_time_s
    assert (result.positions[0] == trajectory.positions[0]).all()


@given(matrices(), st.data())
def test_weights_of_zero_and_one_give_either_array(raw: Floats, data: Any) -> None:
    shaped = data.draw(hnp.arrays(np.float64, raw.shape, elements=VALUES))
    assert (vm.blend_arrays(raw, shaped, 0) == raw).all()
    assert (vm.blend_arrays(raw, shaped, np.ones(len(raw))) == shaped).all()


@given(matrices(st.floats(-1e150, 1e150)))
def test_path_coordinates_start_at_zero_and_never_fall(positions: Floats) -> None:
    path = vm.joint_path_coordinate(positions)
    assert path[0] == 0.0
    assert (np.diff(path) >= 0.0).all()


@given(hnp.arrays(np.float64, hnp.array_shapes(min_dims=0, max_dims=4, min_side=0), elements=VALUES))
def test_the_ramp_keeps_any_shape_and_stays_between_zero_and_one(progress: Floats) -> None:
    ramp = np.asarray(vm.smootherstep(progress))
    assert ramp.shape == progress.shape
    assert ((ramp >= 0.0) & (ramp <= 1.0)).all()


@given(hnp.arrays(hnp.scalar_dtypes(), st.tuples(st.integers(1, 4), st.integers(0, 3))))
def test_any_dtype_is_taken_or_refused_by_name(values: Any) -> None:
    try:
        trajectory = vm.JointTrajectory(values, dt=0.1)
    except TypeError as error:
        assert values.dtype.kind not in "biuf"
        assert str(error).startswith("positions must be a 2-D array of real numbers")
    except vm.InvalidArgumentError as error:
        assert not np.isfinite(values.astype(np.float64)).all()
        assert str(error) == "JointTrajectory.positions must contain only finite values."
    else:
        assert (trajectory.positions == values.astype(np.float64)).all()
