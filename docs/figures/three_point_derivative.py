# The parabola through three uneven samples, and its tangent in the middle one.
# SPDX-License-Identifier: Apache-2.0
import matplotlib.pyplot as plt
import numpy as np
import velmora as vm

time = np.array([0.0, 0.5, 0.9, 1.7, 2.2])
samples = np.sin(1.4 * time)
velocity = vm.JointTrajectory(samples[:, None], time=time).velocities[2, 0]
parabola = np.polynomial.Polynomial.fit(time[1:4], samples[1:4], 2)
near = np.linspace(0.35, 1.85, 60)
plt.plot(near, parabola(near), color="#8a97a6", label="parabola through three samples")
tangent = time[2] + np.array([-0.4, 0.4])
plt.plot(tangent, samples[2] + velocity * (tangent - time[2]), label=f"its slope there: {velocity:.3f}")
plt.plot(time, samples, "o", color="#1f2d3d", label="samples")
plt.xlabel("time in s")
plt.ylabel("position in rad")
plt.legend()
