# SPDX-License-Identifier: Apache-2.0
"""The rule by which names of columns say what they hold: times, or positions to efforts of a joint.

A name is read from its end: a unit (``_deg``, ``[rad/s]``), a quantity (``_velocity``, ``.position``), and what is left
is the joint. A name without a quantity is a position.
"""

from __future__ import annotations

import re
from collections.abc import Sequence
from itertools import groupby
from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray

from velmora.tools.formats.stamps import tell_their_unit
from velmora.tools.recording import QUANTITIES, Column, Recording, Stamps
from velmora.tools.text import printable

TIME_NAMES = (
    "time",
    "times",
    "t",
    "timestamp",
    "timestamps",
    "stamp",
    "stamps",
    "elapsed",
    "elapsedtime",
    "timefromstart",
    "timesincestart",
    "rostime",
    "clock",
)
TIME_UNITS = {
    "s": "s",
    "sec": "s",
    "secs": "s",
    "second": "s",
    "seconds": "s",
    "ms": "ms",
    "msec": "ms",
    "millis": "ms",
    "milliseconds": "ms",
    "us": "us",
    "usec": "us",
    "micros": "us",
    "microseconds": "us",
    "\u00b5s": "us",
    "\u03bcs": "us",
    "ns": "ns",
    "nsec": "ns",
    "nanos": "ns",
    "nanoseconds": "ns",
}
SECOND_NAMES = ("sec", "secs", "seconds")
NANOSECOND_NAMES = ("nsec", "nsecs", "nanosec", "nanosecs", "nanoseconds")
# Columns that count or label rows; they hold no joint unless --joints asks for them.
BOOKKEEPING = (
    "",
    "index",
    "unnamed: 0",
    "frame_index",
    "episode_index",
    "task_index",
    "episode",
    "episode_id",
    "seq",
    "sequence",
    "frame",
    "frame_id",
    "row",
    "step",
    "sample",
    "done",
    "reward",
)
# Those of them whose values part a table of several recordings.
EPISODES = ("episode_index", "episode", "episode_id")
# The word that the tool writes after a joint's name, for each quantity.
WRITTEN_WORDS: dict[str, str] = dict(
    zip(QUANTITIES, ("position", "velocity", "acceleration", "jerk", "effort"), strict=True)
)
_WORDS = {
    "position": "positions",
    "positions": "positions",
    "pos": "positions",
    "velocity": "velocities",
    "velocities": "velocities",
    "vel": "velocities",
    "acceleration": "accelerations",
    "accelerations": "accelerations",
    "accel": "accelerations",
    "acc": "accelerations",
    "jerk": "jerks",
    "jerks": "jerks",
    "effort": "efforts",
    "efforts": "efforts",
    "torque": "efforts",
    "torques": "efforts",
}
_ANY_WORD = "|".join(sorted(_WORDS, key=len, reverse=True))
_ANGLE = r"(?:rad|radians|deg|degrees|\u00b0)"
_PER_SECOND = r"(?:(?:/|_per_|_)s(?:ec)?(?:\^|\*\*)?([23\u00b2\u00b3])?)"
_IN_BRACKETS = re.compile(r"^(.*?)[\s_]*[\[(]\s*([^\[\]()]*?)\s*[\])]$", re.DOTALL)
_ANGLE_AT_END = re.compile(rf"^(.+)[_ .]({_ANGLE}{_PER_SECOND}?)$", re.IGNORECASE | re.DOTALL)
_UNIT = re.compile(rf"^({_ANGLE}|m|mm)(/s|_per_s|_s|/sec)?(?:\^|\*\*)?([23\u00b2\u00b3])?$", re.IGNORECASE)
_TOPIC_PATH = re.compile(rf"^/.+/([^/]+)/({_ANY_WORD})$", re.IGNORECASE | re.DOTALL)
_WORD_AT_END = re.compile(rf"^(.+)[_./ -]({_ANY_WORD})$", re.IGNORECASE | re.DOTALL)
_WORD_AT_START = re.compile(rf"^(?:.*[./])?({_ANY_WORD})(?:[_. -]?\[?(\d+)\]?|[_. -](.+))$", re.IGNORECASE | re.DOTALL)
_BY_ORDER = ("positions", "velocities", "accelerations", "jerks")


class Meaning(NamedTuple):
    """What a name says: "time", a quantity of a joint, or "other" for columns that count or label rows."""

    quantity: str
    joint: str = ""
    unit: str | None = None  # of a time: s, ms, us, ns; of a joint: deg, rad, m or mm where the name says so


def clean(name: str) -> str:
    """A name from a file without control characters and outer blanks."""
    return printable(name.replace("\0", "")).strip()


def meaning(name: str) -> Meaning:
    """Read a column's name; see the module's first lines."""
    if name.lower() in BOOKKEEPING or name.lower().endswith((".seq", "/seq", ".frame_id", "/frame_id")):
        return Meaning("other")
    time = _time(name)
    if time is not None:
        return time
    quantity, unit = None, None
    rest = name
    bracketed = _IN_BRACKETS.match(name)
    if bracketed and bracketed[1] and not bracketed[2].isdigit():
        rest = bracketed[1]
        quantity, unit = _of_unit(bracketed[2])
    elif angled := _ANGLE_AT_END.match(name):
        rest = angled[1]
        quantity, unit = _of_unit(angled[2])
    if found := _TOPIC_PATH.match(rest) or _WORD_AT_END.match(rest):
        return Meaning(_WORDS[found[2].lower()], found[1], unit)
    if found := _WORD_AT_START.match(rest):
        joint = f"joint_{found[2]}" if found[2] is not None else found[3]
        return Meaning(_WORDS[found[1].lower()], joint, unit)
    return Meaning(quantity or "positions", rest, unit)


def _time(name: str) -> Meaning | None:
    for candidate in (name, re.split(r"[./]", name)[-1]):
        bare, unit = _without_time_unit(candidate)
        if re.sub(r"[^a-z]", "", bare.lower()) in TIME_NAMES and not re.search(r"\d", bare):
            return Meaning("time", unit=unit)
    return None


def _without_time_unit(name: str) -> tuple[str, str | None]:
    if (found := _IN_BRACKETS.match(name)) and found[2].lower() in TIME_UNITS:
        return found[1], TIME_UNITS[found[2].lower()]
    bare, _, unit = name.replace(" ", "_").replace(".", "_").rpartition("_")
    if bare and unit.lower() in TIME_UNITS:
        return name[: len(bare)], TIME_UNITS[unit.lower()]
    return name, None


def _of_unit(text: str) -> tuple[str | None, str | None]:
    """The quantity and the unit of the position that a unit says: "deg/s^2" is an acceleration in degrees."""
    found = _UNIT.match(text)
    if found is None:
        return None, None
    order = 0 if not found[2] else {None: 1, "2": 2, "\u00b2": 2, "3": 3, "\u00b3": 3}[found[3]]
    base = found[1].lower()
    unit = "deg" if base.startswith("deg") or base == "\u00b0" else "rad" if base.startswith("rad") else base
    return _BY_ORDER[order] if order else None, unit


def says_length(name: str) -> bool:
    """Whether the name of a column says that its joint moves along a line: positions in m or mm."""
    return meaning(name).unit in ("m", "mm")


def written_name(joint: str, quantity: str) -> str:
    """The name that a column gets, such that `meaning` gives back the joint and the quantity."""
    name = joint if quantity == "positions" else f"{joint}_{WRITTEN_WORDS[quantity]}"
    return name if meaning(name) == Meaning(quantity, joint) else f"{joint}_{WRITTEN_WORDS[quantity]}"


def in_order(columns: Sequence[Column], joints: Sequence[str]) -> list[Column]:
    """The columns with the joints of each quantity in this order, in the places where that quantity stands.

    Elements of a list have no names but their places in it: those that have another place then are columns by
    themselves.
    """
    rank = {joint: place for place, joint in enumerate(joints)}
    by_rank = sorted(columns, key=lambda column: rank.get(column.joint, 0))
    of_quantity = {quantity: iter([c for c in by_rank if c.quantity == quantity]) for quantity in ("time", *QUANTITIES)}
    placed = [next(of_quantity[column.quantity]) for column in columns]
    found: list[Column] = []
    for _, run in groupby(placed, key=lambda column: column.name):
        part = list(run)
        if [column.element for column in part] != list(range(len(part))):
            part = [column._replace(element=None) for column in part]
        found += part
    return found


def written_columns(recording: Recording, quantities: tuple[str, ...], lists: bool = False) -> list[Column]:
    """The columns to write, in order: those of the file that the recording came from, then what was added to it.

    A column keeps its name where that name alone says what it holds; `lists` keeps columns of lists together.
    """
    present = [
        quantity for quantity in QUANTITIES if quantity in quantities and getattr(recording, quantity) is not None
    ]
    joints = set(recording.joints)
    order: list[Column] = []
    for column in recording.layout.columns:
        kept = column.joint in joints and column.quantity in present
        if kept or (column.quantity == "time" and recording.stamps is not None):
            order.append(column if lists else column._replace(element=None))
    if recording.stamps is not None and not any(column.quantity == "time" for column in order):
        order.insert(0, Column("", "time"))
    have = {(column.quantity, column.joint) for column in order}
    in_file = {quantity for quantity, _ in have}
    order += [
        Column("", quantity, joint)
        for quantity in present
        for place, joint in enumerate(recording.joints)
        if (quantity, joint) not in have
        and not (quantity in in_file and _all_missing(getattr(recording, quantity)[:, place]))
    ]
    taken: set[str] = set()
    columns = []
    for column in order:
        if column.element is None:
            column = column._replace(name=_free_name(column, recording, taken))
            taken.add(column.name)
        columns.append(column)
    return columns


def _all_missing(values: NDArray[np.float64]) -> bool:
    """Whether the file has no column for this quantity of a joint, though it has one for other joints."""
    return bool(np.isnan(values[:1]).all() and np.isnan(values).all())


def time_name(name: str, unit: str) -> str:
    """The name of a column of times with its unit at the end, instead of the one that it had."""
    with_unit = f"{_without_time_unit(name)[0]}_{unit}"
    return with_unit if meaning(with_unit) == Meaning("time", unit=unit) else f"time_{unit}"


def _time_name(name: str, stamps: Stamps) -> str:
    """The name that times get: that of the file where their unit is found again, by the name or by the numbers."""
    says = meaning(name)
    found_again = says.unit == stamps.unit or (says.unit is None and tell_their_unit(stamps))
    return name if says.quantity == "time" and found_again else time_name(name, stamps.unit)


def _free_name(column: Column, recording: Recording, taken: set[str]) -> str:
    if column.quantity == "time":
        assert recording.stamps is not None
        return _time_name(column.name, recording.stamps)
    says = meaning(column.name)
    if column.name not in taken and (says.quantity, says.joint) == (column.quantity, column.joint):
        return column.name
    name = written_name(column.joint, column.quantity)
    while name in taken:
        name = f"{name}_{WRITTEN_WORDS[column.quantity]}"
    return name
