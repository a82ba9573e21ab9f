# SPDX-License-Identifier: Apache-2.0
"""Decides what each column of a table is for: the clock, a quantity of a joint, or nothing."""

from __future__ import annotations

import math
import re
import string
from collections.abc import Sequence
from dataclasses import dataclass
from fnmatch import fnmatchcase
from typing import NamedTuple

from velmora.tools.columns import (
    BOOKKEEPING,
    EPISODES,
    NANOSECOND_NAMES,
    SECOND_NAMES,
    Meaning,
    clean,
    in_order,
    meaning,
)
from velmora.tools.errors import DataError, UsageError
from velmora.tools.options import ReadOptions
from velmora.tools.recording import QUANTITIES, Column, Note
from velmora.tools.text import listed, named, nearest, quoted

MAX_COLUMNS = 10_000
RADIANS_PER_DEGREE = math.pi / 180.0


class Field(NamedTuple):
    """A column of a table before anybody knows what it is for."""

    name: str
    numeric: bool = True
    elements: int | None = None  # length of the lists that it holds
    unit: str | None = None  # of times, where the column's type says it
    told_by: str = "its name"  # what makes a clock of it
    empty: bool = False  # as far as was looked


class Cell(NamedTuple):
    """Where the values of one quantity of one joint come from."""

    field: int
    element: int | None
    joint: int
    factor: float
    of_elements: int = 0  # length of the lists


@dataclass(frozen=True)
class Plan:
    """What to read from a table.

    Attributes
    ----------
    time
        The field with the times; two fields: whole seconds and nanoseconds; none: no clock.
    time_unit
        Unit of the times where the options, the name or the type say it.
    group
        The field whose values make recordings of their own.
    episodes
        Name of a field that is left out and might have been `group`.
    """

    time: tuple[int, ...]
    time_unit: str | None
    joints: tuple[str, ...]
    cells: dict[str, list[Cell]]
    columns: tuple[Column, ...]
    notes: tuple[Note, ...]
    group: int | None = None
    episodes: str = ""


def check_width(source: str, columns: int, *, row: int = 1, whole: bool = True) -> None:
    """Refuse tables that are wider than any robot, before anything is made of their names.

    `whole` says whether all columns were counted.
    """
    if columns > MAX_COLUMNS:
        number = f"{'' if whole else 'at least '}{columns:,}"
        raise DataError(f"{source}:{row}: there are {number} columns; at most {MAX_COLUMNS:,} were expected")


def refuse_width(source: str, columns: int) -> None:
    """Refuse to write tables that are wider than any that is read."""
    if columns > MAX_COLUMNS:
        raise DataError(
            f"{source}: the table would have {columns:,} columns; at most {MAX_COLUMNS:,} can be read again; --joints "
            "or --columns of resample leaves some out"
        )


def plan(source: str, fields: Sequence[Field], options: ReadOptions) -> Plan:
    """Find the clock and the joints among the columns of a table.

    Raises
    ------
    UsageError
        "SOURCE: no column is called 'NAME'; ..." for --time-column and --group-by,
        "SOURCE: no joint is called 'NAME'; ..." for --joints.
    DataError
        "SOURCE: no column holds positions of a joint; ..."
    """
    fields = [field._replace(name=clean(field.name)) for field in fields]
    notes: list[Note] = []
    time, unit, why = _clock(source, fields, options)
    if time and options.rate_hz is not None:
        notes.append(
            Note(
                "time",
                f"{options.rate_hz!r} samples per second (--input-rate); "
                f"column {quoted(fields[time[0]].name)} is left aside",
            )
        )
    elif time:
        notes.append(Note("time", why))
    group = _group(source, fields, options)
    found = _joint_cells(fields, {*time, group}, options, notes)
    joints = _chosen(source, found, options)
    cells: dict[str, list[Cell]] = {quantity: [] for quantity in QUANTITIES}
    columns: list[tuple[int, int | None, Column]] = []
    if time and options.rate_hz is None:
        columns.append(
            (time[0], None, Column(fields[time[0]].name, "time"))
            if len(time) == 1
            else (time[0], None, Column("time_ns", "time"))
        )
    used = {*time, group}
    degrees, other_units = [], []
    for entry in found:
        if entry.meaning.joint not in joints:
            used.add(entry.field)
            continue
        used.add(entry.field)
        unit_of_name = entry.meaning.unit
        may_change = not options.keep_units and entry.meaning.quantity != "efforts"
        in_degrees = may_change and (unit_of_name == "deg" or (options.degrees and unit_of_name is None))
        name = fields[entry.field].name
        if may_change and options.degrees and not in_degrees:
            other_units.append(name)
        if in_degrees and unit_of_name == "deg":
            degrees.append(name)
            name = re.sub(r"deg(rees)?|\u00b0", "rad", name, flags=re.IGNORECASE)
        cells[entry.meaning.quantity].append(
            Cell(
                entry.field,
                entry.element,
                joints[entry.meaning.joint],
                RADIANS_PER_DEGREE if in_degrees else 1.0,
                fields[entry.field].elements or 0,
            )
        )
        columns.append(
            (entry.field, entry.element, Column(name, entry.meaning.quantity, entry.meaning.joint, entry.element))
        )
    if options.degrees and not options.keep_units:
        notes.append(Note("units", "degrees became radians (--degrees)"))
        if other_units:
            notes.append(Note("columns", f"kept by --degrees, as their names say another unit: {listed(other_units)}"))
    elif degrees:
        notes.append(Note("units", f"degrees became radians by the names {listed(degrees)}"))
    notes += _left_out(fields, used)
    if not cells["positions"]:
        raise DataError(
            f"{source}: no column holds positions of a joint; a column per joint was expected; "
            f"there are {listed([field.name for field in fields])}; --joints names them"
        )
    columns.sort(key=lambda item: (item[0], item[1] or 0))
    in_file = [column for _, _, column in columns]
    return Plan(
        time,
        options.time_unit if options.time_unit != "auto" else unit,
        tuple(joints),
        {quantity: list_ for quantity, list_ in cells.items() if list_},
        tuple(in_order(in_file, tuple(joints)) if options.joints else in_file),
        tuple(notes),
        group,
        next((field.name for index, field in enumerate(fields) if _tells_episodes(field) and index not in used), ""),
    )


def _left_out(fields: Sequence[Field], used: set[int | None]) -> list[Note]:
    """Notes of the columns that are not read; one without a name and without values is a separator at a line's end."""
    left = [(number, field) for number, field in enumerate(fields, 1) if number - 1 not in used]
    names = [field.name for _, field in left if field.name]
    nameless = [str(number) for number, field in left if not field.name and not field.empty]
    notes = [Note("columns", f"left out: {listed(names)}")] if names else []
    if nameless:
        columns = "column" if len(nameless) == 1 else "columns"
        notes.append(Note("columns", f"left out: {columns} {named(nameless, 5)} without a name"))
    return notes


def _tells_episodes(field: Field) -> bool:
    return field.name.lower() in EPISODES


def _clock(source: str, fields: Sequence[Field], options: ReadOptions) -> tuple[tuple[int, ...], str | None, str]:
    names = [field.name for field in fields]
    if options.time_column is not None:
        if options.time_column not in names:
            raise UsageError(
                f"{source}: no column is called {quoted(options.time_column)}"
                f"{nearest(options.time_column, names)}; there are {listed(names)}; --time-column"
            )
        index = names.index(options.time_column)
        unit = fields[index].unit or meaning(names[index]).unit
        return (
            (index,),
            unit if unit in ("s", "ms", "us", "ns") else None,
            (f"column {quoted(names[index])} (--time-column)"),
        )
    for index, field in enumerate(fields):
        found = meaning(field.name)
        if found.quantity == "time" and field.numeric and field.elements is None:
            return (index,), field.unit or found.unit, f"column {quoted(field.name)} by {field.told_by}"
    lower = [name.lower() for name in names]
    for index, name in enumerate(lower):
        prefix = name.rstrip(string.ascii_lowercase)
        if name.removeprefix(prefix) in SECOND_NAMES and fields[index].numeric:
            for other in NANOSECOND_NAMES:
                if prefix + other in lower:
                    second = lower.index(prefix + other)
                    return (
                        (index, second),
                        "s",
                        f"columns {quoted(names[index])} and {quoted(names[second])} by their names",
                    )
            return (index,), "s", f"column {quoted(names[index])} by its name"
    for index, field in enumerate(fields):
        if field.unit is not None:
            return (index,), field.unit, f"column {quoted(field.name)} by its type"
    return (), None, ""


def _group(source: str, fields: Sequence[Field], options: ReadOptions) -> int | None:
    if options.group_by is None:
        return None
    names = [field.name for field in fields]
    if options.group_by not in names:
        raise UsageError(
            f"{source}: no column is called {quoted(options.group_by)}{nearest(options.group_by, names)}; "
            f"there are {listed(names)}; --group-by"
        )
    return names.index(options.group_by)


class _Found(NamedTuple):
    field: int
    element: int | None
    meaning: Meaning


def _joint_cells(
    fields: Sequence[Field], taken_already: set[int | None], options: ReadOptions, notes: list[Note]
) -> list[_Found]:
    """Every column that may hold a quantity of a joint; a second one for the same place goes by its whole name."""
    found = []
    taken = set()
    for index, field in enumerate(fields):
        if index in taken_already or field.unit is not None:
            continue
        wanted = any(fnmatchcase(field.name, pattern) for pattern in options.joints)
        says = meaning(field.name)
        if not field.numeric:
            continue
        if says.quantity in ("other", "time"):
            if not (wanted and says.quantity == "other" and field.name not in BOOKKEEPING[:1]):
                continue
            says = Meaning("positions", field.name)
        for element in range(field.elements) if field.elements is not None else (None,):
            place = says if element is None else says._replace(joint=f"{says.joint}_{element}")
            if (place.quantity, place.joint) in taken:
                place = Meaning("positions", field.name if element is None else f"{field.name}_{element}", place.unit)
            number = 2
            while (place.quantity, place.joint) in taken:
                place = place._replace(joint=f"{field.name}_{number}")
                number += 1
            if place.joint != says.joint and element is None:
                notes.append(
                    Note("columns", f"of the same name: another {quoted(field.name)} is called {quoted(place.joint)}")
                )
            taken.add((place.quantity, place.joint))
            found.append(_Found(index, element, place))
    with_positions = {entry.meaning.joint for entry in found if entry.meaning.quantity == "positions"}
    return [entry for entry in found if entry.meaning.joint in with_positions]


def _chosen(source: str, found: Sequence[_Found], options: ReadOptions) -> dict[str, int]:
    """The joints to read, with their places."""
    names = list(dict.fromkeys(entry.meaning.joint for entry in found if entry.meaning.quantity == "positions"))
    if not options.joints:
        return {name: place for place, name in enumerate(names)}
    return {name: place for place, name in enumerate(matching(source, names, options.joints))}


def matching(source: str, names: Sequence[str], patterns: Sequence[str]) -> list[str]:
    """The names that the patterns choose, in the patterns' order.

    Raises
    ------
    UsageError
        "SOURCE: no joint is called 'NAME'; ..." for a pattern that chooses nothing.
    """
    chosen: dict[str, None] = {}
    for pattern in patterns:
        matches = [name for name in names if name == pattern] or [name for name in names if fnmatchcase(name, pattern)]
        if not matches:
            raise UsageError(
                f"{source}: no joint is called {quoted(pattern)}{nearest(pattern, names)}; "
                f"there are {listed(names)}; --joints"
            )
        chosen.update(dict.fromkeys(matches))
    return list(chosen)
