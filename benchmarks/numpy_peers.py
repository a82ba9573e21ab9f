# SPDX-License-Identifier: Apache-2.0
# Times numpy and scipy on the jobs of the benchmark program, or checks that their results agree with the library's.
"""
numpy_peers.py --check < RESULTS       RESULTS as `velmora_benchmarks --check` prints them
numpy_peers.py JOB SAMPLES JOINTS ROUNDS [SUFFIX]     SUFFIX is appended to the name of the peer
"""

import json
import sys
import time

import numpy as np
from scipy.interpolate import CubicSpline

ROUND_NS = 5_000_000


def derivative(times, positions):
    return np.gradient(positions, times, axis=0, edge_order=2)


def grid(times):
    return np.linspace(times[0], times[-1], 4 * len(times))


def linear(times, positions):
    queries = grid(times)
    result = np.empty((len(queries), positions.shape[1]))
    for joint in range(positions.shape[1]):
        result[:, joint] = np.interp(queries, times, positions[:, joint])
    return result


def cubic(times, positions):
    queries = grid(times)
    spline = CubicSpline(times, positions)
    return spline(queries), spline(queries, 1), spline(queries, 2)


def three_impulses():
    """Zero vibration and derivative at 12 Hz, damping 0.05."""
    damped = np.sqrt(1.0 - 0.05**2)
    k = np.exp(-0.05 * np.pi / damped)
    return np.arange(3) * 0.5 / (12.0 * damped), np.array([1.0, 2.0 * k, k * k]) / (1.0 + k) ** 2


def shape(times, positions):
    """The weighted sum of delayed copies, held at rest before and after; at the own times and 4 ms apart after them."""
    delays, amplitudes = three_impulses()
    tail = times[-1] + 0.004 * np.arange(1, np.ceil(delays[-1] / 0.004) + 1)
    queries = np.concatenate([times, tail])
    spline = CubicSpline(times, positions)
    shaped = [np.zeros((len(queries), positions.shape[1])) for _ in range(3)]
    for delay, amplitude in zip(delays, amplitudes, strict=True):
        delayed = queries - delay
        shaped[0] += amplitude * spline(np.clip(delayed, times[0], times[-1]))
        moving = slice(*np.searchsorted(delayed, [times[0], np.nextafter(times[-1], np.inf)]))
        for order in (1, 2):
            shaped[order][moving] += amplitude * spline(delayed[moving], order)
    return tuple(shaped)


JOBS = {
    "derivative": ("numpy", derivative),
    "linear": ("numpy", linear),
    "cubic": ("scipy", cubic),
    "shape": ("scipy", shape),
}


def recording(samples, joints):
    times = (np.arange(samples) + np.random.default_rng(20020726).uniform(-0.3, 0.3, samples)) * 0.004
    rates = 1.0 + 0.1 * np.arange(joints)
    return times, np.sin(times[:, None] * rates) + 0.02 * np.sin(40.0 * times)[:, None]


def timed_round(job, arguments, calls):
    start = time.process_time_ns()
    for _ in range(calls):
        job(*arguments)
    return (time.process_time_ns() - start) / calls


def measure(name, samples, joints, rounds, suffix):
    peer, job = JOBS[name]
    arguments = recording(samples, joints)
    timed_round(job, arguments, 1)
    calls = max(1, round(ROUND_NS / timed_round(job, arguments, 1)))
    run_name = f"{name}/{peer}{suffix}/{samples}/{joints}"
    entries = [
        {"run_name": run_name, "run_type": "iteration", "cpu_time": timed_round(job, arguments, calls)}
        for _ in range(rounds)
    ]
    return {"benchmarks": entries}


def check(results):
    times, positions = np.array(results["time"]), np.array(results["positions"])
    for name, (_, job) in JOBS.items():
        ours, theirs = np.array(results[name]), np.array(job(times, positions))
        for part_ours, part_theirs in zip(*((x if x.ndim == 3 else x[None]) for x in (ours, theirs)), strict=True):
            difference = np.abs(part_ours - part_theirs).max()
            if not difference <= 1e-9 * np.abs(part_ours).max():
                sys.exit(f"numpy_peers: {name}: results differ by up to {difference:.3g}")


if __name__ == "__main__":
    if sys.argv[1] == "--check":
        check(json.load(sys.stdin))
    else:
        numbers = map(int, sys.argv[2:5])
        json.dump(measure(sys.argv[1], *numbers, "".join(sys.argv[5:])), sys.stdout)
