# SPDX-License-Identifier: Apache-2.0
"""`JointTrajectory.resample`: the library's resampling, and two ways to ask for it that C++ lacks."""

from __future__ import annotations

import math
import operator
from typing import TYPE_CHECKING, Any, Final, SupportsIndex

from velmora._core import parse_resampling_time_grid_mode, resample_trajectory
from velmora._enums import ResamplingTimeGridMode
from velmora._errors import InvalidArgumentError

if TYPE_CHECKING:
    from velmora._core import JointTrajectory
    from velmora._typing import GridMode, Method, Real

_DEFAULT_GRID_MODE: Final = "exact_dt_append_endpoint"


def resample(
    self: JointTrajectory,
    sample_time_s: Real | None = None,
    method: Method = "cubic",
    grid_mode: GridMode = _DEFAULT_GRID_MODE,
    strict_cubic: bool = False,
    *,
    samples: SupportsIndex | None = None,
    rate_hz: Real | None = None,
) -> JointTrajectory:
    """Return the trajectory on a regular time grid, given by spacing, rate or number of samples.

    Parameters
    ----------
    sample_time_s : float, optional
        Spacing in seconds, finite and positive.
    method : ResamplingMethod or {"cubic", "linear"}
        Interpolation between samples; see `resample_trajectory`.
    grid_mode : ResamplingTimeGridMode or str
        Placement of the grid. With `samples` it is "exact_duration_adjust_dt"; leave it out then.
    strict_cubic : bool
        Whether a failure of the cubic path is an error; otherwise the result is linear then.
    samples : int, optional
        Number of samples over the whole span, the first and the last time included exactly; 1 where the trajectory is a
        single sample.
    rate_hz : float, optional
        Samples per second, finite and positive: the spacing is ``1 / rate_hz``.

    Returns
    -------
    JointTrajectory
        One sample per grid entry.

    Raises
    ------
    TypeError
        Unless exactly one of `sample_time_s`, `samples` and `rate_hz` is given; for arguments of another kind.
    InvalidArgumentError
        "rate_hz must be finite and positive."; "samples must be 1 for a trajectory of one sample, and at least 2
        for any other."; "samples must not be more than the resolution of the times allows."; and the errors of
        `resample_trajectory`.

    See Also
    --------
    resample_trajectory : the same by spacing alone, with every error.

    Notes
    -----
    Time and memory grow with samples and grid entries times joints. Any number of threads may call it at once.

    Examples
    --------
    >>> import velmora as vm
    >>> recorded = vm.JointTrajectory([[0.0], [0.2], [0.7], [1.0]], time=[0.00, 0.10, 0.25, 0.35])
    >>> recorded.resample(samples=8).time
    array([0.  , 0.05, 0.1 , 0.15, 0.2 , 0.25, 0.3 , 0.35])
    >>> recorded.resample(rate_hz=500).sample_count
    176
    """
    if samples is None and rate_hz is None and sample_time_s is not None:
        return resample_trajectory(self, sample_time_s, method, grid_mode, strict_cubic)
    given = {"sample_time_s": sample_time_s, "samples": samples, "rate_hz": rate_hz}
    names = [name for name, value in given.items() if value is not None]
    if len(names) != 1:
        got = " and ".join(names) if names else "none of them"
        raise TypeError(f"resample() takes exactly one of sample_time_s, samples and rate_hz, got {got}.")
    if samples is not None:
        return _with_samples(self, samples, method, grid_mode, strict_cubic)
    assert rate_hz is not None
    return resample_trajectory(self, _spacing_of_rate(rate_hz), method, grid_mode, strict_cubic)


def _spacing_of_rate(rate_hz: Real) -> float:
    import numpy as np  # the command starts without it where it is not needed

    try:
        number = np.asarray(rate_hz)
        is_real = number.ndim == 0 and (number.dtype.kind in "biuf" or isinstance(rate_hz, int))
    except ValueError:  # lists of unequal lengths
        is_real = False
    if not is_real:
        raise TypeError(f"rate_hz must be a real number, got {type(rate_hz).__name__}.")
    try:
        rate = float(rate_hz)
    except OverflowError:
        raise InvalidArgumentError("rate_hz must be finite and positive.", "rate_hz") from None
    spacing = 1.0 / rate if rate > 0.0 else math.nan
    if not 0.0 < spacing < math.inf:
        raise InvalidArgumentError("rate_hz must be finite and positive.", "rate_hz")
    return spacing


def _with_samples(
    trajectory: JointTrajectory, samples: SupportsIndex, method: Method, grid_mode: GridMode, strict_cubic: bool
) -> JointTrajectory:
    adjust = ResamplingTimeGridMode.exact_duration_adjust_dt
    mode = parse_resampling_time_grid_mode(grid_mode) if isinstance(grid_mode, str) else grid_mode
    fitting = (ResamplingTimeGridMode.exact_dt_append_endpoint, adjust)
    if type(mode) not in (int, ResamplingTimeGridMode) or mode not in fitting:
        raise TypeError("samples places the time grid itself; leave grid_mode out.")
    try:
        count = operator.index(samples)
    except TypeError:
        raise TypeError(f"samples must be an integer, got {type(samples).__name__}.") from None
    is_single = trajectory.sample_count == 1
    if count < 1 or (count == 1) != is_single:
        raise InvalidArgumentError(
            "samples must be 1 for a trajectory of one sample, and at least 2 for any other.", "samples"
        )
    # The span over this spacing is count - 1 to within two roundings, to which the mode rounds it.
    try:
        sample_time_s = 1.0 if is_single else trajectory.duration_s / (count - 1)
    except OverflowError:  # an integer beyond any double
        sample_time_s = 0.0
    if sample_time_s > 0.0:
        result = resample_trajectory(trajectory, sample_time_s, method, adjust, strict_cubic)
        if result.sample_count == count:
            end_time_s = trajectory.end_time_s
            if result.end_time_s == end_time_s:
                return result
            if result.time[-2] < end_time_s:
                return _ending_at(end_time_s, result)
    raise InvalidArgumentError("samples must not be more than the resolution of the times allows.", "samples")


def _ending_at(end_time_s: float, result: JointTrajectory) -> JointTrajectory:
    """The result with its last time, which a rounding parts from the end, on the end."""
    arguments: Any  # those of the constructor; derivatives that nobody gave are none
    _, arguments = result.__reduce__()
    positions, velocities, accelerations, time, dt, jerks = arguments
    time = time.copy()
    time[-1] = end_time_s
    return type(result)(positions, velocities, accelerations, time, dt, jerks)
