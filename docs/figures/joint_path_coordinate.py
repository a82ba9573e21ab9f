# A path of two joints with a dot every 0.05 s, and the length along it.
# SPDX-License-Identifier: Apache-2.0
import matplotlib.pyplot as plt
import numpy as np
import velmora as vm

time = np.linspace(0.0, 1.0, 101)
progress = vm.smootherstep(time)
path = np.column_stack([progress, np.sin(np.pi * progress) / 2])
figure, (plane, length) = plt.subplots(1, 2)
plane.plot(*path.T, color="#8a97a6")
plane.plot(*path[::5].T, "o", markersize=4)
plane.set(xlabel="joint 1 in rad", ylabel="joint 2 in rad", aspect="equal")
length.plot(time, vm.joint_path_coordinate(path))
length.set(xlabel="time in s", ylabel="length in rad")
