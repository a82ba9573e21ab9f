# A fast turn, raw and shaped for a joint that swings at 5 Hz, and what the machine does after it.
# SPDX-License-Identifier: Apache-2.0
import matplotlib.pyplot as plt
import numpy as np
import velmora as vm
from scipy.signal import lsim
from velmora import shaping

CALM_RAD = 0.001
mode = shaping.VibrationMode(frequency_hz=5.0, damping_ratio=0.02)
time = np.arange(0.0, 6.001, 0.001)
raw = vm.JointTrajectory(vm.smootherstep(time / 0.35)[:, None], time=time)
shaped = shaping.shape_trajectory(raw, shaping.zvd(mode), times_s=time).move
w, z = 2 * np.pi * mode.frequency_hz, mode.damping_ratio
machine = ([w**2], [1.0, 2 * z * w, w**2])

_, (command, swing) = plt.subplots(2, 1, figsize=(6.4, 4.6), height_ratios=[2, 3])
for name, color, move in (("raw", "#c8641e", raw), ("shaped", "#1f6fb2", shaped)):
    _, tip, _ = lsim(machine, move.positions[:, 0], time)
    calm_s = time[np.abs(tip - 1.0) > CALM_RAD][-1]
    command.plot(time, move.positions, color=color, label=name)
    swing.plot(time, 1000 * (tip - 1.0), color=color, linewidth=1.2, label=f"{name}: calm after {calm_s:.1f} s")
command.set(xlim=(0, 0.8), ylabel="command in rad")
swing.set(xlim=(0, 6), ylim=(-26, 26), xlabel="time in s", ylabel="machine minus goal\nin mrad")
swing.legend(loc="upper right")
command.legend(loc="lower right")
