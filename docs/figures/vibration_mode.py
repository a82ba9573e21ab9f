# SPDX-License-Identifier: Apache-2.0
# A free oscillation, with its period and what half of one leaves of the amplitude.
import matplotlib.pyplot as plt
import numpy as np
from velmora import shaping

mode = shaping.VibrationMode(frequency_hz=5.0, damping_ratio=0.08)
period, decay = mode.damped_period_s, mode.half_period_decay
time = np.linspace(0.0, 3.2 * period, 600)
envelope = np.exp(-2 * np.pi * mode.frequency_hz * mode.damping_ratio * time)
plt.plot(time, envelope * np.cos(2 * np.pi * time / period))
for sign in (1, -1):
    plt.plot(time, sign * envelope, color="#8a97a6", linewidth=0.8, linestyle="--")
plt.plot([0, period / 2], [1, -decay], "o", color="#c8641e")
plt.annotate("1", (0, 1), (6, 4), textcoords="offset points")
plt.annotate("\u2212K, half a period later", (period / 2, -decay), (8, -6), textcoords="offset points")
plt.annotate("", (2 * period, 0.62), (period, 0.62), arrowprops={"arrowstyle": "<->", "lw": 0.8})
plt.text(1.5 * period, 0.68, "$T_d$", ha="center")
plt.ylim(-1.1, 1.2)
plt.xlabel("time in s")
plt.ylabel("deflection")
