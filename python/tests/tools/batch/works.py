# SPDX-License-Identifier: Apache-2.0
"""Work for tests of the batch engine: it counts, it fails, it kills."""

from __future__ import annotations

import os
import signal
import time
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path
from typing import Any

from velmora.tools.batch.tasks import Stage, Task
from velmora.tools.errors import DataError

Result = tuple[list[dict[str, Any]], list[str]]
Work = Callable[[Task, Stage], Result]


@dataclass(frozen=True)
class Options:
    """Where attempts are counted, and how long a task takes."""

    diary: str
    pause_s: float = 0.0


def copy(task: Task, stage: Stage) -> Result:
    """Write the input's text, slowly."""
    options: Options = task.options
    note(options, task)
    assert task.target is not None
    text = Path(task.source).read_text()
    if text == "broken":
        raise DataError(f"{task.source}:1: broken; something else was expected")
    if text == "fault":
        raise ValueError("not foreseen")
    with open(stage.place(task.target), "w") as file:
        file.write(text[:1])
        file.flush()
        time.sleep(options.pause_s)
        if text == "killer":
            os.kill(os.getpid(), signal.SIGKILL)
        file.write(text[1:])
    return [{"source": task.source, "outputs": [task.target]}], []


def kill_once(task: Task, stage: Stage) -> Result:
    """Kill the worker at the first attempt."""
    if attempts(task.options, task.source) == 0:
        note(task.options, task)
        assert task.target is not None
        Path(stage.place(task.target)).write_text("half")
        os.kill(os.getpid(), signal.SIGKILL)
    return copy(task, stage)


def note(options: Options, task: Task) -> None:
    """Count an attempt, by a file that only this process writes."""
    (Path(options.diary) / f"{Path(task.source).name}.{os.getpid()}.{time.monotonic_ns()}").write_text("")


def attempts(options: Options, source: str) -> int:
    """How often a source was tried."""
    return len(list(Path(options.diary).glob(f"{Path(source).name}.*")))


def workers(options: Options) -> set[int]:
    """The processes that have begun anything."""
    return {int(path.name.rsplit(".", 2)[1]) for path in Path(options.diary).iterdir()}
