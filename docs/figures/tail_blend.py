# A move, its shaped copy with a tail, and the blend of the two with weight 0.5.
# SPDX-License-Identifier: Apache-2.0
import matplotlib.pyplot as plt
import numpy as np
import velmora as vm

time = np.linspace(0.0, 1.0, 101)
late = np.linspace(1.0, 1.4, 41)


def shaped(t):
    return (vm.smootherstep(t) + vm.smootherstep(t - 0.4))[:, None] / 2


raw, tail = vm.smootherstep(time)[:, None], shaped(late)
rest = np.zeros_like(tail)
blend = vm.blend_tail_with_held_raw_endpoint(raw[-1], vm.ShapedTrajectory(tail, rest, rest, late), 0.5)
plt.plot(time, raw, color="#8a97a6", label="raw, held after its end")
plt.hlines(1.0, 1.0, 1.4, color="#8a97a6", linestyle="--")
plt.plot(np.append(time, late), np.vstack([shaped(time), tail]), color="#1f2d3d", label="shaped")
plt.plot(time, vm.blend_arrays(raw, shaped(time), 0.5), color="#1f6fb2", label="blend")
plt.plot(blend.time, blend.positions, color="#c8641e", label="blend of the tail")
plt.axvline(1.0, color="#8a97a6", linewidth=0.8, linestyle=":")
plt.xlim(0.5, 1.4)
plt.ylim(0.4, 1.05)
plt.xlabel("time in s")
plt.ylabel("position in rad")
plt.legend()
