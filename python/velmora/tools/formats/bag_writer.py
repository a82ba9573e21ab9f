# SPDX-License-Identifier: Apache-2.0
"""Writes a rosbag2 in MCAP with one topic of JointState messages, compressed, as ROS's own tools read it."""

from __future__ import annotations

import os
import shutil
import tempfile
from pathlib import Path
from typing import TYPE_CHECKING

import numpy as np
from numpy.typing import NDArray

from velmora.tools.errors import DataError, UsageError
from velmora.tools.formats.bag_decode import JOINT_STATE
from velmora.tools.formats.bag_layout import walk
from velmora.tools.options import WriteOptions
from velmora.tools.recording import QUANTITIES, Recording
from velmora.tools.text import listed

if TYPE_CHECKING:
    from rosbags.typesys.store import Typestore

COMPRESSIONS = ("zstd", "none")
_TOPIC = "/joint_states"
_SECOND = 1_000_000_000
_ROWS_AT_ONCE = 65_536


def write(path: str, recording: Recording, options: WriteOptions, single: bool) -> list[str]:
    """Write a recording as a folder, or as its MCAP file alone.

    Raises
    ------
    DataError
        Without times, with times that the stamp of a message cannot hold, or where no joint has a position.
    """
    if not single:
        return _folder(Path(path), recording, options)
    with tempfile.TemporaryDirectory(prefix=".velmora-bag.", dir=os.path.dirname(path) or ".") as place:
        folder = Path(place) / "bag"
        notes = _folder(folder, recording, options)
        shutil.move(folder / "bag.mcap", path)
    return notes


def _folder(path: Path, recording: Recording, options: WriteOptions) -> list[str]:
    from rosbags.rosbag2 import CompressionFormat, CompressionMode, StoragePlugin, Writer
    from rosbags.typesys import Stores, get_typestore

    if options.compression not in (None, *COMPRESSIONS):
        raise UsageError(f"--compression {options.compression}: {', '.join(COMPRESSIONS)} were expected")
    stamps, notes = _nanoseconds(recording)
    # A bag is played in the order of its log times: where stamps fall, these stay, and so do the rows.
    logs = np.maximum.accumulate(np.maximum(stamps, 0))
    _refuse_unreadable(recording)
    notes += _left_out(recording, options)
    store = get_typestore(Stores.ROS2_HUMBLE)
    writer = Writer(path, version=9, storage_plugin=StoragePlugin.MCAP)
    if options.compression != "none":
        writer.set_compression(CompressionMode.STORAGE, CompressionFormat.ZSTD)
    with writer:
        connection = writer.add_connection(recording.layout.topic or _TOPIC, JOINT_STATE, typestore=store)
        for start in range(0, len(stamps), _ROWS_AT_ONCE):
            rows = np.arange(start, min(start + _ROWS_AT_ONCE, len(stamps)))
            messages: list[memoryview] = [memoryview(b"")] * len(rows)
            for there, part in _by_joints(recording, rows):
                matrix = _serialised(store, recording, options, there, part, stamps[part])
                for place, message in zip((part - start).tolist(), matrix, strict=True):
                    messages[place] = message.data
            for log, content in zip(logs[rows].tolist(), messages, strict=True):
                writer.write(connection, log, content)
    return notes


def _nanoseconds(recording: Recording) -> tuple[NDArray[np.int64], list[str]]:
    if recording.stamps is None:
        raise DataError(
            f"{recording.source}: there is no time; messages need one; --input-rate gives the samples per second"
        )
    values = recording.stamps.values
    if recording.stamps.missing.any():
        raise DataError(f"{recording.source}: a time is missing; messages need one; --missing drop leaves it out")
    notes = []
    if values.dtype != np.int64:
        if not np.isfinite(values).all() or np.abs(values).max(initial=0.0) >= 2.0**31:
            raise DataError(
                f"{recording.source}: a time is not finite or too large for the stamp of a message; seconds below "
                "2^31 were expected"
            )
        rounded = np.rint(values * 1e9).astype(np.int64)
        notes.append("stamps of messages are whole nanoseconds: the times were rounded")
        return rounded, notes
    if len(values) and max(abs(int(values.min())), abs(int(values.max()))) >= 2**31 * _SECOND:
        raise DataError(
            f"{recording.source}: a time is too large for the stamp of a message; seconds below 2^31 were expected"
        )
    return values.astype(np.int64, copy=False), notes


def _refuse_unreadable(recording: Recording) -> None:
    """Refuse to write a bag in which no joint is found again."""
    without = recording.absent("positions")
    if len(recording.rows) == 0 or (without is not None and without.all()):
        raise DataError(
            f"{recording.source}: there is no position of any joint; a bag has messages that name joints with one; "
            "-o with .csv or .parquet holds recordings without"
        )


def _left_out(recording: Recording, options: WriteOptions) -> list[str]:
    """Notes of what messages do not hold."""
    written = [name for name in QUANTITIES if name in options.columns and getattr(recording, name) is not None]
    notes = []
    left = [name for name in written if name in ("accelerations", "jerks")]
    if left:
        notes.append(f"{JOINT_STATE} has no {' and no '.join(left)}: left out")
    beside = [name for name in written if name in ("velocities", "efforts")]
    empty = [name for name in beside if _holes(recording, name)]
    if empty:
        notes.append(f"{JOINT_STATE} has no empty values: missing {' and '.join(empty)} became nan")
    without = recording.absent("positions")
    if without is None:
        return notes
    only = f"{JOINT_STATE} names joints that have a position:"
    lone = [name for name in beside if _lone(recording, name, without)]
    if lone:
        notes.append(f"{only} {' and '.join(lone)} without one left out")
    nowhere = [joint for place, joint in enumerate(recording.joints) if without[:, place].all()]
    if nowhere:
        notes.append(f"{only} joints without any left out ({listed(nowhere)})")
    return notes


def _lone(recording: Recording, quantity: str, without: NDArray[np.bool_]) -> bool:
    """Whether a quantity is there where there is no position."""
    missing = recording.absent(quantity)
    return bool((without if missing is None else without & ~missing).any())


def _holes(recording: Recording, quantity: str) -> bool:
    """Whether a quantity is missing where there is a position, whose message then has a place for it."""
    missing, without = recording.absent(quantity), recording.absent("positions")
    return missing is not None and bool((missing if without is None else missing & ~without).any())


def _by_joints(recording: Recording, rows: NDArray[np.intp]) -> list[tuple[NDArray[np.intp], NDArray[np.intp]]]:
    """The rows that hold the same joints, with these: a missing joint is left out of its message."""
    everything = np.arange(len(recording.joints))
    missing = recording.absent("positions")
    if missing is None:
        return [(everything, rows)]
    patterns, which = np.unique(missing[rows], axis=0, return_inverse=True)
    return [(everything[~pattern], rows[which.ravel() == index]) for index, pattern in enumerate(patterns)]


def _serialised(
    store: Typestore,
    recording: Recording,
    options: WriteOptions,
    there: NDArray[np.intp],
    rows: NDArray[np.intp],
    stamps: NDArray[np.int64],
) -> NDArray[np.uint8]:
    """Messages as rows of bytes: one is serialised, and the numbers of the others are put into copies of it."""
    quantities = {"positions": "position", "velocities": "velocity", "efforts": "effort"}
    values = {
        field: np.ascontiguousarray(getattr(recording, quantity)[np.ix_(rows, there)])
        for quantity, field in quantities.items()
        if quantity in options.columns and getattr(recording, quantity) is not None
    }
    types = store.types
    empty = np.empty(0)
    message = types[JOINT_STATE](
        types["std_msgs/msg/Header"](types["builtin_interfaces/msg/Time"](0, 0), ""),
        [recording.joints[joint] for joint in there],
        *(values[field][0] if field in values else empty for field in quantities.values()),
    )
    one = np.frombuffer(bytes(store.serialize_cdr(message, JOINT_STATE)), np.uint8)
    spans = walk(one.tobytes(), 0, len(one), JOINT_STATE, store.fielddefs, True).spans
    matrix = np.tile(one, (len(rows), 1))
    seconds, nanoseconds = np.divmod(stamps, _SECOND)
    for name, numbers, kind in (("sec", seconds, "<i4"), ("nanosec", nanoseconds, "<u4")):
        offset = spans[f"header.stamp.{name}"].offset
        matrix[:, offset : offset + 4] = numbers.astype(kind)[:, np.newaxis].view(np.uint8)
    for field, numbers in values.items():
        offset = spans[field].offset
        matrix[:, offset : offset + 8 * len(there)] = numbers.astype("<f8", copy=False).view(np.uint8)
    return matrix
