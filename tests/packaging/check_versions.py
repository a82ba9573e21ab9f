# SPDX-License-Identifier: Apache-2.0
"""Compares the newest release in CHANGELOG.md with CITATION.cff and with the project's version."""

import re
import sys
from pathlib import Path

root, version = Path(sys.argv[1]), sys.argv[2]
changes = (root / "CHANGELOG.md").read_text()
release = re.search(r"^## \[(\d+\.\d+\.\d+)\] - (\d{4}-\d{2}-\d{2})$", changes, re.MULTILINE)
if release is None:
    sys.exit("CHANGELOG.md: no section of the form '## [1.2.3] - 2000-01-31'")
cited = dict(re.findall(r"^(version|date-released): (\S+)$", (root / "CITATION.cff").read_text(), re.MULTILINE))
faults = []
if release[1] != version:
    faults.append(f"CHANGELOG.md: the newest section is {release[1]}, the project {version}")
if cited != {"version": release[1], "date-released": release[2]}:
    faults.append(f"CITATION.cff: {cited}, but CHANGELOG.md has {release[1]} of {release[2]}")
sys.exit("\n".join(faults) or 0)
