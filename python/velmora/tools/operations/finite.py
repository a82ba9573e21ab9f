# SPDX-License-Identifier: Apache-2.0
"""Whether all values of an array are finite."""

from __future__ import annotations

from typing import Any

import numpy as np
from numpy.typing import NDArray


def all_finite(values: NDArray[Any]) -> bool:
    """Whether all are finite; for the common case without a temporary array."""
    with np.errstate(over="ignore", invalid="ignore"):
        # A sum is finite only where all its terms are; a sum of finite terms may overflow.
        return bool(np.isfinite(values.sum())) or bool(np.isfinite(values).all())
