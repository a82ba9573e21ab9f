# SPDX-License-Identifier: Apache-2.0
# A command that is stopped half way, by a soft and by a hard stop.
import matplotlib.pyplot as plt
import numpy as np
import velmora as vm
from velmora import shaping

STEP_S, STOP = 0.002, 110
zvd = shaping.zvd(shaping.VibrationMode(frequency_hz=5.0, damping_ratio=0.02))
time = np.arange(260) * STEP_S
raw = vm.JointTrajectory(vm.smootherstep(time / 0.4)[:, None], time=time)


def stopped(soft):
    shaper = shaping.StreamingShaper(zvd, joints=1, sample_time_s=STEP_S)
    out = []
    for k in range(len(time)):
        if k < STOP:
            out.append(shaper.step(shaping.JointSample(raw.positions[k], raw.velocities[k], raw.accelerations[k])))
        else:
            out.append(shaper.step_tail() if soft else shaper.hard_stop())
    return np.array([sample.position[0] for sample in out])


plt.plot(time[:STOP], raw.positions[:STOP], color="#8a97a6", label="command, until it stops")
plt.plot(time, stopped(soft=True), color="#1f6fb2", label="soft stop: what was commanded is finished")
plt.plot(time, stopped(soft=False), color="#c8641e", label="hard stop: held at once")
plt.axvline(time[STOP], color="#8a97a6", linewidth=0.8, linestyle=":")
plt.xlabel("time in s; the stop is at the dotted line")
plt.ylabel("position in rad")
plt.legend()
