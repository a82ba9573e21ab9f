# SPDX-License-Identifier: Apache-2.0
"""The tables of a report: what is exact stands in them, in full precision of the data where curves are rounded."""

from __future__ import annotations

import numpy as np

from velmora.tools.operations.peaks import Peak
from velmora.tools.report.data import NAMES, QUANTITIES, Bounds, Quantity, ReportData, Track, TrackName, unit_of
from velmora.tools.report.events import Peaks, ratio
from velmora.tools.report.html import escaped, goto, number, rows
from velmora.tools.report.limits import outside_of

MOST_ROWS = 200  # of each table


def summary(data: ReportData) -> list[tuple[str, str]]:
    """Label and value of the figures at the top of the page."""
    before, after = data.before, data.after
    found = [
        ("joints", str(len(data.joints))),
        ("samples", f"{len(before.times):,}"),
        ("span", f"{number(_span(before))} s"),
    ]
    if _rate(before):
        found.append(("rate", _rate(before)))
    if after is not None:
        found[1] = ("samples", f"{len(before.times):,} → {len(after.times):,}")
        if _rate(before) and _rate(after):
            found[3] = ("rate", f"{_rate(before)} → {_rate(after)}")
    found.append(("gaps", f"{len(before.gaps):,}"))
    return found


def _span(track: Track) -> float:
    return float(track.times[-1] - track.times[0])


def median_step_s(track: Track) -> float:
    """The usual step between samples, 0 where there is none."""
    return float(np.median(np.diff(track.times))) if len(track.times) > 1 else 0.0


def _rate(track: Track) -> str:
    step_s = median_step_s(track)
    return f"{1 / step_s:.4g} Hz" if step_s > 0 else ""


def violations(data: ReportData) -> str:
    """Every violation with a button that zooms there; the worst first where there are too many for the page."""
    listed = data.violations
    more = ""
    if len(listed) > MOST_ROWS:
        worst = sorted(range(len(listed)), key=lambda i: -ratio(listed[i].worst, listed[i].bound))[:MOST_ROWS]
        more = f"<p>The {MOST_ROWS} worst of {len(listed):,}; all are marked in the curves.</p>"
        listed = tuple(listed[i] for i in sorted(worst))
    cells = []
    for violation in listed:
        unit = unit_of(violation.quantity, data.unit)
        share = f"{100 * violation.worst / violation.bound:.1f} %" if violation.bound != 0 else "–"
        cells.append(
            [
                goto(
                    data.joints[violation.joint],
                    violation.joint,
                    violation.quantity,
                    violation.start_s,
                    violation.end_s,
                    violation.worst_s,
                ),
                NAMES[violation.quantity],
                f"{number(violation.start_s)} – {number(violation.end_s)}",
                f"{number(violation.worst)} {escaped(unit)}",
                number(violation.bound),
                share,
                violation.track if data.after is not None else "",
                f'<span class="origin">{escaped(violation.source)}</span>',
            ]
        )
    columns = ["joint", "quantity", "from – to, s", "worst", "limit", "of limit", "curve", "limit from"]
    if data.after is None:
        columns[6] = ""
    return more + rows(cells, columns, "Violations; a joint's name zooms there", tall=True)


def outside(data: ReportData, found: Peaks, name: TrackName, quantity: Quantity) -> list[int]:
    """The joints of a track that leave their limits of a quantity."""
    bounds = data.limits[quantity]
    peaks_found = found.get((name, quantity), ())
    return [
        joint
        for joint, peak in enumerate(peaks_found)
        if peak is not None and _leaves(peak, Bounds(bounds.lower[[joint]], bounds.upper[[joint]]))
    ]


def _leaves(peak: Peak, bounds: Bounds) -> bool:
    return bool(outside_of(np.array([[peak.lowest]]), np.array([[peak.highest]]), bounds)[0, 0])


def peaks(data: ReportData, found: Peaks) -> str:
    """For each quantity a table of the joints' peaks before and after, with the limits."""
    return "".join(_peaks_of(data, found, quantity) for quantity in QUANTITIES if ("before", quantity) in found)


def _peaks_of(data: ReportData, found: Peaks, quantity: Quantity) -> str:
    bounds = data.limits.get(quantity)
    unit = unit_of(quantity, data.unit)
    names = ["before", "after"] if data.after is not None else ["before"]
    columns = ["joint", *(["before", "after"] if data.after is not None else ["peak"])]
    if bounds is not None:
        columns += ["limits", "of limit"]
    cells = []
    for joint in range(len(data.joints))[:MOST_ROWS]:
        row = [escaped(data.joints[joint])]
        last: Peak | None = None
        for (name, track), _ in zip(data.tracks(), names, strict=True):
            last = found[name, quantity][joint] if (name, quantity) in found else None
            row.append(_peak_button(last, joint, quantity, track))
        if bounds is not None:
            lower, upper = float(bounds.lower[joint]), float(bounds.upper[joint])
            row += [_band(lower, upper), _use(last, Bounds(np.array([lower]), np.array([upper])))]
        cells.append(row)
    caption = f"{NAMES[quantity].capitalize()}, largest magnitude in {unit}"
    return rows(cells, columns, caption) + _more(data)


def _more(data: ReportData) -> str:
    hidden = len(data.joints) - MOST_ROWS
    return f"<p>and {hidden:,} more joints</p>" if hidden > 0 else ""


def _peak_button(peak: Peak | None, joint: int, quantity: Quantity, track: Track) -> str:
    if peak is None:
        return "–"
    time_s = float(track.times[peak.sample])
    return goto(number(peak.value), joint, quantity, time_s, time_s, time_s)


def _band(lower: float, upper: float) -> str:
    if not np.isfinite(lower) and not np.isfinite(upper):
        return '<span class="origin">not given</span>'
    if lower == -upper:
        return f"± {number(upper)}"
    return f"{number(lower) if np.isfinite(lower) else '–'} … {number(upper) if np.isfinite(upper) else '–'}"


def _use(peak: Peak | None, bounds: Bounds) -> str:
    """The largest share of a limit that is used, on the side of zero where the limit lies."""
    if peak is None:
        return "–"
    lower, upper = float(bounds.lower[0]), float(bounds.upper[0])
    shares = [peak.highest / upper] if np.isfinite(upper) and upper > 0 else []
    shares += [peak.lowest / lower] if np.isfinite(lower) and lower < 0 else []
    if not shares:
        return "–"
    return f'<span class="{"bad" if _leaves(peak, bounds) else "good"}">{100 * max(shares):.1f} %</span>'


def gaps(data: ReportData) -> str:
    """The gaps of the recording, the longest where there are too many for the page."""
    track = data.before
    if len(track.gaps) == 0:
        return ""
    lengths = track.times[track.gaps + 1] - track.times[track.gaps]
    longest = np.sort(np.argsort(-lengths, kind="stable")[:MOST_ROWS])
    step_s = median_step_s(track)
    cells = []
    for i in longest:
        start, end = float(track.times[track.gaps[i]]), float(track.times[track.gaps[i] + 1])
        steps = f"{(end - start) / step_s:.4g}" if step_s > 0 else "–"
        cells.append(
            [
                goto(f"{number(start)} s", None, "positions", start, end, start),
                number(end - start),
                steps,
                f"{track.gaps[i] + 1:,}",
            ]
        )
    more = f"<p>The {MOST_ROWS} longest of {len(track.gaps):,}.</p>" if len(track.gaps) > MOST_ROWS else ""
    return more + rows(
        cells, ["from", "length, s", "median steps", "after sample"], "Gaps; a time zooms there", tall=True
    )
