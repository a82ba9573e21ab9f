# SPDX-License-Identifier: Apache-2.0
"""What is written says its unit of time: by the column's name, by the numbers or beside them."""

from pathlib import Path

import numpy as np
import pyarrow as pa
import pyarrow.feather
import pyarrow.parquet
import pytest
from velmora.tools.errors import DataError
from velmora.tools.formats import read, write, write_groups
from velmora.tools.options import ReadOptions, WriteOptions
from velmora.tools.recording import MISSING_NS, Column, Layout, Recording, Stamps

TABLES = (".csv", ".tsv", ".parquet", ".feather")


def make(name: str, unit: str, values: np.ndarray) -> Recording:
    """A recording of one joint whose times stood in a column of that name; nanoseconds, or seconds as doubles."""
    positions = np.linspace(0.0, 1.0, len(values)).reshape(-1, 1)
    columns = (Column(name, "time"), Column("elbow", "positions", "elbow"))
    rows = np.arange(1, len(values) + 1)
    layout = Layout("csv", columns)
    return Recording(
        "made", ("elbow",), Stamps(values, unit), positions, None, None, None, None, rows, None, (), layout
    )


@pytest.mark.parametrize(
    ("name", "unit", "step_ns", "written"),
    [
        ("time", "ms", 4_000_000, "time_ms"),  # 0, 4, 8 may be seconds
        ("time", "ms", 10_000_000, "time"),
        ("time", "ms", 3_333_333, "time_ms"),  # 3.333333 looks like seconds
        ("stamp", "us", 10_000_000, "stamp"),
        ("stamp", "us", 3_333_333, "stamp_us"),
        ("stamp", "us", 200_000, "stamp_us"),  # steps of 200 are those of milliseconds
        ("stamp", "ns", 100_000, "stamp_ns"),  # and of 100000 those of microseconds
        ("stamp", "ns", 4_000_000, "stamp"),
        ("header.stamp", "ns", 100_000, "header.stamp_ns"),
        ("time", "s", 4_000_000_000, "time"),
        ("time_ms", "us", 4_000_000, "time_us"),  # --time-unit spoke against the name
        ("header.stamp_ms", "us", 4_000_000, "header.stamp_us"),
        ("Time [ms]", "ms", 4_000_000, "Time [ms]"),
        ("Time [ms]", "s", 4_000_000, "Time_s"),
    ],
)
@pytest.mark.parametrize("suffix", TABLES)
def test_a_name_is_kept_where_the_unit_is_found_again(
    tmp_path: Path, suffix: str, name: str, unit: str, step_ns: int, written: str
) -> None:
    path = str(tmp_path / f"out{suffix}")
    stamps = np.arange(200) * step_ns
    write(path, make(name, unit, stamps), WriteOptions())
    (again,) = read(path, ReadOptions())
    assert again.layout.columns[0].name == written
    assert again.stamps is not None
    assert again.stamps.unit == unit
    np.testing.assert_array_equal(again.stamps.values, stamps)


def test_milliseconds_of_weeks_are_no_epoch_seconds(tmp_path: Path) -> None:
    path = str(tmp_path / "out.csv")
    stamps = (400_000_000 + np.arange(50) * 10) * 1_000_000
    write(path, make("time", "ms", stamps), WriteOptions())
    (again,) = read(path, ReadOptions())
    assert again.stamps is not None
    np.testing.assert_array_equal(again.stamps.values, stamps)


@pytest.mark.parametrize("suffix", [".csv", ".tsv"])
def test_a_duration_of_parquet_becomes_text(tmp_path: Path, suffix: str) -> None:
    source = tmp_path / "in.parquet"
    stamps = pa.array(np.arange(20) * 200, pa.duration("us"))
    pyarrow.parquet.write_table(pa.table({"stamp": stamps, "elbow": np.arange(20.0)}), source)
    (first,) = read(str(source), ReadOptions())
    write(str(tmp_path / f"out{suffix}"), first, WriteOptions())
    (again,) = read(str(tmp_path / f"out{suffix}"), ReadOptions())
    assert again.stamps is not None
    np.testing.assert_array_equal(again.stamps.values, np.arange(20) * 200_000)


@pytest.mark.parametrize("suffix", [".npz", ".parquet", ".feather"])
def test_whole_doubles_of_other_programs_are_judged_by_their_steps(tmp_path: Path, suffix: str) -> None:
    def stored(step: float) -> str:
        path = str(tmp_path / f"in{suffix}")
        columns = {"time": np.arange(5) * step, "positions": np.arange(5.0)}
        if suffix == ".npz":
            np.savez(path, **columns)
        elif suffix == ".parquet":
            pyarrow.parquet.write_table(pa.table(columns), path)
        else:
            pa.feather.write_feather(pa.table(columns), path)
        return path

    with pytest.raises(DataError, match="has whole numbers in steps of 4, seconds or milliseconds"):
        read(stored(4.0), ReadOptions())
    for step, unit, text in (
        (10.0, "ms", "in ms, as they are whole numbers in steps of 10"),
        (0.25, "s", "in s, as the numbers are not whole"),
    ):
        (recording,) = read(stored(step), ReadOptions())
        assert recording.stamps is not None
        assert recording.stamps.unit == unit
        assert recording.notes[0].text.endswith(text)


@pytest.mark.parametrize("suffix", [".npz", ".parquet", ".feather"])
def test_whole_seconds_stay_seconds_in_binary_files(tmp_path: Path, suffix: str) -> None:
    path = str(tmp_path / f"out{suffix}")
    write(path, make("time", "s", np.arange(5) * 1_000_000_000), WriteOptions())
    (again,) = read(path, ReadOptions())
    assert again.stamps is not None
    np.testing.assert_array_equal(again.stamps.values, np.arange(5) * 1_000_000_000)
    (said,) = read(path, ReadOptions(time_unit="ms"))
    assert said.stamps is not None
    assert said.stamps.unit == "ms"
    np.testing.assert_array_equal(said.stamps.values, np.arange(5) * 1_000_000)


@pytest.mark.parametrize("suffix", [".parquet", ".feather", ".csv"])
def test_seconds_of_two_columns_are_whole(tmp_path: Path, suffix: str) -> None:
    path = str(tmp_path / f"x{suffix}")

    def stored(seconds: list[float | None], nanoseconds: list[int]) -> str:
        table = pa.table({"sec": seconds, "nanosec": nanoseconds, "a": [1.0] * len(seconds)})
        if suffix == ".csv":
            rows = zip(seconds, nanoseconds, strict=True)
            text = [f"{'' if sec is None else f'{sec:g}'}, {nanosec}, 1.0\n" for sec, nanosec in rows]
            Path(path).write_text("sec, nanosec, a\n" + "".join(text))
        elif suffix == ".parquet":
            pyarrow.parquet.write_table(table, path)
        else:
            pyarrow.feather.write_feather(table, path)
        return path

    stamps = read(stored([0.0, None, 2.0], [5, 5, 5]), ReadOptions())[0].stamps
    assert stamps is not None and stamps.values.tolist() == [5, MISSING_NS, 2_000_000_005]
    with pytest.raises(DataError) as error:
        read(stored([0.0, 0.5, 1.0], [0, 0, 0]), ReadOptions())
    assert str(error.value) == (
        f"{path}: column 'sec': '0.5' is no whole number of 64 bits; whole seconds and nanoseconds were expected in "
        "two columns; --time-column names another column"
    )


@pytest.mark.parametrize("unit", ["ms", "us"])
@pytest.mark.parametrize("suffix", [*TABLES, ".npz"])
def test_doubles_of_other_units_keep_every_bit(tmp_path: Path, suffix: str, unit: str) -> None:
    times = np.sort(np.random.default_rng(1).uniform(0.0, 2000.0, 200))
    times[:2] = 0.5118216247002567, 15.921652444796262  # seconds give back neither
    text = f"time_{unit},a\n" + "".join(f"{time},1\n" for time in times.tolist())
    (tmp_path / "a.csv").write_text(text)
    (first,) = read(str(tmp_path / "a.csv"), ReadOptions())
    assert first.stamps is not None
    np.testing.assert_array_equal(first.stamps.values, times / {"ms": 1e3, "us": 1e6}[unit])
    write(str(tmp_path / f"b{suffix}"), first, WriteOptions())
    (again,) = read(str(tmp_path / f"b{suffix}"), ReadOptions())
    write(str(tmp_path / "c.csv"), again, WriteOptions())
    assert (tmp_path / "c.csv").read_text() == text


def test_doubles_of_groups_keep_every_bit(tmp_path: Path) -> None:
    text = "g,time_ms,a\n1,0.5118216247002567,1\n2,15.921652444796262,2\n1,15.921652444796262,3\n"
    (tmp_path / "a.csv").write_text(text)
    write_groups(str(tmp_path / "b.csv"), read(str(tmp_path / "a.csv"), ReadOptions(group_by="g")), WriteOptions())
    lines = text.splitlines()
    assert (tmp_path / "b.csv").read_text().splitlines() == [lines[0], lines[1], lines[3], lines[2]]


@pytest.mark.parametrize("suffix", [".csv", ".tsv"])
def test_microseconds_of_hours_have_no_exponent(tmp_path: Path, suffix: str) -> None:
    path = str(tmp_path / f"out{suffix}")
    stamps = (20_000_000_000 + np.arange(50) * 4_000) * 1_000
    write(path, make("time", "us", stamps), WriteOptions())
    assert Path(path).read_text().splitlines()[2].startswith("20000004000")
    (again,) = read(path, ReadOptions())
    assert again.stamps is not None
    assert again.stamps.unit == "us"
    np.testing.assert_array_equal(again.stamps.values, stamps)


@pytest.mark.parametrize(("unit", "per_second"), [("ms", 1e3), ("us", 1e6), ("ns", 1e9)])
def test_doubles_of_epoch_times_become_text_that_comes_back(tmp_path: Path, unit: str, per_second: float) -> None:
    times = (1_700_050_789.4585315 + np.arange(20) / 300.0) * per_second
    columns = {f"time_{unit}": pa.array([*times, None]), "a": np.arange(21.0)}
    pyarrow.parquet.write_table(pa.table(columns), tmp_path / "in.parquet")
    write(str(tmp_path / "a.csv"), read(str(tmp_path / "in.parquet"), ReadOptions())[0], WriteOptions())
    cells = [line.split(",")[0] for line in (tmp_path / "a.csv").read_text().splitlines()[1:]]
    assert "e" not in "".join(cells)
    assert [float(cell) for cell in cells[:-1]] == times.tolist()
    assert cells[-1] == ""
    write(str(tmp_path / "b.csv"), read(str(tmp_path / "a.csv"), ReadOptions())[0], WriteOptions())
    assert (tmp_path / "b.csv").read_bytes() == (tmp_path / "a.csv").read_bytes()
