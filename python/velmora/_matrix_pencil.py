# SPDX-License-Identifier: Apache-2.0
"""Poles of a sum of damped exponentials by the matrix pencil."""

import numpy as np
from numpy.typing import NDArray

# Rows of the Hankel matrices, and columns taken of them: more of either costs time, and the fit refines the poles
# anyway.
_MAX_ROWS = 400
_MAX_COLUMNS = 1200


class SignalSpace:
    """The left singular vectors of the Hankel matrices of evenly sampled columns, from which poles of any order follow.

    Each column of `samples` (N, J) is a sum of the same exponentials with amplitudes of its own, so the Hankel
    matrices stand side by side. Cost O(rows^2 * columns + rows^3) once, O(order^3) per order.

    Sources
    -------
    Y. Hua and T. K. Sarkar, "Matrix pencil method for estimating parameters of exponentially damped/undamped sinusoids
    in noise", IEEE Trans. Acoust., Speech, Signal Process. 38 (1990) 814-824: the pencil parameter between N / 3 and N
    / 2 gives the least variance, and the truncation to the signal space removes most of the noise.
    """

    def __init__(self, samples: NDArray[np.float64]) -> None:
        count = samples.shape[0]
        rows = min(max(count * 2 // 5, 2), _MAX_ROWS)
        columns = count - rows
        stride = -(-columns // _MAX_COLUMNS)
        gram = np.zeros((rows + 1, rows + 1))
        for column in samples.T:
            hankel = np.lib.stride_tricks.sliding_window_view(column, rows + 1)[::stride]
            gram += hankel.T @ hankel
        self._vectors = np.linalg.eigh(gram)[1][:, ::-1]

    def poles(self, order: int) -> NDArray[np.complex128]:
        """The `order` poles z = exp((-a + i w) dt) of the signal space of that order."""
        signal = self._vectors[:, : min(order, self._vectors.shape[1] - 1)]
        shifted, *_ = np.linalg.lstsq(signal[:-1], signal[1:], rcond=None)
        poles: NDArray[np.complex128] = np.linalg.eigvals(shifted).astype(np.complex128)
        return poles
