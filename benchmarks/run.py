# SPDX-License-Identifier: Apache-2.0
# Runs the benchmark program and its peers in other processes, keeps their JSON, and prints the table of ratios.
import argparse
import json
import os
import pathlib
import platform
import statistics
import subprocess
import sys
import time

import report

ROOT = pathlib.Path(__file__).resolve().parent.parent
BUILD = ROOT / "build/benchmark"
PROGRAM = BUILD / "benchmarks/velmora_benchmarks"
NUMPY_PEERS = ROOT / "benchmarks/numpy_peers.py"

ROUND_S = 0.005
RESAMPLING = ("linear", "cubic", "shape")
JOBS = ("cubic", "linear", "shape", "blend_scalar", "blend_rows", "derivative", "first_difference", "path_coordinate")
NUMPY_JOBS = ("cubic", "linear", "shape", "derivative")
SAMPLES = (10, 32, 100, 1_000, 5_000, 20_000, 100_000, 1_000_000)

# The states of glibc's allocator. Warm: freed blocks of up to 32 MiB stay with the process, and results reuse their
# pages. Cold: as a process starts, every result above 128 KiB is mapped anew and faults page by page.
ALLOCATOR = {
    "warm": "glibc.malloc.mmap_threshold=33554432:glibc.malloc.trim_threshold=1073741824",
    "cold": "glibc.malloc.mmap_threshold=131072:glibc.malloc.trim_threshold=131072",
}


def shapes(job, regime, quick):
    """The (samples, joints) of a job; the largest are left out where a run would take minutes."""
    largest = {7: 100_000 if job in RESAMPLING else 1_000_000, 1: 20_000 if job in RESAMPLING else 100_000}
    largest[32] = largest[1]
    if quick:
        largest = {7: 20_000}
    if regime == "cold":
        largest = {7: largest[7]}
    return [(samples, joints) for joints in largest for samples in SAMPLES if samples <= largest[joints]]


def plan(quick):
    """Steps of (regime, filter of names, rounds, job and shape for the numpy peers or None)."""
    rounds = 5 if quick else 15
    for regime in ("warm",) if quick else ("warm", "cold"):
        for job in JOBS:
            for samples, joints in shapes(job, regime, quick):
                numpy_peer = [job, samples, joints] if job in NUMPY_JOBS else None
                yield regime, f"^{job}/.*/{samples}/{joints}$", rounds, numpy_peer
    if not quick:
        yield "warm", "^cubic_long/", 3, None


def execute(command, tunables):
    environment = dict(os.environ, GLIBC_TUNABLES=tunables, OPENBLAS_NUM_THREADS="1")
    return subprocess.run(
        list(map(str, command)), env=environment, check=True, stdout=subprocess.PIPE, text=True
    ).stdout


def time_numpy(peer, rounds, regime):
    if peer is None:
        return []
    command = [sys.executable, NUMPY_PEERS, *peer, rounds]
    entries = json.loads(execute(command, ALLOCATOR[regime]))["benchmarks"]
    if regime == "warm":  # numpy's own habits matter too: its temporaries meet the allocator as Python starts it
        entries += json.loads(execute([*command, "_as_started"], ""))["benchmarks"]
    return entries


def thread_speed_ups(rounds):
    """{regime: {samples: calls per second on two threads, beside those on one}}, on any core."""
    speed_ups = {}
    for regime, tunables in ALLOCATOR.items():
        print(f"benchmark: {regime} threads", file=sys.stderr, flush=True)
        timed = json.loads(
            execute(
                [
                    PROGRAM,
                    "--benchmark_filter=^cubic_threads/",
                    f"--benchmark_repetitions={rounds}",
                    "--benchmark_min_time=0.05",
                    "--benchmark_enable_random_interleaving=true",
                    "--benchmark_format=json",
                ],
                tunables,
            )
        )
        rates = {}
        for entry in timed["benchmarks"]:
            if entry["run_type"] == "iteration":
                key = int(entry["run_name"].split("/")[2]), entry["threads"]
                rates.setdefault(key, []).append(entry["items_per_second"])
        speed_ups[regime] = {
            samples: statistics.median(rates[samples, 2]) / statistics.median(rates[samples, 1])
            for samples in sorted({samples for samples, _ in rates})
        }
    return speed_ups


def check_agreement():
    results = subprocess.run([PROGRAM, "--check"], check=True, stdout=subprocess.PIPE).stdout
    subprocess.run([sys.executable, NUMPY_PEERS, "--check"], input=results, check=True)


def cpu_model():
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            return line.split(":", 1)[1].strip()
    return platform.machine()


def run(quick):
    """All rounds of all steps, as {regime: entries of Google Benchmark's JSON}."""
    threads = thread_speed_ups(5 if quick else 15)
    core = max(os.sched_getaffinity(0))
    os.sched_setaffinity(0, {core})  # inherited: the peers run where the library runs
    check_agreement()
    entries = {regime: [] for regime in ALLOCATOR}
    compiler = ""
    for regime, names, rounds, numpy_peer in plan(quick):
        print(f"benchmark: {regime} {names}", file=sys.stderr, flush=True)
        entries[regime] += time_numpy(numpy_peer, (rounds + 1) // 2, regime)
        timed = json.loads(
            execute(
                [
                    PROGRAM,
                    f"--benchmark_filter={names}",
                    f"--benchmark_repetitions={rounds}",
                    f"--benchmark_min_time={ROUND_S}",
                    "--benchmark_enable_random_interleaving=true",
                    "--benchmark_format=json",
                ],
                ALLOCATOR[regime],
            )
        )
        compiler = timed["context"]["compiler"]
        entries[regime] += timed["benchmarks"]
        entries[regime] += time_numpy(numpy_peer, (rounds + 1) // 2, regime)
    machine = {"cpu": cpu_model(), "cores": os.cpu_count(), "compiler": compiler, "date": time.strftime("%Y-%m-%d")}
    command = "./scripts/benchmark" + (" --quick" if quick else "")
    return {"machine": machine, "command": command, "entries": entries, "threads": threads}


def main():
    parser = argparse.ArgumentParser(description="Times the library beside its peers and prints a table of ratios.")
    parser.add_argument("--quick", action="store_true", help="fewer rounds and shapes: a first look within a minute")
    parser.add_argument("--write", action="store_true", help="put the table, without goals, into docs/performance.md")
    parser.add_argument("--report", action="store_true", help="time nothing: print the table of the last run again")
    options = parser.parse_args()

    kept = BUILD / ("quick.json" if options.quick else "results.json")
    if not options.report:
        kept.write_text(json.dumps(run(options.quick)))
    measured = json.loads(kept.read_text())
    print(report.markdown(measured, with_goals=True))
    if options.write:
        report.write_between_markers(ROOT / "docs/performance.md", report.markdown(measured, with_goals=False))


main()
