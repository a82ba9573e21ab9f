# SPDX-License-Identifier: Apache-2.0
"""The trajectory: its checks in their order, derivatives, copies, pickles, comparison."""

from __future__ import annotations

import contextlib
import copy
import math
import pickle
import subprocess
import sys
from typing import Any

import numpy as np
import pytest
import velmora as vm

POSITIONS = [[0.0, 1.0], [0.5, 0.5], [2.0, -1.0]]
TIME = [0.0, 0.1, 0.3]


def trajectory(**given: Any) -> vm.JointTrajectory:
    return vm.JointTrajectory(**({"positions": POSITIONS, "time": TIME} | given))


NAN = [[0.0, 1.0], [math.nan, 0.5], [2.0, -1.0]]
OTHER_SHAPE = [[0.0, 1.0], [0.5, 0.5]]
FINITE = "JointTrajectory.{} must contain only finite values."
SHAPE = "JointTrajectory.{} must match JointTrajectory.positions shape."

# In the order of the checks: each pair of neighbours is broken at once as well.
FAULTS: list[tuple[dict[str, Any], str]] = [
    (
        {"positions": np.empty((0, 2)), "time": []},
        "JointTrajectory requires at least 1 sample to support velocity and acceleration evaluation, got 0.",
    ),
    ({"positions": NAN}, FINITE.format("positions")),
    ({"time": [0.0, 0.1]}, "JointTrajectory.positions must align with JointTrajectory.time."),
    ({"time": [0.0, math.inf, 0.3]}, FINITE.format("time")),
    ({"time": [0.0, 0.1, 0.1]}, "JointTrajectory.time must be strictly increasing."),
    ({"velocities": OTHER_SHAPE}, SHAPE.format("velocities")),
    ({"velocities": NAN}, FINITE.format("velocities")),
    ({"accelerations": OTHER_SHAPE}, SHAPE.format("accelerations")),
    ({"accelerations": NAN}, FINITE.format("accelerations")),
    ({"jerks": OTHER_SHAPE}, SHAPE.format("jerks")),
    ({"jerks": NAN}, FINITE.format("jerks")),
]


@pytest.mark.parametrize(("given", "message"), FAULTS)
def test_each_rule_has_its_sentence(given: dict[str, Any], message: str) -> None:
    with pytest.raises(vm.InvalidArgumentError) as raised:
        trajectory(**given)
    assert str(raised.value) == message
    assert raised.value.argument_name is None
    assert raised.value.code == 0


@pytest.mark.parametrize("first", range(len(FAULTS) - 1))
def test_of_two_faults_the_earlier_check_speaks(first: int) -> None:
    with pytest.raises(vm.InvalidArgumentError) as raised:
        trajectory(**(FAULTS[first + 1][0] | FAULTS[first][0]))
    assert str(raised.value) == FAULTS[first][1]


@pytest.mark.parametrize(
    ("dt", "message"),
    [
        (None, "Either `time` or `dt` must be provided."),
        (0.0, "JointTrajectory.dt must be finite and positive."),
        (math.nan, "JointTrajectory.dt must be finite and positive."),
        (math.inf, "JointTrajectory.dt must be finite and positive."),
    ],
)
def test_without_times_the_spacing_is_checked(dt: float | None, message: str) -> None:
    with pytest.raises(vm.InvalidArgumentError) as raised:
        trajectory(time=None, dt=dt)
    assert str(raised.value) == message
    assert trajectory(dt=dt).time.tolist() == TIME  # ignored beside times


def test_attributes_are_what_was_given() -> None:
    given = trajectory(velocities=np.ones((3, 2)), accelerations=np.zeros((3, 2)), jerks=np.full((3, 2), 7.0))
    assert given.positions.tolist() == POSITIONS
    assert given.time.tolist() == TIME
    assert given.velocities.tolist() == np.ones((3, 2)).tolist()
    assert given.accelerations.tolist() == np.zeros((3, 2)).tolist()
    assert given.jerks.tolist() == np.full((3, 2), 7.0).tolist()
    assert (given.sample_count, given.joint_count) == (3, 2)
    assert (given.start_time_s, given.end_time_s, given.duration_s) == (0.0, 0.3, 0.3)
    assert trajectory(time=None, dt=0.1).time.tolist() == [0.0, 0.1, 0.2]


def test_derivatives_of_a_parabola_are_exact() -> None:
    times = np.arange(5.0)
    parabola = vm.JointTrajectory((times**2)[:, None], time=times)
    assert parabola.velocities[:, 0].tolist() == [0.0, 2.0, 4.0, 6.0, 8.0]
    assert parabola.accelerations[:, 0].tolist() == [2.0] * 5
    assert parabola.jerks[:, 0].tolist() == [0.0] * 5


@pytest.mark.parametrize("samples", [11, 101])
def test_three_jerks_at_the_ends_are_none_of_a_cubic_however_fine(samples: int) -> None:
    time = np.linspace(0.0, 1.0, samples)
    cubic = vm.JointTrajectory(time[:, None] ** 3, time=time)
    inside = [6.0] * (samples - 6)
    expected = [2.25, 3.75, 5.25, *inside, 5.25, 3.75, 2.25]
    np.testing.assert_allclose(cubic.jerks[:, 0], expected, rtol=1e-6)
    assert cubic.accelerations[0, 0] == pytest.approx(4.5 * time[1])


def test_jerks_follow_from_supplied_accelerations() -> None:
    given = trajectory(accelerations=[[0.0, 0.0], [1.0, 2.0], [3.0, 6.0]])
    assert (
        given.jerks.tolist() == vm.JointTrajectory([[0.0, 0.0], [1.0, 2.0], [3.0, 6.0]], time=TIME).velocities.tolist()
    )


def test_inputs_are_copied() -> None:
    positions = np.array(POSITIONS)
    given = vm.JointTrajectory(positions, time=TIME)
    positions[0, 0] = 99.0
    assert given.positions[0, 0] == 0.0


def copies(original: vm.JointTrajectory) -> list[vm.JointTrajectory]:
    return [
        original.copy(),
        copy.copy(original),
        copy.deepcopy(original),
        *(pickle.loads(pickle.dumps(original, protocol)) for protocol in range(2, pickle.HIGHEST_PROTOCOL + 1)),
    ]


@pytest.mark.parametrize("derivatives", [{}, {"velocities": np.ones((3, 2))}, {"jerks": np.ones((3, 2))}])
def test_copies_are_equal_and_independent(derivatives: dict[str, Any]) -> None:
    original = trajectory(**derivatives)
    for one in copies(original):
        assert one == original
        assert one is not original
        assert not np.shares_memory(one.positions, original.positions)
        for name in ("positions", "time", "velocities", "accelerations", "jerks"):
            assert getattr(one, name).tobytes() == getattr(original, name).tobytes()


def test_pickles_cross_processes() -> None:
    program = (
        "import pickle, sys; t = pickle.load(sys.stdin.buffer); sys.stdout.buffer.write(pickle.dumps((t, t.jerks)))"
    )
    original = trajectory()
    answer = subprocess.run(
        [sys.executable, "-c", program], input=pickle.dumps(original), capture_output=True, check=True
    )
    returned, jerks = pickle.loads(answer.stdout)
    assert returned == original
    assert jerks.tobytes() == original.jerks.tobytes()


def test_an_overflowed_derivative_is_pickled_but_not_copied() -> None:
    wild = vm.JointTrajectory([[-1e308], [1e308], [-1e308]], dt=0.1)
    assert not np.isfinite(wild.velocities).all()
    returned = pickle.loads(pickle.dumps(wild))
    assert returned == wild
    with pytest.raises(vm.InvalidArgumentError, match=r"^JointTrajectory.velocities must contain only finite values.$"):
        wild.copy()


def test_asking_for_a_derivative_does_not_change_equality() -> None:
    one, other = trajectory(), trajectory()
    assert one == other
    assert one.jerks is not None
    assert one == other
    assert other == one


@pytest.mark.parametrize(
    "different",
    [
        {"positions": [[0.0, 1.0], [0.5, 0.5], [2.0, -1.5]]},
        {"positions": [[-0.0, 1.0], [0.5, 0.5], [2.0, -1.0]]},
        {"positions": [[0.0], [0.5], [2.0]]},
        {"time": [0.0, 0.1, 0.4]},
        {"positions": POSITIONS[:2], "time": TIME[:2]},
        {"velocities": np.zeros((3, 2))},
        {"jerks": np.zeros((3, 2))},
    ],
)
def test_other_bits_are_unequal(different: dict[str, Any]) -> None:
    assert trajectory(**different) != trajectory()
    assert not trajectory(**different) == trajectory()  # noqa: SIM201 - the operator itself is tested


def test_it_equals_nothing_else_and_is_not_hashable() -> None:
    assert trajectory() != POSITIONS
    assert trajectory() != None  # noqa: E711  # what is tested is `!=`
    with pytest.raises(TypeError, match="unhashable"):
        hash(trajectory())


def test_repr_shows_shape_span_and_step() -> None:
    assert repr(trajectory()) == "JointTrajectory(shape=(3, 2), time=[0, 0.3] s, mean step=0.15 s)"
    since_1970 = vm.JointTrajectory(np.zeros((5, 1)), time=1732248000.25 + np.arange(5.0))
    assert repr(since_1970) == "JointTrajectory(shape=(5, 1), time=[1732248000.25, 1732248004.25] s, mean step=1 s)"
    assert (
        repr(vm.JointTrajectory([[1.0]], time=[5.0])) == "JointTrajectory(shape=(1, 1), time=[5, 5] s, mean step=none)"
    )


def test_it_cannot_be_changed() -> None:
    given = trajectory()
    with pytest.raises(AttributeError):
        given.positions = np.zeros((3, 2))  # type: ignore[misc]  # read-only
    with pytest.raises(AttributeError):
        given.note = "mine"  # type: ignore[attr-defined]  # no such attribute
    with pytest.warns(RuntimeWarning, match="already-initialized"), pytest.raises(TypeError):
        given.__init__(POSITIONS, dt=0.5)  # type: ignore[misc]  # refused
    assert given.time.tolist() == TIME


def test_an_object_without_a_constructor_call_is_refused() -> None:
    empty = vm.JointTrajectory.__new__(vm.JointTrajectory)
    for use in (lambda: empty.positions, lambda: vm.resample_trajectory(empty, 0.1), lambda: empty == empty):
        with pytest.warns(RuntimeWarning, match="uninitialized"), contextlib.suppress(TypeError):
            use()
