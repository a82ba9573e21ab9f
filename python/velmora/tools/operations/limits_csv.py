# SPDX-License-Identifier: Apache-2.0
"""Limits from a table: a row per joint, a column per bound."""

from __future__ import annotations

import csv

from velmora.tools.errors import DataError
from velmora.tools.operations.limits import QUANTITIES, LimitsFile
from velmora.tools.text import nearest, quoted

COLUMNS = ("joint", *(f"{end}_{quantity}" for quantity in QUANTITIES for end in ("min", "max")))


def read_csv(path: str, content: bytes) -> LimitsFile:
    """Read the columns `joint`, `min_position`, `max_position`, `max_velocity`, `max_acceleration`, `max_jerk`.

    A column that is left out, or an empty cell, is no limit. Rates are limited to both sides by `max_...`, unless there
    is a `min_...` too. Fields are separated by commas or semicolons; lines that start with ``#`` are left out.
    """
    try:
        text = content.decode("utf-8-sig")
    except UnicodeDecodeError as error:
        raise DataError(f"{path}: byte {error.start} is not UTF-8; a table of text was expected") from error
    lines = [
        (number, line) for number, line in enumerate(text.splitlines(), 1) if line.strip() and not line.startswith("#")
    ]
    if not lines:
        raise DataError(f"{path}: the file is empty; a header with the column 'joint' was expected")
    separator = max(",;\t", key=lines[0][1].count)
    rows = [(number, _cells(path, number, line, separator)) for number, line in lines]
    first, head = rows[0]
    for name in head:
        if name not in COLUMNS:
            raise DataError(
                f"{path}:{first}: the column {quoted(name)} is not known; {', '.join(COLUMNS)} were "
                f"expected{nearest(name, COLUMNS)}"
            )
    if "joint" not in head:
        raise DataError(f"{path}:{first}: there is no column 'joint'; the names of joints were expected")
    limits = LimitsFile(path)
    if len(set(head)) < len(head):
        raise DataError(f"{path}:{first}: a column appears twice; every column once was expected")
    for number, row in rows[1:]:
        if len(row) != len(head):
            raise DataError(f"{path}:{number}: {len(row)} cells; {len(head)} were expected, as in the header")
        _read_row(limits, number, dict(zip(head, row, strict=True)))
    return limits


def _cells(path: str, line: int, text: str, separator: str) -> list[str]:
    try:
        (cells,) = csv.reader([text], delimiter=separator, strict=True)
    except csv.Error as error:
        raise DataError(f"{path}:{line}: {error}; a row of a table of limits was expected") from error
    return [cell.strip() for cell in cells]


def _read_row(limits: LimitsFile, line: int, cells: dict[str, str]) -> None:
    joint = cells["joint"]
    if not joint or joint in limits.joints:
        what = f"the joint {quoted(joint)} appears twice" if joint else "the joint has no name"
        raise DataError(f"{limits.path}:{line}: {what}; a row per joint was expected")
    limits.joints[joint] = {}
    for quantity in QUANTITIES:
        low, high = cells.get(f"min_{quantity}", ""), cells.get(f"max_{quantity}", "")
        if not high and not low:
            continue
        if not high or (quantity == "position" and not low):
            missing = f"max_{quantity}" if not high else f"min_{quantity}"
            raise DataError(
                f"{limits.path}:{line}: {quoted(joint)} has no {missing}; both ends of the interval were expected"
            )
        upper = _number(limits.path, line, high)
        limits.add(joint, quantity, _number(limits.path, line, low) if low else -upper, upper, line)


def _number(path: str, line: int, text: str) -> float:
    try:
        return float(text)
    except ValueError:
        raise DataError(
            f"{path}:{line}: {quoted(text)} is not a number; a number or an empty cell was expected"
        ) from None
