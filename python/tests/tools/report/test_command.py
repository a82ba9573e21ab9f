# SPDX-License-Identifier: Apache-2.0
"""`velmora report` and `velmora plot` as a user runs them."""

from __future__ import annotations

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

import numpy as np
import pytest
from report_reader import read

RECORDING = Path(__file__).resolve().parents[4] / "examples/data/pick_and_place_250hz.csv"
LIMITS = """joint_limits:
  joint_1:
    has_acceleration_limits: true
    max_acceleration: 5.0
"""


def run(folder: Path, *arguments: str) -> subprocess.CompletedProcess[str]:
    environment = {name: value for name, value in os.environ.items() if not name.startswith("VELMORA_")}
    return subprocess.run(
        [sys.executable, "-m", "velmora.tools.main", *arguments],
        cwd=folder,
        env=environment,
        capture_output=True,
        text=True,
        check=False,
    )


@pytest.fixture
def folder(tmp_path: Path) -> Path:
    shutil.copy(RECORDING, tmp_path / "log.csv")
    (tmp_path / "limits.yaml").write_text(LIMITS)
    return tmp_path


def test_a_report_shows_the_recording_before_and_after(folder: Path) -> None:
    done = run(folder, "report", "log.csv", "--rate", "500", "--limits", "limits.yaml", "-o", "report.html")
    assert done.returncode == 0, done.stderr
    page = (folder / "report.html").read_bytes()
    assert len(page) < 1_000_000
    meta, tracks = read(page)
    assert meta["joints"] == [f"joint_{j}" for j in range(1, 8)]
    assert [track["name"] for track in meta["tracks"]] == ["before", "after"]
    recorded = np.genfromtxt(folder / "log.csv", delimiter=",", skip_header=2)
    low, _ = tracks[0]["positions", 0]
    np.testing.assert_allclose(low, recorded[:, 1], atol=1e-4)
    text = page.decode()
    assert re.search(r"<dt>rate</dt><dd>500(\.0)? <span class=\"origin\">command line</span>", text)
    assert '<dt>method</dt><dd>cubic <span class="origin">default</span>' in text
    assert "velmora report log.csv --rate 500 --limits limits.yaml -o report.html" in text
    # The acceleration passes its limit in both curves, and so do two spans of each in the list.
    assert '<a href="#violations">limits violated by 1 joint after resampling</a>' in text
    listed = text[text.index('id="violations"') : text.index('id="curves"')]
    assert (listed.count("<td>before</td>"), listed.count("<td>after</td>")) == (2, 2)
    assert listed.count("limits.yaml:") == 4


def test_pieces_keep_their_place_in_time(folder: Path) -> None:
    done = run(folder, "report", "log.csv", "-r", "500", "--gaps", "split", "-l", "limits.yaml", "-o", "report.html")
    assert done.returncode == 0, done.stderr
    meta, _ = read((folder / "report.html").read_bytes())
    before, after = meta["tracks"]
    assert len(before["breaks"]) == len(after["breaks"]) == 1
    assert after["last"] == pytest.approx(before["last"], abs=1e-6)
    assert len(meta["violations"]) == 4
    assert all(7.0 < violation["from"] < violation["to"] < 7.7 for violation in meta["violations"])


def test_gaps_are_judged_without_a_grid_as_with_one(folder: Path) -> None:
    gaps = []
    for longest in ("0.01", "1"):
        done = run(folder, "report", "log.csv", "--max-gap", longest, "--force", "-o", "report.html")
        assert done.returncode == 0, done.stderr
        meta, _ = read((folder / "report.html").read_bytes())
        gaps.append(len(meta["gaps"]))
    assert gaps[0] > gaps[1] == 0
    assert run(folder, "plot", "log.csv", "--gaps", "error", "--max-gap", "1", "-o", "p.png").returncode == 0
    refused = run(folder, "plot", "log.csv", "--gaps", "error", "-o", "q.png")
    assert (refused.returncode, refused.stderr) == (
        1,
        "log.csv:581: 1 gap, the first after 2.308197 s, 0.055951 s long; no step over 0.03998 s was expected; --gaps "
        "bridge or split, --max-gap\n",
    )


def test_columns_are_checked_without_a_grid_too(folder: Path) -> None:
    refused = run(folder, "plot", "log.csv", "--columns", "efforts", "-o", "p.png")
    assert refused.returncode == 2
    assert refused.stderr.startswith("--columns: 'efforts' is not known")


def test_the_same_command_writes_the_same_bytes(folder: Path) -> None:
    pages = []
    for _ in range(2):
        assert run(folder, "report", "log.csv", "-o", "report.html", "--force").returncode == 0
        pages.append((folder / "report.html").read_bytes())
    assert pages[0] == pages[1]


@pytest.mark.parametrize(("suffix", "start"), [("png", b"\x89PNG"), ("svg", b"<?xml"), ("pdf", b"%PDF")])
def test_a_picture_needs_no_display(folder: Path, suffix: str, start: bytes) -> None:
    done = run(folder, "plot", "log.csv", "--rate", "500", "-l", "limits.yaml", "-o", f"picture.{suffix}")
    assert done.returncode == 0, done.stderr
    assert (folder / f"picture.{suffix}").read_bytes().startswith(start)


@pytest.mark.parametrize("name", ["picture.png", "picture", "-"])
def test_the_format_that_was_asked_for_counts_whatever_the_name(folder: Path, name: str) -> None:
    done = run(folder, "plot", "log.csv", "--format", "svg", "-o", name)
    assert done.returncode == 0, done.stderr
    assert (done.stdout if name == "-" else (folder / name).read_text()).startswith("<?xml")


@pytest.mark.parametrize(
    ("arguments", "expected"),
    [
        (("plot", "-o", "-"), "-o -: standard output has no suffix; --format png, svg or pdf was expected\n"),
        (("report", "-o", "x.png"), "x.png: a report has no such suffix; .html was expected\n"),
        (("report", "-o", "{stem}.CSV.gz"), "{stem}.CSV.gz: a report has no such suffix; .html was expected\n"),
    ],
)
def test_a_name_of_another_kind_of_file_is_refused(folder: Path, arguments: tuple[str, ...], expected: str) -> None:
    done = run(folder, arguments[0], "log.csv", *arguments[1:])
    assert (done.returncode, done.stderr, done.stdout) == (2, expected, "")
    assert sorted(path.name for path in folder.iterdir()) == ["limits.yaml", "log.csv"]
