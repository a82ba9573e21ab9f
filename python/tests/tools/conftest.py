# SPDX-License-Identifier: Apache-2.0
"""Puts the helpers of these tests where every test finds them."""

from __future__ import annotations

import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parent))
