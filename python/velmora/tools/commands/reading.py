# SPDX-License-Identifier: Apache-2.0
"""The options that say how files are read and what may be mended, the same for every command."""

from __future__ import annotations

from collections.abc import Callable, Sequence
from typing import Any

import click

from velmora.tools import formats
from velmora.tools.batch.names import GROUP
from velmora.tools.batch.tasks import Stage, Task
from velmora.tools.commands.declare import FiniteRange, Function, with_options
from velmora.tools.operations.checked import CheckOptions
from velmora.tools.options import ReadOptions, WriteOptions
from velmora.tools.recording import Recording

_READING = (
    click.option(
        "--input-format", metavar="FORMAT", help="Format of the inputs, such as csv; by their names otherwise."
    ),
    click.option("--time-column", metavar="NAME", help="Column of the times; found by name otherwise."),
    click.option(
        "--time-unit",
        type=click.Choice(["auto", "s", "ms", "us", "ns"]),
        default="auto",
        show_default=True,
        help="Unit of the times.",
    ),
    click.option("--joints", metavar="NAME,PATTERN", help="Only these joints, in this order; patterns as in a shell."),
    click.option(
        "--degrees",
        is_flag=True,
        help="The file holds degrees, which become radians; columns named in rad or m are kept.",
    ),
    click.option("--group-by", metavar="COLUMN", help="Every value of this column is a recording of its own."),
    click.option("--topic", metavar="NAME", help="Topic of a bag; all with joints otherwise."),
    click.option(
        "--time-from",
        type=click.Choice(["header", "log"]),
        default="header",
        show_default=True,
        help="Times of a bag: of the message's header, or of its recording.",
    ),
    click.option("--salvage", is_flag=True, help="Read what can be read of a broken bag."),
)
_MENDING = (
    click.option(
        "--duplicate-times",
        type=click.Choice(["error", "first", "last", "mean"]),
        default="error",
        show_default=True,
        help="What to do with samples of the same time.",
    ),
    click.option(
        "--missing",
        type=click.Choice(["error", "drop"]),
        default="error",
        show_default=True,
        help="What to do with rows that lack a value or hold one that is not finite.",
    ),
    click.option("--unwrap", is_flag=True, help="Take out jumps by a turn; columns named in m or mm are kept."),
    click.option(
        "--use-velocities",
        is_flag=True,
        help="Take velocities and further derivatives in the file as given, instead of computing them; those on a new "
        "grid come from the positions alone.",
    ),
)


def reading_options(function: Function) -> Function:
    """Add the reading options to a command that has no `--rate` of its own."""
    return with_options(function, (*_READING, _input_rate("--input-rate", "--rate")))


def reading_options_beside_rate(function: Function) -> Function:
    """Add the reading options to a command whose `--rate` is that of its output."""
    return with_options(function, (*_READING, _input_rate("--input-rate")))


def _input_rate(*names: str) -> Callable[[Function], Function]:
    return click.option(
        *names,
        "input_rate",
        type=FiniteRange(min=0.0, min_open=True),
        metavar="HZ",
        help="Samples per second of a file without times.",
    )


def mending_options(function: Function) -> Function:
    """Add the options of `checked` to a command."""
    return with_options(function, _MENDING)


def read_recordings(task: Task, stage: Stage, options: ReadOptions) -> list[Recording]:
    """Read the input of a task; what a broken file has lost becomes a warning, and the exit code 1."""
    recordings = formats.read(task.source, options)
    for recording in recordings:
        stage.losses += [f"{recording.source}: {note.text}" for note in recording.notes if note.key == "salvaged"]
    return recordings


def left_out(source: str, recordings: Sequence[Recording]) -> list[str]:
    """What a file holds that its recordings do not, once for all groups."""
    notes = (note for recording in recordings for note in recording.notes if note.key == "columns")
    return list(dict.fromkeys(f"{source}: columns {note.text}" for note in notes))


def goes_into_one(recordings: Sequence[Recording], target: str, options: WriteOptions) -> bool:
    """Whether the groups of a table become one table again: they do unless ``{group}`` in the output parts them."""
    grouped = bool(recordings) and recordings[0].group is not None
    return grouped and GROUP not in target and formats.is_table(target, options.format)


def read_options(values: dict[str, Any]) -> ReadOptions:
    """The reading options out of the values of a command."""
    joints = values["joints"]
    return ReadOptions(
        format=values["input_format"],
        time_column=values["time_column"],
        time_unit=values["time_unit"],
        rate_hz=values["input_rate"],
        joints=tuple(name.strip() for name in joints.split(",")) if joints else (),
        degrees=values["degrees"],
        group_by=values["group_by"],
        topic=values["topic"],
        time_from=values["time_from"],
        salvage=values["salvage"],
    )


def check_options(values: dict[str, Any]) -> CheckOptions:
    """The options of `checked` out of the values of a command."""
    return CheckOptions(values["duplicate_times"], values["missing"], values["unwrap"], values["use_velocities"])
