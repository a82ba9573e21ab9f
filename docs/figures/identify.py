# SPDX-License-Identifier: Apache-2.0
# The free decay that is found in a recording of a whole move, and the mode that explains it.
import matplotlib.pyplot as plt
import numpy as np
import velmora as vm
from scipy.signal import lsim
from velmora.identify import identify_modes

w, z = 2 * np.pi * 5.0, 0.02
time = np.arange(1000) / 250
command = vm.smootherstep(time / 0.35)
_, tip, _ = lsim(([w**2], [1.0, 2 * z * w, w**2]), command, time)
recorded = tip + np.random.default_rng(1).normal(0.0, 0.002, time.size)
found = identify_modes(time, recorded)
mode = found.modes[0]

decay = time >= found.start_s
figure, (whole, near) = plt.subplots(1, 2, figsize=(8.5, 3.2))
whole.plot(time, recorded, color="#8a97a6", label="recorded")
near.plot(time, 1000 * (recorded - 1.0), ".", markersize=3, color="#8a97a6")
near.plot(time[decay], 1000 * (found.evaluate(time[decay])[:, 0] - 1.0), color="#1f6fb2")
for panel in (whole, near):
    panel.axvspan(found.start_s, found.end_s, color="#1f6fb2", alpha=0.08, linewidth=0, label="free decay, found")
    panel.set_xlabel("time in s")
whole.set_ylabel("position in rad")
near.set(xlim=(0.2, 2.2), ylim=(-35, 35), ylabel="position minus goal in mrad")
near.set_title(f"{mode.frequency_hz.value:.3f} Hz, damping {mode.damping_ratio.value:.4f}", loc="left")
whole.legend()
