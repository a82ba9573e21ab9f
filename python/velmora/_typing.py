# SPDX-License-Identifier: Apache-2.0
"""Types of the public signatures; nothing here exists at run time for a program that does not ask for it."""

from __future__ import annotations

from collections.abc import Sequence
from typing import Any, Literal, Protocol, TypeAlias

import numpy as np
from numpy.typing import NDArray

from velmora._enums import ResamplingMethod, ResamplingTimeGridMode


class RealArray(Protocol):
    """An array, or what makes one of itself: numpy's, a column of pandas, ..."""

    def __array__(self) -> NDArray[np.floating[Any] | np.integer[Any] | np.bool_]: ...


#: One real number.
Real: TypeAlias = float | np.floating[Any] | np.integer[Any]
#: What becomes a vector: times, joint values, weights.
VectorLike: TypeAlias = RealArray | Sequence[Real]
#: What becomes a matrix: a row per sample, a column per joint.
MatrixLike: TypeAlias = RealArray | Sequence[Sequence[Real]] | Sequence[RealArray]
#: What the library returns: C-ordered, read-only.
FloatArray: TypeAlias = NDArray[np.float64]
#: A method of resampling or its name.
Method: TypeAlias = ResamplingMethod | Literal["linear", "cubic"]
#: A mode of the time grid or its name.
GridMode: TypeAlias = (
    ResamplingTimeGridMode
    | Literal["exact_dt_append_endpoint", "exact_dt_trim", "exact_duration_adjust_dt", "exact_dt_extend_endpoint"]
)
