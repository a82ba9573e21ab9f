# SPDX-License-Identifier: Apache-2.0
"""Puts a recording onto a regular time grid whose size is known before it is made."""

from __future__ import annotations

import math
from dataclasses import dataclass, replace
from typing import Literal

import numpy as np
from numpy.typing import NDArray

import velmora as vm
from velmora.tools.errors import DataError, UsageError
from velmora.tools.operations.finite import all_finite
from velmora.tools.operations.gaps import Gaps, find_gaps, refuse_gaps, split
from velmora.tools.operations.on_grid import Joints, OnGrid, Run, put_on_grid
from velmora.tools.operations.peaks import Peaks
from velmora.tools.recording import Note, Recording, Stamps
from velmora.tools.text import count, size_text

Method = Literal["linear", "cubic"]
GapTreatment = Literal["bridge", "split", "error"]
GridMode = Literal["exact_dt_append_endpoint", "exact_dt_trim", "exact_duration_adjust_dt", "exact_dt_extend_endpoint"]
MAX_SAMPLES = 100_000_000
QUANTITIES = ("positions", "velocities", "accelerations", "jerks")
DEFAULT_COLUMNS = QUANTITIES[:3]
NANOSECONDS = 1_000_000_000


@dataclass(frozen=True)
class ResampleOptions:
    """Which grid, how to get onto it, and what to give out.

    One of `sample_time_s`, `rate_hz` and `samples` is set.
    """

    sample_time_s: float | None = None
    rate_hz: float | None = None
    samples: int | None = None
    method: Method = "cubic"
    grid: GridMode = "exact_dt_append_endpoint"
    strict: bool = False
    columns: tuple[str, ...] = DEFAULT_COLUMNS
    gaps: GapTreatment = "bridge"
    max_gap_s: float | None = None
    max_samples: int = MAX_SAMPLES


@dataclass(frozen=True)
class Grid:
    """The size of a grid before it is made."""

    samples: float  # a float, since it may be far beyond any integer type
    bytes: float


@dataclass(frozen=True)
class Resampled:
    """A recording on its new grid, and what is worth telling about it.

    Attributes
    ----------
    recording
        The quantities that were asked for, each joint's samples together in memory.
    time_s
        The grid, in seconds after the first sample, shape (M,).
    peaks
        The peaks of velocity, acceleration and jerk, where they were asked for.
    """

    recording: Recording
    time_s: NDArray[np.float64]
    peaks: dict[str, Peaks] | None
    gaps: Gaps
    warnings: tuple[str, ...]


def trajectory_of(recording: Recording) -> vm.JointTrajectory:
    """The library's trajectory of a checked recording, with times from its first sample on."""
    assert recording.stamps is not None
    return vm.JointTrajectory(
        recording.positions,
        velocities=recording.velocities,
        accelerations=recording.accelerations,
        time=recording.stamps.seconds(),
        jerks=recording.jerks,
    )


def grid_size(duration_s: float, joints: int, options: ResampleOptions) -> Grid:
    """How many samples the grid will have at most, and the memory of what will be computed on it."""
    if options.samples is not None:
        samples = float(options.samples)
    else:
        samples = _samples_of(duration_s / spacing_s(options), options.grid)
    levels = max(QUANTITIES.index(column) for column in options.columns) + 1 if options.columns else 1
    if options.method == "cubic":
        levels = max(levels, 3)
    return Grid(samples, samples * 8.0 * (1 + joints * levels))


def _samples_of(steps: float, grid: str) -> float:
    """The entries of a grid over so many steps, not a whole number; with an appended end point at most so many."""
    if steps == 0.0 or not math.isfinite(steps):
        return 1.0 if steps == 0.0 else math.inf
    if grid == "exact_duration_adjust_dt":
        return max(float(round(steps)), 1.0) + 1.0
    if grid == "exact_dt_extend_endpoint":
        return float(math.ceil(steps)) + 1.0
    return float(math.floor(steps)) + (1.0 if grid == "exact_dt_trim" else 2.0)


def spacing_s(options: ResampleOptions) -> float:
    """The requested spacing in seconds."""
    if options.sample_time_s is not None:
        return options.sample_time_s
    assert options.rate_hz is not None
    return 1.0 / options.rate_hz


def resample(
    recording: Recording, options: ResampleOptions, *, also: tuple[str, ...] = (), with_peaks: bool = False
) -> list[Resampled]:
    """Resample a checked recording; one result, or one for every piece with `gaps="split"`.

    The cubic path falls back to linear interpolation where the spline fails, unless `strict`; the warnings say so.

    Parameters
    ----------
    also
        Quantities to give besides the columns of the options; these may hold values that are not finite.
    with_peaks
        Whether the peaks of the derivatives are wanted.

    Raises
    ------
    UsageError
        Where the grid would have more than `max_samples` samples, before anything of it is allocated.
    DataError
        Where there are gaps with `gaps="error"`, the spline fails with `strict`, or a result is not finite.
    """
    return resample_from([recording], options, also=also, with_peaks=with_peaks)


def resample_from(
    held: list[Recording], options: ResampleOptions, *, also: tuple[str, ...] = (), with_peaks: bool = False
) -> list[Resampled]:
    """As `resample`, of the one recording in a list, which is left empty: its memory is free for the result then."""
    wanted = tuple(quantity for quantity in QUANTITIES if quantity in options.columns or quantity in also)
    recording = held.pop()
    assert recording.stamps is not None
    gaps = find_gaps(recording.stamps.seconds(), options.max_gap_s)
    if len(gaps) == 0 or options.gaps == "bridge":
        held.append(recording)
        del recording
        return [_resample_piece(held, options, wanted, gaps, with_peaks)]
    if options.gaps == "error":
        refuse_gaps(recording, gaps)
    none = find_gaps(np.empty(0))
    return [_resample_piece([piece], options, wanted, none, with_peaks) for piece in split(recording, gaps)]


def _resample_piece(
    held: list[Recording], options: ResampleOptions, wanted: tuple[str, ...], gaps: Gaps, with_peaks: bool
) -> Resampled:
    recording = held.pop()
    assert recording.stamps is not None
    span_s = recording.stamps.seconds()[[0, -1]]
    grid = _bounded_grid(recording, float(span_s[1] - span_s[0]), options)
    warnings = []
    if len(gaps) > 0:
        longest = int(np.argmax(gaps.ends_s - gaps.starts_s))
        warnings.append(
            f"{recording.source}:{recording.rows[gaps.before[longest] + 1]}: {count(len(gaps), 'gap')} bridged, the "
            f"longest of {gaps.ends_s[longest] - gaps.starts_s[longest]:.6g} s after {gaps.starts_s[longest]:.6g} s; "
            f"no step over {gaps.threshold_s:.6g} s was expected; --gaps split or error, --max-gap"
        )
    joints = Joints(recording, grid.samples)
    one_sample = len(recording.positions) == 1 and options.method == "cubic"
    if one_sample and options.strict:
        raise DataError(f"{recording.source}: one sample; a cubic spline takes two; without --strict it is held")
    recording = _without_values(recording)
    on_grid = _on_grid(recording.source, joints, options, wanted, with_peaks)
    if one_sample:
        warnings.append(
            f"{recording.source}: one sample, which is held; a cubic spline takes two; --strict makes this an error"
        )
    elif on_grid.failure is not None:
        warnings.append(
            f"{recording.source}: LINEAR INSTEAD OF CUBIC: the spline fails: {on_grid.failure} A cubic spline was "
            "expected; --strict makes this an error"
        )
    _refuse_overflow(recording, on_grid, options.columns)
    result = replace(
        recording,
        stamps=stamps_from(recording, on_grid.time_s),
        positions=on_grid.values["positions"],
        velocities=on_grid.values.get("velocities"),
        accelerations=on_grid.values.get("accelerations"),
        jerks=on_grid.values.get("jerks"),
        rows=np.arange(1, len(on_grid.time_s) + 1),
        notes=(*recording.notes, Note("resampled", _described(options, one_sample, on_grid.failure is not None))),
    )
    return Resampled(result, on_grid.time_s, on_grid.peaks, gaps, tuple(warnings))


def _without_values(recording: Recording) -> Recording:
    """What is to be known of a recording when its samples are gone: names, notes, and the first time."""
    assert recording.stamps is not None
    return replace(
        recording,
        stamps=Stamps(recording.stamps.values[:1].copy(), recording.stamps.unit),
        positions=np.empty((0, len(recording.joints))),
        velocities=None,
        accelerations=None,
        jerks=None,
        efforts=None,
        rows=np.empty(0, np.int64),
        missing=None,
    )


def _bounded_grid(recording: Recording, duration_s: float, options: ResampleOptions) -> Grid:
    grid = grid_size(duration_s, len(recording.joints), options)
    if grid.samples > options.max_samples:
        raise UsageError(
            f"{recording.source}: the grid would have {_many(grid.samples)} samples and take "
            f"{size_text(grid.bytes)}; at most {options.max_samples:,} were expected; choose a longer --sample-time, "
            "or raise --max-samples"
        )
    return grid


def _on_grid(
    source: str, joints: Joints, options: ResampleOptions, wanted: tuple[str, ...], with_peaks: bool
) -> OnGrid:
    def run(method: Method) -> Run:
        samples = options.samples
        if samples is not None:
            return lambda joint: joint.resample(samples=samples, method=method, strict_cubic=True)
        return lambda joint: vm.resample_trajectory(joint, spacing_s(options), method, options.grid, True)

    cubic = run("cubic") if options.method == "cubic" else None
    linear = run("linear") if not (options.method == "cubic" and options.strict) else None
    try:
        return put_on_grid(joints, cubic, linear, wanted, with_peaks)
    except vm.InvalidArgumentError as error:
        raise DataError(f"{source}: {error}") from error


def _refuse_overflow(recording: Recording, on_grid: OnGrid, columns: tuple[str, ...]) -> None:
    for column in columns:
        array = on_grid.values[column]
        if not all_finite(array):
            sample, joint = (int(index[0]) for index in np.nonzero(~np.isfinite(array)))
            raise DataError(
                f"{recording.source}: the {column} of '{recording.joints[joint]}' are not finite at "
                f"{on_grid.time_s[sample]:.6g} s; finite values were expected; the positions are too large for their "
                "derivatives, --columns positions leaves these out"
            )


def stamps_from(recording: Recording, grid_s: NDArray[np.float64]) -> Stamps:
    """The times of the grid with the origin of the recording."""
    assert recording.stamps is not None
    origin = recording.stamps.origin
    if isinstance(origin, int):
        stamps: NDArray[np.int64] | NDArray[np.float64] = np.rint(grid_s * NANOSECONDS).astype(np.int64) + origin
        finest = "a nanosecond"
    else:
        stamps = grid_s + origin if origin != 0.0 else grid_s
        finest = "what a double of seconds can tell apart here"
    if len(stamps) > 1 and not (stamps[1:] > stamps[:-1]).all():
        raise UsageError(
            f"{recording.source}: the new samples are closer than {finest}; a longer --sample-time was expected"
        )
    return Stamps(stamps, recording.stamps.unit)


def _described(options: ResampleOptions, one_sample: bool, fell_back: bool) -> str:
    method = "held" if one_sample else "linear (the cubic spline failed)" if fell_back else options.method
    if options.samples is not None:
        span = "in each piece" if options.gaps == "split" else "over the whole span"
        return f"{method}, {count(options.samples, 'sample')} {span}"
    return f"{method}, {options.grid}, sample time {spacing_s(options)!r} s"


def _many(samples: float) -> str:
    return f"{int(samples):,}" if samples < 1e15 else f"{samples:.3g}"
