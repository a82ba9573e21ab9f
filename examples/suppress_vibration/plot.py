#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Draws what suppress_vibration wrote: the commands, the swinging that they cause, and how robust they are.

The picture in docs/ is made from the built-in move, after ./scripts/test or ./scripts/demo has built the program:
    build/release/examples/suppress_vibration/suppress_vibration --output build/demo/suppress_vibration
    examples/suppress_vibration/plot.py build/demo/suppress_vibration --output docs/images/suppress_vibration.png
"""

import argparse
import csv
import pathlib
import re

import matplotlib

matplotlib.use("Agg")
import matplotlib.pyplot as plt

COLOURS = {"raw": "#c44e00", "zv": "#56a5d8", "zvd": "#00568f", "blend": "#2e8b57"}
STYLES = {"raw": "-", "zv": "--", "zvd": "-", "blend": "-"}
SETTLED_MRAD = 1.0


def read_columns(path):
    """The columns of a CSV file of numbers, by name."""
    with open(path, newline="", encoding="utf-8") as file:
        header, *rows = csv.reader(file)
    return {name: [float(row[i]) for row in rows] for i, name in enumerate(header)}


def family(key):
    """The key of a command without the shares of a blend."""
    return key.split("_")[0]


def label(key):
    """The name of a command in the legend."""
    blend = re.fullmatch(r"blend_(.+)_percent_(zvd?)", key)
    if not blend:
        return {"raw": "raw command", "zv": "shaped, ZV", "zvd": "shaped, ZVD"}[key]
    share = float(blend.group(1))
    return f"{100 - share:g} % raw + {share:g} % {blend.group(2).upper()}"


def widest_joint(response, keys):
    """The joint with the longest travel: the one to look at."""
    joints = [
        name[len("raw_") : -len("_deflection")]
        for name in response
        if name.startswith("raw_") and name.endswith("_deflection")
    ]
    return max(joints, key=lambda joint: max(response[f"raw_{joint}"]) - min(response[f"raw_{joint}"]))


def line(axes, x, y, key):
    name = family(key)
    axes.plot(x, y, color=COLOURS[name], linestyle=STYLES[name], linewidth=1.8, label=label(key))


def last_change(time, values):
    """The time at which a series that ends constant becomes so."""
    return next(time[i + 1] for i in range(len(values) - 2, -1, -1) if abs(values[i] - values[-1]) > 1e-9)


def draw_commands(axes, response, keys, joint):
    time = response["time_s"]
    for key in keys:
        line(axes, time, response[f"{key}_{joint}"], key)
    raw_end = last_change(time, response[f"raw_{joint}"])
    end = max(last_change(time, response[f"{key}_{joint}"]) for key in keys)
    axes.axvspan(raw_end, end, color="0.92", zorder=0)
    axes.text(
        (raw_end + end) / 2,
        0.04,
        "tail:\nblend with the\nheld raw endpoint",
        ha="center",
        va="bottom",
        fontsize=9,
        color="0.3",
        transform=axes.get_xaxis_transform(),
    )
    axes.set_xlim(time[0], end + 0.15 * (end - time[0]))
    axes.set_title("What the joint is told")
    axes.set_xlabel("time [s]")
    axes.set_ylabel("commanded position [rad]")


def draw_deflection(axes, response, keys, joint):
    time = response["time_s"]
    raw_end = last_change(time, response[f"raw_{joint}"])
    end = max(last_change(time, response[f"{key}_{joint}"]) for key in keys)
    zoom = axes.inset_axes([0.52, 0.70, 0.46, 0.29])
    for part in (axes, zoom):
        part.axhspan(-SETTLED_MRAD, SETTLED_MRAD, color="#f2d16b", zorder=1)
        for key in keys:
            line(part, time, [1e3 * value for value in response[f"{key}_{joint}_deflection"]], key)
    zoom.set_xlim(raw_end, end + 0.5 * (end - raw_end))
    zoom.set_ylim(-4 * SETTLED_MRAD, 4 * SETTLED_MRAD)
    zoom.set_yticks([-SETTLED_MRAD, SETTLED_MRAD])
    zoom.tick_params(labelsize=8)
    zoom.set_xlabel(f"yellow: settled, within ±{SETTLED_MRAD:g} mrad", fontsize=9, labelpad=2)
    axes.indicate_inset_zoom(zoom, edgecolor="0.4")
    # Room above the curves for the enlarged part.
    low, high = axes.get_ylim()
    axes.set_ylim(low, high + 0.45 * (high - low))
    axes.set_xlim(time[0], time[-1])
    axes.set_title("How it swings about the command")
    axes.set_xlabel("time [s]")
    axes.set_ylabel("deflection [mrad]")


def draw_robustness(axes, robustness, keys):
    error = robustness["frequency_error_percent"]
    for key in keys:
        line(axes, error, robustness[f"{key}_residual_percent"], key)
    axes.axvline(0, color="0.6", linewidth=0.8, zorder=0)
    axes.set_xlim(error[0], error[-1])
    axes.set_ylim(bottom=0)
    axes.set_title("What is left if the model is wrong")
    axes.set_xlabel("machine's frequency against the modelled one [%]")
    axes.set_ylabel("residual vibration [% of the travel]")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("directory", type=pathlib.Path, help="where suppress_vibration wrote its CSV files")
    parser.add_argument("-o", "--output", type=pathlib.Path, help="picture (default: suppress_vibration.png there)")
    options = parser.parse_args()

    response = read_columns(options.directory / "response.csv")
    robustness = read_columns(options.directory / "robustness.csv")
    keys = [name[: -len("_residual_percent")] for name in robustness if name.endswith("_residual_percent")]
    joint = widest_joint(response, keys)

    figure, (commands, deflection, robust) = plt.subplots(1, 3, figsize=(13.5, 4.9))
    figure.set_layout_engine("constrained", rect=(0, 0, 1, 0.92), wspace=0.06)
    draw_commands(commands, response, keys, joint)
    draw_deflection(deflection, response, keys, joint)
    draw_robustness(robust, robustness, keys)
    for axes in (commands, deflection, robust):
        axes.grid(color="0.9", linewidth=0.6)
        axes.set_axisbelow(True)
        axes.spines[["top", "right"]].set_visible(False)
    handles, labels = commands.get_legend_handles_labels()
    figure.legend(handles, labels, loc="upper center", ncols=len(keys), frameon=False, fontsize=11)
    output = options.output or options.directory / "suppress_vibration.png"
    figure.savefig(output, dpi=110, metadata={"Software": None})


if __name__ == "__main__":
    main()
