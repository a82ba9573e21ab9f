# SPDX-License-Identifier: Apache-2.0
"""The golden corpus of the C++ tests as calls of the package: arguments in, results out, as words of 64 bits."""

from __future__ import annotations

import struct
from collections.abc import Callable, Iterator
from typing import Any

import numpy as np
import velmora as vm
from numpy.typing import NDArray

Arrays = list[NDArray[np.float64]]


class Reader:
    """Takes the calls apart."""

    def __init__(self, data: bytes) -> None:
        self._data = data
        self._at = 0

    def integer(self) -> int:
        value: int = struct.unpack_from("=q", self._data, self._at)[0]
        self._at += 8
        return value

    def number(self) -> float:
        value: float = struct.unpack_from("=d", self._data, self._at)[0]
        self._at += 8
        return value

    def text(self) -> str:
        size = self.integer()
        self._at += size
        return self._data[self._at - size : self._at].decode(errors="surrogateescape")

    def matrix(self) -> NDArray[np.float64]:
        rows, cols = self.integer(), self.integer()
        values = np.frombuffer(self._data, np.float64, rows * cols, self._at).reshape(rows, cols)
        self._at += values.nbytes
        return values

    def vector(self) -> NDArray[np.float64]:
        return self.matrix()[:, 0]

    def optional(self, read: Callable[[], Any]) -> Any:
        return read() if self.integer() else None

    def number_or_vector(self) -> Any:
        return self.vector() if self.integer() else self.number()

    def trajectory(self) -> tuple[Any, ...]:
        return (
            self.matrix(),
            self.optional(self.matrix),
            self.optional(self.matrix),
            self.optional(self.vector),
            self.optional(self.number),
            self.optional(self.matrix),
        )

    def box(self) -> tuple[Any, ...]:
        return self.vector(), self.vector()

    def at_end(self) -> bool:
        return self._at == len(self._data)


def calls(data: bytes) -> Iterator[Callable[[], Arrays]]:
    """Every call, ready to be made; its arguments are read before it."""
    reader = Reader(data)
    kinds = (_make, _copy, _sample, _resample, _difference, _blend, _path, _tail, _box, _limits, _scalar, _parse)
    while not reader.at_end():
        yield kinds[reader.integer()](reader)


def pack_result(call: Callable[[], Arrays]) -> bytes:
    """What the call gives, or the failure."""
    try:
        arrays = call()
    except vm.InvalidArgumentError as error:
        message, name = str(error).encode(errors="surrogateescape"), error.argument_name
        packed_name = b"" if name is None else struct.pack("=q", len(name)) + name.encode()
        return struct.pack("=qq", 1, len(message)) + message + struct.pack("=q", name is not None) + packed_name
    except MemoryError:
        return struct.pack("=q", 2)
    tables = [array[:, np.newaxis] if array.ndim == 1 else array for array in arrays]
    return struct.pack("=qq", 0, len(tables)) + b"".join(
        struct.pack("=qq", len(table), table.shape[1]) + table.tobytes() for table in tables
    )


def _all(trajectory: vm.JointTrajectory) -> Arrays:
    return [
        trajectory.time,
        trajectory.positions,
        trajectory.velocities,
        trajectory.accelerations,
        trajectory.jerks,
    ]


def _one(value: float) -> Arrays:
    return [np.array([[value]], np.float64)]


def _make(reader: Reader) -> Callable[[], Arrays]:
    arguments = reader.trajectory()
    return lambda: _all(vm.JointTrajectory(*arguments))


def _copy(reader: Reader) -> Callable[[], Arrays]:
    arguments, level = reader.trajectory(), reader.integer()

    def call() -> Arrays:
        trajectory = vm.JointTrajectory(*arguments)
        for name in ("velocities", "accelerations", "jerks")[:level]:
            getattr(trajectory, name)
        return _all(trajectory.copy())

    return call


def _sample(reader: Reader) -> Callable[[], Arrays]:
    arguments, queries, derivatives = reader.trajectory(), reader.vector(), bool(reader.integer())
    return lambda: _all(vm.sample_trajectory_at_times(vm.JointTrajectory(*arguments), queries, derivatives))


def _resample(reader: Reader) -> Callable[[], Arrays]:
    arguments, spacing = reader.trajectory(), reader.number()
    method, mode, strict = reader.integer(), reader.integer(), bool(reader.integer())
    options: Any = (method, mode, strict)
    return lambda: _all(vm.resample_trajectory(vm.JointTrajectory(*arguments), spacing, *options))


def _difference(reader: Reader) -> Callable[[], Arrays]:
    signal, spacing = reader.matrix(), reader.number_or_vector()
    return lambda: [vm.sample_aligned_first_difference(signal, spacing)]


def _blend(reader: Reader) -> Callable[[], Arrays]:
    raw, shaped, weight = reader.matrix(), reader.matrix(), reader.number_or_vector()
    return lambda: [vm.blend_arrays(raw, shaped, weight)]


def _path(reader: Reader) -> Callable[[], Arrays]:
    positions = reader.matrix()
    return lambda: [vm.joint_path_coordinate(positions)]


def _tail(reader: Reader) -> Callable[[], Arrays]:
    position = reader.vector()
    fields = reader.matrix(), reader.matrix(), reader.matrix(), reader.vector()
    weight = reader.number()

    def call() -> Arrays:
        blend = vm.blend_tail_with_held_raw_endpoint(position, vm.ShapedTrajectory(*fields), weight)
        return [blend.positions, blend.velocities, blend.accelerations, blend.time]

    return call


def _box(reader: Reader) -> Callable[[], Arrays]:
    limits = reader.box()

    def call() -> Arrays:
        box = vm.JointStateBox(*limits)
        return [box.lower, box.upper]

    return call


def _limits(reader: Reader) -> Callable[[], Arrays]:
    given = [reader.optional(reader.box) for _ in range(4)]

    def call() -> Arrays:
        limits = vm.JointStateLimits(*(None if box is None else vm.JointStateBox(*box) for box in given))
        boxes = (limits.position, limits.velocity, limits.acceleration, limits.jerk)
        return [box.upper for box in boxes if box is not None]

    return call


def _scalar(reader: Reader) -> Callable[[], Arrays]:
    routine, value = reader.integer(), reader.number()
    validators = (
        vm.validate_vibration_shaping_weight,
        vm.validate_vibration_weight_transition_s,
        vm.validate_vibration_weight_rate_per_s,
    )

    def call() -> Arrays:
        if routine == len(validators):
            return _one(vm.smootherstep(value))
        validators[routine](value)
        return []

    return call


def _parse(reader: Reader) -> Callable[[], Arrays]:
    grid_mode, text = reader.integer(), reader.text()
    if grid_mode:
        return lambda: _one(vm.parse_resampling_time_grid_mode(text))
    return lambda: _one(vm.parse_resampling_method(text))
