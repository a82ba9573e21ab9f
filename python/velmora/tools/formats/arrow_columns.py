# SPDX-License-Identifier: Apache-2.0
"""Recordings from Arrow's columns: matrices filled batch by batch, stamps exact whatever the column's type."""

# pyright: reportAttributeAccessIssue=false
# The functions of pyarrow.compute are made when it is imported, where no type checker sees them.

from __future__ import annotations

from collections.abc import Iterable, Sequence
from dataclasses import replace
from typing import TYPE_CHECKING

import numpy as np
from numpy.typing import NDArray

from velmora.tools.errors import DataError
from velmora.tools.formats import stamps as clock
from velmora.tools.formats.plan import Plan
from velmora.tools.recording import QUANTITIES, Group, Layout, Note, Recording, Stamps
from velmora.tools.text import count, listed, printable

if TYPE_CHECKING:
    import pyarrow as pa


# Notes of the columns of which doubles do not have every number.
ROUNDED = "rounded: {}; doubles do not have every whole number beyond 2^53"
INFINITE = "became infinite: {}; doubles end at 1.8e308"


class Matrices:
    """The quantities of a recording while its batches come in."""

    def __init__(self, source: str, chosen: Plan, samples: int) -> None:
        """Make room for so many samples."""
        self.source, self.chosen = source, chosen
        self.rounded: set[int] = set()  # fields with whole numbers that doubles do not have
        self.values = {
            # Column by column in memory, as tables have them: a column is copied as a whole.
            quantity: np.empty((len(chosen.joints), samples)).T
            if len(cells) == len(chosen.joints)
            else np.full((len(chosen.joints), samples), np.nan).T
            for quantity, cells in chosen.cells.items()
        }
        # Joints without a column of a quantity miss it throughout.
        self.missing = {
            quantity: np.ones((len(chosen.joints), samples), np.bool_).T
            for quantity, cells in chosen.cells.items()
            if len(cells) != len(chosen.joints)
        }

    def add(self, batch: pa.RecordBatch, start: int) -> None:
        """Fill in rows from `start` on; fields are found by their index as text."""
        stop = start + batch.num_rows
        lists: dict[int, tuple[NDArray[np.float64], NDArray[np.bool_] | None]] = {}
        for quantity, cells in self.chosen.cells.items():
            matrix = self.values[quantity]
            for cell in cells:
                column = batch.column(str(cell.field))
                if cell.element is not None:
                    if cell.field not in lists:
                        self._note_rounded(cell.field, column.flatten())
                        lists[cell.field] = self._list_matrix(column, cell.of_elements, start)
                    matrix_of_lists, absent = lists[cell.field]
                    values = matrix_of_lists[:, cell.element]
                    absent = None if absent is None else absent[:, cell.element]
                else:
                    self._note_rounded(cell.field, column)
                    values, absent = numbers(column)
                matrix[start:stop, cell.joint] = values * cell.factor if cell.factor != 1.0 else values
                if absent is not None and quantity not in self.missing:
                    self.missing[quantity] = np.zeros(matrix.shape, np.bool_, order="F")
                if quantity in self.missing:
                    self.missing[quantity][start:stop, cell.joint] = False if absent is None else absent

    def _note_rounded(self, field: int, column: pa.Array) -> None:
        """Take note of a column with whole numbers that doubles do not have; one of another type is what it is."""
        import pyarrow as pa

        if column.type in (pa.int64(), pa.uint64()):
            try:
                column.cast(pa.float64())
            except pa.ArrowInvalid:
                self.rounded.add(field)

    def _list_matrix(
        self, column: pa.Array, elements: int, start: int
    ) -> tuple[NDArray[np.float64], NDArray[np.bool_] | None]:
        """Lists of one length as a matrix, and what is missing in it: elements, and all of rows without a list."""
        import pyarrow as pa
        import pyarrow.compute as pc

        if isinstance(column, pa.ChunkedArray):
            column = column.combine_chunks()
        other = pc.index(pc.not_equal(pc.list_value_length(column), elements), True).as_py()
        if other >= 0:
            raise DataError(
                f"{self.source}:{start + other + 1}: a list of {count(len(column[other]), 'element')}; {elements} were "
                "expected as in the first; --joints chooses other columns"
            )
        filled, holes = numbers(column.drop_null().flatten())
        if column.null_count == 0:
            shape = (len(column), elements)
            return filled.reshape(shape), None if holes is None else holes.reshape(shape)
        lists = column.is_valid().to_numpy(zero_copy_only=False)
        matrix = np.full((len(column), elements), np.nan)
        matrix[lists] = filled.reshape(-1, elements)
        absent = np.ones(matrix.shape, np.bool_)
        absent[lists] = False if holes is None else holes.reshape(-1, elements)
        return matrix, absent


def numbers(column: pa.Array) -> tuple[NDArray[np.float64], NDArray[np.bool_] | None]:
    """A column as doubles with NaN for what is missing, and where that is."""
    import pyarrow as pa

    if isinstance(column, pa.ChunkedArray):
        column = column.combine_chunks()
    if column.type != pa.float64():
        import pyarrow.compute as pc  # its import takes longer than the reading of a short file

        column = pc.cast(column, pa.float64(), safe=False)
    start, stop = column.offset, column.offset + len(column)
    if start == stop:
        return np.empty(0), None
    # Straight from Arrow's memory: its own conversion would import pandas first (half a second).
    there, content = column.buffers()
    values = np.frombuffer(content, np.float64, count=stop)[start:]
    if column.null_count == 0:
        return values, None
    absent = np.unpackbits(np.frombuffer(there, np.uint8), count=stop, bitorder="little")[start:] == 0
    values = values.copy()
    values[absent] = np.nan
    return values, absent


def recording(
    source: str,
    format_: str,
    chosen: Plan,
    stamps: Stamps | None,
    batches: Iterable[pa.RecordBatch],
    rows: NDArray[np.int64],
    notes: Sequence[Note],
) -> Recording:
    """Put the batches of a table together."""
    matrices = Matrices(source, chosen, len(rows))
    start = 0
    for batch in batches:
        matrices.add(batch, start)
        start += batch.num_rows
    return assembled(source, format_, chosen, stamps, matrices, rows, notes)


def assembled(
    source: str,
    format_: str,
    chosen: Plan,
    stamps: Stamps | None,
    matrices: Matrices,
    rows: NDArray[np.int64],
    notes: Sequence[Note],
) -> Recording:
    """The recording of filled matrices."""
    values = {quantity: matrices.values.get(quantity) for quantity in QUANTITIES}
    positions = values.pop("positions")
    assert positions is not None
    if matrices.rounded:
        notes = [*notes, Note("columns", ROUNDED.format(of_joints(chosen, matrices.rounded)))]
    return Recording(
        source,
        chosen.joints,
        stamps,
        positions,
        **values,
        rows=rows,
        missing=matrices.missing or None,
        notes=tuple(notes),
        layout=Layout(format_, chosen.columns, episodes=chosen.episodes),
        group=None,
    )


def of_joints(chosen: Plan, fields: set[int]) -> str:
    """The joints whose values are in these columns, for a note."""
    cells = (cell for cells in chosen.cells.values() for cell in cells if cell.field in fields)
    return listed(list(dict.fromkeys(chosen.joints[cell.joint] for cell in cells)))


def groups(whole: Recording, name: str, keys: pa.ChunkedArray) -> list[Recording]:
    """A recording for each key, in the order of their first rows; rows that follow each other are not copied."""
    import pyarrow.compute as pc

    encoded = pc.dictionary_encode(keys, null_encoding="encode").combine_chunks()
    codes = encoded.indices.to_numpy(zero_copy_only=False)
    parts = []
    order = np.argsort(codes, kind="stable")
    edges = np.flatnonzero(np.diff(codes[order])) + 1
    for places in np.split(order, edges) if len(order) else []:
        first, last = int(places[0]), int(places[-1])
        rows: slice | NDArray[np.intp] = slice(first, last + 1) if last - first + 1 == len(places) else places
        value = encoded.dictionary[int(codes[first])].as_py()
        part = _part(whole, rows, f"{whole.source}[{name}={printable(str(value))}]")
        key = value if value is None or type(value) is int else str(value)
        parts.append(replace(part, group=Group(name, key)))
    return parts


def _part(whole: Recording, rows: slice | NDArray[np.intp], source: str) -> Recording:
    def part(values: NDArray[np.float64] | None) -> NDArray[np.float64] | None:
        return None if values is None else values[rows]

    return replace(
        whole,
        source=source,
        stamps=None if whole.stamps is None else whole.stamps.part(rows),
        positions=whole.positions[rows],
        velocities=part(whole.velocities),
        accelerations=part(whole.accelerations),
        jerks=part(whole.jerks),
        efforts=part(whole.efforts),
        rows=whole.rows[rows],
        missing=None if whole.missing is None else {name: mask[rows] for name, mask in whole.missing.items()},
    )


def stamps_at_rate(rate_hz: float | None, samples: int) -> Stamps | None:
    """Stamps of a file whose times are not wanted or not there."""
    return None if rate_hz is None else clock.at_rate(samples, rate_hz)


def cells(whole: Recording, quantity: str, joint: int, rows: slice) -> pa.Array:
    """Cells to write, empty where the file had none."""
    absent = whole.absent(quantity)
    values = np.ascontiguousarray(getattr(whole, quantity)[rows, joint])
    return arrow_array(values, None if absent is None else absent[rows, joint])


def arrow_array(values: NDArray[np.generic], absent: NDArray[np.bool_] | None = None) -> pa.Array:
    """Doubles or 64-bit integers for Arrow, whose own conversion would import pandas first (half a second)."""
    import pyarrow as pa

    there = None
    if absent is not None and absent.any():
        there = pa.py_buffer(np.packbits(~absent, bitorder="little"))
    kind = pa.int64() if values.dtype == np.int64 else pa.float64()
    return pa.Array.from_buffers(kind, len(values), [there, pa.py_buffer(np.ascontiguousarray(values))])
