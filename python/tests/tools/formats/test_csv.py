# SPDX-License-Identifier: Apache-2.0
"""Tables in text: every dialect, exact numbers and times, rows as an editor counts them, every fault."""

import gzip
import io
import sys
from pathlib import Path
from typing import Any

import numpy as np
import pytest
from hypothesis import given, settings
from hypothesis import strategies as st
from velmora.tools.errors import DataError, UsageError
from velmora.tools.formats import csv_reader, read, suffixes, write
from velmora.tools.options import ReadOptions, WriteOptions
from velmora.tools.recording import Recording


def parse(text: str | bytes, **options: Any) -> Recording:
    data = text if isinstance(text, bytes) else text.encode()
    (recording,) = csv_reader.parse("log.csv", data, ReadOptions(**options))
    return recording


def times(recording: Recording) -> list[float]:
    assert recording.stamps is not None
    return recording.stamps.values.tolist()


@pytest.mark.parametrize(
    ("text", "rows", "dialect"),
    [
        ("time,a,b\n0.0,1.5,2\n0.1,3,4\n", [2, 3], "separator comma, decimal point, with header"),
        ("0.0,1.5,2\n0.1,3,4\n", [1, 2], "separator comma, decimal point, without header"),
        ("time;a;b\n0,0;1,5;2\n0,1;3;4\n", [2, 3], "separator semicolon, decimal comma, with header"),
        ("time;a;b\n0.0;1.5;2\n0.1;3;4", [2, 3], "separator semicolon, decimal point, with header"),
        ("time\ta\tb\n0.0\t1.5\t2\n0.1\t3\t4\n", [2, 3], "separator tab, decimal point, with header"),
        ("time\ta\tb\n0,0\t1,5\t2\n0,1\t3\t4\n", [2, 3], "separator tab, decimal comma, with header"),
        ("  time   a b\n  0.0   1.5\t 2\n  0.1  3 4  \n", [2, 3], "separator blanks, decimal point, with header"),
        ("sep=;\ntime;a;b\n0,0;1,5;2\n0,1;3;4\n", [3, 4], "separator semicolon, decimal comma, with header"),
        (
            "# time a b\n0.0 1.5 2\n0.1 3 4\n",
            [2, 3],
            "separator blanks, decimal point, with header, a line of comments first",
        ),
        ("time,a,b\r\n0.0,1.5,2\r\n0.1,3,4\r\n", [2, 3], "separator comma, decimal point, with header"),
        ("time,a,b\r0.0,1.5,2\r0.1,3,4\r", [2, 3], "separator comma, decimal point, with header"),
        ("time,a,b\r\n0.0,1.5,2\n\r\n0.1,3,4\r", [2, 4], "separator comma, decimal point, with header"),
        ("\ufefftime,a,b\n0.0,1.5,2\n0.1,3,4\n", [2, 3], "separator comma, decimal point, with header"),
        ('"time","a","b"\n"0.0","+1.5","2"\n+0.1,3,+4\n', [2, 3], "separator comma, decimal point, with header"),
        (
            "# x\n\n# y\ntime,a,b\n# mid, 1\n0.0,1.5,2 # here\n\n0.1,3,4\n// end\n",
            [6, 8],
            "separator comma, decimal point, with header, 2 lines of comments first",
        ),
        ("time,a,b,\n0.0,1.5,2,\n0.1,3,4,\n", [2, 3], "separator comma, decimal point, with header"),
        ("time,a,b\n0.0,1.5,2,\n0.1,3,4,\n", [2, 3], "separator comma, decimal point, with header"),
        ("time, a, b\n0.0 , 1.5, 2\n0.1, 3, 4\n", [2, 3], "separator comma, decimal point, with header"),
        (",time,a,b\n0,0.0,1.5,2\n1,0.1,3,4\n", [2, 3], "separator comma, decimal point, with header"),
        ("time,a,b\ns,rad,rad\n0.0,1.5,2\n0.1,3,4\n", [3, 4], "separator comma, decimal point, with header"),
        ("a,time,state,b\n1.5,0.0,idle,2\n3,0.1,run,4\n", [2, 3], "separator comma, decimal point, with header"),
    ],
    ids=range(21),
)
@pytest.mark.parametrize("encoding", ["utf-8", "utf-16"])
def test_dialects(text: str, rows: list[int], dialect: str, encoding: str) -> None:
    if encoding == "utf-16":
        text = text.removeprefix("\ufeff")
    recording = parse(text.encode(encoding))
    assert recording.joints == (("joint_1", "joint_2") if "without header" in dialect else ("a", "b"))
    assert recording.positions.tolist() == [[1.5, 2.0], [3.0, 4.0]]
    assert times(recording) == [0, 100_000_000]
    assert recording.rows.tolist() == rows
    assert recording.notes[0] == ("dialect", dialect)


@pytest.mark.parametrize(
    ("text", "message"),
    [
        ("", "log.csv: there are no lines of data; a table of numbers was expected"),
        ("# x\n\n", "log.csv: there are no lines of data; a table of numbers was expected"),
        ("time,a\n0.0,1\n0.1,2,3\n", "log.csv:3: there are 3 cells; 2 were expected, as in line 1"),
        ("time,a,b\n0.0,1,2\n0.1,2\n", "log.csv:3: there are 2 cells; 3 were expected, as in line 1"),
        (
            "time,a\n0.0,1\n\n# c\n0.1,x1\n",
            "log.csv:5: 'x1' in column 'a'; a number was expected; --joints and --time-column choose columns",
        ),
        (
            "time,a\n0.0,1\n0.1,1_0\n",
            "log.csv:3: '1_0' in column 'a'; a number was expected; --joints and --time-column choose columns",
        ),
        (
            "time,a\n0.0,1\nzero,2\n",
            "log.csv:3: 'zero' in column 'time'; a number was expected; --joints and --time-column choose columns",
        ),
        (
            "time,a\n0.0,1\n0.1,\x1b[31m\n",
            "log.csv:3: '?[31m' in column 'a'; a number was expected; --joints and --time-column choose columns",
        ),
        (
            "time a b\n0.0 1 2\n0.1 1,x\n",
            "log.csv:3: 'x' in column 'b'; a number was expected; --joints and --time-column choose columns",
        ),
        (
            "time;a\n0,0;1\n\n0,1;1.234,5 # text\n",
            "log.csv:4: '1.234,5' in column 'a'; a number was expected; --joints and --time-column choose columns",
        ),
        (
            "time,a\n0,1\n1,2\n2,3\n",
            "log.csv: column 'time' has whole numbers in steps of 1, seconds or milliseconds; a unit was "
            "expected in its name (time_ms); --time-unit s or ms says it",
        ),
        (
            "\0\1\2",
            "log.csv:1: there are zero bytes; a table in text was expected; --input-format names another format",
        ),
        (
            "time,index\n0.0,1\n0.1,2\n",
            "log.csv: no column holds positions of a joint; a column per joint was expected; there are "
            "'time', 'index'; --joints names them",
        ),
    ],
    ids=range(13),
)
def test_faults(text: str, message: str) -> None:
    with pytest.raises(DataError) as error:
        parse(text)
    assert str(error.value) == message


@pytest.mark.parametrize(
    ("options", "message"),
    [
        (
            {"time_column": "tme"},
            "log.csv: no column is called 'tme'; did you mean 'time'?; there are 'time', 'a'; --time-column",
        ),
        ({"joints": ("b*",)}, "log.csv: no joint is called 'b*'; there are 'a'; --joints"),
        (
            {"group_by": "tim"},
            "log.csv: no column is called 'tim'; did you mean 'time'?; there are 'time', 'a'; --group-by",
        ),
        ({"rate_hz": 0.0}, "--input-rate 0.0: a finite number of samples per second above 0 was expected"),
    ],
)
def test_options_that_do_not_fit(options: dict[str, object], message: str) -> None:
    with pytest.raises(UsageError) as error:
        parse("time,a\n0.0,1\n0.1,2\n", **options)
    assert str(error.value) == message


@pytest.mark.parametrize(
    ("text", "stamps", "unit"),
    [
        (
            "stamp,a\n1700000000.123456789,1\n1700000000.12345679,2\n",
            [1_700_000_000_123_456_789, 1_700_000_000_123_456_790],
            "s",
        ),
        ("stamp,a\n1700000000123,1\n1700000000124,2\n", [1_700_000_000_123_000_000, 1_700_000_000_124_000_000], "ms"),
        (
            "stamp,a\n1700000000123456,1\n1700000000123457,2\n",
            [1_700_000_000_123_456_000, 1_700_000_000_123_457_000],
            "us",
        ),
        (
            "stamp,a\n1700000000123456789,1\n1700000000123456790,2\n",
            [1_700_000_000_123_456_789, 1_700_000_000_123_456_790],
            "ns",
        ),
        ("stamp,a\n1.7e9,1\n1.700000001e9,2\n", [1_700_000_000_000_000_000, 1_700_000_001_000_000_000], "s"),
        ("stamp;a\n1700000000,5;1\n1700000000,75;2\n", [1_700_000_000_500_000_000, 1_700_000_000_750_000_000], "s"),
        ("time_ms,a\n0,1\n4,2\n", [0, 4_000_000], "ms"),
        ("t [us],a\n0.5,1\n4,2\n", [500, 4_000], "us"),
        ("time,a\n0,1\n10,2\n20,3\n", [0, 10_000_000, 20_000_000], "ms"),
        ("time,a\n0,1\n1000,2\n2000,3\n", [0, 1_000_000, 2_000_000], "us"),
        ("time,a\n0,1\n1000000,2\n2000000,3\n", [0, 1_000_000, 2_000_000], "ns"),
        ("time,a\n0.0,1\n1.0,2\n2.0,3\n", [0, 10**9, 2 * 10**9], "s"),
        ("time,a\n0.0,1\n0.0000000001,2\n", [0.0, 1e-10], "s"),
        (
            "sec,nanosec,a\n1700000000,5,1\n1700000001,999999999,2\n",
            [1_700_000_000_000_000_005, 1_700_000_001_999_999_999],
            "ns",
        ),
        (
            "date time,time,a\nx,2026-11-21 10:00:00.000000001,1\ny,2026-11-21T10:00:01,2\n",
            [1_795_255_200_000_000_001, 1_795_255_201_000_000_000],
            "ns",
        ),
    ],
)
def test_times_are_exact(text: str, stamps: list[float], unit: str) -> None:
    recording = parse(text)
    assert times(recording) == stamps
    assert recording.stamps is not None and recording.stamps.unit == unit


def test_options() -> None:
    text = "time,x,elbow_deg,elbow_velocity,wrist\n0.0,5.0,180,1,2\n0.1,5.1,0,3,4\n"
    recording = parse(text, time_column="x", joints=("wrist", "elb*"))
    assert recording.joints == ("wrist", "elbow")
    assert times(recording) == [5_000_000_000, 5_100_000_000]
    np.testing.assert_array_equal(recording.positions, [[2.0, np.pi], [4.0, 0.0]])
    np.testing.assert_array_equal(recording.velocities, [[np.nan, 1.0], [np.nan, 3.0]])
    assert parse(text, keep_units=True).positions[0].tolist() == [5.0, 180.0, 2.0]
    assert parse(text, degrees=True).positions[0].tolist() == [5.0 * (np.pi / 180), np.pi, 2.0 * (np.pi / 180)]
    assert times(parse(text, rate_hz=1000.0)) == [0, 1_000_000]
    assert times(parse("time,a\n0,1\n1,2\n", time_unit="ms")) == [0, 1_000_000]
    assert parse("a,b\n1,2\n").stamps is None
    with pytest.raises(UsageError, match="--group-by x: a table was expected; npz has no columns to group by"):
        read("x.npz", ReadOptions(group_by="x"))


@pytest.mark.parametrize("column", [None, "clock"])
def test_a_rate_leaves_the_times_aside_and_says_so(column: str | None) -> None:
    found = parse("clock,a\n0.0,1\n0.7,2\n", rate_hz=10.0, time_column=column)
    assert times(found) == [0, 100_000_000]
    assert [note.text for note in found.notes if note.key == "time"] == [
        "10.0 samples per second (--input-rate); column 'clock' is left aside"
    ]


def test_degrees_leave_columns_that_are_named_in_another_unit() -> None:
    text = "time_s,arm,slide [m],lift [mm/s],lift,wrist_rad,elbow_deg,arm_torque\n0,180,0.5,3,180,1.5,180,7\n"
    found = parse(text, degrees=True)
    assert found.joints == ("arm", "slide", "lift", "wrist", "elbow")
    assert found.positions[0].tolist() == [np.pi, 0.5, np.pi, 1.5, np.pi]
    assert found.velocities is not None and found.velocities[0, 2] == 3.0
    assert found.efforts is not None and found.efforts[0, 0] == 7.0
    assert [note.text for note in found.notes if note.key == "columns"] == [
        "kept by --degrees, as their names say another unit: 'slide [m]', 'lift [mm/s]', 'wrist_rad'"
    ]


def test_groups() -> None:
    parts = csv_reader.parse("log.csv", b"time,a,episode\n0.0,1,x\n0.0,2,y\n0.1,3,x\n", ReadOptions(group_by="episode"))
    assert [(part.source, part.rows.tolist(), part.positions.ravel().tolist()) for part in parts] == [
        ("log.csv[episode=x]", [2, 4], [1.0, 3.0]),
        ("log.csv[episode=y]", [3], [2.0]),
    ]


def test_standard_input_and_output(monkeypatch: pytest.MonkeyPatch) -> None:
    out = io.BytesIO()
    monkeypatch.setattr(sys, "stdin", type("Standard", (), {"buffer": io.BytesIO(b"time_s,a\n0,1\n1,2\n")}))
    monkeypatch.setattr(sys, "stdout", type("Standard", (), {"buffer": out}))
    (recording,) = read("-", ReadOptions())
    assert recording.source == "standard input"
    write("-", recording, WriteOptions())
    assert out.getvalue() == b"time_s,a\n0,1\n1,2\n"


def test_addresses(tmp_path: Path) -> None:
    (tmp_path / "a b.csv").write_text("time_s,a\n0,1\n1,2\n")
    (recording,) = read(f"file://{tmp_path}/a%20b.csv", ReadOptions())
    for suffix in (".csv", ".csv.gz", ".parquet", ".feather", ".npz"):
        write(f"memory://there/x{suffix}", recording, WriteOptions())
        assert read(f"memory://there/x{suffix}", ReadOptions())[0].positions.tolist() == [[1.0], [2.0]]
    with pytest.raises(DataError, match=r"^memory://nowhere.csv: cannot be read: No such file or directory$"):
        read("memory://nowhere.csv", ReadOptions())
    with pytest.raises(DataError, match=rf"^{tmp_path}/none.csv: cannot be read: No such file or directory$"):
        read(f"{tmp_path}/none.csv", ReadOptions())
    with pytest.raises(
        UsageError,
        match=r"^log.xls: the name does not end as that of a known format; \.csv, .* --input-format names it$",
    ):
        read("log.xls", ReadOptions())
    assert {".csv", ".csv.gz", ".csv.zst", ".parquet", ".feather", ".npz", ".mcap", ".db3", ".bag", ".json"} <= set(
        suffixes()
    )


@settings(deadline=None, max_examples=200)
@given(st.lists(st.floats(allow_nan=False), min_size=1, max_size=30), st.sampled_from(["csv", "semicolon", "blanks"]))
def test_every_double_is_read_exactly(values: list[float], dialect: str) -> None:
    rows = [f"{index}.5,{value!r}" for index, value in enumerate(values)]
    text = "time,a\n" + "\n".join(rows) + "\n"
    if dialect == "semicolon":
        text = text.replace(",", ";").replace(".", ",")
    elif dialect == "blanks":
        text = text.replace(",", "  ")
    found = parse(text).positions[:, 0]
    np.testing.assert_array_equal(found.view(np.int64), np.array(values).view(np.int64))


def test_a_fault_far_behind_has_its_line(tmp_path: Path) -> None:
    lines = ["time_s,a", *(f"{k},{k}" for k in range(200_000))]
    lines[150_000] = "149999,oops"
    with gzip.open(tmp_path / "a.csv.gz", "wt") as file:
        file.write("\n".join(lines))
    with pytest.raises(DataError, match=r"a\.csv\.gz:150001: 'oops' in column 'a'; "):
        read(str(tmp_path / "a.csv.gz"), ReadOptions())
