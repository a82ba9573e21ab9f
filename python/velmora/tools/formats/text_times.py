# SPDX-License-Identifier: Apache-2.0
"""Stamps in text: read and written to the last digit, as decimal numbers where doubles are too coarse."""

# pyright: reportAttributeAccessIssue=false
# The functions of pyarrow.compute are made when it is imported, where no type checker sees them.

from __future__ import annotations

import re
from typing import TYPE_CHECKING

import numpy as np
from numpy.typing import NDArray

from velmora.tools.errors import DataError
from velmora.tools.formats import stamps as clock
from velmora.tools.formats.arrow_columns import arrow_array, numbers
from velmora.tools.formats.csv_dialect import EMPTY_CELLS, NUMBER, Dialect
from velmora.tools.formats.plan import Plan
from velmora.tools.recording import MISSING_NS, UNIT_NS, Stamps
from velmora.tools.text import quoted

if TYPE_CHECKING:
    import pyarrow as pa

# Digits after the decimal point that make a unit whole nanoseconds.
_DECIMALS = {"s": 9, "ms": 6, "us": 3, "ns": 0}
# Arrow writes numbers from here on with an exponent, which no longer shows that they are whole or how large they are.
_EXPONENT_FROM = 10**10


def fits_doubles(dialect: Dialect, column: int) -> bool:
    """Whether doubles may hold the times exactly: some of them are small in whichever unit they are."""
    for row in dialect.sample:
        cell = row[column].replace(",", ".") if column < len(row) else ""
        if NUMBER.fullmatch(cell) and abs(float(cell)) < clock.WHOLE_BELOW_NS / 1e9 / 2:
            return True
    return False


def stamps(
    source: str, dialect: Dialect, chosen: Plan, table: pa.Table, rows: NDArray[np.int64]
) -> tuple[Stamps, str] | None:
    """Stamps from the columns of a table with the lines of its rows, and in which unit they are and why.

    None where the times were read as doubles and some are too large for these; they are to be read as text.
    """
    import pyarrow as pa

    name = next(column.name for column in chosen.columns if column.quantity == "time")
    columns = [table.column(str(index)) for index in chosen.time]
    if columns[0].type == pa.float64() and len(columns) == 1:
        doubles, _ = numbers(columns[0])
        unit, why = _unit(source, dialect, chosen, name, doubles)
        if clock.too_coarse(doubles[np.isfinite(doubles)], unit):
            return None
        return clock.from_doubles(doubles, unit), why
    import pyarrow.compute as pc  # its import takes longer than the reading of a short file

    if len(columns) == 2:
        assert dialect.names is not None  # it is names that tell two columns
        names = [dialect.names[index] for index in chosen.time]
        seconds, nanoseconds = (_whole(source, *part) for part in zip(names, columns, strict=True))
        return Stamps(combined(source, seconds, nanoseconds), "ns"), "s and ns"
    text = pc.utf8_trim(columns[0], " ")
    text = pc.if_else(pc.is_in(pc.utf8_ltrim(text, "+-"), pa.array(["nan", "NaN", "NAN"])), None, text)
    try:
        unit, why = _unit(source, dialect, chosen, name, _doubles(text.slice(0, clock.TELLING)))
        exact = _exact_nanoseconds(text, unit)
        if exact is None:
            return clock.from_doubles(_doubles(text), unit), f"{why}, as doubles, since not all are whole nanoseconds"
        return Stamps(exact, unit), why
    except pa.ArrowInvalid as error:
        dates = _dates(text)
        if dates is None:
            raise _no_time(source, name, text, rows) from error
        return dates, "dates"


def combined(source: str, seconds: NDArray[np.int64], nanoseconds: NDArray[np.int64]) -> NDArray[np.int64]:
    """Whole nanoseconds from seconds and the nanoseconds after them."""
    missing = (seconds == MISSING_NS) | (nanoseconds == MISSING_NS)
    whole = clock.from_integers(source, np.where(missing, 0, seconds), "s").values.astype(np.int64)
    return np.where(missing, MISSING_NS, whole + np.where(missing, 0, nanoseconds))


def no_whole_number(source: str, name: str, value: str) -> DataError:
    """What is wrong with a number in one of two columns of whole seconds and nanoseconds."""
    return DataError(
        f"{source}: column {quoted(name)}: {quoted(value)} is no whole number of 64 bits; whole seconds and "
        "nanoseconds were expected in two columns; --time-column names another column"
    )


def _whole(source: str, name: str, text: pa.ChunkedArray) -> NDArray[np.int64]:
    import pyarrow as pa
    import pyarrow.compute as pc

    text = pc.utf8_trim(text, " ")
    try:
        return integers(pc.cast(text, pa.int64()))
    except pa.ArrowInvalid as error:
        cells = (cell for cell in text.to_pylist() if cell is not None)
        bad = (cell for cell in cells if not re.fullmatch("-?[0-9]+", cell) or abs(int(cell)) >= 2**63)
        raise no_whole_number(source, name, next(bad, "")) from error


def integers(column: pa.Array | pa.ChunkedArray) -> NDArray[np.int64]:
    """A column of 64-bit integers, `MISSING_NS` where it has none."""
    filled = column if column.null_count == 0 else column.fill_null(MISSING_NS)
    return np.asarray(filled.to_numpy() if hasattr(filled, "chunks") else filled.to_numpy(zero_copy_only=False))


def _unit(source: str, dialect: Dialect, chosen: Plan, name: str, doubles: NDArray[np.float64]) -> tuple[str, str]:
    if chosen.time_unit is not None:
        return chosen.time_unit, chosen.time_unit
    column = chosen.time[0]
    cells = (row[column] for row in dialect.sample if column < len(row))
    whole = all(cell.lstrip("+-").isdigit() for cell in cells if cell not in EMPTY_CELLS and cell.lower() != "nan")
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
    if decimals.null_count:
        missing = decimals.is_null().to_numpy(zero_copy_only=False)
        low, high = np.where(missing, MISSING_NS, low), np.where(missing, -1, high)
    return np.ascontiguousarray(low) if np.array_equal(high, low >> 63) else None


def _dates(text: pa.ChunkedArray) -> Stamps | None:
    import pyarrow as pa
    import pyarrow.compute as pc

    for kind in (pa.timestamp("ns"), pa.timestamp("ns", "UTC")):
        try:
            dates = pc.cast(text, kind)
        except pa.ArrowInvalid:
            continue
        return Stamps(np.ascontiguousarray(integers(dates.cast(pa.int64()))), "ns")
    return None


def _no_time(source: str, name: str, text: pa.ChunkedArray, rows: NDArray[np.int64]) -> DataError:
    """The first cell that is none of the numbers, or of the dates, that the column begins with."""
    cells = text.to_pylist()
    # Up to here all are dates, and up to there they are not.
    index, end = 0, len(cells)
    while end - index > 1:
        middle = (index + end) // 2
        index, end = (index, middle) if _dates(text.slice(0, middle)) is None else (middle, end)
    if NUMBER.fullmatch(cells[index]) and not any(cells[:index]):
        index = next((k for k, cell in enumerate(cells) if cell is not None and not NUMBER.fullmatch(cell)), index)
    return DataError(
        f"{source}:{rows[index]}: {quoted(cells[index])} in column {quoted(name)} is no time; numbers were expected, "
        "or dates such as 2026-11-21T10:00:00; --time-column names another column"
    )


def written(stamps: Stamps, rows: slice, unit_is_known: bool) -> pa.Array:
    """Stamps as text writes them: in the unit of the file, to the last digit.

    Whole seconds carry a decimal point where the column's name does not tell the unit.
    """
    unit_is_known = unit_is_known or stamps.unit != "s"
    import pyarrow as pa
    import pyarrow.compute as pc

    part = stamps.part(rows)
    missing = part.missing
    if part.values.dtype == np.int64:
        if stamps.unit == "ns":
            return arrow_array(part.values, missing)
        scale = UNIT_NS[stamps.unit]
        known = np.where(missing, 0, part.values).astype(np.int64, copy=False)
        if np.abs(known).max(initial=0) >= min(clock.WHOLE_BELOW_NS, _EXPONENT_FROM * scale):
            text = _decimal_text(known, _DECIMALS[stamps.unit], unit_is_known)
            return pc.if_else(pa.array(missing), None, text) if missing.any() else text
        values = known / scale
    else:
        values = part.in_unit()
    text = _shortest(values, missing)
    if unit_is_known:
        return text
    return pc.replace_substring_regex(text, r"^(-?\d+)$", r"\1.0")


def _shortest(values: NDArray[np.float64], missing: NDArray[np.bool_]) -> pa.Array:
    """The shortest numbers that read back to the same bits, none with an exponent that makes it large."""
    import pyarrow as pa
    import pyarrow.compute as pc

    if (np.abs(values[~missing]) < _EXPONENT_FROM).all():
        return pc.cast(arrow_array(values, missing), pa.string())
    texts = [np.format_float_positional(value, trim="-") for value in values]
    return pc.if_else(pa.array(missing), None, pa.array(texts, pa.string()))


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
