# SPDX-License-Identifier: Apache-2.0
"""Turns the numbers of a clock into stamps: whole nanoseconds where they are, otherwise seconds.

The unit comes from the options, the column's name or its type; otherwise the numbers must tell it: epoch times by their
size, whole numbers by their steps. A wrong unit would make a dangerous motion look tame, so doubt is an error.
"""

from __future__ import annotations

from dataclasses import replace

import numpy as np
from numpy.typing import NDArray

from velmora.tools.errors import DataError, UsageError
from velmora.tools.recording import MISSING_NS, UNIT_NS, Stamps

# Below this many nanoseconds (26 days) a double of seconds has the whole nanosecond that it came from: half a step of
# the double (0.23 ns) and the rounding of its product with 1e9 (0.25 ns) stay below half a nanosecond.
WHOLE_BELOW_NS = 2**51
_EPOCH_FROM, _EPOCH_TO = 3e8, 1e10  # seconds: the years 1979 to 2286
# Whole numbers in steps of at least so many: rates from 4 Hz to 4 kHz fall into one unit each. Where two would do, the
# finer unit is taken: its velocities are too large and fail every check, whereas those of the coarser would pass.
_LEAST_STEPS = (("ns", 2.5e5), ("us", 250.0), ("ms", 10.0))
TELLING = 100_001  # so many times tell their unit


def from_doubles(values: NDArray[np.float64], unit: str) -> Stamps:
    """Stamps from doubles in the given unit, shape (N,)."""
    scale = UNIT_NS[unit]
    missing = np.isnan(values)
    known = np.where(missing, 0.0, values) if missing.any() else values
    if not too_coarse(known, unit):
        nanoseconds = np.rint(known * scale)
        # The check that makes it exact: the decimal number with so many nanoseconds is the one that was written.
        if np.array_equal(nanoseconds / scale, known):
            return Stamps(np.where(missing, MISSING_NS, nanoseconds.astype(np.int64)), unit)
    if unit == "s":
        return Stamps(np.ascontiguousarray(values, dtype=np.float64), unit)
    stamps = Stamps(np.ascontiguousarray(values / (1e9 / scale), dtype=np.float64), unit)
    return stamps if np.array_equal(stamps.in_unit(), values, equal_nan=True) else replace(stamps, doubles=values)


def too_coarse(values: NDArray[np.float64], unit: str) -> bool:
    """Whether some of the times are so large that doubles of this unit do not have every nanosecond."""
    return bool(np.nanmax(np.abs(values), initial=0.0) >= WHOLE_BELOW_NS / UNIT_NS[unit])


def from_integers(source: str, values: NDArray[np.int64], unit: str) -> Stamps:
    """Stamps from integers in the given unit, shape (N,); `MISSING_NS` where one is missing."""
    scale = UNIT_NS[unit]
    if scale == 1:
        return Stamps(np.ascontiguousarray(values), unit)
    missing = values == MISSING_NS
    known = np.where(missing, 0, values) if missing.any() else values
    largest = max(abs(int(known.min(initial=0))), abs(int(known.max(initial=0))))
    if largest > (2**63 - 1) // scale:
        raise DataError(
            f"{source}: the times reach {largest} {unit}; "
            "times that fit into 64 bits of nanoseconds (292 years) were expected; --time-unit gives the unit"
        )
    return Stamps(np.where(missing, MISSING_NS, known * np.int64(scale)), unit)


def infer_unit(
    source: str, column: str, values: NDArray[np.float64] | NDArray[np.int64], whole: bool | None = None
) -> tuple[str, str]:
    """The unit that the numbers tell, and why.

    Parameters
    ----------
    whole
        Whether a text writes them as whole numbers, without a decimal point; None for binary numbers, which are whole
        where their values are.

    Raises
    ------
    DataError
        Whole numbers that may be seconds as well as milliseconds.
    """
    finite = values[np.isfinite(values) if values.dtype.kind == "f" else values != MISSING_NS]
    if len(finite) == 0:
        return "s", "seconds, as there is nothing to tell by"
    first = finite[:TELLING].astype(np.float64)
    # Nearly all of them: half of the nanoseconds of a move that starts at 0 may look like epoch seconds.
    low, size = (float(part) for part in np.percentile(np.abs(first), [5.0, 50.0]))
    for unit, scale in UNIT_NS.items():
        per_second = 1e9 / scale
        if _EPOCH_FROM * per_second <= low and size < _EPOCH_TO * per_second:
            return unit, f"{unit}, as the numbers have the size of epoch times"
    if whole is None and not np.array_equal(first, np.rint(first)):
        return "s", "s, as the numbers are not whole"
    if whole is False:
        return "s", "s, as the numbers have a decimal point"
    steps = np.abs(np.diff(first))
    steps = steps[steps > 0]
    if len(steps) == 0:
        return "s", "s, as there are no steps to tell by"
    step = float(np.median(steps))
    for unit, least in _LEAST_STEPS:
        if step >= least:
            return unit, f"{unit}, as they are whole numbers in steps of {step:.6g}"
    raise DataError(
        f"{source}: column '{column}' has whole numbers in steps of {step:.6g}, seconds or milliseconds; a unit "
        "was expected in its name (time_ms); --time-unit s or ms says it"
    )


def tell_their_unit(stamps: Stamps) -> bool:
    """Whether their unit is found again where they are written in it and no name says which it is.

    Text carries a decimal point where the unit is the second, and nowhere else unless a number is not whole.
    """
    numbers = stamps.in_unit()[stamps.there]
    whole = stamps.unit != "s" and np.array_equal(numbers, np.rint(numbers))
    try:
        return infer_unit("", "", numbers, whole)[0] == stamps.unit
    except DataError:
        return False


def at_rate(samples: int, rate_hz: float) -> Stamps:
    """Stamps of a file without times: the sample's number over the rate."""
    if not 0.0 < rate_hz < np.inf:
        raise UsageError(f"--input-rate {rate_hz!r}: a finite number of samples per second above 0 was expected")
    return from_doubles(np.arange(samples) / rate_hz, "s")
