#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Times the command `velmora` beside the scripts that people write; prints a table of ratios.

./benchmarks/tools_speed.py [csv|parquet|memory|many|start]... [--samples N] [--files N] [--rounds N] [--write]

Whole processes are timed, start and imports included, all contenders of a job in turn, and medians are compared.
Results of earlier runs stay in build/benchmark/tools.json; --write puts all of them into docs/performance.md.
"""

from __future__ import annotations

import argparse
import datetime
import json
import os
import platform
import resource
import shutil
import statistics
import subprocess
import sys
import tempfile
import time
from collections.abc import Callable
from pathlib import Path

import numpy as np

ROOT = Path(__file__).resolve().parent.parent
KEPT = ROOT / "build/benchmark/tools.json"
PAGE = ROOT / "docs/performance.md"
BEGIN, END = "<!-- tools benchmark: begin -->", "<!-- tools benchmark: end -->"
VELMORA = [sys.executable, "-m", "velmora.tools.main"]
SCRIPT = [sys.executable, str(ROOT / "benchmarks/tools_pandas_script.py")]
JOINTS = 7
STEP_S = 0.001
FORMATS = {"parquet": "Parquet", "csv": "CSV"}

COLUMNS = ("job", "beside", "measured", "times")

Row = dict[str, str]


def seconds(command: list[str]) -> float:
    """Time of a command from start to end."""
    # Compiled modules may be kept, as those of an installed package are.
    environment = {name: value for name, value in os.environ.items() if name != "PYTHONDONTWRITEBYTECODE"}
    started = time.perf_counter()
    done = subprocess.run(command, capture_output=True, text=True, check=False, env=environment)
    if done.returncode != 0:
        sys.exit(f"{' '.join(command)}\n{done.stderr}")
    return time.perf_counter() - started


def processor_seconds(command: list[str]) -> float:
    """Processor time of a command, which other work on the machine lengthens little."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    seconds(command)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime


def in_turn(rounds: int, contenders: dict[str, Callable[[], float]]) -> dict[str, float]:
    """Median time of every contender."""
    times: dict[str, list[float]] = {name: [] for name in contenders}
    for _ in range(rounds):
        for name, run in contenders.items():
            times[name].append(run())
    return {name: statistics.median(values) for name, values in times.items()}


def arrays(samples: int, seed: int = 1) -> tuple[np.ndarray, np.ndarray]:
    """Times with jitter, in whole microseconds, and sines with noise of an encoder."""
    generator = np.random.default_rng(seed)
    times_s = np.round(np.arange(samples) * STEP_S + generator.uniform(0.0, 0.3 * STEP_S, samples), 6)
    positions = np.sin(times_s[:, np.newaxis] * np.arange(1, JOINTS + 1) * 0.7)
    return times_s, np.round(positions, 9)


def write_table(path: Path, samples: int, seed: int = 1) -> None:
    """A recording as CSV or Parquet."""
    import pyarrow as pa
    import pyarrow.csv
    import pyarrow.parquet

    times_s, positions = arrays(samples, seed)
    table = pa.table({"time_s": times_s, **{f"joint_{j + 1}": positions[:, j] for j in range(JOINTS)}})
    if path.suffix == ".csv":
        pa.csv.write_csv(table, path, pa.csv.WriteOptions(quoting_style="none"))
    else:
        pa.parquet.write_table(table, path)


def resample(source: Path, target: Path, *options: str) -> Callable[[], float]:
    """The command, writing anew each time."""

    def run() -> float:
        shutil.rmtree(target) if target.is_dir() else target.unlink(missing_ok=True)
        where = ["--output-dir", str(target)] if source.is_dir() else ["-o", str(target)]
        return seconds([*VELMORA, "resample", str(source), "--sample-time", str(STEP_S), *where, *options])

    return run


def csv(folder: Path, options: argparse.Namespace) -> list[Row]:
    """CSV to Parquet and to CSV, beside the script."""
    source = folder / "log.csv"
    write_table(source, options.samples)
    rows = []
    for suffix in FORMATS:
        target = folder / f"out.{suffix}"
        theirs = folder / f"script.{suffix}"
        script = [*SCRIPT, str(source), str(theirs), str(STEP_S)]
        times = in_turn(
            options.rounds,
            {"velmora": resample(source, target), "script": lambda script=script: seconds(script)},
        )
        rows.append(
            {
                "job": f"CSV {options.samples:,} x {JOINTS} to {FORMATS[suffix]}",
                "beside": "script with pandas and scipy",
                "goal": "10 times faster",
                "measured": f"{times['script'] / times['velmora']:.1f} times faster",
                "times": f"{times['velmora']:.2f} s, {times['script']:.2f} s",
            }
        )
        for path in (target, theirs):
            path.unlink()
    return rows


def parquet(folder: Path, options: argparse.Namespace) -> list[Row]:
    """Parquet to Parquet, stage by stage within one process."""
    from velmora.tools import formats
    from velmora.tools.operations.checked import CheckOptions, checked
    from velmora.tools.operations.resample import ResampleOptions
    from velmora.tools.operations.resample import resample as on_grid
    from velmora.tools.options import ReadOptions, WriteOptions

    source, target = folder / "log.parquet", folder / "out.parquet"
    write_table(source, options.samples)
    stages: dict[str, list[float]] = {"reading": [], "resampling": [], "writing": []}
    for _ in range(5):
        marks = [time.perf_counter()]
        (recording,) = formats.read(str(source), ReadOptions())
        marks.append(time.perf_counter())
        (result,) = on_grid(checked(recording, CheckOptions()), ResampleOptions(sample_time_s=STEP_S))
        marks.append(time.perf_counter())
        formats.write(str(target), result.recording, WriteOptions(columns=("positions", "velocities", "accelerations")))
        marks.append(time.perf_counter())
        for stage, begin, end in zip(stages, marks, marks[1:], strict=False):
            stages[stage].append(end - begin)
        target.unlink()
    medians = {stage: statistics.median(values) for stage, values in stages.items()}
    around = medians["reading"] + medians["writing"]
    return [
        {
            "job": f"Parquet {options.samples:,} x {JOINTS} to Parquet",
            "beside": "the resampling itself",
            "goal": "reading and writing at most 5 times",
            "measured": f"{around / medians['resampling']:.2f} times",
            "times": ", ".join(f"{stage} {value:.2f} s" for stage, value in medians.items()),
        }
    ]


def many(folder: Path, options: argparse.Namespace) -> list[Row]:
    """Many files: two processes beside one, and what a file costs beside its own work."""
    source = folder / "logs"
    source.mkdir()
    for index in range(options.files):
        write_table(source / f"{index:04}.parquet", 10_000, seed=index)
    target = folder / "out"
    contenders = {str(jobs): resample(source, target, "--jobs", str(jobs)) for jobs in (1, 2)}
    times = in_turn(options.rounds, contenders)
    shutil.rmtree(target)
    return [
        {
            "job": f"{options.files:,} files of 10,000 x {JOINTS}, Parquet",
            "beside": "two processes beside one",
            "goal": "1.7 times",
            "measured": f"{times['1'] / times['2']:.2f} times",
            "times": f"{times['1']:.1f} s, {times['2']:.1f} s",
        },
        overhead(folder, options),
    ]


def overhead(folder: Path, options: argparse.Namespace) -> Row:
    """Time per file beside the work itself: files of two samples, the same work called in a loop."""
    from velmora.tools.batch.many import ManyOptions, carry_out
    from velmora.tools.batch.tasks import Task, perform

    sys.path.insert(0, str(ROOT / "benchmarks"))
    import tools_empty_work

    tasks = [Task(str(index), None, tools_empty_work.work, None) for index in range(options.files)]
    started = time.perf_counter()
    for task in tasks:
        perform(task)
    plain = time.perf_counter() - started
    carry_out(tasks[:2], ManyOptions(jobs=1))
    started = time.perf_counter()
    carry_out(tasks, ManyOptions(jobs=1))
    handed_on = time.perf_counter() - started
    started = time.perf_counter()
    carry_out(tasks[:2], ManyOptions(jobs=1))
    start = time.perf_counter() - started
    return {
        "job": f"handing {options.files:,} files to a process and back",
        "beside": "per file",
        "goal": "below 2 ms",
        "measured": f"{1e3 * (handed_on - plain - start) / options.files:.2f} ms",
        "times": f"start {start:.2f} s",
    }


def memory(folder: Path, options: argparse.Namespace) -> list[Row]:
    """The most memory that ten times as many samples take at once, from Parquet to Parquet."""
    samples = 10 * options.samples
    source = folder / "long.parquet"
    write_table(source, samples)
    arguments = ["resample", str(source), "--sample-time", str(STEP_S), "-o", str(folder / "out.parquet")]
    process = subprocess.Popen([*VELMORA, *arguments], stderr=subprocess.DEVNULL)
    _, status, used = os.wait4(process.pid, 0)
    if status != 0:
        sys.exit(f"{' '.join(arguments)}: {status}")
    data = samples * (JOINTS + 1) * 8
    return [
        {
            "job": f"Parquet {samples:,} x {JOINTS} to Parquet, memory",
            "beside": "the numbers of the input",
            "goal": "below 4 times",
            "measured": f"{used.ru_maxrss * 1024 / data:.2f} times",
            "times": f"{used.ru_maxrss / 1024:,.0f} MiB at most",
        }
    ]


def start(folder: Path, options: argparse.Namespace) -> list[Row]:
    """What a person waits for."""
    log = folder / "log.csv"
    write_table(log, 2000)
    rows = []
    for arguments, goal in ((["--version"], "0.1 s"), (["--help"], "0.15 s"), (["info", str(log)], "0.5 s")):
        times = in_turn(
            7,
            {
                "start to end": lambda arguments=arguments: seconds([*VELMORA, *arguments]),
                "processor": lambda arguments=arguments: processor_seconds([*VELMORA, *arguments]),
            },
        )
        shown = " ".join(["velmora", *(argument.replace(str(log), "LOG") for argument in arguments)])
        rows.append(
            {
                "job": f"`{shown}`" + (" of 2,000 rows" if "info" in shown else ""),
                "beside": "start to end",
                "goal": f"below {goal}",
                "measured": f"{times['start to end']:.3f} s",
                "times": f"processor time {times['processor']:.3f} s",
            }
        )
    return rows


JOBS: dict[str, Callable[[Path, argparse.Namespace], list[Row]]] = {
    "csv": csv,
    "parquet": parquet,
    "memory": memory,
    "many": many,
    "start": start,
}


def table(kept: dict[str, list[Row]], columns: tuple[str, ...]) -> str:
    """All rows that are kept, as Markdown."""
    lines = [f"| {' | '.join(columns)} |", "|" + "---|" * len(columns)]
    lines += [f"| {' | '.join(row[column] for column in columns)} |" for job in JOBS for row in kept.get(job, [])]
    return "\n".join(lines)


def main() -> None:
    parser = argparse.ArgumentParser(description="Times the command beside the scripts that people write.")
    parser.add_argument("jobs", nargs="*", metavar="JOB", help=f"of {', '.join(JOBS)}; all by default")
    parser.add_argument("--samples", type=int, default=1_000_000)
    parser.add_argument("--files", type=int, default=1000)
    parser.add_argument("--rounds", type=int, default=3, help="runs of each contender of the jobs csv and many")
    parser.add_argument("--write", action="store_true", help="put the table into docs/performance.md")
    options = parser.parse_args()
    kept: dict[str, list[Row]] = json.loads(KEPT.read_text()) if KEPT.exists() else {}
    for job in options.jobs or JOBS:
        with tempfile.TemporaryDirectory() as folder:
            kept[job] = JOBS[job](Path(folder), options)
        KEPT.parent.mkdir(parents=True, exist_ok=True)
        KEPT.write_text(json.dumps(kept, indent=1))
    print(table(kept, (*COLUMNS, "goal")))  # goals are for who works on it, not for the page
    if options.write:
        page = PAGE.read_text()
        head = (
            f"`./benchmarks/tools_speed.py` on {datetime.date.today()}: {cpu()}, {os.cpu_count()} cores, "
            f"Python {platform.python_version()}, load average {os.getloadavg()[2]:.1f}."
        )
        before, after = page[: page.index(BEGIN)], page[page.index(END) :]
        PAGE.write_text(f"{before}{BEGIN}\n\n{head}\n\n{table(kept, COLUMNS)}\n\n{after}")


def cpu() -> str:
    """The processor's name."""
    for line in Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.partition(":")[2].strip()
    return platform.machine()


if __name__ == "__main__":
    main()
