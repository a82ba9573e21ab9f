# SPDX-License-Identifier: Apache-2.0
"""Holds a recording against limits: worst values, ratios, and the spans in which a limit is violated."""

from __future__ import annotations

import math
from collections.abc import Callable
from dataclasses import dataclass
from typing import Literal

import numpy as np
from numpy.typing import NDArray

import velmora as vm
from velmora import shaping
from velmora.tools.errors import DataError
from velmora.tools.operations.finite import all_finite
from velmora.tools.operations.limits import QUANTITIES, Bound, JointLimits
from velmora.tools.operations.resample import trajectory_of
from velmora.tools.operations.unit_guard import doubts
from velmora.tools.recording import Recording

# A derivative that a planner kept exactly at its limit comes out of differences a rounding above it.
TOLERANCE = 1e-6

Derivatives = Literal["three-point", "forward", "spline"]
PLURALS = {"position": "positions", "velocity": "velocities", "acceleration": "accelerations", "jerk": "jerks"}
Values = tuple[NDArray[np.float64], NDArray[np.float64]]  # of a quantity, shape (N, J), and their times


@dataclass(frozen=True)
class Span:
    """A run of samples that violate a limit; times in seconds after the first sample."""

    start_s: float
    end_s: float
    samples: int
    worst: float
    worst_at_s: float


@dataclass(frozen=True)
class Finding:
    """One quantity of one joint beside its limit.

    Attributes
    ----------
    bound
        None where the file gives no limit: the value is reported, not judged.
    worst
        The value that is farthest from the middle of the limits; the first that is not finite, where there is one.
    ratio
        Distance of `worst` from the middle of the limits in half widths; above 1 the limit is violated. For limits that
        are symmetric about 0 that is the value over the limit. Infinite where the limits are equal and not met, and
        where `worst` is not finite: a derivative that overflows is outside of every limit.
    """

    joint: str
    quantity: str
    bound: Bound | None
    worst: float
    worst_at_s: float
    ratio: float | None
    violations: tuple[Span, ...]


@dataclass(frozen=True)
class Verdict:
    """What a recording is worth beside limits.

    Attributes
    ----------
    given
        The derivatives of the recording that were judged as they stand in the file.
    """

    findings: tuple[Finding, ...]
    derivatives: str
    given: tuple[str, ...]
    doubts: tuple[str, ...]

    @property
    def passed(self) -> bool:
        """Whether a limit was checked, none is violated, and the units are beyond doubt."""
        checked = any(finding.bound is not None for finding in self.findings)
        return checked and not self.doubts and not any(finding.violations for finding in self.findings)


def check(
    recording: Recording,
    limits: JointLimits,
    derivatives: Derivatives = "three-point",
    *,
    tolerance: float = TOLERANCE,
    guard_units: bool = True,
) -> Verdict:
    """Hold a checked recording against limits.

    Parameters
    ----------
    recording
        A recording that `checked` has passed. Velocities and further derivatives in it are taken as given, except with
        ``forward`` and ``spline``, which are made of the positions alone.
    limits
        The limits of its joints.
    derivatives
        ``three-point``: three-point differences, level by level, the library's own; ``forward``: differences to the
        next sample; ``spline``: those of a cubic spline through the positions. Positions and velocities are sampled at
        the median step; accelerations and jerks are taken at the recorded samples, where they are largest.
    tolerance
        By how much of its half width an interval may be passed.
    guard_units
        Whether values that suggest degrees or percent make the check fail.
    """
    values_of = _values_of(recording, derivatives)
    findings = []
    for quantity in QUANTITIES:
        if any(bounds[quantity] is not None for bounds in limits.bounds):
            values, time_s = values_of(quantity)
            findings += [
                _finding(joint, quantity, bounds[quantity], values[:, j], time_s, tolerance)
                for j, (joint, bounds) in enumerate(zip(recording.joints, limits.bounds, strict=True))
            ]
    order = {joint: j for j, joint in enumerate(recording.joints)}
    findings.sort(key=lambda finding: order[finding.joint])
    found = tuple(findings)
    given = tuple(
        name
        for name in ("velocities", "accelerations", "jerks")
        if derivatives == "three-point" and getattr(recording, name) is not None
    )
    return Verdict(found, derivatives, given, doubts(recording.source, found) if guard_units else ())


def _values_of(recording: Recording, derivatives: Derivatives) -> Callable[[str], Values]:
    """Positions to jerks by one way of differentiating, each computed when it is asked for."""
    trajectory = trajectory_of(recording)
    if derivatives == "spline":
        return _of_spline(recording.source, trajectory)
    if derivatives == "forward":
        return _of_differences(trajectory)
    return lambda quantity: (getattr(trajectory, PLURALS[quantity]), trajectory.time)


def _of_differences(trajectory: vm.JointTrajectory) -> Callable[[str], Values]:
    known = {"position": trajectory.positions}

    def values_of(quantity: str) -> Values:
        if quantity not in known:
            below, time_s = values_of(QUANTITIES[QUANTITIES.index(quantity) - 1])
            known[quantity] = vm.sample_aligned_first_difference(below, time_s)
        return known[quantity], trajectory.time

    return values_of


def _of_spline(source: str, trajectory: vm.JointTrajectory) -> Callable[[str], Values]:
    if trajectory.sample_count < 2:
        raise DataError(f"{source}: there is one sample; two were expected for a spline; --derivatives three-point")
    time_s = trajectory.time
    step_s = float(np.median(np.diff(time_s)))
    # One impulse at 0 leaves a command as it is: what comes out is the spline at its own knots.
    same = shaping.ImpulseSequence([0.0], [1.0])
    try:
        dense = vm.resample_trajectory(trajectory, step_s, "cubic", "exact_dt_append_endpoint", True)
        accelerations = shaping.shape_trajectory(trajectory, same, times_s=time_s).move.accelerations
    except vm.InvalidArgumentError as error:
        raise DataError(f"{source}: {error} A spline was expected; --derivatives three-point needs none") from error

    def values_of(quantity: str) -> Values:
        if quantity in ("position", "velocity"):
            return getattr(dense, PLURALS[quantity]), dense.time
        return (accelerations if quantity == "acceleration" else _jerks(accelerations, time_s)), time_s

    return values_of


def _jerks(accelerations: NDArray[np.float64], time_s: NDArray[np.float64]) -> NDArray[np.float64]:
    """The third derivative of a cubic spline at its knots: the larger of both sides, as it is constant in between."""
    with np.errstate(over="ignore", invalid="ignore"):
        between = np.diff(accelerations, axis=0) / np.diff(time_s)[:, np.newaxis]
    before, after = np.vstack((between[:1], between)), np.vstack((between, between[-1:]))
    return np.where(np.abs(before) > np.abs(after), before, after)


def _finding(
    joint: str,
    quantity: str,
    bound: Bound | None,
    values: NDArray[np.float64],
    time_s: NDArray[np.float64],
    tolerance: float,
) -> Finding:
    lower, upper = (0.0, 0.0) if bound is None else (bound.lower, bound.upper)
    middle, half = 0.5 * lower + 0.5 * upper, 0.5 * upper - 0.5 * lower
    finite = all_finite(values)
    with np.errstate(over="ignore"):
        if finite:
            highest, lowest = int(values.argmax()), int(values.argmin())
            worst = highest if values[highest] - middle >= middle - values[lowest] else lowest
        else:
            worst = int(np.argmin(np.isfinite(values)))
        value, when_s = float(values[worst]), float(time_s[worst])
        if bound is None:
            return Finding(joint, quantity, None, value, when_s, None, ())
        distance = abs(value - middle) if finite else math.inf
        ratio = distance / half if half > 0.0 else (0.0 if distance == 0.0 else math.inf)
        if distance <= half:
            return Finding(joint, quantity, bound, value, when_s, ratio, ())
        slack = tolerance * half
        outside = ~((values <= upper + slack) & (values >= lower - slack))  # NaN is outside as well
        return Finding(joint, quantity, bound, value, when_s, ratio, _spans(outside, values, time_s, middle))


def _spans(
    outside: NDArray[np.bool_], values: NDArray[np.float64], time_s: NDArray[np.float64], middle: float
) -> tuple[Span, ...]:
    if not outside.any():
        return ()
    edges = np.flatnonzero(np.diff(np.concatenate(([False], outside, [False])).astype(np.int8)))
    spans = []
    for start, stop in zip(edges[::2].tolist(), edges[1::2].tolist(), strict=True):
        worst = start + int(np.argmax(np.abs(values[start:stop] - middle)))
        spans.append(
            Span(
                float(time_s[start]), float(time_s[stop - 1]), stop - start, float(values[worst]), float(time_s[worst])
            )
        )
    return tuple(spans)
