# SPDX-License-Identifier: Apache-2.0
"""Recordings beside limits: worst values, ratios, spans, ways of differentiating, and the guard on units."""

from __future__ import annotations

import itertools
import math
from typing import Any

import numpy as np
import pytest
import velmora as vm
from support import recording
from velmora.tools.operations.check import Finding, Verdict, check
from velmora.tools.operations.limits import Bound, LimitsFile, for_joints
from velmora.tools.recording import Recording


def verdict(
    positions: list[list[float]], limits: dict[str, dict[str, tuple[float, float]]], step_s: float = 1.0, **options: Any
) -> Verdict:
    whole = recording([step_s * index for index in range(len(positions))], positions)
    return check(whole, for_joints(limits_file(limits), "log.csv", whole.joints), **options)


def limits_file(limits: dict[str, dict[str, tuple[float, float]]]) -> LimitsFile:
    return LimitsFile(
        "l.csv",
        {
            joint: {quantity: Bound(*ends, "l.csv:2") for quantity, ends in quantities.items()}
            for joint, quantities in limits.items()
        },
    )


def finding(found: Verdict, quantity: str, joint: str = "joint_1") -> Finding:
    return next(entry for entry in found.findings if (entry.joint, entry.quantity) == (joint, quantity))


def test_spans_worst_value_ratio_and_time() -> None:
    values = [[0.0], [2.5], [3.0], [0.0], [-4.0], [0.0]]
    found = verdict(values, {"joint_1": {"position": (-2.0, 2.0)}})
    position = finding(found, "position")
    assert not found.passed
    assert (position.worst, position.worst_at_s, position.ratio) == (-4.0, 4.0, 2.0)
    assert [(span.start_s, span.end_s, span.samples, span.worst, span.worst_at_s) for span in position.violations] == [
        (1.0, 2.0, 2, 3.0, 2.0),
        (4.0, 4.0, 1, -4.0, 4.0),
    ]


def test_limits_that_are_not_symmetric() -> None:
    position = finding(verdict([[0.0], [3.5]], {"joint_1": {"position": (1.0, 4.0)}}), "position")
    assert (position.worst, position.ratio) == (0.0, 2.5 / 1.5)
    assert len(position.violations) == 1


def test_a_limit_is_inside_and_a_rounding_above_passes() -> None:
    limits = {"joint_1": {"position": (-1.0, 1.0)}}
    assert verdict([[1.0], [-1.0]], limits).passed
    assert verdict([[1.0 + 5e-7], [0.0]], limits).passed
    assert not verdict([[1.0 + 2e-6], [0.0]], limits).passed
    assert not verdict([[1.0 + 5e-7], [0.0]], limits, tolerance=0.0).passed


def test_a_limit_of_zero_pins_a_joint() -> None:
    limits = {"joint_1": {"velocity": (0.0, 0.0)}}
    assert finding(verdict([[1.0], [1.0], [1.0]], limits), "velocity").ratio == 0.0
    moving = verdict([[1.0], [1.0], [1.1]], limits)
    assert not moving.passed
    assert finding(moving, "velocity").ratio == math.inf


def test_a_joint_without_a_bound_is_reported_and_not_judged() -> None:
    found = verdict([[0.0, 0.0], [1.0, 9.0]], {"joint_1": {"velocity": (-2.0, 2.0)}})
    other = finding(found, "velocity", "joint_2")
    assert (other.bound, other.worst, other.ratio, other.violations) == (None, 9.0, None, ())
    assert found.passed
    assert {entry.quantity for entry in found.findings} == {"velocity"}


def plain_forward(values: np.ndarray[Any, Any], step_s: float) -> np.ndarray[Any, Any]:
    steps = [(b - a) / step_s for a, b in itertools.pairwise(values)]
    return np.array([*steps, steps[-1]])


@pytest.mark.parametrize("derivatives", ["three-point", "forward", "spline"])
def test_ways_of_differentiating(derivatives: Any) -> None:
    values = np.sin(np.arange(30) * 0.2)
    limits = {"joint_1": {"velocity": (-9.0, 9.0), "acceleration": (-9.0, 9.0), "jerk": (-9.0, 9.0)}}
    found = verdict([[value] for value in values], limits, 0.25, derivatives=derivatives)
    if derivatives == "forward":
        velocity = plain_forward(values, 0.25)
        acceleration = plain_forward(velocity, 0.25)
        jerk = plain_forward(acceleration, 0.25)
    else:
        trajectory = vm.JointTrajectory(values[:, np.newaxis], time=np.arange(30) * 0.25)
        if derivatives == "spline":
            trajectory = vm.resample_trajectory(trajectory, 0.25, "cubic", "exact_dt_append_endpoint", True)
        velocity, acceleration, jerk = (
            trajectory.velocities[:, 0],
            trajectory.accelerations[:, 0],
            trajectory.jerks[:, 0],
        )
        if derivatives == "spline":
            pieces = np.diff(acceleration) / 0.25
            jerk = np.array([pieces[0], *(max(pair, key=abs) for pair in itertools.pairwise(pieces)), pieces[-1]])
    for quantity, expected in (("velocity", velocity), ("acceleration", acceleration), ("jerk", jerk)):
        worst = int(np.argmax(np.abs(expected)))
        assert finding(found, quantity).worst == expected[worst]
        assert finding(found, quantity).worst_at_s == worst * 0.25


def test_jerks_of_a_spline_are_its_third_derivative() -> None:
    """A cubic on uneven times has one third derivative everywhere; a corner has that of the not-a-knot spline."""
    times_s = [0.0, 0.1, 0.35, 0.5, 0.9, 1.0]
    cubic = recording(times_s, [[2.0 * time_s**3] for time_s in times_s])
    limits = for_joints(limits_file({"joint_1": {"jerk": (-1.0, 1.0)}}), "log.csv", cubic.joints)
    assert finding(check(cubic, limits, "spline"), "jerk").worst == pytest.approx(12.0, rel=1e-9)
    corner = recording([0.002 * i for i in range(1001)], [[max(0.0, 0.002 * i - 1.0)] for i in range(1001)])
    # What scipy's CubicSpline has at the corner.
    assert abs(finding(check(corner, limits, "spline"), "jerk").worst) == pytest.approx(549038.1, rel=1e-6)


def test_a_derivative_that_is_not_finite_is_outside() -> None:
    limits = {"joint_1": {quantity: (-1.0, 1.0) for quantity in ("velocity", "acceleration", "jerk")}}
    found = verdict([[0.0], [0.0], [0.0], [1.7e308], [0.0]], limits, 0.5, derivatives="forward")
    assert not found.passed
    assert found.doubts == ()
    for quantity, first, worst in (("velocity", 2, math.inf), ("acceleration", 1, math.inf), ("jerk", 0, math.inf)):
        entry = finding(found, quantity)
        assert (entry.worst, entry.worst_at_s, entry.ratio) == (worst, 0.5 * first, math.inf)
        assert [(span.start_s, span.samples) for span in entry.violations] == [(0.5 * first, 5 - first)]


def test_given_velocities_are_judged() -> None:
    given = recording([0.0, 1.0], [[0.0], [0.0]])
    whole = Recording(**{**given.__dict__, "velocities": np.array([[5.0], [0.0]])})
    limits = for_joints(limits_file({"joint_1": {"velocity": (-1.0, 1.0)}}), "log.csv", whole.joints)
    assert finding(check(whole, limits), "velocity").worst == 5.0


def test_findings_stand_in_the_order_of_the_joints() -> None:
    limits = {"joint_2": {"position": (-1.0, 1.0), "velocity": (-1.0, 1.0)}, "joint_1": {"velocity": (-1.0, 1.0)}}
    found = verdict([[0.0, 0.0], [0.5, 0.5]], limits)
    assert [(entry.joint, entry.quantity) for entry in found.findings] == [
        ("joint_1", "position"),
        ("joint_1", "velocity"),
        ("joint_2", "position"),
        ("joint_2", "velocity"),
    ]


def test_guard_against_a_recording_in_degrees() -> None:
    limits = {"joint_1": {"position": (-2.9, 2.9)}}
    found = verdict([[0.0], [120.0]], limits)
    assert found.doubts == (
        "log.csv: 'joint_1' reaches 120, its limits are -2.9 to 2.9 (l.csv:2); radians were expected, these "
        "may be degrees or "
        "percent; --degrees, or --no-unit-guard",
    )
    assert not found.passed
    assert verdict([[0.0], [120.0]], limits, guard_units=False).doubts == ()


def test_guard_against_limits_in_degrees() -> None:
    positions = verdict([[0.0], [1.5]], {"joint_1": {"position": (-170.0, 170.0)}})
    assert "may go from -170 to 170, the recording stays within a turn; radians were expected" in positions.doubts[0]
    rates = verdict([[0.0], [1.5]], {"joint_1": {"velocity": (-180.0, 180.0)}})
    assert "may move at 180, the recording stays below 6.28 rad/s" in rates.doubts[0]
    assert not positions.passed and not rates.passed


def test_guard_against_times_in_another_unit() -> None:
    limits = {"joint_1": {"velocity": (-1.0, 1.0)}, "joint_2": {"velocity": (-1.0, 1.0)}}
    found = verdict([[0.0, 0.0], [0.5, 0.3]], limits, step_s=0.001)
    assert found.doubts[0].startswith("log.csv: every joint that moves is over 20 times its limit of velocity;")


def test_no_doubt_about_ordinary_recordings() -> None:
    limits = {"joint_1": {"position": (-2.9, 2.9), "velocity": (-2.2, 2.2)}}
    assert verdict([[0.0], [1.0], [1.5]], limits).doubts == ()
    assert verdict([[0.0], [1.0], [3.5]], limits).doubts == ()
