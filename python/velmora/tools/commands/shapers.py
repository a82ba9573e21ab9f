# SPDX-License-Identifier: Apache-2.0
"""velmora shapers: all input shapers for the modes of a machine, and which of them to take."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import click
import numpy as np

from velmora.tools.batch.tasks import JsonObject
from velmora.tools.commands import common, reading
from velmora.tools.commands import vibration_options as shared
from velmora.tools.commands.declare import FiniteRange
from velmora.tools.text import table

if TYPE_CHECKING:
    from matplotlib.figure import Figure

    from velmora.tools.operations.shaper_choice import Answer, Designed, Unshaped
    from velmora.tools.operations.vibration import KnownMode


@click.command(
    epilog="""\b
Examples:
  velmora shapers --mode 5:0.02
  velmora shapers --mode 5:0.02 --mode 12:0.05 --plot shapers.png
  velmora shapers --mode 5:0.02 --range 4.5:5.5 --tolerance 0.02
  velmora shapers --measured ringdown.csv --move-time 0.8 --json
"""
)
@shared.mode_options
@shared.tolerance_option
@click.option(
    "--move-time",
    type=FiniteRange(0.001, 1000.0),
    default=0.5,
    show_default=True,
    metavar="S",
    help="Duration of a move, to tell what making it longer would do instead.",
)
@shared.picture_options
@common.json_option
@reading.reading_options
@reading.mending_options
@click.pass_context
def command(ctx: click.Context, /, **values: Any) -> int:
    """Compare all shapers for the modes of a machine, and name a fast, a balanced and a safe one.

    The added time, the lag, what is left where the machine differs from the design, and the path deviation of each.
    """
    from velmora.tools.operations.shaper_choice import answers, compare, without_a_shaper

    shared.refuse_outputs(values)
    known = shared.known_modes(values)
    designs, missing = compare(known, values["tolerance"])
    chosen = answers(known, designs, values["tolerance"])
    unshaped = without_a_shaper(known, chosen, values["move_time"])
    for name, reason in missing.items():
        common.warn(f"warning: {name}: {reason}")
    if values["as_json"]:
        shared.print_json(ctx, _object(known, designs, missing, chosen, unshaped))
    else:
        common.show(_lines(known, designs, chosen, unshaped))
    if values["plot"] is not None:
        shared.write_picture(_figure(known, designs, chosen, values["tolerance"]), values["plot"], values["force"])
    if values["report"] is not None:
        _write_report(ctx, known, designs, chosen, unshaped, values)
    return 0


HEAD = ("shaper", "time", "lag", "-20 %", "-10 %", "-5 %", "0", "+5 %", "+10 %", "+20 %", "width", "path per m/s2")


def _rows(designs: list[Designed]) -> list[list[str]]:
    return [
        [
            d.name,
            f"{1e3 * d.sequence.duration_s:.1f} ms",
            f"{1e3 * d.sequence.centroid_s:.1f} ms",
            *(f"{100.0 * residual:.1f}" for residual in d.residuals),
            f"{d.insensitivity:.3f}",
            f"{1e3 * abs(d.path_deviation_s2):.3f} mm",
        ]
        for d in designs
    ]


def _answer_lines(chosen: list[Answer], unshaped: Unshaped) -> list[str]:
    lines = []
    for answer in chosen:
        d = answer.designed
        lines += [
            f"  {answer.name + ':':10}{d.name}, {1e3 * d.sequence.duration_s:.1f} ms more: {answer.reason};",
            f"  {'':10}a {unshaped.move_s:g} s move made as much longer instead would leave "
            f"{100 * unshaped.stretched[answer.name]:.3g} %",
            f"  {'':10}velmora shape FILE {answer.options} -o OUT",
        ]
    return lines


def _lines(
    known: tuple[KnownMode, ...], designs: list[Designed], chosen: list[Answer], unshaped: Unshaped
) -> list[str]:
    return [
        *(f"mode {k.text()} ({k.origin}; {k.low_hz:.5g} to {k.high_hz:.5g} Hz)" for k in known),
        "",
        *table(HEAD, _rows(designs), indent=""),
        "",
        "Columns -20 % to +20 %: % of the vibration left where the frequency is off by so much; width: relative band",
        "of frequencies within the tolerance; path: distance from the delayed path per unit of acceleration.",
        "um_*: negative impulses, which may exceed the limits that the move keeps; never recommended.",
        "",
        *_answer_lines(chosen, unshaped),
        f"  {'nothing:':10}100 %, {unshaped.nothing:.3g} of the distance for a {unshaped.move_s:g} s move",
    ]


def _object(
    known: tuple[KnownMode, ...],
    designs: list[Designed],
    missing: dict[str, str],
    chosen: list[Answer],
    unshaped: Unshaped,
) -> JsonObject:
    from velmora.tools.operations.shaper_choice import SHIFTS

    def described(d: Designed) -> JsonObject:
        return {
            "name": d.name,
            "times_s": d.sequence.times_s.tolist(),
            "amplitudes": d.sequence.amplitudes.tolist(),
            "added_s": d.sequence.duration_s,
            "lag_s": d.sequence.centroid_s,
            "residuals": [{"shift": s, "residual": r} for s, r in zip(SHIFTS, d.residuals, strict=True)],
            "worst": d.worst,
            "insensitivity": d.insensitivity,
            "path_deviation_s2": d.path_deviation_s2,
        }

    return {
        "modes": shared.mode_objects(known),
        "shapers": [described(d) for d in designs],
        "missing": [{"name": name, "reason": reason} for name, reason in missing.items()],
        "answers": {
            a.name: {
                "reason": a.reason,
                "options": a.options,
                "stretched_instead": unshaped.stretched[a.name],
                **described(a.designed),
            }
            for a in chosen
        },
        "nothing": {"move_s": unshaped.move_s, "residual": 1.0, "amplitude": unshaped.nothing},
    }


def _figure(known: tuple[KnownMode, ...], designs: list[Designed], chosen: list[Answer], tolerance: float) -> Figure:
    from velmora.tools.operations.vibration import sensitivity
    from velmora.tools.report.vibration_pictures import Band, Line, draw_designs

    # An answer may be a sequence of its own, which the table does not hold.
    shown: list[Designed] = []
    for d in [*designs, *(answer.designed for answer in chosen)]:
        if not any(d.sequence == other.sequence for other in shown):
            shown.append(d)
    answers = [", ".join(a.name for a in chosen if a.designed.sequence == d.sequence) for d in shown]
    frequencies, left = sensitivity([d.sequence for d in shown], known)
    lines = [
        Line(f"{d.name}: {answer}" if answer else d.name, frequencies, one, bool(answer))
        for d, one, answer in zip(shown, left, answers, strict=True)
    ]
    points = [
        (d.name, d.sequence.duration_s, _worst(d, known), answer) for d, answer in zip(shown, answers, strict=True)
    ]
    return draw_designs(lines, points, [Band(k.mode.frequency_hz, k.low_hz, k.high_hz) for k in known], tolerance)


def _worst(d: Designed, known: tuple[KnownMode, ...]) -> float:
    from velmora.tools.operations.vibration import residual_at

    return max(residual_at(d.sequence, known, shift) for shift in np.linspace(-0.2, 0.2, 41))


def _write_report(
    ctx: click.Context,
    known: tuple[KnownMode, ...],
    designs: list[Designed],
    chosen: list[Answer],
    unshaped: Unshaped,
    values: dict[str, Any],
) -> None:
    import velmora
    from velmora.tools.recording import Layout, Recording, Stamps
    from velmora.tools.report.data import Section, Table
    from velmora.tools.report.vibration_pictures import png

    section = Section(
        "Shapers",
        "\n".join(line.strip() for line in _answer_lines(chosen, unshaped)),
        table=Table(HEAD, tuple(tuple(row) for row in _rows(designs))),
        picture=png(_figure(known, designs, chosen, values["tolerance"])),
        picture_description="What every shaper leaves over frequency, and its added time",
    )
    # A report is about a recording: the ring-down, or the move that the comparison assumes.
    if values["measured"] is not None:
        recording = shared.read_one(values["measured"], values)
    else:
        times = np.linspace(0.0, unshaped.move_s, 201)
        ramp = velmora.smootherstep(times / unshaped.move_s)[:, None]
        rows = np.arange(1, 202)
        recording = Recording(
            "assumed move", ("joint",), Stamps(times), ramp, None, None, None, None, rows, None, (), Layout("")
        )
    from velmora.tools.operations.resample import trajectory_of

    data = shared.report_data(ctx, recording, trajectory_of(recording), None, sections=(section,), work="comparison")
    shared.write_report(data, values["report"], values["force"])
