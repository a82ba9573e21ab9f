# SPDX-License-Identifier: Apache-2.0
"""velmora plot: a picture of a recording."""

from __future__ import annotations

from typing import Any

import click

from velmora.tools.commands import common, drawing, reading, resampling
from velmora.tools.commands.declare import PICTURES, refuse_picture
from velmora.tools.errors import UsageError
from velmora.tools.report.data import ReportData


@click.command(
    epilog="""\b
Examples:
  velmora plot log.csv -o log.png
  velmora plot log.csv --rate 250 --limits joint_limits.yaml -o log.svg
  velmora plot logs/ --output-dir pictures --format pdf
"""
)
@common.files_argument
@resampling.resampling_options
@drawing.limits_option
@common.output_options
@click.option(
    "--format", "output_format", type=click.Choice(PICTURES), help="Format of the pictures; by the suffix otherwise."
)
@common.json_option
@reading.reading_options_beside_rate
@reading.mending_options
@common.many_options
@click.pass_context
def command(ctx: click.Context, /, **values: Any) -> int:
    """Draw recordings as png, svg or pdf; no display is needed.

    With --rate, --sample-time or --samples the picture shows the recording before and after resampling.
    """
    if values["output_format"] is None:
        if values["output"] == "-":
            raise UsageError("-o -: standard output has no suffix; --format png, svg or pdf was expected")
        refuse_picture(values["output"])
    suffix = f".{values['output_format'] or 'png'}"
    result = common.run_output(ctx, drawing.work, drawing.drawing_work(ctx, values, write), values, suffix)
    if values["as_json"]:
        common.print_json(ctx, result)
    else:
        for outcome in result.outcomes:
            for report in outcome.reports:
                common.warn(f"{report['source']} -> {', '.join(report['outputs'])}")
    return result.exit_code


def write(data: ReportData, path: str, kind: str | None) -> None:
    """Draw the picture."""
    from velmora.tools.plot import draw

    draw(data, path, kind)
