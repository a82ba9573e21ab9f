# SPDX-License-Identifier: Apache-2.0
"""velmora shape: a move that leaves less vibration."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import click
import numpy as np

from velmora.tools import formats, output
from velmora.tools.batch.tasks import JsonObject
from velmora.tools.commands import common, reading
from velmora.tools.commands import vibration_options as shared
from velmora.tools.errors import DataError, UsageError
from velmora.tools.operations.limits import JointLimits, for_joints, load
from velmora.tools.options import WriteOptions
from velmora.tools.text import table

if TYPE_CHECKING:
    from matplotlib.figure import Figure

    from velmora.tools.operations.shape_move import Left, Shaped
    from velmora.tools.recording import Recording

LEVELS = {"velocities": "velocity", "accelerations": "acceleration", "jerks": "jerk"}


@click.command(
    epilog="""\b
Examples:
  velmora shape move.csv --mode 5:0.02 --shaper zvd -o calm.csv
  velmora shape move.csv --mode 5:0.02 --mode 12:0.05 --shaper ei --weight 0.7 -o calm.csv --plot left.png
  velmora shape move.csv --measured ringdown.csv --limits joint_limits.yaml --period 0.004 -o calm.csv
"""
)
@click.argument("file", metavar="FILE")
@shared.mode_options
@click.option("--shaper", type=click.Choice(shared.SHAPERS), default="zvd", show_default=True, help="Which shaper.")
@click.option(
    "--weight",
    type=click.FloatRange(0.0, 1.0),
    default=1.0,
    show_default=True,
    help="Share of the shaped move, 0 to 1.",
)
@click.option(
    "--method",
    type=click.Choice(["cubic", "linear"]),
    default="cubic",
    show_default=True,
    help="Interpolation between samples.",
)
@click.option("--limits", "-l", type=click.Path(), metavar="FILE", help="YAML, URDF or CSV with limits, shown beside.")
@click.option(
    "--period",
    type=click.FloatRange(0.0, min_open=True),
    metavar="S",
    help="Period of the controller, to tell what rounding the delays to it costs; the step of the file otherwise.",
)
@click.option("--output", "-o", metavar="NAME", required=True, help="The shaped move; '-' is standard output.")
@shared.picture_options
@common.json_option
@reading.reading_options
@reading.mending_options
@click.pass_context
def command(ctx: click.Context, /, **values: Any) -> int:
    """Shape a move for the modes of a machine; one sequence for all joints, so straight lines stay straight.

    Says what it costs (time, lag, path) and what it leaves: predicted, at its worst over the range of each mode, and
    with the delays rounded to the controller's period.
    """
    from velmora.tools.operations.shape_move import ShapeOptions, shape

    if values["as_json"] and values["output"] == "-":
        raise UsageError("--json -o -: both go to standard output; one of them was expected")
    shared.refuse_outputs(values, values["output"])
    known = shared.known_modes(values)
    recording = shared.read_one(values["file"], values)
    if recording.positions.shape[0] < 4:
        raise DataError(
            f"{recording.source}: {recording.positions.shape[0]} samples; at least 4 of a move were expected"
        )
    limits = None
    if values["limits"] is not None:
        limits = for_joints(load(values["limits"]), recording.source, recording.joints)
    try:
        done = shape(
            recording, ShapeOptions(known, values["shaper"], values["weight"], values["period"], values["method"])
        )
    except ValueError as error:
        raise DataError(f"{recording.source}: {error}") from error
    options = WriteOptions(columns=("positions", "velocities", "accelerations"))
    with output.written(values["output"], force=values["force"]) as place:
        warnings = formats.write(place, done.recording, options)
    for warning in (*done.warnings, *warnings):
        common.warn(f"warning: {warning}")
    if values["as_json"]:
        shared.print_json(ctx, _object(recording, done, limits, values))
    else:
        for line in _lines(recording, done, limits, values):
            common.warn(line)
    if values["plot"] is not None:
        shared.write_picture(_figure(done, values), values["plot"], values["force"])
    if values["report"] is not None:
        _write_report(ctx, recording, done, limits, values)
    return 0


def _peak_rows(recording: Recording, done: Shaped, limits: JointLimits | None) -> list[list[str]]:
    rows = []
    for level, name in LEVELS.items():
        for j, joint in enumerate(recording.joints):
            before = abs(float(done.peaks_before[level].values[j]))
            after = abs(float(done.peaks_after[level].values[j]))
            bound = None if limits is None else limits.bounds[j].get(name)
            limit = "-" if bound is None else f"{max(-bound.lower, bound.upper):.4g}"
            verdict = "" if bound is None else ("over" if after > max(-bound.lower, bound.upper) * 1.000001 else "ok")
            rows.append([f"{name} {joint}", f"{before:.4g}", f"{after:.4g}", limit, verdict])
    return rows


PEAK_HEAD = ("peak", "before", "after", "limit", "")
LEFT_HEAD = ("mode", "swing before", "after", "left", "predicted", "worst in range", "delays rounded")


def _left_rows(done: Shaped) -> list[list[str]]:
    return [
        [
            left.known.text(),
            f"{left.raw:.3g}",
            f"{left.shaped:.3g}",
            _percent(left.shaped / left.raw if left.raw > 0.0 else 0.0),
            _percent(left.predicted),
            _percent(left.worst),
            _percent(short),
        ]
        for left, short in zip(done.left, done.rounded, strict=True)
    ]


def _percent(share: float) -> str:
    return f"{100.0 * share:.3g} %" if share > 1e-6 else "0 %"


def _lines(recording: Recording, done: Shaped, limits: JointLimits | None, values: dict[str, Any]) -> list[str]:
    lines = [
        f"{recording.source} -> {values['output']}",
        f"  {values['shaper']}, weight {values['weight']:g}: {1e3 * done.added_s:.4g} ms longer, "
        f"{1e3 * done.lag_s:.4g} ms of lag, {done.path_deviation:.3g} off the path",
        *table(LEFT_HEAD, _left_rows(done)),
        f"  (delays rounded to {1e3 * done.period_s:.4g} ms)",
        *table(PEAK_HEAD, _peak_rows(recording, done, limits)),
    ]
    if values["shaper"].startswith("um_"):
        lines.append("  negative impulses: velocities and accelerations may exceed those of the move")
    return lines


def _object(recording: Recording, done: Shaped, limits: JointLimits | None, values: dict[str, Any]) -> JsonObject:
    def left(one: Left, short: float) -> JsonObject:
        return {
            "swing_before": one.raw,
            "swing_after": one.shaped,
            "predicted": one.predicted,
            "worst_in_range": one.worst,
            "delays_rounded": short,
        }

    def peak(level: str, j: int) -> JsonObject:
        bound = None if limits is None else limits.bounds[j].get(LEVELS[level])
        return {
            "joint": recording.joints[j],
            "quantity": LEVELS[level],
            "before": float(done.peaks_before[level].values[j]),
            "after": float(done.peaks_after[level].values[j]),
            "limit": None if bound is None else {"lower": bound.lower, "upper": bound.upper, "source": bound.source},
        }

    return {
        "source": recording.source,
        "output": values["output"],
        "shaper": {
            "name": values["shaper"],
            "weight": values["weight"],
            "times_s": done.sequence.times_s.tolist(),
            "amplitudes": done.sequence.amplitudes.tolist(),
        },
        "added_s": done.added_s,
        "lag_s": done.lag_s,
        "path_deviation": done.path_deviation,
        "period_s": done.period_s,
        "modes": [
            {**mode, **left(one, short)}
            for mode, one, short in zip(
                shared.mode_objects([one.known for one in done.left]), done.left, done.rounded, strict=True
            )
        ],
        "peaks": [peak(level, j) for level in LEVELS for j in range(len(recording.joints))],
        "warnings": list(done.warnings),
    }


def _figure(done: Shaped, values: dict[str, Any]) -> Figure:
    from velmora.tools.operations.vibration import sensitivity
    from velmora.tools.report.vibration_pictures import Band, Line, draw_left

    modes = [one.known for one in done.left]
    bands = [Band(k.mode.frequency_hz, k.low_hz, k.high_hz) for k in modes]
    swings = [
        (Line("raw move", one.times_s, one.raw_swing), Line("shaped move", one.times_s, one.shaped_swing, True))
        for one in done.left
    ]
    frequencies, (left,) = sensitivity([done.sequence], tuple(modes))
    curves = [
        Line("raw move", frequencies, np.ones(frequencies.size)),
        Line(f"{values['shaper']}, weight {values['weight']:g}", frequencies, left, True),
    ]
    title = f"What is left after {values['file']}, shaped by {values['shaper']} with weight {values['weight']:g}"
    return draw_left(swings, curves, bands, 0.05, title)


def _write_report(
    ctx: click.Context, recording: Recording, done: Shaped, limits: JointLimits | None, values: dict[str, Any]
) -> None:
    from velmora.tools.report.data import Section, Table
    from velmora.tools.report.vibration_pictures import png

    left = Section(
        "What is left of the vibration",
        _lines(recording, done, limits, values)[1].strip(),
        table=Table(LEFT_HEAD, tuple(tuple(row) for row in _left_rows(done))),
        picture=png(_figure(done, values)),
        picture_description="Swing of every mode after the raw and the shaped move, and what is left over frequency",
    )
    peaks = Section(
        "Peaks before and after",
        table=Table(PEAK_HEAD, tuple(tuple(row) for row in _peak_rows(recording, done, limits))),
    )
    data = shared.report_data(ctx, recording, done.raw, done.trajectory, sections=(left, peaks), notes=done.warnings)
    shared.write_report(data, values["report"], values["force"])
