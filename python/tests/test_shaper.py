# SPDX-License-Identifier: Apache-2.0
"""Blends, path coordinates, differences, the ramp and the validators: values and sentences."""

from __future__ import annotations

import copy
import math
import pickle
from collections.abc import Callable
from typing import Any

import numpy as np
import pytest
import velmora as vm


def test_blend_takes_one_weight_or_one_per_sample() -> None:
    raw, shaped = [[0.0, 2.0], [4.0, 6.0]], [[1.0, 1.0], [0.0, 0.0]]
    assert vm.blend_arrays(raw, shaped, 0.5).tolist() == [[0.5, 1.5], [2.0, 3.0]]
    assert vm.blend_arrays(raw, shaped, [0.0, 1.0]).tolist() == [[0.0, 2.0], [0.0, 0.0]]
    assert np.isnan(vm.blend_arrays(raw, shaped, math.nan)).all()
    assert vm.blend_arrays(np.empty((0, 3)), np.empty((0, 3)), []).shape == (0, 3)


@pytest.mark.parametrize(
    ("shaped", "weight", "message"),
    [
        ([[1.0]], 0.5, "raw and shaped arrays must have the same shape"),
        ([[1.0]], [0.5], "raw and shaped arrays must have the same shape"),
        ([[1.0], [2.0]], [0.5], "per-sample shaping weights must match the sample count"),
    ],
)
def test_blend_checks_shapes(shaped: Any, weight: Any, message: str) -> None:
    with pytest.raises(vm.InvalidArgumentError) as raised:
        vm.blend_arrays([[0.0], [0.0]], shaped, weight)
    assert str(raised.value) == message


def test_path_coordinate_is_the_length_of_the_path() -> None:
    assert vm.joint_path_coordinate([[0.0, 0.0], [3.0, 4.0], [3.0, 4.0], [0.0, 0.0]]).tolist() == [0.0, 5.0, 5.0, 10.0]
    assert vm.joint_path_coordinate(np.empty((2, 0))).tolist() == [0.0, 0.0]


TAIL = vm.ShapedTrajectory([[2.0], [4.0]], [[1.0], [0.0]], [[8.0], [6.0]], [1.0, 1.5])


def test_tail_is_blended_with_the_endpoint_at_rest() -> None:
    blend = vm.blend_tail_with_held_raw_endpoint([0.0], TAIL, 0.5)
    assert blend == vm.ShapedTrajectory([[1.0], [2.0]], [[0.5], [0.0]], [[4.0], [3.0]], [1.0, 1.5])


def test_tail_checks_shapes_in_order() -> None:
    ragged = vm.ShapedTrajectory([[2.0], [4.0]], [[1.0]], [[8.0], [6.0]], [1.0, 1.5])
    with pytest.raises(vm.InvalidArgumentError, match=r"^raw_position length mismatch$"):
        vm.blend_tail_with_held_raw_endpoint([0.0, 0.0], ragged, 0.5)
    with pytest.raises(
        vm.InvalidArgumentError, match=r"^shaped_tail fields must have matching sample and joint shapes$"
    ):
        vm.blend_tail_with_held_raw_endpoint([0.0], ragged, 0.5)


def test_records_copy_pickle_compare_and_show_themselves() -> None:
    box = vm.JointStateBox([-1.0], [2.0])
    limits = vm.JointStateLimits(box, None, vm.JointStateBox([0.0], [0.0]))
    for record in (TAIL, box, limits):
        for one in (copy.copy(record), copy.deepcopy(record), pickle.loads(pickle.dumps(record))):
            assert one == record
        assert record != 3
        with pytest.raises(TypeError, match="unhashable"):
            hash(record)
    assert box != vm.JointStateBox([-1.0], [2.5])
    assert limits != vm.JointStateLimits(box)
    assert limits != vm.JointStateLimits(box, None, vm.JointStateBox([0.0], [1.0]))
    assert vm.ShapedTrajectory(TAIL.positions, TAIL.velocities, TAIL.accelerations, [1.0, 2.0]) != TAIL
    nan = vm.ShapedTrajectory([[math.nan]], [[0.0]], [[0.0]], [0.0])
    assert nan == pickle.loads(pickle.dumps(nan))
    assert repr(box) == "JointStateBox(lower=array([-1.]), upper=array([2.]))"
    assert eval(repr(limits), {"array": np.array} | vars(vm)) == limits


def test_limits_hand_out_their_boxes() -> None:
    box = vm.JointStateBox([-1.0], [2.0])
    limits = vm.JointStateLimits(velocity=box)
    assert limits.position is limits.acceleration is limits.jerk is None
    assert limits.velocity == box
    assert limits.velocity is limits.velocity
    upper = limits.velocity.upper
    del limits
    assert upper.tolist() == [2.0]


@pytest.mark.parametrize(
    ("lower", "upper", "message"),
    [
        ([math.nan], [], "Lower and upper limits must have matching shapes."),
        ([1.0, math.nan], [0.0, 1.0], "Joint-state limits must contain only finite values."),
        ([1.0], [0.0], "Lower limits cannot exceed upper limits."),
    ],
)
def test_boxes_are_checked_in_order(lower: Any, upper: Any, message: str) -> None:
    with pytest.raises(vm.InvalidArgumentError) as raised:
        vm.JointStateBox(lower, upper)
    assert str(raised.value) == message


def test_limits_are_for_the_same_joints() -> None:
    with pytest.raises(vm.InvalidArgumentError) as raised:
        vm.JointStateLimits(vm.JointStateBox([0.0], [1.0]), jerk=vm.JointStateBox([], []))
    assert str(raised.value) == "Position, velocity, acceleration, and jerk limits must have matching shapes."


def test_difference_by_spacing_and_by_times() -> None:
    signal = [[0.0], [1.0], [3.0]]
    assert vm.sample_aligned_first_difference(signal, 0.5).tolist() == [[2.0], [4.0], [4.0]]
    assert vm.sample_aligned_first_difference(signal, [0.0, 1.0, 5.0]).tolist() == [[1.0], [0.5], [0.5]]
    assert vm.sample_aligned_first_difference([[7.0]], math.nan).tolist() == [[0.0]]


@pytest.mark.parametrize(
    ("spacing", "message"),
    [
        (0.0, "sample_spacing must be finite and positive."),
        (math.nan, "sample_spacing must be finite and positive."),
        ([0.0], "sample_spacing length must match signal samples."),
        ([0.0, 0.0], "sample_spacing times must be strictly increasing."),
    ],
)
def test_difference_checks_its_spacing(spacing: Any, message: str) -> None:
    with pytest.raises(vm.InvalidArgumentError) as raised:
        vm.sample_aligned_first_difference([[0.0], [1.0]], spacing)
    assert str(raised.value) == message


def test_ramp_of_numbers_and_arrays() -> None:
    assert vm.smootherstep(-3) == 0.0
    assert vm.smootherstep(0.5) == 0.5
    assert vm.smootherstep(7) == 1.0
    assert math.copysign(1.0, vm.smootherstep(-0.0)) == -1.0
    progress = np.linspace(-0.5, 1.5, 24).reshape(2, 3, 4)
    ramp = vm.smootherstep(progress)
    assert ramp.shape == (2, 3, 4)
    assert ramp.ravel().tolist() == [vm.smootherstep(value) for value in progress.ravel().tolist()]
    assert vm.smootherstep(np.empty((0, 3))).shape == (0, 3)
    assert vm.smootherstep(np.asfortranarray(progress)).tolist() == ramp.tolist()
    assert not ramp.flags.writeable and ramp.flags.c_contiguous


@pytest.mark.parametrize(
    ("validate", "good", "bad", "message"),
    [
        (
            vm.validate_vibration_shaping_weight,
            (0, 0.5, 1),
            (-0.1, 1.1, math.nan, math.inf),
            "vibration_shaping_weight must be in [0.0, 1.0]",
        ),
        (
            vm.validate_vibration_weight_transition_s,
            (0, 3),
            (-0.1, math.nan, math.inf),
            "vibration_weight_transition_s must be non-negative",
        ),
        (
            vm.validate_vibration_weight_rate_per_s,
            (0.1, 3),
            (0, -0.1, math.nan, math.inf),
            "vibration_weight_rate_per_s must be positive",
        ),
    ],
)
def test_validators(validate: Callable[[float], None], good: Any, bad: Any, message: str) -> None:
    for value in good:
        assert validate(value) is None  # type: ignore[func-returns-value]  # that it returns nothing is what is tested
    for value in bad:
        with pytest.raises(vm.InvalidArgumentError) as raised:
            validate(value)
        assert str(raised.value) == message


def test_errors_are_pickled_with_their_fields() -> None:
    error = vm.InvalidArgumentError("text", "name")
    again = pickle.loads(pickle.dumps(error))
    assert (str(again), again.argument_name, again.code) == ("text", "name", 0)
    assert isinstance(again, ValueError)
