# SPDX-License-Identifier: Apache-2.0
"""Makes a recording, which may hold anything, fit for the library: finite, with increasing times."""

from __future__ import annotations

from dataclasses import dataclass, replace
from typing import Literal

import numpy as np
from numpy.typing import NDArray

from velmora.tools.columns import says_length
from velmora.tools.errors import DataError
from velmora.tools.operations.finite import all_finite
from velmora.tools.operations.gaps import take
from velmora.tools.recording import Layout, Note, Recording, Stamps
from velmora.tools.text import count, listed, printable, quoted, seconds_text

FULL_TURN_RAD = 2.0 * np.pi


@dataclass(frozen=True)
class CheckOptions:
    """What may be done about faults of a recording; by default nothing, a fault is an error."""

    duplicate_times: Literal["error", "first", "last", "mean"] = "error"
    missing: Literal["error", "drop"] = "error"
    unwrap: bool = False
    use_velocities: bool = False


def checked(recording: Recording, options: CheckOptions) -> Recording:
    """Check a recording and mend what the options allow to be mended.

    Rows with values that are missing or not finite go first, then jumps by a turn, which a mean would hide, then
    repeated times. What was done is counted in the notes of the result. Velocities, accelerations and jerks of the file
    stay only with `use_velocities`, since they are seldom the derivatives of the positions beside them.

    Raises
    ------
    DataError
        At the first fault, with its row in the file: no samples, no times, a value that is missing or not finite,
        a time that is not finite, repeats or falls.
    """
    if len(recording.rows) == 0:
        raise DataError(f"{recording.source}: there are no samples; at least one was expected")
    if recording.stamps is None:
        columns = (note.text for note in recording.notes if note.key == "columns")
        left_out = "".join(f", columns {text}" for text in columns if text.startswith("left out"))
        raise DataError(
            f"{recording.source}: there is no time{left_out}; a column of times was expected; --time-column names it, "
            "--input-rate gives the samples per second of a file without times"
        )
    if not options.use_velocities:
        recording = replace(recording, velocities=None, accelerations=None, jerks=None)
    recording = _without_faulty_rows(recording, options)
    repeats = _repeats(recording, options)
    if options.unwrap:
        recording = _unwrapped(recording)
    return recording if repeats is None else _merged(recording, repeats, options.duplicate_times)


def _stamps(recording: Recording) -> Stamps:
    assert recording.stamps is not None
    return recording.stamps


def _without_faulty_rows(recording: Recording, options: CheckOptions) -> Recording:
    bad_times = ~_stamps(recording).there
    if bad_times.any():
        row = int(np.argmax(bad_times))
        if options.missing == "error":
            raise DataError(
                f"{_at(recording, row)}: the time is {_time(_stamps(recording), row)}; "
                "a finite number was expected; --missing drop leaves such rows out"
            )
    given = [
        ("", "positions", recording.positions),
        ("velocity of ", "velocities", recording.velocities),
        ("acceleration of ", "accelerations", recording.accelerations),
        ("jerk of ", "jerks", recording.jerks),
    ]
    bad_rows = bad_times
    for what, quantity, values in given:
        if values is None or all_finite(values):
            continue
        cells = ~np.isfinite(values)
        absent = np.isnan(values).all(axis=0)
        if what and absent.any():
            name = quoted(recording.joints[int(np.argmax(absent))])
            raise DataError(
                f"{recording.source}: there is no {what}{name}; one of every joint was expected; --joints leaves "
                "joints out, and --use-velocities may be left out"
            )
        if options.missing == "error":
            row, joint = (int(index[0]) for index in np.nonzero(cells))
            missing = recording.absent(quantity)
            value = "missing" if missing is not None and missing[row, joint] else _value(values[row, joint])
            raise DataError(
                f"{_at(recording, row)}: {what}{quoted(recording.joints[joint])} is {value}; a finite number was "
                "expected; --missing drop leaves such rows out"
            )
        bad_rows = bad_rows | cells.any(axis=1)
    if not bad_rows.any():
        return recording
    dropped = int(bad_rows.sum())
    if dropped == len(bad_rows):
        raise DataError(
            f"{recording.source}: every one of {count(dropped, 'row')} holds a missing or non-finite value; "
            "--missing drop leaves nothing"
        )
    first = int(recording.rows[np.argmax(bad_rows)])
    return _noted(
        take(recording, ~bad_rows),
        "dropped",
        f"{count(dropped, 'row')} with missing or non-finite values, the first is row {first}",
    )


def _repeats(recording: Recording, options: CheckOptions) -> NDArray[np.bool_] | None:
    """Which samples are followed by one of the same time, shape (N - 1,); None where all times increase."""
    stamps = _stamps(recording).values
    steps_rise = stamps[1:] > stamps[:-1]
    if steps_rise.all():
        return None
    falls = stamps[1:] < stamps[:-1]
    repeats: NDArray[np.bool_] = stamps[1:] == stamps[:-1]
    fault = int(np.argmax(falls | repeats if options.duplicate_times == "error" else falls)) + 1
    if falls[fault - 1]:
        raise DataError(
            f"{_at(recording, fault)}: the time falls from {seconds_text(stamps[fault - 1])} s in row "
            f"{recording.rows[fault - 1]} to {seconds_text(stamps[fault])} s; increasing times were expected; "
            f"{_advice_on_falling_times(recording.layout)}"
        )
    if options.duplicate_times == "error":
        raise DataError(
            f"{_at(recording, fault)}: the time {seconds_text(stamps[fault])} s repeats that of row "
            f"{recording.rows[fault - 1]}; increasing times were expected; --duplicate-times first, last or mean keeps "
            "one of them"
        )
    return repeats


def _advice_on_falling_times(layout: Layout) -> str:
    if layout.topic:
        return "--time-from log takes the times of the recording"
    if layout.episodes:
        return f"--group-by {printable(layout.episodes)} makes a recording of every episode"
    return "--time-column may name a better clock"


def _merged(recording: Recording, repeats: NDArray[np.bool_], how: str) -> Recording:
    """Make one sample of each run of samples with the same time."""
    starts = np.flatnonzero(np.concatenate(([True], ~repeats)))
    stops = np.append(starts[1:], len(recording.rows))
    merged = take(recording, stops - 1 if how == "last" else starts)
    if how == "mean":
        sizes = (stops - starts)[:, np.newaxis].astype(np.float64)

        def mean(values: NDArray[np.float64] | None) -> NDArray[np.float64] | None:
            if values is None:
                return None
            with np.errstate(over="ignore", invalid="ignore"):
                means = np.add.reduceat(values, starts, axis=0) / sizes
            if not all_finite(means):  # the sum was too large, or something is missing
                parts = values / np.repeat(sizes, stops - starts, axis=0)
                means = np.where(np.isinf(means), np.add.reduceat(parts, starts, axis=0), means)
            return np.asarray(means)

        positions = mean(recording.positions)
        assert positions is not None
        merged = replace(
            merged,
            positions=positions,
            velocities=mean(recording.velocities),
            accelerations=mean(recording.accelerations),
            jerks=mean(recording.jerks),
            efforts=mean(recording.efforts),
        )
    first = int(recording.rows[int(np.argmax(repeats)) + 1])
    kept = {"first": "the first of each was kept", "last": "the last of each was kept", "mean": "the mean was taken"}
    return _noted(
        merged,
        "dropped",
        f"{count(int(repeats.sum()), 'row')} with repeated times, {kept[how]}, the first is row {first}",
    )


def _unwrapped(recording: Recording) -> Recording:
    jumps = np.abs(np.diff(recording.positions, axis=0)) > np.pi
    lengths = {
        column.joint: column.name
        for column in recording.layout.columns
        if column.quantity == "positions" and says_length(column.name)
    }
    jumping = [joint for joint, jumps_at in zip(recording.joints, jumps.T, strict=True) if jumps_at.any()]
    if kept := [lengths[joint] for joint in jumping if joint in lengths]:
        text = f"kept by --unwrap, as their names say a length: {listed(list(dict.fromkeys(kept)))}"
        recording = _noted(recording, "columns", text)
    jumps[:, [joint in lengths for joint in recording.joints]] = False
    if not jumps.any():
        return recording
    positions = recording.positions.copy()
    turning = np.flatnonzero(jumps.any(axis=0))
    for joint in turning:
        column = positions[:, joint]
        turns = np.round(np.diff(column) / FULL_TURN_RAD)
        column[1:] -= FULL_TURN_RAD * np.cumsum(turns)
    text = ", ".join(f"{quoted(recording.joints[joint])} ({int(jumps[:, joint].sum())})" for joint in turning)
    return _noted(replace(recording, positions=positions), "unwrapped", f"jumps by a turn taken out: {text}")


def _noted(recording: Recording, key: str, text: str) -> Recording:
    return replace(recording, notes=(*recording.notes, Note(key, text)))


def _at(recording: Recording, sample: int) -> str:
    return f"{recording.source}:{recording.rows[sample]}"


def _time(stamps: Stamps, row: int) -> str:
    if not stamps.missing[row]:
        return _value(stamps.values[row])
    return "missing" if stamps.values.dtype == np.int64 else "missing or not a number"


def _value(value: float) -> str:
    return "not a number" if np.isnan(value) else ("infinite" if value > 0 else "minus infinity")
