# The shortest complete use from Python, shown on the front page.
# SPDX-License-Identifier: Apache-2.0
# door
import numpy as np
import velmora as vm

log = np.loadtxt("pick_and_place_250hz.csv", delimiter=",", skiprows=2)
move = vm.JointTrajectory(log[:, 1:], time=log[:, 0])
smooth = move.resample(0.002)
print(abs(smooth.velocities).max(axis=0))
