# SPDX-License-Identifier: Apache-2.0
"""The package in a fresh interpreter: quiet, quick to import, and refused by sub-interpreters."""

from __future__ import annotations

import importlib.util
import subprocess
import sys

import pytest
import velmora as vm


def run(program: str, *options: str) -> subprocess.CompletedProcess[str]:
    command = [sys.executable, *options, "-c", program]
    return subprocess.run(command, capture_output=True, text=True, check=False, timeout=60)


def test_importing_prints_nothing_and_warns_of_nothing() -> None:
    finished = run("import velmora", "-W", "error", "-X", "dev")
    assert (finished.returncode, finished.stdout, finished.stderr) == (0, "", "")


def test_importing_loads_numpy_and_nothing_heavy() -> None:
    program = (
        "import numpy, sys; before = set(sys.modules); import velmora; "
        "print(*sorted({name.split('.')[0] for name in set(sys.modules) - before}))"
    )
    assert set(run(program).stdout.split()) <= {"velmora", "numbers", "gc", "__future__", "atexit"}


def test_first_calls_with_lists_from_two_threads_load_numpy_once_and_end() -> None:
    program = (
        "import velmora as vm; from concurrent.futures import ThreadPoolExecutor as Pool; "
        "rows = [[0.0], [1.0], [4.0]]; count = lambda _: vm.JointTrajectory(rows, dt=1.0).sample_count; "
        "print(*Pool(2).map(count, range(4)))"
    )
    assert run(program).stdout == "3 3 3 3\n"


def test_the_extension_exports_its_init_function_alone() -> None:
    spec = importlib.util.find_spec("velmora._core")
    assert spec is not None and spec.origin is not None
    symbols = subprocess.run(["nm", "-D", "--defined-only", spec.origin], capture_output=True, text=True, check=True)
    assert [line.split()[-1] for line in symbols.stdout.splitlines()] == ["PyInit__core"]


INSIDE = """
import sys
sys.path[:0] = {path!r}
for attempt in range(2):
    try:
        import velmora
        velmora.smootherstep([0.5])
    except ImportError as error:
        print("refused:", error, flush=True)
"""
AROUND = """
import sys, warnings
warnings.simplefilter("ignore")
{first}
try:
    import _interpreters as interpreters
except ImportError:
    import _xxsubinterpreters as interpreters
one = interpreters.create()
try:
    getattr(interpreters, "run_string")(one, {inside!r})
finally:
    interpreters.destroy(one)
import velmora
try:
    velmora.JointTrajectory([[1.0], [2.0]], dt=1.0).sample([-1.0])
except velmora.InvalidArgumentError:
    print(velmora.smootherstep([0.5]))
"""


@pytest.mark.parametrize("first", ["import velmora", ""])
def test_sub_interpreters_refuse_it_and_the_main_one_goes_on(first: str) -> None:
    finished = run(AROUND.format(first=first, inside=INSIDE.format(path=sys.path)))
    assert finished.returncode == 0, finished.stderr
    *refusals, answer = finished.stdout.splitlines()
    assert answer == "[0.5]"
    assert len(refusals) == 2
    for line in refusals:
        assert line.startswith("refused: ")
        # Later ones are refused by Python itself, since they may have a lock of their own.
        if sys.version_info < (3, 12):
            assert line == "refused: velmora works in the main interpreter alone, this is a sub-interpreter."


def test_every_public_object_says_what_it_is() -> None:
    for name in vm.__all__:
        if name != "__version__":
            assert (getattr(vm, name).__doc__ or "").strip(), name


@pytest.mark.skipif(sys.version_info < (3, 13), reason="before 3.13 there is no interpreter without the lock")
def test_the_interpreter_keeps_its_lock_setting() -> None:
    probe = "import sys; before = sys._is_gil_enabled(); import velmora; print(before == sys._is_gil_enabled())"
    assert run(probe).stdout.strip() == "True"
