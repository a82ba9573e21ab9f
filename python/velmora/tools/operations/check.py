# SPDX-License-Identifier: Apache-2.0
"""Holds a recording against limits: worst values, ratios, and the spans in which a limit is violated."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Literal

import numpy as np
from numpy.typing import NDArray

import velmora as vm
from velmora.tools.errors import DataError
from velmora.tools.operations.limits import QUANTITIES, Bound, JointLimits
from velmora.tools.operations.resample import trajectory_of
from velmora.tools.operations.unit_guard import doubts
from velmora.tools.recording import Recording

# A derivative that a planner kept exactly at its limit comes out of differences a rounding above it.
TOLERANCE = 1e-6

Derivatives = Literal["three-point", "forward", "spline"]


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
        The value that is farthest from the middle of the limits.
    ratio
        Distance of `worst` from the middle of the limits in half widths; above 1 the limit is violated. For limits that
        are symmetric about 0 that is the value over the limit. Infinite where the limits are equal and not met.
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
    """What a recording is worth beside limits."""

    findings: tuple[Finding, ...]
    derivatives: str
    doubts: tuple[str, ...]

    @property
    def passed(self) -> bool:
        """Whether no limit is violated and the units are beyond doubt."""
        return not self.doubts and not any(finding.violations for finding in self.findings)


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
        A recording that `checked` has passed. Velocities and further derivatives in it are taken as given.
    limits
        The limits of its joints.
    derivatives
        ``three-point``: differences of second order, as the library's own; ``forward``: differences to the next sample;
        ``spline``: those of a cubic spline through the positions, sampled at the median step.
    tolerance
        By how much of its half width an interval may be passed.
    guard_units
        Whether values that suggest degrees or percent make the check fail.
    """
    levels = _levels(recording, derivatives)
    findings = []
    for quantity in QUANTITIES:
        if any(bounds[quantity] is not None for bounds in limits.bounds):
            values, time_s = levels.of(quantity)
            findings += [
                _finding(joint, quantity, bounds[quantity], values[:, j], time_s, tolerance)
                for j, (joint, bounds) in enumerate(zip(recording.joints, limits.bounds, strict=True))
            ]
    order = {joint: j for j, joint in enumerate(recording.joints)}
    findings.sort(key=lambda finding: order[finding.joint])
    found = tuple(findings)
    return Verdict(found, derivatives, doubts(recording.source, found) if guard_units else ())


class _Levels:
    """Positions to jerks by one way of differentiating, each computed when it is asked for."""

    def __init__(self, trajectory: vm.JointTrajectory, forward: bool) -> None:
        self._trajectory = trajectory
        self._forward = forward
        self._known = {"position": trajectory.positions}

    def of(self, quantity: str) -> tuple[NDArray[np.float64], NDArray[np.float64]]:
        """The values of a quantity, shape (N, J), and their times."""
        time_s = self._trajectory.time
        if not self._forward:
            names = {
                "position": "positions",
                "velocity": "velocities",
                "acceleration": "accelerations",
                "jerk": "jerks",
            }
            return getattr(self._trajectory, names[quantity]), time_s
        if quantity not in self._known:
            below, _ = self.of(QUANTITIES[QUANTITIES.index(quantity) - 1])
            self._known[quantity] = vm.sample_aligned_first_difference(below, time_s)
        return self._known[quantity], time_s


def _levels(recording: Recording, derivatives: Derivatives) -> _Levels:
    trajectory = trajectory_of(recording)
    if derivatives == "spline":
        if trajectory.sample_count < 2:
            raise DataError(
                f"{recording.source}: there is one sample; two were expected for a spline; --derivatives three-point"
            )
        step_s = float(np.median(np.diff(trajectory.time)))
        try:
            trajectory = vm.resample_trajectory(trajectory, step_s, "cubic", "exact_dt_append_endpoint", True)
        except vm.InvalidArgumentError as error:
            raise DataError(
                f"{recording.source}: {error} A spline was expected; --derivatives three-point needs none"
            ) from error
    return _Levels(trajectory, derivatives == "forward")


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
    highest, lowest = int(values.argmax()), int(values.argmin())
    worst = highest if values[highest] - middle >= middle - values[lowest] else lowest
    value, when_s = float(values[worst]), float(time_s[worst])
    if bound is None:
        return Finding(joint, quantity, None, value, when_s, None, ())
    distance = abs(value - middle)
    ratio = distance / half if half > 0.0 else (0.0 if distance == 0.0 else float("inf"))
    slack = tolerance * half
    outside = (values > upper + slack) | (values < lower - slack) if distance > half else np.zeros(0, dtype=np.bool_)
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
