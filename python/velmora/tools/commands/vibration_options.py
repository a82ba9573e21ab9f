# SPDX-License-Identifier: Apache-2.0
"""Options and outputs that the commands about vibration share."""

from __future__ import annotations

import json
import os
import shlex
import sys
from collections.abc import Sequence
from typing import TYPE_CHECKING, Any

import click
import numpy as np

import velmora
from velmora.tools import config, formats, output
from velmora.tools.batch.tasks import JsonObject, digest_of
from velmora.tools.commands import common, reading
from velmora.tools.commands.declare import FiniteRange, Function, refuse_picture, refuse_report, with_options
from velmora.tools.errors import DataError, UsageError
from velmora.tools.operations.checked import checked
from velmora.tools.recording import Recording
from velmora.tools.text import count

if TYPE_CHECKING:
    from matplotlib.figure import Figure

    from velmora.identify import Identification
    from velmora.tools.operations.vibration import KnownMode
    from velmora.tools.report.data import ReportData

SHAPERS = ("zv", "mzv", "zvd", "zvdd", "ei", "two_hump_ei", "three_hump_ei", "si", "um_zv", "um_zvd")

_MODES = (
    click.option(
        "--mode", "modes", multiple=True, metavar="HZ:DAMPING", help="A vibration mode, such as 5:0.02; several times."
    ),
    click.option(
        "--range", "ranges", multiple=True, metavar="LOW:HIGH", help="Where a mode may lie, in Hz; one per --mode."
    ),
    click.option(
        "--measured", type=click.Path(), metavar="FILE", help="A ring-down; its modes and how well they are known."
    ),
)
_SHAPER = (
    click.option("--shaper", type=click.Choice(SHAPERS), default="zvd", show_default=True, help="Which shaper."),
    click.option(
        "--weight", type=FiniteRange(0.0, 1.0), default=1.0, show_default=True, help="Share of the shaped move, 0 to 1."
    ),
)
_TOLERANCE = (
    click.option(
        "--tolerance",
        type=FiniteRange(0.0, 1.0, min_open=True, max_open=True),
        default=0.05,
        show_default=True,
        help="Share of the vibration that may be left, for ei, two_hump_ei, three_hump_ei and si.",
    ),
)
_PICTURES = (
    click.option("--plot", type=click.Path(), metavar="FILE", help="Picture, as .png, .svg or .pdf."),
    click.option("--report", type=click.Path(), metavar="FILE", help="Report for a browser, one HTML file."),
)
_FORCE = (click.option("--force", is_flag=True, help="Replace outputs that exist."),)


def mode_options(function: Function) -> Function:
    """Add the options that say which modes a machine has."""
    return with_options(function, _MODES)


def tolerance_option(function: Function) -> Function:
    """Add the option that says how much of a vibration may be left."""
    return with_options(function, _TOLERANCE)


def shaper_options(function: Function) -> Function:
    """Add the options that say which shaper, and how much of it."""
    return with_options(function, _SHAPER + _TOLERANCE)


def picture_options(function: Function) -> Function:
    """Add the options of a picture and a report, and to replace them."""
    return with_options(function, _PICTURES + _FORCE)


def report_options(function: Function) -> Function:
    """Add the options of a picture and a report to a command that has other outputs."""
    return with_options(function, _PICTURES)


def read_one(path: str, values: dict[str, Any]) -> Recording:
    """The only recording of a file, fit for the library."""
    recordings = formats.read(path, reading.read_options(values))
    refuse_several(path, recordings)
    return checked(recordings[0], reading.check_options(values))


def refuse_several(path: str, recordings: Sequence[Recording]) -> None:
    """Refuse a file that holds more than the recording that is asked for."""
    if len(recordings) != 1:
        raise UsageError(
            f"{path}: {count(len(recordings), 'recording')}; one was expected; --topic or one file of a group"
        )


def check_moment(recording: Recording, option: str, moment_s: float | None) -> None:
    """Refuse a moment that is not within a recording, which counts from its first sample."""
    assert recording.stamps is not None
    lasts_s = float(recording.stamps.seconds()[-1])
    if moment_s is not None and not 0.0 <= moment_s <= lasts_s:
        raise UsageError(
            f"{option} {moment_s:g}: {recording.source} lasts {lasts_s:.6g} s; a time within it was expected, in "
            "seconds from its first sample on"
        )


def identified(recording: Recording, **settings: Any) -> Identification:
    """The modes in a recording, or an error that names it."""
    from velmora.identify import IdentificationError, identify_modes

    check_moment(recording, "--from", settings.get("start_s"))
    check_moment(recording, "--to", settings.get("end_s"))
    assert recording.stamps is not None
    try:
        return identify_modes(recording.stamps.seconds(), recording.positions, **settings)
    except IdentificationError as error:
        raise DataError(f"{recording.source}: {error}") from error
    except ValueError as error:
        raise UsageError(f"{recording.source}: {error}") from error


def known_modes(values: dict[str, Any]) -> tuple[KnownMode, ...]:
    """The modes out of --mode and --range, or measured in a ring-down."""
    from velmora import shaping
    from velmora.tools.operations.vibration import ASSUMED_SHARE, KnownMode, parse_mode, parse_range

    texts, ranges = values["modes"], values["ranges"]
    if bool(texts) == (values["measured"] is not None):
        raise UsageError("modes of the machine: one of --mode 5:0.02 and --measured ringdown.csv was expected")
    if ranges and len(ranges) != len(texts):
        raise UsageError(
            f"--range: {count(len(ranges), 'range')} for {count(len(texts), 'mode')}; one for each --mode was expected"
        )
    if values["measured"] is None:
        modes = [parse_mode(text) for text in texts]
        if ranges:
            pairs = [parse_range(text, mode) for text, mode in zip(ranges, modes, strict=True)]
            return tuple(KnownMode(m, low, high, "range given") for m, (low, high) in zip(modes, pairs, strict=True))
        return tuple(
            KnownMode(m, m.frequency_hz * (1.0 - ASSUMED_SHARE), m.frequency_hz * (1.0 + ASSUMED_SHARE), "given, +-1 %")
            for m in modes
        )
    measured = read_one(values["measured"], values)
    try:
        found = identified(measured)
    except DataError as error:
        raise DataError(f"{error} --mode takes modes that are known otherwise.") from error
    return tuple(
        KnownMode(
            shaping.VibrationMode(mode.frequency_hz.value, min(mode.damping_ratio.value, 0.99)),
            mode.frequency_hz.low,
            mode.frequency_hz.high,
            f"measured in {os.path.basename(values['measured'])}",
        )
        for mode in found.modes
    )


def mode_objects(known: Sequence[KnownMode]) -> list[JsonObject]:
    """The modes for JSON."""
    return [
        {
            "frequency_hz": k.mode.frequency_hz,
            "damping_ratio": k.mode.damping_ratio,
            "low_hz": k.low_hz,
            "high_hz": k.high_hz,
            "origin": k.origin,
        }
        for k in known
    ]


def print_json(ctx: click.Context, content: JsonObject) -> None:
    """Print what a command found, with the head that all reports for machines have."""
    head: JsonObject = {
        "schema": common.SCHEMA,
        "version": velmora.__version__,
        "command": ctx.info_name,
        "settings": [{"name": s.name, "value": s.value, "origin": s.origin} for s in config.settings(ctx)],
    }
    click.echo(json.dumps({**head, **content}, indent=1, allow_nan=False))
    sys.stdout.flush()


def refuse_outputs(values: dict[str, Any], *more: str | None) -> None:
    """Refuse outputs that exist or have no folder, and names of another kind of file, before any work is done."""
    for path in (values["plot"], values["report"], *more):
        if path is not None:
            output.refuse_existing(path, values["force"])
            output.refuse_no_folder(path, values.get("output_dir"))
    refuse_picture(values["plot"], "--plot ")
    refuse_report(values["report"], "--report ")


def write_picture(figure: Figure, path: str, force: bool) -> None:
    """Write a picture, whole or not at all."""
    from velmora.tools.report.vibration_pictures import save

    with output.written(path, force=force) as place:
        save(figure, place)


def write_report(data: ReportData, path: str, force: bool) -> None:
    """Write a report, whole or not at all."""
    from velmora.tools.report import build

    output.write_bytes(path, build(data), force=force)


def report_data(
    ctx: click.Context,
    recording: Recording,
    trajectory: velmora.JointTrajectory,
    after: velmora.JointTrajectory | None,
    **parts: Any,
) -> ReportData:
    """What every report has: the curves of the recording, and how it was made."""
    from velmora.tools.report.data import Fact, ReportData

    return ReportData(
        source=recording.source,
        joints=recording.joints,
        before=_track(trajectory),
        after=None if after is None else _track(after),
        options=tuple(Fact(s.name, s.value, s.origin) for s in config.settings(ctx)),
        command=shlex.join(["velmora", *sys.argv[1:]]),
        version=velmora.__version__,
        input_sha256=digest_of(recording.source) if os.path.isfile(recording.source) else "",
        **parts,
    )


def _track(trajectory: velmora.JointTrajectory) -> Any:
    from velmora.tools.report.data import Track

    return Track(
        trajectory.time,
        {
            "positions": trajectory.positions,
            "velocities": trajectory.velocities,
            "accelerations": np.asarray(trajectory.accelerations),
        },
    )
