# SPDX-License-Identifier: Apache-2.0
"""What a caller may say about reading and writing a file; immutable, so that they travel to other processes."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Literal, get_args

from velmora.tools.errors import UsageError
from velmora.tools.text import quoted

TimeUnit = Literal["auto", "s", "ms", "us", "ns"]
TimeFrom = Literal["header", "log"]


@dataclass(frozen=True)
class ReadOptions:
    """How to read a file; the defaults recognise everything by themselves.

    Attributes
    ----------
    format
        One of `velmora.tools.formats.FORMATS`; None: by the name of the file.
    time_column
        Name of the column with the times; None: by the names that such columns have.
    time_unit
        Unit of the times; auto: by the column's name, its type, or the size of its numbers.
    rate_hz
        Samples per second; the times of the file, if any, are then left aside.
    joints
        Names or patterns (``arm_*``) of the joints to read, in this order; empty: all of them.
    degrees
        The file holds degrees, except in columns whose names say another unit.
    keep_units
        Take numbers as they stand, even where a column is named as degrees.
    group_by
        A column of a table; each of its values makes a recording of its own.
    topic
        The topic of a bag; None: every topic that holds joints.
    time_from
        Where the times of messages come from: their header, or the time they were logged at.
    salvage
        Read what can be read of a broken bag.
    """

    format: str | None = None
    time_column: str | None = None
    time_unit: TimeUnit = "auto"
    rate_hz: float | None = None
    joints: tuple[str, ...] = ()
    degrees: bool = False
    keep_units: bool = False
    group_by: str | None = None
    topic: str | None = None
    time_from: TimeFrom = "header"
    salvage: bool = False

    def __post_init__(self) -> None:
        """Refuse what type checkers would refuse: programs go without them."""
        if isinstance(self.joints, str):
            raise UsageError(f"joints is {quoted(self.joints)}; a list of names was expected")
        for name, value, known in (
            ("time_unit", self.time_unit, get_args(TimeUnit)),
            ("time_from", self.time_from, get_args(TimeFrom)),
        ):
            if value not in known:
                raise UsageError(f"{name} is {quoted(str(value))}; {', '.join(known)} were expected")


@dataclass(frozen=True)
class WriteOptions:
    """How to write a file.

    Attributes
    ----------
    format
        One of `velmora.tools.formats.FORMATS`; None: by the name of the file.
    columns
        Which quantities to write, of those that the recording has.
    compression
        Of Parquet and Feather: "zstd", "lz4", "snappy" (Parquet) or "none"; of bags "zstd" or "none". None: zstd.
    """

    format: str | None = None
    columns: tuple[str, ...] = ("positions", "velocities", "accelerations", "jerks", "efforts")
    compression: str | None = None
