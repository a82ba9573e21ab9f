# SPDX-License-Identifier: Apache-2.0
"""Stamps in text: read and written to the last digit, as decimal numbers where doubles are too coarse."""

# pyright: reportAttributeAccessIssue=false
# The functions of pyarrow.compute are made when it is imported, where no type checker sees them.

from __future__ import annotations

from typing import TYPE_CHECKING

import numpy as np
from numpy.typing import NDArray

from velmora.tools.errors import DataError
from velmora.tools.formats import stamps as clock
from velmora.tools.formats.arrow_columns import arrow_array, numbers
from velmora.tools.formats.csv_dialect import NUMBER, Dialect
from velmora.tools.formats.plan import Plan
from velmora.tools.recording import UNIT_NS, Stamps
from velmora.tools.text import quoted

if TYPE_CHECKING:
    import pyarrow as pa

# Digits after the decimal point that make a unit whole nanoseconds.
_DECIMALS = {"s": 9, "ms": 6, "us": 3, "ns": 0}


def fits_doubles(dialect: Dialect, column: int) -> bool:
    """Whether doubles hold times of this size exactly, in whichever unit they are."""
    for row in dialect.sample:
        cell = row[column].replace(",", ".") if column < len(row) else ""
        if NUMBER.fullmatch(cell) and abs(float(cell)) < clock.WHOLE_BELOW_NS / 1e9 / 2:
            return True
    return False


def stamps(source: str, dialect: Dialect, chosen: Plan, table: pa.Table) -> tuple[Stamps, str]:
    """Stamps from the columns of a table, and in which unit they are and why."""
    import pyarrow as pa

    name = next(column.name for column in chosen.columns if column.quantity == "time")
    columns = [table.column(str(index)) for index in chosen.time]
    if columns[0].type == pa.float64() and len(columns) == 1:
        doubles, _ = numbers(columns[0])
        unit, why = _unit(source, dialect, chosen, name, doubles)
        return clock.from_doubles(doubles, unit), why
    import pyarrow.compute as pc  # its import takes longer than the reading of a short file

    if len(columns) == 2:
        try:
            seconds, nanoseconds = (pc.cast(column, pa.int64()).to_numpy() for column in columns)
        except pa.ArrowInvalid as error:
            raise _no_time(source, name, columns[0]) from error
        return Stamps(combined(source, seconds, nanoseconds), "ns"), "s and ns"
    text = pc.utf8_trim(columns[0], " ")
    try:
        unit, why = _unit(source, dialect, chosen, name, _doubles(text.slice(0, clock.TELLING)))
        exact = None if text.null_count else _exact_nanoseconds(text, unit)
        if text.null_count:
            why += ", as doubles, since some are missing"
        return Stamps(exact, unit) if exact is not None else clock.from_doubles(_doubles(text), unit), why
    except pa.ArrowInvalid as error:
        dates = _dates(text)
        if dates is None:
            raise _no_time(source, name, text) from error
        return dates, "dates"


def combined(source: str, seconds: NDArray[np.int64], nanoseconds: NDArray[np.int64]) -> NDArray[np.int64]:
    """Whole nanoseconds from seconds and the nanoseconds after them."""
    return clock.from_integers(source, seconds, "s").values.astype(np.int64) + nanoseconds


def _unit(source: str, dialect: Dialect, chosen: Plan, name: str, doubles: NDArray[np.float64]) -> tuple[str, str]:
    if chosen.time_unit is not None:
        return chosen.time_unit, chosen.time_unit
    column = chosen.time[0]
    whole = all(
        cell.lstrip("+-").isdigit() for cell in (row[column] for row in dialect.sample if column < len(row)) if cell
    )
    return clock.infer_unit(source, name, doubles, whole)


def _doubles(text: pa.ChunkedArray) -> NDArray[np.float64]:
    import pyarrow as pa
    import pyarrow.compute as pc

    return numbers(pc.cast(pc.utf8_ltrim(text, "+"), pa.float64()))[0]


def _exact_nanoseconds(text: pa.ChunkedArray, unit: str) -> NDArray[np.int64] | None:
    """Whole nanoseconds, where the decimal numbers are such."""
    import pyarrow as pa
    import pyarrow.compute as pc

    try:
        decimals = pc.cast(text, pa.decimal128(38, _DECIMALS[unit])).combine_chunks()
    except pa.ArrowInvalid:
        return None
    if isinstance(decimals, pa.ChunkedArray):
        decimals = decimals.chunk(0)
    words = np.frombuffer(decimals.buffers()[1], np.int64).reshape(-1, 2)[
        decimals.offset : decimals.offset + len(decimals)
    ]
    low, high = words[:, 0], words[:, 1]
    return np.ascontiguousarray(low) if np.array_equal(high, low >> 63) else None


def _dates(text: pa.ChunkedArray) -> Stamps | None:
    import pyarrow as pa
    import pyarrow.compute as pc

    for kind in (pa.timestamp("ns"), pa.timestamp("ns", "UTC")):
        try:
            dates = pc.cast(text, kind)
        except pa.ArrowInvalid:
            continue
        if dates.null_count == 0:
            return Stamps(np.ascontiguousarray(dates.cast(pa.int64()).to_numpy()), "ns")
    return None


def _no_time(source: str, name: str, text: pa.ChunkedArray) -> DataError:
    bad = next((cell for cell in text.to_pylist() if cell is not None and not NUMBER.fullmatch(cell)), "")
    return DataError(
        f"{source}: column {quoted(name)}: {quoted(bad)} is no time; a number was expected; --time-column "
        "names another column"
    )


def written(stamps: Stamps, rows: slice, unit_is_known: bool) -> pa.Array:
    """Stamps as text writes them: in the unit of the file, to the last digit.

    Whole seconds carry a decimal point where the column's name does not tell the unit.
    """
    unit_is_known = unit_is_known or stamps.unit != "s"
    import pyarrow as pa
    import pyarrow.compute as pc

    values: NDArray[np.generic] = stamps.values[rows]
    if values.dtype == np.int64:
        if stamps.unit == "ns":
            return arrow_array(values)
        scale = UNIT_NS[stamps.unit]
        if np.abs(stamps.values[rows]).max(initial=0) >= clock.WHOLE_BELOW_NS:
            return _decimal_text(values.astype(np.int64, copy=False), _DECIMALS[stamps.unit], unit_is_known)
        values = stamps.values[rows] / scale
    else:
        values = stamps.values[rows] * (1e9 / UNIT_NS[stamps.unit])
    text = pc.cast(arrow_array(values), pa.string())
    if unit_is_known:
        return text
    return pc.replace_substring_regex(text, r"^(-?\d+)$", r"\1.0")


def _decimal_text(values: NDArray[np.int64], decimals: int, unit_is_known: bool) -> pa.Array:
    """Integers as decimal numbers, so many digits after the point."""
    import pyarrow as pa
    import pyarrow.compute as pc

    whole, rest = np.divmod(np.abs(values), 10**decimals)
    sign = pc.if_else(pc.less(arrow_array(values), 0), "-", "")
    digits = pc.utf8_lpad(pc.cast(arrow_array(rest), pa.string()), decimals, "0")
    text = pc.binary_join_element_wise(sign, pc.cast(arrow_array(whole), pa.string()), "")
    text = pc.utf8_rtrim(pc.binary_join_element_wise(text, digits, "."), "0")
    return pc.utf8_rtrim(text, ".") if unit_is_known else pc.replace_substring_regex(text, r"\.$", ".0")
