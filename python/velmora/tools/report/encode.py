# SPDX-License-Identifier: Apache-2.0
"""Numbers as compact text: quantised, differenced, split into planes of bytes, deflated, in base64.

`assets/decode.js` reads what is written here, array by array in the same order.
"""

from __future__ import annotations

import base64
import zlib

import numpy as np
from numpy.typing import NDArray

BLOCK = 512  # values that share an offset and a step
TOP = 65534  # largest code; the one above stands for "no value"
MISSING = 65535
LARGEST = 8e307  # of a value: differences stay finite; larger ones are no values


class Writer:
    """Collects arrays and hands them out as one text."""

    def __init__(self) -> None:
        self._parts: list[bytes] = []

    def planes(self, array: NDArray[np.generic]) -> None:
        """Adds numbers as they are, first all lowest bytes, then the next ones: neighbours resemble each other."""
        little = np.ascontiguousarray(array).astype(array.dtype.newbyteorder("<"))
        self._parts.append(little.view(np.uint8).reshape(-1, array.dtype.itemsize).T.tobytes())

    def integers(self, values: NDArray[np.int64]) -> None:
        """Adds integers of 0 or more that do not decrease, as differences, each below 2**32."""
        self.planes(np.diff(values, prepend=np.int64(0)).astype(np.uint32))

    def times(self, seconds: NDArray[np.float64]) -> None:
        """Adds times, rounded to about 1e-11 of their span: the low bits, zero then, cost nothing."""
        span = float(seconds[-1] - seconds[0]) if len(seconds) else 0.0
        tick = 2.0 ** (np.ceil(np.log2(span)) - 36) if span > 0 and np.isfinite(span) else 0.0
        self.planes(np.round(seconds / tick) * tick if tick > 0 else seconds)

    def flags(self, flags: NDArray[np.bool_]) -> None:
        """Adds one bit for each flag, the first in the lowest bit."""
        self._parts.append(np.packbits(flags, bitorder="little").tobytes())

    def values(self, values: NDArray[np.float64]) -> None:
        """Adds single values with 16 bits for each, relative to the range of their block."""
        values = _finite(values)
        offsets, steps = _ranges(values, values)
        codes = _codes(values, offsets, steps, np.rint)
        self._header(offsets, steps)
        self.planes(np.diff(codes, prepend=np.uint16(0)))

    def ranges(self, low: NDArray[np.float64], high: NDArray[np.float64]) -> None:
        """Adds intervals with 16 bits for each end; what is read back contains them."""
        low, high = _finite(low), _finite(high)
        offsets, steps = _ranges(low, high)
        bottom = _codes(low, offsets, steps, np.floor)
        top = _codes(high, offsets, steps, np.ceil)
        # Where the rounding of the product crosses the end, one code further out does not.
        bottom = bottom - ((_decoded(bottom, offsets, steps) > low) & (bottom > 0)).astype(np.uint16)
        top = top + ((_decoded(top, offsets, steps) < high) & (top < TOP)).astype(np.uint16)
        self._header(offsets, steps)
        self.planes(np.diff(bottom, prepend=np.uint16(0)))
        self.planes(top - bottom)

    def text(self) -> str:
        """All that was added, as base64 of a zlib stream."""
        return base64.b64encode(zlib.compress(b"".join(self._parts), 9)).decode("ascii")

    def _header(self, offsets: NDArray[np.float64], steps: NDArray[np.float64]) -> None:
        self._parts.append(offsets.astype("<f8").tobytes() + steps.astype("<f8").tobytes())


def _ranges(low: NDArray[np.float64], high: NDArray[np.float64]) -> tuple[NDArray[np.float64], NDArray[np.float64]]:
    """Offset and step of each block: its smallest value, and its range over the number of codes."""
    starts = np.arange(0, len(low), BLOCK)
    if not len(starts):
        return np.zeros(0), np.zeros(0)
    smallest, largest = np.fmin.reduceat(low, starts), np.fmax.reduceat(high, starts)
    nothing = ~np.isfinite(smallest)
    smallest, largest = np.where(nothing, 0.0, smallest), np.where(nothing, 0.0, largest)
    # Two codes to spare, and steps that rounding cannot swallow: an end can always be moved outwards by one.
    coarsest = 2 * np.spacing(np.maximum(np.abs(smallest), np.abs(largest)))
    return smallest, np.where(largest > smallest, np.maximum((largest - smallest) / (TOP - 2), coarsest), 0.0)


def _finite(values: NDArray[np.float64]) -> NDArray[np.float64]:
    return np.where(np.abs(values) <= LARGEST, values, np.nan)


def _codes(
    values: NDArray[np.float64], offsets: NDArray[np.float64], steps: NDArray[np.float64], rounding: np.ufunc
) -> NDArray[np.uint16]:
    block = np.arange(len(values)) // BLOCK
    step = steps[block]
    missing = np.isnan(values)
    units = np.divide(values - offsets[block], step, out=np.zeros(len(values)), where=~missing & (step > 0))
    codes = np.clip(rounding(units), 0, TOP).astype(np.uint16)
    return np.where(missing, np.uint16(MISSING), codes)


def _decoded(
    codes: NDArray[np.uint16], offsets: NDArray[np.float64], steps: NDArray[np.float64]
) -> NDArray[np.float64]:
    block = np.arange(len(codes)) // BLOCK
    return np.asarray(offsets[block] + codes * steps[block])
