# SPDX-License-Identifier: Apache-2.0
"""Type checkers: silent on a right program, complaining about every wrong line; stubs are up to date."""

from __future__ import annotations

import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).resolve().parents[2]
PROGRAMS = Path(__file__).parent / "typing"
WRONG = {
    number
    for number, line in enumerate((PROGRAMS / "wrong.py").read_text().splitlines(), start=1)
    if line.endswith("# wrong")
}


def mypy(program: str) -> subprocess.CompletedProcess[str]:
    command = [sys.executable, "-m", "mypy", "--strict", "--config-file=", str(PROGRAMS / program)]
    environment = {**os.environ, "MYPYPATH": str(ROOT / "python")}
    return subprocess.run(command, capture_output=True, text=True, cwd=ROOT, env=environment, check=False)


def pyright(program: str) -> subprocess.CompletedProcess[str]:
    if shutil.which("node") is None:
        pytest.skip("pyright would fetch node at its first use; ./scripts/setup installs it with npm")
    command = [sys.executable, "-m", "pyright", "--pythonpath", sys.executable, str(PROGRAMS / program)]
    # Nor does it look for a newer version of itself.
    environment = {**os.environ, "PYRIGHT_PYTHON_IGNORE_WARNINGS": "1"}
    return subprocess.run(command, capture_output=True, text=True, cwd=ROOT, env=environment, check=False)


def complaints(text: str) -> set[int]:
    return {int(line) for line in re.findall(r"wrong\.py:(\d+)(?::\d+)?:? (?:- )?error", text)}


def test_mypy_is_silent_on_a_right_program() -> None:
    finished = mypy("right.py")
    assert finished.returncode == 0, finished.stdout


def test_mypy_finds_every_wrong_line() -> None:
    finished = mypy("wrong.py")
    assert complaints(finished.stdout) == WRONG, finished.stdout


def test_pyright_is_silent_on_a_right_program() -> None:
    finished = pyright("right.py")
    assert finished.returncode == 0, finished.stdout


def test_pyright_finds_every_wrong_line() -> None:
    finished = pyright("wrong.py")
    assert complaints(finished.stdout) == WRONG, finished.stdout


def test_the_right_program_runs() -> None:
    subprocess.run([sys.executable, PROGRAMS / "right.py"], check=True)


def test_stubs_are_those_of_the_bindings(tmp_path: Path) -> None:
    pytest.importorskip("nanobind", reason="the stub generator comes with nanobind, which builds the extension")
    written = tmp_path / "_core.pyi"
    environment = {**os.environ, "PYTHON": sys.executable}
    subprocess.run([ROOT / "scripts" / "stubs", written], env=environment, check=True)
    assert written.read_text() == (ROOT / "python" / "velmora" / "_core.pyi").read_text(), "run ./scripts/stubs"
