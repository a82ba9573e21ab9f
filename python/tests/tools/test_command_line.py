# SPDX-License-Identifier: Apache-2.0
"""The command from end to end: what goes where, messages, exit codes."""

from __future__ import annotations

import json
import os
import subprocess
import sys
from pathlib import Path
from xml.etree import ElementTree

import jsonschema
import pytest
import velmora as vm
from support import ROOT, SAMPLE, InProcess, environment, velmora, write_log
from velmora.tools.main import COMMANDS

SCHEMA = json.loads((ROOT / "docs/reference/report.schema.json").read_text())


@pytest.fixture
def log(tmp_path: Path) -> Path:
    return write_log(tmp_path / "log.csv")


def test_version_and_help_load_neither_numpy_nor_readers(tmp_path: Path) -> None:
    run = velmora("--version", cwd=tmp_path)
    assert (run.code, run.out, run.err) == (0, f"velmora {vm.__version__}\n", "")
    program = (
        "import sys; from velmora.tools.main import run; run(['--help']); "
        "sys.exit(bool({'numpy', 'pyarrow', 'rich'} & set(sys.modules)))"
    )
    done = subprocess.run(
        [sys.executable, "-c", program], env=environment(), capture_output=True, text=True, check=False
    )
    assert done.returncode == 0, done.stdout
    assert all(name in done.stdout for name in COMMANDS)


@pytest.mark.parametrize("command", COMMANDS)
def test_every_command_has_help_with_examples(tmp_path: Path, command: str) -> None:
    run = velmora(command, "--help", cwd=tmp_path)
    assert run.code == 0, run.err
    assert f"  velmora {command} " in run.out.split("Examples:")[1]


@pytest.mark.parametrize(
    ("shell", "expected"),
    [("bash", "complete -o nosort"), ("zsh", "#compdef velmora"), ("fish", "complete --no-files --command velmora")],
)
def test_completion_scripts(tmp_path: Path, shell: str, expected: str) -> None:
    run = velmora("completion", shell, cwd=tmp_path)
    assert run.code == 0
    assert expected in run.out


def test_completion_completes(tmp_path: Path) -> None:
    run = velmora(
        cwd=tmp_path,
        env={"_VELMORA_COMPLETE": "bash_complete", "COMP_WORDS": "velmora resample --sam", "COMP_CWORD": "2"},
    )
    assert run.out.split() == ["plain,--sample-time", "plain,--samples"]


def test_names_that_are_misspelt(tmp_path: Path, log: Path) -> None:
    wrong = velmora("resmple", log, cwd=tmp_path)
    assert wrong.code == 2
    assert "no command is called 'resmple'; did you mean 'resample'?" in wrong.err
    option = velmora("resample", log, "--sampel-time", "1", cwd=tmp_path)
    assert option.code == 2
    assert "No such option '--sampel-time'" in option.err and "--sample-time" in option.err
    file = velmora("info", "lgo.csv", cwd=tmp_path)
    assert (file.code, file.err) == (
        1,
        "lgo.csv: there is no such file; a recording was expected; did you mean 'log.csv'?\n",
    )


def test_info_of_the_sample_recording(tmp_path: Path) -> None:
    run = velmora("info", SAMPLE, cwd=tmp_path)
    assert (run.code, run.err) == (0, "")
    lines = run.out.splitlines()
    assert lines[1].startswith(
        "  clock    uneven (76.2 % of the steps over 1 % off), 250.125 Hz (median step 0.003998 s,"
    )
    assert "           gap of 0.055951 s after 2.3082 s" in lines
    assert "  samples  1,992, 8.04794 s" in lines
    assert "  joint_1   -1.98236   4.25204       5.72764  7.09219  -40.1813  7.31595" in lines


def test_info_reports_on_broken_recordings(tmp_path: Path) -> None:
    (tmp_path / "b.csv").write_text("time_s,a,b\n0,1,2\n0.1,,2\n0.2,1,nan\n0.2,1,2\n0.1,1,2\n0.3,1,2\n")
    run = velmora("info", "b.csv", cwd=tmp_path)
    assert run.code == 1
    assert "BROKEN: 1 falling time; 1 repeated time" in run.out
    assert "           falling times: row 6\n           repeated times: row 5\n" in run.out
    assert "  missing: 1 cell of a, row 3\n" in run.out
    assert "  not finite: 1 cell of b, row 4\n" in run.out
    assert (
        "  FAULT    b.csv:3: 'a' is missing; a finite number was expected; --missing drop leaves such rows out\n"
        in run.out
    )


def test_info_finds_two_clocks(tmp_path: Path) -> None:
    rows = [f"{index * 0.01 + (500.0 if index % 2 else 0.0):.3f},0" for index in range(40)]
    (tmp_path / "b.csv").write_text("time_s,a\n" + "\n".join(rows) + "\n")
    assert "two clocks mixed, 500 s apart" in velmora("info", "b.csv", cwd=tmp_path).out


@pytest.mark.parametrize("order", [(0.0, 1.7e9), (1.7e9, 0.0), (1.7e9, 0.0, 1.7e9)])
def test_info_finds_a_clock_that_changes_to_epoch_times_or_back(
    tmp_path: Path, here: InProcess, order: tuple[float, ...]
) -> None:
    rows = [f"{start + index * 0.01:.3f},0" for start in order for index in range(40)]
    (tmp_path / "b.csv").write_text("time_s,a\n" + "\n".join(rows) + "\n")
    assert "two clocks mixed, 1.7e+09 s apart" in here("info", "b.csv").out


def test_a_break_of_years_is_no_second_clock(tmp_path: Path, here: InProcess) -> None:
    rows = [f"{start + index * 0.01:.3f},0" for start in (1.5e9, 1.7e9) for index in range(40)]
    (tmp_path / "b.csv").write_text("time_s,a\n" + "\n".join(rows) + "\n")
    assert "two clocks" not in here("info", "b.csv").out


@pytest.mark.parametrize(
    ("arguments", "expected"),
    [
        (["-o", "a.csv"], "one of --sample-time, --rate, --samples is needed"),
        (["--rate", "4"], "an output is needed; -o names it, --output-dir names a folder for outputs"),
        (["--rate", "0", "-o", "a.csv"], "--rate is 0; a number above 0 was expected"),
        (["--sample-time", "nan", "-o", "a.csv"], "--sample-time is nan; a number above 0 was expected"),
        (["--samples", "-3", "-o", "a.csv"], "--samples is -3; a number above 0 was expected"),
        (
            ["--rate", "4", "-o", "a.csv", "--columns", "positions,velocitys"],
            "--columns: 'velocitys' is not known; positions, velocities, accelerations, jerks were expected; did "
            "you mean 'velocities'?",
        ),
        (
            ["--rate", "4", "-o", "a.csv", "--columns", "jerks"],
            "--columns: there are no positions; positions and any of their derivatives were expected",
        ),
        (
            ["--sample-time", "1e-15", "-o", "a.csv"],
            "log.csv: the grid would have 490,000,000,000,001 samples and take 27.4 PB; at most 100,000,000 were "
            "expected; choose a "
            "longer --sample-time, or raise --max-samples",
        ),
        (
            ["--rate", "4", "-o", "{stm}.csv"],
            "{stm}.csv: '{stm}' is not known; {stem}, {name}, {suffix}, {parent}, {group}, {segment} were "
            "expected; did you mean 'stem'?",
        ),
    ],
)
def test_wrong_usage(tmp_path: Path, log: Path, arguments: list[str], expected: str) -> None:
    run = velmora("resample", "log.csv", *arguments, cwd=tmp_path)
    assert (run.code, run.out, run.err) == (2, "", expected + "\n")
    assert sorted(os.listdir(tmp_path)) == ["log.csv"]


def test_json_is_as_the_schema_says(tmp_path: Path, log: Path) -> None:
    (tmp_path / "l.csv").write_text("joint,max_velocity,max_jerk\njoint_1,0.5,\njoint_2,9,\n")
    (tmp_path / "broken.csv").write_text("time_s,a\n0,x\n")
    for arguments, code in (
        (["info", log, "broken.csv"], 1),
        (["resample", log, "--rate", "30", "-o", "o.csv"], 0),
        (["check", log, "--limits", "l.csv"], 1),
        (["convert", log, "-o", "c.npz"], 0),
        (["report", log, "-o", "r.html"], 0),
        (["plot", log, "-o", "p.svg"], 0),
    ):
        run = velmora(*arguments, "--json", cwd=tmp_path)
        assert run.code == code, run.err
        jsonschema.validate(json.loads(run.out), SCHEMA)


def test_nanoseconds_are_texts_in_json(tmp_path: Path) -> None:
    (tmp_path / "log.csv").write_text("stamp_ns,a\n1700000000123456789,0\n1700000000133456789,1\n")
    report = json.loads(velmora("info", "log.csv", "--json", cwd=tmp_path).out)
    assert report["files"][0]["recordings"][0]["first_stamp"] == {"ns": "1700000000123456789"}


def test_check_is_a_gate(tmp_path: Path, log: Path) -> None:
    (tmp_path / "l.yaml").write_text("joint_limits:\n  joint_1: {max_velocity: 0.9}\n  joint_2: {max_velocity: 3}\n")
    run = velmora("check", "log.csv", "--limits", "l.yaml", "--junit", "j.xml", cwd=tmp_path)
    assert run.code == 1
    assert run.out.startswith("log.csv: FAILED: 1 of 2 limits violated (three-point derivatives)\n")
    assert run.out.splitlines()[2].split()[-2:] == ["VIOLATED", "l.yaml:2"]
    suite = ElementTree.parse(tmp_path / "j.xml").getroot()[0]
    assert (suite.get("tests"), suite.get("failures")) == ("2", "1")
    (tmp_path / "l.yaml").write_text("joint_limits:\n  joint_1: {max_velocity: 2}\n  joint_2: {max_velocity: 3}\n")
    passed = velmora("check", "log.csv", "--limits", "l.yaml", cwd=tmp_path)
    assert passed.code == 0
    assert passed.out.startswith("log.csv: passed: 0 of 2 limits violated")


def test_names_from_files_reach_the_terminal_without_control_characters(tmp_path: Path) -> None:
    (tmp_path / "log.csv").write_text("time_s,\x1b[31mred\n0,1\n1,2\n")
    for arguments in (["info"], ["resample", "--rate", "2", "-o", "out.csv"]):
        run = velmora(arguments[0], "log.csv", *arguments[1:], cwd=tmp_path)
        assert "\x1b" not in run.out + run.err


def test_what_a_broken_bag_has_lost_is_said_and_is_no_success(tmp_path: Path) -> None:
    write_bag = ROOT / "examples/data/write_bag.py"
    subprocess.run([sys.executable, write_bag, SAMPLE, tmp_path / "bag"], check=True, env=environment())
    bag = tmp_path / "bag/bag.mcap"
    (tmp_path / "cut.mcap").write_bytes(bag.read_bytes()[:300_000])
    broken = velmora("info", "cut.mcap", cwd=tmp_path)
    assert broken.code == 1
    assert "a whole bag was expected; --salvage reads the" in broken.err
    run = velmora("resample", "cut.mcap", "--rate", "50", "-o", "out.csv", "--salvage", cwd=tmp_path)
    assert run.code == 1
    assert run.err.startswith("warning: cut.mcap[/joint_states]: ")
    assert len((tmp_path / "out.csv").read_text().splitlines()) > 100
    assert velmora("resample", "bag", "--rate", "50", "-o", "whole.csv", cwd=tmp_path).code == 0
