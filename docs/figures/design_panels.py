# SPDX-License-Identifier: Apache-2.0
# Drawn by the figures of the designs: the impulses of each, and what it leaves of the vibration beside its mode.
import matplotlib.pyplot as plt
import numpy as np
from velmora import shaping

MODE = shaping.VibrationMode(frequency_hz=1.0, damping_ratio=0.0)
MUTED = "#8a97a6"


def draw(sequences, ratios=(0.5, 1.5), most=0.3, tolerance=None):
    """Left the impulses of each sequence, one row for each; right their residuals over the machine's frequency."""
    _, (impulses, residual) = plt.subplots(1, 2, figsize=(8.5, 3.2))
    ratio = np.linspace(*ratios, 801)
    for row, (name, sequence) in enumerate(sequences.items()):
        color = f"C{row}"
        foot = -1.25 * row
        heights = sequence.amplitudes / np.abs(sequence.amplitudes).max()
        impulses.axhline(foot, color=MUTED, linewidth=0.8)
        impulses.vlines(sequence.times_s, foot, foot + heights * 0.85, color=color, linewidth=2)
        impulses.plot(sequence.times_s, foot + heights * 0.85, "o", color=color, markersize=4)
        left = shaping.residual_over_frequency(sequence, MODE, ratio)
        residual.plot(ratio, 100 * left, color=color, label=name)
    impulses.set(xlabel="time in periods of the mode", yticks=[-1.25 * row for row in range(len(sequences))])
    impulses.set_yticklabels(list(sequences))
    impulses.set_xlim(-0.08, None)
    if tolerance is not None:
        residual.axhline(100 * tolerance, color=MUTED, linewidth=0.8, linestyle="--")
    residual.set(
        xlim=ratios,
        ylim=(0, 100 * most),
        xlabel="frequency of the machine, in units of the mode's",
        ylabel="vibration left in %",
    )
    residual.legend()
