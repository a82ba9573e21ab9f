# SPDX-License-Identifier: Apache-2.0
"""Data for reports: a robot's motion with exact derivatives, uneven samples, gaps, spikes, limits that are violated."""

from __future__ import annotations

import math
from dataclasses import replace

import numpy as np
from numpy.typing import NDArray
from velmora.tools.report import Bounds, Curve, Fact, Plot, ReportData, Section, Table, Track, Violation
from velmora.tools.report.data import QUANTITIES, Quantity


def values_at(times: NDArray[np.float64], joints: int) -> dict[Quantity, NDArray[np.float64]]:
    """Sums of two sines for each joint, and their derivatives."""
    joint = np.arange(joints)
    found: dict[Quantity, NDArray[np.float64]] = {}
    for order, quantity in enumerate(QUANTITIES):
        total = np.zeros((len(times), joints))
        for size, speed in ((1.0 - 0.05 * joint, 0.6 + 0.2 * joint), (0.05 + 0 * joint, 7.0 + joint)):
            total += size * speed**order * np.sin(times[:, np.newaxis] * speed + joint + order * math.pi / 2)
        found[quantity] = total
    return found


def times_of(samples: int, step_s: float, gaps: tuple[int, ...], seed: int = 7) -> NDArray[np.float64]:
    """Uneven times from 0 on, with half a second between sample i and i + 1 for each i of `gaps`."""
    steps = step_s * (1 + 0.2 * np.random.default_rng(seed).uniform(-1, 1, samples - 1))
    steps[list(gaps)] = 0.5
    return np.concatenate(([0.0], np.cumsum(steps)))


def violations_of(name: str, track: Track, limits: dict[Quantity, Bounds], most: int = 10**9) -> tuple[Violation, ...]:
    """The runs of samples outside of the limits, found sample by sample."""
    found: list[Violation] = []
    for quantity, bounds in limits.items():
        for joint in range(track.values[quantity].shape[1]):
            values = track.values[quantity][:, joint]
            outside = (values > bounds.upper[joint]) | (values < bounds.lower[joint])
            edges = np.flatnonzero(np.diff(np.concatenate(([0], outside.astype(int), [0]))))
            for first, last in zip(edges[::2], edges[1::2] - 1, strict=True):
                worst = first + int(np.abs(values[first : last + 1]).argmax())
                bound = bounds.upper[joint] if values[worst] > 0 else bounds.lower[joint]
                found.append(
                    Violation(
                        quantity,
                        joint,
                        float(track.times[first]),
                        float(track.times[last]),
                        float(values[worst]),
                        float(track.times[worst]),
                        float(bound),
                        bounds.sources[joint] if bounds.sources else "",
                        "after" if name == "after" else "before",
                    )
                )
                if len(found) == most:
                    return tuple(found)
    return tuple(found)


def sample_data(samples: int = 3000, joints: int = 3, with_after: bool = True) -> ReportData:
    """A report's data with everything in it."""
    gaps = (samples // 3, 3 * samples // 4) if samples > 100 else ()
    times = times_of(samples, 0.01, gaps)
    values = values_at(times, joints)
    if samples > 10:
        values["accelerations"][samples // 2, 0] = 25.0  # one sample wide
    before = Track(times, values, np.asarray(gaps, np.int64))
    after = None
    if with_after:
        grid = np.arange(0.0, times[-1], 0.008)
        ends = np.searchsorted(grid, times[list(gaps)], side="right") - 1 if gaps else np.zeros(0, np.int64)
        after = Track(grid, values_at(grid, joints), np.asarray(ends, np.int64))
    size = np.full(joints, 6.0)
    size[-1] = np.nan
    limits: dict[Quantity, Bounds] = {
        "velocities": Bounds(
            np.full(joints, -1.2), np.full(joints, 1.2), tuple(f"limits.yaml:{3 + 4 * j}" for j in range(joints))
        ),
        "accelerations": Bounds(-size, size),
    }
    violations = violations_of("before", before, limits)
    if after is not None:
        violations += violations_of("after", after, limits)
    return ReportData(
        source="pick_and_place.csv",
        joints=tuple(f"joint_{j + 1}" for j in range(joints)),
        before=before,
        after=after,
        limits=limits,
        violations=violations,
        facts=(Fact("format", "CSV, comma, with header"), Fact("clock", "column 'stamp', ns", "by its name")),
        notes=("2 gaps of more than ten median steps were bridged.",),
        options=(Fact("sample time", "0.008 s", "command line"), Fact("method", "cubic", "default")),
        command="velmora report pick_and_place.csv --sample-time 0.008 -o report.html",
        version="2.0.0",
        input_sha256="9f86d081884c7d659a2feaa0c55ad015a3bf4f1b2b0b822cd15d6c15b0f00a08",
        sections=(
            Section(
                "Shaper",
                "What a further part of the report looks like.",
                Table(("kind", "residual"), (("ZV", "1.2 %"), ("ZVD", "0.1 %"))),
                Plot(
                    "frequency in Hz",
                    "residual vibration",
                    tuple(
                        Curve(name, np.linspace(1, 20, 100), np.abs(np.cos(np.linspace(1, 20, 100) / n)))
                        for n, name in enumerate(("ZV", "ZVD"), 4)
                    ),
                ),
            ),
        ),
    )


def renamed(data: ReportData, text: str) -> ReportData:
    """The data with one text wherever a text from a file or a command line can stand."""
    return replace(
        data,
        source=text,
        joints=tuple(text + str(j) for j in range(len(data.joints))),
        facts=(Fact(text, text, text),),
        notes=(text,),
        options=(Fact(text, text, text),),
        command=text,
        version=text,
        input_sha256=text,
        created=text,
        unit=text,
        violations=tuple(replace(violation, source=text) for violation in data.violations),
        sections=(
            Section(
                text,
                text,
                Table((text, text), ((text, text),)),
                Plot(text, text, (Curve(text, np.arange(5.0), np.arange(5.0)),)),
                b"<svg xmlns='http://www.w3.org/2000/svg'/>",
                text,
            ),
        ),
    )
