# SPDX-License-Identifier: Apache-2.0
"""What lies outside of limits, by the rule of `velmora check`."""

from __future__ import annotations

import numpy as np
from numpy.typing import NDArray

from velmora.tools.operations.check import TOLERANCE
from velmora.tools.report.data import Bounds


def outside_of(low: NDArray[np.float64], high: NDArray[np.float64], bounds: Bounds) -> NDArray[np.bool_]:
    """Which runs of samples, given by their extremes (J, K), leave the limits of their joint by more than rounding."""
    half = 0.5 * bounds.upper - 0.5 * bounds.lower
    slack = TOLERANCE * np.where(np.isfinite(half), half, 0.0)[:, np.newaxis]
    return np.asarray((low < bounds.lower[:, np.newaxis] - slack) | (high > bounds.upper[:, np.newaxis] + slack))
