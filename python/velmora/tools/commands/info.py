# SPDX-License-Identifier: Apache-2.0
"""velmora info: what a recording holds and what is wrong with it."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Any

import click

from velmora.tools.batch.tasks import JsonObject, Stage, Task
from velmora.tools.commands import common, reading
from velmora.tools.operations.checked import CheckOptions
from velmora.tools.operations.facts import facts, mended_lines, peak_facts
from velmora.tools.options import ReadOptions
from velmora.tools.text import count, named, short, table


@dataclass(frozen=True)
class InfoOptions:
    """How to read and what may be mended for the peaks."""

    read: ReadOptions
    check: CheckOptions


@click.command(
    epilog="""\b
Examples:
  velmora info log.csv
  velmora info recordings/ --jobs 4 --summary overview.csv
  velmora info bag/ --topic /joint_states --json

The exit code is 1 where something is wrong with a recording.
"""
)
@common.files_argument
@common.json_option
@reading.reading_options
@reading.mending_options
@common.many_options
@click.pass_context
def command(ctx: click.Context, /, **values: Any) -> int:
    """Say what recordings hold and what is wrong with them.

    A verdict on the clock comes first; then joints, samples, missing cells, and the peaks of every joint. Broken files
    are reported on as well.
    """
    options = InfoOptions(reading.read_options(values), reading.check_options(values))
    result = common.run_report(ctx, work, options, values)
    if values["as_json"]:
        common.print_json(ctx, result)
    else:
        for outcome in result.outcomes:
            for report in outcome.reports:
                common.show(lines(report))
    faulty = any(report["fault"] for outcome in result.outcomes for report in outcome.reports)
    return result.exit_code or int(faulty)


def work(task: Task, stage: Stage) -> tuple[list[JsonObject], list[str]]:
    """Look at one file."""
    options: InfoOptions = task.options
    return [
        {**facts(recording), **peak_facts(recording, options.check)}
        for recording in reading.read_recordings(task, stage, options.read)
    ], []


def lines(report: JsonObject) -> list[str]:
    """The report as text."""
    clock = report["clock"]
    found = [report["source"]]
    if clock is None:
        found.append("  clock    there are no times")
    else:
        found += [f"  clock    {clock['summary']}", f"           {clock['origin']}", *_clock_faults(clock)]
    found.append(f"  joints   {len(report['joints'])}: {named(report['joints'], 20)}")
    span = "" if report["duration_s"] is None else f", {short(report['duration_s'])} s"
    found.append(f"  samples  {report['samples']:,}{span}")
    if report["given"]:
        found.append(f"  given    {', '.join(report['given'])}")
    for kind, title in (("missing", "missing"), ("non_finite", "not finite")):
        cells = report["cells"][kind]
        if cells["count"]:
            of = "" if cells["quantities"] == ["positions"] else f" in {', '.join(cells['quantities'])}"
            where = f"{named(cells['joints'], 5)}{of}, {_rows(cells['first_rows'])}"
            found.append(f"  {title}: {count(cells['count'], 'cell')} of {where}")
    found += [f"  {note['key']:<8} {note['text']}" for note in report["notes"]]
    if report["fault"]:
        found.append(f"  FAULT    {report['fault']}")
    found += mended_lines(report)
    if report["peaks"]:
        found += peak_lines(report["peaks"])
    return found


def peak_lines(peaks: list[JsonObject]) -> list[str]:
    """The peaks of every joint as a table."""
    names = ("velocity", "acceleration", "jerk")
    head = ["peaks", *(text for name in names for text in (name, "at s"))]
    return table(
        head,
        (
            [
                peak["joint"],
                *(text for name in names for text in (short(peak[name]["value"]), short(peak[name]["at_s"]))),
            ]
            for peak in peaks
        ),
    )


def _clock_faults(clock: JsonObject) -> list[str]:
    found = []
    for kind, what in (
        ("not_finite", "times missing or not finite"),
        ("falling", "falling times"),
        ("repeated", "repeated times"),
    ):
        if clock[kind]["count"]:
            found.append(f"           {what}: {_rows(clock[kind]['first_rows'])}")
    for gap in clock["gaps"][:5]:
        found.append(f"           gap of {short(gap['end_s'] - gap['start_s'])} s after {short(gap['start_s'])} s")
    if len(clock["gaps"]) > 5:
        found.append(f"           and {len(clock['gaps']) - 5:,} gaps more over {short(clock['gap_threshold_s'])} s")
    return found


def _rows(rows: list[int]) -> str:
    return f"{'row' if len(rows) == 1 else 'rows'} {', '.join(str(row) for row in rows)}" + (
        " ..." if len(rows) == 10 else ""
    )
