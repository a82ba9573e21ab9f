# SPDX-License-Identifier: Apache-2.0
"""The Python lines of the README, run from its own text, say what its C++ lines say."""

from __future__ import annotations

import os
import re
import subprocess
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("VELMORA_BUILD_DIR", ROOT / "build" / "release"))


def test_the_python_lines_run_and_agree_with_the_cpp_lines() -> None:
    block = re.search(r"^```python\n(.*?)^```", (ROOT / "README.md").read_text(), re.DOTALL | re.MULTILINE)
    assert block is not None
    run = subprocess.run([sys.executable, "-c", block.group(1)], capture_output=True, text=True, check=True)
    assert run.stdout == "peak speed per joint: 3.51025 6.12381\n"
    cpp = BUILD / "tests" / "readme" / "readme_example"
    if cpp.exists():  # built by ./scripts/test
        answer = subprocess.run([cpp], capture_output=True, text=True, check=True).stdout
        assert answer.split() == run.stdout.split()
