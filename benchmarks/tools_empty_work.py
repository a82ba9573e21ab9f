# SPDX-License-Identifier: Apache-2.0
"""Work that does nothing, so that the cost of handing it on is left."""

from velmora.tools.batch.tasks import JsonObject, Stage, Task


def work(task: Task, stage: Stage) -> tuple[list[JsonObject], list[str]]:
    """Report as a real one does."""
    return [{"source": task.source, "samples": 10_000, "duration_s": 10.0, "outputs": [task.source]}], []
