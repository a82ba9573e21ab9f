# SPDX-License-Identifier: Apache-2.0
"""All shaper designs for some modes side by side, and the three of them that a user should look at first."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np

from velmora import shaping
from velmora.tools.operations.vibration import (
    NAMES,
    NEGATIVE,
    TOLERANCE,
    KnownMode,
    amplitude,
    design,
    path_deviation_s2,
    residual_at,
    response,
    worst_residual,
)

SHIFTS = (-0.2, -0.1, -0.05, 0.0, 0.05, 0.1, 0.2)
# Answers, and by how much of its frequency a mode may leave what is known of it.
MARGINS = {"fast": 0.0, "balanced": 0.1, "safe": 0.2}
# A sequence of its own is asked for only where it saves this share of the time of a design that any controller knows.
WORTH_A_SEQUENCE = 0.05


@dataclass(frozen=True)
class Designed:
    """A shaper and what it does."""

    name: str
    sequence: shaping.ImpulseSequence
    residuals: tuple[float, ...]  # at `SHIFTS`
    worst: float  # over the frequencies at which the modes may lie
    insensitivity: float  # the least over the modes
    path_deviation_s2: float


@dataclass(frozen=True)
class Answer:
    """One of the three: its name, the shaper, and why."""

    name: str
    designed: Designed
    reason: str
    options: str  # of `velmora shape`, for this very sequence


@dataclass(frozen=True)
class Unshaped:
    """What a move along the quintic ramp leaves without a shaper: amplitudes as shares of the distance moved."""

    move_s: float
    nothing: float
    stretched: dict[str, float]  # by answer: the move made longer by the time of its shaper, relative to `nothing`


def compare(known: tuple[KnownMode, ...], tolerance: float = TOLERANCE) -> tuple[list[Designed], dict[str, str]]:
    """All designs in the order of their table, and why some are missing, by name."""
    found, missing = [], {}
    for name in NAMES:
        try:
            found.append(describe(name, design(name, known, tolerance), known, tolerance))
        except ValueError as error:
            missing[name] = str(error)
    return found, missing


def describe(
    name: str, sequence: shaping.ImpulseSequence, known: tuple[KnownMode, ...], tolerance: float = TOLERANCE
) -> Designed:
    """All figures of one shaper."""
    return Designed(
        name,
        sequence,
        tuple(residual_at(sequence, known, shift) for shift in SHIFTS),
        worst_residual(sequence, known),
        min(shaping.insensitivity(sequence, k.mode, tolerance).width for k in known),
        path_deviation_s2(sequence),
    )


def answers(known: tuple[KnownMode, ...], designs: list[Designed], tolerance: float = TOLERANCE) -> list[Answer]:
    """Fast, balanced and safe: each the shortest positive standard design that keeps the tolerance over its range.

    A sequence of its own takes its place where it saves `WORTH_A_SEQUENCE` of the time, or where no design keeps it.
    """
    return [_answer(name, known, designs, margin, tolerance) for name, margin in MARGINS.items()]


def _answer(
    name: str, known: tuple[KnownMode, ...], designs: list[Designed], margin: float, tolerance: float
) -> Answer:
    widened = tuple(k.widened(margin) for k in known)
    fit = [
        d
        for d in designs
        if d.name not in (*NEGATIVE, "si") and worst_residual(d.sequence, widened) <= tolerance * (1.0 + 1e-6)
    ]
    best = min(fit, key=lambda d: d.sequence.duration_s, default=None)
    try:
        own = describe("si", design("si", widened, tolerance), widened, tolerance)
    except ValueError:
        own = None
    if own is not None and (
        best is None or own.sequence.duration_s < (1.0 - WORTH_A_SEQUENCE) * best.sequence.duration_s
    ):
        best = own
    if best is None:
        best = max((d for d in designs if d.name not in NEGATIVE), key=lambda d: d.insensitivity)
    ranges = " and ".join(f"{k.low_hz:.5g} to {k.high_hz:.5g} Hz" for k in widened)
    worst = worst_residual(best.sequence, widened)
    known_how = ", ".join(dict.fromkeys(k.origin for k in known))
    beyond = "" if margin == 0.0 else f" and {margin * 100:.0f} % of drift on either side"
    if worst > tolerance * (1.0 + 1e-6):
        kept = "the widest there is, though it does not keep"
    elif best is own:
        kept = f"a sequence of its own, {'shorter than all standard designs that keep' if fit else 'which alone keeps'}"
    else:
        kept = "the shortest standard design that keeps"
    reason = (
        f"{kept} {tolerance * 100:g} % from {ranges} ({known_how}{beyond}); at most {worst * 100:.2g} % is left there"
    )
    if own is not None and own.sequence.duration_s < best.sequence.duration_s:
        saved_ms = 1e3 * (best.sequence.duration_s - own.sequence.duration_s)
        reason += f"; a sequence of its own would save no more than {saved_ms:.2g} ms"
    modes = " ".join(f"--mode {k.mode.frequency_hz:.6g}:{k.mode.damping_ratio:.4g}" for k in known)
    band = " ".join(f"--range {k.low_hz:.6g}:{k.high_hz:.6g}" for k in widened)
    options = f"{modes} {band} --shaper si" if best is own else f"{modes} --shaper {best.name}"
    if tolerance != TOLERANCE:
        options += f" --tolerance {tolerance:g}"
    return Answer(name, best, reason, options)


def without_a_shaper(known: tuple[KnownMode, ...], chosen: list[Answer], move_s: float) -> Unshaped:
    """What a move along the quintic ramp over `move_s` leaves, as it is and stretched by each answer's time.

    The residuals of a shaper are relative to doing nothing, so `nothing` is the scale of all.
    """
    nothing = ramp_residual(known, move_s)
    stretched = {
        answer.name: ramp_residual(known, move_s + answer.designed.sequence.duration_s) / nothing for answer in chosen
    }
    return Unshaped(move_s, nothing, stretched)


def ramp_residual(known: tuple[KnownMode, ...], move_s: float) -> float:
    """Amplitude that the modes keep at the end of a unit move along `smootherstep`, the sum over the modes."""
    return sum(_of_ramp(k.mode, move_s) for k in known)


def _of_ramp(mode: shaping.VibrationMode, move_s: float) -> float:
    w, z = 2.0 * np.pi * mode.frequency_hz, mode.damping_ratio
    if mode.frequency_hz * move_s >= 1.0:
        # The integral of exp(pole (move_s - s)) a(s) by parts; the derivatives of a at both ends are left. For slower
        # modes these terms cancel.
        pole = complex(-z * w, w * np.sqrt(1.0 - z * z))
        at_start, at_end = (0.0, 60.0, -360.0, 720.0), (0.0, 60.0, 360.0, 720.0)
        x = pole * move_s
        total = sum((a * np.exp(x) - b) / x ** (k + 1) for k, (a, b) in enumerate(zip(at_start, at_end, strict=True)))
        return float(np.abs(total) / (move_s * pole.imag))
    times = np.linspace(0.0, move_s, 2000)
    u = times / move_s
    positions = (u**3 * (10.0 + u * (-15.0 + 6.0 * u)))[:, None]
    velocities = (30.0 * u**2 * (1.0 - u) ** 2 / move_s)[:, None]
    return float(amplitude(response(times, positions, velocities, mode), mode, times[1])[0])
