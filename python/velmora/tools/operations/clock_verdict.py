# SPDX-License-Identifier: Apache-2.0
"""The verdict on a recording's clock: even or not, gaps, stamps that repeat or fall, two clocks mixed."""

from __future__ import annotations

from dataclasses import dataclass
from datetime import datetime, timezone

import numpy as np
from numpy.typing import NDArray

from velmora.tools.operations.gaps import GAP_IN_MEDIAN_STEPS, Gaps, find_gaps
from velmora.tools.recording import Recording, Stamps
from velmora.tools.text import count, seconds_text, short

# Steps this far from the median step are more than a clock's own resolution.
UNEVEN_SHARE = 0.01
# Stamps from 2001 to 2100 are taken for seconds since 1970.
EPOCH_S = (1e9, 4.1e9)
MOST_ROWS = 10
# Jumps of two mixed clocks are far longer than a step, and as long back as forth.
MIXED_JUMP_STEPS = 20.0
MIXED_JUMP_SPREAD = 0.25
# No step of one clock is that long; one between times since a start and times since 1970 is far longer.
YEAR_S = 3.2e7


@dataclass(frozen=True)
class ClockVerdict:
    """What the times of a recording are worth; times in seconds after the first sample, rows as in the file."""

    summary: str
    origin: str
    median_step_s: float | None
    shortest_step_s: float | None
    longest_step_s: float | None
    jitter_s: float | None
    uneven_steps: int
    gaps: Gaps
    repeated: int
    repeated_rows: tuple[int, ...]
    falling: int
    falling_rows: tuple[int, ...]
    not_finite: int
    not_finite_rows: tuple[int, ...]
    second_clock_offset_s: float | None

    @property
    def broken(self) -> bool:
        """Whether there are times that do not increase, or none."""
        return self.repeated > 0 or self.falling > 0 or self.not_finite > 0


def clock_verdict(recording: Recording) -> ClockVerdict | None:
    """Judge the times of a recording; None where it has none.

    The jitter is half the range that holds the middle 95 % of the steps. Times that are missing or not finite are
    counted; the others are judged as if they stood alone.
    """
    if recording.stamps is None or len(recording.rows) == 0:
        return None
    there = recording.stamps.there
    times_s, rows = recording.stamps.seconds(), recording.rows
    absent: tuple[int, ...] = ()
    if not there.all():
        absent = tuple(rows[~there].tolist())
        times_s, rows = times_s[there], rows[there]
    steps_s = np.diff(times_s)
    # Where times fall the steps of the sorted ones are nearer to the clock's.
    in_order_s = steps_s if np.all(steps_s >= 0.0) else np.diff(np.sort(times_s))
    rising = in_order_s[in_order_s > 0.0]
    median_s = float(np.median(rising)) if len(rising) else None
    jitter_s = None
    if len(rising):
        low, high = np.percentile(rising, [2.5, 97.5])
        jitter_s = float(high - low) / 2.0
    repeats, falls = np.flatnonzero(steps_s == 0.0), np.flatnonzero(steps_s < 0.0)
    gaps = find_gaps(times_s, None if median_s is None else GAP_IN_MEDIAN_STEPS * median_s)
    uneven = 0 if median_s is None else int(np.count_nonzero(np.abs(rising - median_s) > UNEVEN_SHARE * median_s))
    offset_s = _step_to_epoch(recording.stamps, times_s)
    if offset_s is None and len(falls):
        offset_s = _second_clock(times_s)
    summary = _summary(median_s, jitter_s, uneven, len(rising), len(gaps), len(repeats), len(falls), offset_s)
    if absent:
        summary = f"BROKEN: {count(len(absent), 'time')} missing or not finite; {summary.removeprefix('BROKEN: ')}"
    return ClockVerdict(
        summary,
        _origin(recording),
        median_s,
        float(rising.min()) if len(rising) else None,
        float(rising.max()) if len(rising) else None,
        jitter_s,
        uneven,
        gaps,
        len(repeats),
        _rows(rows, repeats),
        len(falls),
        _rows(rows, falls),
        len(absent),
        absent[:MOST_ROWS],
        offset_s,
    )


def _rows(rows: NDArray[np.int64], before: NDArray[np.intp]) -> tuple[int, ...]:
    return tuple(int(row) for row in rows[before[:MOST_ROWS] + 1])


def _step_to_epoch(stamps: Stamps, times_s: NDArray[np.float64]) -> float | None:
    """The offset between a clock that counts from a start and one that counts from 1970, however often they change."""
    steps_s = np.abs(np.diff(times_s))
    if steps_s.max(initial=0.0) < YEAR_S:
        return None
    origin = stamps.origin
    since_1970 = times_s + (origin / 1e9 if isinstance(origin, int) else origin) >= EPOCH_S[0]
    changes_s = steps_s[(since_1970[1:] != since_1970[:-1]) & (steps_s >= YEAR_S)]
    return float(np.median(changes_s)) if len(changes_s) else None


def _second_clock(times_s: NDArray[np.float64]) -> float | None:
    """The offset between two clocks that take turns: jumps forth and back, all of about the same length."""
    steps_s = np.diff(times_s)
    median_s = float(np.median(np.diff(np.sort(times_s))))
    forth = steps_s[steps_s > MIXED_JUMP_STEPS * median_s]
    back = -steps_s[steps_s < -MIXED_JUMP_STEPS * median_s]
    if len(back) == 0 or abs(len(forth) - len(back)) > 1 or len(forth) + len(back) < 3:
        return None
    jumps = np.concatenate((forth, back))
    offset_s = float(np.median(forth) + np.median(back)) / 2.0
    return offset_s if np.all(np.abs(jumps - offset_s) <= MIXED_JUMP_SPREAD * offset_s) else None


def _summary(
    median_s: float | None,
    jitter_s: float | None,
    uneven: int,
    steps: int,
    gaps: int,
    repeated: int,
    falling: int,
    offset_s: float | None,
) -> str:
    if median_s is None or jitter_s is None:
        faults = [count(repeated, "repeated time")] if repeated else []
        return "; ".join(["no steps", *faults, *([count(falling, "falling time")] if falling else [])])
    words = []
    # Below a billionth of a step it is the rounding of the times, not the clock.
    jitter_s = jitter_s if jitter_s > 1e-9 * median_s else 0.0
    if falling:
        words.append(f"BROKEN: {count(falling, 'falling time')}")
    if repeated:
        words.append(f"{'BROKEN: ' if not words else ''}{count(repeated, 'repeated time')}")
    if offset_s is not None:
        words.append(f"two clocks mixed, {short(offset_s)} s apart")
    even = "even" if uneven == 0 else f"uneven ({100.0 * uneven / steps:.3g} % of the steps over 1 % off)"
    words.append(f"{even}, {short(1.0 / median_s)} Hz (median step {short(median_s)} s, jitter {short(jitter_s)} s)")
    if gaps:
        words.append(count(gaps, "gap"))
    return "; ".join(words)


def _origin(recording: Recording) -> str:
    assert recording.stamps is not None
    if not recording.stamps.there.any():
        return "no time is there"
    origin = recording.stamps.origin
    seconds = origin / 1e9 if isinstance(origin, int) else origin
    text = f"first time {seconds_text(origin)} s"
    if EPOCH_S[0] <= seconds <= EPOCH_S[1]:
        when = datetime.fromtimestamp(seconds, timezone.utc).isoformat(timespec="milliseconds").removesuffix("+00:00")
        return f"{text}, taken for seconds since 1970: {when}Z"
    return text
