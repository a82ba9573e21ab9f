# SPDX-License-Identifier: Apache-2.0
"""The command from end to end: what is written where, and what is left when it fails or is interrupted."""

from __future__ import annotations

import hashlib
import os
import signal
import subprocess
import sys
import time
from pathlib import Path

import numpy as np
import pytest
import velmora as vm
from support import SAMPLE, InProcess, environment, leftovers, velmora, write_log
from velmora.tools import formats
from velmora.tools.options import ReadOptions

VELMORA = f"'{sys.executable}' -m velmora.tools.main"


@pytest.fixture
def log(tmp_path: Path) -> Path:
    return write_log(tmp_path / "log.csv")


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


def test_force_replaces_no_folder(tmp_path: Path, here: InProcess) -> None:
    write_log(tmp_path / "work/log.csv")
    (tmp_path / "kept.png").mkdir()
    for arguments in (
        ("convert", "work/log.csv", "-o", "."),
        ("convert", "work/log.csv", "-o", "work"),
        ("resample", "work/log.csv", "--rate", "20", "--format", "csv", "-o", ".."),
        ("plot", "work/log.csv", "-o", "kept.png"),
    ):
        run = here(*arguments, "--force")
        assert (run.code, run.err) == (
            2,
            f"{arguments[-1]}: is a folder; the name of a file or a bag was expected; --output-dir names a folder for "
            "outputs\n",
        )
    assert sorted(os.listdir(tmp_path)) == ["kept.png", "work"]
    assert os.listdir(tmp_path / "work") == ["log.csv"]


def test_an_output_that_does_not_reach_its_place_is_not_reported(tmp_path: Path, here: InProcess) -> None:
    write_log(tmp_path / "log.csv")
    assert here("convert", "log.csv", "-o", "bag").code == 0
    run = here("convert", "log.csv", "--format", "csv", "-o", "bag", "--force")
    assert (run.code, run.err) == (
        2,
        "bag: is a folder; the name of a file was expected; --output-dir names a folder for outputs\n",
    )
    assert sorted(os.listdir(tmp_path / "bag")) == ["bag.mcap", "metadata.yaml"]


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


@pytest.mark.parametrize(
    ("number", "code", "times"), [(signal.SIGINT, 130, 1), (signal.SIGTERM, 143, 1), (signal.SIGINT, 130, 6)]
)
def test_an_interrupt_leaves_nothing(tmp_path: Path, number: signal.Signals, code: int, times: int) -> None:
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
    for _ in range(times):
        process.send_signal(number)
        time.sleep(0.015)
    _, errors = process.communicate(timeout=30)
    assert process.returncode == code, errors
    assert leftovers(tmp_path) == []
    written = list((tmp_path / "out").glob("*.csv"))
    assert 0 < len(written) < 41
    assert len({path.stat().st_size for path in written}) == 1, "whole files only"
    # None of the workers goes on.
    time.sleep(0.5)
    assert len(list((tmp_path / "out").glob("*.csv"))) == len(written)


def test_convert_keeps_what_is_broken_and_every_bit(tmp_path: Path) -> None:
    text = "time_s,a,b_deg\n0,0.1,5e-324\n0.1,,-0.0\n0.05,1e308,90\n"
    (tmp_path / "log.csv").write_text(text)
    assert velmora("convert", "log.csv", "-o", "log.npz", cwd=tmp_path).code == 0
    run = velmora("convert", "log.csv", "-o", "again.csv", cwd=tmp_path)
    assert run.code == 0, run.err
    (before,) = formats.read(str(tmp_path / "log.csv"), ReadOptions(keep_units=True))
    (after,) = formats.read(str(tmp_path / "again.csv"), ReadOptions(keep_units=True))
    assert after.positions.tobytes() == before.positions.tobytes()


def in_shell(line: str, folder: Path) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        ["bash", "-c", line], cwd=folder, env=environment(), capture_output=True, text=True, check=False
    )


def test_whoever_reads_the_output_may_leave(tmp_path: Path, log: Path) -> None:
    done = in_shell(f"{VELMORA} resample log.csv --rate 100000 -o - | head -1; exit ${{PIPESTATUS[0]}}", tmp_path)
    assert done.stdout.startswith("time_s,")
    assert (done.returncode, done.stderr) == (130, "")


def test_a_pipe_that_nobody_reads_is_named(tmp_path: Path, log: Path) -> None:
    done = in_shell(f"mkfifo p; head -1 p >/dev/null & {VELMORA} resample log.csv --rate 100000 -o p", tmp_path)
    assert (done.returncode, done.stderr) == (1, "p: cannot be written: Broken pipe\n")


def test_an_address_that_no_package_knows(tmp_path: Path, log: Path) -> None:
    run = velmora("resample", "log.csv", "--rate", "50", "-o", "foo://b/y.csv", cwd=tmp_path)
    assert (run.code, run.err) == (
        1,
        "foo://b/y.csv: Protocol not known: foo; an address that fsspec and the packages installed beside it know was "
        "expected\n",
    )


def test_devices_are_written_to_as_standard_output_is(tmp_path: Path, log: Path) -> None:
    run = velmora("convert", "log.csv", "-o", "/dev/stdout", cwd=tmp_path)
    assert run.code == 0, run.err
    assert run.out == velmora("convert", "log.csv", "-o", "-", cwd=tmp_path).out


def test_standard_input_beside_files(tmp_path: Path, log: Path) -> None:
    text = log.read_text()
    write_log(tmp_path / "other.csv", shift=3)
    run = velmora("resample", "-", "other.csv", "--rate", "50", "--output-dir", "o", cwd=tmp_path, stdin=text)
    assert run.code == 0, run.err
    assert sorted(path.name for path in (tmp_path / "o").glob("*.csv")) == ["other.csv", "stdin.csv"]


def test_standard_input_is_never_known_from_an_earlier_run(tmp_path: Path, log: Path) -> None:
    first = log.read_text()
    for text in (first, first.replace("0.01,", "0.012,")):
        command = ("resample", "-", "--rate", "50", "-o", "o.csv", "--resume", "--force")
        run = velmora(*command, cwd=tmp_path, stdin=text)
        assert run.code == 0, run.err
    alone = velmora("resample", "-", "--rate", "50", "-o", "-", cwd=tmp_path, stdin=text)
    assert (tmp_path / "o.csv").read_text() == alone.out


def test_the_report_of_standard_input_has_its_hash(tmp_path: Path, log: Path) -> None:
    run = velmora("report", "-", "-o", "r.html", cwd=tmp_path, stdin=log.read_text())
    assert run.code == 0, run.err
    assert hashlib.sha256(log.read_bytes()).hexdigest() in (tmp_path / "r.html").read_text()
