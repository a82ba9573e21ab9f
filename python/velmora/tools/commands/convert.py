# SPDX-License-Identifier: Apache-2.0
"""velmora convert: a recording in another format, the same numbers to the last bit."""

from __future__ import annotations

from dataclasses import dataclass, replace
from typing import Any

import click

from velmora.tools import formats
from velmora.tools.batch.names import of_recording
from velmora.tools.batch.tasks import JsonObject, Stage, Task
from velmora.tools.commands import common, reading
from velmora.tools.commands.resample import group_of
from velmora.tools.operations.facts import facts
from velmora.tools.options import ReadOptions, WriteOptions
from velmora.tools.text import count


@dataclass(frozen=True)
class ConvertWork:
    """All that converting one file needs to know."""

    read: ReadOptions
    write: WriteOptions


@click.command(
    epilog="""\b
Examples:
  velmora convert log.csv -o log.parquet
  velmora convert bag/ --topic /joint_states -o states.csv.gz
  velmora convert logs/ --format parquet --output-dir tables
"""
)
@common.files_argument
@common.output_options
@click.option("--format", "output_format", metavar="FORMAT", help="Format of the outputs; by the suffix otherwise.")
@click.option("--compression", metavar="NAME", help="Of Parquet, Feather and bags, such as zstd or none.")
@common.json_option
@reading.reading_options
@common.many_options
@click.pass_context
def command(ctx: click.Context, /, **values: Any) -> int:
    """Write recordings in another format: the same numbers to the last bit, broken or not, in their own units.

    What the format cannot hold is said. There and back gives the same bytes where the formats allow.
    """
    output_format = values["output_format"]
    read = replace(reading.read_options(values), keep_units=not values["degrees"])
    options = ConvertWork(read, WriteOptions(format=output_format, compression=values["compression"]))
    result = common.run_output(ctx, work, options, values, None if output_format is None else f".{output_format}")
    if values["as_json"]:
        common.print_json(ctx, result)
    elif len(result.outcomes) == 1:
        for report in result.outcomes[0].reports:
            common.warn(
                f"{report['source']} -> {', '.join(report['outputs'])}: {count(report['samples'], 'sample')} of "
                f"{count(len(report['joints']), 'joint')}"
            )
    return result.exit_code


def work(task: Task, stage: Stage) -> tuple[list[JsonObject], list[str]]:
    """Convert one file."""
    options: ConvertWork = task.options
    assert task.target is not None
    reports = []
    recordings = reading.read_recordings(task, stage, options.read)
    warnings = reading.left_out(task.source, recordings)
    if reading.goes_into_one(recordings, task.target, options.write):
        target = of_recording(task.target, "", False, None)
        notes = warnings + formats.write_groups(stage.place(target), recordings, options.write)
        reports = [{**facts(recording), "outputs": [target], "warnings": notes} for recording in recordings]
        return reports, notes
    for recording in recordings:
        target = of_recording(task.target, group_of(recording), len(recordings) > 1, None)
        notes = formats.write(stage.place(target), recording, options.write)
        warnings += notes
        reports.append({**facts(recording), "outputs": [target], "warnings": notes})
    return reports, warnings
