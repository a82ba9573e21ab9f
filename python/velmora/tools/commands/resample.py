# SPDX-License-Identifier: Apache-2.0
"""velmora resample: recordings onto a regular time grid."""

from __future__ import annotations

from dataclasses import dataclass, field
from typing import Any

import click

from velmora.tools import formats
from velmora.tools.batch.names import expand, of_recording
from velmora.tools.batch.tasks import NOT_KEYED, JsonObject, Stage, Task
from velmora.tools.commands import common, reading, resampling
from velmora.tools.commands.info import peak_lines
from velmora.tools.operations.checked import CheckOptions, checked
from velmora.tools.operations.facts import NAMES, facts, mended, mended_lines, number
from velmora.tools.operations.resample import Resampled, ResampleOptions, resample_from
from velmora.tools.options import ReadOptions, WriteOptions
from velmora.tools.recording import Recording
from velmora.tools.text import short

# A file with more recordings is reported on with a line for each.
MOST_REPORTS = 5


@dataclass(frozen=True)
class ResampleWork:
    """All that resampling one file needs to know."""

    read: ReadOptions
    check: CheckOptions
    resample: ResampleOptions
    write: WriteOptions
    full_report: bool = field(metadata=NOT_KEYED)


@click.command(
    epilog="""\b
Examples:
  velmora resample log.csv --rate 250 -o log_250hz.parquet
  velmora resample log.csv --sample-time 0.004 --method linear --columns positions -o - | head
  velmora resample logs/ --rate 100 --output-dir out --format parquet --jobs 4
  velmora resample 'logs/*.csv' --rate 100 -o '{stem}_100hz.parquet' --resume
\b
Grids, for a recording from t0 to t1 and a spacing dt:
  exact_dt_append_endpoint  t0, t0 + dt, ... and t1 as the last sample; the last step may differ
  exact_dt_trim             t0, t0 + dt, ... up to t1; what does not fill a step is dropped
  exact_duration_adjust_dt  t0 to t1 in equal steps, as near to dt as a whole number of them allows
  exact_dt_extend_endpoint  t0, t0 + dt, ... until t1 is reached or passed; the last position is held
"""
)
@common.files_argument
@resampling.resampling_options
@common.output_options
@click.option("--format", "output_format", metavar="FORMAT", help="Format of the outputs; by the suffix otherwise.")
@common.json_option
@reading.reading_options_beside_rate
@reading.mending_options
@common.many_options
@click.pass_context
def command(ctx: click.Context, /, **values: Any) -> int:
    """Put recordings onto a regular time grid, one output for every input.

    Times keep their origin and their unit. Gaps are bridged with a warning unless told otherwise.
    """
    options = resampling.resample_options(ctx, values, required=True)
    assert options is not None
    inputs = expand(values["files"], values["output_dir"])
    output_format = values["output_format"]
    work_options = ResampleWork(
        reading.read_options(values),
        reading.check_options(values),
        options,
        WriteOptions(format=output_format, columns=options.columns),
        len(inputs) == 1 or values["as_json"],
    )
    suffix = None if output_format is None else f".{output_format}"
    result = common.run_output(ctx, work, work_options, values, suffix, inputs)
    if values["as_json"]:
        common.print_json(ctx, result)
    elif len(result.outcomes) == 1:
        reports = result.outcomes[0].reports
        for report in reports:
            # One of an earlier run, among many files then, is short.
            full = len(reports) <= MOST_REPORTS and "how" in report
            for line in lines(report) if full else short_lines(report):
                common.warn(line)
        for line in common.settings_lines(ctx):
            common.warn(line)
    return result.exit_code


def work(task: Task, stage: Stage) -> tuple[list[JsonObject], list[str]]:
    """Resample one file."""
    options: ResampleWork = task.options
    assert task.target is not None
    reports: list[JsonObject] = []
    recordings = reading.read_recordings(task, stage, options.read)
    warnings = reading.left_out(task.source, recordings)
    several = len(recordings) > 1
    # Pieces of a group stay apart, each with a file of its own.
    into_one = options.resample.gaps != "split" and reading.goes_into_one(recordings, task.target, options.write)
    whole = of_recording(task.target, "", False, None)
    parts: list[Recording] = []
    while recordings:
        # Nothing else holds the samples of the recording, so that they make room for the result.
        held = [recordings.pop(0)]
        group = group_of(held[0])
        report = _report(held, options)
        pieces = resample_from(held, options.resample, with_peaks=options.full_report)
        for index, piece in enumerate(pieces):
            warnings += piece.warnings
            if into_one:
                parts.append(piece.recording)
                report["outputs"].append(whole)
                continue
            target = of_recording(task.target, group, several, index if len(pieces) > 1 else None)
            report["outputs"].append(target)
            warnings += formats.write(stage.place(target), piece.recording, options.write)
        reports.append(report | _result(pieces, options.full_report))
    if into_one:
        warnings += formats.write_groups(stage.place(whole), parts, options.write)
    return reports, warnings


def group_of(recording: Recording) -> str:
    """What tells a recording from the others of its file: the value of the column, or the topic and the message."""
    if recording.group is not None:
        return str(recording.group.key)
    layout = recording.layout
    return layout.topic if layout.message is None else f"{layout.topic}_{layout.message}"


def _report(held: list[Recording], options: ResampleWork) -> JsonObject:
    """What is to be said of a recording, which is replaced by one that is fit for the library."""
    recording = held.pop()
    fit = checked(recording, options.check)
    held.append(fit)
    assert fit.stamps is not None
    if options.full_report:
        return {**facts(recording), "outputs": [], "mended": mended(recording, fit)}
    times_s = fit.stamps.seconds()
    return {
        "source": recording.source,
        "samples": len(recording.rows),
        "duration_s": number(float(times_s[-1] - times_s[0])),
        "outputs": [],
    }


def _result(pieces: list[Resampled], full: bool) -> JsonObject:
    result: JsonObject = {
        "samples_out": sum(len(piece.recording.rows) for piece in pieces),
        "gaps_bridged": sum(len(piece.gaps) for piece in pieces),
        "warnings": [warning for piece in pieces for warning in piece.warnings],
    }
    if full:
        result["how"] = pieces[0].recording.notes[-1].text
        result["peaks_out"] = _largest(pieces)
    return result


def _largest(pieces: list[Resampled]) -> list[JsonObject]:
    """The peaks over all pieces; times are those of the piece."""
    found = [piece.peaks for piece in pieces if piece.peaks is not None]
    entries = []
    for j, joint in enumerate(pieces[0].recording.joints):
        entry: JsonObject = {"joint": joint}
        for level, name in NAMES.items():
            values = [abs(float(peak[level].values[j])) for peak in found]
            piece = values.index(max(values))
            entry[name] = {
                "value": number(float(found[piece][level].values[j])),
                "at_s": float(found[piece][level].times_s[j]),
            }
        entries.append(entry)
    return entries


def short_lines(report: JsonObject) -> list[str]:
    """The report of one of many recordings as text."""
    outputs = ", ".join(report["outputs"])
    return [
        f"{report['source']} -> {outputs}: {report['samples']:,} -> {report['samples_out']:,} samples, "
        f"{short(report['duration_s'])} s"
    ]


def lines(report: JsonObject) -> list[str]:
    """The report as text."""
    shown = ["standard output" if output == "-" else output for output in report["outputs"]]
    found = [f"{report['source']} -> {', '.join(shown)}"]
    if report["clock"] is not None:
        found.append(f"  clock    {report['clock']['summary']}")
    found.append(f"  samples  {report['samples']:,} -> {report['samples_out']:,}, {report['duration_s']:.6g} s")
    found.append(f"  method   {report['how']}")
    return found + mended_lines(report) + peak_lines(report["peaks_out"])
