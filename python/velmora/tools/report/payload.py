# SPDX-License-Identifier: Apache-2.0
"""The curves of a report as one compact text, as detailed as the room for it allows.

`assets/decode.js` reads it in the same order.
"""

from __future__ import annotations

from dataclasses import dataclass, replace
from typing import TypedDict

import numpy as np
from numpy.typing import NDArray

from velmora.tools.report import buckets
from velmora.tools.report.data import QUANTITIES, Bounds, Plot, Quantity, ReportData, Track, TrackName
from velmora.tools.report.encode import Writer
from velmora.tools.report.events import Peaks, events_of
from velmora.tools.report.html import clean
from velmora.tools.report.limits import outside_of

BYTES_PER_BUCKET = 2.2  # of a curve, as text, at best: the search for the largest number that fits starts there
FEWEST = 256  # buckets of a curve below which joints are left out instead
MOST_BYTES_PER_BUCKET = 6.0
BUCKETS_PER_EVENT = 300
MOST_BREAKS = 500  # gaps at which lines break; the longest ones
MOST_EVENTS = 64
MOST_POINTS = 1500  # of a curve of a further plot; longer ones keep the extremes of so many runs


class TrackMeta(TypedDict):
    """What `decode.js` must know of a track before it reads the arrays."""

    name: TrackName
    samples: int
    buckets: int
    single: bool
    last: float
    breaks: list[tuple[int, float]]
    quantities: list[Quantity]
    flagged: dict[str, list[int]]


class CurveMeta(TypedDict):
    """A curve of a further plot."""

    name: str
    joint: int | None
    track: TrackName
    points: int


class PlotMeta(TypedDict):
    """A further plot."""

    xLabel: str
    yLabel: str
    logX: bool
    logY: bool
    curves: list[CurveMeta]


@dataclass(frozen=True)
class Payload:
    """Encoded curves: the tracks' and the plots' texts, what describes them, and which joints are drawn."""

    text: str
    tracks: list[TrackMeta]
    plots: list[PlotMeta]


@dataclass(frozen=True)
class _Reduced:
    """A track in buckets: extremes and flags are (J, K) for each quantity, the step's are (1, K)."""

    name: TrackName
    track: Track
    edges: NDArray[np.int64]
    low: dict[str, NDArray[np.float64]]
    high: dict[str, NDArray[np.float64]]
    outside: dict[str, NDArray[np.bool_]]


def drawable(data: ReportData, room: int) -> tuple[int, ...]:
    """The joints whose curves find room: all of them, or those with violations and then the first ones."""
    curves = sum(len(track.values) for _, track in data.tracks())
    longest = max(len(track.times) for _, track in data.tracks())
    most = max(1, int(room / (curves * min(FEWEST, longest) * MOST_BYTES_PER_BUCKET))) if curves else 0
    violating = dict.fromkeys(violation.joint for violation in data.violations)
    order = [*violating, *(joint for joint in range(len(data.joints)) if joint not in violating)]
    return tuple(sorted(order[:most]))


def encode(data: ReportData, joints: tuple[int, ...], peaks: Peaks, plots: list[Plot], room: int) -> Payload:
    """Encodes the curves of some joints and the plots into at most about `room` characters.

    Parameters
    ----------
    data : ReportData
    joints : tuple of int
        The joints that are drawn.
    peaks : Peaks
        Of all joints; curves keep single samples around the most important ones.
    plots : list of `Plot`
    room : int
        Wanted length of the text. It is exceeded only where the fewest buckets do not fit.
    """
    curves = sum(len(track.values) * len(joints) + 1 for _, track in data.tracks())
    count = max(FEWEST, int(room / (curves * BYTES_PER_BUCKET)))
    reduced = [_reduced(data, joints, peaks, name, track, count) for name, track in data.tracks()]
    payload = _written(reduced, plots, joints)
    while len(payload.text) > room and count > FEWEST:
        count = max(FEWEST, int(count * min(0.95, 0.98 * room / len(payload.text))))
        reduced = [_narrowed(data, peaks, old, count) for old in reduced]
        payload = _written(reduced, plots, joints)
    return payload


def _wanted_edges(data: ReportData, peaks: Peaks, name: TrackName, track: Track, count: int) -> NDArray[np.int64]:
    samples = len(track.times)
    if samples <= count:
        return np.arange(samples + 1, dtype=np.int64)
    events = sorted(events_of(data, peaks, name, track)[: min(MOST_EVENTS, count // (2 * BUCKETS_PER_EVENT))])
    base = max(FEWEST // 2, count - len(events) * BUCKETS_PER_EVENT)
    return buckets.edges_of(samples, base, _breaks(track) + 1, np.asarray(events, np.int64))


def _breaks(track: Track) -> NDArray[np.int64]:
    """The gaps at which lines break, the longest if there are too many."""
    if len(track.gaps) <= MOST_BREAKS:
        return track.gaps
    lengths = track.times[track.gaps + 1] - track.times[track.gaps]
    return np.sort(track.gaps[np.argsort(-lengths, kind="stable")[:MOST_BREAKS]])


def _reduced(
    data: ReportData, joints: tuple[int, ...], peaks: Peaks, name: TrackName, track: Track, count: int
) -> _Reduced:
    edges = _wanted_edges(data, peaks, name, track, count)
    low: dict[str, NDArray[np.float64]] = {}
    high: dict[str, NDArray[np.float64]] = {}
    outside: dict[str, NDArray[np.bool_]] = {}
    for quantity in QUANTITIES:
        if quantity not in track.values:
            continue
        columns = track.values[quantity]
        if len(joints) < columns.shape[1]:
            columns = columns[:, list(joints)]
        low[quantity], high[quantity] = buckets.extremes(columns, edges)
        if quantity in data.limits:
            given = data.limits[quantity]
            bounds = Bounds(given.lower[list(joints)], given.upper[list(joints)])
            outside[quantity] = outside_of(low[quantity], high[quantity], bounds)
    steps = np.diff(track.times, append=np.nan)[:, np.newaxis]
    low["step"], high["step"] = buckets.extremes(steps, edges)
    return _Reduced(name, track, edges, low, high, outside)


def _narrowed(data: ReportData, peaks: Peaks, old: _Reduced, count: int) -> _Reduced:
    positions = buckets.coarser(old.edges, _wanted_edges(data, peaks, old.name, old.track, count))
    low: dict[str, NDArray[np.float64]] = {}
    high: dict[str, NDArray[np.float64]] = {}
    outside: dict[str, NDArray[np.bool_]] = {}
    for key in old.low:
        low[key], high[key] = buckets.merged(old.low[key], old.high[key], positions)
        if key in old.outside:
            outside[key] = np.logical_or.reduceat(old.outside[key], positions[:-1], axis=1)
    return replace(old, edges=old.edges[positions], low=low, high=high, outside=outside)


def _written(reduced: list[_Reduced], plots: list[Plot], joints: tuple[int, ...]) -> Payload:
    writer = Writer()
    tracks = [_write_track(writer, track) for track in reduced]
    metas = [_write_plot(writer, plot, joints) for plot in plots]
    return Payload(writer.text(), tracks, metas)


def _write_track(writer: Writer, reduced: _Reduced) -> TrackMeta:
    times, starts = reduced.track.times, reduced.edges[:-1]
    single = len(starts) == len(times)
    writer.integers(starts)
    writer.times(times[starts])
    flagged: dict[str, list[int]] = {}
    for key in reduced.low:
        outside = reduced.outside.get(key)
        if outside is not None and outside.any():
            flagged[key] = np.flatnonzero(outside.any(axis=1)).tolist()
            for joint in flagged[key]:
                writer.flags(outside[joint])
        for low, high in zip(reduced.low[key], reduced.high[key], strict=True):
            if single:
                writer.values(low)
            else:
                writer.ranges(low, high)
    breaks = _breaks(reduced.track)
    return {
        "name": reduced.name,
        "samples": len(times),
        "buckets": len(starts),
        "single": single,
        "last": float(times[-1]),
        "breaks": list(zip(np.searchsorted(starts, breaks + 1).tolist(), times[breaks].tolist(), strict=True)),
        "quantities": [quantity for quantity in QUANTITIES if quantity in reduced.low],
        "flagged": flagged,
    }


def _write_plot(writer: Writer, plot: Plot, joints: tuple[int, ...]) -> PlotMeta:
    curves: list[CurveMeta] = []
    for curve in plot.curves:
        if curve.joint is not None and curve.joint not in joints:
            continue
        x, y = _thinned(curve.x, curve.y)
        if plot.log_y:  # the quantiser's steps are even: on a logarithmic axis they must be so in the logarithm
            y = np.log10(y, out=np.full(len(y), np.nan), where=y > 0)
        writer.times(x)
        writer.values(y)
        joint = None if curve.joint is None else joints.index(curve.joint)
        curves.append({"name": clean(curve.name), "joint": joint, "track": curve.track, "points": len(y)})
    return {
        "xLabel": clean(plot.x_label),
        "yLabel": clean(plot.y_label),
        "logX": plot.log_x,
        "logY": plot.log_y,
        "curves": curves,
    }


def _thinned(x: NDArray[np.float64], y: NDArray[np.float64]) -> tuple[NDArray[np.float64], NDArray[np.float64]]:
    """A curve of at most 2 `MOST_POINTS` points: of each run of points the lowest and the highest."""
    if len(x) <= MOST_POINTS:
        return x, y
    edges = np.linspace(0, len(x), MOST_POINTS + 1).astype(np.int64)
    low, high = buckets.extremes(y[:, np.newaxis], edges)
    return np.repeat(x[edges[:-1]], 2), np.stack((low[0], high[0]), axis=1).ravel()
