# SPDX-License-Identifier: Apache-2.0
"""velmora identify: the vibration modes in a recording, and how well they are known."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import click
import numpy as np

from velmora.tools.batch.tasks import JsonObject
from velmora.tools.commands import common, reading
from velmora.tools.commands import vibration_options as shared
from velmora.tools.commands.declare import FiniteRange
from velmora.tools.recording import Recording
from velmora.tools.text import table

if TYPE_CHECKING:
    from matplotlib.figure import Figure

    from velmora.identify import Estimate, Identification


@click.command(
    epilog="""\b
Examples:
  velmora identify ringdown.csv
  velmora identify move_and_rest.csv --from 1.2 --plot modes.png
  velmora identify accelerometer.csv --max-frequency 80 --json

Encoder positions or an accelerometer's values serve alike. The exit code is 1 where the data do not support a mode.
"""
)
@click.argument("file", metavar="FILE")
@click.option(
    "--from",
    "start_s",
    type=float,
    metavar="S",
    help="Where the free decay begins, in seconds from the first sample; found otherwise.",
)
@click.option(
    "--to",
    "end_s",
    type=float,
    metavar="S",
    help="Where it ends, counted likewise; at the end of the file otherwise.",
)
@click.option("--max-modes", type=click.IntRange(1, 10), default=4, show_default=True, help="Most modes to look for.")
@click.option("--min-frequency", type=FiniteRange(0.0), default=0.0, metavar="HZ", help="Leave out slower modes.")
@click.option(
    "--max-frequency", type=FiniteRange(0.0, min_open=True), default=200.0, metavar="HZ", help="And faster ones."
)
@shared.picture_options
@common.json_option
@reading.reading_options
@reading.mending_options
@click.pass_context
def command(ctx: click.Context, /, **values: Any) -> int:
    """Find the vibration modes in a ring-down, or in a recording that ends with one.

    Frequencies, damping ratios and amplitudes come with 95 % intervals. Uneven time stamps, offsets and creep are fine.
    """
    shared.refuse_outputs(values)
    recording = shared.read_one(values["file"], values)
    found = shared.identified(
        recording,
        max_modes=values["max_modes"],
        frequency_range_hz=(values["min_frequency"], values["max_frequency"]),
        start_s=values["start_s"],
        end_s=values["end_s"],
    )
    if values["as_json"]:
        shared.print_json(ctx, _object(recording, found))
    else:
        common.show(_lines(recording, found))
    if values["plot"] is not None:
        shared.write_picture(_figure(recording, found), values["plot"], values["force"])
    if values["report"] is not None:
        _write_report(ctx, recording, found, values)
    return 0


def _strongest_joint(found: Identification) -> int:
    """The joint in which the modes together stand out most."""
    return int(np.argmax(np.sum([[a.value for a in mode.amplitudes] for mode in found.modes], axis=0)))


def _rows(recording: Recording, found: Identification) -> list[list[str]]:
    rows = []
    for index, mode in enumerate(found.modes):
        joint = int(np.argmax([a.value for a in mode.amplitudes]))
        rows.append(
            [
                f"mode {index + 1}",
                f"{_with_half(mode.frequency_hz)} Hz",
                _with_half(mode.damping_ratio),
                f"{_with_half(mode.amplitudes[joint])} in {recording.joints[joint]}",
                f"--mode {mode.frequency_hz.value:.5g}:{mode.damping_ratio.value:.3g}",
            ]
        )
    return rows


def _with_half(estimate: Estimate) -> str:
    """The value and half its interval, with two digits of the latter."""
    half = max(estimate.high - estimate.value, 0.0)
    if half == 0.0:
        return f"{estimate.value:.6g}"
    digits = min(12, max(0, 1 - int(np.floor(np.log10(half)))))
    return f"{estimate.value:.{digits}f} +- {half:.{digits}f}"


HEAD = ("", "frequency", "damping ratio", "amplitude", "for further commands")


def _lines(recording: Recording, found: Identification) -> list[str]:
    resampled = ", uneven stamps" if found.resampled else ""
    return [
        recording.source,
        f"  free decay from {found.start_s:.4g} s to {found.end_s:.4g} s: {found.sample_count} samples at "
        f"{found.sample_rate_hz:.6g} Hz{resampled}",
        *table(HEAD, _rows(recording, found)),
        f"  The fit explains {100.0 * found.explained:.4g} % of the variance; +- are half widths of 95 % intervals.",
    ]


def _object(recording: Recording, found: Identification) -> JsonObject:
    def interval(estimate: Estimate) -> JsonObject:
        return {"value": estimate.value, "low": estimate.low, "high": estimate.high}

    return {
        "source": recording.source,
        "start_s": found.start_s,
        "end_s": found.end_s,
        "samples": found.sample_count,
        "rate_hz": found.sample_rate_hz,
        "resampled": found.resampled,
        "explained": found.explained,
        "modes": [
            {
                "frequency_hz": interval(mode.frequency_hz),
                "damping_ratio": interval(mode.damping_ratio),
                "amplitudes": {joint: interval(a) for joint, a in zip(recording.joints, mode.amplitudes, strict=True)},
            }
            for mode in found.modes
        ],
    }


def _figure(recording: Recording, found: Identification) -> Figure:
    from velmora.tools.report.vibration_pictures import Band, Line, draw_ring_down

    assert recording.stamps is not None
    joint = _strongest_joint(found)
    times = recording.stamps.seconds()
    inside = (times >= found.start_s) & (times <= found.end_s)
    fine = np.linspace(found.start_s, found.end_s, 4000)
    count = int(np.count_nonzero(inside))
    even = np.linspace(found.start_s, found.end_s, count)
    decay = np.interp(even, times, recording.positions[:, joint])
    density = np.abs(
        np.fft.rfft((decay - decay[-max(1, count // 4) :].mean()) * np.hanning(2 * count)[count:], 4 * count)
    )
    step_s = (found.end_s - found.start_s) / (count - 1)
    frequencies = np.fft.rfftfreq(4 * count, step_s).astype(np.float64)
    shown = frequencies <= min(frequencies[-1], 3.0 * found.modes[-1].frequency_hz.value)
    return draw_ring_down(
        times,
        recording.positions[:, joint],
        Line("fit", fine, found.evaluate(fine)[:, joint]),
        Line("spectrum", frequencies[shown], density[shown] / density.max()),
        [Band(m.frequency_hz.value, m.frequency_hz.low, m.frequency_hz.high) for m in found.modes],
        f"{recording.source}: {recording.joints[joint]}",
    )


def _write_report(ctx: click.Context, recording: Recording, found: Identification, values: dict[str, Any]) -> None:
    from velmora.tools.operations.resample import trajectory_of
    from velmora.tools.report.data import Section, Table
    from velmora.tools.report.vibration_pictures import png

    section = Section(
        "Vibration",
        " ".join(line.strip() for line in _lines(recording, found)[1 :: len(found.modes) + 2]),
        table=Table(HEAD, tuple(tuple(row) for row in _rows(recording, found))),
        picture=png(_figure(recording, found)),
        picture_description="The free decay beside its fit, and its spectrum with the modes",
    )
    data = shared.report_data(
        ctx, recording, trajectory_of(recording), None, sections=(section,), work="identification"
    )
    shared.write_report(data, values["report"], values["force"])
