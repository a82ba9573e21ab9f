# SPDX-License-Identifier: Apache-2.0
# A raw move, its shaped copy, a blend of the two with one weight and one whose weight rises.
import matplotlib.pyplot as plt
import numpy as np
import velmora as vm
from velmora import shaping

time = np.linspace(0.0, 0.4, 201)
raw = vm.JointTrajectory(vm.smootherstep(time / 0.4)[:, None], time=time)
zvd = shaping.zvd(shaping.VibrationMode(frequency_hz=5.0, damping_ratio=0.02))
shaped = shaping.shape_trajectory(raw, zvd, sample_time_s=0.002)

figure, (position, velocity) = plt.subplots(1, 2, figsize=(8.5, 3.2))
position.plot(raw.time, raw.positions, color="#8a97a6", label="raw")
velocity.plot(raw.time, raw.velocities, color="#8a97a6")
for name, color, command in (
    ("shaped", "#1f2d3d", shaped),
    ("one half of each", "#1f6fb2", shaping.blend_shaped_trajectory(raw, shaped, 0.5)),
    ("share rising to 1 in 0.3 s", "#c8641e", shaping.blend_shaped_trajectory(raw, shaped, 1.0, transition_s=0.3)),
):
    whole = shaping.join_move_and_tail(command)
    position.plot(whole.time, whole.positions, color=color, label=name)
    velocity.plot(whole.time, whole.velocities, color=color)
for panel in (position, velocity):
    panel.set_xlabel("time in s")
position.set_ylabel("position in rad")
velocity.set_ylabel("velocity in rad/s")
position.legend()
