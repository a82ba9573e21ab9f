# SPDX-License-Identifier: Apache-2.0
"""Bags that are cut short, damaged or incomplete: told as such, and salvaged where asked."""

import contextlib
import os
import random
import shutil
import struct
from collections.abc import Callable
from pathlib import Path
from typing import Any

import pytest
from bags import EPOCH, STATE, STORE, assert_states, bag, header, point, ros_1_bag, state, states
from rosbags.rosbag1 import Writer as Writer1
from rosbags.rosbag2 import CompressionMode, StoragePlugin, Writer
from velmora.tools.errors import DataError, UsageError
from velmora.tools.formats import read
from velmora.tools.options import ReadOptions


def damaged(path: Path, change: Callable[[bytes], bytes]) -> str:
    file = path / f"{path.name}.mcap"
    file.write_bytes(change(file.read_bytes()))
    return str(path)


@pytest.mark.parametrize("compression", [CompressionMode.NONE, CompressionMode.STORAGE])
def test_bags_cut_short(tmp_path: Path, compression: CompressionMode) -> None:
    path = damaged(
        bag(tmp_path / "log", states(9000), compression=compression), lambda data: data[: len(data) * 2 // 3]
    )
    with pytest.raises(
        DataError,
        match=r"log: is cut short within the record at byte [\d,]+; a whole bag was expected; "
        r"--salvage reads the [\d,]+ messages that are there$",
    ):
        read(path, ReadOptions())
    (recording,) = read(path, ReadOptions(salvage=True))
    assert_states(recording, len(recording.rows))
    assert 3000 < len(recording.rows) < 9000
    note = dict(recording.notes)["salvaged"]
    assert "metadata.yaml promises 9,000 messages on '/joint_states'" in note


def test_an_index_that_promises_more_is_an_error(tmp_path: Path) -> None:
    def without_messages(data: bytes) -> bytes:
        """The same file, where the only chunk holds nothing but the type and the topic."""
        start = data.index(b"\x06", data.index(b"rosbags-"))
        size = struct.unpack_from("<Q", data, start + 1)[0]
        records = data[start + 9 + 40 : start + 9 + size]
        kept = records[: records.index(b"\x05" + struct.pack("<Q", 22 + len(MESSAGE)))]
        content = struct.pack("<QQQI", 0, 0, len(kept), 0) + struct.pack("<I", 0) + struct.pack("<Q", len(kept)) + kept
        return data[:start] + b"\x06" + struct.pack("<Q", len(content)) + content + data[start + 9 + size :]

    MESSAGE = bytes(STORE.serialize_cdr(states(1)[0][3], STATE))
    path = damaged(bag(tmp_path / "log", states(5)), without_messages)
    with pytest.raises(
        DataError, match=r"the index promises 5 messages on '/joint_states' and 0 are there; a whole bag was"
    ):
        read(path, ReadOptions())


def test_without_metadata(tmp_path: Path) -> None:
    path = bag(tmp_path / "log", states(5))
    (path / "metadata.yaml").unlink()
    with pytest.raises(
        DataError, match=r"there is no metadata.yaml; a whole bag was expected; --salvage reads the 5 messages"
    ):
        read(str(path), ReadOptions())
    (recording,) = read(str(path), ReadOptions(salvage=True))
    assert_states(recording, 5)
    assert dict(recording.notes)["salvaged"] == "there is no metadata.yaml"


def test_metadata_may_not_leave_its_folder(tmp_path: Path) -> None:
    path = bag(tmp_path / "log", states(5))
    text = (path / "metadata.yaml").read_text()
    (path / "metadata.yaml").write_text(text.replace("- log.mcap", "- ../secret.mcap"))
    with pytest.raises(
        DataError, match=r"the file '\.\./secret.mcap' is none of this folder; names without a path were"
    ):
        read(str(path), ReadOptions(salvage=True))


def with_bad_messages(path: Path, bad: dict[int, bytes], count: int) -> str:
    """A whole bag in which some messages are no messages of their type."""
    with Writer(path, version=9, storage_plugin=StoragePlugin.MCAP) as writer:
        connection = writer.add_connection("/joint_states", STATE, typestore=STORE)
        for k, (_, kind, log, message) in enumerate(states(count)):
            writer.write(connection, log, bad.get(k, bytes(STORE.serialize_cdr(message, kind))))
    return str(path)


def test_messages_that_cannot_be_read_are_left_out(tmp_path: Path) -> None:
    whole = bytes(STORE.serialize_cdr(states(1)[0][3], STATE))
    short = bytes(STORE.serialize_cdr(state(EPOCH, ["a", "b"], [1.0], [], []), STATE))
    other = bytes(STORE.serialize_cdr(state(EPOCH, ["b", "a"], [-9.0, 4.5], [], []), STATE))
    path = with_bad_messages(tmp_path / "log", {4: whole[:40], 7: short, 8: short, 9: other}, 10)
    with pytest.raises(
        DataError,
        match=rf"\[/joint_states\]:5: the message is no {STATE}: it ends within a field; one whole message was "
        "expected; --salvage leaves it out$",
    ):
        read(path, ReadOptions())
    (recording,) = read(path, ReadOptions(salvage=True))
    assert recording.rows.tolist() == [1, 2, 3, 4, 6, 7, 10]
    assert recording.positions[:, 0].tolist() == [0.0, 0.5, 1.0, 1.5, 2.5, 3.0, 4.5]
    assert dict(recording.notes)["salvaged"] == (
        "3 messages on '/joint_states' cannot be read, first 5: the message is no sensor_msgs/msg/JointState: it ends "
        "within a field"
    )


def test_a_topic_that_cannot_be_read_beside_one_that_can(tmp_path: Path) -> None:
    bad = state(EPOCH, ["a", "a"], [1.0, 2.0], [], [])
    path = bag(tmp_path / "log", [("/bad", STATE, EPOCH, bad), *states(3)])
    (recording,) = read(str(path), ReadOptions(salvage=True))
    assert_states(recording, 3)
    assert dict(recording.notes)["salvaged"] == (
        "1 message on '/bad' cannot be read, first 1: the joints are called 'a', 'a'"
    )


def test_a_trajectory_of_which_a_point_cannot_be_read(tmp_path: Path) -> None:
    def trajectory(*points: list[float]) -> Any:
        kind = STORE.types["trajectory_msgs/msg/JointTrajectory"]
        return kind(header(EPOCH), ["a", "b"], [point(values, k * 10**9) for k, values in enumerate(points)])

    kind = "trajectory_msgs/msg/JointTrajectory"
    messages = [trajectory([1.0, 2.0], [3.0]), trajectory([1.0, 2.0], [3.0, 4.0])]
    path = bag(tmp_path / "log", [("/plan", kind, EPOCH + k, message) for k, message in enumerate(messages)])
    (recording,) = read(str(path), ReadOptions(salvage=True))
    assert recording.positions.tolist() == [[1.0, 2.0], [3.0, 4.0]]
    assert recording.rows.tolist() == [2, 2]


def test_nothing_but_messages_that_cannot_be_read(tmp_path: Path) -> None:
    path = with_bad_messages(tmp_path / "log", dict.fromkeys(range(40), b"\0\1\0\0"), 40)
    with pytest.raises(
        DataError, match="no messages on '/joint_states': 40 messages on '/joint_states' cannot be read, first 1: "
    ):
        read(path, ReadOptions(salvage=True))


def test_no_advice_to_salvage_nothing(tmp_path: Path) -> None:
    path = damaged(bag(tmp_path / "log", states(9)), lambda data: data[:100])
    with pytest.raises(DataError, match=r"is cut short .*; a whole bag was expected$"):
        read(path, ReadOptions())


def test_broken_sqlite(tmp_path: Path) -> None:
    path = bag(tmp_path / "log", states(3000), plugin=StoragePlugin.SQLITE3)
    file = path / "log.db3"
    data = bytearray(file.read_bytes())
    data[len(data) // 2 : len(data) // 2 + 40_000] = b"\xff" * 40_000
    file.write_bytes(data)
    with pytest.raises(DataError, match=r"is damaged.*--salvage reads the [\d,]+ messages that are there$"):
        read(str(path), ReadOptions())


@pytest.mark.parametrize("left", [130_252, 217_088, 390_758])
def test_sqlite_cut_short(tmp_path: Path, left: int) -> None:
    path = bag(tmp_path / "log", states(3000), plugin=StoragePlugin.SQLITE3)
    file = path / "log.db3"
    size = file.stat().st_size
    os.truncate(file, left)
    with pytest.raises(
        DataError,
        match=rf"log: is cut short: {left:,} of {size:,} bytes are there; a whole bag was expected; "
        r"--salvage reads the [\d,]+ messages that are there$",
    ):
        read(str(path), ReadOptions())
    (recording,) = read(str(path), ReadOptions(salvage=True))
    there = len(recording.rows)
    # Nor is anything read of the page in which the file is cut.
    assert_states(recording, there)
    assert there > 3000 * left / size - 200
    note = dict(recording.notes)["salvaged"]
    assert note.endswith(f"metadata.yaml promises 3,000 messages on '/joint_states' and {there:,} are there")


@pytest.mark.parametrize("left", [0, 20, 60, 5000])
def test_sqlite_of_which_nothing_is_left(tmp_path: Path, left: int) -> None:
    path = bag(tmp_path / "log", states(3000), plugin=StoragePlugin.SQLITE3)
    os.truncate(path / "log.db3", left)
    for salvage in (False, True):
        with pytest.raises(
            DataError, match=r"is (cut short: |damaged: file is not a database|no bag: it has no tables)"
        ):
            read(str(path), ReadOptions(salvage=salvage))


@pytest.mark.parametrize("compression", [None, Writer1.CompressionFormat.LZ4])
def test_ros_1_cut_within_a_chunk(tmp_path: Path, compression: Any) -> None:
    whole = ros_1_bag(tmp_path / "log.bag", 9000, compression, chunk_bytes=1 << 24).read_bytes()
    path = tmp_path / "cut.bag"
    path.write_bytes(whole[: len(whole) // 2])
    with pytest.raises(
        DataError, match=r"is cut short within the record at byte .*--salvage reads the [\d,]+ messages"
    ):
        read(str(path), ReadOptions())
    (recording,) = read(str(path), ReadOptions(salvage=True))
    assert_states(recording, len(recording.rows))
    assert 3000 < len(recording.rows) < 7000


def test_ros_1_whose_writer_died(tmp_path: Path) -> None:
    """The header of the last chunk has no length yet, that of the file no place of an index."""
    data = bytearray(ros_1_bag(tmp_path / "log.bag", 1000, chunk_bytes=20_000).read_bytes())
    index = data.index(b"index_pos=") + 10
    data[index : index + 8] = bytes(8)
    sizes = data.index(b"size=", data.rindex(b"compression=none")) + 5
    (length,) = struct.unpack_from("<I", data, sizes + 4)
    data[sizes : sizes + 8] = bytes(8)
    path = tmp_path / "died.bag"
    path.write_bytes(data[: sizes + 8 + length - 10])
    (recording,) = read(str(path), ReadOptions(salvage=True))
    assert_states(recording, 999)
    assert "has no index: its writer died before it was closed" in dict(recording.notes)["salvaged"]


@pytest.mark.parametrize("seed", range(4))
def test_broken_bytes_are_told_or_read(tmp_path: Path, seed: int) -> None:
    chance = random.Random(seed)
    for plugin, name in ((StoragePlugin.MCAP, "log.mcap"), (StoragePlugin.SQLITE3, "log.db3")):
        path = tmp_path / f"log_{seed}_{name[-3:]}"
        file = next(bag(path, states(200), plugin=plugin).glob("log*"))
        whole = file.read_bytes()
        for _ in range(25):
            data = bytearray(whole)
            for _ in range(chance.randint(1, 8)):
                data[chance.randrange(len(data))] = chance.randrange(256)
            file.write_bytes(data[: chance.randint(1, len(data))] if chance.random() < 0.3 else data)
            for salvage in (False, True):
                with contextlib.suppress(DataError, UsageError):
                    read(str(path), ReadOptions(salvage=salvage))
        shutil.rmtree(path)


def test_a_definition_without_the_fields_is_refused(tmp_path: Path) -> None:
    path = bag(tmp_path / "log", states(5))
    damaged(path, lambda data: data.replace(b"float64[] effort", b"float64[] effors"))
    with pytest.raises(DataError, match=r"its definition has no field 'effort'; one whole message was"):
        read(str(path), ReadOptions())
