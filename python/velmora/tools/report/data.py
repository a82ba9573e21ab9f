# SPDX-License-Identifier: Apache-2.0
"""What a report shows: plain records over numpy arrays, filled in by the commands."""

from __future__ import annotations

from collections.abc import Mapping
from dataclasses import dataclass, field
from typing import Literal

import numpy as np
from numpy.typing import NDArray

Quantity = Literal["positions", "velocities", "accelerations", "jerks"]
QUANTITIES: tuple[Quantity, ...] = ("positions", "velocities", "accelerations", "jerks")
NAMES: dict[Quantity, str] = {
    "positions": "position",
    "velocities": "velocity",
    "accelerations": "acceleration",
    "jerks": "jerk",
}
TrackName = Literal["before", "after"]


@dataclass(frozen=True)
class Track:
    """One trajectory of the report: the recording, or what was made of it.

    Parameters
    ----------
    times : (N,) float64
        Seconds after the first sample, not decreasing.
    values : mapping from quantity to (N, J) float64
        What is there of the positions and their derivatives; a value that is not finite is drawn as nothing. Each entry
        is asked for several times.
    gaps : (G,) int64
        Samples that are followed by a gap: lines end at sample i and start anew at sample i + 1.
    """

    times: NDArray[np.float64]
    values: Mapping[Quantity, NDArray[np.float64]]
    gaps: NDArray[np.int64] = field(default_factory=lambda: np.zeros(0, np.int64))


@dataclass(frozen=True)
class Bounds:
    """Limits of one quantity: (J,) arrays, NaN where a joint has none, and where each joint's limits come from."""

    lower: NDArray[np.float64]
    upper: NDArray[np.float64]
    sources: tuple[str, ...] = ()


@dataclass(frozen=True)
class Violation:
    """A span of time in which a joint is outside of a limit, with its worst value and the limit that it passes."""

    quantity: Quantity
    joint: int
    start_s: float
    end_s: float
    worst: float
    worst_s: float
    bound: float
    source: str = ""
    track: TrackName = "before"


@dataclass(frozen=True)
class Fact:
    """A line of a list: what, its value, and where the value comes from ("command line", "default", ...)."""

    name: str
    value: str
    origin: str = ""


@dataclass(frozen=True)
class Table:
    """A table of texts; the first column names its rows."""

    columns: tuple[str, ...]
    rows: tuple[tuple[str, ...], ...]


@dataclass(frozen=True)
class Curve:
    """A line of a `Plot`: (N,) arrays, x increasing. A curve that belongs to a joint is switched on and off with it."""

    name: str
    x: NDArray[np.float64]
    y: NDArray[np.float64]
    joint: int | None = None
    track: TrackName = "before"


@dataclass(frozen=True)
class Plot:
    """Curves over an axis of their own (frequency, damping, ...)."""

    x_label: str
    y_label: str
    curves: tuple[Curve, ...]
    log_x: bool = False
    log_y: bool = False


@dataclass(frozen=True)
class Section:
    """A further part of the report: a title and any of a text, a table, curves and a picture (PNG or SVG)."""

    title: str
    text: str = ""
    table: Table | None = None
    plot: Plot | None = None
    picture: bytes | None = None
    picture_description: str = ""


@dataclass(frozen=True)
class ReportData:
    """All that a report shows.

    Parameters
    ----------
    source : str
        The recording's name.
    joints : tuple of str
        Names of the J joints, unique.
    before, after : Track
        The recording, and what it was resampled to (none: the report is about the recording alone).
    limits : mapping from quantity to `Bounds`
        Empty without limits.
    violations : sequence of `Violation`
        In the order in which they are listed; every one is marked in the curves whether it is listed or not.
    facts : list of `Fact`
        What the recording is: format, clock, rows, span.
    notes : tuple of str
        What a reader must know before the curves: warnings, dropped rows. Shown on top.
    options : list of `Fact`
        How it was resampled and where each value came from.
    command, version, input_sha256 : str
        What made the report, and of what. Empty ones are left out.
    sections : sequence of `Section`
        Further parts, shown after the curves.
    work : str
        What was done to the recording, of which `after` is the result and `options` tell.
    unit : str
        Unit of the positions.
    created : str
        Shown as it is when not empty. A report without it has the same bytes for the same input.
    """

    source: str
    joints: tuple[str, ...]
    before: Track
    after: Track | None = None
    limits: Mapping[Quantity, Bounds] = field(default_factory=dict)
    violations: tuple[Violation, ...] = ()
    facts: tuple[Fact, ...] = ()
    notes: tuple[str, ...] = ()
    options: tuple[Fact, ...] = ()
    command: str = ""
    version: str = ""
    input_sha256: str = ""
    sections: tuple[Section, ...] = ()
    work: str = "resampling"
    unit: str = "rad"
    created: str = ""

    def tracks(self) -> tuple[tuple[TrackName, Track], ...]:
        """The tracks that are there, by name."""
        return (("before", self.before),) if self.after is None else (("before", self.before), ("after", self.after))


def unit_of(quantity: Quantity, unit: str) -> str:
    """Unit of a quantity for positions in `unit`: rad, rad/s, rad/s², rad/s³."""
    order = QUANTITIES.index(quantity)
    return unit if order == 0 else f"{unit or '1'}/s{('', '²', '³')[order - 1]}"
