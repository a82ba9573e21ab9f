#!/usr/bin/env python3
# Writes the sample recording as a small rosbag2 of sensor_msgs/JointState, as a robot's recorder would.
# SPDX-License-Identifier: Apache-2.0
#   ./examples/data/write_bag.py pick_and_place_250hz.csv BAG
import csv
import pathlib
import sys

import numpy as np
from rosbags.rosbag2 import StoragePlugin, Writer
from rosbags.typesys import Stores, get_typestore

START_NS = 1_795_000_000_000_000_000  # November 2026
LOGGED_AFTER_NS = 350_000


def main():
    source, target = sys.argv[1:]
    store = get_typestore(Stores.ROS2_HUMBLE)
    joint_state = store.types["sensor_msgs/msg/JointState"]
    header = store.types["std_msgs/msg/Header"]
    time = store.types["builtin_interfaces/msg/Time"]
    with open(source, newline="") as file:
        head, *rows = csv.reader(line for line in file if not line.startswith("#"))
    joints = [name.removesuffix("_rad") for name in head[1:]]
    with Writer(pathlib.Path(target), version=9, storage_plugin=StoragePlugin.MCAP) as writer:
        connection = writer.add_connection("/joint_states", joint_state.__msgtype__, typestore=store)
        for row in rows:
            stamp_ns = START_NS + round(float(row[0]) * 1e9)
            stamp = time(sec=stamp_ns // 10**9, nanosec=stamp_ns % 10**9)
            positions = np.array([float(cell) for cell in row[1:]])
            # Velocities and efforts are empty, as drivers without such sensors leave them.
            message = joint_state(
                header=header(stamp=stamp, frame_id="base"),
                name=joints,
                position=positions,
                velocity=np.empty(0),
                effort=np.empty(0),
            )
            writer.write(connection, stamp_ns + LOGGED_AFTER_NS, store.serialize_cdr(message, joint_state.__msgtype__))


if __name__ == "__main__":
    main()
