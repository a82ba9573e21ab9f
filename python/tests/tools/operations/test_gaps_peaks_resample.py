# SPDX-License-Identifier: Apache-2.0
"""Gaps, peaks and resampling on recordings: literal values, refusals, times that keep their origin."""

from __future__ import annotations

import re
from dataclasses import replace

import numpy as np
import pytest
import velmora as vm
from support import recording
from velmora.tools.errors import DataError, UsageError
from velmora.tools.operations.gaps import find_gaps, split
from velmora.tools.operations.peaks import peaks
from velmora.tools.operations.resample import ResampleOptions, grid_size, resample
from velmora.tools.recording import Stamps


def test_a_gap_is_longer_than_ten_median_steps() -> None:
    times_s = np.array([0.0, 1.0, 2.0, 12.0, 13.0, 23.5, 24.5])
    gaps = find_gaps(times_s)
    assert (gaps.threshold_s, gaps.before.tolist()) == (10.0, [4])
    assert (gaps.starts_s.tolist(), gaps.ends_s.tolist()) == ([13.0], [23.5])
    assert find_gaps(times_s, 5.0).before.tolist() == [2, 4]
    assert len(find_gaps(np.array([1.0]))) == 0
    assert len(find_gaps(np.empty(0))) == 0


def test_split_gives_pieces_with_their_rows() -> None:
    whole = recording([0.0, 1.0, 9.0, 10.0], [[1.0], [2.0], [3.0], [4.0]])
    assert whole.stamps is not None
    pieces = split(whole, find_gaps(whole.stamps.seconds(), 2.0))
    assert [piece.rows.tolist() for piece in pieces] == [[2, 3], [4, 5]]
    assert [piece.stamps.origin for piece in pieces if piece.stamps is not None] == [0.0, 9.0]


def test_peaks_keep_their_sign_and_first_time() -> None:
    velocities = np.array([[0.0, 3.0], [2.0, -3.0], [-2.0, 1.0], [1.0, -1.0]])
    found = peaks(np.arange(4.0), np.zeros((4, 2)), velocities)
    assert found["velocities"].values.tolist() == [2.0, 3.0]
    assert found["velocities"].times_s.tolist() == [1.0, 0.0]


def test_peaks_are_those_of_the_trajectory_of_all_joints() -> None:
    generator = np.random.default_rng(3)
    time_s, positions = np.cumsum(generator.uniform(0.5, 1.5, 50)), generator.normal(size=(50, 4))
    trajectory = vm.JointTrajectory(positions, time=time_s)
    for level, found in peaks(time_s, positions).items():
        values = getattr(trajectory, level)
        rows = np.abs(values).argmax(axis=0)
        assert found.values.tolist() == values[rows, range(4)].tolist()
        assert found.times_s.tolist() == time_s[rows].tolist()


def test_resampling_is_that_of_the_library_to_the_last_bit() -> None:
    generator = np.random.default_rng(5)
    times_s = np.cumsum(generator.uniform(0.5, 1.5, 40))
    whole = recording(times_s.tolist(), generator.normal(size=(40, 3)).tolist())
    (result,) = resample(
        whole, ResampleOptions(sample_time_s=0.3, columns=("positions", "velocities", "accelerations", "jerks"))
    )
    expected = vm.resample_trajectory(vm.JointTrajectory(whole.positions, time=times_s - times_s[0]), 0.3)
    for name in ("positions", "velocities", "accelerations", "jerks"):
        assert getattr(result.recording, name).tobytes() == getattr(expected, name).tobytes()
    assert result.recording.stamps is not None
    assert result.recording.stamps.values.tolist() == (expected.time + times_s[0]).tolist()


def test_nanoseconds_of_an_epoch_come_out_as_nanoseconds() -> None:
    start = 1_700_000_000_123_456_789
    whole = replace(
        recording([0.0, 1.0, 2.0], [[0.0], [1.0], [2.0]]),
        stamps=Stamps(start + np.array([0, 10_000_000, 20_000_000]), "ns"),
    )
    (result,) = resample(whole, ResampleOptions(rate_hz=250.0))
    assert result.recording.stamps is not None
    assert (result.recording.stamps.values - start).tolist() == [
        0,
        4_000_000,
        8_000_000,
        12_000_000,
        16_000_000,
        20_000_000,
    ]
    assert result.recording.stamps.unit == "ns"


def test_only_the_columns_that_are_asked_for() -> None:
    (result,) = resample(
        recording([0.0, 1.0, 2.0], [[0.0], [1.0], [0.0]]), ResampleOptions(rate_hz=2.0, columns=("positions", "jerks"))
    )
    assert result.recording.velocities is None and result.recording.accelerations is None
    assert result.recording.jerks is not None


def test_a_bridged_gap_is_told() -> None:
    whole = recording([0.0, 1.0, 2.0, 30.0, 31.0], [[0.0]] * 5)
    (result,) = resample(whole, ResampleOptions(rate_hz=1.0))
    assert result.warnings == (
        "log.csv:5: 1 gap bridged, the longest of 28 s after 2 s; no step over 10 s was expected; --gaps "
        "split or error, "
        "--max-gap",
    )
    assert resample(whole, ResampleOptions(rate_hz=1.0, max_gap_s=28.0))[0].warnings == ()


def test_gaps_may_be_an_error_or_make_pieces() -> None:
    whole = recording([0.0, 1.0, 2.0, 30.0, 31.0], [[0.0]] * 5)
    with pytest.raises(DataError) as error:
        resample(whole, ResampleOptions(rate_hz=1.0, gaps="error"))
    assert str(error.value) == (
        "log.csv:5: 1 gap, the first after 2 s, 28 s long; no step over 10 s was expected; --gaps bridge or "
        "split, --max-gap"
    )
    pieces = resample(whole, ResampleOptions(rate_hz=2.0, gaps="split"))
    assert [piece.recording.stamps.values.tolist() for piece in pieces if piece.recording.stamps is not None] == [
        [0.0, 0.5, 1.0, 1.5, 2.0],
        [30.0, 30.5, 31.0],
    ]


def test_a_number_of_samples_is_that_of_each_piece() -> None:
    whole = recording([0.0, 1.0, 2.0, 30.0, 31.0], [[0.0]] * 5)
    pieces = resample(whole, ResampleOptions(samples=3, gaps="split"))
    assert [len(piece.time_s) for piece in pieces] == [3, 3]
    assert [piece.recording.notes[-1].text for piece in pieces] == ["cubic, 3 samples in each piece"] * 2
    (piece,) = resample(whole, ResampleOptions(samples=3))
    assert piece.recording.notes[-1].text == "cubic, 3 samples over the whole span"


@pytest.mark.parametrize(
    ("grid", "samples"),
    [
        ("exact_dt_append_endpoint", 5),
        ("exact_dt_trim", 4),
        ("exact_duration_adjust_dt", 5),
        ("exact_dt_extend_endpoint", 5),
    ],
)
def test_the_size_of_a_grid_is_known_before(grid: str, samples: int) -> None:
    options = ResampleOptions(sample_time_s=0.3, grid=grid, columns=("positions",), method="linear")
    assert grid_size(1.1, 2, options).samples == samples
    assert grid_size(1.1, 2, options).bytes == samples * 8 * 3
    assert len(resample(recording([0.0, 1.1], [[0.0], [1.0]]), options)[0].recording.rows) == samples


def test_a_huge_grid_is_refused_before_it_is_made() -> None:
    whole = recording([0.0, 3600.0], [[0.0, 1.0]] * 2)
    with pytest.raises(UsageError) as error:
        resample(whole, ResampleOptions(sample_time_s=1e-12))
    assert str(error.value) == (
        "log.csv: the grid would have 3.6e+15 samples and take 202 PB; at most 100,000,000 were expected; "
        "choose a longer --sample-time, or raise --max-samples"
    )
    for sample_time_s in (5e-324, 1e-300):
        with pytest.raises(UsageError, match="the grid would have"):
            resample(whole, ResampleOptions(sample_time_s=sample_time_s))
    with pytest.raises(UsageError, match=r"would have 101 samples and take 5\.66 kB; at most 100 were expected"):
        resample(whole, ResampleOptions(sample_time_s=36.0, grid="exact_dt_trim", max_samples=100))


def test_samples_closer_than_the_stamps_can_tell_are_refused() -> None:
    whole = replace(recording([0.0, 1.0], [[0.0], [1.0]]), stamps=Stamps(np.array([0, 10]), "ns"))
    with pytest.raises(
        UsageError, match="the new samples are closer than a nanosecond; a longer --sample-time was expected"
    ):
        resample(whole, ResampleOptions(sample_time_s=1e-10))


def test_a_failing_spline_goes_on_linearly_and_says_so_unless_strict() -> None:
    steep = recording([0.0, 1.0, 2.0, 3.0], [[1e308], [-1e308], [1e308], [-1e308]])
    reason = "Cubic-spline construction produced non-finite coefficients."
    (result,) = resample(steep, ResampleOptions(rate_hz=2.0, columns=("positions",)))
    assert result.warnings == (
        f"log.csv: LINEAR INSTEAD OF CUBIC: the spline fails: {reason} A cubic spline was expected; "
        "--strict makes this an error",
    )
    with pytest.raises(DataError, match=rf"log\.csv: {re.escape(reason)}"):
        resample(steep, ResampleOptions(rate_hz=2.0, strict=True))


def test_one_sample_is_held_and_says_so_unless_strict() -> None:
    single = recording([3.0], [[1.0]])
    (result,) = resample(single, ResampleOptions(rate_hz=10.0))
    assert result.recording.positions.tolist() == [[1.0]]
    assert result.warnings == (
        "log.csv: one sample, which is held; a cubic spline takes two; --strict makes this an error",
    )
    assert result.recording.notes[-1].text == "held, exact_dt_append_endpoint, sample time 0.1 s"
    with pytest.raises(DataError, match=r"log\.csv: one sample; a cubic spline takes two; without --strict it is held"):
        resample(single, ResampleOptions(rate_hz=10.0, strict=True))


def test_results_that_are_not_finite_are_refused() -> None:
    huge = recording([0.0, 1e-3, 2e-3], [[1e308], [-1e308], [1e308]])
    with pytest.raises(DataError):
        resample(huge, ResampleOptions(rate_hz=2000.0))
    linear = ResampleOptions(rate_hz=2000.0, method="linear", columns=("positions", "velocities"))
    with pytest.raises(DataError, match="are not finite at"):
        resample(huge, linear)
