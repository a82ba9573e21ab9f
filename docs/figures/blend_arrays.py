# A raw and a shaped move, and two blends of them.
# SPDX-License-Identifier: Apache-2.0
import matplotlib.pyplot as plt
import numpy as np
import velmora as vm

time = np.linspace(0.0, 1.2, 241)
raw = vm.smootherstep(time / 0.8)[:, None]
shaped = (raw + vm.smootherstep((time - 0.3) / 0.8)[:, None]) / 2
plt.plot(time, raw, color="#8a97a6", label="raw, weight 0")
plt.plot(time, shaped, color="#1f2d3d", label="shaped, weight 1")
plt.plot(time, vm.blend_arrays(raw, shaped, 0.5), label="weight 0.5")
plt.plot(time, vm.blend_arrays(raw, shaped, vm.smootherstep(time / 0.8)), label="weight from 0 to 1")
plt.xlabel("time in s")
plt.ylabel("position in rad")
plt.legend()
