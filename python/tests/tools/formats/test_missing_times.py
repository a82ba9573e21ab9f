# SPDX-License-Identifier: Apache-2.0
"""A missing time takes no digits from the others, comes out as an empty cell, and is not taken for a falling one."""

from pathlib import Path

import numpy as np
import pyarrow as pa
import pyarrow.parquet
import pytest
from velmora.tools.errors import DataError
from velmora.tools.formats import csv_reader, read, write
from velmora.tools.operations.checked import CheckOptions, checked
from velmora.tools.operations.clock_verdict import clock_verdict
from velmora.tools.operations.facts import facts
from velmora.tools.options import ReadOptions, WriteOptions
from velmora.tools.recording import MISSING_NS

EPOCH_NS = 1_700_000_000_123_456_789
STAMPS_NS = [EPOCH_NS, MISSING_NS, EPOCH_NS + 99_999_998, EPOCH_NS + 199_999_997]


@pytest.mark.parametrize(
    ("text", "stamps_ns"),
    [
        (f"time_ns,a\n{EPOCH_NS},2\n,3\n{EPOCH_NS + 99_999_998},3\n{EPOCH_NS + 199_999_997},4\n", STAMPS_NS),
        (f"time,a\nnan,2\n{EPOCH_NS},3\n", [MISSING_NS, EPOCH_NS]),
        (f"time,a\n0,1\n{EPOCH_NS},2\n{EPOCH_NS + 1},3\n", [0, EPOCH_NS, EPOCH_NS + 1]),
        ("time,a\n0.0,1\n1700000000.123456789,2\n1700000000.223456787,3\n", [0, EPOCH_NS, EPOCH_NS + 99_999_998]),
        ("time,a\n0.0,1\n,2\n0.2,3\n", [0, MISSING_NS, 200_000_000]),
        ("sec,nanosec,a\n1,5,1\n2,,2\n,7,3\n4,8,4\n", [1_000_000_005, MISSING_NS, MISSING_NS, 4_000_000_008]),
        ("time,a\n2026-11-21T10:00:00,1\n,2\n", [1_795_255_200_000_000_000, MISSING_NS]),
    ],
)
def test_text(text: str, stamps_ns: list[int]) -> None:
    (recording,) = csv_reader.parse("log.csv", text.encode(), ReadOptions())
    assert recording.stamps is not None
    assert recording.stamps.values.dtype == np.int64
    assert recording.stamps.values.tolist() == stamps_ns


@pytest.mark.parametrize("suffix", [".csv", ".tsv", ".parquet", ".feather", ".npz"])
@pytest.mark.parametrize("unit", ["ns", "us", "s"])
def test_missing_stays_missing(tmp_path: Path, suffix: str, unit: str) -> None:
    cells = {"ns": [str(EPOCH_NS), "", str(EPOCH_NS + 1)], "us": ["0", "", "250"], "s": ["0.5", "", "0.75"]}[unit]
    rows = "".join(f"{cell},1\n" for cell in cells)
    (first,) = csv_reader.parse("log.csv", f"time_{unit},a\n{rows}".encode(), ReadOptions())
    path = str(tmp_path / f"out{suffix}")
    notes = write(path, first, WriteOptions())
    assert bool(notes) == (suffix == ".npz")
    (again,) = read(path, ReadOptions())
    write(str(tmp_path / "again.csv"), again, WriteOptions())
    (last,) = read(str(tmp_path / "again.csv"), ReadOptions())
    assert first.stamps is not None
    assert last.stamps is not None
    assert last.stamps.values.tolist() == first.stamps.values.tolist()
    assert (tmp_path / "again.csv").read_text().splitlines()[2] == ",1"


def test_integers_of_parquet(tmp_path: Path) -> None:
    path = tmp_path / "in.parquet"
    stamps = pa.array([None if value == MISSING_NS else value for value in STAMPS_NS], pa.int64())
    pyarrow.parquet.write_table(pa.table({"time_ns": stamps, "a": np.arange(4.0)}), path)
    (recording,) = read(str(path), ReadOptions())
    assert recording.stamps is not None
    assert recording.stamps.values.tolist() == STAMPS_NS
    dropped = checked(recording, CheckOptions(missing="drop"))
    assert dropped.stamps is not None
    assert dropped.stamps.seconds().tolist() == [0.0, 0.099999998, 0.199999997]


def test_arrays_of_npz(tmp_path: Path) -> None:
    path = tmp_path / "in.npz"
    times = np.array(["2026-11-21T10:00:00", "NaT", "2026-11-21T10:00:01"], "datetime64[us]")
    np.savez(path, time=times, positions=np.arange(3.0))
    (recording,) = read(str(path), ReadOptions())
    assert recording.stamps is not None
    assert recording.stamps.values.tolist() == [1_795_255_200_000_000_000, MISSING_NS, 1_795_255_201_000_000_000]
    np.savez(path, time=np.array([0, 2**63], np.uint64), positions=np.arange(2.0))
    with pytest.raises(DataError, match="array 'time': a time does not fit into 64 bits with a sign"):
        read(str(path), ReadOptions())


def test_the_verdict_counts_them_and_judges_the_others() -> None:
    text = "time,a\n0.0,1\n0.1,2\n,2\n0.2,3\n0.3,4\ninf,4\n0.4,5\n"
    (recording,) = csv_reader.parse("log.csv", text.encode(), ReadOptions())
    verdict = clock_verdict(recording)
    assert verdict is not None
    assert verdict.broken
    assert verdict.summary.startswith("BROKEN: 2 times missing or not finite; even, 10 Hz")
    assert (verdict.falling, verdict.repeated, len(verdict.gaps)) == (0, 0, 0)
    assert verdict.not_finite_rows == (4, 7)
    assert facts(recording)["duration_s"] == 0.4
    with pytest.raises(DataError, match=r"log\.csv:4: the time is missing or not a number; a finite"):
        checked(recording, CheckOptions())


@pytest.mark.parametrize(
    ("times", "row", "bad"),
    [
        (["2026-02-27T10:00:00", "2026-02-28T10:00:00", "2026-02-30T10:00:00", "2026-03-01T10:00:00"], 5, None),
        (["2026-02-30T10:00:00", "2026-02-28T10:00:00"], 3, None),
        (["", "2026-02-30T10:00:00"], 4, None),
        (["2026-02-27T10:00:00", "3000000000"], 4, "3000000000"),
        (["3000000000.5", "", "17:00"], 5, "17:00"),
    ],
)
def test_the_first_cell_that_is_no_time_has_its_row(times: list[str], row: int, bad: str | None) -> None:
    text = "\n".join(["# made by hand", "time,a", *(f"{time},1" for time in times)])
    with pytest.raises(DataError) as error:
        csv_reader.parse("log.csv", text.encode(), ReadOptions())
    assert str(error.value) == (
        f"log.csv:{row}: '{bad or '2026-02-30T10:00:00'}' in column 'time' is no time; numbers were expected, or dates "
        "such as 2026-11-21T10:00:00; --time-column names another column"
    )


def test_no_time_is_there() -> None:
    (recording,) = csv_reader.parse("log.csv", b"time,a\n,1\n,2\n", ReadOptions())
    assert facts(recording)["first_stamp"] is None
    assert facts(recording)["duration_s"] is None
    verdict = clock_verdict(recording)
    assert verdict is not None
    assert (verdict.summary, verdict.origin) == (
        "BROKEN: 2 times missing or not finite; no steps",
        "no time is there",
    )
