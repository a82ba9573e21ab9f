# SPDX-License-Identifier: Apache-2.0
"""Holds what is left of a vibration after shaping against what was predicted, from a recording before and one after."""

from __future__ import annotations

from dataclasses import dataclass

import numpy as np
from numpy.typing import NDArray

from velmora import shaping
from velmora._damped_sinusoids import Poles, basis, project
from velmora.identify import Identification, IdentificationError, identify_modes
from velmora.tools.errors import DataError
from velmora.tools.operations.vibration import KnownMode
from velmora.tools.recording import Recording

Array = NDArray[np.float64]

# A measured mode this far from the one that was designed for is another one.
SAME_MODE = 0.25
# Differences of shares below this come from the sampling of the recordings, not from the shaper.
RESOLUTION = 0.01
# Where nothing swings, the amplitude that noise feigns follows Rayleigh's distribution: in standard deviations of its
# two parts, 95 % of it lie below.
NOISE_FLOOR = float(np.sqrt(-2.0 * np.log(0.05)))


@dataclass(frozen=True)
class Verified:
    """One mode: amplitudes at the end of the raw and of the shaped move, and the share that is left."""

    designed: KnownMode
    measured: shaping.VibrationMode  # in the recording before
    joint: int
    before: float
    after: float
    share: float
    low: float  # ends of the 95 % interval of the share
    high: float
    predicted: float

    @property
    def as_predicted(self) -> bool:
        """Whether the prediction lies in the interval, up to `RESOLUTION`."""
        return self.low - RESOLUTION <= self.predicted <= self.high + RESOLUTION


@dataclass(frozen=True)
class Verification:
    """All modes, and the vibration of the joint that swings most in both recordings, for a picture."""

    modes: tuple[Verified, ...]
    absent: tuple[KnownMode, ...]  # of which the recording before holds nothing
    from_s: tuple[float, float]
    times_s: tuple[Array, Array]
    swings: tuple[Array, Array]

    @property
    def as_predicted(self) -> bool:
        """Whether every mode was there, and what is left of it is as predicted."""
        return not self.absent and all(mode.as_predicted for mode in self.modes)


def verify(
    before: Recording,
    after: Recording,
    known: tuple[KnownMode, ...],
    sequence: shaping.ImpulseSequence,
    from_s: float | None = None,
) -> Verification:
    """Compare two checked recordings of the same move, both of which begin at the same moment of their command.

    Raises
    ------
    DataError
        Where a recording is too short after the move.
    IdentificationError
        Where the recording before holds no vibration, or none near to any of the modes.
    """
    assert before.stamps is not None and after.stamps is not None
    times = (before.stamps.seconds(), after.stamps.seconds())
    found = identify_modes(times[0], before.positions, start_s=from_s)
    # What a shaper leaves is defined at the end of its command, as a share of what the raw one leaves at its own end.
    starts = (found.start_s, found.start_s + sequence.duration_s)
    measured = _modes(found)
    pairs = _paired(known, measured)
    if not pairs:
        raise IdentificationError(
            "no_peak",
            f"There are vibrations at {', '.join(f'{mode.frequency_hz:.4g} Hz' for mode in measured)}, none of them "
            "near to a mode asked for.",
        )
    poles = _poles(measured)
    fits = [_fit(r, t, start, poles) for r, t, start in zip((before, after), times, starts, strict=True)]
    modes = []
    for place, index in sorted(pairs.items()):
        k, mode = known[place], measured[index]
        amplitudes, deviations = np.stack([_amplitudes(fit, index) for fit in fits], axis=1)
        joint = int(np.argmax(amplitudes[0]))
        share, low, high = _share(amplitudes[:, joint], deviations[:, joint])
        modes.append(
            Verified(
                k,
                mode,
                joint,
                float(amplitudes[0, joint]),
                float(amplitudes[1, joint]),
                share,
                low,
                high,
                shaping.residual_vibration(sequence, mode),
            )
        )
    absent = tuple(k for place, k in enumerate(known) if place not in pairs)
    joint = modes[0].joint
    swings = [r.positions[:, joint] - fit.offset[joint] for r, fit in zip((before, after), fits, strict=True)]
    return Verification(tuple(modes), absent, starts, times, (swings[0], swings[1]))


def _share(amplitudes: Array, deviations: Array) -> tuple[float, float, float]:
    """What is left of the amplitude before, with its 95 % interval; of each a value before and one after."""
    share = float(amplitudes[1] / amplitudes[0])
    half = 1.96 * float(np.hypot(deviations[1], share * deviations[0]) / amplitudes[0])
    low = max(0.0, share - half) if amplitudes[1] > NOISE_FLOOR * deviations[1] else 0.0
    return share, low, share + half


def _modes(found: Identification) -> list[shaping.VibrationMode]:
    return [shaping.VibrationMode(m.frequency_hz.value, min(m.damping_ratio.value, 0.99)) for m in found.modes]


def _paired(known: tuple[KnownMode, ...], measured: list[shaping.VibrationMode]) -> dict[int, int]:
    """Which measured mode belongs to which that is known, nearest pairs first; none serves two."""

    def distance(pair: tuple[int, int]) -> float:
        designed = known[pair[0]].mode.frequency_hz
        return abs(measured[pair[1]].frequency_hz - designed) / designed

    found: dict[int, int] = {}
    every = [(place, index) for place in range(len(known)) for index in range(len(measured))]
    for place, index in sorted(every, key=distance):
        if distance((place, index)) <= SAME_MODE and place not in found and index not in found.values():
            found[place] = index
    return found


def _poles(modes: list[shaping.VibrationMode]) -> Poles:
    """Of all that swings, asked for or not."""
    decays = np.array([2.0 * np.pi * mode.frequency_hz * mode.damping_ratio for mode in modes])
    return Poles(decays, np.array([2.0 * np.pi * mode.damped_frequency_hz for mode in modes]), np.empty(0))


@dataclass(frozen=True)
class _Decay:
    coefficients: Array
    covariance: Array  # of the coefficients for noise of 1
    noise: Array

    @property
    def offset(self) -> Array:
        return np.asarray(self.coefficients[-1], dtype=np.float64)


def _fit(recording: Recording, times_s: Array, start_s: float, poles: Poles) -> _Decay:
    inside = times_s >= start_s
    needed = 2 * poles.linear_count
    if np.count_nonzero(inside) < needed:
        raise DataError(
            f"{recording.source}: {np.count_nonzero(inside)} samples after {start_s:.4g} s; at least {needed} of the "
            "rest after the move were expected; record longer, or --from"
        )
    times = times_s[inside] - start_s
    found = project(times, recording.positions[inside], np.ones(recording.positions.shape[1]), poles)
    columns = basis(times, poles)
    noise: Array = np.sqrt(np.sum(found.residuals**2, axis=0) / max(1, times.size - poles.linear_count))
    covariance: Array = np.linalg.inv(columns.T @ columns).astype(np.float64)
    return _Decay(found.coefficients, covariance, noise)


def _amplitudes(fit: _Decay, index: int) -> Array:
    """Amplitudes and their standard deviations per joint: (2, J)."""
    n = (fit.coefficients.shape[0] - 1) // 2
    cosines, sines = fit.coefficients[index], fit.coefficients[n + index]
    sizes = np.hypot(cosines, sines)
    spread = np.sqrt(0.5 * (fit.covariance[index, index] + fit.covariance[n + index, n + index])) * fit.noise
    return np.stack([sizes, spread])
