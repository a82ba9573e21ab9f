# SPDX-License-Identifier: Apache-2.0
"""Numbers of a file that doubles do not have: finite ones that became infinite, whole ones that were rounded."""

from __future__ import annotations

import math
from collections.abc import Callable, Iterable, Iterator
from decimal import Decimal
from typing import TYPE_CHECKING

import numpy as np
from numpy.typing import NDArray

from velmora.tools.formats.arrow_columns import INFINITE, ROUNDED, numbers
from velmora.tools.formats.plan import Plan
from velmora.tools.recording import Note
from velmora.tools.text import listed

if TYPE_CHECKING:
    import pyarrow as pa

WHOLE_BELOW = 2.0**53  # doubles have all whole numbers up to it


def notes(chosen: Plan, table: pa.Table, as_text: Callable[[list[int]], pa.Table]) -> list[Note]:
    """What a table of doubles lost of its text, which is looked at only where there are large numbers.

    Parameters
    ----------
    as_text
        Gives the columns with these indexes as text.
    """
    joints = {cell.field: chosen.joints[cell.joint] for cells in chosen.cells.values() for cell in cells}
    large = {field: rows for field in sorted(joints) if len(rows := _large(table.column(str(field))))}
    if not large:
        return []
    texts = as_text(list(large))
    return lost(
        (joints[field], cell) for field, rows in large.items() for cell in _cells(texts.column(str(field)), rows)
    )


def lost(cells: Iterable[tuple[str, str]]) -> list[Note]:
    """Notes of the numbers that doubles do not have; `cells` are joints and large numbers as the file writes them."""
    found: dict[str, dict[str, None]] = {INFINITE: {}, ROUNDED: {}}
    for joint, cell in cells:
        value = float(cell)
        if math.isinf(value) and cell.lstrip("+-")[0] not in "iI":
            found[INFINITE][joint] = None
        elif cell.lstrip("+-").isdigit() and int(cell) not in (int(value), int(Decimal(repr(value)))):
            found[ROUNDED][joint] = None
    return [Note("columns", text.format(listed(list(joints)))) for text, joints in found.items() if joints]


def _large(column: pa.ChunkedArray) -> NDArray[np.intp]:
    """Rows with numbers beyond those whole numbers that doubles have all of."""
    found, start = [np.empty(0, np.intp)], 0
    for chunk in column.chunks:
        values, _ = numbers(chunk)
        # Two passes without memory of their own; NaN, which fails both comparisons, takes another.
        if len(values) and not (values.max() < WHOLE_BELOW and values.min() > -WHOLE_BELOW):
            found.append(start + np.flatnonzero(np.abs(values) >= WHOLE_BELOW))
        start += len(values)
    return np.concatenate(found)


def _cells(column: pa.ChunkedArray, rows: NDArray[np.intp]) -> Iterator[str]:
    import pyarrow as pa

    for cell in column.take(pa.array(rows)):
        yield cell.as_py().strip()
