# Forward difference and three-point derivative of a coarse sine.
# SPDX-License-Identifier: Apache-2.0
import matplotlib.pyplot as plt
import numpy as np
import velmora as vm

time = np.linspace(0.0, 1.0, 13)
signal = np.sin(2 * np.pi * time)[:, None]
fine = np.linspace(0.0, 1.0, 200)
plt.plot(fine, 2 * np.pi * np.cos(2 * np.pi * fine), color="#8a97a6", label="true velocity")
plt.plot(time, vm.sample_aligned_first_difference(signal, time), "s", label="forward difference")
plt.plot(time, vm.JointTrajectory(signal, time=time).velocities, "o", label="three-point derivative")
plt.xlabel("time in s")
plt.ylabel("velocity in rad/s")
plt.legend()
