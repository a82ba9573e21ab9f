# SPDX-License-Identifier: Apache-2.0
"""What a file says about the joints of a robot: names, time stamps, values, and where each of them came from."""

from __future__ import annotations

from dataclasses import dataclass
from functools import cached_property
from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray

# The quantities of a joint, in the order of its derivatives; fields of `Recording` have these names.
QUANTITIES = ("positions", "velocities", "accelerations", "jerks", "efforts")
# Nanoseconds in each unit that a time stamp may have in a file.
UNIT_NS = {"s": 1_000_000_000, "ms": 1_000_000, "us": 1_000, "ns": 1}
# A missing stamp among integers, numpy's NaT; among doubles it is NaN.
MISSING_NS = -(2**63)


class Note(NamedTuple):
    """Something that a reader recognised or chose, such as ("time", "column 'stamp' by its name, in ns")."""

    key: str
    text: str


class Column(NamedTuple):
    """A column as the file names it: of times (no joint), or of one quantity of a joint.

    Where one column of the file holds a list of all joints, `element` is the place in the list.
    """

    name: str
    quantity: str  # "time" or one of QUANTITIES
    joint: str = ""
    element: int | None = None


class Group(NamedTuple):
    """The value of a column that the rows of a recording have in common, and the column's name."""

    column: str
    key: str | int | None


@dataclass(frozen=True)
class Layout:
    """The form that the file gave to the data, so that the same form can be written again.

    Attributes
    ----------
    message
        The number of the message, counted from 1, where each message of the topic is a recording of its own.
    episodes
        A column that was left out, whose values may tell recordings apart.
    """

    format: str
    columns: tuple[Column, ...] = ()
    topic: str = ""
    message_type: str = ""
    message: int | None = None
    episodes: str = ""


@dataclass(frozen=True)
class Stamps:
    """Time stamps as the file holds them.

    Attributes
    ----------
    values
        Shape (N,): int64 nanoseconds wherever the stamps are whole nanoseconds, otherwise float64 seconds.
        Missing ones are `MISSING_NS` or NaN.
    unit
        Unit in the file: "s", "ms", "us" or "ns".
    doubles
        Shape (N,): the numbers of the file where seconds do not give back all of their bits; None elsewhere.
    """

    values: NDArray[np.int64] | NDArray[np.float64]
    unit: str = "s"
    doubles: NDArray[np.float64] | None = None

    @property
    def origin(self) -> int | float:
        """First stamp that is there: integer nanoseconds, or seconds. The first of all where none is finite."""
        first: int | float = self.values[int(np.argmax(self.there))].item()
        return first

    @property
    def missing(self) -> NDArray[np.bool_]:
        """Which stamps are missing, shape (N,)."""
        return self.values == MISSING_NS if self.values.dtype == np.int64 else np.isnan(self.values)

    @property
    def there(self) -> NDArray[np.bool_]:
        """Which stamps are neither missing nor infinite, shape (N,)."""
        return self.values != MISSING_NS if self.values.dtype == np.int64 else np.isfinite(self.values)

    def part(self, rows: slice | NDArray[np.bool_] | NDArray[np.intp]) -> Stamps:
        """Some of the stamps."""
        return Stamps(self.values[rows], self.unit, None if self.doubles is None else self.doubles[rows])

    def in_unit(self) -> NDArray[np.float64]:
        """The stamps in the unit of the file, shape (N,)."""
        if self.doubles is not None:
            return self.doubles
        scale = UNIT_NS[self.unit]
        numbers = self.values / scale if self.values.dtype == np.int64 else self.values * (1e9 / scale)
        return np.asarray(numbers, dtype=np.float64)

    def seconds(self) -> NDArray[np.float64]:
        """Seconds after the first stamp; integers are subtracted before they are divided, so nothing is lost.

        NaN where a stamp is missing. The array is computed once and cannot be written to.
        """
        return self._seconds

    @cached_property
    def _seconds(self) -> NDArray[np.float64]:
        values = self.values
        if len(values) == 0:
            found = np.empty(0)
        elif values.dtype != np.int64:
            with np.errstate(invalid="ignore", over="ignore"):
                found = np.asarray(values - self.origin if self.origin != 0.0 else values, dtype=np.float64).view()
        elif (missing := self.missing).any():
            filler = 0 if missing.all() else self.origin
            found = Stamps(np.where(missing, filler, values), self.unit).seconds().copy()
            found[missing] = np.nan
        elif int(values.max()) - int(values.min()) < 2**63:
            found = (values - values[0]) / 1e9
        else:
            found = (values.astype(np.float64) - float(values[0])) / 1e9
        found.flags.writeable = False
        return found


@dataclass(frozen=True)
class Recording:
    """What a file says, broken or not: falling stamps, missing cells and gaps are still in it.

    Attributes
    ----------
    source
        What messages begin with: ``log.csv``, ``data.parquet[episode_index=3]``, ``bag[/joint_states]``.
    joints
        Names of the joints, J of them, without control characters, all different.
    stamps
        Time stamps, or None where the file has none and no rate was given.
    positions, velocities, accelerations, jerks, efforts
        Shape (N, J), NaN where missing; None where the file has none. Radians or metres and seconds unless the units
        of the file were to be kept.
    rows
        Shape (N,): the row of each sample in the file, counted from 1 as an editor or a viewer does (lines of a text,
        rows of a table, messages of a bag).
    missing
        Shape (N, J) for a quantity: where the file has no cell, as opposed to a cell that says nan. Quantities of which
        every cell is there have none; None: every cell of all.
    notes
        What the reader recognised or chose.
    layout
        The form of the file.
    group
        What the rows have in common, where a table was read group by group.
    """

    source: str
    joints: tuple[str, ...]
    stamps: Stamps | None
    positions: NDArray[np.float64]
    velocities: NDArray[np.float64] | None
    accelerations: NDArray[np.float64] | None
    jerks: NDArray[np.float64] | None
    efforts: NDArray[np.float64] | None
    rows: NDArray[np.int64]
    missing: dict[str, NDArray[np.bool_]] | None
    notes: tuple[Note, ...]
    layout: Layout
    group: Group | None = None

    def absent(self, quantity: str) -> NDArray[np.bool_] | None:
        """Where the file has no cell of a quantity, shape (N, J); None where every cell is there."""
        return None if self.missing is None else self.missing.get(quantity)
