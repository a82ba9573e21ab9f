# SPDX-License-Identifier: Apache-2.0
"""Puts a report together: one HTML file with its style, its program, the plotting library and the data in it."""

from __future__ import annotations

import base64
import hashlib
import json
from functools import cache
from pathlib import Path

import numpy as np

from velmora.tools.errors import UsageError
from velmora.tools.report import body, tables
from velmora.tools.report.data import NAMES, QUANTITIES, Plot, ReportData, unit_of
from velmora.tools.report.events import Peaks, peaks_of, ratio
from velmora.tools.report.html import clean, escaped
from velmora.tools.report.payload import MOST_BREAKS, Payload, drawable, encode
from velmora.tools.report.spectrum import jerk_spectrum

LARGEST = 1_000_000  # bytes of a report
RESERVE = 8_000  # for what depends on the curves: their description and the notes about them
BREAK = 36  # bytes that describe the break of a line at a gap
LEAST_ROOM = 150_000  # for curves, whatever else is in the report
MOST_MARKS = 500  # violations and gaps in the bar over the curves
ASSETS = Path(__file__).parent / "assets"
SCRIPTS = ("decode.js", "curves.js", "chart.js", "page.js", "controls.js", "panel.js", "main.js")


def build(data: ReportData) -> bytes:
    """The report as one HTML file in UTF-8, below 1 MB, with the same bytes for the same data.

    Curves of more samples than find room are drawn from the smallest and largest value of runs of samples; no peak and
    no violation is lost, and around the most important ones every sample is kept. Complexity: O(N J).

    Raises
    ------
    UsageError
        "report: the plotting library uPlot is not installed; ..." where it is missing beside the program.
    """
    library = _library()
    peaks = peaks_of(data)
    style = (ASSETS / "report.css").read_text("utf-8") + library["uPlot.min.css"]
    program = "\n".join((ASSETS / name).read_text("utf-8") for name in SCRIPTS)
    # The library's licence asks for its text in every copy.
    script = f'/*\n{library["LICENSE"]}*/\n{library["uPlot.iife.min.js"]}\n(() => {{\n"use strict";\n{program}}})();\n'
    everyone = tuple(range(len(data.joints)))
    breaks = BREAK * sum(min(len(track.gaps), MOST_BREAKS) for _, track in data.tracks())
    empty = _assembled(data, peaks, everyone, Payload("", [], []), None, style, script)
    room = max(LEAST_ROOM, LARGEST - len(empty) - RESERVE - breaks)
    joints = drawable(data, room)
    spectrum = jerk_spectrum(data, joints)
    plots = [plot for plot in (spectrum, *(section.plot for section in data.sections)) if plot is not None]
    payload = encode(data, joints, peaks, plots, room)
    return _assembled(data, peaks, joints, payload, spectrum, style, script)


def _assembled(
    data: ReportData,
    peaks: Peaks,
    joints: tuple[int, ...],
    payload: Payload,
    spectrum: Plot | None,
    style: str,
    script: str,
) -> bytes:
    content = body.body(data, peaks, joints, payload.tracks, spectrum)
    policy = (
        f"default-src 'none'; script-src '{_digest(script)}'; style-src '{_digest(style)}'; img-src data:; "
        "base-uri 'none'; form-action 'none'"
    )
    page = (
        '<!doctype html>\n<html lang="en">\n<head>\n<meta charset="utf-8">\n'
        f'<meta http-equiv="Content-Security-Policy" content="{policy}">\n'
        '<meta name="viewport" content="width=device-width, initial-scale=1">\n'
        '<meta name="color-scheme" content="light dark">\n'
        f"<title>{escaped(data.source)} – velmora report</title>\n<style>{style}</style>\n</head>\n<body>\n{content}\n"
        f'<script type="application/json" id="meta">{_meta(data, joints, payload)}</script>\n'
        f'<script type="text/plain" id="data">{payload.text}</script>\n'
        f"<script>{script}</script>\n</body>\n</html>\n"
    )
    return page.encode()


@cache
def _library() -> dict[str, str]:
    """uPlot's files: beside this program where it was installed, in the build folder of a source tree otherwise."""
    here = Path(__file__).resolve().parent
    installed, fetched = here / "uplot", here.parents[3] / "build/report/node_modules/uplot"
    for script, licence in ((installed, installed), (fetched / "dist", fetched)):
        if (script / "uPlot.iife.min.js").is_file():
            found = {name: (script / name).read_text("utf-8") for name in ("uPlot.iife.min.js", "uPlot.min.css")}
            return {**found, "LICENSE": (licence / "LICENSE").read_text("utf-8")}
    raise UsageError(
        "report: the plotting library uPlot is not installed; it was expected in the package, where a build puts it; "
        "run ./scripts/setup report in the source tree and install the package again"
    )


def _digest(text: str) -> str:
    return "sha256-" + base64.b64encode(hashlib.sha256(text.encode()).digest()).decode("ascii")


def _meta(data: ReportData, joints: tuple[int, ...], payload: Payload) -> str:
    """What the program must know of the data, as JSON that cannot end its element."""
    track = data.before
    lengths = track.times[track.gaps + 1] - track.times[track.gaps]
    gaps = np.sort(track.gaps[np.argsort(-lengths, kind="stable")[:MOST_MARKS]])
    worst = sorted(data.violations, key=lambda violation: -ratio(violation.worst, violation.bound))[:MOST_MARKS]
    quantities = {}
    for quantity in QUANTITIES:
        if not any(quantity in track.values for _, track in data.tracks()):
            continue
        bands = []
        if quantity in data.limits:
            bounds = data.limits[quantity]
            for index, joint in enumerate(joints):
                lower, upper = _finite(bounds.lower[joint]), _finite(bounds.upper[joint])
                if lower is not None or upper is not None:
                    bands.append({"joint": index, "lower": lower, "upper": upper})
        title = NAMES[quantity].capitalize()
        quantities[quantity] = {"title": title, "unit": clean(unit_of(quantity, data.unit)), "bounds": bands}
    meta = {
        "joints": [clean(data.joints[joint]) for joint in joints],
        "numbers": joints,
        "step": tables.median_step_s(data.after or data.before),
        "quantities": quantities,
        "gaps": [[float(track.times[i]), float(track.times[i + 1])] for i in gaps],
        "violations": [
            {"joint": joints.index(violation.joint), "from": violation.start_s, "to": violation.end_s}
            for violation in worst
            if violation.joint in joints
        ],
        "tracks": payload.tracks,
        "plots": payload.plots,
    }
    text = json.dumps(meta, ensure_ascii=False, separators=(",", ":"), allow_nan=False)
    return text.replace("&", "\\u0026").replace("<", "\\u003c").replace(">", "\\u003e")


def _finite(value: np.float64) -> float | None:
    return float(value) if np.isfinite(value) else None
