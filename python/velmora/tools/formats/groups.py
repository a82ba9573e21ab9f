# SPDX-License-Identifier: Apache-2.0
"""Puts the groups of a table back into one table, with the column that tells them apart."""

from __future__ import annotations

import re
from collections.abc import Sequence
from dataclasses import dataclass, replace
from typing import TYPE_CHECKING

import numpy as np
from numpy.typing import NDArray

from velmora.tools.errors import DataError
from velmora.tools.formats.csv_dialect import COMMENT_MARKS, EMPTY_CELLS
from velmora.tools.recording import QUANTITIES, Recording, Stamps
from velmora.tools.text import quoted

if TYPE_CHECKING:
    import pyarrow as pa


@dataclass(frozen=True)
class Labels:
    """A column that names the group of every row: its keys, and how many rows each of them has."""

    column: str
    keys: tuple[str | int | None, ...]
    counts: tuple[int, ...]

    def array(self) -> pa.Array:
        """The column: integers where all keys are such, otherwise text."""
        import pyarrow as pa

        texts = [None if key is None else str(key) for key in self.keys]
        whole = all(text is None or re.fullmatch(r"0|-?[1-9]\d{0,17}", text) for text in texts)
        numbers = [None if text is None else int(text) for text in texts] if whole else []
        keys = pa.array(numbers, pa.int64()) if whole else pa.array(texts, pa.string())
        return keys.take(pa.array(np.repeat(np.arange(len(texts)), self.counts)))

    def refuse_lost_in_text(self, source: str, separator: str) -> None:
        """Refuse keys that a text would have to quote."""
        for key in self.keys:
            if isinstance(key, str) and (reason := _lost_in_text(key, separator)) is not None:
                raise DataError(
                    f"{source}: column {quoted(self.column)} holds {quoted(key)}, which {reason} were expected in "
                    "text; -o with .parquet holds any"
                )


def _lost_in_text(key: str, separator: str) -> str | None:
    """What a reader would take the key for, and which keys it would not."""
    if re.search(rf'["\r\n{separator}]', key):
        return "separates cells; keys without separators"
    if any(mark in key for mark in COMMENT_MARKS):
        return "begins a comment; keys without the marks of comments"
    if key in EMPTY_CELLS:
        return "stands for an empty cell; other keys"
    return None


def together(parts: Sequence[Recording]) -> tuple[Recording, Labels]:
    """The groups of one table, one below the other, and their labels."""
    first = parts[0]
    assert first.group is not None

    def joined(quantity: str) -> NDArray[np.float64] | None:
        values = [getattr(part, quantity) for part in parts]
        # Column by column in memory, as they are written.
        return None if values[0] is None else np.concatenate([matrix.T for matrix in values], axis=1).T

    positions = joined("positions")
    assert positions is not None

    def absent(part: Recording, quantity: str) -> NDArray[np.bool_]:
        known = part.absent(quantity)
        return np.zeros(part.positions.shape, np.bool_) if known is None else known

    missing = {
        quantity: np.concatenate([absent(part, quantity) for part in parts])
        for quantity in QUANTITIES
        if any(part.absent(quantity) is not None for part in parts)
    }
    whole = replace(
        first,
        stamps=_stamps(parts),
        positions=positions,
        velocities=joined("velocities"),
        accelerations=joined("accelerations"),
        jerks=joined("jerks"),
        efforts=joined("efforts"),
        rows=np.concatenate([part.rows for part in parts]),
        missing=missing or None,
    )
    keys = tuple(None if part.group is None else part.group.key for part in parts)
    return whole, Labels(first.group.column, keys, tuple(len(part.rows) for part in parts))


def _stamps(parts: Sequence[Recording]) -> Stamps | None:
    stamps = [part.stamps for part in parts if part.stamps is not None]
    if len(stamps) < len(parts):
        return None
    if all(part.values.dtype == np.int64 for part in stamps):
        return Stamps(np.concatenate([part.values.astype(np.int64, copy=False) for part in stamps]), stamps[0].unit)
    seconds = [
        np.where(part.missing, np.nan, part.values / 1e9) if part.values.dtype == np.int64 else part.values
        for part in stamps
    ]
    exact = all(part.doubles is None for part in stamps)
    return Stamps(
        np.concatenate(seconds).astype(np.float64, copy=False),
        stamps[0].unit,
        None if exact else np.concatenate([part.in_unit() for part in stamps]),
    )
