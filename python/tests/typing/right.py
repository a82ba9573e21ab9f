# SPDX-License-Identifier: Apache-2.0
"""A user's program that touches every name: type checkers must be silent, and it must run."""

from __future__ import annotations

import copy
import pickle

import numpy as np
import pandas as pd
import velmora as vm
from numpy.typing import NDArray

positions: NDArray[np.float64] = np.linspace(0.0, 1.0, 8).reshape(4, 2)
time = [0.0, 0.1, 0.25, 0.35]
trajectory = vm.JointTrajectory(positions, time=time)
from_lists: vm.JointTrajectory = vm.JointTrajectory([[0, 1], [2, 3]], None, None, None, 0.1, None)
from_integers = vm.JointTrajectory(np.arange(6).reshape(3, 2), dt=np.float32(0.1))
from_pandas = vm.JointTrajectory(pd.DataFrame({"a": [0.0, 1.0]}), time=pd.Series([0.0, 1.0]))
from_numpy_numbers = vm.JointTrajectory([[np.int64(0)], [np.int64(1)]], time=list(np.arange(2)))
whole_seconds: list[np.int64] = [np.int64(0), np.int64(1)]
from_whole_seconds = vm.JointTrajectory([[0.0], [1.0]], time=whole_seconds)
from_frame = vm.JointTrajectory(pd.DataFrame({"a": [0.0, 1.0]}).convert_dtypes(), dt=0.1)
from_rows = vm.JointTrajectory([positions[0], positions[1]], dt=1)

arrays: list[NDArray[np.float64]] = [
    trajectory.positions,
    trajectory.time,
    trajectory.velocities,
    trajectory.accelerations,
    trajectory.jerks,
]
counts: tuple[int, int] = (trajectory.sample_count, trajectory.joint_count)
times: tuple[float, float, float] = (trajectory.start_time_s, trajectory.end_time_s, trajectory.duration_s)
copies: list[vm.JointTrajectory] = [
    trajectory.copy(),
    copy.copy(trajectory),
    copy.deepcopy(trajectory),
    pickle.loads(pickle.dumps(trajectory)),
]
same: bool = trajectory == copies[0]
text: str = repr(trajectory)

by_spacing: vm.JointTrajectory = trajectory.resample(0.004, "linear", "exact_dt_trim", strict_cubic=True)
by_members = trajectory.resample(0.004, vm.ResamplingMethod.cubic, vm.ResamplingTimeGridMode.exact_dt_extend_endpoint)
by_rate = trajectory.resample(rate_hz=250)
by_rate_alone = trajectory.resample(None, "linear", rate_hz=np.float32(250), samples=None)
by_count = trajectory.resample(samples=np.int64(50))
sampled: vm.JointTrajectory = trajectory.sample(np.array([0.1, 0.2]), include_derivatives=False)
sampled_too = vm.sample_trajectory_at_times(trajectory, (0.1, 0.2), True)
resampled_too = vm.resample_trajectory(trajectory, 0.004, "cubic", "exact_duration_adjust_dt", False)

method: vm.ResamplingMethod = vm.parse_resampling_method("cubic")
mode: vm.ResamplingTimeGridMode = vm.parse_resampling_time_grid_mode("exact_dt_append_endpoint")
difference: NDArray[np.float64] = vm.sample_aligned_first_difference(positions, 0.1)
difference_of_times = vm.sample_aligned_first_difference(positions, time)
one: float = vm.smootherstep(0.25)
many: NDArray[np.float64] = vm.smootherstep([0.0, 0.5])
vm.validate_vibration_shaping_weight(0.5)
vm.validate_vibration_weight_transition_s(0)
vm.validate_vibration_weight_rate_per_s(np.float64(2.0))
blend: NDArray[np.float64] = vm.blend_arrays(positions, positions, [0.0, 0.5, 0.5, 1.0])
path: NDArray[np.float64] = vm.joint_path_coordinate(positions)

tail = vm.ShapedTrajectory(positions, positions, positions, time)
tail_arrays: list[NDArray[np.float64]] = [tail.positions, tail.velocities, tail.accelerations, tail.time]
blended_tail: vm.ShapedTrajectory = vm.blend_tail_with_held_raw_endpoint([0.0, 1.0], tail, 0.5)
box = vm.JointStateBox([0.0, 0.0], [1.0, 1.0])
limits = vm.JointStateLimits(position=box, velocity=None)
position_limits: vm.JointStateBox | None = limits.position
all_limits = [limits.velocity, limits.acceleration, limits.jerk]
ends: tuple[NDArray[np.float64], NDArray[np.float64]] = (box.lower, box.upper)

version: str = vm.__version__
try:
    vm.smootherstep(float("nan"))
except vm.InvalidArgumentError as error:
    name: str | None = error.argument_name
    code: int = error.code
