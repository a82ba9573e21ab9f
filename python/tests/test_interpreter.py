# SPDX-License-Identifier: Apache-2.0
"""The package in a fresh interpreter: quiet, quick to import, and safe in sub-interpreters."""

from __future__ import annotations

import importlib.util
import subprocess
import sys

import pytest
import velmora as vm


def run(program: str, *options: str) -> subprocess.CompletedProcess[str]:
    return subprocess.run([sys.executable, *options, "-c", program], capture_output=True, text=True, check=False)


def test_importing_prints_nothing_and_warns_of_nothing() -> None:
    finished = run("import velmora", "-W", "error", "-X", "dev")
    assert (finished.returncode, finished.stdout, finished.stderr) == (0, "", "")


def test_importing_loads_numpy_and_nothing_heavy() -> None:
    program = (
        "import numpy, sys; before = set(sys.modules); import velmora; "
        "print(*sorted({name.split('.')[0] for name in set(sys.modules) - before}))"
    )
    assert set(run(program).stdout.split()) <= {"velmora", "numbers", "gc", "__future__", "atexit"}


def test_the_extension_exports_its_init_function_alone() -> None:
    spec = importlib.util.find_spec("velmora._core")
    assert spec is not None and spec.origin is not None
    symbols = subprocess.run(["nm", "-D", "--defined-only", spec.origin], capture_output=True, text=True, check=True)
    assert [line.split()[-1] for line in symbols.stdout.splitlines()] == ["PyInit__core"]


def test_sub_interpreters_refuse_it_or_use_it() -> None:
    program = """
try:
    import _interpreters as interpreters
except ImportError:
    import _xxsubinterpreters as interpreters
one = interpreters.create()
code = '''
try:
    import velmora
except ImportError as error:
    print("refused")
else:
    print(velmora.smootherstep(0.5))
'''
try:
    answer = getattr(interpreters, "run_string")(one, code)
finally:
    interpreters.destroy(one)
"""
    finished = run("import velmora, warnings; warnings.simplefilter('ignore')\n" + program)
    assert finished.returncode == 0, finished.stderr
    assert finished.stdout.strip() in {"refused", "0.5"}, finished.stdout


def test_every_public_object_says_what_it_is() -> None:
    for name in vm.__all__:
        if name != "__version__":
            assert (getattr(vm, name).__doc__ or "").strip(), name


@pytest.mark.skipif(sys.version_info < (3, 13), reason="told apart since Python 3.13")
def test_the_interpreter_keeps_its_lock_setting() -> None:
    probe = "import sys; before = sys._is_gil_enabled(); import velmora; print(before == sys._is_gil_enabled())"
    assert run(probe).stdout.strip() == "True"
