# SPDX-License-Identifier: Apache-2.0
"""The spectrum of the jerk, by signals whose spectrum is known."""

from __future__ import annotations

import numpy as np
from numpy.typing import NDArray
from velmora.tools.report import ReportData, Track
from velmora.tools.report.spectrum import jerk_spectrum


def spectrum_of(
    times: NDArray[np.float64], jerk: NDArray[np.float64], gaps: tuple[int, ...] = ()
) -> tuple[NDArray[np.float64], NDArray[np.float64]]:
    track = Track(times, {"jerks": jerk[:, np.newaxis]}, np.asarray(gaps, np.int64))
    plot = jerk_spectrum(ReportData("x", ("a",), track), (0,))
    assert plot is not None
    assert plot.x_label == "frequency in Hz"
    assert plot.y_label == "jerk in rad/s³/√Hz"
    return plot.curves[0].x, plot.curves[0].y


def test_white_noise_has_the_density_of_its_variance() -> None:
    rate_hz = 250.0
    noise = np.random.default_rng(0).normal(scale=3.0, size=400_000)
    frequency, density = spectrum_of(np.arange(len(noise)) / rate_hz, noise)
    middle = (frequency > 1) & (frequency < 30)  # further up a point is the largest of several
    np.testing.assert_allclose(density[middle], 3.0 * np.sqrt(2 / rate_hz), rtol=0.25)


def test_a_sine_stands_at_its_frequency() -> None:
    times = np.arange(20_000) * 0.01
    frequency, density = spectrum_of(times, np.sin(2 * np.pi * 7.0 * times))
    assert abs(frequency[density.argmax()] - 7.0) < 0.1
    assert density.max() > 50 * np.median(density)


def test_uneven_samples_are_put_onto_even_times() -> None:
    times = np.cumsum(0.01 * (1 + 0.2 * np.random.default_rng(1).uniform(-1, 1, 20_000)))
    frequency, density = spectrum_of(times, np.sin(2 * np.pi * 7.0 * times))
    assert abs(frequency[density.argmax()] - 7.0) < 0.1


def test_segments_do_not_reach_across_gaps() -> None:
    # A step between two constants is no vibration where a gap lies between them.
    times = np.concatenate((np.arange(5000) * 0.01, 100 + np.arange(5000) * 0.01))
    jerk = np.repeat([0.0, 1000.0], 5000)
    _, apart = spectrum_of(times, jerk, (4999,))
    _, joined = spectrum_of(times, jerk)
    assert apart.max() < 1e-6
    assert joined.max() > 1.0


def test_there_is_none_without_samples_enough_or_finite_jerks() -> None:
    times = np.arange(63) * 0.01
    assert jerk_spectrum(ReportData("x", ("a",), Track(times, {"jerks": np.ones((63, 1))})), (0,)) is None
    long = np.arange(1000) * 0.01
    jerk = np.full((1000, 1), np.nan)
    assert jerk_spectrum(ReportData("x", ("a",), Track(long, {"jerks": jerk})), (0,)) is None
    assert jerk_spectrum(ReportData("x", ("a",), Track(long, {"positions": jerk})), (0,)) is None
