# SPDX-License-Identifier: Apache-2.0
"""Values, times and names at the edge: every command says what it has to say, and no raw warning."""

from __future__ import annotations

import json
from pathlib import Path

import jsonschema
import pytest
from support import ROOT, InProcess

SCHEMA = json.loads((ROOT / "docs/reference/report.schema.json").read_text())


@pytest.mark.parametrize(
    ("first", "there"), [("", {"ns": "100000000"}), ("nan", {"ns": "100000000"}), ("inf", {"s": 0.1})]
)
@pytest.mark.filterwarnings("error")
def test_a_first_time_that_is_not_finite(tmp_path: Path, here: InProcess, first: str, there: dict[str, object]) -> None:
    rows = "".join(f"{index * 0.1:.1f},{index}\n" for index in range(1, 9))
    (tmp_path / "log.csv").write_text(f"time_s,a\n{first},0\n{rows}")
    run = here("info", "log.csv", "--json")
    assert run.code == 1
    report = json.loads(run.out)
    jsonschema.validate(report, SCHEMA)
    assert report["files"][0]["recordings"][0]["first_stamp"] == there
    assert run.err == ""
    assert here("info", "log.csv").err == ""


@pytest.mark.parametrize(("command", "output"), [("plot", "p.png"), ("report", "r.html")])
@pytest.mark.parametrize("size", ["1e308", "1e307", "1e300"])
@pytest.mark.filterwarnings("error")
def test_pictures_of_values_whose_derivatives_overflow(
    tmp_path: Path, here: InProcess, command: str, output: str, size: str
) -> None:
    rows = "".join(f"{index * 0.01:.2f},{'-' if index % 2 else ''}{size}\n" for index in range(200))
    (tmp_path / "log.csv").write_text(f"time_s,a\n{rows}")
    run = here(command, "log.csv", "-o", output)
    assert (run.code, run.err) == (0, f"log.csv -> {output}\n")
    assert (tmp_path / output).stat().st_size > 10_000


@pytest.mark.filterwarnings("error")
def test_names_without_a_sign_in_the_fonts(tmp_path: Path, here: InProcess) -> None:
    (tmp_path / "log.csv").write_text("time_s,\u5173\u8282\n0.0,1\n0.1,2\n")
    run = here("plot", "log.csv", "-o", "p.png")
    assert (run.code, run.err) == (0, "log.csv -> p.png\n")


@pytest.mark.parametrize("name", ["p.jpg", "p", "{stem}"])
def test_pictures_of_another_kind(tmp_path: Path, here: InProcess, name: str) -> None:
    (tmp_path / "log.csv").write_text("time_s,a\n0.0,1\n0.1,2\n")
    run = here("plot", "log.csv", "-o", name)
    assert (run.code, run.err) == (2, f"{name}: no picture has such a suffix; .png, .svg or .pdf was expected\n")


def test_info_counts_cells_of_given_derivatives_too(tmp_path: Path, here: InProcess) -> None:
    rows = "0.0,1,1,nan\n0.1,2,2,2\n0.2,3,3,inf\n0.3,4,4,\n"
    (tmp_path / "log.csv").write_text(f"time_s,a,b,a_velocity\n{rows}")
    lines = here("info", "log.csv").out.splitlines()
    assert "  missing: 1 cell of a in velocities, row 5" in lines
    assert "  not finite: 2 cells of a in velocities, rows 2, 4" in lines
    report = json.loads(here("info", "log.csv", "--json").out)
    jsonschema.validate(report, SCHEMA)
    run = here("info", "log.csv", "--use-velocities", "--joints", "a")
    assert "  FAULT    log.csv:2: velocity of 'a' is not a number; " in run.out
    (tmp_path / "log.csv").write_text("time_s,a,a_velocity\n0.0,1,\n0.1,2,2\n")
    assert "  FAULT    log.csv:2: velocity of 'a' is missing; " in here("info", "log.csv", "--use-velocities").out


@pytest.mark.parametrize("method", ["linear", "cubic"])
def test_a_new_grid_takes_no_velocities_from_the_file(tmp_path: Path, here: InProcess, method: str) -> None:
    (tmp_path / "log.csv").write_text("time_s,a,a_velocity\n0.0,0,100\n0.1,1,200\n0.2,2,300\n")
    for name, flags in (("without.csv", []), ("with.csv", ["--use-velocities"])):
        assert here("resample", "log.csv", "--rate", "20", "--method", method, "-o", name, *flags).code == 0
    assert (tmp_path / "with.csv").read_bytes() == (tmp_path / "without.csv").read_bytes()
    assert "on a new grid come from the positions alone" in " ".join(here("resample", "--help").out.split())


def test_info_says_what_was_dropped_for_the_peaks(tmp_path: Path, here: InProcess) -> None:
    (tmp_path / "log.csv").write_text("time_s,a\n0.0,1\n0.1,nan\n0.2,1\n0.3,1\n")
    run = here("info", "log.csv", "--missing", "drop")
    assert run.code == 0
    assert "  dropped  1 row with missing or non-finite values, the first is row 3\n" in run.out
    assert "dropped" not in here("info", "log.csv").out
