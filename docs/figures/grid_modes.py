# SPDX-License-Identifier: Apache-2.0
# One move of 1 s on the four grids with a requested spacing of 0.3 s, and its end enlarged.
import matplotlib.pyplot as plt
import velmora as vm

INK, MUTED, ACCENT = "#1f2d3d", "#8a97a6", "#1f6fb2"
MODES = {
    "exact_dt_append_endpoint": "exact spacing, then the end",
    "exact_dt_trim": "exact spacing up to the end",
    "exact_duration_adjust_dt": "equal steps from start to end",
    "exact_dt_extend_endpoint": "exact spacing until the end is covered",
}

move = vm.JointTrajectory([[0.0], [0.08], [0.42], [0.82], [1.0]], time=[0.0, 0.2, 0.45, 0.7, 1.0])
fine = move.resample(0.01, grid_mode="exact_duration_adjust_dt")
figure, panels = plt.subplots(4, 2, sharex="col", sharey=True, figsize=(8.5, 8.5), width_ratios=[2, 1])
for row, (mode, sentence) in zip(panels, MODES.items(), strict=True):
    grid = move.resample(0.3, grid_mode=mode)
    for panel in row:
        panel.axvline(move.end_time_s, color=MUTED, linewidth=1, linestyle="--")
        panel.plot(fine.time, fine.positions, color=MUTED, linewidth=1.2)
        panel.vlines(grid.time, 0, grid.positions[:, 0], color=ACCENT, linewidth=1)
        panel.plot(grid.time, grid.positions, "o", color=ACCENT)
        panel.set(ylim=(-0.45, 1.15), yticks=[0, 0.5, 1])
    for before, after in zip(grid.time[:-1], grid.time[1:], strict=True):
        row[0].annotate("", (after, -0.14), (before, -0.14), arrowprops={"arrowstyle": "<->", "color": INK, "lw": 0.8})
        row[0].text((before + after) / 2, -0.19, f"{after - before:.3g} s", ha="center", va="top", fontsize=8)
    row[0].set_title(f"{mode}: {sentence}", loc="left", fontsize=9, weight="bold")
    row[0].set(xlim=(-0.04, 1.26), ylabel="position in rad")
    row[1].set(xlim=(0.8, 1.26))
    row[1].text(0.82, -0.3, f"ends at {grid.time[-1]:.3g} s", fontsize=8)
panels[-1, 0].set_xlabel("time in s; the move ends at the dashed line")
panels[-1, 1].set_xlabel("the end, enlarged")
