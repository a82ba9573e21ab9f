# The speed of one joint, its admissible band, and where it is left.
# SPDX-License-Identifier: Apache-2.0
import matplotlib.pyplot as plt
import numpy as np
import velmora as vm

time = np.linspace(0.0, 1.0, 201)
speed = vm.JointTrajectory(vm.smootherstep(time)[:, None], time=time).velocities[:, 0]
box = vm.JointStateBox([-1.6], [1.6])
outside = (speed < box.lower[0]) | (speed > box.upper[0])
plt.axhspan(box.lower[0], box.upper[0], color="#3a8f5c", alpha=0.15, label="admissible")
plt.plot(time, speed, label="velocity")
plt.plot(time[outside], speed[outside], color="#c8641e", linewidth=3, label="outside")
plt.xlabel("time in s")
plt.ylabel("velocity in rad/s")
plt.legend(loc="lower right")
