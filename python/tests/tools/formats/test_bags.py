# SPDX-License-Identifier: Apache-2.0
"""Robot bags: every container and type, joints in any order, and what is written read by others."""

import io
import random
from pathlib import Path
from typing import Any

import numpy as np
import pytest
from bags import CONTROLLER, EPOCH, STATE, STORE, assert_states, bag, header, point, ros_1_bag, state, states
from rosbags.rosbag1 import Writer as Writer1
from rosbags.rosbag2 import CompressionMode, Reader, StoragePlugin
from velmora.tools.errors import DataError, UsageError
from velmora.tools.formats import is_recording, read, write
from velmora.tools.options import ReadOptions, WriteOptions
from velmora.tools.recording import Layout, Recording, Stamps


@pytest.mark.parametrize(
    ("plugin", "compression"),
    [
        (StoragePlugin.MCAP, CompressionMode.NONE),
        (StoragePlugin.MCAP, CompressionMode.STORAGE),
        (StoragePlugin.SQLITE3, CompressionMode.NONE),
        (StoragePlugin.SQLITE3, CompressionMode.MESSAGE),
        (StoragePlugin.SQLITE3, CompressionMode.FILE),
        (StoragePlugin.MCAP, CompressionMode.FILE),
    ],
)
def test_every_container(tmp_path: Path, plugin: StoragePlugin, compression: CompressionMode) -> None:
    path = bag(tmp_path / "log", states(2000), plugin=plugin, compression=compression)
    assert is_recording(str(path))
    (recording,) = read(str(path), ReadOptions())
    assert recording.source == f"{path}[/joint_states]"
    assert_states(recording, 2000)
    (file,) = (entry for entry in path.iterdir() if entry.suffix != ".yaml")
    assert_states(read(str(file), ReadOptions())[0], 2000)


@pytest.mark.parametrize("compression", [None, Writer1.CompressionFormat.BZ2, Writer1.CompressionFormat.LZ4])
def test_ros_1(tmp_path: Path, compression: Any) -> None:
    path = ros_1_bag(tmp_path / "log.bag", 500, compression)
    assert_states(read(str(path), ReadOptions())[0], 500)
    whole = path.read_bytes()
    (tmp_path / "cut.bag").write_bytes(whole[:-200])
    with pytest.raises(DataError, match=r"cut short .*--salvage reads the 500 messages that are there$"):
        read(str(tmp_path / "cut.bag"), ReadOptions())
    assert_states(read(str(tmp_path / "cut.bag"), ReadOptions(salvage=True))[0], 500)


@pytest.mark.parametrize("kind", ["mcap", "sqlite3", "bag"])
def test_the_format_of_a_file_that_is_called_otherwise(
    tmp_path: Path, monkeypatch: pytest.MonkeyPatch, kind: str
) -> None:
    if kind == "bag":
        file = ros_1_bag(tmp_path / "log.bag", 20)
    else:
        plugin = StoragePlugin.MCAP if kind == "mcap" else StoragePlugin.SQLITE3
        folder = bag(tmp_path / "log", states(20), plugin=plugin)
        (file,) = (entry for entry in folder.iterdir() if entry.suffix != ".yaml")
    other = file.rename(tmp_path / "log.active")
    assert_states(read(str(other), ReadOptions(format=kind))[0], 20)
    monkeypatch.setattr("sys.stdin", io.TextIOWrapper(io.BytesIO(other.read_bytes())))
    assert_states(read("-", ReadOptions(format=kind))[0], 20)
    capital = other.rename(tmp_path / f"LOG{file.suffix.upper()}")
    assert_states(read(str(capital), ReadOptions())[0], 20)


def test_joints_in_any_order_and_missing_ones(tmp_path: Path) -> None:
    path = bag(
        tmp_path / "log",
        [
            ("/js", STATE, 1, state(1, ["a", "b"], [1, 2], [], [])),
            ("/js", STATE, 2, state(2, ["b", "a"], [4, 3], [], [])),
            ("/js", STATE, 3, state(3, ["b"], [6], [], [9])),
            ("/js", STATE, 4, state(4, ["a", "c"], [float("nan"), 8], [], [])),
            ("/js", STATE, 5, state(5, ["a", "b", "c"], [], [1, 2, 3], [])),
        ],
    )
    (recording,) = read(str(path), ReadOptions())
    nan = np.nan
    assert recording.joints == ("a", "b", "c")
    np.testing.assert_array_equal(
        recording.positions, [[1, 2, nan], [3, 4, nan], [nan, 6, nan], [nan, nan, 8], [nan] * 3]
    )
    assert recording.missing is not None
    assert recording.missing["positions"].astype(int).tolist() == [
        [0, 0, 1],
        [0, 0, 1],
        [1, 0, 1],
        [0, 1, 0],
        [1, 1, 1],
    ]
    np.testing.assert_array_equal(recording.velocities, [[nan] * 3] * 4 + [[1, 2, 3]])
    assert recording.missing["velocities"].astype(int).tolist() == [[1] * 3] * 4 + [[0] * 3]
    assert recording.missing["efforts"].astype(int).tolist() == [[1] * 3] * 2 + [[1, 0, 1]] + [[1] * 3] * 2
    np.testing.assert_array_equal(recording.efforts, [[nan] * 3] * 2 + [[nan, 9, nan]] + [[nan] * 3] * 2)
    assert read(str(path), ReadOptions(joints=("c", "a")))[0].joints == ("c", "a")
    with pytest.raises(
        UsageError, match=r"no joint is called 'aa'; did you mean 'a'\?; there are 'a', 'b', 'c'; --joints$"
    ):
        read(str(path), ReadOptions(joints=("aa",)))


def test_layouts_that_change_all_the_time(tmp_path: Path) -> None:
    chance = random.Random(3)
    expected, messages = [], []
    names = [f"j{k}" for k in range(6)]
    for k in range(3000):
        some = chance.sample(names, chance.randint(1, 6))
        values = {name: chance.random() for name in some}
        expected.append([values.get(name, np.nan) for name in names])
        messages.append(("/js", STATE, k, state(k, some, list(values.values()), [], [])))
    (recording,) = read(str(bag(tmp_path / "log", messages)), ReadOptions(joints=tuple(names)))
    np.testing.assert_array_equal(recording.positions, expected)


def test_topics_and_log_time(tmp_path: Path) -> None:
    path = bag(
        tmp_path / "log",
        [
            ("/left", STATE, 10, state(1, ["a"], [1], [], [])),
            ("/right", STATE, 11, state(2, ["a"], [2], [], [])),
            ("/text", "std_msgs/msg/String", 12, STORE.types["std_msgs/msg/String"]("hello")),
            ("/left", STATE, 20, state(0, ["a"], [3], [], [])),
        ],
    )
    assert [one.source.removeprefix(str(path)) for one in read(str(path), ReadOptions())] == ["[/left]", "[/right]"]
    (left,) = read(str(path), ReadOptions(topic="/left", time_from="log"))
    assert left.stamps is not None
    assert left.stamps.values.tolist() == [10, 20]
    with pytest.raises(
        UsageError, match=r"no topic is called '/lefd'; did you mean '/left'\?; those with joints are '/left', "
    ):
        read(str(path), ReadOptions(topic="/lefd"))
    with pytest.raises(
        UsageError, match=r"topic '/text' holds 'std_msgs/msg/String'; one of sensor_msgs/msg/JointState, "
    ):
        read(str(path), ReadOptions(topic="/text"))


def test_headers_without_stamps_fall_back_to_the_log(tmp_path: Path) -> None:
    path = bag(tmp_path / "log", [("/js", STATE, k + 3, state(0, ["a"], [1], [], [])) for k in range(3)])
    (recording,) = read(str(path), ReadOptions())
    assert recording.stamps is not None
    assert recording.stamps.values.tolist() == [3, 4, 5]
    assert ("time", "log time of the messages, as their headers hold no stamps, in ns") in recording.notes


def test_trajectories_and_states_of_controllers(tmp_path: Path) -> None:
    kind = "trajectory_msgs/msg/JointTrajectory"

    def trajectory(ns: int, *points: Any) -> Any:
        return STORE.types[kind](header(ns), ["a", "b"], list(points))

    path = bag(tmp_path / "one", [("/t", kind, 1, trajectory(0, point([1, 2], 10**9), point([3, 4], 2 * 10**9)))])
    (recording,) = read(str(path), ReadOptions())
    np.testing.assert_array_equal(recording.positions, [[1, 2], [3, 4]])
    np.testing.assert_array_equal(recording.velocities, [[2, 4], [6, 8]])
    assert recording.stamps is not None
    assert recording.stamps.values.tolist() == [10**9, 2 * 10**9]
    path = bag(tmp_path / "two", [("/t", kind, k, trajectory(5, point([1, 2], 1), point([3, 4], 2))) for k in range(2)])
    assert [one.source.removeprefix(str(path)) for one in read(str(path), ReadOptions())] == ["[/t][1]", "[/t][2]"]
    message = STORE.types[CONTROLLER](header(7), ["a", "b"], point([9, 9]), point([1, 2]), point([0, 0]), point([5, 5]))
    (recording,) = read(str(bag(tmp_path / "c", [("/state", CONTROLLER, 1, message)])), ReadOptions())
    np.testing.assert_array_equal(recording.positions, [[1, 2]])


@pytest.mark.parametrize("name", ["out", "out.mcap"])
def test_what_is_written_is_read_by_others_and_by_itself(tmp_path: Path, name: str) -> None:
    random_ = np.random.default_rng(2)
    values = random_.normal(size=(300, 3))
    missing = random_.random((300, 3)) < 0.1
    positions = np.where(missing, np.nan, values)
    recording = Recording(
        "made",
        ("a", "b", "c"),
        Stamps(EPOCH + np.arange(300) * 1_000_003, "ns"),
        positions,
        values * 2,
        values,
        None,
        values * 3,
        np.arange(1, 301),
        {"positions": missing},
        (),
        Layout(""),
    )
    notes = write(str(tmp_path / name), recording, WriteOptions())
    says = "made: sensor_msgs/msg/JointState"
    assert notes == [
        f"{says} has no accelerations: left out",
        f"{says} names joints that have a position: velocities and efforts without one left out",
    ]
    with Reader(tmp_path / name) as reader:
        first = [STORE.deserialize_cdr(data, connection.msgtype) for connection, _, data in reader.messages()]
    assert len(first) == 300
    np.testing.assert_array_equal(first[7].position, values[7][~missing[7]])
    assert first[7].header.stamp.nanosec == 7 * 1_000_003
    (again,) = read(str(tmp_path / name), ReadOptions(joints=("a", "b", "c")))
    np.testing.assert_array_equal(again.positions, positions)
    np.testing.assert_array_equal(again.absent("positions"), missing)
    assert again.stamps is not None and recording.stamps is not None
    np.testing.assert_array_equal(again.stamps.values, recording.stamps.values)
    np.testing.assert_array_equal(again.velocities, np.where(missing, np.nan, values * 2))
    assert again.accelerations is None


@pytest.mark.parametrize("name", ["out", "out.mcap"])
def test_falling_stamps_stay_in_their_rows(tmp_path: Path, name: str) -> None:
    (tmp_path / "a.csv").write_text("time_s,a\n-1,1\n1.1,2\n1.05,3\n1.05,4\n1.2,5\n0.5,6\n")
    assert write(str(tmp_path / name), read(str(tmp_path / "a.csv"), ReadOptions())[0], WriteOptions()) == []
    (again,) = read(str(tmp_path / name), ReadOptions())
    assert again.stamps is not None
    assert again.stamps.values.tolist() == [ms * 10**6 for ms in (-1000, 1100, 1050, 1050, 1200, 500)]
    assert again.positions.ravel().tolist() == [1, 2, 3, 4, 5, 6]
    (logged,) = read(str(tmp_path / name), ReadOptions(time_from="log"))
    assert logged.stamps is not None
    assert logged.stamps.values.tolist() == [ms * 10**6 for ms in (0, 1100, 1100, 1100, 1200, 1200)]


def test_what_has_no_position_is_left_out_and_said(tmp_path: Path) -> None:
    (tmp_path / "a.csv").write_text("time_s,a,b,c,b_velocity,c_torque\n0.5,1,2,,5,7\n1.5,1.5,,,5.5,7\n")
    (recording,) = read(str(tmp_path / "a.csv"), ReadOptions())
    says = f"{tmp_path}/a.csv: sensor_msgs/msg/JointState names joints that have a position:"
    assert write(str(tmp_path / "b"), recording, WriteOptions())[1:] == [
        f"{says} velocities and efforts without one left out",
        f"{says} joints without any left out ('c')",
    ]
    assert read(str(tmp_path / "b"), ReadOptions())[0].joints == ("a", "b")


@pytest.mark.parametrize("rows", ["", "0.5,\n", "0.5,\n1.5,\n"])
def test_a_bag_without_any_position_is_not_written(tmp_path: Path, rows: str) -> None:
    (tmp_path / "a.csv").write_text(f"time_s,a\n{rows}")
    (recording,) = read(str(tmp_path / "a.csv"), ReadOptions())
    with pytest.raises(DataError) as error:
        write(str(tmp_path / "b"), recording, WriteOptions())
    assert str(error.value) == (
        f"{tmp_path}/a.csv: there is no position of any joint; a bag has messages that name joints with one; "
        "-o with .csv or .parquet holds recordings without"
    )
    assert not (tmp_path / "b").exists()


def test_kinds_that_cannot_be_written(tmp_path: Path) -> None:
    recording = read(str(bag(tmp_path / "log", states(3))), ReadOptions())[0]
    for name in ("a.db3", "a.bag"):
        with pytest.raises(UsageError, match=r"can only be read; .mcap or a name without an ending was expected$"):
            write(str(tmp_path / name), recording, WriteOptions())
    # Nor are they offered where a name is wrong.
    with pytest.raises(UsageError, match=r"there are csv, .*, mcap, rosbag2, json, yaml; --format$"):
        write(str(tmp_path / "a"), recording, WriteOptions(format="xlsx"))
    with pytest.raises(UsageError) as refused:
        write(str(tmp_path / "a.xls"), recording, WriteOptions())
    assert ".mcap" in str(refused.value)
    assert ".db3" not in str(refused.value)
