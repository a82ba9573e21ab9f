# SPDX-License-Identifier: Apache-2.0
# The sequences of two modes, and the one that shapes for both.
import matplotlib.pyplot as plt
from velmora import shaping

slow = shaping.zv(shaping.VibrationMode(frequency_hz=5.0, damping_ratio=0.02))
fast = shaping.zv(shaping.VibrationMode(frequency_hz=12.0, damping_ratio=0.05))
figure, panels = plt.subplots(1, 3, figsize=(8.5, 2.8), sharex=True, sharey=True)
for panel, name, sequence in zip(
    panels, ("ZV for 5 Hz", "ZV for 12 Hz", "both, convolved"), (slow, fast, shaping.convolve(slow, fast)), strict=True
):
    panel.vlines(sequence.times_s, 0, sequence.amplitudes, linewidth=2, color="#1f6fb2")
    panel.plot(sequence.times_s, sequence.amplitudes, "o", color="#1f6fb2")
    panel.axhline(0, color="#8a97a6", linewidth=0.8)
    panel.set(title=name, xlabel="time in s", ylim=(0, 0.65))
panels[0].set_ylabel("share of the copy")
