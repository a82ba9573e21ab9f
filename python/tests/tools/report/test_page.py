# SPDX-License-Identifier: Apache-2.0
"""The file as a whole: its size, its bytes, what is in it, and that nothing gets out of its place."""

from __future__ import annotations

import base64
import hashlib
import re
from dataclasses import replace
from html.parser import HTMLParser
from itertools import pairwise
from pathlib import Path

import numpy as np
import pytest
from report_reader import element, read
from report_sample import renamed, sample_data, times_of, values_at, violations_of
from velmora.tools.errors import UsageError
from velmora.tools.report import Bounds, ReportData, Track, build, page

HOSTILE = "</script><script>alert(1)</script><img src=x onerror=alert(1)>\"'&\x1b[31m\u202e--><!--"


class Structure(HTMLParser):
    """Elements with their attributes, and the text outside of scripts and styles."""

    def __init__(self, text: str) -> None:
        super().__init__()
        self.elements: list[tuple[str, dict[str, str | None]]] = []
        self.texts: list[str] = []
        self.inside = ""
        self.feed(text)

    def handle_starttag(self, tag: str, attrs: list[tuple[str, str | None]]) -> None:
        self.elements.append((tag, dict(attrs)))
        self.inside = tag

    def handle_endtag(self, tag: str) -> None:
        self.inside = ""

    def handle_data(self, data: str) -> None:
        if self.inside not in ("script", "style"):
            self.texts.append(data)


def test_the_same_data_give_the_same_bytes() -> None:
    assert build(sample_data()) == build(sample_data())


def test_everything_that_was_given_is_said() -> None:
    said = " ".join(Structure(build(sample_data()).decode()).texts)
    data = sample_data()
    for text in (
        data.source, *data.joints, data.command, data.version, data.input_sha256, *data.notes,
        "CSV, comma, with header", "by its name", "0.008 s", "command line", "ZVD",
        "What a further part of the report looks like.", "3,000 → ", "acceleration", "not given", "Gaps",
    ):  # fmt: skip
        assert text in said, text
    assert any(f"limits.yaml:{line}" in said for line in (3, 7, 11))
    assert "created" not in said
    assert "2026-11-21" in " ".join(Structure(build(replace(data, created="2026-11-21")).decode()).texts)


@pytest.mark.parametrize("with_after", [True, False])
@pytest.mark.parametrize(("samples", "joints"), [(1, 1), (2, 2), (50, 0), (100, 7)])
def test_small_recordings(samples: int, joints: int, with_after: bool) -> None:
    times = np.arange(samples) * 0.01
    track = Track(times, values_at(times, joints))
    data = ReportData("x.csv", tuple(f"j{i}" for i in range(joints)), track, track if with_after else None)
    meta, tracks = read(build(data))
    assert [track["buckets"] for track in meta["tracks"]] == [samples] * (2 if with_after else 1)
    assert tracks[0]["start"] == pytest.approx(times.tolist(), abs=1e-9)


def test_names_cannot_leave_their_place() -> None:
    plain = Structure(build(renamed(sample_data(500), "name")).decode())
    hostile = build(renamed(sample_data(500), HOSTILE)).decode()
    structure = Structure(hostile)
    assert [tag for tag, _ in structure.elements] == [tag for tag, _ in plain.elements]
    assert [set(attributes) for _, attributes in structure.elements] == [set(found) for _, found in plain.elements]
    assert "alert(1)" in " ".join(structure.texts)
    assert "<img src=x" not in hostile
    assert "\x1b" not in hostile
    assert "\u202e" not in hostile
    assert "<" not in element(hostile.encode(), "meta")
    assert read(hostile.encode())[0]["joints"][0].startswith("</script>")


def test_the_policy_allows_this_script_and_this_style_and_no_network() -> None:
    text = build(sample_data()).decode()
    found = re.search(r'http-equiv="Content-Security-Policy" content="([^"]*)"', text)
    assert found is not None
    policy = found.group(1)
    assert policy.startswith("default-src 'none'; ")
    for tag, rule in (("script", "script-src"), ("style", "style-src")):
        content = re.search(rf"<{tag}>(.*?)</{tag}>", text, re.DOTALL)
        assert content is not None
        digest = base64.b64encode(hashlib.sha256(content.group(1).encode()).digest()).decode()
        assert f"{rule} 'sha256-{digest}';" in policy
    for tag, attributes in Structure(text).elements:
        assert tag not in ("link", "iframe", "object", "base", "form")
        for name in ("src", "href"):
            assert (attributes.get(name) or "#").startswith(("#", "data:image/"))
        assert not any(name.startswith("on") or name == "style" for name in attributes)


def test_no_peak_and_no_violation_is_lost() -> None:
    data = sample_data(120_000, 7)
    page_bytes = build(data)
    assert len(page_bytes) < 1_000_000
    meta, tracks = read(page_bytes)
    for (name, track), described, got in zip(data.tracks(), meta["tracks"], tracks, strict=True):
        first = [*got["first"], len(track.times)]
        assert not described["single"]
        for quantity, values in track.values.items():
            bounds = data.limits.get(quantity)
            for joint in range(7):
                low, high = (np.array(part) for part in got[quantity, joint])
                outside = got.get(("outside", quantity, joint), [False] * described["buckets"])
                reach = values[:, joint].max() - values[:, joint].min()
                for k, (start, stop) in enumerate(pairwise(first)):
                    run = values[start:stop, joint]
                    assert low[k] <= run.min()
                    assert low[k] == pytest.approx(run.min(), abs=reach / 60_000)
                    assert high[k] >= run.max()
                    assert high[k] == pytest.approx(run.max(), abs=reach / 60_000)
                    if bounds is not None:
                        violated = (run > bounds.upper[joint]).any() or (run < bounds.lower[joint]).any()
                        assert outside[k] == violated, (name, quantity, joint, k)


def test_samples_around_the_spike_stay_single() -> None:
    data = sample_data(120_000, 7)
    _, tracks = read(build(data))
    spike = 60_000
    assert set(range(spike - 50, spike + 50)) <= set(tracks[0]["first"])


def test_lines_break_at_gaps() -> None:
    data = sample_data(120_000, 7)
    meta, tracks = read(build(data))
    for (_, track), described, got in zip(data.tracks(), meta["tracks"], tracks, strict=True):
        assert [got["first"][bucket] for bucket, _ in described["breaks"]] == (track.gaps + 1).tolist()
        assert [time for _, time in described["breaks"]] == track.times[track.gaps].tolist()


@pytest.mark.parametrize(("samples", "joints"), [(2000, 300), (30_000, 90)])
def test_many_joints_stay_below_the_limit(samples: int, joints: int) -> None:
    times = times_of(samples, 0.01, ())
    track = Track(times, values_at(times, joints))
    ends = np.full(joints, 1e6)
    ends[-1] = 1e-3
    data = ReportData("x.csv", tuple(f"j{i}" for i in range(joints)), track, track, {"positions": Bounds(-ends, ends)})
    found = build(data)
    assert len(found) < 1_000_000
    assert len(read(found)[0]["joints"]) >= 40


def test_thousands_of_violations_and_gaps_stay_below_the_limit() -> None:
    times = np.cumsum(np.where(np.arange(60_000) % 6 == 0, 1.0, 0.01))
    values = values_at(times, 3)
    values["positions"] += np.random.default_rng(0).normal(scale=0.5, size=(60_000, 3))
    track = Track(times, values, np.arange(5, 59_999, 6))
    limits = {"positions": Bounds(np.full(3, -0.5), np.full(3, 0.5))}
    data = ReportData("x.csv", ("a", "b", "c"), track, None, limits, violations_of("before", track, limits, 10_000))
    found = build(data)
    assert len(found) < 1_000_000
    assert "The 200 worst of 10,000" in found.decode()
    assert "The 200 longest of 9,999" in found.decode()


def test_without_the_library_one_sentence_says_how_to_get_it(monkeypatch: pytest.MonkeyPatch, tmp_path: Path) -> None:
    monkeypatch.setattr(page, "__file__", str(tmp_path / "a/b/c/d/page.py"))
    page._library.cache_clear()
    with pytest.raises(UsageError) as error:
        build(sample_data())
    page._library.cache_clear()
    assert str(error.value) == (
        "report: the plotting library uPlot is not installed; it was expected in the package, where a build puts it; "
        "run ./scripts/setup report in the source tree and install the package again"
    )
