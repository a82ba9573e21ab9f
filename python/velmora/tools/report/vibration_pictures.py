# SPDX-License-Identifier: Apache-2.0
"""Pictures of vibrations: a ring-down and its fit, shapers side by side, and what a shaped move leaves."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass
from typing import TYPE_CHECKING

import numpy as np
from numpy.typing import NDArray

if TYPE_CHECKING:
    from matplotlib.axes import Axes
    from matplotlib.figure import Figure

Array = NDArray[np.float64]

RAW, CALM, FIT, GREY = "#d9730d", "#1f6fc4", "#0f8a5f", "#8a94a3"
COLOURS = (
    *("#8a94a3", "#bf3989", "#1f6fc4", "#8250df", "#0f8a5f"),
    *("#d9730d", "#8a6d00", "#c81e1e", "#4b4fcf", "#5d8c1a"),
    *("#0e8f9b", "#5a3825", "#e05297"),
)


@dataclass(frozen=True)
class Line:
    """A named curve."""

    name: str
    x: Array
    y: Array
    thick: bool = False


@dataclass(frozen=True)
class Band:
    """Where a mode lies, and how far it may be off."""

    frequency_hz: float
    low_hz: float
    high_hz: float


def new_figure(title: str, rows: int, columns: int, height: float) -> tuple[Figure, list[Axes]]:
    """A figure with a grid of axes in the style of all pictures here."""
    from matplotlib.figure import Figure

    figure = Figure(figsize=(11, height), layout="constrained")
    axes = list(figure.subplots(rows, columns, squeeze=False).ravel())
    figure.suptitle(title, x=0.01, ha="left", fontweight="bold", fontsize=11)
    for one in axes:
        one.grid(color="#e8ebef", linewidth=0.6)
        one.set_axisbelow(True)
        for side in ("top", "right"):
            one.spines[side].set_visible(False)
    return figure, axes


def draw_ring_down(
    times_s: Array, values: Array, fitted: Line, spectrum: Line, modes: Sequence[Band], title: str
) -> Figure:
    """A recording with the fit of its free decay, and the spectrum of the decay with the modes in it."""
    figure, (above, below) = new_figure(title, 2, 1, 6.2)
    above.plot(times_s, values, color="#c3cad4", linewidth=3.6, label="recorded")
    above.plot(fitted.x, fitted.y, color=FIT, linewidth=1.2, label=fitted.name)
    above.axvline(float(fitted.x[0]), color=FIT, linewidth=0.8, linestyle=":")
    above.set_xlabel("time in s")
    above.set_title("Free decay, beside the fit of damped sinusoids", loc="left", fontsize=10)
    above.legend(frameon=False, ncols=2, loc="upper right")
    below.plot(spectrum.x, spectrum.y, color=GREY, linewidth=1.0)
    below.set_yscale("log")
    below.yaxis.set_major_formatter("{x:g}")
    below.set_ylabel("share of the peak")
    for mode in modes:
        below.axvspan(mode.low_hz, mode.high_hz, color=FIT, alpha=0.25, linewidth=0)
        below.axvline(mode.frequency_hz, color=FIT, linewidth=1.0)
        below.annotate(
            f"{mode.frequency_hz:.3f} Hz",
            (mode.frequency_hz, 1.0),
            xycoords=("data", "axes fraction"),
            xytext=(4, -12),
            textcoords="offset points",
            color=FIT,
        )
    below.set_xlabel("frequency in Hz")
    below.set_title("Spectrum of the free decay, with the modes that were found", loc="left", fontsize=10)
    below.margins(x=0.0)
    return figure


def draw_sensitivity(
    axes: Axes, lines: Sequence[Line], modes: Sequence[Band], tolerance: float, most: float, colours: Sequence[str]
) -> None:
    """Residual over frequency of each line, in percent, with the modes and the tolerance."""
    for mode in modes:
        axes.axvspan(mode.low_hz, mode.high_hz, color="#6e7887", alpha=0.15, linewidth=0)
        axes.axvline(mode.frequency_hz, color="#6e7887", linewidth=0.8)
    axes.axhline(100.0 * tolerance, color="#6e7887", linewidth=0.8, linestyle=":")
    for index, line in enumerate(lines):
        axes.plot(
            line.x,
            100.0 * line.y,
            color=colours[index % len(colours)],
            linewidth=2.4 if line.thick else 1.1,
            label=line.name,
        )
    axes.set_ylim(0.0, most)
    axes.margins(x=0.0)
    axes.set_xlabel("frequency of the mode in Hz")
    axes.set_ylabel("% of the vibration left")


def draw_designs(
    lines: Sequence[Line], points: Sequence[tuple[str, float, float, str]], modes: Sequence[Band], tolerance: float
) -> Figure:
    """All shapers: what each leaves over frequency, and how much time each costs for how much tolerance.

    `points` are name, added time in s, worst residual as a share over +-20 %, and the answer that it is ("" for none).
    """
    figure, (above, below) = new_figure("Shapers for " + _listed(modes), 2, 1, 8.0)
    draw_sensitivity(above, lines, modes, tolerance, 60.0, COLOURS)
    above.set_title(
        "What each leaves where the frequency is not the one designed for (grey: known range, dots: tolerance)",
        loc="left",
        fontsize=10,
    )
    above.legend(frameon=False, loc="upper left", bbox_to_anchor=(1.0, 1.0), fontsize=8.5)
    by_time = sorted(range(len(points)), key=lambda index: points[index][1])
    for place, index in enumerate(by_time):
        name, added, worst, answer = points[index]
        colour = COLOURS[index % len(COLOURS)]
        below.plot(1e3 * added, 100.0 * worst, "o", color=colour, markersize=11 if answer else 6)
        below.annotate(
            f"{name}: {answer}" if answer else name,
            (1e3 * added, 100.0 * worst),
            xytext=(8, 4 if place % 2 else -10),  # neighbours' names on either side, apart from each other
            textcoords="offset points",
            fontweight="bold" if answer else "normal",
            fontsize=8.5,
            color=colour,
        )
    below.set_xlabel("added time in ms")
    below.set_ylabel("% left at worst, within +-20 %")
    below.set_yscale("log")
    below.yaxis.set_major_formatter("{x:g}")
    below.yaxis.set_minor_formatter("")
    below.margins(x=0.15, y=0.15)
    below.set_title(
        "Time against robustness: lower left is better, and nothing is there for free", loc="left", fontsize=10
    )
    return figure


def draw_left(
    swings: Sequence[tuple[Line, Line]],
    sensitivity: Sequence[Line],
    modes: Sequence[Band],
    tolerance: float,
    title: str,
) -> Figure:
    """What is left: the swing of every mode after the raw and the calm move, and the residual over frequency."""
    figure, axes = new_figure(title, len(swings) + 1, 1, 2.2 + 2.6 * len(swings))
    for one, (raw, calm), mode in zip(axes, swings, modes, strict=False):
        one.plot(raw.x, raw.y, color=RAW, linewidth=1.0, label=raw.name)
        one.plot(calm.x, calm.y, color=CALM, linewidth=1.5, label=calm.name)
        one.set_title(f"Swing of the mode at {mode.frequency_hz:.4g} Hz on top of the command", loc="left", fontsize=10)
        one.set_xlabel("time in s")
        one.set_xlim(0.0, max(float(line.x[-1]) for pair in swings for line in pair))
        one.legend(frameon=False, ncols=2, loc="upper right")
    draw_sensitivity(axes[-1], sensitivity, modes, tolerance, 105.0, (RAW, CALM))
    axes[-1].set_title("Left over where the frequency is off (grey: where it may lie)", loc="left", fontsize=10)
    axes[-1].legend(frameon=False, loc="center right")
    return figure


def draw_measured(before: Line, after: Line, from_s: float, title: str) -> Figure:
    """Two measured decays over each other, from shortly before the move ends."""
    figure, (axes,) = new_figure(title, 1, 1, 3.6)
    axes.plot(before.x, before.y, color=RAW, linewidth=1.0, label=before.name)
    axes.plot(after.x, after.y, color=CALM, linewidth=1.4, label=after.name)
    axes.axvline(from_s, color="#6e7887", linewidth=0.8, linestyle=":")
    rest = np.concatenate([line.y[line.x >= from_s] for line in (before, after)])
    most = 1.4 * float(np.max(np.abs(rest), initial=0.0)) or 1.0
    axes.set_ylim(-most, most)
    axes.set_xlim(left=max(0.0, from_s - 0.25 * (float(before.x[-1]) - from_s)))
    axes.set_xlabel("time in s")
    axes.set_title("Distance from rest; compared from the dotted line on", loc="left", fontsize=10)
    axes.legend(frameon=False, ncols=2, loc="upper right")
    return figure


def save(figure: Figure, path: str) -> None:
    """Save a picture by the suffix of its path; the same bytes for the same data."""
    from pathlib import Path

    from matplotlib import rc_context

    from velmora.tools.plot import METADATA

    kind = Path(path).suffix[1:].lower()
    with rc_context({"svg.hashsalt": "velmora", "text.parse_math": False}):
        figure.savefig(path, format=kind, dpi=130, metadata=METADATA[kind])


def png(figure: Figure) -> bytes:
    """The picture as bytes."""
    import io

    from velmora.tools.plot import METADATA

    buffer = io.BytesIO()
    figure.savefig(buffer, format="png", dpi=110, metadata=METADATA["png"])
    return buffer.getvalue()


def _listed(modes: Sequence[Band]) -> str:
    return " and ".join(f"{mode.frequency_hz:.4g} Hz" for mode in modes)
