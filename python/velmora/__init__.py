# SPDX-License-Identifier: Apache-2.0
"""Time-sampled joint-space trajectories and vibration-shaping blends on numpy arrays."""

from velmora._core import (
    JointStateBox,
    JointStateLimits,
    JointTrajectory,
    ShapedTrajectory,
    __version__,
    blend_arrays,
    blend_tail_with_held_raw_endpoint,
    joint_path_coordinate,
    parse_resampling_method,
    parse_resampling_time_grid_mode,
    resample_trajectory,
    sample_aligned_first_difference,
    sample_trajectory_at_times,
    smootherstep,
    validate_vibration_shaping_weight,
    validate_vibration_weight_rate_per_s,
    validate_vibration_weight_transition_s,
)
from velmora._enums import ResamplingMethod, ResamplingTimeGridMode
from velmora._errors import InvalidArgumentError
from velmora._resampling import resample

# A method like the others, though written in Python: what C++ returns has it too.
setattr(JointTrajectory, "resample", resample)  # noqa: B010  # type checkers refuse an assignment
del resample

__all__ = [
    "InvalidArgumentError",
    "JointStateBox",
    "JointStateLimits",
    "JointTrajectory",
    "ResamplingMethod",
    "ResamplingTimeGridMode",
    "ShapedTrajectory",
    "__version__",
    "blend_arrays",
    "blend_tail_with_held_raw_endpoint",
    "joint_path_coordinate",
    "parse_resampling_method",
    "parse_resampling_time_grid_mode",
    "resample_trajectory",
    "sample_aligned_first_difference",
    "sample_trajectory_at_times",
    "smootherstep",
    "validate_vibration_shaping_weight",
    "validate_vibration_weight_rate_per_s",
    "validate_vibration_weight_transition_s",
]
