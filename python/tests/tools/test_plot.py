# SPDX-License-Identifier: Apache-2.0
"""The pictures of `velmora plot`."""

from __future__ import annotations

import sys
from dataclasses import replace
from pathlib import Path

import numpy as np
import pytest

sys.path.insert(0, str(Path(__file__).parent / "report"))
from report_sample import renamed, sample_data, times_of, values_at
from velmora.tools.plot import _broken, draw
from velmora.tools.report import Bounds, ReportData, Track

STARTS = {"png": b"\x89PNG", "svg": b"<?xml", "pdf": b"%PDF"}


@pytest.mark.parametrize("kind", STARTS)
def test_the_same_data_give_the_same_bytes(kind: str, tmp_path: Path) -> None:
    paths = [tmp_path / f"{name}.{kind}" for name in "ab"]
    for path in paths:
        draw(sample_data(500), str(path))
    assert paths[0].read_bytes().startswith(STARTS[kind])
    assert paths[0].read_bytes() == paths[1].read_bytes()


def colours_of(path: Path) -> np.ndarray[tuple[int, ...], np.dtype[np.uint8]]:
    from matplotlib import image

    pixels = (image.imread(path)[:, :, :3] * 255).round().astype(np.uint8)
    return np.asarray(pixels.reshape(-1, 3))


def count(path: Path, colour: tuple[int, int, int]) -> int:
    return int((np.abs(colours_of(path).astype(int) - colour).max(axis=1) <= 2).sum())


def test_violations_are_red_and_gaps_are_grey(tmp_path: Path) -> None:
    data = sample_data(3000, with_after=False)
    free = replace(data, limits={})
    whole = replace(free, before=replace(data.before, gaps=np.zeros(0, np.int64)))
    counts = []
    for name, drawn in (("limits", data), ("free", free), ("whole", whole)):
        draw(drawn, str(tmp_path / f"{name}.png"))
        counts.append(
            (count(tmp_path / f"{name}.png", (200, 30, 30)), count(tmp_path / f"{name}.png", (229, 231, 233)))
        )
    assert counts[0][0] > 300
    assert counts[1][0] == 0
    assert counts[1][1] > counts[2][1] + 3000


def test_a_spike_of_one_sample_among_many_is_drawn(tmp_path: Path) -> None:
    times = times_of(200_000, 0.001, ())
    values = {"positions": np.zeros((200_000, 1))}
    values["positions"][123_456] = 1.0
    track = Track(times, values)
    limits = {"positions": Bounds(np.array([-0.5]), np.array([0.5]))}
    draw(ReportData("x", ("a",), track, None, limits), str(tmp_path / "spike.png"))
    assert count(tmp_path / "spike.png", (200, 30, 30)) > 20


def test_lines_end_at_gaps() -> None:
    times, values = _broken(np.arange(4.0), np.arange(4.0), np.array([2]))
    np.testing.assert_array_equal(values, [0.0, 1.0, np.nan, 2.0, 3.0])
    np.testing.assert_array_equal(np.isnan(times), np.isnan(values))


def test_names_are_no_formulas(tmp_path: Path) -> None:
    draw(renamed(sample_data(200), "$\\frac{1}{$_$^"), str(tmp_path / "names.png"))
    assert (tmp_path / "names.png").read_bytes().startswith(STARTS["png"])


@pytest.mark.parametrize(("samples", "joints"), [(1, 1), (2, 0), (3, 30)])
def test_small_recordings(samples: int, joints: int, tmp_path: Path) -> None:
    times = np.arange(samples) * 0.01
    track = Track(times, values_at(times, joints))
    draw(ReportData("x", tuple(f"j{i}" for i in range(joints)), track, track), str(tmp_path / "x.png"))
    assert (tmp_path / "x.png").stat().st_size > 10_000
