# SPDX-License-Identifier: Apache-2.0
"""Turns serialised messages into matrices, all those of one layout at once.

The names of joints rarely change from message to message, so that every number stands at the same place in each: one
message is taken apart field by field, and all others whose remaining bytes are equal are read as a matrix.
"""

from __future__ import annotations

from typing import NamedTuple

import numpy as np
from numpy.typing import NDArray

from velmora.tools.columns import clean
from velmora.tools.errors import DataError
from velmora.tools.formats.bag_layout import BadMessage, Definitions, Layout, Span, walk
from velmora.tools.formats.plan import MAX_COLUMNS
from velmora.tools.text import count, quoted

JOINT_STATE = "sensor_msgs/msg/JointState"
TRAJECTORY = "trajectory_msgs/msg/JointTrajectory"
CONTROLLER_STATES = ("control_msgs/msg/JointTrajectoryControllerState",)
TYPES = (JOINT_STATE, TRAJECTORY, *CONTROLLER_STATES)
# Where a joint's name and its quantities stand in each type; of a controller's state what was measured.
_STATE_FIELDS = {"positions": "position", "velocities": "velocity", "efforts": "effort"}
_POINT_FIELDS = {
    "positions": "positions",
    "velocities": "velocities",
    "accelerations": "accelerations",
    "efforts": "effort",
}
_MEASURED = ("feedback", "actual")
_STAMP = ("header.stamp.sec", "header.stamp.nanosec")
# What the definition in a bag must have; it comes with the bag and may hold anything.
_REQUIRED = {
    JOINT_STATE: (*_STAMP, "name", "position", "velocity", "effort"),
    TRAJECTORY: (*_STAMP, "joint_names", "points.length"),
    **{kind: (*_STAMP, "joint_names") for kind in CONTROLLER_STATES},
}
# So many layouts are looked for within a block before its messages are taken one by one.
_LAYOUTS_PER_BLOCK = 32


class Channel(NamedTuple):
    """A topic of a bag with the type of its messages."""

    id: int
    topic: str
    type: str
    definition: str = ""
    idl: bool = False
    encoding: str = "cdr"


class Block(NamedTuple):
    """Messages of one channel: where each stands in some bytes, and when it was logged."""

    channel: int
    data: bytes | memoryview
    starts: NDArray[np.int64]
    lengths: NDArray[np.int64]
    log_ns: NDArray[np.int64]


class Piece(NamedTuple):
    """Samples of some messages that name the same joints in the same order."""

    messages: NDArray[np.int64]  # number of each sample's message, from 0
    names: tuple[str, ...]
    stamp_ns: NDArray[np.int64]
    offset_ns: NDArray[np.int64]  # from the stamp to the sample
    log_ns: NDArray[np.int64]
    values: dict[str, NDArray[np.float64]]


class Decoder:
    """Collects the samples of one channel."""

    def __init__(self, source: str, channel: Channel, known: Definitions, salvage: bool) -> None:
        """Prepare for messages of the channel's type; `salvage` leaves those out that cannot be read."""
        self.source, self.channel, self.known, self.salvage = source, channel, known, salvage
        self.cdr = channel.encoding == "cdr"
        self.pieces: list[Piece] = []
        self.messages = 0
        self.lost = 0
        self._first_fault = ""

    @property
    def problem(self) -> str:
        """What was left out, and why."""
        lost = f"{count(self.lost, 'message')} on {quoted(self.channel.topic)}"
        return f"{lost} cannot be read, first {self._first_fault}"

    def add(self, block: Block) -> None:
        """Decode the messages of a block."""
        first = self.messages
        self.messages += len(block.starts)
        pending = np.arange(len(block.starts))
        for _ in range(_LAYOUTS_PER_BLOCK):
            if len(pending) == 0:
                return
            pending = self._add_alike(block, pending, first)
        for index in pending:
            self._add_alike(block, np.array([index]), first)

    def _add_alike(self, block: Block, pending: NDArray[np.intp], first: int) -> NDArray[np.intp]:
        """Decode the first of the messages and all that are laid out as it is; the others are returned."""
        before = len(self.pieces)
        alike = np.arange(len(pending)) == 0
        try:
            layout = self._layout(block, int(pending[0]), first)
            alike, matrix = _alike(block, pending, layout)
            self._take(layout, block, pending[alike], matrix, first)
        except DataError as error:
            if not self.salvage:
                raise
            del self.pieces[before:]
            self._first_fault = self._first_fault or str(error).removeprefix(f"{self.source}:").partition(";")[0]
            self.lost += int(np.count_nonzero(alike))
        others: NDArray[np.intp] = pending[~alike]
        return others

    def _layout(self, block: Block, index: int, first: int) -> Layout:
        start = int(block.starts[index])
        try:
            layout = walk(block.data, start, start + int(block.lengths[index]), self.channel.type, self.known, self.cdr)
            for path in _REQUIRED[self.channel.type]:
                if path not in layout.spans:
                    raise BadMessage(f"its definition has no field {quoted(path)}")
            return layout
        except BadMessage as error:
            raise DataError(
                f"{self.source}:{first + index + 1}: the message is no {self.channel.type}: {error}; "
                "one whole message was expected; --salvage leaves it out"
            ) from error

    def _take(
        self, layout: Layout, block: Block, indices: NDArray[np.intp], matrix: NDArray[np.uint8], first: int
    ) -> None:
        messages = first + indices.astype(np.int64)
        stamps = _time(matrix, layout, "header.stamp")
        logs = block.log_ns[indices]
        if self.channel.type == TRAJECTORY:
            points = layout.spans["points.length"].number
            for point in range(points):
                path = f"points.{point}."
                self._piece(
                    layout,
                    matrix,
                    "joint_names",
                    path,
                    _POINT_FIELDS,
                    messages,
                    stamps,
                    _time(matrix, layout, f"{path}time_from_start"),
                    logs,
                )
            return
        offsets = np.zeros(len(indices), np.int64)
        if self.channel.type == JOINT_STATE:
            self._piece(layout, matrix, "name", "", _STATE_FIELDS, messages, stamps, offsets, logs)
            return
        measured = next((name for name in _MEASURED if f"{name}.positions" in layout.spans), None)
        if measured is None:
            raise DataError(
                f"{self.source}: the state of the controller has neither {' nor '.join(map(quoted, _MEASURED))}"
            )
        self._piece(layout, matrix, "joint_names", f"{measured}.", _POINT_FIELDS, messages, stamps, offsets, logs)

    def _piece(
        self,
        layout: Layout,
        matrix: NDArray[np.uint8],
        names_path: str,
        prefix: str,
        fields: dict[str, str],
        messages: NDArray[np.int64],
        stamps: NDArray[np.int64],
        offsets: NDArray[np.int64],
        logs: NDArray[np.int64],
    ) -> None:
        names = tuple(clean(name) for name in layout.spans[names_path].strings)
        where = f"{self.source}:{messages[0] + 1}"
        if len(set(names)) != len(names) or "" in names:
            raise DataError(
                f"{where}: the joints are called {', '.join(map(quoted, names[:8]))}; different names were expected"
            )
        if len(names) > MAX_COLUMNS:
            raise DataError(f"{where}: there are {len(names):,} joints; at most {MAX_COLUMNS:,} were expected")
        values = {}
        for quantity, field in fields.items():
            span = layout.spans.get(f"{prefix}{field}")
            if span is None or span.number == 0:
                continue
            if span.number != len(names):
                raise DataError(
                    f"{where}: there are {count(len(names), 'joint')} and {span.number} {quantity}; as many "
                    "were expected, or none; --salvage leaves it out"
                )
            values[quantity] = _numbers(matrix, span, layout.little)
        self.pieces.append(Piece(messages, names, stamps, offsets, logs, values))


def _alike(block: Block, pending: NDArray[np.intp], layout: Layout) -> tuple[NDArray[np.bool_], NDArray[np.uint8]]:
    """Which of the messages have the layout of the first, and these as a matrix of bytes."""
    same_size = block.lengths[pending] == layout.size
    matrix = _matrix(block, pending[same_size], layout.size)
    varies = np.zeros(layout.size, np.bool_)
    for path, span in layout.spans.items():
        if span.kind == "float64":
            varies[span.offset : span.offset + 8 * span.number] = True
        elif path.endswith((".sec", ".nanosec", ".seq")):
            varies[span.offset : span.offset + 4] = True
    equal = np.ones(len(matrix), np.bool_)
    edges = np.flatnonzero(np.diff(np.concatenate(([True], varies, [True])).astype(np.int8)))
    for start, stop in zip(edges[::2], edges[1::2], strict=True):
        equal &= (matrix[:, start:stop] == matrix[0, start:stop]).all(axis=1)
    alike = same_size
    alike[same_size] = equal
    return alike, matrix if equal.all() else matrix[equal]


def _matrix(block: Block, indices: NDArray[np.intp], size: int) -> NDArray[np.uint8]:
    """Messages of one size as rows of bytes."""
    content = np.frombuffer(block.data, np.uint8)
    starts = block.starts[indices]
    if len(starts) > 1:
        stride = int(starts[1] - starts[0])
        if stride >= size and (np.diff(starts) == stride).all():
            return np.lib.stride_tricks.as_strided(
                content[starts[0] :], (len(starts), size), (stride, 1), writeable=False
            )
    rows: NDArray[np.uint8] = content[starts[:, np.newaxis] + np.arange(size)]
    return rows


def _numbers(matrix: NDArray[np.uint8], span: Span, little: bool) -> NDArray[np.float64]:
    if span.kind != "float64":
        raise DataError(f"a field of joints holds {span.kind}; float64 was expected")
    content = np.ascontiguousarray(matrix[:, span.offset : span.offset + 8 * span.number])
    return content.view("<f8" if little else ">f8").astype(np.float64, copy=False)


def _time(matrix: NDArray[np.uint8], layout: Layout, path: str) -> NDArray[np.int64]:
    order = "<" if layout.little else ">"
    parts = []
    for name, kind in (("sec", "i4"), ("nanosec", "u4")):
        span = layout.spans.get(f"{path}.{name}")
        if span is None or span.kind not in ("int32", "uint32"):
            raise DataError(f"the definition of a message has no whole seconds and nanoseconds in {quoted(path)}")
        offset = span.offset
        parts.append(np.ascontiguousarray(matrix[:, offset : offset + 4]).view(order + kind)[:, 0].astype(np.int64))
    seconds, nanoseconds = parts
    return seconds * 1_000_000_000 + nanoseconds
