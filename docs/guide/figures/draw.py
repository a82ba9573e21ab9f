# Draws the guide's figures from the CSV that guide_figure_data writes: draw.py figure_data.csv output_directory
import csv
import pathlib
import sys
from collections import defaultdict

import matplotlib

matplotlib.use("svg")
import matplotlib.pyplot as plt  # noqa: E402 (the backend is chosen first)

INK, MUTED, ACCENT, SECOND = "#1f2d3d", "#8a97a6", "#1f6fb2", "#c8641e"
MODES = {
    "exact_dt_append_endpoint": "exact spacing, then the end: the last step is shorter",
    "exact_dt_trim": "exact spacing up to the end: the rest is dropped",
    "exact_duration_adjust_dt": "equal steps from start to end: the spacing is adjusted",
    "exact_dt_extend_endpoint": "exact spacing until the end is covered: the last position is held",
}


def read_series(path):
    series = defaultdict(lambda: {"time": [], "position": [], "velocity": []})
    with open(path, newline="", encoding="utf-8") as file:
        for row in csv.DictReader(file):
            target = series[row["series"]]
            target["time"].append(float(row["time_s"]))
            target["position"].append(float(row["position_rad"]))
            target["velocity"].append(float(row["velocity_rad_per_s"]))
    return series


def draw_grid_modes(series, path):
    figure, panels = plt.subplots(4, 1, sharex=True, figsize=(8.5, 9.5), constrained_layout=True)
    start, end = series["recording"]["time"][0], series["recording"]["time"][-1]
    for panel, (mode, sentence) in zip(panels, MODES.items()):
        grid = series[mode]
        panel.axvline(end, color=MUTED, linewidth=1, linestyle="--")
        panel.plot(series["cubic"]["time"], series["cubic"]["position"], color=MUTED, linewidth=1.2)
        if grid["time"][-1] > end:
            panel.plot([end, grid["time"][-1]], [grid["position"][-1]] * 2, color=MUTED, linewidth=1.2, linestyle=":")
        panel.vlines(grid["time"], 0, grid["position"], color=ACCENT, linewidth=1)
        panel.plot(grid["time"], grid["position"], "o", color=ACCENT, markersize=6)
        for before, after in zip(grid["time"], grid["time"][1:]):
            arrow = {"arrowstyle": "<->", "color": INK, "lw": 0.8}
            panel.annotate("", (after, -0.16), (before, -0.16), arrowprops=arrow)
            middle, step = (before + after) / 2, after - before
            panel.text(middle, -0.21, f"{step:.3g} s", ha="center", va="top", fontsize=8.5, color=INK)
        panel.set_title(mode, loc="left", family="monospace", fontsize=11, color=INK, weight="bold")
        panel.set_title(sentence, loc="right", fontsize=9.5, color=INK)
        panel.set(ylim=(-0.48, 1.15), xlim=(start - 0.04, 1.26), yticks=[0, 0.5, 1], ylabel="position in rad")
    panels[-1].set_xticks([start, 0.3, 0.6, 0.9, end, 1.2])
    panels[-1].set_xlabel("time in s (the trajectory ends at the dashed line; the requested spacing is 0.3 s)")
    finish(figure, panels, path)


def draw_interpolation(series, path):
    figure, panels = plt.subplots(2, 1, sharex=True, figsize=(8.5, 5.5), constrained_layout=True)
    for name, color in (("linear", SECOND), ("cubic", ACCENT)):
        panels[0].plot(series[name]["time"], series[name]["position"], color=color, linewidth=1.4, label=name)
        panels[1].plot(series[name]["time"], series[name]["velocity"], color=color, linewidth=1.4, label=name)
    panels[0].plot(series["recording"]["time"], series["recording"]["position"], "o", color=INK, label="samples")
    panels[0].set_ylabel("position in rad")
    panels[1].set_ylabel("velocity in rad/s")
    panels[1].set_xlabel("time in s")
    panels[0].legend(frameon=False)
    finish(figure, panels, path)


def finish(figure, panels, path):
    for panel in panels:
        panel.spines[["top", "right"]].set_visible(False)
        panel.tick_params(colors=INK, labelsize=9)
    figure.savefig(path, metadata={"Date": None})
    plt.close(figure)


def main():
    series = read_series(sys.argv[1])
    directory = pathlib.Path(sys.argv[2])
    directory.mkdir(parents=True, exist_ok=True)
    draw_grid_modes(series, directory / "grid_modes.svg")
    draw_interpolation(series, directory / "interpolation.svg")


if __name__ == "__main__":
    main()
