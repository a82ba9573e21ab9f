# What three shapers leave of the vibration where the machine is not as modelled.
# SPDX-License-Identifier: Apache-2.0
import matplotlib.pyplot as plt
import numpy as np
from velmora import shaping

modelled = shaping.VibrationMode(frequency_hz=5.0, damping_ratio=0.02)
ratio = np.linspace(0.6, 1.4, 401)
for name, sequence in (
    ("ZV", shaping.zv(modelled)),
    ("ZVD", shaping.zvd(modelled)),
    ("EI", shaping.ei(modelled, 0.05)),
):
    left = [
        shaping.residual_vibration(sequence, shaping.VibrationMode(5.0 * factor, modelled.damping_ratio))
        for factor in ratio
    ]
    plt.plot(ratio, 100 * np.array(left), label=name)
plt.axhline(5.0, color="#8a97a6", linewidth=0.8, linestyle="--")
plt.xlabel("frequency of the machine, in units of the modelled one")
plt.ylabel("vibration left in %")
plt.ylim(0, 50)
plt.legend()
