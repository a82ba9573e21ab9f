"""Recordings from Arrow's columns: matrices filled batch by batch, stamps exact whatever the column's type."""

from __future__ import annotations

from collections.abc import Iterable, Sequence
from typing import TYPE_CHECKING

import numpy as np
from numpy.typing import NDArray

from velmora.tools.errors import DataError
from velmora.tools.formats import stamps as clock
from velmora.tools.formats.plan import Plan
from velmora.tools.recording import QUANTITIES, Layout, Note, Recording, Stamps
from velmora.tools.text import quoted

if TYPE_CHECKING:
    import pyarrow as pa

    from velmora.tools.formats.csv_dialect import Dialect

# Digits after the decimal point that make a unit whole nanoseconds.
_DECIMALS = {"s": 9, "ms": 6, "us": 3, "ns": 0}


class Matrices:
    """The quantities of a recording while its batches come in."""

    def __init__(self, chosen: Plan, samples: int) -> None:
        """Make room for so many samples."""
        self.chosen = chosen
        self.values = {quantity: np.empty((samples, len(chosen.joints))) if len(cells) == len(chosen.joints)
                       else np.full((samples, len(chosen.joints)), np.nan)
                       for quantity, cells in chosen.cells.items()}
        self.missing: NDArray[np.bool_] | None = None
        self.filled = 0

    def add(self, batch: pa.RecordBatch, names: Sequence[str] | None = None) -> None:
        """Fill in the rows of a batch; fields are found by their index as text, or by the names given."""
        stop = self.filled + batch.num_rows
        lists: dict[int, NDArray[np.float64]] = {}
        for quantity, cells in self.chosen.cells.items():
            matrix = self.values[quantity]
            for cell in cells:
                column = batch.column(str(cell.field) if names is None else names[cell.field])
                if cell.element is not None:
                    if cell.field not in lists:
                        lists[cell.field] = _list_matrix(column)
                    values = lists[cell.field][:, cell.element]
                    absent = None
                else:
                    values, absent = numbers(column)
                matrix[self.filled:stop, cell.joint] = values * cell.factor if cell.factor != 1.0 else values
                if absent is not None and quantity == "positions":
                    if self.missing is None:
                        self.missing = np.zeros(matrix.shape, np.bool_)
                    self.missing[self.filled:stop, cell.joint] = absent
        self.filled = stop


def numbers(column: pa.Array) -> tuple[NDArray[np.float64], NDArray[np.bool_] | None]:
    """A column as doubles with NaN for what is missing, and where that is."""
    import pyarrow as pa
    import pyarrow.compute as pc

    if isinstance(column, pa.ChunkedArray):
        column = column.combine_chunks()
    if column.type != pa.float64():
        column = pc.cast(column, pa.float64(), safe=False)
    if column.null_count == 0:
        return column.to_numpy(zero_copy_only=True), None
    absent = column.is_null().to_numpy(zero_copy_only=False)
    return column.to_numpy(zero_copy_only=False), absent


def _list_matrix(column: pa.Array) -> NDArray[np.float64]:
    """Lists of one length as a matrix."""
    values, _ = numbers(column.flatten())
    return values.reshape(len(column), -1)


def recording(source: str, format_: str, chosen: Plan, stamps: Stamps | None, batches: Iterable[pa.RecordBatch],
              rows: NDArray[np.int64], notes: Sequence[Note], names: Sequence[str] | None = None) -> Recording:
    """Put the batches of a table together."""
    matrices = Matrices(chosen, len(rows))
    for batch in batches:
        matrices.add(batch, names)
    values = {quantity: matrices.values.get(quantity) for quantity in QUANTITIES}
    positions = values.pop("positions")
    assert positions is not None
    return Recording(source, chosen.joints, stamps, positions, **values, rows=rows, missing=matrices.missing,
                     notes=tuple(notes), layout=Layout(format_, chosen.columns))


def stamps_at_rate(rate_hz: float | None, samples: int) -> Stamps | None:
    """Stamps of a file whose times are not wanted or not there."""
    return None if rate_hz is None else clock.at_rate(samples, rate_hz)


def stamps_from_text(source: str, dialect: Dialect, chosen: Plan, table: pa.Table) -> tuple[Stamps, str]:
    """Stamps from columns of text, and in which unit they are and why."""
    import pyarrow as pa
    import pyarrow.compute as pc

    columns = [table.column(str(index)).combine_chunks() for index in chosen.time]
    name = chosen.columns[0].name if len(columns) == 2 else next(c.name for c in chosen.columns if c.quantity == "time")
    text = columns[0]
    try:
        doubles, absent = numbers(pc.cast(pc.utf8_trim(text, " +"), pa.float64()))
    except pa.ArrowInvalid as error:
        dates = _dates(text)
        if dates is None:
            raise _no_time(source, name, text, table) from error
        return dates, "dates"
    if len(columns) == 2:
        seconds, nanoseconds = (pc.cast(column, pa.int64()).to_numpy(zero_copy_only=False) for column in columns)
        return Stamps(_combined(source, seconds, nanoseconds), "ns"), "s and ns"
    unit, why = chosen.time_unit, chosen.time_unit or ""
    if unit is None:
        cells = text.slice(0, 100).to_pylist()
        whole = not any(mark in (cell or "") for cell in cells for mark in ".eEn")
        unit, why = clock.infer_unit(source, name, doubles, whole)
    if absent is None:
        exact = _exact_nanoseconds(text, unit)
        if exact is not None:
            return Stamps(exact, unit), why
    return clock.from_doubles(doubles, unit), why


def _combined(source: str, seconds: NDArray[np.int64], nanoseconds: NDArray[np.int64]) -> NDArray[np.int64]:
    return clock.from_integers(source, seconds, "s").values.astype(np.int64) + nanoseconds


def _exact_nanoseconds(text: pa.Array, unit: str) -> NDArray[np.int64] | None:
    """Whole nanoseconds, where the decimal numbers are such."""
    import pyarrow as pa
    import pyarrow.compute as pc

    try:
        decimals = pc.cast(pc.utf8_trim(text, " "), pa.decimal128(38, _DECIMALS[unit]))
    except pa.ArrowInvalid:
        return None
    words = np.frombuffer(decimals.buffers()[1], np.int64).reshape(-1, 2)[decimals.offset:decimals.offset + len(decimals)]
    low, high = words[:, 0], words[:, 1]
    return np.ascontiguousarray(low) if np.array_equal(high, low >> 63) else None


def _dates(text: pa.Array) -> Stamps | None:
    import pyarrow as pa
    import pyarrow.compute as pc

    for kind in (pa.timestamp("ns"), pa.timestamp("ns", "UTC")):
        try:
            dates = pc.cast(pc.utf8_trim(text, " "), kind)
        except pa.ArrowInvalid:
            continue
        if dates.null_count == 0:
            return Stamps(dates.cast(pa.int64()).to_numpy(), "ns")
    return None


def _no_time(source: str, name: str, text: pa.Array, table: pa.Table) -> DataError:
    from velmora.tools.formats.csv_dialect import NUMBER

    bad = next((cell for cell in text.to_pylist() if cell is not None and not NUMBER.fullmatch(cell)), "")
    return DataError(f"{source}: column {quoted(name)}: {quoted(bad)} is no time; a number was expected; --time-column "
                     "names another column")


def time_text(stamps: Stamps, rows: slice, unit_is_known: bool) -> pa.Array:
    """Stamps as text writes them: in the unit of the file, to the last digit.

    Whole seconds and milliseconds carry a decimal point where the column's name does not tell the unit.
    """
    import pyarrow as pa
    import pyarrow.compute as pc

    values = stamps.values[rows]
    if values.dtype == np.int64:
        if stamps.unit == "ns":
            return pa.array(values)
        scale = clock.UNIT_NS[stamps.unit]
        if np.abs(values).max(initial=0) >= clock.WHOLE_BELOW_NS:
            return _decimal_text(values, _DECIMALS[stamps.unit], unit_is_known)
        values = values / scale
    else:
        values = values * (1e9 / clock.UNIT_NS[stamps.unit])
    text = pc.cast(pa.array(values), pa.string())
    if unit_is_known:
        return text
    return pc.replace_substring_regex(text, r"^(-?\d+)$", r"\1.0")


def _decimal_text(values: NDArray[np.int64], decimals: int, unit_is_known: bool) -> pa.Array:
    """Integers as decimal numbers, so many digits after the point."""
    import pyarrow as pa
    import pyarrow.compute as pc

    whole, rest = np.divmod(np.abs(values), 10**decimals)
    sign = pc.if_else(pa.array(values < 0), "-", "")
    digits = pc.utf8_lpad(pc.cast(pa.array(rest), pa.string()), decimals, "0")
    text = pc.binary_join_element_wise(sign, pc.cast(pa.array(whole), pa.string()), "")
    text = pc.utf8_rtrim(pc.binary_join_element_wise(text, digits, "."), "0")
    return pc.utf8_rtrim(text, ".") if unit_is_known else pc.replace_substring_regex(text, r"\.$", ".0")
