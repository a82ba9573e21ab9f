# SPDX-License-Identifier: Apache-2.0
"""The same bits through Python: the golden corpus, condensed, gives the committed digests of every routine."""

from __future__ import annotations

import os
import subprocess
from pathlib import Path

import pytest
from golden_calls import calls, pack_result

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("VELMORA_BUILD_DIR", ROOT / "build" / "release"))
EXCHANGE = BUILD / "tests" / "golden" / "velmora_corpus_exchange"


@pytest.mark.skipif(not EXCHANGE.exists(), reason="the C++ tests, which make the calls, were not built: ./scripts/test")
def test_golden_digests_through_python_are_the_committed_ones() -> None:
    data = subprocess.run([EXCHANGE, "calls"], capture_output=True, check=True).stdout
    results = b"".join(pack_result(call) for call in calls(data))
    digests = subprocess.run([EXCHANGE, "digests"], input=results, capture_output=True, check=True).stdout
    expected = ROOT / "tests" / "golden" / "expected_digests.txt"
    assert digests.decode().splitlines() == expected.read_text().splitlines()
