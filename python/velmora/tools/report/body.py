# SPDX-License-Identifier: Apache-2.0
"""The visible part of a report: what it says, in the order in which it is read."""

from __future__ import annotations

import base64

from velmora.tools.report import html, tables
from velmora.tools.report.data import Plot, ReportData, Section
from velmora.tools.report.events import Peaks
from velmora.tools.report.html import escaped
from velmora.tools.report.payload import TrackMeta


def body(
    data: ReportData, peaks: Peaks, joints: tuple[int, ...], tracks: list[TrackMeta], spectrum: Plot | None
) -> str:
    """The visible part of a report.

    Parameters
    ----------
    data : ReportData
    peaks : Peaks
    joints : tuple of int
        The joints whose curves are drawn.
    tracks : list of TrackMeta
        How the curves were encoded.
    spectrum : Plot or None
        The first of the plots.
    """
    figures = "".join(
        f"<div><dt>{escaped(name)}</dt><dd>{escaped(value)}</dd></div>" for name, value in tables.summary(data)
    )
    notes = "".join(f"<li>{escaped(note)}</li>" for note in data.notes[:50])
    made = [("command", data.command), ("version", data.version), ("SHA-256 of the input", data.input_sha256)]
    origin = "".join(
        f"<div><dt>{name}</dt><dd><code>{escaped(value)}</code></dd></div>"
        for name, value in [*made, ("created", data.created)]
        if value
    )
    parts = [
        '<a class="skip" href="#curves">Skip to the curves</a>',
        f"<header><h1>{escaped(data.source)}</h1>{_verdict(data, peaks)}",
        f'<dl class="summary">{figures}</dl></header><main>',
        f'<ul class="notes" aria-label="Notes">{notes}</ul>' if notes else "",
        html.section("Recording", html.facts(data.facts) if data.facts else ""),
        html.section(data.work.capitalize(), html.facts(data.options) if data.options else ""),
        html.section("Violations", tables.violations(data) if data.violations else "", "violations"),
        html.section("Curves", _curves(data, _curve_notes(data, joints, tracks)), "curves"),
        html.section("Peaks and limits", f'<div class="peaks">{tables.peaks(data, peaks)}</div>' if peaks else ""),
        html.section("Gaps", tables.gaps(data)),
        html.section("Spectrum of the jerk", _spectrum_text(0) if spectrum is not None else ""),
    ]
    plot = 0 if spectrum is None else 1
    for section in data.sections:
        parts.append(html.section(section.title, _section(section, plot)))
        plot += section.plot is not None
    parts.append(html.section("How this report was made", f'<dl class="facts made">{origin}</dl>' if origin else ""))
    parts.append("</main>")
    return "\n".join(part for part in parts if part)


def _verdict(data: ReportData, peaks: Peaks) -> str:
    """Whether the last track keeps the limits, judged by every sample, and how long the list of violations is."""
    if not data.limits:
        return '<p class="verdict none">no limits given</p>'
    name = data.tracks()[-1][0]
    which = f" after {data.work}" if name == "after" else ""
    joints = len({joint for quantity in data.limits for joint in tables.outside(data, peaks, name, quantity)})
    if not joints:
        return f'<p class="verdict good">within all given limits{which}</p>'
    text = f"limits violated by {joints} joint{'s' * (joints > 1)}{which}"
    link = f'<a href="#violations">{text}</a>' if data.violations else text
    return f'<p class="verdict bad">{link}</p>'


def _curves(data: ReportData, notes: list[str]) -> str:
    both = data.after is not None
    switches = [("show-before", "before", True), ("show-after", "after", True)] if both else []
    switches += [("whole-limits", "scale to limits", False)] if data.limits else []
    boxes = "".join(
        f'<label><input type="checkbox" id="{name}"{" checked" * on}> {text}</label>' for name, text, on in switches
    )
    legend = (
        '<p class="hint"><span class="key after"></span> after <span class="key before"></span> before</p>'
        if both
        else ""
    )
    remarks = "".join(f'<p class="hint">{escaped(note)}</p>' for note in notes)
    return (
        f'{remarks}<p id="trouble" role="alert" hidden></p>'
        "<noscript><p>The curves are drawn by a script; the tables are complete without it.</p></noscript>"
        '<div class="bar"><div class="buttons">'
        '<button type="button" id="earlier" aria-label="earlier">◀</button>'
        '<button type="button" id="later" aria-label="later">▶</button>'
        '<button type="button" id="zoom-in" aria-label="zoom in">+</button>'
        '<button type="button" id="zoom-out" aria-label="zoom out">−</button>'
        '<button type="button" id="whole">Whole recording</button></div>'
        f'<span id="range" role="status"></span><div class="switches">{boxes}</div>'
        '<button type="button" id="theme" aria-label="switch between light and dark">Dark</button>'
        '<div id="timeline" aria-hidden="true"></div></div>'
        '<div class="stage"><div id="charts"></div>'
        f'<aside id="panel" aria-label="Joints and values"><p id="where"></p>{legend}'
        '<div class="scroll" tabindex="0" role="group" aria-label="Values under the pointer">'
        '<table id="values"></table></div>'
        '<button type="button" id="all-joints">Show all joints</button>'
        '<details><summary>How to move around</summary><p id="keys">Drag to zoom, double click for the whole; Ctrl or '
        "Shift and the wheel zoom, two fingers too. In a chart: left and right move the pointer, with Shift the view; "
        "plus and minus zoom; 0 or Escape shows the whole.</p></details></aside></div>"
        '<p id="spoken" class="unseen" aria-live="polite"></p>'
    )


def _spectrum_text(number: int) -> str:
    return (
        '<p class="hint">Averaged over overlapping segments; an arm rings where this is large near its own '
        "frequencies.</p>"
        f'<div class="plot" data-plot="{number}"></div>'
    )


def _section(section: Section, plot: int) -> str:
    parts = [f"<p>{escaped(line)}</p>" for line in section.text.splitlines()]
    if section.plot is not None:
        parts.append(f'<div class="plot" data-plot="{plot}"></div>')
    if section.picture is not None:
        kind = "png" if section.picture.startswith(b"\x89PNG") else "svg+xml"
        content = base64.b64encode(section.picture).decode("ascii")
        described = escaped(section.picture_description)
        parts.append(f'<img class="picture" src="data:image/{kind};base64,{content}" alt="{described}">')
    if section.table is not None:
        parts.append(html.table(section.table))
    return "".join(parts)


def _curve_notes(data: ReportData, joints: tuple[int, ...], tracks: list[TrackMeta]) -> list[str]:
    """What the curves leave out."""
    notes = []
    widest = max((round(meta["samples"] / meta["buckets"]) for meta in tracks), default=1)
    if any(not meta["single"] for meta in tracks):
        notes.append(
            "The recording has more samples than the file has room for: a point of a curve stands for about "
            f"{widest:,} samples and shows the smallest and the largest of them; around the largest peaks, violations "
            "and gaps every sample is kept. Tables are computed from every sample."
        )
    if len(joints) < len(data.joints):
        notes.append(f"Curves of {len(joints)} of {len(data.joints):,} joints are drawn; the tables name more.")
    return notes
