# SPDX-License-Identifier: Apache-2.0
"""velmora verify: whether a shaped move leaves what was predicted."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import click

from velmora.tools.batch.tasks import JsonObject
from velmora.tools.commands import common, reading
from velmora.tools.commands import vibration_options as shared
from velmora.tools.errors import DataError, UsageError
from velmora.tools.text import table

if TYPE_CHECKING:
    from matplotlib.figure import Figure

    from velmora.tools.operations.verify_shaping import Verification
    from velmora.tools.recording import Recording


@click.command(
    epilog="""\b
Examples:
  velmora verify before.csv after.csv --mode 5:0.02 --shaper zvd
  velmora verify before.csv after.csv --measured ringdown.csv --shaper ei --weight 0.7 --plot verified.png

The exit code is 1 where what is left differs from the prediction, or BEFORE holds nothing of a mode.
"""
)
@click.argument("before", metavar="BEFORE")
@click.argument("after", metavar="AFTER")
@shared.mode_options
@shared.shaper_options
@click.option(
    "--from",
    "from_s",
    type=float,
    metavar="S",
    help="Where BEFORE swings freely, in seconds from its first sample; found otherwise.",
)
@shared.picture_options
@common.json_option
@reading.reading_options
@reading.mending_options
@click.pass_context
def command(ctx: click.Context, /, **values: Any) -> int:
    """Hold what a shaped move leaves of a vibration against what was predicted.

    BEFORE and AFTER are measured positions during the raw and the shaped move and the rest after it; both begin at the
    same moment of their command.
    """
    from velmora import shaping
    from velmora.identify import IdentificationError
    from velmora.tools.operations.verify_shaping import verify
    from velmora.tools.operations.vibration import asked_for

    shared.refuse_outputs(values)
    known = shared.known_modes(values)
    sequence = shaping.blended_sequence(asked_for(values["shaper"], known, values["tolerance"]), values["weight"])
    before, after = shared.read_one(values["before"], values), shared.read_one(values["after"], values)
    if before.joints != after.joints:
        raise UsageError(
            f"{after.source}: its joints are not those of {before.source}; the same move was expected; --joints"
        )
    shared.check_moment(before, "--from", values["from_s"])
    try:
        found = verify(before, after, known, sequence, values["from_s"])
    except IdentificationError as error:
        raise DataError(f"{before.source}: {error}") from error
    if values["as_json"]:
        shared.print_json(ctx, _object(before, after, found, values))
    else:
        common.show(_lines(before, after, found))
    if values["plot"] is not None:
        shared.write_picture(_figure(before, after, found), values["plot"], values["force"])
    if values["report"] is not None:
        _write_report(ctx, before, after, found, values)
    return 0 if found.as_predicted else 1


HEAD = ("mode", "designed for", "swing before", "after", "left", "predicted", "")


def _rows(found: Verification) -> list[list[str]]:
    return [
        [
            f"{mode.measured.frequency_hz:.4g} Hz, damping {mode.measured.damping_ratio:.3g}",
            f"{mode.designed.mode.frequency_hz:.4g} Hz",
            f"{mode.before:.3g}",
            f"{mode.after:.3g}",
            f"{100 * mode.share:.2f} % ({100 * mode.low:.2f} to {100 * mode.high:.2f})",
            f"{100 * mode.predicted:.2f} %",
            "as predicted" if mode.as_predicted else "differs",
        ]
        for mode in found.modes
    ]


def _lines(before: Recording, after: Recording, found: Verification) -> list[str]:
    lines = [
        f"{before.source}, {after.source}: swing freely from {found.from_s[0]:.4g} s and {found.from_s[1]:.4g} s on",
        *table(HEAD, _rows(found)),
    ]
    lines += [f"  nothing of {k.text()} is in {before.source}: it cannot be verified" for k in found.absent]
    if not all(mode.as_predicted for mode in found.modes):
        lines.append(
            "  What is left differs from the prediction: is the shaper the one that was used, do both recordings begin "
            "with the command, is --from after both moves?"
        )
    return lines


def _object(before: Recording, after: Recording, found: Verification, values: dict[str, Any]) -> JsonObject:
    return {
        "before": before.source,
        "after": after.source,
        "shaper": {"name": values["shaper"], "weight": values["weight"]},
        "from_s": list(found.from_s),
        "modes": [
            {
                "joint": before.joints[mode.joint],
                "designed": shared.mode_objects([mode.designed])[0],
                "measured": {
                    "frequency_hz": mode.measured.frequency_hz,
                    "damping_ratio": mode.measured.damping_ratio,
                },
                "swing_before": mode.before,
                "swing_after": mode.after,
                "left": {"value": mode.share, "low": mode.low, "high": mode.high},
                "predicted": mode.predicted,
                "as_predicted": mode.as_predicted,
            }
            for mode in found.modes
        ],
        "absent": shared.mode_objects(found.absent),
        "as_predicted": found.as_predicted,
    }


def _figure(before: Recording, after: Recording, found: Verification) -> Figure:
    from velmora.tools.report.vibration_pictures import Line, draw_measured

    (times_before, times_after), (swing_before, swing_after) = found.times_s, found.swings
    joint = before.joints[found.modes[0].joint]
    return draw_measured(
        Line(before.source, times_before, swing_before),
        Line(after.source, times_after, swing_after),
        found.from_s[1],
        f"Measured vibration of {joint}",
    )


def _write_report(
    ctx: click.Context, before: Recording, after: Recording, found: Verification, values: dict[str, Any]
) -> None:
    from velmora.tools.operations.resample import trajectory_of
    from velmora.tools.report.data import Section, Table
    from velmora.tools.report.vibration_pictures import png

    section = Section(
        "Measured against predicted",
        table=Table(HEAD, tuple(tuple(row) for row in _rows(found))),
        picture=png(_figure(before, after, found)),
        picture_description="Both measured vibrations over each other",
    )
    data = shared.report_data(
        ctx, before, trajectory_of(before), trajectory_of(after), sections=(section,), work="comparison"
    )
    shared.write_report(data, values["report"], values["force"])
