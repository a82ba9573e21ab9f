# The ramp and its first two derivatives.
# SPDX-License-Identifier: Apache-2.0
import matplotlib.pyplot as plt
import numpy as np
import velmora as vm

x = np.linspace(0.0, 1.0, 401)
ramp = vm.JointTrajectory(vm.smootherstep(x)[:, None], time=x)
for name, values in (("s", ramp.positions), ("s'", ramp.velocities), ("s''", ramp.accelerations)):
    plt.plot(x, values, label=name)
plt.xlabel("progress")
plt.legend()
