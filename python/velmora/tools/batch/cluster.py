# SPDX-License-Identifier: Apache-2.0
"""Runs tasks on an existing Dask cluster, whose workers must have the same version and reach the same files."""

from __future__ import annotations

import importlib
import secrets
from collections.abc import Iterator, Sequence
from dataclasses import replace
from typing import Any

from velmora.tools import output
from velmora.tools.batch.tasks import Outcome, Task, discard_left, perform, perform_and_commit
from velmora.tools.errors import UsageError
from velmora.tools.interrupts import undisturbed

CONNECT_WITHIN_S = 10


def run_on_cluster(tasks: Sequence[Task], scheduler: str) -> Iterator[tuple[int, Outcome]]:
    """Run tasks on the workers of a scheduler; yields (index, outcome) as they are done.

    A task whose worker dies goes to another; how often is the cluster's setting (`allowed-failures`, 3 unless changed).
    Outputs come back staged, and the caller moves them to their places. Workers upload those that have an address
    alone: where one dies between that and its answer the same bytes come once more.

    Raises
    ------
    UsageError
        "SCHEDULER: REASON; ..." where no scheduler answers.
    """
    distributed: Any = importlib.import_module("distributed")  # seldom needed, and without types

    run = secrets.token_hex(8)
    try:
        # Before there is a client: one whose address is none waits for itself, and says so, after the error.
        distributed.comm.resolve_address(scheduler)
        client: Any = distributed.Client(scheduler, timeout=CONNECT_WITHIN_S, set_as_default=False)
    except (OSError, ValueError) as error:
        raise UsageError(
            f"{scheduler}: no scheduler answers; the address of a Dask scheduler was expected, such as "
            f"tcp://10.0.0.1:8786 ({type(error).__name__})"
        ) from error
    owned = [_prepared(task, run) for task in tasks]
    futures: list[Any] = []
    try:
        futures = client.map(_perform, owned, key=[f"velmora-{run}-{index}" for index in range(len(owned))])
        indexes = {future.key: index for index, future in enumerate(futures)}
        for future in distributed.as_completed(futures, loop=client.loop):
            index = indexes[future.key]
            yield index, _outcome(owned[index], future)
            future.release()
    finally:
        with undisturbed():
            client.cancel(futures)
            discard_left(owned, run)
        client.close()


def _prepared(task: Task, run: str) -> Task:
    # Whether the target is there was asked before; a second attempt may replace what the first one uploaded.
    again = frozenset({task.target}) if task.target is not None and output.is_remote(task.target) else frozenset()
    return replace(task, owner=run, replaceable=task.replaceable | again)


def _perform(task: Task) -> Outcome:
    uploads = task.target is not None and output.is_remote(task.target)
    return perform_and_commit(task) if uploads else perform(task)


def _outcome(task: Task, future: Any) -> Outcome:
    # Waits where the worker that held the outcome has died since, and the task is being done again.
    error = future.exception()
    if error is None:
        outcome: Outcome = future.result()
        return outcome
    if type(error).__name__ == "KilledWorker":
        what = f"set aside: its workers died, the last was {getattr(error, 'last_worker', 'unknown')}"
    else:
        what = f"{type(error).__name__}: {error}"
    return Outcome(
        task.source, exit_code=1, error=f"{task.source}: {what}; a file that fits into a worker was expected"
    )
