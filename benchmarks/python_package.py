# SPDX-License-Identifier: Apache-2.0
# Times the Python package beside the C++ library, scipy and numpy, and prints the tables for docs/performance.md.
"""
python_package.py [--write]       needs the package (PYTHONPATH); without build/benchmark there are no rows of C++
python_package.py --child SAMPLES ROUNDS SEED     one process of it: microseconds of each call, as JSON
"""

import datetime
import json
import os
import pathlib
import random
import re
import statistics
import subprocess
import sys
import time
from collections.abc import Callable
from operator import attrgetter
from typing import NamedTuple

import numpy as np
import velmora as vm
from numpy_peers import cubic, derivative, linear, recording

ROOT = pathlib.Path(__file__).resolve().parent.parent
PROGRAM = ROOT / "build/benchmark/benchmarks/velmora_benchmarks"
PAGE = ROOT / "docs/performance.md"
JOINTS = 7
ROUNDS = {100: 3, 1_000: 3, 10_000: 2, 100_000: 1}  # of a process
TURNS = 5  # of a process of either kind: what slows the machine for a while slows both
ROUND_S = 0.05  # long beside the first call of a round, which finds the data of another job in the caches
# As Python starts: nothing is set. Warm: as in the tables above, freed blocks of up to 32 MiB stay with the process.
STATES = {
    "start": "",
    "warm": "glibc.malloc.mmap_threshold=33554432:glibc.malloc.trim_threshold=1073741824",
}
CPP = {"cubic": "cubic", "linear": "linear", "blend": "blend_scalar", "path": "path_coordinate"}


class FirstUse(NamedTuple):
    """A call on something new each time, which is made outside of the measurement."""

    make: Callable[[], object]
    use: Callable[[object], object]


def calls(samples):
    times, positions = recording(samples, JOINTS)
    trajectory = vm.JointTrajectory(positions, time=times)
    spacing = trajectory.duration_s / (4 * samples - 1)
    shaped = positions + 0.1
    return {
        "cubic": lambda: trajectory.resample(spacing),
        "cubic/scipy": lambda: cubic(times, positions),
        "linear": lambda: trajectory.resample(spacing, "linear"),
        "linear/numpy": lambda: linear(times, positions),
        "derivative": lambda: vm.JointTrajectory(positions, time=times).velocities,
        "derivative/numpy": lambda: derivative(times, positions),
        "velocities": FirstUse(lambda: vm.JointTrajectory(positions, time=times), attrgetter("velocities")),
        "blend": lambda: vm.blend_arrays(positions, shaped, 0.3),
        "blend/numpy": lambda: 0.7 * positions + 0.3 * shaped,
        "path": lambda: vm.joint_path_coordinate(positions),
    }


def timed(call, repeats):
    if isinstance(call, FirstUse):
        make, use = call
        spent = 0
        for _ in range(repeats):
            fresh = make()
            start = time.perf_counter_ns()  # the clock of processor time takes as long as some calls
            use(fresh)
            spent += time.perf_counter_ns() - start
        return spent / repeats / 1e3
    start = time.process_time_ns()
    for _ in range(repeats):
        call()
    return (time.process_time_ns() - start) / repeats / 1e3


def child(samples, rounds, seed):
    jobs = calls(samples)
    repeats = {}
    for name, call in jobs.items():
        timed(call, 1)
        repeats[name] = max(1, round(ROUND_S * 1e6 / max(timed(call, 1), 0.1)))
    plan = [name for name in jobs for _ in range(rounds)]
    random.Random(seed).shuffle(plan)
    measured = {name: [] for name in jobs}
    for name in plan:
        measured[name].append(timed(jobs[name], repeats[name]))
    json.dump(measured, sys.stdout)


def run(command, tunables):
    environment = dict(os.environ, OPENBLAS_NUM_THREADS="1", GLIBC_TUNABLES=tunables)
    return json.loads(subprocess.run(command, env=environment, check=True, stdout=subprocess.PIPE, text=True).stdout)


def cpp_rounds(samples, tunables):
    if not PROGRAM.exists():
        return
    names = "|".join(CPP.values())
    command = [PROGRAM, f"--benchmark_filter=^({names})/library/{samples}/{JOINTS}$", "--benchmark_format=json"]
    command += [
        "--benchmark_repetitions=3",
        f"--benchmark_min_time={ROUND_S}",
        "--benchmark_enable_random_interleaving=true",
    ]
    for entry in run(list(map(str, command)), tunables)["benchmarks"]:
        if entry["run_type"] == "iteration":
            yield entry["run_name"].split("/")[0], entry["cpu_time"] / 1e3


def measure():
    """Median microseconds by state, samples and call."""
    medians = {}
    for state, tunables in STATES.items():
        for samples, rounds in ROUNDS.items():
            measured = {}
            for turn in range(2 * TURNS):
                if turn % 4 in (0, 3):  # now one first, now the other
                    for name, value in cpp_rounds(samples, tunables):
                        measured.setdefault(f"{name}/C++", []).append(value)
                else:
                    arguments = map(str, (samples, rounds, turn))
                    for name, values in run([sys.executable, __file__, "--child", *arguments], tunables).items():
                        measured.setdefault(name, []).extend(values)
            medians[state, samples] = {name: statistics.median(values) for name, values in measured.items()}
    return medians


def number(value):
    return f"{value:.3g}" if value < 1000 else f"{value:,.0f}"


def table(medians):
    """The table, and a line for every goal that was missed: goals are for who works on it, not for the page."""
    sizes = list(ROUNDS)
    missed = []
    lines = ["| call, state | | " + " | ".join(f"{size:,}" for size in sizes) + " |"]
    lines.append("|---|---|" + "---:|" * len(sizes))

    def row(call, what, values, goals=None):
        for size, value in zip(sizes, values, strict=True):
            goal, least = (goals or {}).get(size, (None, True))
            if goal is not None and (value < goal if least else value > goal):
                missed.append(f"{call or 'the same'}, {what}, {size:,} samples: {number(value)}, the goal is {goal}")
        lines.append(f"| {call} | {what} | " + " | ".join(map(number, values)) + " |")

    overhead = {100: (2, False)}
    factor = {size: (1.15, False) for size in sizes if size >= 1_000}
    goals = {
        ("cubic", "start"): {1_000: (15, True), 10_000: (12, True)},
        ("cubic", "warm"): {100: (30, True), 1_000: (20, True)},
        ("velocities", "warm"): {1_000: (25, True)},
    }
    peers = {
        "cubic": "cubic/scipy",
        "linear": "linear/numpy",
        "derivative": "derivative/numpy",
        "velocities": "derivative/numpy",
        "blend": "blend/numpy",
    }
    titles = {
        "cubic": "`resample`, cubic",
        "linear": "`resample`, linear",
        "derivative": "`JointTrajectory(...).velocities`",
        "velocities": "`trajectory.velocities`, first use",
        "blend": "`blend_arrays`, one weight",
        "path": "`joint_path_coordinate`",
    }
    for job, title in titles.items():
        for state, words in (("start", "as Python starts"), ("warm", "warm")):
            runs = [medians[state, size] for size in sizes]
            row(f"{title}, {words}", "microseconds", [run[job] for run in runs])
            if job in CPP and PROGRAM.exists():
                cpp = f"{CPP[job]}/C++"
                bounded = factor if job in ("cubic", "linear") else None
                row("", "more than in C++", [run[job] - run[cpp] for run in runs], overhead)
                row("", "times C++", [run[job] / run[cpp] for run in runs], bounded)
            if job in peers:
                peer = peers[job]
                times_faster = [run[peer] / run[job] for run in runs]
                row("", f"times faster than {peer.partition('/')[2]}", times_faster, goals.get((job, state)))
    return "\n".join(lines), missed


def main():
    measured, missed = table(measure())
    text = (
        f"`./scripts/benchmark-python` on {datetime.date.today()}, Python {sys.version.split()[0]}, "
        f"numpy {np.__version__}. Columns are numbers of samples of 7 joints.\n\n{measured}"
    )
    print(text, *missed, sep="\n")
    if "--write" in sys.argv:
        begin, end = "<!-- python benchmark: begin -->", "<!-- python benchmark: end -->"
        page = PAGE.read_text()
        PAGE.write_text(re.sub(f"{begin}.*{end}", lambda _: f"{begin}\n\n{text}\n\n{end}", page, flags=re.DOTALL))


if __name__ == "__main__":
    if sys.argv[1:2] == ["--child"]:
        child(*map(int, sys.argv[2:5]))
    else:
        main()
