# SPDX-License-Identifier: Apache-2.0
"""The compiled part of velmora; import its names from `velmora`."""

from collections.abc import Sequence
from typing import ClassVar, SupportsIndex, overload

import velmora._enums
import velmora._typing


__version__: str

@overload
def smootherstep(unit_progress: velmora._typing.Real) -> float:  # type: ignore[overload-overlap]  # a number is an array too; the first that fits is meant
    """
    Quintic ramp 6 x^5 - 15 x^4 + 10 x^3, flat to the second derivative at both ends.

    Parameters
    ----------
    unit_progress : float or array_like of float
        Progress along the ramp, finite, of any shape; clamped to [0, 1], where -0.0 stays -0.0.

    Returns
    -------
    float or numpy.ndarray
        Value of the ramp from 0 to 1, in the shape of `unit_progress`; an array is read-only.

    Raises
    ------
    InvalidArgumentError
        "unit_progress must be finite", with argument name "unit_progress".
    TypeError, ValueError
        For anything but real numbers; the message names the argument.

    Notes
    -----
    Linear in the number of elements. Any number of threads may call it at once. The ramp is that of K. Perlin, "Improving
    noise", ACM Transactions on Graphics 21 (2002).

    Examples
    --------
    >>> import velmora as vm
    >>> vm.smootherstep(0.25)
    0.103515625
    >>> vm.smootherstep([-1.0, 0.5, 2.0])
    array([0. , 0.5, 1. ])
    """
@overload
def smootherstep(unit_progress: velmora._typing.MatrixLike | velmora._typing.VectorLike) -> velmora._typing.FloatArray: ...

class JointTrajectory:
    """
    A time-sampled joint trajectory of N >= 1 samples and J >= 0 joints, checked once and unchangeable from then on.

    Derivatives are computed at their first use, level by level, by three-point differences: accelerations from the
    velocities as they stand in the object (supplied or computed), jerks from the accelerations. A derivative that was
    supplied is returned as it is.

    Parameters
    ----------
    positions : (N, J) array_like of float
        Joint positions: a row per sample, a column per joint.
    velocities, accelerations : (N, J) array_like of float, optional
        First and second derivative.
    time : (N,) array_like of float, optional
        Sample times in seconds, finite and strictly increasing.
    dt : float, optional
        Sample spacing in seconds, finite and positive, for the times ``i * dt``; ignored where `time` is given.
    jerks : (N, J) array_like of float, optional
        Third derivative.

    Raises
    ------
    InvalidArgumentError
        Checked in this order: "JointTrajectory requires at least 1 sample to support velocity and acceleration evaluation,
        got 0."; "JointTrajectory.positions must contain only finite values."; "JointTrajectory.positions must align with
        JointTrajectory.time."; "JointTrajectory.time must contain only finite values."; "JointTrajectory.time must be
        strictly increasing."; "Either `time` or `dt` must be provided."; "JointTrajectory.dt must be finite and positive.";
        then for velocities, accelerations and jerks in turn "JointTrajectory.velocities must match
        JointTrajectory.positions shape." and "JointTrajectory.velocities must contain only finite values.".
    TypeError, ValueError
        For arguments of another kind or number of dimensions; the message names the argument.

    Notes
    -----
    Arrays are converted to C-ordered float64 once, and copied. Those that come out are views into the trajectory: read-only,
    at the same address at every call, and they keep it alive. Any number of threads may share a trajectory.

    ``==`` compares the bits of times, positions and every derivative that either of the two holds; a derivative that was not
    asked for yet counts with what would be computed. A trajectory can be copied and pickled, with the derivatives it holds.

    Near the largest double a computed derivative may overflow; it is stored as it comes, and `copy` fails with the message of
    the constructor. Differences of three points: B. Fornberg, "Generation of finite difference formulas on arbitrarily spaced
    grids", Mathematics of Computation 51 (1988).

    Examples
    --------
    >>> import velmora as vm
    >>> trajectory = vm.JointTrajectory([[0.0], [1.0], [4.0]], dt=0.5)
    >>> trajectory
    JointTrajectory(shape=(3, 1), time=[0, 1] s, mean step=0.5 s)
    >>> trajectory.velocities
    array([[0.],
           [4.],
           [8.]])
    """

    def __init__(self, positions: velmora._typing.MatrixLike, velocities: velmora._typing.MatrixLike | None = None, accelerations: velmora._typing.MatrixLike | None = None, time: velmora._typing.VectorLike | None = None, dt: velmora._typing.Real | None = None, jerks: velmora._typing.MatrixLike | None = None) -> None: ...

    @property
    def positions(self) -> velmora._typing.FloatArray:
        """(N, J) joint positions."""

    @property
    def time(self) -> velmora._typing.FloatArray:
        """(N,) sample times in seconds."""

    @property
    def velocities(self) -> velmora._typing.FloatArray:
        """
        (N, J) first derivative, per second; computed at the first use unless supplied.
        """

    @property
    def accelerations(self) -> velmora._typing.FloatArray:
        """
        (N, J) second derivative, per second squared; computed at the first use unless supplied.
        """

    @property
    def jerks(self) -> velmora._typing.FloatArray:
        """
        (N, J) third derivative, per second cubed; computed at the first use unless supplied.
        """

    @property
    def sample_count(self) -> int:
        """Number of samples, N."""

    @property
    def joint_count(self) -> int:
        """Number of joints, J."""

    @property
    def start_time_s(self) -> float:
        """Time of the first sample in seconds."""

    @property
    def end_time_s(self) -> float:
        """Time of the last sample in seconds."""

    @property
    def duration_s(self) -> float:
        """Seconds from the first to the last sample."""

    def copy(self) -> JointTrajectory:
        """
        Return an independent copy, with the derivatives held so far.

        Returns
        -------
        JointTrajectory
            Equal to this trajectory; none of its arrays shares memory with this one's.

        Raises
        ------
        InvalidArgumentError
            "JointTrajectory.velocities must contain only finite values.", or the same of accelerations or jerks, where a
            derivative that was asked for had overflowed.
        MemoryError
            Where memory runs out.

        Notes
        -----
        Linear in the number of elements. Any number of threads may call it at once. `copy.copy` and `copy.deepcopy` do the same.

        Examples
        --------
        >>> import velmora as vm
        >>> trajectory = vm.JointTrajectory([[0.0], [1.0]], dt=0.5)
        >>> copied = trajectory.copy()
        >>> copied == trajectory, copied is trajectory
        (True, False)
        """

    def __copy__(self) -> JointTrajectory: ...

    def __deepcopy__(self, memo: dict[int, object]) -> JointTrajectory: ...

    def __eq__(self, other: object) -> bool: ...

    def __reduce__(self) -> tuple[object, ...]: ...

    def __repr__(self) -> str: ...

    __hash__: ClassVar[None]  # type: ignore[assignment]  # none: compared by bits; `object` has another type

    def sample(self, query_time_s: velmora._typing.VectorLike, include_derivatives: bool = True) -> JointTrajectory:
        """
        Return this trajectory at given times, by linear interpolation between its samples.

        A query at a sample gives that sample. No query at all gives a copy of the whole trajectory, derivatives included.

        Parameters
        ----------
        query_time_s : (Q,) array_like of float
            Times in seconds, strictly increasing, inside the sampled span (both ends included).
        include_derivatives : bool
            Whether velocities and accelerations are sampled too, and supplied to the result. Jerks are never carried over.

        Returns
        -------
        JointTrajectory
            One sample per query time; its `time` is `query_time_s`.

        Raises
        ------
        InvalidArgumentError
            "query_time_s must lie inside trajectory.time."; "JointTrajectory.time must be strictly increasing." for repeated
            or falling queries; "JointTrajectory.positions must contain only finite values." for a NaN, and the other messages
            of `sample_trajectory_at_times`.
        TypeError, ValueError
            For arguments of another kind or number of dimensions; the message names the argument.

        See Also
        --------
        sample_trajectory_at_times : the same as a function, with its cost.

        Notes
        -----
        Derivatives that are sampled are held from then on; a call that fails leaves the trajectory as it was. Any number of
        threads may call it at once.

        Examples
        --------
        >>> import velmora as vm
        >>> trajectory = vm.JointTrajectory([[0.0], [1.0], [4.0]], dt=1.0)
        >>> trajectory.sample([0.5, 1.5]).positions
        array([[0.5],
               [2.5]])
        """

    @overload
    def resample(self, sample_time_s: velmora._typing.Real, method: velmora._typing.Method = 'cubic', grid_mode: velmora._typing.GridMode = 'exact_dt_append_endpoint', strict_cubic: bool = False, *, samples: None = None, rate_hz: None = None) -> JointTrajectory:
        """
        Return the trajectory on a regular time grid, given by spacing, rate or number of samples.

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
    @overload
    def resample(self, sample_time_s: None = None, method: velmora._typing.Method = 'cubic', grid_mode: velmora._typing.GridMode = 'exact_dt_append_endpoint', strict_cubic: bool = False, *, samples: SupportsIndex, rate_hz: None = None) -> JointTrajectory: ...
    @overload
    def resample(self, sample_time_s: None = None, method: velmora._typing.Method = 'cubic', grid_mode: velmora._typing.GridMode = 'exact_dt_append_endpoint', strict_cubic: bool = False, *, samples: None = None, rate_hz: velmora._typing.Real) -> JointTrajectory: ...

class JointStateBox:
    """
    Per-joint closed interval [lower, upper] of one quantity.

    Parameters
    ----------
    lower, upper : (J,) array_like of float
        Finite limits, ``upper[j] >= lower[j]``. Equal limits pin a joint; no limits at all are valid.

    Raises
    ------
    InvalidArgumentError
        "Lower and upper limits must have matching shapes.", "Joint-state limits must contain only finite values." or
        "Lower limits cannot exceed upper limits.", checked in this order.
    TypeError, ValueError
        For arguments of another kind or number of dimensions; the message names the argument.

    Notes
    -----
    Unchangeable, so that any number of threads may use it. It can be copied and pickled, and equals a box of the same bits.

    Examples
    --------
    >>> import velmora as vm
    >>> vm.JointStateBox([-1.0, 0.0], [1.0, 2.0])
    JointStateBox(lower=array([-1.,  0.]), upper=array([1., 2.]))
    """

    def __init__(self, lower: velmora._typing.VectorLike, upper: velmora._typing.VectorLike) -> None: ...

    @property
    def lower(self) -> velmora._typing.FloatArray:
        """(J,) lower limits."""

    @property
    def upper(self) -> velmora._typing.FloatArray:
        """(J,) upper limits."""

    def __eq__(self, other: object) -> bool: ...

    def __copy__(self) -> object: ...

    def __deepcopy__(self, memo: dict[int, object]) -> object: ...

    def __reduce__(self) -> tuple[object, ...]: ...

    def __repr__(self) -> str: ...

    __hash__: ClassVar[None]  # type: ignore[assignment]  # none: compared by bits; `object` has another type

class JointStateLimits:
    """
    Optional boxes for the joint state and its derivatives, all for the same number of joints.

    Parameters
    ----------
    position, velocity, acceleration, jerk : JointStateBox, optional
        Limits of the positions and of their first, second and third derivative.

    Raises
    ------
    InvalidArgumentError
        "Position, velocity, acceleration, and jerk limits must have matching shapes."
    TypeError
        For anything but a `JointStateBox` or None; the message names the argument.

    Notes
    -----
    Unchangeable, so that any number of threads may use it. It can be copied and pickled, and equals limits of the same bits.

    Examples
    --------
    >>> import velmora as vm
    >>> limits = vm.JointStateLimits(velocity=vm.JointStateBox([-2.0], [2.0]))
    >>> limits.velocity.upper
    array([2.])
    >>> limits.position is None
    True
    """

    def __init__(self, position: JointStateBox | None = None, velocity: JointStateBox | None = None, acceleration: JointStateBox | None = None, jerk: JointStateBox | None = None) -> None: ...

    @property
    def position(self) -> JointStateBox | None:
        """Limits of the positions, or None."""

    @property
    def velocity(self) -> JointStateBox | None:
        """Limits of the first derivative, or None."""

    @property
    def acceleration(self) -> JointStateBox | None:
        """Limits of the second derivative, or None."""

    @property
    def jerk(self) -> JointStateBox | None:
        """Limits of the third derivative, or None."""

    def __eq__(self, other: object) -> bool: ...

    def __copy__(self) -> object: ...

    def __deepcopy__(self, memo: dict[int, object]) -> object: ...

    def __reduce__(self) -> tuple[object, ...]: ...

    def __repr__(self) -> str: ...

    __hash__: ClassVar[None]  # type: ignore[assignment]  # none: compared by bits; `object` has another type

def sample_aligned_first_difference(signal: velmora._typing.MatrixLike, sample_spacing: velmora._typing.Real | velmora._typing.VectorLike) -> velmora._typing.FloatArray:
    """
    Forward difference that keeps one row per sample; the last row repeats the last difference.

    Row i is ``(x[i + 1] - x[i]) / (t[i + 1] - t[i])``. One sample gives one row of zeros, no sample gives no row.

    Parameters
    ----------
    signal : (N, J) array_like of float
        A row per sample.
    sample_spacing : float or (N,) array_like of float
        Seconds between samples, finite and positive; or the sample times in seconds, strictly increasing (the times
        themselves, not the gaps between them).

    Returns
    -------
    (N, J) numpy.ndarray
        Differences per second, read-only.

    Raises
    ------
    InvalidArgumentError
        "sample_spacing must be finite and positive." for a number; "sample_spacing length must match signal samples." or
        "sample_spacing times must be strictly increasing." for times; none of them for one sample.
    TypeError, ValueError
        For arguments that are no arrays of real numbers of these dimensions; the message names the argument.

    Notes
    -----
    Linear in the number of elements. Any number of threads may call it at once. The first-order divided difference: e.g.
    Quarteroni, Sacco, Saleri, "Numerical Mathematics", section 10.10.

    Examples
    --------
    >>> import velmora as vm
    >>> vm.sample_aligned_first_difference([[0.0], [1.0], [3.0]], 0.5)
    array([[2.],
           [4.],
           [4.]])
    """

def parse_resampling_method(text: str) -> velmora._enums.ResamplingMethod:
    """
    Return the method of this name: "linear" or "cubic", compared byte for byte.

    Parameters
    ----------
    text : str
        Name of a member of `ResamplingMethod`.

    Returns
    -------
    ResamplingMethod
        That member.

    Raises
    ------
    InvalidArgumentError
        "Unsupported resampling method: '<text>'."
    TypeError
        For anything but a str.

    Notes
    -----
    Any number of threads may call it at once.

    Examples
    --------
    >>> import velmora as vm
    >>> vm.parse_resampling_method("linear")
    <ResamplingMethod.linear: 0>
    """

def parse_resampling_time_grid_mode(text: str) -> velmora._enums.ResamplingTimeGridMode:
    """
    Return the mode of the time grid of this name, compared byte for byte.

    Parameters
    ----------
    text : str
        Name of a member of `ResamplingTimeGridMode`.

    Returns
    -------
    ResamplingTimeGridMode
        That member.

    Raises
    ------
    InvalidArgumentError
        "Unsupported resampling time-grid mode: '<text>'."
    TypeError
        For anything but a str.

    Notes
    -----
    Any number of threads may call it at once.

    Examples
    --------
    >>> import velmora as vm
    >>> vm.parse_resampling_time_grid_mode("exact_dt_trim")
    <ResamplingTimeGridMode.exact_dt_trim: 1>
    """

def sample_trajectory_at_times(trajectory: JointTrajectory, query_time_s: velmora._typing.VectorLike, include_derivatives: bool = True) -> JointTrajectory:
    """
    Return the trajectory at given times, by linear interpolation between its samples.

    A query at a sample gives that sample; one between two samples gives ``(1 - w) * before + w * after``, w the elapsed
    share of the step. No query at all gives a copy of the whole trajectory, derivatives included.

    Parameters
    ----------
    trajectory : JointTrajectory
        N samples, J joints.
    query_time_s : (Q,) array_like of float
        Times in seconds, strictly increasing, inside the sampled span (both ends included).
    include_derivatives : bool
        Whether velocities and accelerations are sampled too, and supplied to the result. Jerks are never carried over.

    Returns
    -------
    JointTrajectory
        One sample per query time; its `time` is `query_time_s`.

    Raises
    ------
    InvalidArgumentError
        "query_time_s must lie inside trajectory.time."; "JointTrajectory.time must be strictly increasing." for repeated
        or falling queries, and the other messages of `JointTrajectory`, among them "JointTrajectory.positions must contain
        only finite values." for a NaN.
    TypeError, ValueError
        For arguments of another kind or number of dimensions; the message names the argument.

    Notes
    -----
    Takes time in Q times J, and in the logarithm of N for a query that is not in or right after the step of the one before.
    Any number of threads may call it at once.

    Examples
    --------
    >>> import velmora as vm
    >>> trajectory = vm.JointTrajectory([[0.0], [1.0], [4.0]], dt=1.0)
    >>> vm.sample_trajectory_at_times(trajectory, [0.5, 1.5]).positions
    array([[0.5],
           [2.5]])
    """

def resample_trajectory(trajectory: JointTrajectory, sample_time_s: velmora._typing.Real, method: velmora._typing.Method = 'cubic', grid_mode: velmora._typing.GridMode = 'exact_dt_append_endpoint', strict_cubic: bool = False) -> JointTrajectory:
    """
    Return the trajectory on a regular time grid.

    "linear" interpolates the positions; the result computes its own derivatives on request. "cubic" fits a not-a-knot cubic
    spline through the positions of every joint (a parabola through 3 samples, a line through 2) and supplies its positions,
    velocities and accelerations to the result.

    Parameters
    ----------
    trajectory : JointTrajectory
        N samples, J joints. Its derivatives are neither read nor computed.
    sample_time_s : float
        Spacing in seconds, finite and positive.
    method : ResamplingMethod or {"cubic", "linear"}
        Interpolation between samples.
    grid_mode : ResamplingTimeGridMode or str
        Placement of the G entries of the grid, each computed from its index. "exact_dt_append_endpoint": exact spacing, and
        the end time as the last sample. "exact_dt_trim": exact spacing; what does not fill a step is dropped.
        "exact_duration_adjust_dt": equal steps, as near to the spacing as the whole span allows.
        "exact_dt_extend_endpoint": exact spacing up to or beyond the end, where the last sample is held.
    strict_cubic : bool
        Whether a failure of the cubic path is an error; otherwise the result is linear then.

    Returns
    -------
    JointTrajectory
        One sample per grid entry; its `time` is the grid.

    Raises
    ------
    InvalidArgumentError
        "Unsupported resampling method: '<text>'."; "Unsupported resampling time-grid mode: '<text>'.";
        "sample_time_s must be positive." (also for NaN and infinities); "Unsupported resampling time-grid mode." for an
        integer that is no member's; with `strict_cubic` "`x` must contain at least 2 elements." and "Cubic-spline
        construction produced non-finite coefficients."; and the messages of `JointTrajectory`, where values overflow or a
        spacing below the resolution of the times repeats grid entries.
    MemoryError
        Where memory runs out, and for a grid too long to be counted.
    TypeError, ValueError
        For arguments of another kind or number of dimensions; the message names the argument.

    Notes
    -----
    Takes time in N + G times J, and in the logarithm of N for an entry that does not lie in or right after the step of the
    one before. Any number of threads may call it at once. The spline is that of C. de Boor, "A Practical Guide to Splines",
    chapter IV.

    Examples
    --------
    >>> import velmora as vm
    >>> parabola = vm.JointTrajectory([[0.0], [1.0], [4.0], [9.0]], dt=1.0)
    >>> vm.resample_trajectory(parabola, 1.5).positions
    array([[0.  ],
           [2.25],
           [9.  ]])
    """

def validate_vibration_shaping_weight(vibration_shaping_weight: velmora._typing.Real) -> None:
    """
    Accept a share of the shaped trajectory from 0 (raw) to 1 (shaped), both included.

    Parameters
    ----------
    vibration_shaping_weight : float
        The share, without a unit.

    Raises
    ------
    InvalidArgumentError
        "vibration_shaping_weight must be in [0.0, 1.0]", also for NaN and infinities.
    TypeError, ValueError
        For anything but a real number; the message names the argument.

    Notes
    -----
    Takes constant time. Any number of threads may call it at once.

    Examples
    --------
    >>> import velmora as vm
    >>> vm.validate_vibration_shaping_weight(0.5)
    >>> vm.validate_vibration_shaping_weight(1.5)
    Traceback (most recent call last):
        ...
    velmora._errors.InvalidArgumentError: vibration_shaping_weight must be in [0.0, 1.0]
    """

def validate_vibration_weight_transition_s(vibration_weight_transition_s: velmora._typing.Real) -> None:
    """
    Accept the duration of a change of weight, zero included.

    Parameters
    ----------
    vibration_weight_transition_s : float
        The duration in seconds.

    Raises
    ------
    InvalidArgumentError
        "vibration_weight_transition_s must be non-negative", also for NaN and infinities.
    TypeError, ValueError
        For anything but a real number; the message names the argument.

    Notes
    -----
    Takes constant time. Any number of threads may call it at once.

    Examples
    --------
    >>> import velmora as vm
    >>> vm.validate_vibration_weight_transition_s(0.0)
    >>> vm.validate_vibration_weight_transition_s(-0.1)
    Traceback (most recent call last):
        ...
    velmora._errors.InvalidArgumentError: vibration_weight_transition_s must be non-negative
    """

def validate_vibration_weight_rate_per_s(vibration_weight_rate_per_s: velmora._typing.Real) -> None:
    """
    Accept a rate of change of weight above zero.

    Parameters
    ----------
    vibration_weight_rate_per_s : float
        The rate in 1/s.

    Raises
    ------
    InvalidArgumentError
        "vibration_weight_rate_per_s must be positive", also for NaN and infinities.
    TypeError, ValueError
        For anything but a real number; the message names the argument.

    Notes
    -----
    Takes constant time. Any number of threads may call it at once.

    Examples
    --------
    >>> import velmora as vm
    >>> vm.validate_vibration_weight_rate_per_s(2.0)
    >>> vm.validate_vibration_weight_rate_per_s(0.0)
    Traceback (most recent call last):
        ...
    velmora._errors.InvalidArgumentError: vibration_weight_rate_per_s must be positive
    """

def blend_arrays(raw: velmora._typing.MatrixLike, shaped: velmora._typing.MatrixLike, weight: velmora._typing.Real | velmora._typing.VectorLike) -> velmora._typing.FloatArray:
    """
    Mix a raw array with its shaped counterpart: ``(1 - w) * raw + w * shaped``, element by element.

    ``w * shaped`` is rounded, then fused with ``(1 - w) * raw`` in one multiply-add. Under a weight that changes with
    time, blended velocities are not the derivative of blended positions: the term "rate of the weight times (shaped - raw)"
    is the caller's to add.

    Parameters
    ----------
    raw : (N, J) array_like of float
        The raw array.
    shaped : (N, J) array_like of float
        Its shaped counterpart.
    weight : float or (N,) array_like of float
        Share of the shaped array: one value, or one per sample. It is neither checked nor clamped; validate it first with
        `validate_vibration_shaping_weight`. NaN gives NaN, and 0 or 1 still multiplies the other array by zero.

    Returns
    -------
    (N, J) numpy.ndarray
        The blend, read-only.

    Raises
    ------
    InvalidArgumentError
        "raw and shaped arrays must have the same shape", then "per-sample shaping weights must match the sample count".
    TypeError, ValueError
        For arguments that are no arrays of real numbers of these dimensions; the message names the argument.

    Notes
    -----
    Linear in the number of elements. Any number of threads may call it at once.

    Examples
    --------
    >>> import velmora as vm
    >>> vm.blend_arrays([[0.0], [0.0]], [[1.0], [4.0]], [0.5, 0.25])
    array([[0.5],
           [1. ]])
    """

def joint_path_coordinate(positions: velmora._typing.MatrixLike) -> velmora._typing.FloatArray:
    """
    Cumulative arc length along a joint path: entry i is the length of the path from sample 0 to sample i.

    It starts at 0, never falls, and is not normalised. Nothing is checked: a position that is not finite makes the entries
    from its sample on not finite.

    Parameters
    ----------
    positions : (N, J) array_like of float
        A row per sample.

    Returns
    -------
    (N,) numpy.ndarray
        Lengths in the unit of the positions, read-only.

    Raises
    ------
    TypeError, ValueError
        For anything but a two-dimensional array of real numbers; the message names the argument.

    Notes
    -----
    Linear in the number of elements. Any number of threads may call it at once.

    Examples
    --------
    >>> import velmora as vm
    >>> vm.joint_path_coordinate([[0.0, 0.0], [3.0, 4.0], [3.0, 5.0]])
    array([0., 5., 6.])
    """

class ShapedTrajectory:
    """
    A vibration-shaped trajectory of N samples and J joints: a plain record, whose shapes are checked where it is used.

    Parameters
    ----------
    positions, velocities, accelerations : (N, J) array_like of float
        A row per sample, a column per joint.
    time : (N,) array_like of float
        Sample times in seconds.

    Raises
    ------
    TypeError, ValueError
        For arguments of another kind or number of dimensions; the message names the argument.

    Notes
    -----
    Its arrays are read-only, so that any number of threads may use it. It can be copied and pickled, and equals a record of
    the same bits.

    Examples
    --------
    >>> import velmora as vm
    >>> vm.ShapedTrajectory([[1.0]], [[0.5]], [[0.0]], [2.0]).velocities
    array([[0.5]])
    """

    def __init__(self, positions: velmora._typing.MatrixLike, velocities: velmora._typing.MatrixLike, accelerations: velmora._typing.MatrixLike, time: velmora._typing.VectorLike) -> None: ...

    @property
    def positions(self) -> velmora._typing.FloatArray:
        """(N, J) joint positions."""

    @property
    def velocities(self) -> velmora._typing.FloatArray:
        """(N, J) joint velocities."""

    @property
    def accelerations(self) -> velmora._typing.FloatArray:
        """(N, J) joint accelerations."""

    @property
    def time(self) -> velmora._typing.FloatArray:
        """(N,) sample times in seconds."""

    def __eq__(self, other: object) -> bool: ...

    def __copy__(self) -> object: ...

    def __deepcopy__(self, memo: dict[int, object]) -> object: ...

    def __reduce__(self) -> tuple[object, ...]: ...

    def __repr__(self) -> str: ...

    __hash__: ClassVar[None]  # type: ignore[assignment]  # none: compared by bits; `object` has another type

def blend_tail_with_held_raw_endpoint(raw_position: velmora._typing.VectorLike, shaped_tail: ShapedTrajectory, weight: velmora._typing.Real) -> ShapedTrajectory:
    """
    Blend the part of a shaped trajectory beyond the end of the raw one with the raw endpoint, held at rest.

    Positions are mixed between `raw_position` and the tail, velocities and accelerations between zero and the tail, all by
    `blend_arrays` with the same weight. The times are copied.

    Parameters
    ----------
    raw_position : (J,) array_like of float
        Final joint position of the raw trajectory.
    shaped_tail : ShapedTrajectory
        N samples of J joints; N may be 0.
    weight : float
        Share of the shaped tail: 1 keeps it, 0 gives the held endpoint. It is not checked; validate it first with
        `validate_vibration_shaping_weight`.

    Returns
    -------
    ShapedTrajectory
        N samples of J joints.

    Raises
    ------
    InvalidArgumentError
        "raw_position length mismatch", then "shaped_tail fields must have matching sample and joint shapes".
    TypeError, ValueError
        For arguments that are no arrays of real numbers of these dimensions; the message names the argument.

    Notes
    -----
    Linear in the number of elements. Any number of threads may call it at once.

    Examples
    --------
    >>> import velmora as vm
    >>> tail = vm.ShapedTrajectory([[2.0], [1.5]], [[-1.0], [0.0]], [[0.0], [0.0]], [1.0, 1.1])
    >>> vm.blend_tail_with_held_raw_endpoint([1.0], tail, 0.5).positions
    array([[1.5 ],
           [1.25]])
    """

class VibrationMode:
    """
    One vibration mode of a machine: ``q'' + 2 z w q' + w^2 q = 0``.

    Parameters
    ----------
    frequency_hz : float
        Undamped natural frequency f in Hz, ``w = 2 pi f``; finite and positive.
    damping_ratio : float
        Damping ratio z, at least 0 and below 1.

    Attributes
    ----------
    damped_frequency_hz : float
        Frequency of the free oscillation, ``f sqrt(1 - z^2)``.
    damped_period_s : float
        Its period.
    half_period_decay : float
        Share K of its amplitude that a free oscillation keeps over half a period, ``exp(-z pi / sqrt(1 - z^2))``.

    Raises
    ------
    InvalidArgumentError
        "VibrationMode.frequency_hz must be finite and positive.", then "VibrationMode.damping_ratio must be in [0, 1)."
    TypeError, ValueError
        For arguments that are no real numbers; the message names the argument.

    Notes
    -----
    Unchangeable, so that any number of threads may use it. It can be copied and pickled, and equals a mode of the same
    values.

    Examples
    --------
    >>> from velmora import shaping
    >>> shaping.VibrationMode(4.0, 0.0).damped_period_s
    0.25
    """

    def __init__(self, frequency_hz: velmora._typing.Real, damping_ratio: velmora._typing.Real) -> None: ...

    @property
    def frequency_hz(self) -> float: ...

    @property
    def damping_ratio(self) -> float: ...

    @property
    def damped_frequency_hz(self) -> float: ...

    @property
    def damped_period_s(self) -> float: ...

    @property
    def half_period_decay(self) -> float: ...

    def __eq__(self, other: object) -> bool: ...

    def __copy__(self) -> object: ...

    def __deepcopy__(self, memo: dict[int, object]) -> object: ...

    def __reduce__(self) -> tuple[object, ...]: ...

    def __repr__(self) -> str: ...

    __hash__: ClassVar[None]  # type: ignore[assignment]  # none: compared by bits; `object` has another type

class ImpulseSequence:
    """
    Impulses that shape a command: it becomes the sum of its delayed, scaled copies.

    Parameters
    ----------
    times_s : (n,) array_like of float
        Delays in seconds, strictly increasing from 0; n is at least 1.
    amplitudes : (n,) array_like of float
        Share of each copy; negative ones are allowed. Their sum may miss 1 by up to 1e-9: the last one is then replaced by 1
        less the sum of those before it.

    Attributes
    ----------
    duration_s : float
        How much longer a shaped command takes: the last time.
    centroid_s : float
        How far a shaped command lags behind the raw one: the sum of amplitude times time.

    Raises
    ------
    InvalidArgumentError
        In this order: "ImpulseSequence requires at least 1 impulse, got 0."; "ImpulseSequence.times_s must contain only
        finite values."; "ImpulseSequence.times_s must start at 0."; "ImpulseSequence.times_s must be strictly increasing.";
        "ImpulseSequence.amplitudes must match ImpulseSequence.times_s length."; "ImpulseSequence.amplitudes must contain
        only finite values."; "ImpulseSequence.amplitudes must sum to 1."
    TypeError, ValueError
        For arguments of another kind or number of dimensions; the message names the argument.

    Notes
    -----
    Unchangeable, so that any number of threads may use it. It can be copied and pickled, and equals a sequence of the same
    bits.

    Examples
    --------
    >>> from velmora import shaping
    >>> shaping.ImpulseSequence([0.0, 0.1], [0.5, 0.5]).centroid_s
    0.05
    """

    def __init__(self, times_s: velmora._typing.VectorLike, amplitudes: velmora._typing.VectorLike) -> None: ...

    @property
    def times_s(self) -> velmora._typing.FloatArray:
        """(n,) delays in seconds."""

    @property
    def amplitudes(self) -> velmora._typing.FloatArray:
        """(n,) shares of the copies."""

    @property
    def duration_s(self) -> float: ...

    @property
    def centroid_s(self) -> float: ...

    def __eq__(self, other: object) -> bool: ...

    def __copy__(self) -> object: ...

    def __deepcopy__(self, memo: dict[int, object]) -> object: ...

    def __reduce__(self) -> tuple[object, ...]: ...

    def __repr__(self) -> str: ...

    __hash__: ClassVar[None]  # type: ignore[assignment]  # none: compared by bits; `object` has another type

def convolve(first: ImpulseSequence, second: ImpulseSequence) -> ImpulseSequence:
    """
    Return the sequence that shapes as two do one after the other, in any order.

    With it the vibration of two modes is suppressed by one sequence for each. Impulses at most 1e-9 of the total duration
    later than the first of a group are merged into that one.

    Parameters
    ----------
    first, second : ImpulseSequence
        Sequences of n and m impulses.

    Returns
    -------
    ImpulseSequence
        Up to n m impulses.

    Raises
    ------
    InvalidArgumentError
        The messages of `ImpulseSequence`, where values overflow.
    TypeError
        For arguments that are no sequences.

    Notes
    -----
    Takes time in n m log(n m). Any number of threads may call it at once.

    Examples
    --------
    >>> from velmora import shaping
    >>> zv = shaping.zv(shaping.VibrationMode(1.0, 0.0))
    >>> shaping.convolve(zv, zv)
    ImpulseSequence(times_s=array([0. , 0.5, 1. ]), amplitudes=array([0.25, 0.5 , 0.25]))
    """

def zv(mode: VibrationMode) -> ImpulseSequence:
    """
    Zero vibration: two impulses half a damped period apart.

    Parameters
    ----------
    mode : VibrationMode
        The mode that is to be left at rest.

    Returns
    -------
    ImpulseSequence
        The sequence; the same bits on every machine.

    Raises
    ------
    InvalidArgumentError
        The messages of `ImpulseSequence`, for a mode so slow or so fast that its times leave the range of numbers.
    TypeError, ValueError
        For arguments of another kind; the message names the argument.

    Notes
    -----
    Any number of threads may call it at once. Source of the method:
    N. C. Singer, W. P. Seering, "Preshaping command inputs to reduce system vibration", 1990.

    Examples
    --------
    >>> from velmora import shaping
    >>> mode = shaping.VibrationMode(2.0, 0.0)
    >>> sequence = shaping.zv(mode)
    >>> sequence.times_s.round(3).tolist()
    [0.0, 0.25]
    >>> sequence.amplitudes.round(3).tolist()
    [0.5, 0.5]
    """

def zvd(mode: VibrationMode) -> ImpulseSequence:
    """
    Zero vibration and derivative: three impulses that last one damped period.

    Parameters
    ----------
    mode : VibrationMode
        The mode that is to be left at rest.

    Returns
    -------
    ImpulseSequence
        The sequence; the same bits on every machine.

    Raises
    ------
    InvalidArgumentError
        The messages of `ImpulseSequence`, for a mode so slow or so fast that its times leave the range of numbers.
    TypeError, ValueError
        For arguments of another kind; the message names the argument.

    Notes
    -----
    Any number of threads may call it at once. Source of the method:
    N. C. Singer, W. P. Seering, "Preshaping command inputs to reduce system vibration", 1990.

    Examples
    --------
    >>> from velmora import shaping
    >>> mode = shaping.VibrationMode(2.0, 0.0)
    >>> sequence = shaping.zvd(mode)
    >>> sequence.times_s.round(3).tolist()
    [0.0, 0.25, 0.5]
    >>> sequence.amplitudes.round(3).tolist()
    [0.25, 0.5, 0.25]
    """

def zvdd(mode: VibrationMode) -> ImpulseSequence:
    """
    Zero vibration and two derivatives: four impulses that last one and a half damped periods.

    Parameters
    ----------
    mode : VibrationMode
        The mode that is to be left at rest.

    Returns
    -------
    ImpulseSequence
        The sequence; the same bits on every machine.

    Raises
    ------
    InvalidArgumentError
        The messages of `ImpulseSequence`, for a mode so slow or so fast that its times leave the range of numbers.
    TypeError, ValueError
        For arguments of another kind; the message names the argument.

    Notes
    -----
    Any number of threads may call it at once. Source of the method:
    N. C. Singer, W. P. Seering, "Preshaping command inputs to reduce system vibration", 1990.

    Examples
    --------
    >>> from velmora import shaping
    >>> mode = shaping.VibrationMode(2.0, 0.0)
    >>> sequence = shaping.zvdd(mode)
    >>> sequence.times_s.round(3).tolist()
    [0.0, 0.25, 0.5, 0.75]
    >>> sequence.amplitudes.round(3).tolist()
    [0.125, 0.375, 0.375, 0.125]
    """

def mzv(mode: VibrationMode) -> ImpulseSequence:
    """
    Zero vibration by three impulses 3/8 of a damped period apart.

    Parameters
    ----------
    mode : VibrationMode
        The mode that is to be left at rest.

    Returns
    -------
    ImpulseSequence
        The sequence; the same bits on every machine.

    Raises
    ------
    InvalidArgumentError
        The messages of `ImpulseSequence`, for a mode so slow or so fast that its times leave the range of numbers.
    TypeError, ValueError
        For arguments of another kind; the message names the argument.

    Notes
    -----
    Any number of threads may call it at once. Source of the method:
    N. C. Singer, W. P. Seering, "Preshaping command inputs to reduce system vibration", 1990.

    Examples
    --------
    >>> from velmora import shaping
    >>> mode = shaping.VibrationMode(2.0, 0.0)
    >>> sequence = shaping.mzv(mode)
    >>> sequence.times_s.round(3).tolist()
    [0.0, 0.188, 0.375]
    >>> sequence.amplitudes.round(3).tolist()
    [0.293, 0.414, 0.293]
    """

def ei(mode: VibrationMode, tolerance: velmora._typing.Real) -> ImpulseSequence:
    """
    Extra insensitive: the tolerance at the mode, where the residual is largest in between, and exactly zero on both sides.

    Parameters
    ----------
    mode : VibrationMode
        The mode that is to be left at rest.
    tolerance : float
        Tolerated residual vibration as a share of the unshaped one, above 0 and below 1.

    Returns
    -------
    ImpulseSequence
        The sequence; the same bits on every machine.

    Raises
    ------
    InvalidArgumentError
        "tolerance must be in (0, 1)."; "No sequence of this design was found for this damping_ratio and tolerance."
        The messages of `ImpulseSequence`, for a mode so slow or so fast that its times leave the range of numbers.
    TypeError, ValueError
        For arguments of another kind; the message names the argument.

    Notes
    -----
    Any number of threads may call it at once. Source of the method:
    W. Singhose, W. Seering, N. Singer, "Residual vibration reduction using vector diagrams", 1994.

    Examples
    --------
    >>> from velmora import shaping
    >>> mode = shaping.VibrationMode(2.0, 0.0)
    >>> sequence = shaping.ei(mode, 0.05)
    >>> sequence.times_s.round(3).tolist()
    [0.0, 0.25, 0.5]
    >>> sequence.amplitudes.round(3).tolist()
    [0.262, 0.475, 0.262]
    """

def two_hump_ei(mode: VibrationMode, tolerance: velmora._typing.Real) -> ImpulseSequence:
    """
    Two-hump extra insensitive: zero at the mode and on both sides, the tolerance on the humps between.

    Parameters
    ----------
    mode : VibrationMode
        The mode that is to be left at rest.
    tolerance : float
        Tolerated residual vibration as a share of the unshaped one, above 0 and below 1.

    Returns
    -------
    ImpulseSequence
        The sequence; the same bits on every machine.

    Raises
    ------
    InvalidArgumentError
        "tolerance must be in (0, 1)."; "No sequence of this design was found for this damping_ratio and tolerance."
        The messages of `ImpulseSequence`, for a mode so slow or so fast that its times leave the range of numbers.
    TypeError, ValueError
        For arguments of another kind; the message names the argument.

    Notes
    -----
    Any number of threads may call it at once. Source of the method:
    W. Singhose, L. Porter, T. Tuttle, N. Singer, "Vibration reduction using multi-hump input shapers", 1997.

    Examples
    --------
    >>> from velmora import shaping
    >>> mode = shaping.VibrationMode(2.0, 0.0)
    >>> sequence = shaping.two_hump_ei(mode, 0.05)
    >>> sequence.times_s.round(3).tolist()
    [0.0, 0.25, 0.5, 0.75]
    >>> sequence.amplitudes.round(3).tolist()
    [0.16, 0.34, 0.34, 0.16]
    """

def three_hump_ei(mode: VibrationMode, tolerance: velmora._typing.Real) -> ImpulseSequence:
    """
    Three-hump extra insensitive: the tolerance at the mode and on a hump on either side of it.

    Parameters
    ----------
    mode : VibrationMode
        The mode that is to be left at rest.
    tolerance : float
        Tolerated residual vibration as a share of the unshaped one, above 0 and below 1.

    Returns
    -------
    ImpulseSequence
        The sequence; the same bits on every machine.

    Raises
    ------
    InvalidArgumentError
        "tolerance must be in (0, 1)."; "No sequence of this design was found for this damping_ratio and tolerance."
        The messages of `ImpulseSequence`, for a mode so slow or so fast that its times leave the range of numbers.
    TypeError, ValueError
        For arguments of another kind; the message names the argument.

    Notes
    -----
    Any number of threads may call it at once. Source of the method:
    W. Singhose, L. Porter, T. Tuttle, N. Singer, "Vibration reduction using multi-hump input shapers", 1997.

    Examples
    --------
    >>> from velmora import shaping
    >>> mode = shaping.VibrationMode(2.0, 0.0)
    >>> sequence = shaping.three_hump_ei(mode, 0.05)
    >>> sequence.times_s.round(3).tolist()
    [0.0, 0.25, 0.5, 0.75, 1.0]
    >>> sequence.amplitudes.round(3).tolist()
    [0.112, 0.238, 0.3, 0.238, 0.112]
    """

def um_zv(mode: VibrationMode) -> ImpulseSequence:
    """
    Unity-magnitude zero vibration: amplitudes 1, -1, 1. Shorter than `zv`, but a shaped command may exceed
    the raw one's velocities and accelerations up to 3 times.

    Parameters
    ----------
    mode : VibrationMode
        The mode that is to be left at rest.

    Returns
    -------
    ImpulseSequence
        The sequence; the same bits on every machine.

    Raises
    ------
    InvalidArgumentError
        "No sequence of this design was found for this damping_ratio."
        The messages of `ImpulseSequence`, for a mode so slow or so fast that its times leave the range of numbers.
    TypeError, ValueError
        For arguments of another kind; the message names the argument.

    Notes
    -----
    Any number of threads may call it at once. Source of the method:
    W. Singhose, N. Singer, W. Seering, "Time-optimal negative input shapers", 1997.

    Examples
    --------
    >>> from velmora import shaping
    >>> mode = shaping.VibrationMode(2.0, 0.0)
    >>> sequence = shaping.um_zv(mode)
    >>> sequence.times_s.round(3).tolist()
    [0.0, 0.083, 0.167]
    >>> sequence.amplitudes.round(3).tolist()
    [1.0, -1.0, 1.0]
    """

def um_zvd(mode: VibrationMode) -> ImpulseSequence:
    """
    Unity-magnitude zero vibration and derivative: amplitudes 1, -1, 1, -1, 1. See `um_zv`; here up to 5 times.

    Parameters
    ----------
    mode : VibrationMode
        The mode that is to be left at rest.

    Returns
    -------
    ImpulseSequence
        The sequence; the same bits on every machine.

    Raises
    ------
    InvalidArgumentError
        "No sequence of this design was found for this damping_ratio."
        The messages of `ImpulseSequence`, for a mode so slow or so fast that its times leave the range of numbers.
    TypeError, ValueError
        For arguments of another kind; the message names the argument.

    Notes
    -----
    Any number of threads may call it at once. Source of the method:
    W. Singhose, N. Singer, W. Seering, "Time-optimal negative input shapers", 1997.

    Examples
    --------
    >>> from velmora import shaping
    >>> mode = shaping.VibrationMode(2.0, 0.0)
    >>> sequence = shaping.um_zvd(mode)
    >>> sequence.times_s.round(3).tolist()
    [0.0, 0.045, 0.183, 0.321, 0.366]
    >>> sequence.amplitudes.round(3).tolist()
    [1.0, -1.0, 1.0, -1.0, 1.0]
    """

def specified_insensitivity(mode: VibrationMode, low_hz: velmora._typing.Real, high_hz: velmora._typing.Real, tolerance: velmora._typing.Real) -> ImpulseSequence:
    """
    Specified insensitivity: the shortest positive sequence that keeps the tolerance over a range of frequencies.

    Parameters
    ----------
    mode : VibrationMode
        The mode that is to be left at rest.
    low_hz, high_hz : float
        The range, which holds the frequency of the mode.
    tolerance : float
        Tolerated residual vibration, from 1e-7 on and below 1.

    Returns
    -------
    ImpulseSequence
        The sequence; the same bits on every machine.

    Raises
    ------
    InvalidArgumentError
        "tolerance must be in (0, 1)."; "low_hz must be finite and positive."; "high_hz must be finite and
        positive."; "mode.frequency_hz must lie between low_hz and high_hz."; "high_hz must not exceed 4 times low_hz."; "No sequence of this design was
        found for this range and tolerance."
        The messages of `ImpulseSequence`, for a mode so slow or so fast that its times leave the range of numbers.
    TypeError, ValueError
        For arguments of another kind; the message names the argument.

    Notes
    -----
    Any number of threads may call it at once. Source of the method:
    J. Vaughan, A. Yano, W. Singhose, "Comparison of robust input shapers", 2008.

    Examples
    --------
    >>> from velmora import shaping
    >>> mode = shaping.VibrationMode(2.0, 0.0)
    >>> sequence = shaping.specified_insensitivity(mode, 1.6, 2.4, 0.05)
    >>> sequence.times_s.round(3).tolist()
    [0.0, 0.239, 0.262, 0.262, 0.501]
    >>> sequence.amplitudes.round(3).tolist()
    [0.261, 0.239, 0.178, 0.061, 0.261]
    """

class InsensitivityBand:
    """
    The connected band of frequencies in which a sequence keeps a tolerated residual.

    Parameters
    ----------
    low_hz, high_hz : float
        Ends of the band in Hz.
    width : float
        ``(high_hz - low_hz) / f``, the insensitivity.

    Examples
    --------
    >>> from velmora import shaping
    >>> shaping.InsensitivityBand(4.0, 6.0, 0.4)
    InsensitivityBand(low_hz=4.0, high_hz=6.0, width=0.4)
    """

    def __init__(self, low_hz: velmora._typing.Real, high_hz: velmora._typing.Real, width: velmora._typing.Real) -> None: ...

    @property
    def low_hz(self) -> float: ...

    @property
    def high_hz(self) -> float: ...

    @property
    def width(self) -> float: ...

    def __eq__(self, other: object) -> bool: ...

    def __copy__(self) -> object: ...

    def __deepcopy__(self, memo: dict[int, object]) -> object: ...

    def __reduce__(self) -> tuple[object, ...]: ...

    def __repr__(self) -> str: ...

    __hash__: ClassVar[None]  # type: ignore[assignment]  # none: compared by bits; `object` has another type

def residual_vibration(sequence: ImpulseSequence, mode: VibrationMode) -> float:
    """
    Return the residual vibration of a mode after a sequence, ``exp(-z w t_n) sqrt(C^2 + S^2)``.

    Parameters
    ----------
    sequence : ImpulseSequence
        The sequence.
    mode : VibrationMode
        The machine's mode, which need not be the one that the sequence was designed for.

    Returns
    -------
    float
        Amplitude at the end of the shaped command as a share of that at the end of the unshaped one: 0 for no vibration.

    Raises
    ------
    TypeError
        For arguments of other classes.

    Notes
    -----
    Linear in the number of impulses. Any number of threads may call it at once. Source of the method: N. C. Singer,
    W. P. Seering, "Preshaping command inputs to reduce system vibration", 1990.

    Examples
    --------
    >>> from velmora import shaping
    >>> sequence = shaping.zvd(shaping.VibrationMode(5.0, 0.0))
    >>> round(shaping.residual_vibration(sequence, shaping.VibrationMode(5.5, 0.0)), 4)
    0.0245
    """

def residual_over_frequency(sequence: ImpulseSequence, mode: VibrationMode, frequencies_hz: velmora._typing.VectorLike) -> velmora._typing.FloatArray:
    """
    Return the residual vibration over frequency, all with the damping of a mode.

    Parameters
    ----------
    sequence : ImpulseSequence
        The sequence.
    mode : VibrationMode
        Gives the damping ratio.
    frequencies_hz : (F,) array_like of float
        Undamped natural frequencies in any order, finite and non-negative.

    Returns
    -------
    (F,) numpy.ndarray
        Residual vibration at each of them.

    Raises
    ------
    InvalidArgumentError
        "frequencies_hz must be finite and non-negative."
    TypeError, ValueError
        For arguments of another kind or number of dimensions; the message names the argument.

    Notes
    -----
    Linear in F and the number of impulses. Any number of threads may call it at once.

    Examples
    --------
    >>> from velmora import shaping
    >>> mode = shaping.VibrationMode(2.0, 0.0)
    >>> shaping.residual_over_frequency(shaping.zv(mode), mode, [1.8, 2.0, 2.2]).round(4).tolist()
    [0.1564, 0.0, 0.1564]
    """

def residual_over_damping(sequence: ImpulseSequence, mode: VibrationMode, damping_ratios: velmora._typing.VectorLike) -> velmora._typing.FloatArray:
    """
    Return the residual vibration over damping, all at the frequency of a mode.

    Parameters
    ----------
    sequence : ImpulseSequence
        The sequence.
    mode : VibrationMode
        Gives the undamped natural frequency.
    damping_ratios : (Z,) array_like of float
        Damping ratios in any order, at least 0 and below 1.

    Returns
    -------
    (Z,) numpy.ndarray
        Residual vibration at each of them.

    Raises
    ------
    InvalidArgumentError
        "damping_ratios must be in [0, 1)."
    TypeError, ValueError
        For arguments of another kind or number of dimensions; the message names the argument.

    Notes
    -----
    Linear in Z and the number of impulses. Any number of threads may call it at once.

    Examples
    --------
    >>> from velmora import shaping
    >>> mode = shaping.VibrationMode(2.0, 0.0)
    >>> shaping.residual_over_damping(shaping.zv(mode), mode, [0.0, 0.1]).round(4).tolist()
    [0.0, 0.135]
    """

def insensitivity(sequence: ImpulseSequence, mode: VibrationMode, tolerance: velmora._typing.Real) -> InsensitivityBand:
    """
    Return the connected band of frequencies around a mode in which the residual is at most the tolerance.

    A hump within the band belongs to it where it exceeds the tolerance by no more than a millionth of it: humps that are
    designed to touch the tolerance do so up to roundings, and must not cut the band. With a hump that is higher the band ends
    before it. The search ends at ten times the frequency of the mode.

    Parameters
    ----------
    sequence : ImpulseSequence
        The sequence.
    mode : VibrationMode
        The mode in the band; its damping ratio holds for all of it.
    tolerance : float
        Tolerated residual vibration, above 0 and below 1.

    Returns
    -------
    InsensitivityBand
        The band; of width 0 where the residual of the mode itself is larger.

    Raises
    ------
    InvalidArgumentError
        "tolerance must be in (0, 1)."
    TypeError, ValueError
        For arguments of another kind; the message names the argument.

    Notes
    -----
    Any number of threads may call it at once. Source of the method: J. Vaughan, A. Yano, W. Singhose, "Comparison of robust
    input shapers", 2008.

    Examples
    --------
    >>> from velmora import shaping
    >>> mode = shaping.VibrationMode(5.0, 0.0)
    >>> round(shaping.insensitivity(shaping.zvd(mode), mode, 0.05).width, 3)
    0.287
    """

class ShapedCommand:
    """
    A shaped command in two parts, and what shaping had to do at its ends.

    Attributes
    ----------
    move : ShapedTrajectory
        The N samples up to the end of the raw command.
    tail : ShapedTrajectory
        The samples after it, until all copies have ended.
    added_duration_s : float
        How much longer the shaped command takes.
    lag_s : float
        How far it lags behind the raw one on average.
    start_velocity, start_acceleration, end_velocity, end_acceleration : (J,) numpy.ndarray
        Of the raw command at its first and last sample. Before and after them it is held at rest; where these are not zero
        the shaped command steps, by each amplitude's share.

    Notes
    -----
    Unchangeable, so that any number of threads may use it. It can be copied and pickled, and equals a command of the same
    bits.

    Examples
    --------
    >>> import velmora as vm
    >>> from velmora import shaping
    >>> raw = vm.JointTrajectory([[0.0], [1.0], [2.0]], dt=1.0)
    >>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
    >>> command = shaping.shape_trajectory(raw, halves, 1.0, method="linear")
    >>> command.added_duration_s, command.lag_s, command.end_velocity
    (0.5, 0.25, array([1.]))
    """

    def __init__(self, move: ShapedTrajectory, tail: ShapedTrajectory, added_duration_s: velmora._typing.Real, lag_s: velmora._typing.Real, start_velocity: velmora._typing.VectorLike, start_acceleration: velmora._typing.VectorLike, end_velocity: velmora._typing.VectorLike, end_acceleration: velmora._typing.VectorLike) -> None: ...

    @property
    def move(self) -> ShapedTrajectory: ...

    @property
    def tail(self) -> ShapedTrajectory: ...

    @property
    def added_duration_s(self) -> float: ...

    @property
    def lag_s(self) -> float: ...

    @property
    def start_velocity(self) -> velmora._typing.FloatArray: ...

    @property
    def start_acceleration(self) -> velmora._typing.FloatArray: ...

    @property
    def end_velocity(self) -> velmora._typing.FloatArray: ...

    @property
    def end_acceleration(self) -> velmora._typing.FloatArray: ...

    def __eq__(self, other: object) -> bool: ...

    def __copy__(self) -> object: ...

    def __deepcopy__(self, memo: dict[int, object]) -> object: ...

    def __reduce__(self) -> tuple[object, ...]: ...

    def __repr__(self) -> str: ...

    __hash__: ClassVar[None]  # type: ignore[assignment]  # none: compared by bits; `object` has another type

def shape_trajectory(trajectory: JointTrajectory, sequences: ImpulseSequence | Sequence[ImpulseSequence], sample_time_s: velmora._typing.Real | None = None, times_s: velmora._typing.VectorLike | None = None, method: velmora._typing.Method = 'cubic') -> ShapedCommand:
    """
    Return a trajectory shaped by impulse sequences.

    It is the sum of its delayed copies weighted by the amplitudes, each evaluated at its exact time. Before the first and
    after the last sample the raw command is held at rest.

    Parameters
    ----------
    trajectory : JointTrajectory
        The raw command, N samples of J joints.
    sequences : ImpulseSequence or sequence of ImpulseSequence
        One for all joints, with which a straight line in joint space stays straight, or one per joint: the shorter ones are
        then delayed until the centroids of all coincide.
    sample_time_s : float, optional
        Sample at the trajectory's own times, and after its end with this spacing until all copies have ended.
    times_s : (M,) array_like of float, optional
        Sample at these times instead, finite and strictly increasing. One of the two has to be given.
    method : ResamplingMethod or {"cubic", "linear"}
        Interpolation between samples. "cubic" is the library's spline with its derivatives; "linear" interpolates
        positions, velocities and accelerations of the trajectory alike.

    Returns
    -------
    ShapedCommand
        The command in two parts.

    Raises
    ------
    InvalidArgumentError
        "sequences must hold one sequence, or one per joint."; "sample_time_s must be positive.", or "times_s must contain
        only finite values." and "times_s must be strictly increasing."; "Cubic-spline construction produced non-finite
        coefficients."; "Unsupported resampling method: '<text>'."
    MemoryError
        Where memory runs out, and for a tail too long to be counted.
    TypeError, ValueError
        For arguments of another kind or number of dimensions, and where not exactly one of `sample_time_s` and `times_s` is
        given; the message names the argument.

    Notes
    -----
    Linear in the number of samples, joints and impulses. Any number of threads may call it at once. Source of the method:
    N. C. Singer, W. P. Seering, "Preshaping command inputs to reduce system vibration", 1990.

    Examples
    --------
    >>> import velmora as vm
    >>> from velmora import shaping
    >>> raw = vm.JointTrajectory([[0.0], [1.0], [2.0]], dt=1.0)
    >>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
    >>> shaping.shape_trajectory(raw, halves, 1.0, method="linear").move.positions
    array([[0.  ],
           [0.75],
           [1.75]])
    """

def join_move_and_tail(command: ShapedCommand) -> ShapedTrajectory:
    """
    Return both parts of a command in one: the samples of the move, then those of the tail.

    Parameters
    ----------
    command : ShapedCommand
        A shaped command.

    Returns
    -------
    ShapedTrajectory
        N + M samples of J joints.

    Raises
    ------
    InvalidArgumentError
        "command parts must have matching sample and joint shapes"
    TypeError
        For anything but a `ShapedCommand`.

    Notes
    -----
    Any number of threads may call it at once.

    Examples
    --------
    >>> import velmora as vm
    >>> from velmora import shaping
    >>> raw = vm.JointTrajectory([[0.0], [1.0], [2.0]], dt=1.0)
    >>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
    >>> command = shaping.shape_trajectory(raw, halves, 1.0, method="linear")
    >>> shaping.join_move_and_tail(command).positions
    array([[0.  ],
           [0.75],
           [1.75],
           [2.  ]])
    """

def path_deviation(trajectory: JointTrajectory, command: ShapedCommand) -> float:
    """
    Return how far a shaped command leaves the path of the raw one.

    Parameters
    ----------
    trajectory : JointTrajectory
        The raw command.
    command : ShapedCommand
        The same command shaped.

    Returns
    -------
    float
        The largest distance in joint space, over the samples of the command, to the nearest point of the raw path; the path
        is the polyline through the raw samples.

    Raises
    ------
    InvalidArgumentError
        "trajectory and command must have the same number of joints."; "command parts must have matching sample and joint
        shapes"
    TypeError
        For arguments of other classes.

    Notes
    -----
    Takes time in the samples of the command times those of the trajectory within the added duration. Any number of threads
    may call it at once.

    Examples
    --------
    >>> import velmora as vm
    >>> from velmora import shaping
    >>> corner = vm.JointTrajectory([[0.0, 0.0], [1.0, 0.0], [1.0, 1.0]], dt=1.0)
    >>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
    >>> command = shaping.shape_trajectory(corner, halves, times_s=[1.25], method="linear")
    >>> command.move.positions
    array([[0.875, 0.125]])
    >>> shaping.path_deviation(corner, command)
    0.125
    """

def blend_shaped_trajectory(raw: JointTrajectory, shaped: ShapedCommand, weight: velmora._typing.Real | velmora._typing.VectorLike, transition_s: velmora._typing.Real | None = None) -> ShapedCommand:
    """
    Blend a raw trajectory with its shaped copy: ``(1 - w) * raw + w * shaped``.

    Beyond the end of the raw trajectory its endpoint is held and blended with the tail, with the weight of the last sample.
    Where the weight changes with time, velocities and accelerations get the terms of the product rule, so that they remain
    derivatives of the positions.

    Parameters
    ----------
    raw : JointTrajectory
        The raw trajectory, N samples of J joints.
    shaped : ShapedCommand
        Its shaped copy, sampled at the same times.
    weight : float or (N,) array_like of float
        Share of the shaped copy in [0, 1]: one value, or one per sample of the raw trajectory.
    transition_s : float, optional
        Let the weight rise from 0 to this one value along `velmora.smootherstep` in so many seconds.

    Returns
    -------
    ShapedCommand
        The blend. Its `lag_s` and `added_duration_s` remain those of `shaped`.

    Raises
    ------
    InvalidArgumentError
        In this order: "command parts must have matching sample and joint shapes"; "raw and shaped.move must have the same
        number of joints."; "raw and shaped.move must have the same sample times."; "per-sample shaping weights must match
        the sample count"; "vibration_shaping_weight must be in [0.0, 1.0]"; "vibration_weight_transition_s must be
        non-negative".
    TypeError, ValueError
        For arguments of another kind or number of dimensions; the message names the argument.

    Notes
    -----
    Linear in the number of elements. Any number of threads may call it at once.

    Examples
    --------
    >>> import velmora as vm
    >>> from velmora import shaping
    >>> raw = vm.JointTrajectory([[0.0], [1.0], [2.0]], dt=1.0)
    >>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
    >>> command = shaping.shape_trajectory(raw, halves, 1.0, method="linear")
    >>> shaping.blend_shaped_trajectory(raw, command, 0.5).move.positions
    array([[0.   ],
           [0.875],
           [1.875]])
    """

def blended_sequence(sequence: ImpulseSequence, weight: velmora._typing.Real) -> ImpulseSequence:
    """
    Return the sequence that a blend with a constant weight amounts to.

    Its `residual_vibration` is that of the blend.

    Parameters
    ----------
    sequence : ImpulseSequence
        The sequence of the shaped copy.
    weight : float
        Share of the shaped copy in [0, 1].

    Returns
    -------
    ImpulseSequence
        The weight times the given one, and the rest at time 0.

    Raises
    ------
    InvalidArgumentError
        "vibration_shaping_weight must be in [0.0, 1.0]"
    TypeError, ValueError
        For arguments of another kind; the message names the argument.

    Notes
    -----
    Any number of threads may call it at once.

    Examples
    --------
    >>> from velmora import shaping
    >>> shaping.blended_sequence(shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5]), 0.5)
    ImpulseSequence(times_s=array([0. , 0.5]), amplitudes=array([0.75, 0.25]))
    """

class JointSample:
    """
    Position, velocity and acceleration of all joints at one time.

    Parameters
    ----------
    position, velocity, acceleration : (J,) array_like of float
        One value per joint.

    Raises
    ------
    TypeError, ValueError
        For arguments that are no one-dimensional arrays of real numbers; the message names the argument.

    Examples
    --------
    >>> from velmora import shaping
    >>> shaping.JointSample([1.0], [0.0], [0.0])
    JointSample(position=array([1.]), velocity=array([0.]), acceleration=array([0.]))
    """

    def __init__(self, position: velmora._typing.VectorLike, velocity: velmora._typing.VectorLike, acceleration: velmora._typing.VectorLike) -> None: ...

    @property
    def position(self) -> velmora._typing.FloatArray: ...

    @property
    def velocity(self) -> velmora._typing.FloatArray: ...

    @property
    def acceleration(self) -> velmora._typing.FloatArray: ...

    def __eq__(self, other: object) -> bool: ...

    def __copy__(self) -> object: ...

    def __deepcopy__(self, memo: dict[int, object]) -> object: ...

    def __reduce__(self) -> tuple[object, ...]: ...

    def __repr__(self) -> str: ...

    __hash__: ClassVar[None]  # type: ignore[assignment]  # none: compared by bits; `object` has another type

class StreamingShaper:
    """
    Shapes a command as it comes, one sample at a time.

    What comes out is, to the last bit but the sign of a zero, what `shape_trajectory` with ``method="linear"`` and one sequence
    for all joints gives for the whole command at the times k `sample_time_s`.

    Parameters
    ----------
    sequence : ImpulseSequence
        The sequence of all joints.
    joints : int
        Number of joints J.
    sample_time_s : float
        Time between samples, finite and positive.

    Attributes
    ----------
    at_rest : bool
        Whether nothing would move any more without another sample.

    Raises
    ------
    InvalidArgumentError
        "joints must be non-negative."; "sample_time_s must be positive."
    MemoryError
        Where memory runs out.
    TypeError, ValueError
        For arguments of another kind; the message names the argument.

    Notes
    -----
    One shaper belongs to one thread.

    Examples
    --------
    >>> from velmora import shaping
    >>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
    >>> shaper = shaping.StreamingShaper(halves, joints=1, sample_time_s=0.5)
    >>> for position in (0.0, 1.0):
    ...     print(shaper.step(shaping.JointSample([position], [0.0], [0.0])).position)
    [0.]
    [0.5]
    >>> shaper.step_tail().position
    array([1.])
    """

    def __init__(self, sequence: ImpulseSequence, joints: SupportsIndex, sample_time_s: velmora._typing.Real) -> None: ...

    def step(self, raw: JointSample) -> JointSample:
        """
        Take the next sample of the command, and return the shaped one of the same time.

        Parameters
        ----------
        raw : JointSample
            The sample, `sample_time_s` after the one before; before the first one the command stood still where it is.

        Returns
        -------
        JointSample
            What the machine is to do now.

        Raises
        ------
        InvalidArgumentError
            "raw sample must have the number of joints of the shaper."; "raw sample must contain only finite values."

        Examples
        --------
        >>> from velmora import shaping
        >>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
        >>> shaper = shaping.StreamingShaper(halves, joints=1, sample_time_s=0.5)
        >>> shaper.step(shaping.JointSample([1.0], [0.0], [0.0])).position
        array([1.])
        >>> shaper.step(shaping.JointSample([2.0], [0.0], [0.0])).position
        array([1.5])
        """

    def step_tail(self) -> JointSample:
        """
        Soft stop: take the last sample once more, at rest, and return the shaped one.

        Returns
        -------
        JointSample
            What the machine is to do now.

        Raises
        ------
        InvalidArgumentError
            "no sample has been shaped yet."

        Examples
        --------
        >>> from velmora import shaping
        >>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
        >>> shaper = shaping.StreamingShaper(halves, joints=1, sample_time_s=0.5)
        >>> shaper.step(shaping.JointSample([1.0], [0.0], [0.0])).position
        array([1.])
        >>> shaper.step_tail().position
        array([1.])
        """

    def hard_stop(self) -> JointSample:
        """
        Hard stop: hold the last shaped position at rest, and forget the command.

        Returns
        -------
        JointSample
            That position, with velocity and acceleration zero.

        Raises
        ------
        InvalidArgumentError
            "no sample has been shaped yet."

        Examples
        --------
        >>> from velmora import shaping
        >>> halves = shaping.ImpulseSequence([0.0, 0.5], [0.5, 0.5])
        >>> shaper = shaping.StreamingShaper(halves, joints=1, sample_time_s=0.5)
        >>> shaper.step(shaping.JointSample([1.0], [0.0], [0.0])).position
        array([1.])
        >>> shaper.hard_stop().position, shaper.at_rest
        (array([1.]), True)
        """

    @property
    def at_rest(self) -> bool: ...
