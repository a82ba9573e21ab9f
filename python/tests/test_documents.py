# SPDX-License-Identifier: Apache-2.0
"""The console blocks, Python sessions and programs of the documents, run as a reader would, with what they show."""

import doctest
import os
import re
import shutil
import subprocess
import sys
from pathlib import Path

import pytest

ROOT = Path(__file__).parents[2]
BLOCK = re.compile(r"^```console\n(.*?)^```", re.MULTILINE | re.DOTALL)
END = "end of the output of one command"


def commands_of(page: Path) -> list[tuple[str, str]]:
    """Each command of a page's console blocks, with the output shown below it ('' where none is)."""
    commands: list[tuple[str, str]] = []
    for block in BLOCK.findall(page.read_text(encoding="utf-8")):
        for line in block.splitlines():
            if line.startswith("$ "):
                commands.append((line[2:], ""))
            elif line.startswith(">"):
                commands[-1] = (commands[-1][0] + "\n" + line[2:], "")
            else:
                commands[-1] = (commands[-1][0], commands[-1][1] + line + "\n")
    return commands


PAGES = [page for page in sorted((ROOT / "docs").rglob("*.md")) if commands_of(page)]


@pytest.fixture(scope="session")
def commands_folder(tmp_path_factory: pytest.TempPathFactory) -> Path:
    """A folder with the command `velmora` of the package under test, which need not be installed."""
    folder = tmp_path_factory.mktemp("bin")
    for name, module in (("velmora", "-m velmora.tools.main"), ("python", "")):
        (folder / name).write_text(f'#!/bin/sh\nexec {sys.executable} {module} "$@"\n')
        (folder / name).chmod(0o755)
    return folder


@pytest.mark.parametrize("page", PAGES, ids=lambda page: str(page.relative_to(ROOT)))
def test_console_blocks_do_what_they_show(page: Path, tmp_path: Path, commands_folder: Path) -> None:
    """`...` stands for any text; a command may fail only where `echo $?` follows and shows its exit code."""
    shutil.copytree(ROOT / "examples" / "data", tmp_path, dirs_exist_ok=True)
    commands = commands_of(page)
    script = "".join(f"{{ {command}\n}} 2>&1; code=$?; echo '{END}' $code; (exit $code)\n" for command, _ in commands)
    environment = os.environ | {
        "PATH": f"{commands_folder}:{os.environ['PATH']}",
        "COLUMNS": "100",
        "VELMORA": str(ROOT),
    }
    run = subprocess.run(
        ["bash"], input=script, cwd=tmp_path, env=environment, capture_output=True, text=True, timeout=300, check=False
    )
    outputs = re.split(rf"{END} (\d+)\n", run.stdout)
    assert len(outputs) == 2 * len(commands) + 1, run.stdout + run.stderr
    for position, (command, expected) in enumerate(commands):
        output, code = outputs[2 * position : 2 * position + 2]
        if expected:
            assert doctest.OutputChecker().check_output(expected, output, doctest.ELLIPSIS), (
                f"$ {command}\n{output}instead of\n{expected}"
            )
        followed = position + 1 < len(commands) and commands[position + 1][0] == "echo $?"
        assert code == "0" or followed, f"$ {command}\n{output}exit code {code}"


SESSION = re.compile(r"^```pycon\n(.*?)^```", re.MULTILINE | re.DOTALL)
SESSIONS = [page for page in sorted((ROOT / "docs").rglob("*.md")) if SESSION.search(page.read_text(encoding="utf-8"))]


@pytest.mark.parametrize("page", SESSIONS, ids=lambda page: str(page.relative_to(ROOT)))
def test_sessions_print_what_they_show(page: Path) -> None:
    session = "\n".join(SESSION.findall(page.read_text(encoding="utf-8")))
    test = doctest.DocTestParser().get_doctest(session, {}, page.name, str(page), 0)
    assert test.examples
    results = doctest.DocTestRunner(optionflags=doctest.ELLIPSIS).run(test)
    assert results.failed == 0


@pytest.mark.parametrize("program", sorted((ROOT / "docs" / "snippets").glob("*.py")), ids=lambda program: program.name)
def test_programs_run(program: Path) -> None:
    subprocess.run([sys.executable, program], cwd=ROOT / "examples" / "data", check=True, timeout=60)
