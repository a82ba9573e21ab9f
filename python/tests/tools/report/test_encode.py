# SPDX-License-Identifier: Apache-2.0
"""What is written is read again by a plain reader."""

from __future__ import annotations

import numpy as np
import pytest
from numpy.typing import NDArray
from report_reader import BLOCK, Reader
from velmora.tools.report.encode import TOP, Writer

CASES = {
    "none": np.zeros(0),
    "one": np.array([3.5]),
    "constant": np.full(700, -2.5),
    "noise": np.random.default_rng(1).normal(size=2000),
    "large": np.array([-8e307, 8e307, 0.0]),
    "tiny": np.array([5e-324, 1e-320, 0.0]),
    "missing": np.array([np.nan, 1.0, np.nan, 2.0, np.nan]),
    "all missing": np.full(600, np.nan),
    "offset": 1e9 + np.random.default_rng(2).normal(size=600) * 1e-4,
}


@pytest.mark.parametrize("values", CASES.values(), ids=CASES.keys())
def test_single_values_are_off_by_half_a_step_of_their_block(values: NDArray[np.float64]) -> None:
    writer = Writer()
    writer.values(values)
    got = np.array(Reader(writer.text()).curve(len(values), True)[0])
    np.testing.assert_array_equal(np.isnan(got), np.isnan(values))
    for first in range(0, len(values), BLOCK):
        block, read = values[first : first + BLOCK], got[first : first + BLOCK]
        if np.isnan(block).all():
            continue
        half = (np.nanmax(block) / (TOP - 2) - np.nanmin(block) / (TOP - 2)) / 2
        rounding = 4 * np.spacing(np.nanmax(np.abs(block)))
        assert np.nanmax(np.abs(read - block)) <= half * (1 + 1e-9) + rounding


@pytest.mark.parametrize("values", CASES.values(), ids=CASES.keys())
def test_ranges_contain_what_was_written(values: NDArray[np.float64]) -> None:
    low, high = values - np.abs(values) * 1e-3, values.copy()
    low[np.abs(low) > 8e307] = -8e307
    writer = Writer()
    writer.ranges(low, high)
    got_low, got_high = (np.array(part) for part in Reader(writer.text()).curve(len(values), False))
    there = ~np.isnan(values)
    np.testing.assert_array_equal(np.isnan(got_low), ~there)
    assert (got_low[there] <= low[there]).all()
    assert (got_high[there] >= high[there]).all()


@pytest.mark.parametrize("seed", range(30))
def test_random_ranges_contain_what_was_written(seed: int) -> None:
    random = np.random.default_rng(seed)
    low = random.normal(size=1500) * 10.0 ** random.integers(-5, 6) + random.normal() * 10.0 ** random.integers(-3, 4)
    high = low + np.abs(random.normal(size=1500)) * random.choice([0.0, 1e-9, 1.0])
    writer = Writer()
    writer.ranges(low, high)
    got_low, got_high = (np.array(part) for part in Reader(writer.text()).curve(1500, False))
    assert (got_low <= low).all()
    assert (got_high >= high).all()
    assert np.abs(got_low - low).max() <= 3 * (high.max() - low.min()) / TOP


def test_values_beyond_all_use_are_missing() -> None:
    writer = Writer()
    writer.values(np.array([np.inf, 1.0, -9e307, 2.0]))
    got = np.array(Reader(writer.text()).curve(4, True)[0])
    np.testing.assert_array_equal(np.isnan(got), [True, False, True, False])
    np.testing.assert_allclose(got[[1, 3]], [1.0, 2.0], rtol=1e-9)


def test_integers_flags_and_times_come_back() -> None:
    random = np.random.default_rng(5)
    integers = np.cumsum(random.integers(0, 1 << 31, 100))
    flags = random.random(37) < 0.5
    times = np.cumsum(random.random(100) * 1e-3) + 12_345.0
    writer = Writer()
    writer.integers(integers)
    writer.flags(flags)
    writer.times(times)
    reader = Reader(writer.text())
    assert np.cumsum(reader.planes(100, "I")).tolist() == integers.tolist()
    assert reader.flags(37) == flags.tolist()
    np.testing.assert_allclose(reader.planes(100, "d"), times, rtol=0, atol=1e-11 * (times[-1] - times[0]))


def test_a_single_time_is_exact() -> None:
    writer = Writer()
    writer.times(np.array([1.2345678901234567]))
    assert Reader(writer.text()).planes(1, "d") == [1.2345678901234567]
