# SPDX-License-Identifier: Apache-2.0
"""Draws a recording with matplotlib, without a display: positions to jerks, before and after, gaps and limits."""

from __future__ import annotations

import sys
import warnings
from pathlib import Path
from typing import IO, TYPE_CHECKING

import numpy as np
from numpy.typing import NDArray

from velmora.tools.report import buckets
from velmora.tools.report.data import NAMES, QUANTITIES, Bounds, Quantity, ReportData, Track, unit_of
from velmora.tools.report.html import clean
from velmora.tools.report.limits import outside_of

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from matplotlib.figure import Figure

COLUMNS = 1200  # of a curve: about as many as a picture has pixels
MOST_JOINTS = 12  # in the legend
MOST_GAPS = 500
LARGEST = 1e307  # of a value: the axes around it stay finite; larger ones are drawn as nothing
COLOURS = (
    *("#1f6fc4", "#d9730d", "#0f8a5f", "#8250df", "#0e8f9b"),
    *("#bf3989", "#8a6d00", "#56657a", "#5d8c1a", "#4b4fcf"),
)
BAD = "#c81e1e"
# The same bytes for the same data: no dates, no names from random numbers.
METADATA: dict[str, dict[str, str | None]] = {
    "png": {"Software": None},
    "svg": {"Date": None, "Creator": None},
    "pdf": {"CreationDate": None, "Producer": None, "Creator": None},
}


def draw(data: ReportData, path: str, kind: str | None = None) -> None:
    """Draw a picture: png, svg or pdf, by the suffix unless `kind` says it; ``-`` is standard output.

    One row for each quantity, a colour for each joint, the recording thin and what it was resampled to thick. Where
    samples are denser than pixels every column is drawn from its smallest to its largest value. Gaps are grey, and
    the recording's lines end there; what limits exclude is shaded, and what lies there is red. Complexity: O(N J).

    Raises
    ------
    KeyError
        For another format or suffix.
    """
    from matplotlib import rc_context
    from matplotlib.figure import Figure

    kind = kind or Path(path).suffix[1:].lower()
    metadata = METADATA[kind]
    target: str | IO[bytes] = sys.stdout.buffer if path == "-" else path
    shown: list[Quantity] = [
        quantity for quantity in QUANTITIES if any(quantity in track.values for _, track in data.tracks())
    ]
    with rc_context({"svg.hashsalt": "velmora", "text.parse_math": False, "font.size": 9, "axes.titlesize": 10}):
        figure = Figure(figsize=(11, 1.2 + 2.1 * max(1, len(shown))), layout="constrained")
        rows = figure.subplots(max(1, len(shown)), 1, sharex=True, squeeze=False)[:, 0]
        for axes, quantity in zip(rows, shown, strict=False):
            _draw_quantity(axes, data, quantity)
        rows[-1].set_xlabel("time in s")
        figure.suptitle(clean(data.source), x=0.01, ha="left", fontweight="bold")
        _legend(figure, data)
        with warnings.catch_warnings():
            # A sign that the fonts at hand lack is drawn as a box.
            warnings.filterwarnings("ignore", message="Glyph .* missing", category=UserWarning)
            figure.savefig(target, format=kind, dpi=130, metadata=metadata)
    if path == "-":
        sys.stdout.flush()


def _draw_quantity(axes: Axes, data: ReportData, quantity: Quantity) -> None:
    track = data.before
    gaps = track.gaps[np.argsort(-(track.times[track.gaps + 1] - track.times[track.gaps]), kind="stable")[:MOST_GAPS]]
    for gap in gaps:
        axes.axvspan(float(track.times[gap]), float(track.times[gap + 1]), color="#6e7887", alpha=0.18, linewidth=0)
    bounds = data.limits.get(quantity)
    for name, track in data.tracks():
        if quantity in track.values:
            faint = name == "before" and data.after is not None
            _draw_track(axes, track, quantity, bounds, faint)
    if bounds is not None:
        _shade(axes, bounds)
    axes.set_title(f"{NAMES[quantity].capitalize()} in {clean(unit_of(quantity, data.unit))}", loc="left")
    axes.grid(color="#e8ebef", linewidth=0.6)
    axes.set_axisbelow(True)
    axes.margins(x=0.005)
    for side in ("top", "right"):
        axes.spines[side].set_visible(False)


def _draw_track(axes: Axes, track: Track, quantity: Quantity, bounds: Bounds | None, faint: bool) -> None:
    samples = len(track.times)
    breaks = track.gaps + 1
    edges = buckets.edges_of(samples, COLUMNS, breaks[:COLUMNS], np.zeros(0, np.int64))
    low, high = (
        np.where(np.abs(ends) <= LARGEST, ends, np.nan) for ends in buckets.extremes(track.values[quantity], edges)
    )
    outside = None if bounds is None else outside_of(low, high, bounds)
    # Up, down, up, down: each bucket is a stroke from its smallest to its largest value.
    times = np.repeat(track.times[edges[:-1]], 2)
    ends = 2 * np.searchsorted(edges, breaks)
    for joint in range(len(low)):
        values = np.stack((low[joint], high[joint]), axis=1).ravel()
        axes.plot(
            *_broken(times, values, ends),
            color=COLOURS[joint % len(COLOURS)],
            linewidth=0.6 if faint else 1.2,
            alpha=0.55 if faint else 1.0,
            solid_capstyle="round",
        )
        if outside is not None and outside[joint].any():
            red = np.where(np.repeat(outside[joint], 2), values, np.nan)
            axes.plot(*_broken(times, red, ends), color=BAD, linewidth=1.6, solid_capstyle="round", zorder=3)


def _broken(
    times: NDArray[np.float64], values: NDArray[np.float64], ends: NDArray[np.int64]
) -> tuple[NDArray[np.float64], NDArray[np.float64]]:
    """A line with nothing at the ends, so that it does not cross the gaps there."""
    return np.insert(times, ends, np.nan), np.insert(values, ends, np.nan)


def _shade(axes: Axes, bounds: Bounds) -> None:
    """Shades what is outside of the limits as far as the picture reaches; limits far outside do not widen it."""
    bottom, top = axes.get_ylim()
    reach = 0.6 * (top - bottom)
    limits = [(float(value), 1.0) for value in np.unique(bounds.upper[np.isfinite(bounds.upper)])]
    limits += [(float(value), -1.0) for value in np.unique(bounds.lower[np.isfinite(bounds.lower)])]
    near = [value for value, _ in limits if bottom - reach < value < top + reach]
    bottom, top = min([bottom, *near]), max([top, *near])
    margin = 0.03 * (top - bottom)
    axes.set_ylim(bottom - margin, top + margin)
    bottom, top = axes.get_ylim()
    for value, side in limits:
        if bottom < value < top:
            axes.axhline(value, color=BAD, linewidth=0.8, linestyle=(0, (6, 4)))
            axes.axhspan(value, top if side > 0 else bottom, color=BAD, alpha=0.06, linewidth=0)


def _legend(figure: Figure, data: ReportData) -> None:
    from matplotlib.lines import Line2D

    handles = [
        Line2D([], [], color=COLOURS[joint % len(COLOURS)], label=clean(name)[:40])
        for joint, name in enumerate(data.joints[:MOST_JOINTS])
    ]
    if len(data.joints) > MOST_JOINTS:
        handles.append(Line2D([], [], alpha=0, label=f"and {len(data.joints) - MOST_JOINTS:,} more"))
    if data.after is not None:
        handles.append(Line2D([], [], color="#444444", linewidth=0.6, label="before"))
        handles.append(Line2D([], [], color="#444444", linewidth=1.6, label="after"))
    if handles:
        figure.legend(handles=handles, loc="outside lower left", ncols=6, frameon=False)
