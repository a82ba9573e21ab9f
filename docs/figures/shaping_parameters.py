# How a controller moves the weight: within a transition time, or at a rate.
# SPDX-License-Identifier: Apache-2.0
import matplotlib.pyplot as plt
import numpy as np
import velmora as vm

weight, transition_s, rate_per_s = 0.8, 0.5, 1.2
vm.validate_vibration_shaping_weight(weight)
vm.validate_vibration_weight_transition_s(transition_s)
vm.validate_vibration_weight_rate_per_s(rate_per_s)

time = np.linspace(0.0, 1.0, 401)
plt.axhspan(0.0, 1.0, color="#3a8f5c", alpha=0.12, label="weights that are accepted")
plt.plot(time, weight * vm.smootherstep(time / transition_s), label="to 0.8 within a transition of 0.5 s")
plt.plot(time, np.minimum(weight, rate_per_s * time), label="to 0.8 at a rate of 1.2 per s")
plt.ylim(-0.2, 1.2)
plt.xlabel("time in s")
plt.ylabel("weight")
plt.legend(loc="lower right")
