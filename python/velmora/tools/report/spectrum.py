# SPDX-License-Identifier: Apache-2.0
"""Amplitude spectral density of the jerk: where in frequency a trajectory excites the arm.

Averaged periodograms of overlapping segments under a Hann window (P. D. Welch, IEEE Trans. Audio Electroacoust. 15 (2),
1967). Segments do not reach across gaps; uneven samples are interpolated linearly onto their median step first.
"""

from __future__ import annotations

import numpy as np
from numpy.typing import NDArray

from velmora.tools.report.data import Curve, Plot, ReportData, Track, unit_of

LONGEST = 4096  # samples of a segment
SHORTEST = 64
BINS = 320  # points of a curve: the largest value of each of so many intervals of equal ratio


def jerk_spectrum(data: ReportData, joints: tuple[int, ...]) -> Plot | None:
    """Spectrum of the jerk of some joints before and after, or None where no track has jerks and samples enough."""
    curves: list[Curve] = []
    for name, track in data.tracks():
        if "jerks" not in track.values:
            continue
        steps = np.diff(track.times)
        step_s = float(np.median(steps)) if len(steps) else 0.0
        even = bool((np.abs(np.delete(steps, track.gaps) - step_s) <= 1e-3 * step_s).all())
        for joint in joints:
            found = _density(track, joint, step_s, even)
            if found is not None:
                curves.append(Curve(data.joints[joint], found[0], found[1], joint, name))
    if not curves:
        return None
    unit = unit_of("jerks", data.unit)
    return Plot("frequency in Hz", f"jerk in {unit}/√Hz", tuple(curves), log_x=True, log_y=True)


@np.errstate(over="ignore", invalid="ignore")
def _density(
    track: Track, joint: int, step: float, even: bool
) -> tuple[NDArray[np.float64], NDArray[np.float64]] | None:
    times, jerk = track.times, np.ascontiguousarray(track.values["jerks"][:, joint])
    if len(times) < SHORTEST or not step > 0 or not np.isfinite(jerk).all():
        return None
    length = int(min(LONGEST, max(SHORTEST, 2 ** int(np.log2(len(times) / 4)))))
    window = np.hanning(length + 1)[:-1]
    power, segments = np.zeros(length // 2 + 1), 0
    first = 0
    for last in [*track.gaps.tolist(), len(times) - 1]:
        stretch = jerk[first : last + 1]
        if not even:
            stretch = _interpolated(times[first : last + 1], stretch, step)
        first = last + 1
        if len(stretch) < length:
            continue
        blocks = np.lib.stride_tricks.sliding_window_view(stretch, length)[:: length // 2]
        for start in range(0, len(blocks), 256):
            part = blocks[start : start + 256]
            spectra = np.fft.rfft((part - part.mean(axis=1, keepdims=True)) * window, axis=1)
            power += (spectra.real**2 + spectra.imag**2).sum(axis=0)
            segments += len(part)
    if segments == 0:
        return None
    density = np.sqrt(2 * step * power[1:] / (segments * np.square(window).sum()))
    if not np.isfinite(density).all():
        return None  # the square of the jerk overflows
    frequency = np.arange(1, length // 2 + 1) / (length * step)
    return _thinned(frequency, density)


def _interpolated(times: NDArray[np.float64], values: NDArray[np.float64], step: float) -> NDArray[np.float64]:
    """The values every `step` seconds."""
    count = int((times[-1] - times[0]) / step) + 1
    return np.asarray(np.interp(times[0] + step * np.arange(count), times, values))


def _thinned(
    frequency: NDArray[np.float64], density: NDArray[np.float64]
) -> tuple[NDArray[np.float64], NDArray[np.float64]]:
    """The largest value in each of `BINS` intervals of equal ratio, at the middle of the interval."""
    ratio = np.log(frequency / frequency[0]) / np.log(frequency[-1] / frequency[0])
    starts = np.unique(np.searchsorted(ratio, np.linspace(0, 1, BINS + 1)[:-1]))
    sizes = np.diff(starts, append=len(ratio))
    centres = np.sqrt(frequency[starts] * frequency[starts + sizes - 1])
    return centres, np.maximum.reduceat(density, starts)
