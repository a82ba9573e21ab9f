# SPDX-License-Identifier: Apache-2.0
"""velmora report: one HTML file that opens in a browser."""

from __future__ import annotations

from typing import Any

import click

from velmora.tools.commands import common, drawing, reading, resampling
from velmora.tools.commands.declare import refuse_report
from velmora.tools.output import write_bytes
from velmora.tools.report.data import ReportData


@click.command(
    epilog="""\b
Examples:
  velmora report log.csv -o report.html
  velmora report log.csv --rate 250 --limits joint_limits.yaml -o report.html
  velmora report logs/ --rate 100 --output-dir reports
"""
)
@common.files_argument
@resampling.resampling_options
@drawing.limits_option
@common.output_options
@common.json_option
@reading.reading_options_beside_rate
@reading.mending_options
@common.many_options
@click.pass_context
def command(ctx: click.Context, /, **values: Any) -> int:
    """Write a report that opens in a browser: one HTML file per recording, which needs no network.

    With --rate, --sample-time or --samples it shows the recording before and after resampling.
    """
    refuse_report(values["output"])
    result = common.run_output(ctx, drawing.work, drawing.drawing_work(ctx, values, write), values, ".html")
    if values["as_json"]:
        common.print_json(ctx, result)
    else:
        for outcome in result.outcomes:
            for report in outcome.reports:
                common.warn(f"{report['source']} -> {', '.join(report['outputs'])}")
    return result.exit_code


def write(data: ReportData, path: str, _: str | None) -> None:
    """Write the HTML."""
    from velmora.tools.report import build

    write_bytes(path, build(data), force=False)
