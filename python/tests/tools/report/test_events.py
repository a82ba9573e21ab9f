# SPDX-License-Identifier: Apache-2.0
"""Peaks and what is kept sample by sample."""

from __future__ import annotations

import numpy as np
import pytest
from report_sample import sample_data
from velmora.tools.report import ReportData, Track, Violation
from velmora.tools.report.events import events_of, peaks_of, ratio


@pytest.mark.parametrize("rows", [1, 7, 1 << 17])
def test_peaks_are_those_of_a_plain_loop(rows: int, monkeypatch: pytest.MonkeyPatch) -> None:
    monkeypatch.setattr("velmora.tools.operations.peaks.ROWS", rows)
    values = np.random.default_rng(4).integers(-9, 10, (50, 3)).astype(float)
    values[::5] = np.nan
    values[3, 0] = np.inf
    track = Track(np.arange(50.0), {"positions": values})
    found = peaks_of(ReportData("x", ("a", "b", "c"), track))["before", "positions"]
    for joint, peak in enumerate(found):
        best = None
        for sample, value in enumerate(values[:, joint].tolist()):
            if np.isfinite(value) and (best is None or abs(value) > abs(best[1])):
                best = sample, value
        finite = [value for value in values[:, joint].tolist() if np.isfinite(value)]
        assert peak is not None
        assert best == (peak.sample, peak.value)
        assert (peak.lowest, peak.highest) == (min(finite), max(finite))


def test_a_joint_without_finite_values_has_no_peak() -> None:
    track = Track(np.arange(3.0), {"positions": np.full((3, 1), np.nan)})
    assert peaks_of(ReportData("x", ("a",), track)) == {("before", "positions"): (None,)}


def test_the_worst_violation_comes_first_then_peaks_then_gaps() -> None:
    times = np.arange(100.0)
    values = np.zeros((100, 1))
    values[70] = -5.0
    track = Track(times, {"positions": values}, np.array([10, 20]))
    violations = tuple(Violation("positions", 0, at, at, worst, at, 1.0) for at, worst in ((40.0, 2.0), (50.0, 3.0)))
    data = ReportData("x", ("a",), track, violations=violations)
    assert events_of(data, peaks_of(data), "before", track) == [50, 70, 40, 10, 20]


def test_events_of_one_track_are_kept_in_the_other_too() -> None:
    data = sample_data()
    assert data.after is not None
    peaks = peaks_of(data)
    spike = peaks["before", "accelerations"][0]
    assert spike is not None
    time_s = data.before.times[spike.sample]
    sample = events_of(data, peaks, "after", data.after)[0]
    assert abs(data.after.times[sample] - time_s) <= 0.008


@pytest.mark.parametrize(("value", "bound", "expected"), [(3.0, 2.0, 1.5), (-3.0, -2.0, 1.5), (0.5, 0.0, 1.5)])
def test_ratio(value: float, bound: float, expected: float) -> None:
    assert ratio(value, bound) == expected
