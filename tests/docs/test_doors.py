# SPDX-License-Identifier: Apache-2.0
"""The three doors of the front page, tried as a new user would: from a bare copy of the source and an empty home.

Only by `./scripts/docs --check`, since installing takes minutes and the registries of Python and npm.
"""

from __future__ import annotations

import os
import re
import shutil
import subprocess
from pathlib import Path

import pytest

ROOT = Path(__file__).parents[2]
DOCS = ROOT / "docs"


def run(script: str, folder: Path, home: Path) -> str:
    """Run lines of a shell as a login with nothing but the system's programs would."""
    environment = {"HOME": str(home), "PATH": "/usr/local/bin:/usr/bin:/bin", "LANG": "C.UTF-8"}
    environment |= {name: value for name, value in os.environ.items() if name.startswith(("PIP_", "npm_", "NODE_"))}
    done = subprocess.run(
        ["bash", "-euo", "pipefail", "-c", script],
        cwd=folder,
        env=environment,
        capture_output=True,
        text=True,
        check=False,
    )
    assert done.returncode == 0, f"{script}\n{done.stdout[-4000:]}\n{done.stderr[-4000:]}"
    return done.stdout


def piece(tag: str) -> str:
    return (DOCS / "snippets" / "install.sh").read_text(encoding="utf-8").split(f"# [{tag}]\n")[1]


@pytest.fixture(scope="module")
def home(tmp_path_factory: pytest.TempPathFactory) -> Path:
    return tmp_path_factory.mktemp("home")


@pytest.fixture(scope="module")
def source(tmp_path_factory: pytest.TempPathFactory) -> Path:
    folder = tmp_path_factory.mktemp("source") / "velmora"
    listed = ["git", "ls-files", "--cached", "--others", "--exclude-standard", "-z"]
    for name in subprocess.run(listed, cwd=ROOT, capture_output=True, text=True, check=True).stdout.split("\0"):
        if name and (ROOT / name).exists():
            (folder / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy2(ROOT / name, folder / name)
    return folder


@pytest.fixture(scope="module")
def python(source: Path, home: Path) -> str:
    run(piece("python"), source, home)
    return ". ~/velmora/bin/activate\n"


@pytest.fixture
def data(source: Path, tmp_path: Path) -> Path:
    for name in ("pick_and_place_250hz.csv", "joint_limits.yaml"):
        shutil.copy(source / "examples" / "data" / name, tmp_path)
    return tmp_path


def test_the_command(python: str, data: Path, home: Path) -> None:
    block = re.search(r"^```console\n(.*?)^```", (DOCS / "index.md").read_text(encoding="utf-8"), re.M | re.S)
    assert block is not None
    lines = [line.removeprefix("$ ") for line in block[1].splitlines()]
    assert "even" in run(python + "\n".join(lines), data, home)
    assert {"smooth.csv", "smooth.png"} <= {path.name for path in data.iterdir()}
    run(python + "velmora report smooth.csv -o smooth.html", data, home)


def test_the_package(python: str, data: Path, home: Path) -> None:
    shutil.copy(DOCS / "snippets" / "door.py", data)
    assert run(python + "python door.py", data, home).startswith("[")


def test_the_libraries(source: Path, tmp_path: Path, home: Path) -> None:
    run(piece("cpp"), source, home)
    shutil.copy(DOCS / "snippets" / "link" / "CMakeLists.txt", tmp_path)
    shutil.copy(DOCS / "snippets" / "door.cpp", tmp_path / "main.cpp")
    build = "cmake -S . -B build -DCMAKE_PREFIX_PATH=~/velmora && cmake --build build"
    run(build, tmp_path, home)
    assert len(run("build/my_program", tmp_path, home).split()) == 2
