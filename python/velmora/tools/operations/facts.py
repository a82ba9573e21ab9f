# SPDX-License-Identifier: Apache-2.0
"""What a recording holds, as an object for JSON: the content of `velmora info` and the head of every report."""

from __future__ import annotations

import math
from collections.abc import Sequence
from typing import Any

import numpy as np
from numpy.typing import NDArray

from velmora.tools.errors import DataError
from velmora.tools.operations.checked import CheckOptions, checked
from velmora.tools.operations.clock_verdict import ClockVerdict, clock_verdict
from velmora.tools.operations.finite import all_finite
from velmora.tools.operations.peaks import peaks
from velmora.tools.recording import QUANTITIES, Note, Recording

JsonObject = dict[str, Any]
MOST_ROWS = 10
NAMES = {"velocities": "velocity", "accelerations": "acceleration", "jerks": "jerk"}


@np.errstate(invalid="ignore", over="ignore")  # of times that are not finite, which the clock's verdict tells of
def facts(recording: Recording) -> JsonObject:
    """Joints, samples, span, clock, and the cells that are missing or not finite; of broken recordings too."""
    clock = clock_verdict(recording)
    return {
        "source": recording.source,
        "joints": list(recording.joints),
        "samples": len(recording.rows),
        "duration_s": number(_duration_s(recording)),
        "first_stamp": _first_stamp(recording),
        "given": [
            name for name in ("velocities", "accelerations", "jerks", "efforts") if getattr(recording, name) is not None
        ],
        "clock": None if clock is None else _clock(clock),
        "cells": _cells(recording),
        "notes": _notes(recording.notes),
    }


def mended(recording: Recording, fit: Recording) -> list[JsonObject]:
    """What was dropped, merged or unwrapped to make a recording fit: the notes that `checked` added."""
    return _notes(fit.notes[len(recording.notes) :])


def mended_lines(report: JsonObject) -> list[str]:
    """The same as text."""
    return [f"  {note['key']:<8} {note['text']}" for note in report["mended"]]


def _notes(notes: Sequence[Note]) -> list[JsonObject]:
    return [{"key": note.key, "text": note.text} for note in notes]


def peak_facts(recording: Recording, options: CheckOptions) -> JsonObject:
    """The peaks of every joint and what was mended for them, or why there are none."""
    try:
        fit = checked(recording, options)
    except DataError as error:
        return {"peaks": None, "fault": str(error), "mended": []}
    assert fit.stamps is not None
    found = peaks(fit.stamps.seconds(), fit.positions, fit.velocities, fit.accelerations, fit.jerks)
    return {
        "fault": None,
        "mended": mended(recording, fit),
        "peaks": [
            {
                "joint": joint,
                **{
                    NAMES[level]: {"value": number(float(peak.values[j])), "at_s": float(peak.times_s[j])}
                    for level, peak in found.items()
                },
            }
            for j, joint in enumerate(recording.joints)
        ],
    }


def stamp(value: int | float) -> JsonObject:
    """A time stamp for JSON: nanoseconds as text, since many readers of JSON hold numbers as doubles."""
    return {"ns": str(value)} if isinstance(value, int) else {"s": value}


def _first_stamp(recording: Recording) -> JsonObject | None:
    if recording.stamps is None or not recording.stamps.there.any():
        return None
    return stamp(recording.stamps.origin)


def number(value: float | None) -> float | None:
    """A number for JSON, which has no infinities."""
    return value if value is not None and math.isfinite(value) else None


def _duration_s(recording: Recording) -> float | None:
    if recording.stamps is None or len(recording.rows) == 0:
        return None
    times_s = recording.stamps.seconds()
    times_s = times_s[recording.stamps.there]
    return float(times_s[-1] - times_s[0]) if len(times_s) else None


def _clock(clock: ClockVerdict) -> JsonObject:
    return {
        "summary": clock.summary,
        "origin": clock.origin,
        "median_step_s": number(clock.median_step_s),
        "shortest_step_s": number(clock.shortest_step_s),
        "longest_step_s": number(clock.longest_step_s),
        "jitter_s": number(clock.jitter_s),
        "uneven_steps": clock.uneven_steps,
        "gaps": [
            {"start_s": float(start), "end_s": float(end)}
            for start, end in zip(clock.gaps.starts_s, clock.gaps.ends_s, strict=True)
        ],
        "gap_threshold_s": number(clock.gaps.threshold_s),
        "repeated": {"count": clock.repeated, "first_rows": list(clock.repeated_rows)},
        "falling": {"count": clock.falling, "first_rows": list(clock.falling_rows)},
        "not_finite": {"count": clock.not_finite, "first_rows": list(clock.not_finite_rows)},
        "second_clock_offset_s": number(clock.second_clock_offset_s),
    }


def _cells(recording: Recording) -> JsonObject:
    missing, not_finite = {}, {}
    for quantity in QUANTITIES:
        values = getattr(recording, quantity)
        if values is None or all_finite(values):
            continue
        absent = recording.absent(quantity)
        faulty = ~np.isfinite(values)
        not_finite[quantity] = faulty if absent is None else faulty & ~absent
        if absent is not None:
            # A joint whose velocities, say, are missing throughout has none, as most files have no jerks.
            missing[quantity] = absent if quantity == "positions" else absent & ~absent.all(axis=0)
    return {"missing": _where(recording, missing), "non_finite": _where(recording, not_finite)}


def _where(recording: Recording, cells: dict[str, NDArray[np.bool_]]) -> JsonObject:
    rows = np.zeros(len(recording.rows), np.bool_)
    joints = np.zeros(len(recording.joints), np.bool_)
    for mask in cells.values():
        rows |= mask.any(axis=1)
        joints |= mask.any(axis=0)
    return {
        "count": sum(int(mask.sum()) for mask in cells.values()),
        "first_rows": [int(row) for row in recording.rows[np.flatnonzero(rows)[:MOST_ROWS]]],
        "joints": [recording.joints[joint] for joint in np.flatnonzero(joints)],
        "quantities": [quantity for quantity, mask in cells.items() if mask.any()],
    }
