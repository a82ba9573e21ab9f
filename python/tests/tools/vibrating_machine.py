# SPDX-License-Identifier: Apache-2.0
"""The simulated machine of the examples, and what commands say of it; shared by the tests of vibration."""

import json
import runpy
from pathlib import Path
from typing import Any

import pytest
from velmora.tools.main import run

SCHEMA = json.loads((Path(__file__).parents[3] / "docs" / "reference" / "report.schema.json").read_text())
GENERATOR = Path(__file__).parents[3] / "examples" / "data" / "generate_vibrating_machine.py"


@pytest.fixture(scope="module")
def machine(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """A folder with ringdown.csv, move.csv, before.csv (what the encoders see of the raw move) and limits.yaml."""
    folder = tmp_path_factory.mktemp("machine")
    generate = runpy.run_path(str(GENERATOR))["main"]
    generate([str(folder)])
    generate(["--run", str(folder / "move.csv"), str(folder / "before.csv")])
    (folder / "limits.yaml").write_text(
        "joint_limits:\n  base:\n    has_velocity_limits: true\n    max_velocity: 5.0\n", encoding="utf-8"
    )
    return folder


@pytest.fixture
def here(machine: Path, monkeypatch: pytest.MonkeyPatch) -> Path:
    """The machine's folder as the current one."""
    monkeypatch.chdir(machine)
    return machine


def drive(command: str, measured: str) -> None:
    """Let the machine follow a command."""
    runpy.run_path(str(GENERATOR))["main"](["--run", command, measured])


def as_json(capsys: pytest.CaptureFixture[str], *arguments: str, code: int = 0) -> dict[str, Any]:
    """What a command prints with --json."""
    capsys.readouterr()
    assert run([*arguments, "--json"]) == code
    found: dict[str, Any] = json.loads(capsys.readouterr().out)
    return found
