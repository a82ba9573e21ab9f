# SPDX-License-Identifier: Apache-2.0
"""Limits from the `joint_limits.yaml` of a motion planner."""

from __future__ import annotations

import difflib
import math

import yaml
from yaml.nodes import MappingNode, Node, ScalarNode

from velmora.tools.errors import DataError
from velmora.tools.operations.limits import LimitsFile
from velmora.tools.text import quoted

MAX_DEPTH = 20
TRUE = ("true", "yes", "on")
FALSE = ("false", "no", "off")
RATES = ("velocity", "acceleration", "jerk")
KEYS = tuple(key for name in ("position", *RATES) for key in (f"has_{name}_limits", f"min_{name}", f"max_{name}"))
# What planners write beside, of no use here; only what looks like one of the keys above has to be named.
BESIDE = ("has_deceleration_limits", "min_deceleration", "max_deceleration")
ALIKE = 0.85


def read_yaml(path: str, content: bytes) -> LimitsFile:
    """Read the joints below the key `joint_limits`, at whatever depth it stands.

    `has_QUANTITY_limits: false` switches a limit off, whatever number stands beside it; a limit of 0 is a limit. Only
    the nodes of the document are looked at: no object is made of a tag, no alias is expanded. The tags `!degrees` and
    `!radians` are understood.
    """
    try:
        # Not the loader in C: it ends the process where brackets are nested a hundred thousand deep.
        root = yaml.compose(content, Loader=yaml.SafeLoader)
    except yaml.MarkedYAMLError as error:
        line = error.problem_mark.line + 1 if error.problem_mark is not None else 1
        raise DataError(f"{path}:{line}: {error.problem}; YAML was expected") from error
    except RecursionError as error:
        raise DataError(f"{path}: the nesting is too deep; the limits of a motion planner were expected") from error
    except (yaml.YAMLError, UnicodeDecodeError) as error:
        raise DataError(f"{path}: this is no text of YAML; the limits of a motion planner were expected") from error
    limits = LimitsFile(path)
    joints = _find(root, "joint_limits", MAX_DEPTH)
    if joints is None:
        raise DataError(f"{path}: there is no key 'joint_limits'; the limits of a motion planner were expected")
    if not isinstance(joints, MappingNode):
        raise DataError(
            f"{path}:{_line(joints)}: 'joint_limits' holds no names; a mapping from joints to limits was expected"
        )
    _once(path, [key for key, _ in joints.value])
    for key, value in joints.value:
        if not isinstance(value, MappingNode):
            raise DataError(
                f"{path}:{_line(value)}: {quoted(_text(key))} holds no limits; keys such as 'max_velocity' were "
                "expected"
            )
        _read_joint(limits, _text(key), value)
    if root is not None:
        for name in ("default_velocity_scaling_factor", "default_acceleration_scaling_factor"):
            node = _find(root, name, MAX_DEPTH)
            if isinstance(node, ScalarNode):
                limits.notes.append(
                    f"{path}:{_line(node)}: {name} is {node.value}; it is not applied, the limits themselves are"
                )
    return limits


def _read_joint(limits: LimitsFile, joint: str, node: MappingNode) -> None:
    limits.joints.setdefault(joint, {})
    _once(limits.path, [key for key, _ in node.value])
    for key, _ in node.value:
        alike = difflib.get_close_matches(_text(key), KEYS, n=1, cutoff=ALIKE)
        if alike and _text(key) not in (*KEYS, *BESIDE):
            raise DataError(
                f"{limits.path}:{_line(key)}: {quoted(_text(key))} is not known; a key of limits was expected; did you "
                f"mean '{alike[0]}'?"
            )
    entries = {_text(key): value for key, value in node.value}
    for quantity in ("position", *RATES):
        flag = entries.get(f"has_{quantity}_limits")
        given = None if flag is None else _flag(limits.path, flag)
        if given is False:
            continue
        lowest, highest = entries.get(f"min_{quantity}"), entries.get(f"max_{quantity}")
        first = next((node for node in (flag, lowest, highest) if node is not None), None)
        if first is None:
            continue
        if highest is None or (quantity == "position" and lowest is None):
            missing, other = ("max", "min") if highest is None else ("min", "max")
            said = f"has_{quantity}_limits" if flag is not None else f"has {other}_{quantity}"
            raise DataError(
                f"{limits.path}:{_line(first)}: {quoted(joint)} {said}, but no "
                f"{missing}_{quantity}; a number was expected"
            )
        upper = _number(limits.path, highest)
        lower = -upper if lowest is None else _number(limits.path, lowest)
        limits.add(joint, quantity, lower, upper, _line(highest))


def _once(path: str, keys: list[Node]) -> None:
    """Refuse a key that stands twice, which of the two counts is anybody's guess, and one that fetches others.

    Merge keys could be resolved, but a few lines of them make more keys than fit into any memory.
    """
    seen: set[str] = set()
    for key in keys:
        if key.tag == "tag:yaml.org,2002:merge":
            raise DataError(f"{path}:{_line(key)}: there is a merge key '<<'; keys that are written out were expected")
        if isinstance(key, ScalarNode):
            if key.value in seen:
                raise DataError(f"{path}:{_line(key)}: {quoted(key.value)} appears twice; every key once was expected")
            seen.add(key.value)


def _find(node: Node | None, name: str, depth: int) -> Node | None:
    """The value of the first key of that name, searched level by level."""
    level = [node]
    for _ in range(depth):
        below: list[Node | None] = []
        for entry in level:
            if isinstance(entry, MappingNode):
                for key, value in entry.value:
                    if isinstance(key, ScalarNode) and key.value == name:
                        found: Node = value
                        return found
                    below.append(value)
        level = list({id(entry): entry for entry in below}.values())  # an alias is the same node again
    return None


def _flag(path: str, node: Node) -> bool:
    text = str(node.value).lower() if isinstance(node, ScalarNode) else ""
    if text in TRUE or text in FALSE:
        return text in TRUE
    raise DataError(
        f"{path}:{_line(node)}: {quoted(str(node.value)[:80])} is neither true nor false; one of them was expected"
    )


def _number(path: str, node: Node) -> float:
    if isinstance(node, ScalarNode) and node.tag in (
        "!degrees",
        "!radians",
        "tag:yaml.org,2002:float",
        "tag:yaml.org,2002:int",
        "tag:yaml.org,2002:str",
    ):
        try:
            value = float(node.value)
        except ValueError:
            pass
        else:
            return math.radians(value) if node.tag == "!degrees" else value
    shown = quoted(str(node.value)[:80]) if isinstance(node, ScalarNode) else "a structure"
    raise DataError(f"{path}:{_line(node)}: {shown} is not a number; a number was expected")


def _text(node: Node) -> str:
    return str(node.value) if isinstance(node, ScalarNode) else "?"


def _line(node: Node) -> int:
    line: int = node.start_mark.line
    return line + 1
