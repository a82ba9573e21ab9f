# SPDX-License-Identifier: Apache-2.0
"""The two enumerations of resampling; their values are those of the C++ interface."""

from __future__ import annotations

from enum import IntEnum


class ResamplingMethod(IntEnum):
    """How values between samples are interpolated. Every parameter takes a member or its name.

    Attributes
    ----------
    linear
        Piecewise linear.
    cubic
        Not-a-knot cubic spline.
    """

    linear = 0
    cubic = 1


class ResamplingTimeGridMode(IntEnum):
    """How the samples of a new time grid lie between the first and the last time. Parameters take a member or its name.

    Attributes
    ----------
    exact_dt_append_endpoint
        Exact spacing; the end time is always the last sample.
    exact_dt_trim
        Exact spacing; what does not fill a step is dropped.
    exact_duration_adjust_dt
        Exact duration; the spacing is adjusted.
    exact_dt_extend_endpoint
        Exact spacing; the last sample may lie beyond the end.
    """

    exact_dt_append_endpoint = 0
    exact_dt_trim = 1
    exact_duration_adjust_dt = 2
    exact_dt_extend_endpoint = 3
