# SPDX-License-Identifier: Apache-2.0
"""One file's worth of work: what goes to a worker, and what comes back."""

from __future__ import annotations

import hashlib
import os
import time
import traceback
from collections.abc import Callable, Sequence
from dataclasses import dataclass, field, replace
from pathlib import Path
from typing import Any

import velmora
from velmora.tools import output
from velmora.tools.batch.names import folder_patterns
from velmora.tools.errors import DataError, ToolError
from velmora.tools.formats.addresses import standard_input_digest

JsonObject = dict[str, Any]
# Of a field of options that has no part in what is written: the record of what is done leaves it out.
NOT_KEYED = {"keyed": False}


@dataclass(frozen=True)
class Task:
    """Work on one input. Picklable, and the same wherever it is done.

    Attributes
    ----------
    source
        The input: a path or an address.
    target
        Where outputs go, or None for work that only reports. May hold `names.GROUP` and `names.SEGMENT`.
    work
        A function of a module; it reads `source` and writes to what `stage` gives.
    options
        What `work` needs to know beside: a frozen dataclass.
    force
        Whether existing outputs are replaced.
    replaceable
        Outputs of an earlier run, nobody's since, which are replaced in any case.
    fault
        Why there is nothing to be done, where that is known before.
    hashed
        Whether the input's hash is wanted.
    owner
        Whose outputs these are, as long as they stand beside their targets.
    """

    source: str
    target: str | None
    work: Callable[[Task, Stage], tuple[list[JsonObject], list[str]]]
    options: Any
    force: bool = False
    replaceable: frozenset[str] = frozenset()
    fault: str = ""
    hashed: bool = False
    owner: str = ""
    version: str = velmora.__version__

    def may_replace(self, target: str) -> bool:
        """Whether an output that exists is replaced."""
        return self.force or output.whole(target) in self.replaceable


@dataclass(frozen=True)
class Outcome:
    """What became of a task.

    Attributes
    ----------
    reports
        One per recording of the file, ready for JSON.
    warnings
        What the user should see, one sentence each.
    losses
        Those of the warnings that say what of the input is lost.
    staged
        Outputs that wait for being moved to their places.
    error, exit_code
        Why the task failed, or None and 0.
    digest
        SHA-256 of the input where it was wanted.
    """

    source: str
    reports: tuple[JsonObject, ...] = ()
    warnings: tuple[str, ...] = ()
    losses: tuple[str, ...] = ()
    staged: tuple[output.Staged, ...] = ()
    error: str | None = None
    exit_code: int = 0
    digest: str = ""
    seconds: float = 0.0

    def about(self, report: JsonObject, texts: Sequence[str]) -> list[str]:
        """Those of the warnings or losses that are not about another recording of the file."""
        others = tuple(f"{other['source']}:" for other in self.reports if other["source"] != report["source"])
        return [text for text in texts if not text.startswith(others)]


@dataclass
class Stage:
    """Hands out places for the outputs of one task, and hears what of its input is lost."""

    task: Task
    staged: list[output.Staged] = field(default_factory=list)
    losses: list[str] = field(default_factory=list)

    def place(self, target: str) -> str:
        """A path to write the output to that belongs to `target`."""
        if any(target == other.target for other in self.staged):
            raise DataError(
                f"{self.task.source}: two outputs would be '{target}'; different names were expected; "
                "-o with {group} or {segment} tells them apart"
            )
        self._make_folder(target)
        staged = output.stage(target, force=self.task.may_replace(target), owner=self.task.owner)
        self.staged.append(staged)
        return staged.path

    def _make_folder(self, target: str) -> None:
        """Make the folder of an output, where its name was not known before the input was read."""
        if "{" in os.path.dirname(self.task.target or "") and not output.is_remote(target):
            os.makedirs(os.path.dirname(output.local(target)), exist_ok=True)

    def named(self, text: str) -> str:
        """A message with the targets of outputs instead of where they are written for now."""
        for staged in self.staged:
            text = text.replace(staged.path, staged.target)
        return text


def perform(task: Task) -> Outcome:
    """Do the work; the outputs are staged. Every failure becomes an outcome, so that a broken file fails alone."""
    started = time.perf_counter()
    stage = Stage(task)
    outcome = Outcome(task.source)
    try:
        if task.version != velmora.__version__:
            raise DataError(
                f"{task.source}: velmora {velmora.__version__} is installed on the worker; {task.version} was expected"
            )
        if task.fault:
            raise DataError(task.fault)
        digest = digest_of(task.source) if task.hashed else ""
        reports, warnings = task.work(task, stage)
        outcome = replace(
            outcome,
            reports=tuple(reports),
            warnings=(*stage.losses, *warnings),
            losses=tuple(stage.losses),
            staged=tuple(stage.staged),
            exit_code=int(bool(stage.losses)),
            digest=digest,
        )
    except ToolError as error:
        outcome = replace(outcome, error=stage.named(str(error)), exit_code=error.exit_code)
    except MemoryError:
        outcome = replace(
            outcome, error=f"{task.source}: out of memory; a recording that fits was expected", exit_code=1
        )
    except OSError as error:
        if task.target == "-" and isinstance(error, BrokenPipeError):  # whoever read it had enough
            raise
        where = stage.named(str(error.filename or task.source))
        outcome = replace(outcome, error=f"{where}: {error.strerror or error}", exit_code=1)
    except Exception as error:
        frame = traceback.extract_tb(error.__traceback__)[-1]
        outcome = replace(
            outcome,
            exit_code=1,
            error=(
                f"{task.source}: {type(error).__name__}: {error} ({Path(frame.filename).name}:{frame.lineno}); "
                "this is a fault of velmora, please report it with the file"
            ),
        )
    finally:
        if not outcome.staged:
            for staged in stage.staged:
                staged.discard()
    return replace(outcome, seconds=time.perf_counter() - started)


def commit(outcome: Outcome) -> Outcome:
    """Move the outputs to their places."""
    try:
        for staged in outcome.staged:
            staged.commit()
    except ToolError as error:
        outcome = replace(outcome, reports=(), error=str(error), exit_code=error.exit_code)
    finally:
        for staged in outcome.staged:
            staged.discard()
    return outcome


def perform_and_commit(task: Task) -> Outcome:
    """Both in one, where the outputs are in reach of the worker alone."""
    outcome = commit(perform(task))
    return replace(outcome, staged=tuple(replace(staged, path=staged.target) for staged in outcome.staged))


def discard_left(tasks: Sequence[Task], owner: str) -> None:
    """Remove what workers that died left beside the targets of tasks, or beside what a target that is a link names."""
    targets = {output.local(task.target) for task in tasks if task.target is not None}
    targets |= {os.path.realpath(target) for target in targets if os.path.islink(target)}
    for pattern in {pattern for target in targets for pattern in folder_patterns(target)}:
        output.discard_all(pattern, owner)


def digest_of(source: str) -> str:
    """SHA-256 of a file, or of all files of a folder with their names; of standard input once that was read."""
    if source == "-":
        return standard_input_digest()
    if output.is_remote(source):
        import fsspec

        with fsspec.open(source, "rb") as file:
            return _digest(file)
    path = Path(output.local(source))
    if not path.is_dir():
        with path.open("rb") as file:
            return _digest(file)
    total = hashlib.sha256()
    for entry in sorted(path.rglob("*")):
        if entry.is_file():
            with entry.open("rb") as file:
                total.update(f"{entry.relative_to(path)}\0{_digest(file)}\0".encode())
    return total.hexdigest()


def _digest(file: Any) -> str:
    digest = hashlib.sha256()
    while chunk := file.read(1 << 20):
        digest.update(chunk)
    return digest.hexdigest()
