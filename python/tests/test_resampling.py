# SPDX-License-Identifier: Apache-2.0
"""Resampling by spacing, rate and number of samples; sampling; names of methods and modes."""

from __future__ import annotations

import math
import pickle
from typing import Any

import numpy as np
import pytest
import velmora as vm
from hypothesis import given
from hypothesis import strategies as st

METHODS = list(vm.ResamplingMethod)
MODES = list(vm.ResamplingTimeGridMode)
RECORDED = vm.JointTrajectory([[0.0], [0.2], [0.7], [1.0]], time=[1.0, 1.1, 1.25, 1.35])


@pytest.mark.parametrize("mode", MODES)
@pytest.mark.parametrize("method", METHODS)
def test_members_names_and_numbers_mean_the_same(method: Any, mode: Any) -> None:
    expected = vm.resample_trajectory(RECORDED, 0.04, method, mode)
    assert vm.resample_trajectory(RECORDED, 0.04, method.name, mode.name) == expected
    numbers: Any = (int(method), int(mode))  # typed as members and names alone
    assert vm.resample_trajectory(RECORDED, 0.04, *numbers) == expected
    assert RECORDED.resample(0.04, method, mode) == expected


def test_defaults_are_cubic_with_the_endpoint_and_lenient() -> None:
    expected = vm.resample_trajectory(RECORDED, 0.04, "cubic", "exact_dt_append_endpoint", False)
    assert vm.resample_trajectory(RECORDED, 0.04) == expected
    assert RECORDED.resample(0.04) == expected
    assert expected.end_time_s == 1.35


def test_names_are_parsed() -> None:
    for method in METHODS:
        assert vm.parse_resampling_method(method.name) is method
    for mode in MODES:
        assert vm.parse_resampling_time_grid_mode(mode.name) is mode


@pytest.mark.parametrize("text", ["", "Cubic", "cubic ", "λ", "a\udcff", "it's"])
def test_unknown_names_are_quoted(text: str) -> None:
    with pytest.raises(vm.InvalidArgumentError) as raised:
        vm.parse_resampling_method(text)
    assert str(raised.value) == f"Unsupported resampling method: '{text}'."
    with pytest.raises(vm.InvalidArgumentError) as raised:
        vm.parse_resampling_time_grid_mode(text)
    assert str(raised.value) == f"Unsupported resampling time-grid mode: '{text}'."


def test_a_surrogate_that_stands_for_no_byte_is_refused() -> None:
    with pytest.raises(UnicodeEncodeError):
        vm.parse_resampling_method("\ud800")


@pytest.mark.parametrize("spacing", [0.0, -0.1, math.nan, math.inf])
def test_a_bad_spacing_has_its_sentence(spacing: float) -> None:
    with pytest.raises(vm.InvalidArgumentError, match=r"^sample_time_s must be positive\.$"):
        RECORDED.resample(spacing)


def test_an_unknown_mode_by_number_has_its_sentence() -> None:
    mode: Any = 7
    with pytest.raises(vm.InvalidArgumentError, match=r"^Unsupported resampling time-grid mode\.$"):
        vm.resample_trajectory(RECORDED, 0.1, "linear", mode)


@pytest.mark.parametrize(
    ("arguments", "message"),
    [
        ((vm.ResamplingTimeGridMode.exact_dt_trim,), "method must be a ResamplingMethod or its name, got Resampling"),
        (("cubic", vm.ResamplingMethod.cubic), "grid_mode must be a ResamplingTimeGridMode or its name, got Resampl"),
        ((True,), "method must be a ResamplingMethod or its name, got bool."),
    ],
)
def test_a_member_of_another_enumeration_is_refused(arguments: Any, message: str) -> None:
    with pytest.raises(TypeError, match=f"^{message}"):
        RECORDED.resample(0.1, *arguments)


def test_a_grid_too_long_to_be_counted_is_a_memory_error() -> None:
    with pytest.raises(MemoryError):
        RECORDED.resample(1e-300)


def test_strict_cubic_rethrows_and_lenient_falls_back() -> None:
    single = vm.JointTrajectory([[3.0]], time=[2.0])
    with pytest.raises(vm.InvalidArgumentError, match=r"^`x` must contain at least 2 elements\.$"):
        single.resample(0.1, strict_cubic=True)
    assert single.resample(0.1).positions.tolist() == [[3.0]]


def test_sampling_interpolates_and_supplies_derivatives() -> None:
    sampled = RECORDED.sample([1.05, 1.1])
    assert sampled.positions.tolist() == [[0.1], [0.2]]
    assert sampled == vm.sample_trajectory_at_times(RECORDED, [1.05, 1.1], True)
    assert RECORDED.sample([1.05], include_derivatives=False).velocities.tolist() == [[0.0]]
    with pytest.raises(vm.InvalidArgumentError, match=r"^query_time_s must lie inside trajectory\.time\.$"):
        RECORDED.sample([0.5])


@pytest.mark.parametrize("query", [[-1.0], [0.002, 0.001], [math.nan], [0.0, math.nan], [0.001, 9.0], [0.0, 0.001]])
def test_a_query_that_fails_leaves_the_trajectory_as_it_was(query: list[float]) -> None:
    wild = vm.JointTrajectory([[0.0], [1.7e308], [-1.7e308], [0.0]], dt=1e-3)  # whose velocities overflow
    before = pickle.dumps(wild)
    with pytest.raises(vm.InvalidArgumentError):
        wild.sample(query)
    assert pickle.dumps(wild) == before
    assert wild.copy() == wild
    assert not np.isfinite(wild.velocities).all()


def test_a_query_that_succeeds_keeps_the_derivatives() -> None:
    sampled = vm.JointTrajectory([[0.0], [0.5], [2.0]], dt=0.5)
    shorter = len(pickle.dumps(sampled))
    sampled.sample([0.5], include_derivatives=False)
    assert len(pickle.dumps(sampled)) == shorter
    first = sampled.sample([0.25])
    assert len(pickle.dumps(sampled)) > shorter
    velocities = sampled.velocities
    with pytest.raises(vm.InvalidArgumentError):
        sampled.sample([-1.0])
    assert np.shares_memory(sampled.velocities, velocities)
    assert sampled.sample([0.25]) == first


def test_no_query_is_a_copy() -> None:
    given_velocities = vm.JointTrajectory([[0.0], [1.0]], [[5.0], [6.0]], dt=0.1)
    for derivatives in (True, False):
        assert given_velocities.sample([], derivatives) == given_velocities


@pytest.mark.parametrize("method", METHODS)
@pytest.mark.parametrize("count", [2, 3, 8, 1000])
def test_a_number_of_samples_is_met_over_the_whole_span(count: int, method: vm.ResamplingMethod) -> None:
    result = RECORDED.resample(samples=count, method=method)
    assert result.sample_count == count
    assert result.start_time_s == 1.0
    assert result.end_time_s == 1.35


@pytest.mark.parametrize("method", METHODS)
def test_a_number_of_samples_ends_at_the_end_exactly(method: vm.ResamplingMethod) -> None:
    trajectory = vm.JointTrajectory([[0.0], [0.5], [0.25], [1.0]], dt=0.02)
    grid = vm.resample_trajectory(trajectory, trajectory.duration_s / 18, method, "exact_duration_adjust_dt")
    result = trajectory.resample(samples=19, method=method)
    assert grid.end_time_s > result.end_time_s == trajectory.end_time_s
    assert result.time[:-1].tobytes() == grid.time[:-1].tobytes()
    assert result.positions.tobytes() == grid.positions.tobytes()
    if method == vm.ResamplingMethod.cubic:
        assert result.velocities.tobytes() == grid.velocities.tobytes()
        assert result.accelerations.tobytes() == grid.accelerations.tobytes()
    else:
        computed = vm.JointTrajectory(result.positions, time=result.time)
        assert result.velocities.tobytes() == computed.velocities.tobytes()
    assert trajectory.sample(result.time).sample_count == 19


@given(
    start=st.floats(-1e6, 1e6),
    steps=st.lists(st.floats(1e-3, 1e3), min_size=1, max_size=20),
    count=st.integers(2, 3000),
)
def test_any_number_of_samples_is_met_exactly(start: float, steps: list[float], count: int) -> None:
    times = start + np.concatenate([[0.0], np.cumsum(steps)])
    trajectory = vm.JointTrajectory(np.zeros((len(times), 1)), time=times)
    result = trajectory.resample(samples=count, method="linear")
    assert result.sample_count == count
    assert (result.start_time_s, result.end_time_s) == (trajectory.start_time_s, trajectory.end_time_s)


def test_a_single_sample_gives_one() -> None:
    single = vm.JointTrajectory([[3.0]], time=[2.0])
    assert single.resample(samples=1).time.tolist() == [2.0]


@pytest.mark.parametrize(
    ("trajectory", "count"), [(RECORDED, 1), (RECORDED, 0), (RECORDED, -5), (vm.JointTrajectory([[3.0]], dt=1), 2)]
)
def test_a_number_of_samples_that_cannot_span_is_an_error(trajectory: vm.JointTrajectory, count: int) -> None:
    with pytest.raises(vm.InvalidArgumentError) as raised:
        trajectory.resample(samples=count)
    assert str(raised.value) == "samples must be 1 for a trajectory of one sample, and at least 2 for any other."
    assert raised.value.argument_name == "samples"


@pytest.mark.parametrize(("end_s", "count"), [(5e-324, 4), (1.0, 10**400)])
def test_more_samples_than_times_can_tell_apart_are_an_error(end_s: float, count: int) -> None:
    short = vm.JointTrajectory([[0.0], [1.0]], time=[0.0, end_s])
    with pytest.raises(vm.InvalidArgumentError) as raised:
        short.resample(samples=count)
    assert str(raised.value) == "samples must not be more than the resolution of the times allows."


def test_a_rate_is_a_spacing() -> None:
    assert RECORDED.resample(rate_hz=500) == RECORDED.resample(0.002)
    assert RECORDED.resample(rate_hz=np.float32(8), grid_mode="exact_dt_trim") == RECORDED.resample(
        0.125, "cubic", "exact_dt_trim"
    )
    assert RECORDED.resample(rate_hz=np.array(8.0)) == RECORDED.resample(0.125)


@pytest.mark.parametrize("rate", [0, -5.0, math.nan, math.inf, 5e-324, 10**400])
def test_a_bad_rate_is_an_error(rate: float) -> None:
    with pytest.raises(vm.InvalidArgumentError) as raised:
        RECORDED.resample(rate_hz=rate)
    assert str(raised.value) == "rate_hz must be finite and positive."
    assert raised.value.argument_name == "rate_hz"


@pytest.mark.parametrize(
    ("arguments", "got"),
    [
        ({}, "none of them"),
        ({"sample_time_s": 0.1, "samples": 5}, "sample_time_s and samples"),
        ({"sample_time_s": 0.1, "rate_hz": 5}, "sample_time_s and rate_hz"),
        ({"samples": 5, "rate_hz": 5}, "samples and rate_hz"),
        ({"sample_time_s": 0.1, "samples": 5, "rate_hz": 5}, "sample_time_s and samples and rate_hz"),
    ],
)
def test_exactly_one_of_the_three_is_given(arguments: dict[str, Any], got: str) -> None:
    with pytest.raises(TypeError) as raised:
        RECORDED.resample(**arguments)
    assert str(raised.value) == f"resample() takes exactly one of sample_time_s, samples and rate_hz, got {got}."


@pytest.mark.parametrize(
    ("arguments", "message"),
    [
        ({"samples": 2.0}, "samples must be an integer, got float."),
        ({"samples": "5"}, "samples must be an integer, got str."),
        ({"rate_hz": "500"}, "rate_hz must be a real number, got str."),
        ({"rate_hz": [500.0]}, "rate_hz must be a real number, got list."),
        ({"samples": 5, "grid_mode": "exact_dt_trim"}, "samples places the time grid itself; leave grid_mode out."),
        ({"samples": 5, "grid_mode": np.array([1, 2])}, "samples places the time grid itself; leave grid_mode out."),
        ({"samples": 5, "grid_mode": False}, "samples places the time grid itself; leave grid_mode out."),
        (
            {"samples": 5, "grid_mode": vm.ResamplingMethod.linear},
            "samples places the time grid itself; leave grid_mode out.",
        ),
        ({"rate_hz": [1, [2]]}, "rate_hz must be a real number, got list."),
    ],
)
def test_other_kinds_are_named(arguments: dict[str, Any], message: str) -> None:
    with pytest.raises(TypeError) as raised:
        RECORDED.resample(**arguments)
    assert str(raised.value) == message


def test_samples_do_not_hide_a_mode_that_does_not_exist() -> None:
    misspelt: Any = "bogus"
    with pytest.raises(vm.InvalidArgumentError) as parsed:
        vm.parse_resampling_time_grid_mode(misspelt)
    with pytest.raises(vm.InvalidArgumentError) as raised:
        RECORDED.resample(samples=5, grid_mode=misspelt)
    assert str(raised.value) == str(parsed.value)


def test_samples_take_the_mode_that_they_mean() -> None:
    expected = RECORDED.resample(samples=5)
    assert RECORDED.resample(samples=5, grid_mode="exact_duration_adjust_dt") == expected
    assert RECORDED.resample(samples=5, grid_mode=vm.ResamplingTimeGridMode.exact_duration_adjust_dt) == expected
