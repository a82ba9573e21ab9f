# SPDX-License-Identifier: Apache-2.0
"""`resample_many`, and many files on the command line: the same thing."""

from __future__ import annotations

import csv
import json
from pathlib import Path
from typing import Any

import numpy as np
import pyarrow.parquet as pq
import pytest
import velmora as vm
from support import velmora, write_log
from velmora.tools import formats, resample_many
from velmora.tools.batch.summary import COLUMNS
from velmora.tools.errors import DataError, UsageError
from velmora.tools.options import ReadOptions


@pytest.fixture
def logs(tmp_path: Path) -> Path:
    for index in range(4):
        write_log(tmp_path / f"logs/{index}.csv", shift=index)
    (tmp_path / "logs/broken.csv").write_text("time_s,a\n0,1\n0,2\n")
    return tmp_path / "logs"


def test_rows_in_the_order_of_the_files(tmp_path: Path, logs: Path) -> None:
    seen: list[tuple[str, str]] = []
    rows = resample_many(
        [logs / "1.csv", logs / "broken.csv", logs / "0.csv"],
        str(tmp_path / "{stem}_50hz.csv"),
        rate_hz=50,
        jobs=2,
        on_done=lambda source, status: seen.append((Path(source).name, status)),
    )
    assert [(Path(row["source"]).name, row["status"]) for row in rows] == [
        ("1.csv", "done"),
        ("broken.csv", "failed"),
        ("0.csv", "done"),
    ]
    assert sorted(seen) == [("0.csv", "done"), ("1.csv", "done"), ("broken.csv", "failed")]
    assert (rows[0]["samples_in"], rows[0]["samples_out"], rows[0]["duration_s"]) == (50, 26, 0.49)
    assert rows[1]["message"].startswith(f"{logs}/broken.csv:3: the time 0 s repeats that of row 2;")
    (source,) = formats.read(str(logs / "1.csv"), ReadOptions())
    (result,) = formats.read(str(tmp_path / "1_50hz.csv"), ReadOptions())
    assert source.stamps is not None
    expected = vm.resample_trajectory(vm.JointTrajectory(source.positions, time=source.stamps.seconds()), 0.02)
    np.testing.assert_array_equal(result.positions, expected.positions)


def test_results_in_the_folder_of_the_inputs(logs: Path) -> None:
    for force in (False, True):
        rows = resample_many(logs, output_dir=logs / "out", rate_hz=50, jobs=1, force=force)
        assert len(rows) == 5


def test_arguments_are_checked(tmp_path: Path, logs: Path) -> None:
    with pytest.raises(UsageError, match="one of sample_time_s, rate_hz, samples was expected"):
        resample_many(logs, output_dir=tmp_path / "out")
    with pytest.raises(UsageError, match="one of sample_time_s, rate_hz, samples was expected"):
        resample_many(logs, output_dir=tmp_path / "out", rate_hz=3, samples=7)
    with pytest.raises(UsageError, match="an output is needed"):
        resample_many(logs, rate_hz=3)
    with pytest.raises(UsageError, match="'speeds' is not known"):
        resample_many(logs, output_dir=tmp_path / "out", rate_hz=3, columns=["positions", "speeds"])


def test_members_and_paths_are_as_good_as_their_texts(tmp_path: Path, logs: Path) -> None:
    methods: list[Any] = ["linear", vm.ResamplingMethod.linear]
    modes: list[Any] = ["exact_dt_trim", vm.ResamplingTimeGridMode.exact_dt_trim]
    for index, path in enumerate((str(tmp_path / "0.csv"), tmp_path / "1.csv")):
        (row,) = resample_many(logs / "0.csv", path, rate_hz=30, method=methods[index], grid_mode=modes[index])
        assert (row["status"], row["output"], row["samples_out"]) == ("done", str(path), 15)
    assert (tmp_path / "0.csv").read_bytes() == (tmp_path / "1.csv").read_bytes()
    other: Any = vm.ResamplingTimeGridMode.exact_dt_trim
    with pytest.raises(UsageError, match=r"method is <ResamplingTimeGridMode\.exact_dt_trim: 1>; linear, cubic were"):
        resample_many(logs, tmp_path / "{stem}.csv", rate_hz=30, method=other)


@pytest.mark.parametrize(
    ("arguments", "expected"),
    [
        ({"rate_hz": 0}, "rate_hz is 0; a finite number above 0 was expected"),
        ({"rate_hz": "50"}, "rate_hz is '50'; a finite number above 0 was expected"),
        ({"rate_hz": 5e-324}, "rate_hz is 5e-324; a finite number above 0 was expected"),
        ({"sample_time_s": float("nan")}, "sample_time_s is nan; a finite number above 0 was expected"),
        ({"samples": 2.5}, r"samples is 2\.5; a whole number from 1 on was expected"),
        ({"rate_hz": 50, "max_gap_s": -1}, "max_gap_s is -1; a finite number above 0 was expected"),
        ({"rate_hz": 50, "max_samples": 0}, "max_samples is 0; a whole number from 1 on was expected"),
        ({"rate_hz": 50, "jobs": -1}, "jobs is -1; a whole number from 0 on was expected"),
        ({"rate_hz": 50, "method": "quintic"}, "method is 'quintic'; linear, cubic were expected"),
        ({"rate_hz": 50, "grid_mode": "trim"}, "grid_mode is 'trim'; exact_dt_append_endpoint, exact_dt_trim, "),
        ({"rate_hz": 50, "gaps": "foo"}, "gaps is 'foo'; bridge, split, error were expected"),
    ],
)
def test_arguments_out_of_range(tmp_path: Path, logs: Path, arguments: dict[str, Any], expected: str) -> None:
    with pytest.raises(UsageError, match=f"^resample_many: {expected}"):
        resample_many(logs, output_dir=tmp_path / "out", **arguments)
    assert not (tmp_path / "out").exists()


def test_how_files_are_read_is_checked() -> None:
    with pytest.raises(UsageError, match=r"^joints is 'j0'; a list of names was expected$"):
        ReadOptions(joints="j0")  # type: ignore[arg-type]  # refused
    with pytest.raises(UsageError, match=r"^time_unit is 'min'; auto, s, ms, us, ns were expected$"):
        ReadOptions(time_unit="min")  # type: ignore[arg-type]  # refused
    with pytest.raises(UsageError, match=r"^time_from is 'file'; header, log were expected$"):
        ReadOptions(time_from="file")  # type: ignore[arg-type]  # refused


def test_one_file_that_is_not_there(tmp_path: Path) -> None:
    with pytest.raises(DataError, match=r"gone\.csv: there is no such file; a recording was expected$"):
        resample_many(tmp_path / "gone.csv", str(tmp_path / "o.csv"), rate_hz=3)


@pytest.mark.parametrize("suffix", ["csv", "json", "parquet"])
def test_the_command_does_the_others_and_writes_a_summary(tmp_path: Path, logs: Path, suffix: str) -> None:
    run = velmora(
        "resample",
        "logs",
        "--rate",
        "50",
        "--output-dir",
        "out",
        "--jobs",
        "2",
        "--summary",
        f"s.{suffix}",
        cwd=tmp_path,
    )
    assert run.code == 1
    assert run.out == ""
    lines = run.err.splitlines()
    assert lines[0].startswith("logs/broken.csv:3: the time 0 s repeats that of row 2;")
    assert lines[1].startswith("5 files: 4 done, 1 failed; ")
    path = tmp_path / f"s.{suffix}"
    if suffix == "csv":
        with path.open(newline="") as file:
            rows = list(csv.DictReader(file))
    else:
        rows = json.loads(path.read_text()) if suffix == "json" else pq.read_table(path).to_pylist()
    assert tuple(rows[0]) == COLUMNS
    assert [row["status"] for row in rows] == ["done"] * 4 + ["failed"]
    assert [row["output"] for row in rows[:2]] == ["out/0.csv", "out/1.csv"]
    again = velmora("resample", "logs", "--rate", "50", "--output-dir", "out", "--resume", cwd=tmp_path)
    assert "5 files: 4 skipped, 1 failed;" in again.err


def test_a_summary_of_another_kind_is_refused_before_the_work(tmp_path: Path, logs: Path) -> None:
    run = velmora("resample", "logs", "--rate", "50", "--output-dir", "out", "--summary", "s.xlsx", cwd=tmp_path)
    assert (run.code, run.err) == (2, "s.xlsx: the suffix is not known; .csv, .json or .parquet was expected\n")
    assert not list((tmp_path / "out").glob("*.csv"))


def test_info_and_check_of_many_files_in_their_order(tmp_path: Path, logs: Path) -> None:
    (tmp_path / "l.csv").write_text("joint,max_velocity\njoint_1,3\njoint_2,3\n")
    info = velmora("info", "logs", "--jobs", "2", cwd=tmp_path)
    assert info.code == 1
    assert [line for line in info.out.splitlines() if line.endswith(".csv")] == [
        *(f"logs/{index}.csv" for index in range(4)),
        "logs/broken.csv",
    ]
    check = velmora("check", "logs/0.csv", "logs/1.csv", "--limits", "l.csv", cwd=tmp_path)
    assert check.code == 0
    assert [line for line in check.out.splitlines() if "passed" in line] == [
        f"logs/{index}.csv: passed: 0 of 2 limits violated (three-point derivatives)" for index in range(2)
    ]
