# SPDX-License-Identifier: Apache-2.0
"""Comments at the ends of lines and inside quotes, columns that share a name, and what is left out."""

from pathlib import Path

import numpy as np
import pyarrow as pa
import pyarrow.feather
import pyarrow.parquet
import pytest
from velmora.tools.commands.reading import left_out
from velmora.tools.errors import DataError, UsageError
from velmora.tools.formats import csv_reader, read, write
from velmora.tools.operations.checked import CheckOptions, checked
from velmora.tools.options import ReadOptions, WriteOptions


@pytest.mark.parametrize(
    ("text", "joints", "positions"),
    [
        ("time,a\n0.0,1 # x\n0.1,2 # y\n", ("a",), [[1.0], [2.0]]),
        ("time a\n0.0 1 # x, y\n0.1 2 # z\n", ("a",), [[1.0], [2.0]]),
        ("time,a # names\n0.0,1\n0.1,2\n", ("a",), [[1.0], [2.0]]),
        ("time,load [%]\n0.0,1\n0.1,2\n", ("load",), [[1.0], [2.0]]),
        ('note,time,a\n"50% done",0.0,1\n"http://x",0.1,2\nok,0.2,3\n', ("a",), [[1.0], [2.0], [3.0]]),
    ],
)
def test_comments(text: str, joints: tuple[str, ...], positions: list[list[float]]) -> None:
    (recording,) = csv_reader.parse("log.csv", text.encode(), ReadOptions())
    assert recording.joints == joints
    assert recording.positions.tolist() == positions


@pytest.mark.parametrize("suffix", [".parquet", ".feather"])
def test_columns_of_one_name(tmp_path: Path, suffix: str) -> None:
    path = str(tmp_path / f"in{suffix}")
    columns = [pa.array([0.0, 0.25]), pa.array([1.0, 2.0]), pa.array([3.0, 4.0])]
    table = pa.Table.from_arrays(columns, names=["time", "a", "a"])
    if suffix == ".parquet":
        pyarrow.parquet.write_table(table, path)
    else:
        with pa.ipc.new_file(path, table.schema) as writer:
            writer.write_table(table)
    (recording,) = read(path, ReadOptions())
    assert recording.joints == ("a", "a_2")
    assert left_out(path, [recording]) == [f"{path}: columns of the same name: another 'a' is called 'a_2'"]
    assert recording.positions.tolist() == [[1.0, 3.0], [2.0, 4.0]]


def test_what_is_left_out_is_said_once() -> None:
    text = "time,stamp,a,note,g\n0.0,1,1,x,1\n0.1,2,2,y,2\n"
    parts = csv_reader.parse("log.csv", text.encode(), ReadOptions(group_by="g"))
    assert left_out("in/log.csv", parts) == ["in/log.csv: columns left out: 'stamp', 'note'"]


def test_a_column_without_a_name_is_left_out_and_said() -> None:
    for text, said in (
        ("time,,a\n0.0,1,2\n0.1,3,4\n", "left out: column 2 without a name"),
        ("time,,a,,b\n0.0,1,2,x,3\n0.1,3,4,,5\n", "left out: columns 2, 4 without a name"),
    ):
        parts = csv_reader.parse("log.csv", text.encode(), ReadOptions())
        assert left_out("log.csv", parts) == [f"log.csv: columns {said}"]


@pytest.mark.parametrize("text", ["time,a,\n0.0,1,\n0.1,2,\n", "time,a\n0.0,1,\n0.1,2,\n"])
def test_a_separator_at_the_end_of_every_line_is_no_column(text: str) -> None:
    assert left_out("log.csv", csv_reader.parse("log.csv", text.encode(), ReadOptions())) == []


def test_whole_numbers_beyond_doubles_are_told(tmp_path: Path) -> None:
    path = str(tmp_path / "in.parquet")
    columns = [pa.array([0.0, 0.25]), pa.array([2**53 + 1, 3]), pa.array([2**53, None]), pa.array([1.0, 2.0])]
    pyarrow.parquet.write_table(pa.Table.from_arrays(columns, names=["time", "a", "b", "c"]), path)
    recordings = read(path, ReadOptions())
    assert left_out(path, recordings) == [
        f"{path}: columns rounded: 'a'; doubles do not have every whole number beyond 2^53"
    ]
    assert recordings[0].positions[0].tolist() == [2.0**53, 2.0**53, 1.0]
    table = pa.table({"time": [0.0, 0.25], "action": [[1, 2**53 + 1], [3, 4]]})
    pyarrow.parquet.write_table(table, path)
    (warning,) = left_out(path, read(path, ReadOptions()))
    assert warning.startswith(f"{path}: columns rounded: 'action_0', 'action_1'; ")


@pytest.mark.parametrize(
    ("cells", "said"),
    [
        (["1", "9007199254740993"], ["rounded: 'a'; doubles do not have every whole number beyond 2^53"]),
        (["-1e400", "nan"], ["became infinite: 'a'; doubles end at 1.8e308"]),
        (["9" * 5000, "-9007199254740993"], ["became infinite: 'a'", "rounded: 'a'"]),
        (["NA", "9007199254740992"], []),
        (["inf", "-Infinity"], []),
        # As doubles are written, exactly or shortly.
        (["123456789012345680", "100000000000000008388608"], []),
        (["1e23", "12345678901234567891e+17"], []),
    ],
)
@pytest.mark.parametrize(
    "form", ["time,a\n0.0,{}\n0.1,{}\n", "time a # c\n0.0 {}\n# c\n\n0.1 {}\n", "time;a\n0,0;{}\n0,1;{}\n"]
)
def test_numbers_in_text_beyond_doubles_are_told(cells: list[str], said: list[str], form: str) -> None:
    (found,) = csv_reader.parse("log.csv", form.format(*cells).encode(), ReadOptions())
    notes = [note.text for note in found.notes if note.key == "columns"]
    assert len(notes) == len(said)
    assert all(note.startswith(start) for note, start in zip(notes, said, strict=True))


@pytest.mark.parametrize("suffix", [".json", ".yaml"])
def test_numbers_in_messages_beyond_doubles_are_told(tmp_path: Path, suffix: str) -> None:
    huge, infinite = ("1e400", "Infinity") if suffix == ".json" else ("1.0e+400", ".inf")
    path = tmp_path / f"in{suffix}"
    path.write_text(
        '{"joint_names": ["a", "b", "c"], "points": ['
        f'{{"positions": [9007199254740993, {huge}, {infinite}], "time_from_start": {{"sec": 0}}}}]}}'
    )
    recordings = read(str(path), ReadOptions())
    assert recordings[0].positions.tolist() == [[2.0**53, np.inf, np.inf]]
    assert left_out("in", recordings) == [
        "in: columns became infinite: 'b'; doubles end at 1.8e308",
        "in: columns rounded: 'a'; doubles do not have every whole number beyond 2^53",
    ]
    assert left_out("in", read(str(path), ReadOptions(joints=("c",)))) == []


@pytest.mark.filterwarnings("error")
def test_numbers_in_arrays_beyond_doubles_are_told(tmp_path: Path) -> None:
    path = str(tmp_path / "in.npz")
    whole = np.array([[2**60, 2**53 + 1], [-(2**63), -3]])
    np.savez(path, time=np.array([0.0, 0.25]), positions=whole, velocities=whole.astype(np.float64))
    assert left_out(path, read(path, ReadOptions())) == [
        f"{path}: columns rounded: 'joint_2'; doubles do not have every whole number beyond 2^53"
    ]
    assert left_out(path, read(path, ReadOptions(joints=("joint_1",)))) == []
    wide = np.array([1, 2], np.longdouble) * np.longdouble("1e400")
    if np.isfinite(wide).all():  # where such numbers are wider than doubles
        np.savez(path, time=np.array([0.0, 0.25]), positions=wide)
        assert left_out(path, read(path, ReadOptions())) == [
            f"{path}: columns became infinite: 'joint_1'; doubles end at 1.8e308"
        ]


@pytest.mark.parametrize("rows", [3, 70_000])
def test_lists_of_different_lengths(tmp_path: Path, rows: int) -> None:
    path = str(tmp_path / "in.parquet")
    lists = [[1.0, 2.0], None, *[[1.0, 2.0]] * (rows - 3), [1.0]]
    table = pa.table({"time": np.arange(rows) * 0.5, "action": lists})
    pyarrow.parquet.write_table(table, path)
    with pytest.raises(DataError) as error:
        read(path, ReadOptions())
    assert str(error.value) == (
        f"{path}:{rows}: a list of 1 element; 2 were expected as in the first; --joints chooses other columns"
    )


def test_a_clock_without_a_header() -> None:
    (recording,) = csv_reader.parse("log.csv", b"0.0,1\n0.1,2\n", ReadOptions())
    assert dict(recording.notes)["time"].startswith("column 'time' by its rising numbers, in s")


def test_compression_of_formats_that_have_none(tmp_path: Path) -> None:
    (recording,) = csv_reader.parse("log.csv", b"0.0,1\n0.1,2\n", ReadOptions())
    for name, more in (("out.csv", "csv; a name ending in .gz or .zst compresses it"), ("out.npz", "npz")):
        path = tmp_path / name
        with pytest.raises(UsageError) as error:
            write(str(path), recording, WriteOptions(compression="zstd"))
        assert str(error.value) == f"{path}: --compression is for parquet, feather, mcap, rosbag2, not for {more}"
        assert not path.exists()


def test_the_mean_of_the_largest_numbers() -> None:
    (recording,) = csv_reader.parse("log.csv", b"time,a\n0.0,1e308\n0.0,1.5e308\n0.5,2\n", ReadOptions())
    merged = checked(recording, CheckOptions(duplicate_times="mean"))
    np.testing.assert_allclose(merged.positions, [[1.25e308], [2.0]], rtol=1e-15)
