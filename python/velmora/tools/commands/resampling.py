# SPDX-License-Identifier: Apache-2.0
"""The options of resampling, the same for the commands that resample."""

from __future__ import annotations

import math
from typing import Any

import click

from velmora.tools import config
from velmora.tools.commands.declare import FiniteRange, Function, with_options
from velmora.tools.errors import UsageError
from velmora.tools.operations.resample import DEFAULT_COLUMNS, MAX_SAMPLES, QUANTITIES, ResampleOptions
from velmora.tools.text import nearest, quoted

GRIDS = ("exact_dt_append_endpoint", "exact_dt_trim", "exact_duration_adjust_dt", "exact_dt_extend_endpoint")
SPACINGS = ("sample_time", "rate", "samples")

_RESAMPLING = (
    click.option("--sample-time", "-t", type=float, metavar="S", help="Spacing of the new grid in seconds."),
    click.option("--rate", "-r", type=float, metavar="HZ", help="Samples per second of the new grid."),
    click.option(
        "--samples",
        "-n",
        type=int,
        metavar="N",
        help="Number of samples over the whole span; with --gaps split, in each piece.",
    ),
    click.option(
        "--method",
        "-m",
        type=click.Choice(["cubic", "linear"]),
        default="cubic",
        show_default=True,
        help="Interpolation between samples.",
    ),
    click.option(
        "--grid",
        "-g",
        type=click.Choice(GRIDS),
        metavar="GRID",
        default=GRIDS[0],
        show_default=True,
        help="Where the new samples lie: the end appended, cut off, met by adjusting the spacing, or passed.",
    ),
    click.option("--strict", is_flag=True, help="Fail where the cubic spline fails, instead of going on linearly."),
    click.option(
        "--columns",
        default=",".join(DEFAULT_COLUMNS),
        show_default=True,
        metavar="NAMES",
        help="What is written: any of positions, velocities, accelerations, jerks.",
    ),
    click.option(
        "--gaps",
        type=click.Choice(["bridge", "split", "error"]),
        default="bridge",
        show_default=True,
        help="What to do about gaps: go on over them, make pieces, or fail.",
    ),
    click.option(
        "--max-gap",
        type=FiniteRange(min=0.0, min_open=True),
        metavar="S",
        help="The longest step that is no gap; ten median steps by default.",
    ),
    click.option(
        "--max-samples",
        type=click.IntRange(min=1),
        default=MAX_SAMPLES,
        show_default=True,
        help="The longest grid that is made.",
    ),
)


def resampling_options(function: Function) -> Function:
    """Add the options of resampling to a command."""
    return with_options(function, _RESAMPLING)


def resample_options(ctx: click.Context, values: dict[str, Any], *, required: bool) -> ResampleOptions | None:
    """The options out of the values of a command; None where no grid is asked for and none is required."""
    chosen = config.only_one(ctx, SPACINGS, required)
    quantities = columns(values["columns"])
    if chosen is None:
        return None
    value = values[chosen]
    if not (math.isfinite(value) and value > 0):
        raise UsageError(f"--{chosen.replace('_', '-')} is {value:g}; a number above 0 was expected")
    if chosen == "rate" and not math.isfinite(1.0 / value):
        raise UsageError(f"--rate is {value:g}; a rate whose sample time is finite was expected")
    return ResampleOptions(
        sample_time_s=value if chosen == "sample_time" else None,
        rate_hz=value if chosen == "rate" else None,
        samples=value if chosen == "samples" else None,
        method=values["method"],
        grid=values["grid"],
        strict=values["strict"],
        columns=quantities,
        gaps=values["gaps"],
        max_gap_s=values["max_gap"],
        max_samples=values["max_samples"],
    )


def columns(text: str) -> tuple[str, ...]:
    """The quantities of a list of names, in the order of positions to jerks."""
    return checked_columns(tuple(name.strip() for name in text.split(",") if name.strip()))


def checked_columns(names: tuple[str, ...]) -> tuple[str, ...]:
    """The quantities, in the order of positions to jerks, after a check of their names."""
    for name in names:
        if name not in QUANTITIES:
            known = ", ".join(QUANTITIES)
            raise UsageError(
                f"--columns: {quoted(name)} is not known; {known} were expected{nearest(name, QUANTITIES)}"
            )
    if "positions" not in names:
        raise UsageError("--columns: there are no positions; positions and any of their derivatives were expected")
    return tuple(quantity for quantity in QUANTITIES if quantity in names)
