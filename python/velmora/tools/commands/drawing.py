# SPDX-License-Identifier: Apache-2.0
"""What plots and reports are made of: a recording, what it was resampled to, and its limits."""

from __future__ import annotations

import shlex
import sys
from collections.abc import Callable
from dataclasses import dataclass, field
from typing import Any

import click
import numpy as np

import velmora
from velmora.tools import config
from velmora.tools.batch.names import of_recording
from velmora.tools.batch.tasks import NOT_KEYED, JsonObject, Stage, Task, digest_of
from velmora.tools.commands import reading, resampling
from velmora.tools.commands.check import verdict_object
from velmora.tools.commands.declare import Function
from velmora.tools.commands.info import lines as info_lines
from velmora.tools.commands.resample import group_of
from velmora.tools.operations.check import Verdict, check
from velmora.tools.operations.checked import CheckOptions, checked
from velmora.tools.operations.facts import facts, peak_facts
from velmora.tools.operations.gaps import find_gaps, refuse_gaps
from velmora.tools.operations.limits import UNBOUNDED, JointLimits, LimitsFile, for_joints, load
from velmora.tools.operations.resample import QUANTITIES, Resampled, ResampleOptions, resample, trajectory_of
from velmora.tools.options import ReadOptions
from velmora.tools.recording import Recording
from velmora.tools.report.data import Bounds, Fact, Quantity, ReportData, Track, TrackName, Violation

PLURALS: dict[str, Quantity] = {
    "position": "positions",
    "velocity": "velocities",
    "acceleration": "accelerations",
    "jerk": "jerks",
}
# Options that say where to write, not what.
NOT_SHOWN = ("output", "output-dir", "force", "json", "jobs", "scheduler", "resume", "summary", "format")
# What is shown, where it is written, and the format that was asked for.
Write = Callable[[ReportData, str, str | None], None]


@dataclass(frozen=True)
class DrawingWork:
    """All that drawing one file needs to know."""

    read: ReadOptions
    check: CheckOptions
    resample: ResampleOptions | None
    limits: LimitsFile | None
    max_gap_s: float | None
    refuse_gaps: bool
    write: Write
    format: str | None
    command: str = field(metadata=NOT_KEYED)
    settings: tuple[Fact, ...]


def limits_option(function: Function) -> Function:
    """Add `--limits` to a command that shows them."""
    return click.option(
        "--limits", "-l", type=click.Path(), metavar="FILE", help="YAML, URDF or CSV with limits to show."
    )(function)


def drawing_work(ctx: click.Context, values: dict[str, Any], write: Write) -> DrawingWork:
    """What to draw, out of the values of a command."""
    options = resampling.resample_options(ctx, values, required=False)
    return DrawingWork(
        reading.read_options(values),
        reading.check_options(values),
        options,
        None if values["limits"] is None else load(values["limits"]),
        values["max_gap"],
        values["gaps"] == "error",
        write,
        values.get("output_format"),
        shlex.join(["velmora", *sys.argv[1:]]),
        _settings(ctx, options),
    )


def work(task: Task, stage: Stage) -> tuple[list[JsonObject], list[str]]:
    """Draw one file."""
    options: DrawingWork = task.options
    assert task.target is not None
    reports, warnings = [], []
    recordings = reading.read_recordings(task, stage, options.read)
    digest = digest_of(task.source)
    for recording in recordings:
        target = of_recording(task.target, group_of(recording), len(recordings) > 1, None)
        data, report = report_data(recording, options, digest)
        options.write(data, stage.place(target), options.format)
        warnings += report["warnings"]
        reports.append({**report, "outputs": [target]})
    return reports, warnings


def report_data(recording: Recording, options: DrawingWork, digest: str) -> tuple[ReportData, JsonObject]:
    """All that is shown of one recording, and the same for JSON."""
    fit = checked(recording, options.check)
    before = trajectory_of(fit)
    gaps = find_gaps(before.time, options.max_gap_s)
    if options.refuse_gaps:
        refuse_gaps(fit, gaps)
    # All derivatives of the spline, whether they are written or not.
    pieces = [] if options.resample is None else resample(fit, options.resample, also=QUANTITIES)
    limits = None if options.limits is None else for_joints(options.limits, recording.source, recording.joints)
    verdict = None if limits is None else check(fit, limits)
    report = {**facts(recording), **peak_facts(recording, options.check)}
    notes = [note.text for note in fit.notes[len(recording.notes) :]]
    notes += [warning for piece in pieces for warning in piece.warnings]
    notes += list(verdict.doubts) if verdict is not None else []
    data = ReportData(
        source=recording.source,
        joints=recording.joints,
        before=Track(before.time, _Lazy(before), gaps.before.astype(np.int64)),
        after=_after(fit, pieces),
        limits={} if limits is None else bounds_of(limits),
        violations=() if verdict is None or limits is None else _all_violations(fit, verdict, pieces, limits),
        facts=tuple(Fact(line[:11].strip(), line[11:]) for line in info_lines({**report, "peaks": None})[1:]),
        notes=tuple(notes),
        options=options.settings,
        command=options.command,
        version=velmora.__version__,
        input_sha256=digest,
    )
    extra: JsonObject = {} if verdict is None or limits is None else verdict_object(verdict, limits)
    samples_out = sum(len(piece.recording.rows) for piece in pieces)
    return data, {**report, **extra, "warnings": notes, **({"samples_out": samples_out} if pieces else {})}


class _Lazy(dict[Quantity, Any]):
    """The quantities of a trajectory, each computed when it is asked for."""

    def __init__(self, trajectory: velmora.JointTrajectory) -> None:
        super().__init__()
        self._trajectory = trajectory

    def __missing__(self, quantity: Quantity) -> Any:
        return getattr(self._trajectory, quantity)

    def __contains__(self, quantity: object) -> bool:
        return quantity in PLURALS.values()

    def __iter__(self) -> Any:
        return iter(PLURALS.values())

    def __len__(self) -> int:
        return len(PLURALS)


def _after(recording: Recording, pieces: list[Resampled]) -> Track | None:
    """The resampled pieces as one track with breaks between them."""
    if not pieces:
        return None

    def whole(quantity: Quantity) -> Any:
        parts = [getattr(piece.recording, quantity) for piece in pieces]
        return parts[0] if len(parts) == 1 else np.concatenate(parts)

    times = [piece.time_s + start_s for piece, start_s in zip(pieces, _starts_s(recording, pieces), strict=True)]
    ends = np.cumsum([len(time) for time in times])[:-1] - 1
    values: dict[Quantity, Any] = {quantity: whole(quantity) for quantity in PLURALS.values()}
    return Track(np.concatenate(times), values, ends.astype(np.int64))


def bounds_of(limits: JointLimits) -> dict[Quantity, Bounds]:
    """The limits of a recording as its report shows them."""
    found: dict[Quantity, Bounds] = {}
    for quantity, plural in PLURALS.items():
        box = getattr(limits.boxes, quantity)
        if box is not None:
            given = [bounds[quantity] for bounds in limits.bounds]
            found[plural] = Bounds(
                np.where(box.lower == -UNBOUNDED, np.nan, box.lower),
                np.where(box.upper == UNBOUNDED, np.nan, box.upper),
                tuple("" if bound is None else bound.source for bound in given),
            )
    return found


def _starts_s(recording: Recording, pieces: list[Resampled]) -> list[float]:
    """When each piece begins, in seconds after the first sample of the recording."""
    assert recording.stamps is not None
    starts = []
    for piece in pieces:
        assert piece.recording.stamps is not None
        start = piece.recording.stamps.origin - recording.stamps.origin
        starts.append(start / 1e9 if isinstance(start, int) else start)
    return starts


def _all_violations(
    recording: Recording, verdict: Verdict, pieces: list[Resampled], limits: JointLimits
) -> tuple[Violation, ...]:
    """Those of the recording, and those of what it was resampled to."""
    found = _violations(verdict, recording.joints)
    for piece, start_s in zip(pieces, _starts_s(recording, pieces), strict=True):
        found += _violations(check(piece.recording, limits, guard_units=False), recording.joints, "after", start_s)
    return found


def _violations(
    verdict: Verdict, joints: tuple[str, ...], track: TrackName = "before", start_s: float = 0.0
) -> tuple[Violation, ...]:
    return tuple(
        Violation(
            PLURALS[finding.quantity],
            joints.index(finding.joint),
            start_s + span.start_s,
            start_s + span.end_s,
            span.worst,
            start_s + span.worst_at_s,
            finding.bound.upper if span.worst > finding.bound.upper else finding.bound.lower,
            finding.bound.source,
            track,
        )
        for finding in verdict.findings
        if finding.bound is not None
        for span in finding.violations
    )


def _settings(ctx: click.Context, resample_options: ResampleOptions | None) -> tuple[Fact, ...]:
    """The options that shape what is shown, with where each came from; those of resampling at their defaults too."""
    given = {setting.name: Fact(setting.name, setting.value, setting.origin) for setting in config.settings(ctx)}
    found = []
    if resample_options is not None:
        found = [given.pop(name) for name in ("sample-time", "rate", "samples") if name in given]
        for name, default in (
            ("method", resample_options.method),
            ("grid", resample_options.grid),
            ("strict", "yes" if resample_options.strict else "no"),
            ("gaps", resample_options.gaps),
            ("max-gap", "ten median steps"),
        ):
            found.append(given.pop(name, Fact(name, default, "default")))
    return (*found, *(fact for name, fact in given.items() if name not in NOT_SHOWN))
