# SPDX-License-Identifier: Apache-2.0
"""What is read off a report in a real browser: the values under the pointer, the words of the axes."""

from __future__ import annotations

import re
from dataclasses import replace
from pathlib import Path
from typing import Any

import numpy as np
import pytest
from report_sample import sample_data, values_at
from velmora.tools.report import Curve, Plot, ReportData, Section, Track, build

TELEPHONE = {"width": 390, "height": 844}


def point_at(opened: Any, chart: int, time_s: float) -> None:
    """Move the mouse onto a chart at a time."""
    whole = opened.view()
    opened.page.mouse.move(*opened.over(chart, (time_s - whole[0]) / (whole[1] - whole[0])))
    opened.settle()


def test_the_pointer_shows_the_values_of_all_quantities(opening: Any, file: Path) -> None:
    data = sample_data()
    opened = opening(file)
    opened.page.mouse.move(*opened.over(1, 0.5))
    opened.settle()
    caption = opened.page.locator("#where").inner_text()
    assert caption.startswith("t = ")
    time_s = float(caption.split()[2])
    assert data.after is not None
    nearest = abs(data.after.times - time_s).argmin()
    cells = opened.page.locator("#values tbody tr").nth(1).locator("td")
    for column, quantity in enumerate(("positions", "velocities", "accelerations")):
        values = data.after.values[quantity][:, 1]
        near = values[max(0, nearest - 4) : nearest + 5]
        shown = float(cells.nth(column).locator(".after").inner_text().split("±")[0].replace("−", "-"))
        assert near.min() - 0.01 <= shown <= near.max() + 0.01
        assert cells.nth(column).locator(".before").inner_text() != ""
    opened.page.mouse.move(5, 5)
    opened.settle()
    assert opened.page.locator("#where").inner_text() == "point at a curve to read its values"


def test_on_a_telephone_the_values_stand_below_the_chart(opening: Any, file: Path) -> None:
    opened = opening(file, TELEPHONE)
    for share in (0.4, 0.5):  # again, since lines of text must not push the chart away from the pointer
        opened.page.mouse.move(*opened.over(1, share))
        opened.settle()
        assert re.match(r"[\d.]+ s: joint_1 -?[\d.]+", opened.page.locator("#charts .readout").nth(1).inner_text())
        assert opened.page.evaluate("velmoraReport.charts[2].plot.cursor.left") > 0


def test_axes_tell_times_apart_far_from_zero(opening: Any, tmp_path: Path) -> None:
    data = sample_data(2000)
    assert data.after is not None
    late = [replace(track, times=track.times + 86_400.0) for track in (data.before, data.after)]
    path = tmp_path / "late.html"
    path.write_bytes(build(replace(data, before=late[0], after=late[1], violations=())))
    opened = opening(path)
    opened.page.evaluate("velmoraReport.zoomTo(null, {from: 86400, to: 86400.5})")
    opened.settle()
    words = opened.page.evaluate("velmoraReport.charts[0].plot.axes[0]._values")
    assert len(set(words)) == len(words) > 3
    # Each word is the value at its line.
    for axis in range(2):
        lines, words = opened.page.evaluate(
            "(axis) => { const a = velmoraReport.charts[3].plot.axes[axis]; return [a._splits, a._values]; }", axis
        )
        assert [float(word) for word in words] == pytest.approx(lines, rel=1e-12, abs=1e-9)
    assert opened.said == []


def test_the_pointer_shows_no_values_in_a_gap(opening: Any, tmp_path: Path) -> None:
    """A recording in two pieces, and the same bridged."""
    data = sample_data()
    gap = int(data.before.gaps[0])
    start_s, end_s = (float(time) for time in data.before.times[[gap, gap + 1]])
    grid = np.arange(0.0, data.before.times[-1], 0.008)
    outside = grid[(grid <= start_s) | (grid >= end_s)]
    pieces = Track(outside, values_at(outside, 3), np.searchsorted(outside, [start_s], side="right") - 1)
    for after, has_value in ((pieces, False), (Track(grid, values_at(grid, 3)), True)):
        path = tmp_path / f"{has_value}.html"
        path.write_bytes(build(replace(data, after=after, limits={}, violations=())))
        opened = opening(path)
        where, cell = opened.page.locator("#where"), opened.page.locator("#values tbody td").first
        point_at(opened, 0, (start_s + end_s) / 2)
        assert cell.locator(".before").inner_text() == "–"
        assert (cell.locator(".after").inner_text() == "–") is not has_value
        assert where.inner_text().endswith(" s, no sample") is not has_value
        point_at(opened, 0, start_s - 0.2)
        assert ", sample" in where.inner_text()
        assert "–" not in cell.inner_text()


def words_of(opened: Any, chart: int) -> list[str]:
    """The words of a chart's y axis, all of which the axis has room for."""
    found = opened.page.evaluate(
        """(chart) => {
          const { plot } = velmoraReport.charts[chart];
          const axis = plot.axes[1];
          plot.ctx.font = axis.font[0];
          const words = axis._values.filter((word) => word);
          return [words, words.map((word) => plot.ctx.measureText(word).width / devicePixelRatio), axis._size - 15];
        }""",
        chart,
    )
    words, widths, room = found
    assert words
    assert max(widths) <= room
    return list(words)


@pytest.mark.parametrize(("size", "at"), [(1e-9, 0.0), (1.0, 1e6), (1e9, 0.0), (1e5, 1e9), (1.0, 1e7)])
def test_words_of_an_axis_have_room_and_differ(opening: Any, tmp_path: Path, size: float, at: float) -> None:
    times = np.arange(200) * 0.01
    values = {"positions": at + size * values_at(times, 1)["positions"]}
    x = np.linspace(1.0, 100.0, 50)
    curve = Curve("a", x, size * x**-4.0)
    sections = (Section("Spectrum", plot=Plot("x", "y", (curve,), log_x=True, log_y=True)),)
    path = tmp_path / "axes.html"
    path.write_bytes(build(ReportData("x", ("a",), Track(times, values), sections=sections)))
    opened = opening(path)
    words = words_of(opened, 0)
    assert len(set(words)) == len(words) > 2
    lines = opened.page.evaluate("velmoraReport.charts[0].plot.axes[1]._splits")
    assert [float(word) for word in words] == pytest.approx(lines, rel=1e-12, abs=1e-9 * size)
    words = words_of(opened, 2)
    assert len(set(words)) == len(words) > 2


def test_the_step_of_an_even_clock_is_flat(opening: Any, tmp_path: Path) -> None:
    """Its rounding is no unevenness to look at."""
    times = np.arange(2000) * 0.01
    assert np.ptp(np.diff(times)) > 0.0
    path = tmp_path / "even.html"
    path.write_bytes(build(ReportData("x", ("a",), Track(times, values_at(times, 1)))))
    opened = opening(path)
    words = words_of(opened, 4)
    assert len(set(words)) == len(words)
    assert "10.0" in words or "10.00" in words
