# SPDX-License-Identifier: Apache-2.0
"""Limits of joints as they stand in a file, each with the line that it comes from."""

from __future__ import annotations

import sys
from dataclasses import dataclass, field
from pathlib import Path

import numpy as np

import velmora as vm
from velmora.tools.errors import DataError, UsageError
from velmora.tools.text import listed, nearest, quoted

QUANTITIES = ("position", "velocity", "acceleration", "jerk")
# What recordings append to the name of a joint.
SUFFIXES = ("_rad", "_m", "_deg", "_pos", "_position", ".pos", ".position")
MAX_BYTES = 1_000_000
UNBOUNDED = sys.float_info.max


@dataclass(frozen=True)
class Bound:
    """A closed interval for one quantity of one joint, in rad or m and seconds, and where it is written."""

    lower: float
    upper: float
    source: str  # "joint_limits.yaml:12"


@dataclass
class LimitsFile:
    """What a file says about the joints that it names."""

    path: str
    joints: dict[str, dict[str, Bound]] = field(default_factory=dict)
    notes: list[str] = field(default_factory=list)

    def add(self, joint: str, quantity: str, lower: float, upper: float, line: int) -> None:
        """Add a bound after checking that it is the first one and an interval."""
        source = f"{self.path}:{line}"
        earlier = self.joints.get(joint, {}).get(quantity)
        if earlier is not None:
            raise DataError(
                f"{source}: {quoted(joint)} has another {quantity} limit at {earlier.source}; every limit once was "
                "expected"
            )
        if not (np.isfinite(lower) and np.isfinite(upper)):
            raise DataError(
                f"{source}: the {quantity} limit of {quoted(joint)} is not finite; a number was expected; "
                "leave it out where there is no limit"
            )
        if lower > upper:
            hint = "" if quantity == "position" else "; a limit of rates is not negative"
            raise DataError(
                f"{source}: the {quantity} limits of {quoted(joint)} are {lower:g} to {upper:g}; a lower limit "
                f"not above the upper one was expected{hint}"
            )
        self.joints.setdefault(joint, {})[quantity] = Bound(lower + 0.0, upper + 0.0, source)  # 0, not -0


@dataclass(frozen=True)
class JointLimits:
    """The limits of the joints of one recording.

    Attributes
    ----------
    boxes
        The limits as the library holds them. Where a joint has no bound of a quantity that others have, the box holds
        the largest double.
    bounds
        Per joint of the recording and quantity the bound and its source, None where none was given.
    unknown
        Joints of the recording that the file does not name.
    """

    boxes: vm.JointStateLimits
    bounds: tuple[dict[str, Bound | None], ...]
    unknown: tuple[str, ...]


def load(path: str) -> LimitsFile:
    """Read limits from a file: a planner's YAML, a URDF, or CSV, told apart by the suffix and the first character.

    Raises
    ------
    DataError
        With file and line, where the file cannot be read or a limit is not an interval of finite numbers.
    """
    try:
        with open(path, "rb") as file:
            content = file.read(MAX_BYTES + 1)
    except OSError as error:
        raise DataError(f"{path}: {error.strerror}; a file of limits was expected; --limits names it") from error
    if len(content) > MAX_BYTES:
        raise DataError(f"{path}: larger than {MAX_BYTES:,} bytes; a file of limits was expected; --limits names it")
    suffix = Path(path).suffix.lower()
    if suffix in (".urdf", ".xml", ".xacro") or content.lstrip(b"\xef\xbb\xbf \t\r\n").startswith(b"<"):
        from velmora.tools.operations.limits_urdf import read_urdf as read
    elif suffix in (".csv", ".tsv"):
        from velmora.tools.operations.limits_csv import read_csv as read
    elif suffix in (".yaml", ".yml", ".json"):
        from velmora.tools.operations.limits_yaml import read_yaml as read
    else:
        raise UsageError(f"{path}: the suffix '{suffix}' is not known; .yaml, .urdf or .csv was expected")
    limits = read(path, content)
    if not limits.joints:
        raise DataError(f"{path}: there are no limits of joints; at least one was expected")
    return limits


def for_joints(limits: LimitsFile, source: str, joints: tuple[str, ...]) -> JointLimits:
    """The limits of the joints of a recording, found by their names.

    A joint is found by its name, or by its name without a suffix such as ``_rad``.

    Raises
    ------
    DataError
        Where the file names none of the joints.
    """
    names = [_name_in(limits, joint) for joint in joints]
    unknown = tuple(joint for joint, name in zip(joints, names, strict=True) if name is None)
    if joints and len(unknown) == len(joints):
        raise DataError(
            f"{source}: its joints are {listed(joints)}, and {limits.path} names {listed(list(limits.joints))}; "
            f"at least one joint in both was expected{nearest(joints[0], limits.joints)}"
        )
    bounds = tuple(
        {quantity: None if name is None else limits.joints[name].get(quantity) for quantity in QUANTITIES}
        for name in names
    )
    return JointLimits(_boxes(bounds), bounds, unknown)


def _name_in(limits: LimitsFile, joint: str) -> str | None:
    candidates = [joint, *(joint.removesuffix(suffix) for suffix in SUFFIXES if joint.endswith(suffix))]
    return next((name for name in candidates if name in limits.joints), None)


def _boxes(bounds: tuple[dict[str, Bound | None], ...]) -> vm.JointStateLimits:
    def box(quantity: str) -> vm.JointStateBox | None:
        given = [bound[quantity] for bound in bounds]
        if all(bound is None for bound in given):
            return None
        return vm.JointStateBox(
            np.array([-UNBOUNDED if bound is None else bound.lower for bound in given]),
            np.array([UNBOUNDED if bound is None else bound.upper for bound in given]),
        )

    return vm.JointStateLimits(box("position"), box("velocity"), box("acceleration"), box("jerk"))
