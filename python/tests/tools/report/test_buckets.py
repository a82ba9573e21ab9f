# SPDX-License-Identifier: Apache-2.0
"""Buckets against plain loops."""

from __future__ import annotations

from itertools import pairwise

import numpy as np
import pytest
from numpy.typing import NDArray
from velmora.tools.report.buckets import RADIUS, coarser, edges_of, extremes, merged

NONE: NDArray[np.int64] = np.zeros(0, np.int64)


@pytest.mark.parametrize("samples", [1, 2, 9, 10])
def test_few_samples_stay_single(samples: int) -> None:
    assert edges_of(samples, 10, NONE, NONE).tolist() == list(range(samples + 1))


def test_without_events_buckets_are_as_wide_as_they_must_be() -> None:
    assert edges_of(10, 3, NONE, NONE).tolist() == [0, 4, 8, 10]


def test_breaks_start_buckets() -> None:
    assert edges_of(12, 3, np.array([5, 6]), NONE).tolist() == [0, 4, 5, 6, 10, 12]


@pytest.mark.parametrize("seed", range(20))
def test_buckets_cover_all_samples_and_are_single_around_events(seed: int) -> None:
    random = np.random.default_rng(seed)
    samples = int(random.integers(1000, 1_000_000))
    buckets = int(random.integers(10, 900))
    events = np.sort(random.integers(0, samples, 5))
    breaks = np.unique(random.integers(0, samples, 5))
    edges = edges_of(samples, buckets, breaks, events)
    assert edges[0] == 0
    assert edges[-1] == samples
    widths = np.diff(edges)
    assert widths.min() >= 1
    assert widths.max() <= -(-samples // buckets)
    assert set(breaks.tolist()) <= set(edges.tolist())
    for first, last in pairwise(edges):
        if last - first > 1:
            nearest = min(min(abs(event - first), abs(event - last + 1)) for event in events)
            assert nearest > RADIUS
    # As many as without events, and a few hundred for each of them.
    assert len(edges) < buckets + 5 * (2 * RADIUS + 16 * np.log(samples)) + 10


@pytest.mark.parametrize("seed", range(20))
def test_extremes_are_those_of_a_plain_loop(seed: int, monkeypatch: pytest.MonkeyPatch) -> None:
    random = np.random.default_rng(seed)
    monkeypatch.setattr("velmora.tools.report.buckets.ROWS", int(random.integers(1, 60)))
    samples, joints = int(random.integers(1, 200)), int(random.integers(0, 4))
    values = random.normal(size=(samples, joints))
    values[random.random(size=values.shape) < 0.3] = random.choice([np.nan, np.inf, -np.inf])
    edges = np.unique(np.concatenate(([0, samples], random.integers(0, samples + 1, 20))))
    low, high = extremes(values, edges)
    assert low.shape == high.shape == (joints, len(edges) - 1)
    for joint in range(joints):
        for k, (first, last) in enumerate(pairwise(edges)):
            finite = [value for value in values[first:last, joint].tolist() if np.isfinite(value)]
            if finite:
                assert (low[joint, k], high[joint, k]) == (min(finite), max(finite))
            else:
                assert np.isnan(low[joint, k])
                assert np.isnan(high[joint, k])


def test_coarser_buckets_have_the_extremes_of_the_finer_ones() -> None:
    values = np.random.default_rng(3).normal(size=(1000, 2))
    fine = edges_of(1000, 300, np.array([77]), np.array([500]))
    positions = coarser(fine, edges_of(1000, 20, np.array([77]), np.array([500])))
    assert positions[0] == 0
    assert positions[-1] == len(fine) - 1
    assert len(positions) < len(fine)
    for got, expected in zip(
        merged(*extremes(values, fine), positions), extremes(values, fine[positions]), strict=True
    ):
        np.testing.assert_array_equal(got, expected)


@pytest.mark.parametrize("joints", [1, 2])
def test_values_that_are_not_finite_are_nothing(joints: int) -> None:
    values = np.full((4, joints), 1.0)
    values[:3, 0] = [np.inf, 2.0, np.nan]
    values.flags.writeable = False
    low, high = extremes(values, np.array([0, 2, 3, 4]))
    np.testing.assert_array_equal(low[0], [2.0, np.nan, 1.0])
    np.testing.assert_array_equal(high[0], [2.0, np.nan, 1.0])
