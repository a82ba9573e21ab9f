# SPDX-License-Identifier: Apache-2.0
"""The command from end to end: what goes where, messages, exit codes."""

from __future__ import annotations

import json
import os
import signal
import subprocess
import sys
import time
from pathlib import Path
from xml.etree import ElementTree

import jsonschema
import numpy as np
import pytest
import velmora as vm
from support import ROOT, SAMPLE, environment, leftovers, velmora, write_log
from velmora.tools import formats
from velmora.tools.main import COMMANDS
from velmora.tools.options import ReadOptions

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


def test_resampling_gives_the_librarys_bits(tmp_path: Path) -> None:
    run = velmora("resample", SAMPLE, "--sample-time", "0.002", "-o", "out.csv", cwd=tmp_path)
    assert run.code == 0, run.err
    assert run.out == ""
    assert "1 gap bridged, the longest of 0.055951 s after 2.3082 s" in run.err
    (before,) = formats.read(str(SAMPLE), ReadOptions())
    (after,) = formats.read(str(tmp_path / "out.csv"), ReadOptions())
    assert before.stamps is not None and after.stamps is not None
    expected = vm.resample_trajectory(vm.JointTrajectory(before.positions, time=before.stamps.seconds()), 0.002)
    assert after.joints == before.joints
    assert after.positions.tobytes() == expected.positions.tobytes()
    assert after.velocities is not None and after.velocities.tobytes() == expected.velocities.tobytes()
    assert after.accelerations is not None and after.accelerations.tobytes() == expected.accelerations.tobytes()
    assert after.stamps.values.tolist() == (97_000 + np.rint(expected.time * 1e9).astype(np.int64)).tolist()


def test_data_go_to_standard_output_and_words_beside(tmp_path: Path, log: Path) -> None:
    run = velmora(
        "resample",
        "-",
        "--rate",
        "4",
        "--columns",
        "positions",
        "-o",
        "-",
        "--input-format",
        "csv",
        cwd=tmp_path,
        stdin=log.read_text(),
    )
    assert run.code == 0, run.err
    assert run.out.splitlines()[0] == "time_s,joint_1,joint_2"
    assert len(run.out.splitlines()) == 4
    assert "-> standard output" in run.err


def test_two_reports_cannot_share_standard_output(tmp_path: Path, log: Path) -> None:
    run = velmora("resample", log, "--rate", "4", "-o", "-", "--json", cwd=tmp_path)
    assert (run.code, run.err) == (2, "--json -o -: both go to standard output; one of them was expected\n")


def test_an_existing_output_needs_force(tmp_path: Path, log: Path) -> None:
    (tmp_path / "out.csv").write_text("mine")
    run = velmora("resample", "log.csv", "--rate", "4", "-o", "out.csv", cwd=tmp_path)
    assert (run.code, run.err) == (
        2,
        "out.csv: exists already; a name that is free was expected; --force replaces it\n",
    )
    assert (tmp_path / "out.csv").read_text() == "mine"
    assert velmora("resample", "log.csv", "--rate", "4", "-o", "out.csv", "--force", cwd=tmp_path).code == 0


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


def test_a_recording_that_is_wrong_leaves_no_output(tmp_path: Path) -> None:
    (tmp_path / "bad.csv").write_text("time_s,a\n0,1\n1,2\n1,3\n")
    run = velmora("resample", "bad.csv", "--rate", "4", "-o", "out.csv", cwd=tmp_path)
    assert (run.code, run.out) == (1, "")
    assert run.err == (
        "bad.csv:4: the time 1 s repeats that of row 3; increasing times were expected; --duplicate-times first, "
        "last or mean keeps one of them\n"
    )
    assert sorted(os.listdir(tmp_path)) == ["bad.csv"]
    mended = velmora("resample", "bad.csv", "--rate", "4", "-o", "out.csv", "--duplicate-times", "last", cwd=tmp_path)
    assert mended.code == 0
    assert "  dropped  1 row with repeated times, the last of each was kept, the first is row 4\n" in mended.err


def test_a_full_disk_leaves_the_old_file(tmp_path: Path, log: Path) -> None:
    (tmp_path / "out.csv").write_text("kept")
    command = (
        f"trap '' XFSZ; ulimit -f 8; exec '{sys.executable}' -m velmora.tools.main resample log.csv --rate 100000 "
        "-o out.csv --force"
    )
    done = subprocess.run(
        ["bash", "-c", command], cwd=tmp_path, env=environment(), capture_output=True, text=True, check=False
    )
    assert done.returncode == 1
    assert done.stderr.startswith("out.csv: ")
    assert "File too large" in done.stderr
    assert (tmp_path / "out.csv").read_text() == "kept"
    assert sorted(os.listdir(tmp_path)) == ["log.csv", "out.csv"]


@pytest.mark.parametrize(("number", "code"), [(signal.SIGINT, 130), (signal.SIGTERM, 143)])
def test_an_interrupt_leaves_nothing(tmp_path: Path, number: signal.Signals, code: int) -> None:
    write_log(tmp_path / "in/a.csv", samples=5_000)
    # With jobs waiting the interrupt comes while workers are at work.
    for index in range(40):
        os.link(tmp_path / "in/a.csv", tmp_path / f"in/b{index}.csv")
    process = subprocess.Popen(
        [
            sys.executable,
            "-m",
            "velmora.tools.main",
            "resample",
            "in",
            "--rate",
            "1000",
            "--output-dir",
            "out",
            "--jobs",
            "2",
        ],
        cwd=tmp_path,
        env=environment(),
        stderr=subprocess.PIPE,
        text=True,
        # As a shell starts it: whoever runs these tests may ignore interrupts, and children inherit that.
        preexec_fn=lambda: signal.signal(signal.SIGINT, signal.SIG_DFL),
    )
    until = time.monotonic() + 60
    while not list((tmp_path / "out").glob("*.csv")) and time.monotonic() < until:
        time.sleep(0.01)
    process.send_signal(number)
    _, errors = process.communicate(timeout=30)
    assert process.returncode == code, errors
    assert leftovers(tmp_path) == []
    written = list((tmp_path / "out").glob("*.csv"))
    assert 0 < len(written) < 41
    assert len({path.stat().st_size for path in written}) == 1, "whole files only"
    # None of the workers goes on.
    time.sleep(0.5)
    assert len(list((tmp_path / "out").glob("*.csv"))) == len(written)


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


def test_convert_keeps_what_is_broken_and_every_bit(tmp_path: Path) -> None:
    text = "time_s,a,b_deg\n0,0.1,5e-324\n0.1,,-0.0\n0.05,1e308,90\n"
    (tmp_path / "log.csv").write_text(text)
    assert velmora("convert", "log.csv", "-o", "log.npz", cwd=tmp_path).code == 0
    run = velmora("convert", "log.csv", "-o", "again.csv", cwd=tmp_path)
    assert run.code == 0, run.err
    (before,) = formats.read(str(tmp_path / "log.csv"), ReadOptions(keep_units=True))
    (after,) = formats.read(str(tmp_path / "again.csv"), ReadOptions(keep_units=True))
    assert after.positions.tobytes() == before.positions.tobytes()


def test_names_from_files_reach_the_terminal_without_control_characters(tmp_path: Path) -> None:
    (tmp_path / "log.csv").write_text("time_s,\x1b[31mred\n0,1\n1,2\n")
    for arguments in (["info"], ["resample", "--rate", "2", "-o", "out.csv"]):
        run = velmora(arguments[0], "log.csv", *arguments[1:], cwd=tmp_path)
        assert "\x1b" not in run.out + run.err


def test_whoever_reads_the_output_may_leave(tmp_path: Path, log: Path) -> None:
    done = subprocess.run(
        ["bash", "-c", f"'{sys.executable}' -m velmora.tools.main resample log.csv --rate 100000 -o - | head -1"],
        cwd=tmp_path,
        env=environment(),
        capture_output=True,
        text=True,
        check=False,
    )
    assert done.stdout.startswith("time_s,")
    assert "Traceback" not in done.stderr


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
