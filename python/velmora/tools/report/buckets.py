# SPDX-License-Identifier: Apache-2.0
"""Runs of samples that a report draws as one: as narrow as its size allows, single samples around what matters.

Every bucket keeps its smallest and its largest value, so no peak is lost at any width. Buckets are uniform except
around given samples (peaks, violations): there they are single samples, and widen in proportion to the distance, so
that zooming in on an event shows it as it was recorded.
"""

from __future__ import annotations

import numpy as np
from numpy.typing import NDArray

RADIUS = 60  # samples on either side of an event that are kept one by one
GRADE = 8.0  # a bucket at d samples from there spans d / GRADE samples
ROWS = 1 << 17  # rows reduced at a time: a block of a few joints stays in the cache


def edges_of(samples: int, buckets: int, breaks: NDArray[np.int64], events: NDArray[np.int64]) -> NDArray[np.int64]:
    """First sample of each bucket, and `samples` at the end.

    Parameters
    ----------
    samples : int
        Number of samples, at least 1.
    buckets : int
        How many buckets of equal width would span them: the widest bucket has ``ceil(samples / buckets)`` samples.
    breaks : (B,) int64, increasing
        Samples that start a bucket whatever else holds.
    events : (E,) int64, increasing
        Samples around which the buckets are single samples.

    Returns
    -------
    (K + 1,) int64
        Increasing. Complexity: O(K log E).
    """
    widest = -(-samples // buckets)
    if widest <= 1:
        return np.arange(samples + 1, dtype=np.int64)
    stops = np.append(breaks[(breaks > 0) & (breaks < samples)], samples)
    padded = np.concatenate(([-(1 << 60)], events, [1 << 60])).tolist()
    edges = [0]
    event = 1  # the first event that is not behind the current edge
    at = 0
    for stop in stops.tolist():
        while at < stop:
            while padded[event] < at:
                event += 1
            behind = (at - padded[event - 1] - RADIUS) / GRADE
            ahead = (padded[event] - at - RADIUS) / (GRADE + 1)  # the bucket's end is one width closer than its start
            at = min(stop, at + max(1, min(widest, int(min(behind, ahead)))))
            edges.append(at)
    return np.asarray(edges, dtype=np.int64)


def coarser(fine: NDArray[np.int64], wanted: NDArray[np.int64]) -> NDArray[np.int64]:
    """Positions in `fine` of the edges nearest below those `wanted`: buckets made of whole fine ones."""
    return np.unique(np.searchsorted(fine, wanted, side="right") - 1)


def extremes(values: NDArray[np.float64], edges: NDArray[np.int64]) -> tuple[NDArray[np.float64], NDArray[np.float64]]:
    """Smallest and largest finite value of each bucket: (J, K) each from (N, J); NaN where a bucket has none."""
    count, joints = len(edges) - 1, values.shape[1]
    low, high = np.empty((joints, count)), np.empty((joints, count))
    first = 0
    while first < count:
        # Whole buckets, at most ROWS rows but at least one bucket.
        last = max(first + 1, int(np.searchsorted(edges, edges[first] + ROWS, side="right")) - 1)
        block = np.ascontiguousarray(values[edges[first] : edges[last]].T)
        if not np.isfinite(block).all():
            block = np.where(np.isfinite(block), block, np.nan)
        starts = edges[first:last] - edges[first]
        low[:, first:last] = np.fmin.reduceat(block, starts, axis=1) if joints else 0
        high[:, first:last] = np.fmax.reduceat(block, starts, axis=1) if joints else 0
        first = last
    return low, high


def merged(
    low: NDArray[np.float64], high: NDArray[np.float64], positions: NDArray[np.int64]
) -> tuple[NDArray[np.float64], NDArray[np.float64]]:
    """Extremes of coarser buckets from those of finer ones; `positions` as `coarser` gives them, the last being K."""
    starts = positions[:-1]
    return np.fmin.reduceat(low, starts, axis=1), np.fmax.reduceat(high, starts, axis=1)
