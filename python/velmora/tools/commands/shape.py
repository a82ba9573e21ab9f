# SPDX-License-Identifier: Apache-2.0
"""velmora shape: a move that leaves less vibration."""

from __future__ import annotations

from dataclasses import dataclass, field, replace
from typing import TYPE_CHECKING, Any

import click
import numpy as np

from velmora.tools import formats, output
from velmora.tools.batch.names import expand, of_recording
from velmora.tools.batch.tasks import NOT_KEYED, JsonObject, Stage, Task
from velmora.tools.commands import common, reading
from velmora.tools.commands import vibration_options as shared
from velmora.tools.commands.declare import FiniteRange
from velmora.tools.commands.resample import group_of
from velmora.tools.errors import DataError, UsageError
from velmora.tools.operations.check import check
from velmora.tools.operations.checked import CheckOptions, checked
from velmora.tools.operations.facts import NAMES
from velmora.tools.operations.limits import JointLimits, LimitsFile, for_joints, load
from velmora.tools.options import ReadOptions, WriteOptions
from velmora.tools.text import table

if TYPE_CHECKING:
    from matplotlib.figure import Figure

    from velmora.tools.operations.shape_move import Left, Shaped, ShapeOptions
    from velmora.tools.recording import Recording


@dataclass(frozen=True)
class ShapeWork:
    """All that shaping one file needs to know."""

    read: ReadOptions
    check: CheckOptions
    shape: ShapeOptions
    limits: LimitsFile | None
    drawn: bool = field(default=False, metadata=NOT_KEYED)


@click.command(
    epilog="""\b
Examples:
  velmora shape move.csv --mode 5:0.02 --shaper zvd -o calm.csv
  velmora shape move.csv --mode 5:0.02 --mode 12:0.05 --shaper ei --weight 0.7 -o calm.csv --plot left.png
  velmora shape move.csv --measured ringdown.csv --limits joint_limits.yaml --period 0.004 -o calm.csv
  velmora shape moves/ --measured ringdown.csv --transition 0.2 --output-dir calm
"""
)
@common.files_argument
@shared.mode_options
@shared.shaper_options
@click.option(
    "--transition",
    type=FiniteRange(0.0),
    metavar="S",
    help="Let the weight rise from 0 within so many seconds; it is there from the start otherwise.",
)
@click.option(
    "--method",
    type=click.Choice(["cubic", "linear"]),
    default="cubic",
    show_default=True,
    help="Interpolation between samples; cubic overshoots at corners, linear keeps the extremes of the samples.",
)
@click.option("--limits", "-l", type=click.Path(), metavar="FILE", help="YAML, URDF or CSV with limits, shown beside.")
@click.option(
    "--period",
    type=FiniteRange(1e-6, 10.0),
    metavar="S",
    help="Period of the controller, to tell what rounding the delays to it costs; the step of the file otherwise.",
)
@common.output_options
@shared.report_options
@common.json_option
@reading.reading_options
@reading.mending_options
@common.many_options
@click.pass_context
def command(ctx: click.Context, /, **values: Any) -> int:
    """Shape a move for the modes of a machine; one sequence for all joints, so straight lines stay straight.

    Says what it costs (time, lag, path) and what it leaves: predicted, at its worst over the range of each mode, and
    with the delays rounded to the controller's period.
    """
    from velmora.tools.operations.shape_move import ShapeOptions
    from velmora.tools.operations.vibration import asked_for

    inputs = expand(values["files"], values["output_dir"])
    drawn = values["plot"] is not None or values["report"] is not None
    if drawn and (len(inputs) != 1 or inputs[0].path == "-" or output.is_stream(inputs[0].path)):
        raise UsageError("--plot, --report: of one move, which is read twice; one FILE was expected")
    shared.refuse_outputs(values)
    known = shared.known_modes(values)
    options = ShapeWork(
        reading.read_options(values),
        reading.check_options(values),
        ShapeOptions(
            known,
            values["shaper"],
            asked_for(values["shaper"], known, values["tolerance"]),
            values["weight"],
            values["period"],
            values["method"],
            values["transition"],
        ),
        None if values["limits"] is None else load(values["limits"]),
        drawn,
    )
    result = common.run_output(ctx, work, options, values, None, inputs)
    reports = [report for outcome in result.outcomes for report in outcome.reports]
    if values["as_json"]:
        common.print_json(ctx, result)
    elif len(result.outcomes) == 1:
        for report in reports:
            for line in _lines(report):
                common.warn(line)
    if drawn and reports:
        # Once more, since pictures want more than a report for machines holds.
        fit = shared.read_one(inputs[0].path, values)
        done, limits = _shaped(fit, options)
        if values["plot"] is not None:
            picture = _figure(done, reports[0], values["tolerance"])
            shared.write_picture(picture, values["plot"], values["force"])
        if values["report"] is not None:
            _write_report(ctx, fit, done, reports[0], limits, values)
    return result.exit_code


def work(task: Task, stage: Stage) -> tuple[list[JsonObject], list[str]]:
    """Shape the moves of one file."""
    options: ShapeWork = task.options
    assert task.target is not None
    reports: list[JsonObject] = []
    warnings: list[str] = []
    recordings = reading.read_recordings(task, stage, options.read)
    if options.drawn:
        shared.refuse_several(task.source, recordings)
    for recording in recordings:
        fit = checked(recording, options.check)
        done, limits = _shaped(fit, options)
        target = of_recording(task.target, group_of(recording), len(recordings) > 1, None)
        warnings += done.warnings
        warnings += formats.write(
            stage.place(target), done.recording, WriteOptions(columns=("positions", "velocities", "accelerations"))
        )
        reports.append(_object(fit, done, limits, options.shape, target))
    return reports, warnings


def _shaped(recording: Recording, options: ShapeWork) -> tuple[Shaped, JointLimits | None]:
    from velmora.tools.operations.shape_move import over_by_the_spline, shape

    if recording.positions.shape[0] < 4:
        raise DataError(
            f"{recording.source}: {recording.positions.shape[0]} samples; at least 4 of a move were expected"
        )
    try:
        done = shape(recording, options.shape)
    except ValueError as error:
        raise DataError(f"{recording.source}: {error}") from error
    if options.limits is None:
        return done, None
    limits = for_joints(options.limits, recording.source, recording.joints)
    more = over_by_the_spline(recording, done, options.shape, limits)
    return replace(done, warnings=(*done.warnings, *more)), limits


PEAK_HEAD = ("peak", "before", "after", "limit", "")
LEFT_HEAD = ("mode", "swing before", "after", "left", "predicted", "worst in range", "delays rounded")


def _peak_rows(report: JsonObject) -> list[list[str]]:
    rows = []
    for peak in report["peaks_beside"]:
        bound = peak["limit"]
        limit, verdict = ("-", "") if bound is None else (_limit(bound), "over" if peak["violated"] else "ok")
        name = f"{peak['quantity']} {peak['joint']}"
        rows.append([name, f"{abs(peak['before']):.4g}", f"{abs(peak['after']):.4g}", limit, verdict])
    return rows


def _limit(bound: JsonObject) -> str:
    lower, upper = bound["lower"], bound["upper"]
    return f"{upper:.4g}" if lower == -upper else f"{lower:.4g} to {upper:.4g}"


def _left_rows(report: JsonObject) -> list[list[str]]:
    return [
        [
            f"{mode['frequency_hz']:.5g} Hz, damping {mode['damping_ratio']:.3g}",
            f"{mode['swing_before']:.3g}",
            f"{mode['swing_after']:.3g}",
            _percent(mode["swing_after"] / mode["swing_before"] if mode["swing_before"] > 0.0 else 0.0),
            _percent(mode["predicted"]),
            _percent(mode["worst_in_range"]),
            _percent(mode["delays_rounded"]),
        ]
        for mode in report["modes"]
    ]


def _percent(share: float) -> str:
    return f"{100.0 * share:.3g} %" if share > 1e-6 else "0 %"


def _lines(report: JsonObject) -> list[str]:
    shaper = report["shaper"]
    (output,) = report["outputs"]
    lines = [
        f"{report['source']} -> {'standard output' if output == '-' else output}",
        f"  {_how(report)}: {1e3 * report['added_s']:.4g} ms longer, {1e3 * report['lag_s']:.4g} ms of lag, "
        f"{report['path_deviation']:.3g} off the path",
        *table(LEFT_HEAD, _left_rows(report)),
        f"  (delays rounded to {1e3 * report['period_s']:.4g} ms)",
        *table(PEAK_HEAD, _peak_rows(report)),
    ]
    if any(peak["limit"] is not None for peak in report["peaks_beside"]):
        lines.append("  limits: held against the derivatives written, as velmora check --use-velocities does")
    if shaper["transition_s"]:
        lines.append(
            "  predicted is what the full weight leaves; a vibration from before the transition's end is not in it"
        )
    if shaper["name"].startswith("um_"):
        lines.append("  negative impulses: velocities and accelerations may exceed those of the move")
    return lines


def _how(report: JsonObject) -> str:
    shaper = report["shaper"]
    rising = f" within {shaper['transition_s']:g} s" if shaper["transition_s"] else ""
    return f"{shaper['name']}, weight {shaper['weight']:g}{rising}"


def _object(
    recording: Recording, done: Shaped, limits: JointLimits | None, options: ShapeOptions, target: str
) -> JsonObject:
    findings = () if limits is None else check(done.recording, limits, guard_units=False).findings
    violated = {(found.joint, found.quantity): bool(found.violations) for found in findings}

    def left(one: Left, short: float) -> JsonObject:
        return {
            "swing_before": one.raw,
            "swing_after": one.shaped,
            "predicted": one.predicted,
            "worst_in_range": one.worst,
            "delays_rounded": short,
        }

    def peak(level: str, j: int) -> JsonObject:
        bound = None if limits is None else limits.bounds[j].get(NAMES[level])
        return {
            "joint": recording.joints[j],
            "quantity": NAMES[level],
            "before": float(done.peaks_before[level].values[j]),
            "after": float(done.peaks_after[level].values[j]),
            "limit": None if bound is None else {"lower": bound.lower, "upper": bound.upper, "source": bound.source},
            "violated": None if bound is None else violated[recording.joints[j], NAMES[level]],
        }

    return {
        "source": recording.source,
        "samples": recording.positions.shape[0],
        "duration_s": float(done.raw.duration_s),
        "samples_out": done.recording.positions.shape[0],
        "outputs": [target],
        "shaper": {
            "name": options.shaper,
            "weight": options.weight,
            "transition_s": options.transition_s,
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
        "peaks_beside": [peak(level, j) for level in NAMES for j in range(len(recording.joints))],
        "warnings": list(done.warnings),
    }


def _figure(done: Shaped, report: JsonObject, tolerance: float) -> Figure:
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
        Line(_how(report), frequencies, left, True),
    ]
    title = f"What is left after {report['source']}, shaped by {_how(report)}"
    return draw_left(swings, curves, bands, tolerance, title)


def _write_report(
    ctx: click.Context,
    recording: Recording,
    done: Shaped,
    report: JsonObject,
    limits: JointLimits | None,
    values: dict[str, Any],
) -> None:
    from velmora.tools.commands.drawing import bounds_of
    from velmora.tools.report.data import Section, Table
    from velmora.tools.report.vibration_pictures import png

    left = Section(
        "What is left of the vibration",
        _lines(report)[1].strip(),
        table=Table(LEFT_HEAD, tuple(tuple(row) for row in _left_rows(report))),
        picture=png(_figure(done, report, values["tolerance"])),
        picture_description="Swing of every mode after the raw and the shaped move, and what is left over frequency",
    )
    peaks = Section(
        "Peaks before and after",
        table=Table(PEAK_HEAD, tuple(tuple(row) for row in _peak_rows(report))),
    )
    data = shared.report_data(
        ctx,
        recording,
        done.raw,
        done.trajectory,
        sections=(left, peaks),
        notes=done.warnings,
        work="shaping",
        limits={} if limits is None else bounds_of(limits),
    )
    shared.write_report(data, values["report"], values["force"])
