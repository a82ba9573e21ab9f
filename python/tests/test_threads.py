# SPDX-License-Identifier: Apache-2.0
"""Threads may share a trajectory: first calls are guarded, and the interpreter runs on meanwhile."""

from __future__ import annotations

import threading
import time
from collections.abc import Callable
from concurrent.futures import ThreadPoolExecutor
from functools import partial
from typing import Any

import numpy as np
import velmora as vm

THREADS = 8
NAMES = ("velocities", "accelerations", "jerks")


def make() -> vm.JointTrajectory:
    return vm.JointTrajectory(np.random.default_rng(2).normal(size=(2000, 7)).cumsum(axis=0), dt=0.01)


def at_once(work: Callable[[int], Any]) -> list[Any]:
    barrier = threading.Barrier(THREADS)

    def run(index: int) -> Any:
        barrier.wait()
        return work(index)

    with ThreadPoolExecutor(THREADS) as pool:
        return list(pool.map(run, range(THREADS)))


def test_first_calls_from_many_threads_give_the_serial_bits() -> None:
    def all_of(trajectory: vm.JointTrajectory, order: list[tuple[str, ...]], index: int) -> dict[str, Any]:
        return {name: getattr(trajectory, name) for name in order[index % 3]}

    serial = make()
    expected = [getattr(serial, name).tobytes() for name in NAMES]
    for _ in range(20):
        shared = make()
        order = [NAMES[::-1], NAMES, NAMES[1:] + NAMES[:1]]
        answers = at_once(partial(all_of, shared, order))
        for answer in answers:
            assert [answer[name].tobytes() for name in NAMES] == expected
            for name in NAMES:
                assert np.shares_memory(answer[name], getattr(shared, name))


def test_every_use_of_a_shared_trajectory_gives_the_serial_bits() -> None:
    queries = np.linspace(0.0, 19.9, 777)

    def uses(trajectory: vm.JointTrajectory, start: int) -> list[bytes]:
        calls = [
            lambda: trajectory.resample(0.0043).accelerations,
            lambda: trajectory.sample(queries).jerks,
            lambda: trajectory.sample([]).positions,
            lambda: trajectory.copy().velocities,
            lambda: trajectory.jerks,
            lambda: np.array(trajectory == trajectory.copy()),
        ]
        answers = {k % len(calls): calls[k % len(calls)]().tobytes() for k in range(start, start + len(calls))}
        return [answers[k] for k in range(len(calls))]

    serial = make()
    assert serial.jerks is not None
    expected = uses(serial, 0)
    for _ in range(5):
        shared = make()
        assert at_once(partial(uses, shared)) == [expected] * THREADS


def test_the_interpreter_runs_while_the_library_works() -> None:
    trajectory = vm.JointTrajectory(np.zeros((200_000, 7)), dt=0.01)
    done = threading.Event()

    def work() -> None:
        trajectory.resample(0.0025)
        done.set()

    worker = threading.Thread(target=work)
    steps = 0
    worker.start()
    while not done.is_set():
        steps += 1
        time.sleep(0)
    worker.join()
    assert steps > 10
