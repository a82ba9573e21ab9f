# SPDX-License-Identifier: Apache-2.0
"""Shapes a recorded move for some modes, and says what that costs and what it leaves."""

from __future__ import annotations

from dataclasses import dataclass, replace
from typing import Literal

import numpy as np
from numpy.typing import NDArray

import velmora as vm
from velmora import shaping
from velmora.tools.operations.check import check
from velmora.tools.operations.limits import JointLimits
from velmora.tools.operations.peaks import Peaks, peaks
from velmora.tools.operations.resample import stamps_from, trajectory_of
from velmora.tools.operations.vibration import KnownMode, amplitude, response, rounded, worst_residual
from velmora.tools.recording import Recording

Array = NDArray[np.float64]

# At so many, an acceleration that jumps within a step moves an amplitude by less than a thousandth.
STEPS_PER_SWING = 40.0
# Simulated values of all joints, in a gigabyte or two; more only for a recording that is as large itself.
MOST_VALUES = 10_000_000
# Ends of a move that carry more than this share of its peak velocity or acceleration are not at rest.
AT_REST = 0.01
UNSHAPED = shaping.ImpulseSequence([0.0], [1.0])


@dataclass(frozen=True)
class ShapeOptions:
    """Which shaper, how much of it, and the period of the controller that will run it."""

    known: tuple[KnownMode, ...]
    shaper: str  # its name
    sequence: shaping.ImpulseSequence
    weight: float = 1.0
    period_s: float | None = None
    method: Literal["linear", "cubic"] = "cubic"
    transition_s: float | None = None  # the weight rises from 0 so long


@dataclass(frozen=True)
class Left:
    """What a command leaves of a mode, in the unit of the positions and as a share of the raw command's."""

    known: KnownMode
    raw: float
    shaped: float
    predicted: float  # the share by the sequence alone
    worst: float  # the same over the frequencies at which the mode may lie
    times_s: Array
    raw_swing: Array  # of the joint that swings most
    shaped_swing: Array


@dataclass(frozen=True)
class Shaped:
    """The shaped move and its report."""

    recording: Recording
    raw: vm.JointTrajectory  # with the derivatives of the interpolation that was shaped
    trajectory: vm.JointTrajectory
    sequence: shaping.ImpulseSequence  # that the blend amounts to
    added_s: float
    lag_s: float
    path_deviation: float
    peaks_before: dict[str, Peaks]
    peaks_after: dict[str, Peaks]
    left: tuple[Left, ...]
    period_s: float
    rounded: tuple[float, ...]  # residual per mode with the delays rounded to the period
    warnings: tuple[str, ...]


def shape(recording: Recording, options: ShapeOptions) -> Shaped:
    """Shape a checked recording: as long as before, and the tail until all copies have ended.

    Raises
    ------
    ValueError
        Where the spline fails, or a mode is too fast or too slow to be simulated over the move.
    """
    raw = trajectory_of(recording)
    sequence = options.sequence
    period = float(np.median(np.diff(raw.time))) if options.period_s is None else options.period_s
    tail_step = float(np.median(np.diff(raw.time)))
    # The spline has derivatives of its own: those given, or taken by differences, would not be what is shaped.
    alone, shaped = (
        shaping.shape_trajectory(raw, one, sample_time_s=tail_step, method=options.method)
        for one in (UNSHAPED, sequence)
    )
    interpolated = vm.JointTrajectory(raw.positions, alone.move.velocities, alone.move.accelerations, raw.time)
    blended = shaping.blend_shaped_trajectory(interpolated, shaped, options.weight, options.transition_s)
    whole = shaping.join_move_and_tail(blended)
    trajectory = vm.JointTrajectory(
        whole.positions, velocities=whole.velocities, accelerations=whole.accelerations, time=whole.time
    )
    effective = shaping.blended_sequence(sequence, options.weight)
    short = shaping.blended_sequence(rounded(sequence, period), options.weight)
    return Shaped(
        recording=_recording_of(recording, whole),
        raw=interpolated,
        trajectory=trajectory,
        sequence=effective,
        added_s=blended.added_duration_s,
        lag_s=effective.centroid_s,
        path_deviation=shaping.path_deviation(raw, blended),
        peaks_before=_peaks_before(interpolated, options.method),
        peaks_after=peaks(whole.time, whole.positions, whole.velocities, whole.accelerations),
        left=tuple(_left(k, raw, options, effective) for k in options.known),
        period_s=period,
        rounded=tuple(shaping.residual_vibration(short, k.mode) for k in options.known),
        warnings=_warnings(recording, blended, interpolated),
    )


def _peaks_before(raw: vm.JointTrajectory, method: str) -> dict[str, Peaks]:
    """The peaks of the interpolated command; copies take its velocity between samples too, where a spline may peak."""
    found = peaks(raw.time, raw.positions, raw.velocities, raw.accelerations)
    if method == "linear":
        return found
    # The acceleration runs linearly; where it crosses 0, the velocity has changed by the triangle up to there.
    start, end = raw.accelerations[:-1], raw.accelerations[1:]
    share = np.divide(start, start - end, out=np.zeros_like(start), where=start * end < 0.0)
    turning = raw.velocities[:-1] + 0.5 * start * share * np.diff(raw.time)[:, None]
    both = np.vstack([found["velocities"].values, turning])
    largest = both[np.argmax(np.abs(both), axis=0), np.arange(both.shape[1])]
    return {**found, "velocities": replace(found["velocities"], values=largest)}


def over_by_the_spline(
    recording: Recording, done: Shaped, options: ShapeOptions, limits: JointLimits
) -> tuple[str, ...]:
    """A warning where a shaped move goes over limits that its samples keep, and the spline between them is why."""
    if options.method == "linear" or options.transition_s or np.min(done.sequence.amplitudes) < 0.0:
        return ()
    # Copies with positive shares exceed no extreme of what they are copies of, so the spline does.
    before, after = (check(one, limits, guard_units=False).findings for one in (recording, done.recording))
    over = [
        f"{late.quantity} {late.joint}"
        for early, late in zip(before, after, strict=True)
        if late.violations and not early.violations and late.quantity != "jerk"
    ]
    if not over:
        return ()
    return (
        f"{recording.source}: the spline between the samples takes {', '.join(over)} over limits that the samples "
        "keep; a move without corners was expected; --method linear keeps the extremes of the samples",
    )


def _recording_of(recording: Recording, whole: vm.ShapedTrajectory) -> Recording:
    return replace(
        recording,
        stamps=stamps_from(recording, whole.time),
        positions=whole.positions,
        velocities=whole.velocities,
        accelerations=whole.accelerations,
        jerks=None,
        efforts=None,
        rows=np.arange(1, len(whole.time) + 1),
        missing=None,
    )


def _commands(
    raw: vm.JointTrajectory, options: ShapeOptions, times_s: Array
) -> tuple[vm.ShapedTrajectory, vm.ShapedTrajectory]:
    """The raw and the shaped command at any times: both of the same interpolation."""
    alone, copy = (
        shaping.shape_trajectory(raw, sequence, times_s=times_s, method=options.method)
        for sequence in (UNSHAPED, options.sequence)
    )
    move = alone.move
    interpolated = vm.JointTrajectory(move.positions, move.velocities, move.accelerations, move.time)
    blended = shaping.blend_shaped_trajectory(interpolated, copy, options.weight, options.transition_s)
    return shaping.join_move_and_tail(alone), shaping.join_move_and_tail(blended)


def _left(known: KnownMode, raw: vm.JointTrajectory, options: ShapeOptions, sequence: shaping.ImpulseSequence) -> Left:
    mode = known.mode
    end_s = float(raw.time[-1])
    longest = min(1.0 / (STEPS_PER_SWING * mode.frequency_hz), float(np.median(np.diff(raw.time))))
    # The end of the move is one of the times: a blend holds the raw command where its last sample is.
    steps_of_move = int(np.ceil(end_s / longest))
    step = end_s / steps_of_move
    lasts_s = end_s + options.sequence.duration_s
    steps = round((lasts_s + 3.0 / mode.frequency_hz) / step) + 1
    values, most = steps * raw.positions.shape[1], max(MOST_VALUES, 4 * raw.positions.size)
    if values > most:
        raise ValueError(
            f"to simulate a mode of {mode.frequency_hz:g} Hz over the {lasts_s:.4g} s of the shaped move takes "
            f"{values:,} values; at most {most:,} were expected; another --mode, or a shorter move"
        )
    times: Array = np.arange(steps, dtype=np.float64) * step
    times[steps_of_move] = end_s
    before, after = (
        response(times, command.positions, command.velocities, mode) for command in _commands(raw, options, times)
    )
    last_raw, last_shaped = amplitude(before, mode, step), amplitude(after, mode, step)
    joint = int(np.argmax(last_raw))
    # Back to the end of each command, where the residual is defined.
    rate = 2.0 * np.pi * mode.frequency_hz * mode.damping_ratio
    ends = (end_s, end_s + sequence.duration_s)
    growths = [float(np.exp(rate * (times[-1] - end))) for end in ends]
    return Left(
        known,
        float(last_raw[joint]) * growths[0],
        float(last_shaped[joint]) * growths[1],
        shaping.residual_vibration(sequence, mode),
        worst_residual(sequence, (known,)),
        times,
        before[:, joint],
        after[:, joint],
    )


def _warnings(recording: Recording, command: shaping.ShapedCommand, raw: vm.JointTrajectory) -> tuple[str, ...]:
    found = []
    fastest = float(np.max(np.abs(raw.velocities), initial=0.0))
    for where, velocity in (("start", command.start_velocity), ("end", command.end_velocity)):
        most = float(np.max(np.abs(velocity), initial=0.0))
        if most > AT_REST * fastest:
            found.append(
                f"{recording.source}: the move does not {where} at rest (velocity {most:.3g}); rest was expected; the "
                "shaper splits this step into smaller ones but does not remove it"
            )
    return tuple(found)
