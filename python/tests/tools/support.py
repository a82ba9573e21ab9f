# SPDX-License-Identifier: Apache-2.0
"""What the tests of the tools share: recordings, files, and running the command."""

from __future__ import annotations

import os
import subprocess
import sys
from dataclasses import dataclass
from pathlib import Path

import numpy as np
import pytest
from velmora.tools.recording import Layout, Recording, Stamps

ROOT = Path(__file__).resolve().parents[3]
SAMPLE = ROOT / "examples/data/pick_and_place_250hz.csv"
PACKAGE = Path(sys.modules["velmora.tools"].__path__[0]).parents[1]


@dataclass(frozen=True)
class Run:
    """What a run of the command left."""

    code: int
    out: str
    err: str


def environment() -> dict[str, str]:
    """The environment of a run: the package under test, no settings of the person who runs the tests."""
    clean = {name: value for name, value in os.environ.items() if not name.startswith("VELMORA_")}
    return {**clean, "PYTHONPATH": str(PACKAGE), "COLUMNS": "100"}


def velmora(*arguments: object, cwd: Path, env: dict[str, str] | None = None, stdin: str | None = None) -> Run:
    """Run the command to its end."""
    done = subprocess.run(
        [sys.executable, "-m", "velmora.tools.main", *map(str, arguments)],
        cwd=cwd,
        env={**environment(), **(env or {})},
        input=stdin,
        capture_output=True,
        text=True,
        timeout=120,
        check=False,
    )
    return Run(done.returncode, done.stdout, done.stderr)


class InProcess:
    """Runs the command in this process, which costs no start of an interpreter."""

    def __init__(self, folder: Path, monkeypatch: pytest.MonkeyPatch, capfd: pytest.CaptureFixture[str]) -> None:
        """Work in a folder; what commands print is taken from `capfd`."""
        monkeypatch.chdir(folder)
        self.folder = folder
        self._capfd = capfd

    def __call__(self, *arguments: object) -> Run:
        """Run the command to its end."""
        from velmora.tools.main import run

        self._capfd.readouterr()
        code = run([str(argument) for argument in arguments])
        return Run(code, *self._capfd.readouterr())


def recording(times_s: list[float], positions: list[list[float]], joints: tuple[str, ...] | None = None) -> Recording:
    """A recording with times in seconds as doubles, rows counted from 2 as behind a header."""
    values = np.array(positions, dtype=np.float64).reshape(len(times_s), len(positions[0]) if positions else 1)
    names = joints if joints is not None else tuple(f"joint_{j + 1}" for j in range(values.shape[1]))
    return Recording(
        "log.csv",
        names,
        Stamps(np.array(times_s, dtype=np.float64), "s"),
        values,
        None,
        None,
        None,
        None,
        np.arange(2, len(times_s) + 2),
        None,
        (),
        Layout("csv"),
    )


def write_log(path: Path, samples: int = 50, joints: int = 2, step_s: float = 0.01, shift: float = 0.0) -> Path:
    """A plain CSV of sines."""
    times_s = [index * step_s for index in range(samples)]
    lines = [",".join(["time_s", *(f"joint_{j + 1}" for j in range(joints))])]
    lines += [
        ",".join([f"{time_s:.6f}", *(f"{np.sin(time_s * (j + 1) + shift):.9f}" for j in range(joints))])
        for time_s in times_s
    ]
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text("\n".join(lines) + "\n")
    return path


def leftovers(folder: Path) -> list[str]:
    """What staging left behind in a folder or below."""
    return [str(path) for path in folder.rglob(".velmora-*") if path.is_dir()]
