# SPDX-License-Identifier: Apache-2.0
"""What commands share: options for many files, running them, and showing what became of them."""

from __future__ import annotations

import functools
import json
import os
import sys
from collections.abc import Callable, Sequence
from typing import Any, cast

import click

import velmora
from velmora.tools import config, output
from velmora.tools.batch import names, summary
from velmora.tools.batch.many import ManyOptions, ManyResult, carry_out
from velmora.tools.batch.progress import progress
from velmora.tools.batch.tasks import JsonObject, Outcome, Stage, Task
from velmora.tools.commands.declare import Function, with_options
from velmora.tools.errors import UsageError
from velmora.tools.text import printable

Work = Callable[[Task, Stage], tuple[list[JsonObject], list[str]]]

SCHEMA = "velmora-report-1"

files_argument = click.argument("files", nargs=-1, required=True, metavar="FILE...")
json_option = click.option("--json", "as_json", is_flag=True, help="Print the report as JSON.")

_MANY = (
    click.option(
        "--jobs", "-j", type=click.IntRange(min=1), metavar="N", help="Processes for many files; all cores by default."
    ),
    click.option(
        "--scheduler", metavar="ADDRESS", help="Work on an existing Dask cluster, such as tcp://10.0.0.1:8786."
    ),
    click.option(
        "--summary", type=click.Path(), metavar="FILE", help="Table of all files, as .csv, .json or .parquet."
    ),
    click.option("--force", is_flag=True, help="Replace outputs that exist."),
)
_OUTPUT = (
    click.option(
        "--output",
        "-o",
        metavar="NAME",
        help="Output; '-' is standard output. For many files a pattern such as '{stem}_100hz.parquet'.",
    ),
    click.option(
        "--output-dir", type=click.Path(), metavar="FOLDER", help="Folder of the outputs; made where it is missing."
    ),
    click.option("--resume", is_flag=True, help="Leave out what an earlier run with the same options has done."),
)


def many_options(function: Function) -> Function:
    """Add the options for many files to a command."""
    return with_options(function, _MANY)


def output_options(function: Function) -> Function:
    """Add the options for outputs to a command, which is given the name or the folder where one has a nearer source."""

    @functools.wraps(function)
    def with_nearest(*arguments: Any, **values: Any) -> Any:
        farther = config.giving_way(click.get_current_context(), ("output", "output_dir"))
        return function(*arguments, **values | dict.fromkeys(farther))

    return with_options(cast("Function", with_nearest), _OUTPUT)


def warn(text: str) -> None:
    """Print a line for the user, beside the data."""
    click.echo(printable(text), err=True)


def show(lines: Sequence[str]) -> None:
    """Print the report that the user asked for."""
    for line in lines:
        click.echo(printable(line))


def run_report(ctx: click.Context, work: Work, options: Any, values: dict[str, Any]) -> ManyResult:
    """Run work that only reports."""
    inputs = names.expand(values["files"])
    return _run(ctx, [Task(entry.path, None, work, options, fault=entry.fault) for entry in inputs], values)


def run_output(
    ctx: click.Context,
    work: Work,
    options: Any,
    values: dict[str, Any],
    suffix: str | None,
    inputs: Sequence[names.Input] | None = None,
) -> ManyResult:
    """Run work that writes an output for every input.

    Parameters
    ----------
    ctx, values
        The running command and the values of its options.
    work, options
        The function that does one file, and what it needs to know.
    suffix
        Suffix of outputs that only `--output-dir` names; that of the input by default.
    inputs
        What the arguments stand for, where the caller knows it already.
    """
    inputs = names.expand(values["files"], values["output_dir"]) if inputs is None else inputs
    targets = names.targets(inputs, values["output"], values["output_dir"], suffix)
    if values.get("as_json") and "-" in targets:
        origins = "".join(f"; {text}" for text in _not_typed(ctx, ("json", "output")))
        raise UsageError(f"--json -o -: both go to standard output; one of them was expected{origins}")
    if values["output_dir"] is not None:
        make_folders(targets)
    tasks = [
        Task(entry.path, target, work, options, force=values["force"], fault=entry.fault)
        for entry, target in zip(inputs, targets, strict=True)
    ]
    return _run(ctx, tasks, values)


def make_folders(targets: Sequence[str]) -> None:
    """Make the folders that outputs go to; those that depend on what is read are made when they are known."""
    known = (output.local(names.known_part(target)) for target in targets if not output.is_remote(target))
    for folder in {os.path.dirname(name) for name in known}:
        try:
            os.makedirs(folder or ".", exist_ok=True)
        except OSError as error:
            raise UsageError(f"{folder}: {error.strerror}; a folder for outputs was expected; --output-dir") from error


def _run(ctx: click.Context, tasks: list[Task], values: dict[str, Any]) -> ManyResult:
    if values["summary"] is not None:
        summary.refuse_suffix(values["summary"])
    for path in (values["summary"], values.get("junit")):
        if path is not None:
            _refuse_table(path, tasks, values["force"])
    options = ManyOptions(values["jobs"] or 0, values["scheduler"], bool(values.get("resume")))
    with progress(len(tasks), ctx.info_name or "") as advance:

        def on_done(index: int, outcome: Outcome, status: str) -> None:
            advance(status in ("failed", "set aside"))

        result = carry_out(tasks, options, on_done)
    for outcome in result.outcomes:
        for warning in outcome.warnings:
            warn(f"warning: {warning}")
        if outcome.error is not None:
            warn(outcome.error)
    if len(tasks) > 1:
        for line in summary.lines(result):
            warn(line)
    if values["summary"] is not None:
        summary.write(values["summary"], result, force=values["force"])
    return result


def _refuse_table(path: str, tasks: Sequence[Task], force: bool) -> None:
    """Find out before the work whether a table of the run would replace a file that it must not."""
    recordings = {output.whole(name) for task in tasks for name in (task.source, task.target) if name is not None}
    if path != "-" and output.whole(path) in recordings:
        raise UsageError(f"{path}: is the name of a recording of this run; another name was expected")
    output.refuse_existing(path, force)


def print_json(ctx: click.Context, result: ManyResult) -> None:
    """Print the report of a run for machines; docs/reference/report.schema.json describes it."""
    click.echo(json.dumps(json_report(ctx, result), indent=1, allow_nan=False))
    sys.stdout.flush()


def json_report(ctx: click.Context, result: ManyResult) -> JsonObject:
    """The report of a run as an object for JSON."""
    return {
        "schema": SCHEMA,
        "version": velmora.__version__,
        "command": ctx.info_name,
        "settings": [
            {"name": setting.name, "value": setting.value, "origin": setting.origin} for setting in config.settings(ctx)
        ],
        "files": [
            {
                "source": outcome.source,
                "status": status,
                "error": outcome.error,
                "warnings": list(outcome.warnings),
                "recordings": list(outcome.reports),
            }
            for outcome, status in zip(result.outcomes, result.statuses, strict=True)
        ],
    }


def settings_lines(ctx: click.Context) -> list[str]:
    """Values that were not given on the command line, where the user may have forgotten them."""
    return [f"  {text}" for text in _not_typed(ctx)]


def _not_typed(ctx: click.Context, names: Sequence[str] | None = None) -> list[str]:
    """Values that were not given on the command line, with their origins; of the options with these names."""
    return [
        f"{setting.name} is {setting.value} ({setting.origin})"
        for setting in config.settings(ctx)
        if setting.origin != "command line" and (names is None or setting.name in names)
    ]
