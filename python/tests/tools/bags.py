# SPDX-License-Identifier: Apache-2.0
"""Bags for the tests: messages, whole bags of them, and what is read from those."""

from pathlib import Path
from typing import Any

import numpy as np
from rosbags.rosbag1 import Writer as Writer1
from rosbags.rosbag2 import CompressionFormat, CompressionMode, StoragePlugin, Writer
from rosbags.typesys import Stores, get_types_from_msg, get_typestore
from velmora.tools.recording import Recording

STORE = get_typestore(Stores.ROS2_HUMBLE)
STATE = "sensor_msgs/msg/JointState"
CONTROLLER = "control_msgs/msg/JointTrajectoryControllerState"
STORE.register(
    get_types_from_msg(
        "std_msgs/Header header\nstring[] joint_names\n"
        + "".join(
            f"trajectory_msgs/JointTrajectoryPoint {name}\n" for name in ("reference", "feedback", "error", "output")
        ),
        CONTROLLER,
    )
)
EPOCH = 1_700_000_000 * 10**9


def time_of(ns: int, store: Any = STORE, kind: str = "Time") -> Any:
    return store.types[f"builtin_interfaces/msg/{kind}"](ns // 10**9, ns % 10**9)


def header(ns: int, store: Any = STORE) -> Any:
    stamp = time_of(ns, store)
    return store.types["std_msgs/msg/Header"](*((7,) if store is not STORE else ()), stamp, "base")


def state(ns: int, names: list[str], *values: list[float], store: Any = STORE) -> Any:
    return store.types[STATE](header(ns, store), names, *(np.array(part, float) for part in values))


def point(values: list[float], ns: int = 0) -> Any:
    empty = np.empty(0)
    return STORE.types["trajectory_msgs/msg/JointTrajectoryPoint"](
        np.array(values, float), np.array(values, float) * 2, empty, empty, time_of(ns, kind="Duration")
    )


def bag(
    path: Path,
    messages: list[tuple[str, str, int, Any]],
    *,
    plugin: StoragePlugin = StoragePlugin.MCAP,
    compression: CompressionMode = CompressionMode.NONE,
) -> Path:
    writer = Writer(path, version=9, storage_plugin=plugin)
    writer.set_compression(compression, CompressionFormat.ZSTD)
    with writer:
        connections: dict[str, Any] = {}
        for topic, kind, log, message in messages:
            if topic not in connections:
                connections[topic] = writer.add_connection(topic, kind, typestore=STORE)
            writer.write(connections[topic], log, STORE.serialize_cdr(message, kind))
    return path


def states(count: int) -> list[tuple[str, str, int, Any]]:
    return [
        (
            "/joint_states",
            STATE,
            EPOCH + k * 10**6 + 5,
            state(EPOCH + k * 10**6, ["a", "b"], [k * 0.5, -k], [1.0, 2.0], []),
        )
        for k in range(count)
    ]


def ros_1_bag(path: Path, count: int, compression: Any = None, *, chunk_bytes: int = 1 << 20) -> Path:
    """A bag of ROS 1 with the same as `states`."""
    store = get_typestore(Stores.ROS1_NOETIC)
    writer = Writer1(path)
    writer.chunk_threshold = chunk_bytes
    if compression is not None:
        writer.set_compression(compression)
    with writer:
        connection = writer.add_connection("/joint_states", STATE, typestore=store)
        for k in range(count):
            message = state(EPOCH + k * 10**6, ["a", "b"], [k * 0.5, -k], [1.0, 2.0], [], store=store)
            writer.write(connection, EPOCH + k * 10**6 + 5, store.serialize_ros1(message, STATE))
    return path


def assert_states(recording: Recording, count: int) -> None:
    assert recording.joints == ("a", "b")
    np.testing.assert_array_equal(recording.positions, np.arange(count)[:, None] * [0.5, -1.0])
    np.testing.assert_array_equal(recording.velocities, np.tile([1.0, 2.0], (count, 1)))
    assert recording.efforts is None and recording.missing is None
    assert recording.stamps is not None
    np.testing.assert_array_equal(recording.stamps.values, EPOCH + np.arange(count) * 10**6)
    assert recording.rows.tolist() == list(range(1, count + 1))
