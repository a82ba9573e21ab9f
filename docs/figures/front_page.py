# A fast turn, raw and shaped for a joint that swings at 5 Hz, and what the machine does after it.
# SPDX-License-Identifier: Apache-2.0
import matplotlib.pyplot as plt
import numpy as np
import velmora as vm
from scipy.signal import lsim
from velmora import shaping

mode = shaping.VibrationMode(frequency_hz=5.0, damping_ratio=0.02)
time = np.arange(0.0, 2.001, 0.001)
raw = vm.JointTrajectory(vm.smootherstep(time / 0.35)[:, None], time=time)
shaped = shaping.shape_trajectory(raw, shaping.zvd(mode), times_s=time).move
w, z = 2 * np.pi * mode.frequency_hz, mode.damping_ratio
machine = ([w**2], [1.0, 2 * z * w, w**2])

figure, (command, swing) = plt.subplots(1, 2, figsize=(8.5, 3.2))
for name, color, move in (("raw", "#c8641e", raw), ("shaped (ZVD)", "#1f6fb2", shaped)):
    _, tip, _ = lsim(machine, move.positions[:, 0], time)
    command.plot(time, move.positions, color=color, label=name)
    swing.plot(time, 1000 * (tip - 1.0), color=color, label=name)
command.set(xlim=(0, 0.8), xlabel="time in s", ylabel="commanded angle in rad")
swing.set(ylim=(-60, 60), xlabel="time in s", ylabel="machine minus goal in mrad")
command.legend()
