# SPDX-License-Identifier: Apache-2.0
"""Many files at once: processes here or a cluster, resuming, progress, and the table of what became of each."""

from __future__ import annotations

import os
import time
from collections.abc import Callable, Iterator, Sequence
from dataclasses import dataclass, field, replace
from pathlib import Path

from velmora.tools import output
from velmora.tools.batch.manifest import FILE_NAME, Manifest
from velmora.tools.batch.names import known_part, shown
from velmora.tools.batch.tasks import Outcome, Task, commit, perform
from velmora.tools.errors import UsageError


@dataclass(frozen=True)
class ManyOptions:
    """How many files are done.

    Attributes
    ----------
    jobs
        Processes on this machine; 0 for one per core.
    scheduler
        Address of a Dask scheduler that is used instead.
    resume
        Whether what the manifest holds is left out.
    """

    jobs: int = 0
    scheduler: str | None = None
    resume: bool = False


@dataclass
class ManyResult:
    """What became of every task, in the order of the tasks."""

    outcomes: list[Outcome]
    statuses: list[str]
    seconds: float = 0.0

    @property
    def exit_code(self) -> int:
        """0 where all is well; the code of the failure for a single task, 1 for a part of many."""
        codes = [outcome.exit_code for outcome in self.outcomes]
        return codes[0] if len(codes) == 1 else int(any(codes))


@dataclass
class _Run:
    tasks: list[Task]
    manifest: Manifest | None
    outcomes: dict[int, Outcome] = field(default_factory=dict)
    statuses: dict[int, str] = field(default_factory=dict)
    written: dict[str, str] = field(default_factory=dict)  # the input of each output


def carry_out(
    tasks: Sequence[Task],
    options: ManyOptions,
    on_done: Callable[[int, Outcome, str], None] = lambda index, outcome, status: None,
) -> ManyResult:
    """Do the tasks, a broken one fails alone.

    Parameters
    ----------
    tasks
        What is to be done. Relative paths are taken from this process's folder.
    options
        Where to do it.
    on_done
        Called in this process after every task with its index, outcome and status: ``done``, ``failed``, ``skipped``
        (done before) or ``set aside``.

    Raises
    ------
    UsageError
        Where an output exists already and may not be replaced, or the scheduler does not answer.
    """
    started = time.perf_counter()
    run = _Run(list(tasks), _manifest(tasks, options))
    if run.manifest is not None:
        run.tasks = [replace(task, hashed=True) for task in run.tasks]
        if options.resume:
            for index, outcome in run.manifest.done(run.tasks).items():
                run.outcomes[index], run.statuses[index] = outcome, "skipped"
                on_done(index, outcome, "skipped")
            run.tasks = [replace(task, replaceable=run.manifest.own(task)) for task in run.tasks]
    open_indexes = [index for index in range(len(run.tasks)) if index not in run.outcomes]
    for index in open_indexes:
        _refuse_existing(run.tasks[index])
    for position, outcome in _engine([run.tasks[index] for index in open_indexes], options):
        index = open_indexes[position]
        outcome = _with_names_of_its_own(outcome, run.written)
        try:
            if run.manifest is not None and outcome.error is None:
                notes = run.manifest.add(run.tasks[index], outcome)
                outcome = replace(outcome, warnings=(*outcome.warnings, *notes))
        finally:
            outcome = commit(outcome)
        run.outcomes[index], run.statuses[index] = outcome, _status(outcome)
        on_done(index, outcome, run.statuses[index])
    order = range(len(run.tasks))
    return ManyResult(
        [run.outcomes[index] for index in order],
        [run.statuses[index] for index in order],
        time.perf_counter() - started,
    )


def _status(outcome: Outcome) -> str:
    if outcome.error is None:
        return "done"
    return "set aside" if ": set aside: " in outcome.error else "failed"


def _with_names_of_its_own(outcome: Outcome, written: dict[str, str]) -> Outcome:
    """The outcome, failed where another input has an output of that name: some names are known after reading alone."""
    names = {output.whole(staged.target): staged for staged in outcome.staged}
    taken = next((name for name in names if name in written), None)
    if taken is None:
        written.update(dict.fromkeys(names, outcome.source))
        return outcome
    for staged in outcome.staged:
        staged.discard()
    error = (
        f"{outcome.source}: its output would be '{names[taken].target}', as that of {written[taken]}; different names "
        "were expected; -o with {group} or {segment} tells them apart"
    )
    return replace(outcome, reports=(), staged=(), error=error, exit_code=1)


def _engine(tasks: list[Task], options: ManyOptions) -> Iterator[tuple[int, Outcome]]:
    # Standard input and output are those of this process.
    alone = options.scheduler is None and len(tasks) == 1
    here = [index for index, task in enumerate(tasks) if alone or "-" in (task.source, task.target)]
    for index in here:
        yield index, perform(tasks[index])
    elsewhere = [index for index in range(len(tasks)) if index not in here]
    if elsewhere:
        for position, outcome in _run_elsewhere([tasks[index] for index in elsewhere], options):
            yield elsewhere[position], outcome


def _run_elsewhere(tasks: list[Task], options: ManyOptions) -> Iterator[tuple[int, Outcome]]:
    if options.scheduler is not None:
        from velmora.tools.batch.cluster import run_on_cluster

        return run_on_cluster([_absolute(task) for task in tasks], options.scheduler)
    from velmora.tools.batch.workers import run_local

    return run_local(tasks, min(options.jobs or available_cores(), len(tasks)))


def available_cores() -> int:
    """The cores that this process may use."""
    return len(os.sched_getaffinity(0))


def _manifest(tasks: Sequence[Task], options: ManyOptions) -> Manifest | None:
    """The manifest in the folder that all outputs have in common; for several outputs, or where it is asked for.

    Folders that are known only when an input has been read lie below it.
    """
    written = [output.local(task.target) for task in tasks if task.target is not None and task.target != "-"]
    if not written or (len(written) < 2 and not options.resume):
        return None
    if any(output.is_remote(target) for target in written):
        if options.resume:
            raise UsageError(
                f"{shown(written[0])}: --resume keeps its record beside the outputs; a folder on a disk was expected"
            )
        return None
    folders = [os.path.abspath(os.path.dirname(known_part(target))) for target in written]
    return Manifest(Path(os.path.commonpath(folders)) / FILE_NAME)


def _refuse_existing(task: Task) -> None:
    """Find what is in the way of an output before any work is done; names that need the content come later."""
    if task.target is not None and known_part(task.target) == task.target and not task.fault:
        output.refuse_existing(task.target, task.may_replace(task.target))


def _absolute(task: Task) -> Task:
    target = None if task.target is None else output.whole(task.target)
    return replace(task, source=output.whole(task.source), target=target)
