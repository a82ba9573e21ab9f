# SPDX-License-Identifier: Apache-2.0
"""A program full of wrong types: a type checker must complain about every line that is marked."""

import numpy as np
import velmora as vm
from numpy.typing import NDArray

trajectory = vm.JointTrajectory([[0.0], [1.0]], dt=0.1)
vm.JointTrajectory("positions", dt=0.1)  # wrong
vm.JointTrajectory([0.0, 1.0], dt=0.1)  # wrong
vm.JointTrajectory([[1j]], dt=0.1)  # wrong
letters: NDArray[np.str_] = np.array([["a"]])
vm.JointTrajectory(letters, dt=0.1)  # wrong
vm.JointTrajectory([[0.0]], dt="0.1")  # wrong
vm.JointTrajectory([[0.0]], dt=0.1, rate=10)  # wrong
vm.JointTrajectory()  # wrong
trajectory.positions = np.zeros((2, 1))  # wrong
trajectory.resample(0.1, "quintic")  # wrong
trajectory.resample(0.1, "cubic", "exact")  # wrong
trajectory.resample(samples=2.5)  # wrong
trajectory.resample()  # wrong
trajectory.resample(0.1, samples=3)  # wrong
trajectory.resample(0.1, rate_hz=3)  # wrong
trajectory.resample(samples=3, rate_hz=3)  # wrong
trajectory.resample(None)  # wrong
vm.JointTrajectory([[0.0], [1.0]], time=["0.0", "0.1"])  # wrong
trajectory.resample(rate_hz="500")  # wrong
trajectory.sample("now")  # wrong
trajectory.speed()  # wrong
text: str = trajectory.sample_count  # wrong
vm.smootherstep("half")  # wrong
vm.blend_arrays([[0.0]], [[0.0]], None)  # wrong
vm.joint_path_coordinate(3.0)  # wrong
vm.sample_aligned_first_difference([[0.0]], None)  # wrong
vm.parse_resampling_method(1)  # wrong
vm.JointStateLimits(position=[0.0])  # wrong
vm.JointStateBox([0.0])  # wrong
vm.ShapedTrajectory([[0.0]], [[0.0]], [[0.0]])  # wrong
vm.blend_tail_with_held_raw_endpoint([0.0], trajectory, 0.5)  # wrong
vm.resample_trajectory([[0.0]], 0.1)  # wrong
