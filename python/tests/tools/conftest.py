# SPDX-License-Identifier: Apache-2.0
"""Puts the helpers of these tests where every test finds them."""

from __future__ import annotations

import sys
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).parent))

from support import InProcess


@pytest.fixture
def here(tmp_path: Path, monkeypatch: pytest.MonkeyPatch, capfd: pytest.CaptureFixture[str]) -> InProcess:
    """The command, run in this process and in a folder of the test's own."""
    return InProcess(tmp_path, monkeypatch, capfd)
