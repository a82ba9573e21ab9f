# SPDX-License-Identifier: Apache-2.0
"""A guard against wrong units: a gate that compares degrees with radians lets everything or nothing pass."""

from __future__ import annotations

import math
from collections.abc import Sequence
from typing import TYPE_CHECKING

from velmora.tools.text import quoted

if TYPE_CHECKING:
    from velmora.tools.operations.check import Finding

TWO_TURNS_RAD = 4.0 * math.pi
ONE_TURN_RAD = 2.0 * math.pi
# 50 rad/s are 8 turns per second: far beyond the joints of arms, and a slow joint's limit in degrees.
FAST_RAD_PER_S = 50.0
FAR_BEYOND = 20.0


def doubts(source: str, findings: Sequence[Finding]) -> tuple[str, ...]:
    """Why the recording or the limits may be in degrees or percent; empty where nothing suggests it."""
    return tuple(
        text
        for text in (
            _positions(source, findings),
            _position_limits(findings),
            _rates(source, findings),
            _rate_limits(findings),
        )
        if text is not None
    )


def _positions(source: str, findings: Sequence[Finding]) -> str | None:
    for finding in findings:
        if (
            finding.quantity == "position"
            and finding.bound is not None
            and abs(finding.worst) > TWO_TURNS_RAD
            and _half_width(finding) <= ONE_TURN_RAD
        ):
            return (
                f"{source}: {quoted(finding.joint)} reaches {finding.worst:.6g}, its limits are "
                f"{finding.bound.lower:g} to "
                f"{finding.bound.upper:g} ({finding.bound.source}); radians were expected, these may be degrees or "
                "percent; "
                "--degrees, or --no-unit-guard"
            )
    return None


def _position_limits(findings: Sequence[Finding]) -> str | None:
    positions = [finding for finding in findings if finding.quantity == "position" and finding.bound is not None]
    for finding in positions:
        if (
            finding.bound is not None
            and _half_width(finding) > TWO_TURNS_RAD
            and all(abs(other.worst) <= ONE_TURN_RAD for other in positions)
        ):
            return (
                f"{finding.bound.source}: {quoted(finding.joint)} may go from {finding.bound.lower:g} to "
                f"{finding.bound.upper:g}, the recording stays within a turn; radians were expected, these may be "
                "degrees; "
                "write them in radians, or --no-unit-guard"
            )
    return None


def _rates(source: str, findings: Sequence[Finding]) -> str | None:
    speeds = [finding for finding in findings if finding.quantity == "velocity" and finding.bound is not None]
    moving = [finding for finding in speeds if finding.worst != 0.0 and _half_width(finding) > 0.0]
    if len(moving) > 1 and all(
        finding.ratio is not None and FAR_BEYOND < finding.ratio < math.inf for finding in moving
    ):
        return (
            f"{source}: every joint that moves is over {FAR_BEYOND:g} times its limit of velocity; radians per "
            "second were "
            "expected, the file may be in degrees or its times in another unit; --degrees, --time-unit, or "
            "--no-unit-guard"
        )
    return None


def _rate_limits(findings: Sequence[Finding]) -> str | None:
    speeds = [finding for finding in findings if finding.quantity == "velocity" and finding.bound is not None]
    if speeds and all(
        _half_width(finding) >= FAST_RAD_PER_S and abs(finding.worst) <= ONE_TURN_RAD for finding in speeds
    ):
        finding = speeds[0]
        assert finding.bound is not None
        return (
            f"{finding.bound.source}: {quoted(finding.joint)} may move at {finding.bound.upper:g}, the recording "
            "stays below "
            f"{ONE_TURN_RAD:.3g} rad/s; radians per second were expected, this may be degrees or percent; "
            "write it in radians per second, or --no-unit-guard"
        )
    return None


def _half_width(finding: Finding) -> float:
    assert finding.bound is not None
    return 0.5 * finding.bound.upper - 0.5 * finding.bound.lower
