# SPDX-License-Identifier: Apache-2.0
# A move, its delayed copies, and their sum with its tail.
import matplotlib.pyplot as plt
import numpy as np
import velmora as vm
from velmora import shaping

time = np.linspace(0.0, 0.4, 201)
raw = vm.JointTrajectory(vm.smootherstep(time / 0.4)[:, None], time=time)
zvd = shaping.zvd(shaping.VibrationMode(frequency_hz=5.0, damping_ratio=0.02))
shaped = shaping.join_move_and_tail(shaping.shape_trajectory(raw, zvd, sample_time_s=0.002))

figure, (position, velocity) = plt.subplots(1, 2, figsize=(8.5, 3.2))
late = np.linspace(0.0, 0.62, 311)
for k, (delay, share) in enumerate(zip(zvd.times_s, zvd.amplitudes, strict=True)):
    copy = share * vm.smootherstep((late - delay) / 0.4)
    position.plot(late, copy, color="#8a97a6", linewidth=1, label=None if k else "delayed copies")
position.plot(raw.time, raw.positions, color="#c8641e", label="raw")
position.plot(shaped.time, shaped.positions, color="#1f6fb2", label="shaped: their sum")
velocity.plot(raw.time, raw.velocities, color="#c8641e")
velocity.plot(shaped.time, shaped.velocities, color="#1f6fb2")
for panel in (position, velocity):
    panel.axvline(raw.time[-1], color="#8a97a6", linewidth=0.8, linestyle=":")
    panel.set_xlabel("time in s; the tail begins at the dotted line")
position.set_ylabel("position in rad")
velocity.set_ylabel("velocity in rad/s")
position.legend()
