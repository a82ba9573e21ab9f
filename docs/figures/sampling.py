# Three samples, the lines between them, and three queries.
# SPDX-License-Identifier: Apache-2.0
import matplotlib.pyplot as plt
import velmora as vm

move = vm.JointTrajectory([[0.0], [1.0], [3.0]], time=[0.0, 0.5, 1.0])
at = move.sample([0.1, 0.35, 0.8])
plt.plot(move.time, move.positions, "-o", color="#1f2d3d", label="samples")
plt.vlines(at.time, 0, at.positions[:, 0], color="#c8641e", linewidth=1)
plt.plot(at.time, at.positions, "D", color="#c8641e", label="queries")
plt.xlabel("time in s")
plt.ylabel("position in rad")
plt.legend()
