#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Simulates a machine with two flexible modes: ringdown.csv (struck and left alone), and what moves make of it.

    generate_vibrating_machine.py OUTPUT_FOLDER            writes ringdown.csv and move.csv
    generate_vibrating_machine.py --run COMMAND MEASURED   drives it by a command file, writes what encoders see

The machine has three joints; on each sits the same pair of modes, 5 Hz with damping 0.02 and 12 Hz with 0.05. Each
step is solved exactly for an acceleration that runs linearly (first-order hold). The encoders read to 2e-6 rad, with
noise of 2e-5 rad, and the stamps are off by up to 5 % of a step.
"""

import sys
from pathlib import Path

import numpy as np

JOINTS = ("base", "shoulder", "elbow")
MODES = ((5.0, 0.02, 1.0), (12.0, 0.05, 0.4))  # Hz, damping ratio, share in the motion of the load
TARGETS = np.array([0.9, -0.5, 0.3])
MOVE_S = 0.45
NOISE, RESOLUTION = 2e-5, 2e-6
RATE_HZ = 250.0


def smootherstep(u: np.ndarray) -> np.ndarray:
    u = np.clip(u, 0.0, 1.0)
    return u**3 * (10.0 + u * (-15.0 + 6.0 * u))


def swing(accelerations: np.ndarray, step: float) -> np.ndarray:
    """Deflection of the load, the sum of its modes, for accelerations (N, J) of the joints."""
    total = np.zeros_like(accelerations)
    for frequency, damping, share in MODES:
        w = 2.0 * np.pi * frequency
        pole = w * complex(-damping, np.sqrt(1.0 - damping**2))
        decay = np.exp(pole * step)
        late = (decay - 1.0 - pole * step) / (pole**2 * step)
        early = (decay - 1.0) / pole - late
        state = np.zeros(accelerations.shape[1], dtype=complex)
        for k in range(1, len(accelerations)):
            state = decay * state + early * accelerations[k - 1] + late * accelerations[k]
            total[k] -= share * state.imag / pole.imag
    return total


def measured(times: np.ndarray, load: np.ndarray, fine: np.ndarray, rng: np.random.Generator) -> np.ndarray:
    """Stamps and encoder values at the stamps, from the motion of the load at fine times."""
    stamps = times + rng.uniform(-0.05, 0.05, times.size) / RATE_HZ
    stamps = np.round(np.clip(stamps, fine[0], fine[-1]), 6)
    seen = np.column_stack([np.interp(stamps, fine, column) for column in load.T])
    seen += NOISE * rng.standard_normal(seen.shape)
    return np.column_stack([stamps, np.round(seen / RESOLUTION) * RESOLUTION])


def write(path: Path, table: np.ndarray) -> None:
    header = "time," + ",".join(f"{joint}_pos" for joint in JOINTS)
    np.savetxt(path, table, delimiter=",", header=header, comments="", fmt="%.6f")


def ring_down(path: Path) -> None:
    """The machine struck at t = 0: both modes swing from a standstill at a push."""
    rng = np.random.default_rng(1)
    fine = np.arange(0.0, 3.0, 1.0 / 8000.0)
    load = np.zeros((fine.size, 3))
    for frequency, damping, share in MODES:
        w = 2.0 * np.pi * frequency
        decayed = np.exp(-damping * w * fine) * np.sin(w * np.sqrt(1.0 - damping**2) * fine)
        load += np.outer(share * decayed, [0.010, 0.006, 0.004])
    times = np.arange(1, 3.0 * RATE_HZ - 1) / RATE_HZ
    write(path, measured(times, load, fine, rng))


def move(path: Path) -> None:
    """The command: from rest to rest in all joints, held still before and after."""
    times = np.arange(0.0, MOVE_S + 0.1 + 1e-9, 1.0 / RATE_HZ)
    positions = smootherstep((times - 0.05) / MOVE_S)[:, None] * TARGETS
    np.savetxt(
        path,
        np.column_stack([times, positions]),
        delimiter=",",
        header="time," + ",".join(f"{joint}_pos" for joint in JOINTS),
        comments="",
        fmt=["%.3f"] + ["%.9f"] * 3,
    )


def run(command: Path, path: Path) -> None:
    """What the encoders on the load see while the machine follows a command, and for three seconds after it."""
    rng = np.random.default_rng(2)
    table = np.loadtxt(command, delimiter=",", skiprows=1)[:, :4]
    step = 1.0 / (16.0 * RATE_HZ)
    fine = np.arange(0.0, table[-1, 0] - table[0, 0] + 3.0, step)
    # A controller of 250 Hz follows the spline through the samples, not the corners of the lines between them.
    from scipy.interpolate import CubicSpline

    spline = CubicSpline(table[:, 0] - table[0, 0], table[:, 1:])
    inside = fine <= table[-1, 0] - table[0, 0]
    joints = np.where(inside[:, None], spline(fine), table[-1, 1:])
    accelerations = np.where(inside[:, None], spline(fine, 2), 0.0)
    times = np.arange(1, int((fine[-1] - 0.01) * RATE_HZ)) / RATE_HZ
    write(path, measured(times, joints + swing(accelerations, step), fine, rng))


def main(arguments: list[str]) -> None:
    if len(arguments) == 3 and arguments[0] == "--run":
        run(Path(arguments[1]), Path(arguments[2]))
    elif len(arguments) == 1 and not arguments[0].startswith("-"):
        folder = Path(arguments[0])
        folder.mkdir(parents=True, exist_ok=True)
        ring_down(folder / "ringdown.csv")
        move(folder / "move.csv")
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main(sys.argv[1:])
