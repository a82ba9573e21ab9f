# SPDX-License-Identifier: Apache-2.0
"""Runs tasks in processes of this machine, of which any may die at any time.

The processes are started anew, not forked, so that it does not matter which threads the caller has or whether its main
module may be imported twice. Outputs come back staged, and only the process that commands moves them to their places: a
worker that dies has either delivered its output or not, and nothing is written twice.
"""

from __future__ import annotations

import contextlib
import os
import secrets
import signal
import subprocess
import sys
from collections import Counter, deque
from collections.abc import Iterator, Sequence
from dataclasses import dataclass, replace
from multiprocessing.connection import Connection, Pipe, wait

from velmora.tools.batch.tasks import Outcome, Task, discard_left, perform
from velmora.tools.interrupts import undisturbed

# A task whose worker has died so often is set aside.
ATTEMPTS = 3


@dataclass
class _Worker:
    process: subprocess.Popen[bytes]
    connection: Connection
    owner: str
    index: int | None = None  # of the task that it is at


def run_local(tasks: Sequence[Task], jobs: int) -> Iterator[tuple[int, Outcome]]:
    """Run tasks in up to `jobs` processes; yields (index, outcome) as they are done, outputs staged."""
    waiting = deque(range(len(tasks)))
    deaths: Counter[int] = Counter()
    workers: list[_Worker] = []
    run = f"{os.getpid()}-{secrets.token_hex(4)}"
    started = 0
    try:
        while waiting or any(worker.index is not None for worker in workers):
            while waiting and len(workers) < jobs:
                started += 1
                workers.append(_start(f"{run}-{started}"))
                _assign(workers[-1], tasks, waiting)
            ready = wait([worker.connection for worker in workers])
            for worker in [worker for worker in workers if worker.connection in ready]:
                index = worker.index
                assert index is not None
                try:
                    outcome: Outcome = worker.connection.recv()
                except (EOFError, OSError):
                    workers.remove(worker)
                    death = _bury(worker, tasks[index])
                    deaths[index] += 1
                    if deaths[index] < ATTEMPTS:
                        waiting.append(index)
                    else:
                        yield index, _set_aside(tasks[index], death)
                    continue
                _assign(worker, tasks, waiting)  # it is busy again while its outcome is looked at
                if worker.index is None:
                    workers.remove(worker)
                    _dismiss(worker)
                yield index, outcome
    finally:
        with undisturbed():
            for worker in workers:
                worker.process.kill()
                _dismiss(worker)
            discard_left(tasks, run)


def serve(descriptor: int) -> None:
    """Do tasks until no more come; the main function of a worker."""
    connection = Connection(descriptor)
    while True:
        try:
            task = connection.recv()
        except EOFError:
            return
        outcome = perform(task)
        try:
            connection.send(outcome)
        except OSError:
            for staged in outcome.staged:
                staged.discard()
            return


def _start(owner: str) -> _Worker:
    ours, theirs = Pipe()
    program = (
        f"import sys; sys.path[:] = {sys.path!r}; from velmora.tools.main import spare_pandas; spare_pandas(); "
        f"from velmora.tools.batch.workers import serve; serve({theirs.fileno()})"
    )
    # The processes share the cores already; the libraries that they call shall not share them once more.
    environment = {**os.environ, "OMP_NUM_THREADS": "1", "OPENBLAS_NUM_THREADS": "1"}
    # A session of its own: an interrupt from the terminal is for the process that commands.
    process = subprocess.Popen(
        [sys.executable, "-c", program],
        stdin=subprocess.DEVNULL,
        stdout=subprocess.DEVNULL,
        pass_fds=[theirs.fileno()],
        env=environment,
        start_new_session=True,
    )
    theirs.close()
    return _Worker(process, ours, owner)


def _assign(worker: _Worker, tasks: Sequence[Task], waiting: deque[int]) -> None:
    worker.index = waiting.popleft() if waiting else None
    if worker.index is not None:
        # A dead one shows when its answer is waited for.
        with contextlib.suppress(OSError):
            worker.connection.send(replace(tasks[worker.index], owner=worker.owner))


def _dismiss(worker: _Worker) -> None:
    worker.connection.close()
    worker.process.wait()


def _bury(worker: _Worker, task: Task) -> str:
    """Clean up after a dead worker; how it died."""
    worker.connection.close()
    code = worker.process.wait()
    discard_left([task], worker.owner)
    return signal.Signals(-code).name if code < 0 else f"exit code {code}"


def _set_aside(task: Task, death: str) -> Outcome:
    return Outcome(
        task.source,
        exit_code=1,
        error=(
            f"{task.source}: set aside: {ATTEMPTS} workers died of it, the last by {death}; a file that fits into "
            "memory was "
            "expected; velmora info shows what it holds"
        ),
    )
