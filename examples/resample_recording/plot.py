#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
# Draws a recording and what it was resampled to: positions, velocities, accelerations and jerks, one column per result.
#   plot.py recording.csv resampled.csv [resampled.csv ...] --output picture.png
import argparse
import csv
import pathlib

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt
import numpy as np
from matplotlib.lines import Line2D
from matplotlib.patches import Patch

QUANTITIES = ("position", "velocity", "acceleration", "jerk")
SUFFIXES = ("", "_per_s", "_per_s2", "_per_s3")
UNITS = ("", "/s", "/s²", "/s³")
JOINTS_SHOWN = 3
# A step this many times the median is drawn as lost samples.
GAP_FACTOR = 3.0
# The panels of one quantity share their limits: this share of the values of every panel (in percent), but for a panel
# that is this many times wider than the median panel. A note in the corner says what is not in view.
SHARE_IN_VIEW = 98.0
WIDEST_PANEL = 4.0
# The zoomed panels show this many median steps on both sides.
ZOOM_STEPS = 8.0
# So few samples can be told apart, and are drawn as points.
FEW_SAMPLES = 100


def read_csv(path):
    """The columns of a CSV by name; time and joints as the example programs read them."""
    with open(path, encoding="utf-8-sig") as file:
        lines = [line for line in file if line.strip() and not line.lstrip().startswith("#")]
    names = [name.strip() for name in next(csv.reader(lines[:1], skipinitialspace=True))]
    table = np.loadtxt(lines[1:], delimiter=",", quotechar='"', ndmin=2)
    return dict(zip(names, table.T))


def derivatives(signal, time_s):
    """The signal and its first three derivatives, each the three-point difference of the one before."""
    levels = [signal]
    for _ in range(3):
        levels.append(np.gradient(levels[-1], time_s, edge_order=2) if len(time_s) > 2 else np.zeros_like(signal))
    return levels


def most_moved(recording, joints, count):
    by_range = sorted(joints, key=lambda joint: np.ptp(recording[joint]), reverse=True)
    return [joint for joint in joints if joint in by_range[:count]]


def shade_gaps(axis, time_s):
    steps_s = np.diff(time_s)
    if len(steps_s) == 0:
        return False
    gaps = np.flatnonzero(steps_s > GAP_FACTOR * np.median(steps_s))
    for gap in gaps:
        axis.axvspan(time_s[gap], time_s[gap + 1], color="0.85", zorder=0)
    return len(gaps) > 0


def robust_limits(panels):
    """Limits for all panels of one quantity that no single noisy panel blows up, and no single flat one shrinks."""
    tail = (100.0 - SHARE_IN_VIEW) / 2.0
    spans = np.array([np.percentile(np.concatenate(curves), [tail, 100.0 - tail]) for curves in panels])
    widths = np.ptp(spans, axis=1)
    kept = spans[widths <= WIDEST_PANEL * np.median(widths)]
    low, high = kept[:, 0].min(), kept[:, 1].max()
    margin = 0.15 * (high - low) or 1.0
    return low - margin, high + margin


def note_hidden(axis, curves, limits):
    """Says what the axis does not show, so that a quiet picture is not taken for a quiet motion."""
    values = np.concatenate(curves)
    if values.min() < limits[0] or values.max() > limits[1]:
        axis.text(0.99, 0.96, f"not all in view: {values.min():.3g} to {values.max():.3g}", fontsize=8, ha="right",
                  va="top", transform=axis.transAxes,
                  bbox={"facecolor": "white", "edgecolor": "0.7", "boxstyle": "round,pad=0.25"})


def describe(path, time_s):
    steps_s = np.diff(time_s)
    spacing = f"median step {1e3 * np.median(steps_s):.4g} ms" if len(steps_s) else "no steps"
    return f"{pathlib.Path(path).stem}\n{len(time_s)} samples, {spacing}"


def draw_panel(axis, colors, before, after=None, marker=None):
    """The recording pale and wide and, where there is one, the result thin on top of it; each is (time, curves)."""
    for color, curve in zip(colors, before[1]):
        axis.plot(before[0], curve, color=color, linewidth=2.5 if after else 0.8, alpha=0.35 if after else 1.0,
                  marker=marker, markersize=5)
    if after:
        for color, curve in zip(colors, after[1]):
            axis.plot(after[0], curve, color=color, linewidth=0.8)
    axis.grid(alpha=0.3)
    return shade_gaps(axis, before[0])


def zoom_window(time_s, velocities):
    """The stretch that tells most: a gap that had to be bridged or, in an even recording, the fastest motion."""
    steps_s = np.diff(time_s)
    median_s = np.median(steps_s)
    longest = int(np.argmax(steps_s))
    if steps_s[longest] > 1.5 * median_s:
        margin_s = max(steps_s[longest], ZOOM_STEPS * median_s)
        window, title = (time_s[longest] - margin_s, time_s[longest + 1] + margin_s), "around the longest step"
    else:
        fastest_s = time_s[int(np.argmax(np.max(np.abs(velocities), axis=0)))]
        window, title = (fastest_s - ZOOM_STEPS * median_s, fastest_s + ZOOM_STEPS * median_s), "around the peak speed"
    return (max(window[0], time_s[0]), min(window[1], time_s[-1])), title


def limits_in_window(window, drawn):
    values = np.concatenate([curve[(time_s >= window[0]) & (time_s <= window[1])]
                             for time_s, curves in drawn for curve in curves])
    margin = 0.08 * np.ptp(values) or 1.0
    return values.min() - margin, values.max() + margin


def draw_zoom(axes, colors, before, afters, unit):
    window, title = zoom_window(*before)
    limits = limits_in_window(window, [before] + afters)
    for axis, after in zip(axes, [None] + afters):
        draw_panel(axis, colors, before, after, marker="o")
        axis.set_xlim(window)
        axis.set_ylim(limits)
        axis.set_ylabel(f"velocity [{unit}/s]")
        axis.set_title(title, fontsize=10)


def add_legend(figure, joint_colors, has_gaps):
    handles = [Line2D([], [], color=color, label=joint) for joint, color in joint_colors.items()]
    handles += [Line2D([], [], color="0.3", alpha=0.35, linewidth=2.5, label="recording, three-point differences"),
                Line2D([], [], color="0.3", linewidth=0.8, label="resampled")]
    if has_gaps:
        handles.append(Patch(color="0.85", label="no samples recorded"))
    legend_share = 0.45 / figure.get_size_inches()[1]
    figure.get_layout_engine().set(rect=(0.0, legend_share, 1.0, 1.0 - legend_share))
    figure.legend(handles=handles, loc="lower center", ncol=len(handles), frameon=False)


def draw(recording_path, result_paths, output):
    recording = read_csv(recording_path)
    results = [read_csv(path) for path in result_paths]
    all_joints = [name for name in recording if name != "time_s"]
    joints = most_moved(recording, all_joints, JOINTS_SHOWN)
    time_s = recording["time_s"]
    raw_levels = list(zip(*(derivatives(recording[joint], time_s) for joint in joints)))
    unit = "rad" if all(joint.endswith("_rad") for joint in joints) else "unit"
    colors = plt.get_cmap("tab10").colors[:len(joints)]
    marker = "o" if len(time_s) <= FEW_SAMPLES else None
    has_zoom = len(time_s) > 2
    rows, columns = len(QUANTITIES) + has_zoom, 1 + len(results)
    figure, axes = plt.subplots(rows, columns, figsize=(6.5 * columns, 2.8 * rows + 1.0), squeeze=False,
                                constrained_layout=True)
    has_gaps = False
    for level, quantity in enumerate(QUANTITIES):
        levels = [[result[joint + SUFFIXES[level]] for joint in joints] for result in results]
        limits = robust_limits([raw_levels[level]] + levels)
        before = (time_s, raw_levels[level])
        has_gaps |= draw_panel(axes[level, 0], colors, before, marker=marker)
        for axis, result, curves in zip(axes[level, 1:], results, levels):
            draw_panel(axis, colors, before, (result["time_s"], curves), marker=marker)
        for axis, curves in zip(axes[level], [raw_levels[level]] + levels):
            axis.set_ylabel(f"{quantity} [{unit}{UNITS[level]}]")
            axis.margins(x=0.01)
            if level > 0:
                axis.set_ylim(limits)
                note_hidden(axis, curves, limits)
    if has_zoom:
        afters = [(result["time_s"], [result[joint + SUFFIXES[1]] for joint in joints]) for result in results]
        draw_zoom(axes[-1], colors, (time_s, raw_levels[1]), afters, unit)
    axes[0, 0].set_title(f"before: {describe(recording_path, time_s)}")
    for path, result, axis in zip(result_paths, results, axes[0, 1:]):
        axis.set_title(f"after: {describe(path, result['time_s'])}")
    for axis in axes[-1]:
        axis.set_xlabel("time [s]")

    add_legend(figure, dict(zip(joints, colors)), has_gaps)
    figure.suptitle(f"{pathlib.Path(recording_path).name} and resampled: "
                    f"{len(joints)} of {len(all_joints)} joints, those that move most", fontweight="bold")
    figure.savefig(output, dpi=90)


def main():
    parser = argparse.ArgumentParser(description="Draws a recording and what it was resampled to.")
    parser.add_argument("recording", help="CSV that was resampled")
    parser.add_argument("resampled", nargs="+", help="CSV that resample_recording wrote; one column of the picture")
    parser.add_argument("--output", required=True, help="PNG to write")
    arguments = parser.parse_args()
    draw(arguments.recording, arguments.resampled, arguments.output)


if __name__ == "__main__":
    main()
