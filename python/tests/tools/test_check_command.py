# SPDX-License-Identifier: Apache-2.0
"""`velmora check` from end to end: what fails, and what the report says of it."""

from __future__ import annotations

import json
from pathlib import Path
from xml.etree import ElementTree

import jsonschema
import numpy as np
import pytest
from support import ROOT, InProcess

SCHEMA = json.loads((ROOT / "docs/reference/report.schema.json").read_text())


def failures(path: Path) -> list[str | None]:
    return [failure.get("message") for failure in ElementTree.parse(path).getroot().iter("failure")]


def test_derivatives_that_overflow_fail(tmp_path: Path, here: InProcess) -> None:
    rows = [f"{index * 0.01:.2f},{(-1) ** index}e308" for index in range(200)]
    (tmp_path / "log.csv").write_text("time_s,j0\n" + "\n".join(rows) + "\n")
    (tmp_path / "l.csv").write_text("joint,max_velocity,max_acceleration\nj0,1,1\n")
    run = here("check", "log.csv", "--limits", "l.csv", "--junit", "j.xml")
    assert (run.code, run.err) == (1, "")
    lines = run.out.splitlines()
    assert lines[0] == "log.csv: FAILED: 2 of 2 limits violated (three-point derivatives)"
    assert lines[2].split() == ["j0", "velocity", "-1", "1", "not", "finite", "-", "0", "VIOLATED", "l.csv:2"]
    assert "  j0 acceleration: 200 samples outside, 0 to 1.99 s" in lines
    assert failures(tmp_path / "j.xml") == ["not finite at 0.0 s is outside of -1.0 to 1.0 (l.csv:2)"] * 2
    report = here("check", "log.csv", "--limits", "l.csv", "--json")
    jsonschema.validate(json.loads(report.out), SCHEMA)
    (tmp_path / "l.csv").write_text("joint,max_acceleration\nj0,1\n")
    assert here("check", "log.csv", "--limits", "l.csv").code == 1


def test_a_gate_that_checked_nothing_fails(tmp_path: Path, here: InProcess) -> None:
    (tmp_path / "log.csv").write_text("time_s,spin\n0.0,1\n0.5,2\n")
    np.savez(tmp_path / "none.npz", time=np.arange(3) * 0.5, positions=np.zeros((3, 0)))
    (tmp_path / "r.urdf").write_text('<robot><joint name="spin" type="continuous"/></robot>')
    words = "no limit of its joints is given, nothing was checked; at least one limit was expected"
    for source in ("log.csv", "none.npz"):
        run = here("check", source, "--limits", "r.urdf", "--junit", "j.xml", "--force")
        assert (run.code, run.err) == (1, "")
        assert run.out.splitlines()[0] == f"{source}: FAILED: {words}"
        assert failures(tmp_path / "j.xml") == [words]


def test_a_revolute_joint_without_limit_is_warned_of(tmp_path: Path, here: InProcess) -> None:
    (tmp_path / "log.csv").write_text("time_s,a,b\n0.0,1,1\n0.5,1,1\n")
    limited = '<joint name="b" type="revolute"><limit lower="-3" upper="3" velocity="3"/></joint>'
    (tmp_path / "r.urdf").write_text(f'<robot><joint name="a" type="revolute"/>{limited}</robot>')
    run = here("check", "log.csv", "--limits", "r.urdf")
    assert run.code == 0
    assert run.err == (
        "warning: log.csv: 'a' without limits in r.urdf; limits of all joints were expected; "
        "--joints leaves joints out\n"
    )


@pytest.mark.parametrize(
    ("options", "how"),
    [
        ([], "three-point"),
        (["--use-velocities"], "given and three-point"),
        (["--use-velocities", "--derivatives", "forward"], "forward"),
        (["--use-velocities", "--derivatives", "spline"], "spline"),
    ],
)
def test_the_report_says_which_derivatives_were_judged(
    tmp_path: Path, here: InProcess, options: list[str], how: str
) -> None:
    (tmp_path / "log.csv").write_text("time_s,a,a_velocity\n0.0,0,5\n0.5,0,5\n")
    (tmp_path / "l.csv").write_text("joint,max_velocity\na,9\n")
    run = here("check", "log.csv", "--limits", "l.csv", *options)
    assert run.out.splitlines()[0] == f"log.csv: passed: 0 of 1 limit violated ({how} derivatives)"
    assert run.out.splitlines()[2].split()[4] == ("5" if how.startswith("given") else "0")


def test_no_sign_of_zero_and_the_number_of_further_spans(tmp_path: Path, here: InProcess) -> None:
    rows = [f"{index * 0.1:.1f},{index % 2}" for index in range(8)]
    (tmp_path / "log.csv").write_text("time_s,a\n" + "\n".join(rows) + "\n")
    (tmp_path / "l.csv").write_text("joint,min_position,max_position,max_velocity\na,-0.0,0,0\n")
    run = here("check", "log.csv", "--limits", "l.csv", "--junit", "j.xml")
    assert run.out.splitlines()[2].split()[:5] == ["a", "position", "0", "0", "1"]
    assert " and 1 more span\n" in run.out
    assert "-0" not in run.out + "".join(map(str, failures(tmp_path / "j.xml")))


def test_what_was_dropped_before_the_check_is_said_everywhere(tmp_path: Path, here: InProcess) -> None:
    rows = "0.0,1\n0.1,1\n0.15,inf\n0.2,1\n0.2,500\n0.3,1\n"
    (tmp_path / "log.csv").write_text(f"time_s,a\n{rows}")
    (tmp_path / "l.csv").write_text("joint,max_velocity\na,9\n")
    options = ("log.csv", "--limits", "l.csv", "--missing", "drop", "--duplicate-times", "first")
    values = "1 row with missing or non-finite values, the first is row 4"
    times = "1 row with repeated times, the first of each was kept, the first is row 6"
    run = here("check", *options, "--junit", "j.xml")
    assert run.code == 0
    assert run.out.splitlines()[1:3] == [f"  dropped  {values}", f"  dropped  {times}"]
    suite = ElementTree.parse(tmp_path / "j.xml").getroot()[0]
    assert suite[-1].tag == "system-out"
    assert suite[-1].text == f"dropped: {values}\ndropped: {times}"
    report = json.loads(here("check", *options, "--json").out)
    jsonschema.validate(report, SCHEMA)
    mended = [{"key": "dropped", "text": values}, {"key": "dropped", "text": times}]
    assert report["files"][0]["recordings"][0]["mended"] == mended


def test_a_recording_without_faults_has_nothing_to_say_of_mending(tmp_path: Path, here: InProcess) -> None:
    (tmp_path / "log.csv").write_text("time_s,a\n0.0,1\n0.5,1\n")
    (tmp_path / "l.csv").write_text("joint,max_velocity\na,9\n")
    assert "dropped" not in here("check", "log.csv", "--limits", "l.csv", "--junit", "j.xml").out
    assert not list(ElementTree.parse(tmp_path / "j.xml").getroot().iter("system-out"))


def test_unwrap_does_not_hide_what_a_linear_joint_violates(tmp_path: Path, here: InProcess) -> None:
    (tmp_path / "rail.csv").write_text("time_s,s [m],a\n0,0,0\n0.1,4,0.1\n0.2,8,0.2\n0.3,12,0.3\n")
    (tmp_path / "l.csv").write_text("joint,max_velocity\ns,30\na,9\n")
    run = here("check", "rail.csv", "--limits", "l.csv", "--unwrap")
    assert run.code == 1
    assert run.out.startswith(
        "rail.csv: FAILED: 1 of 2 limits violated (three-point derivatives)\n"
        "  columns  kept by --unwrap, as their names say a length: 's [m]'\n"
    )
