# SPDX-License-Identifier: Apache-2.0
"""A bar over all files on standard error, on a terminal only."""

from __future__ import annotations

import sys
from collections.abc import Iterator
from contextlib import contextmanager
from typing import Protocol


class Advance(Protocol):
    """Tells the bar that one more file is finished."""

    def __call__(self, failed: bool) -> None: ...


@contextmanager
def progress(total: int, what: str) -> Iterator[Advance]:
    """Show a bar with rate and time left; silent unless standard error is a terminal and there are several files."""
    if total < 2 or not sys.stderr.isatty():
        yield lambda failed: None
        return
    from rich.console import Console
    from rich.progress import BarColumn, MofNCompleteColumn, Progress, TextColumn, TimeRemainingColumn

    columns = (
        TextColumn("{task.description}"),
        BarColumn(),
        MofNCompleteColumn(),
        TextColumn("{task.fields[rate]}"),
        TimeRemainingColumn(),
        TextColumn("[red]{task.fields[failures]}"),
    )
    with Progress(*columns, console=Console(stderr=True), transient=True) as bar:
        task = bar.add_task(what, total=total, rate="", failures="")
        failed_so_far = 0

        def advance(failed: bool) -> None:
            nonlocal failed_so_far
            failed_so_far += failed
            speed = bar.tasks[0].speed
            bar.update(
                task,
                advance=1,
                rate="" if speed is None else f"{speed:.1f}/s",
                failures=f"{failed_so_far} failed" if failed_so_far else "",
            )

        yield advance
