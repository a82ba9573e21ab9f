# SPDX-License-Identifier: Apache-2.0
"""The record of what is done, by which an interrupted run goes on."""

from __future__ import annotations

import dataclasses
import hashlib
import json
import os
from concurrent.futures import ThreadPoolExecutor
from pathlib import Path
from typing import Any

from velmora.tools import output
from velmora.tools.batch.tasks import NOT_KEYED, JsonObject, Outcome, Task, digest_of
from velmora.tools.errors import UsageError

FILE_NAME = ".velmora-manifest.jsonl"


class Manifest:
    """A line of JSON per finished input, appended when its outputs are moved to their places.

    The key of a line is a hash of the input's content, the options, the target and the version of velmora: what was
    made otherwise is made anew.
    """

    def __init__(self, path: Path) -> None:
        self.path = path
        self._lines: list[JsonObject] = []
        self._torn = self._incomplete = False
        if path.exists():
            try:
                text = path.read_text(encoding="utf-8", errors="replace")
            except OSError as error:
                raise UsageError(
                    f"{path}: {error.strerror}; the record of what is done was expected; --resume goes by it"
                ) from error
            self._torn = not text.endswith("\n")
            entries = (_entry(line) for line in text.splitlines())
            self._lines = [entry for entry in entries if entry is not None]

    def done(self, tasks: list[Task]) -> dict[int, Outcome]:
        """Which of the tasks were done before and have their outputs as they were, with what was said of them then."""
        sources = {entry["source"] for entry in self._lines}
        latest = {entry["key"]: entry for entry in self._lines}
        # Another one may have been made in place of an output since.
        held = {item["path"]: entry for entry in self._lines for item in entry["outputs"]}
        # Standard input cannot be read twice, so that nothing tells whether it is the same.
        candidates = [
            index for index, task in enumerate(tasks) if task.source != "-" and output.whole(task.source) in sources
        ]
        found = {}
        with ThreadPoolExecutor() as pool:
            for index, digest in zip(
                candidates, pool.map(lambda index: _digest_or_none(tasks[index]), candidates), strict=False
            ):
                entry = latest.get(key_of(tasks[index], digest)) if digest is not None else None
                if entry is not None and all(
                    held[item["path"]] is entry and _is_unchanged(item) for item in entry["outputs"]
                ):
                    found[index] = Outcome(
                        tasks[index].source,
                        reports=tuple(entry["reports"]),
                        warnings=tuple(entry["warnings"]),
                        losses=tuple(entry["losses"]),
                        exit_code=entry["exit_code"],
                        digest=digest or "",
                    )
        return found

    def own(self, task: Task) -> frozenset[str]:
        """The outputs that an earlier run made of the task's input and nobody has changed since."""
        source = output.whole(task.source)
        return frozenset(
            item["path"]
            for entry in self._lines
            if entry["source"] == source
            for item in entry["outputs"]
            if _is_unchanged(item)
        )

    def add(self, task: Task, outcome: Outcome) -> list[str]:
        """Note that a task is done, whose outputs are written and about to be moved to their places.

        Before that, since an output that is not there, or is another one, is found out when the line is read. Where
        no line can be written the task is done all the same.

        Returns
        -------
        list of str
            What the user should see: once that a line could not be written.
        """
        entry = {
            "key": key_of(task, outcome.digest),
            "source": output.whole(task.source),
            "outputs": [
                {"path": output.whole(staged.target), "size": _size(staged.path), "time_ns": _time_ns(staged.path)}
                for staged in outcome.staged
            ],
            "reports": outcome.reports,
            "warnings": outcome.warnings,
            "losses": outcome.losses,
            "exit_code": outcome.exit_code,
        }
        line = ("\n" if self._torn else "") + json.dumps(entry) + "\n"
        try:
            with self.path.open("a", encoding="utf-8") as file:
                file.write(line)
        except OSError as error:
            note = (
                f"{self.path}: {error.strerror}; a line for every file that is done was expected; --resume knows of "
                "those that have one"
            )
            known, self._incomplete = self._incomplete, True
            self._torn = True  # a part of the line may be there
            return [] if known else [note]
        self._torn = False
        return []


def _entry(line: str) -> JsonObject | None:
    """A line of the record; None for a damaged one, such as the last of a run that was killed."""
    try:
        entry = json.loads(line)
        entry["reports"] = list(entry["reports"])
        entry["warnings"], entry["exit_code"] = list(map(str, entry["warnings"])), int(entry["exit_code"])
        entry["losses"] = list(map(str, entry.get("losses", ())))  # a record of 1.0.0 has none
        for item in entry["outputs"]:
            item["path"], item["size"], item["time_ns"] = str(item["path"]), int(item["size"]), int(item["time_ns"])
        return entry if isinstance(entry["key"], str) and isinstance(entry["source"], str) else None
    except (ValueError, KeyError, TypeError):
        return None


def key_of(task: Task, digest: str) -> str:
    """The key of a task whose input has that hash."""
    work = f"{task.work.__module__}.{task.work.__qualname__}"
    text = json.dumps(
        [digest, work, output.whole(task.target or ""), task.version, _plain(task.options)], sort_keys=True
    )
    return hashlib.sha256(text.encode()).hexdigest()


def _plain(options: Any) -> Any:
    if dataclasses.is_dataclass(options):
        return {
            field.name: _plain(getattr(options, field.name))
            for field in dataclasses.fields(options)
            if field.metadata != NOT_KEYED
        }
    if isinstance(options, dict):
        return {str(key): _plain(value) for key, value in options.items()}
    if isinstance(options, (list, tuple)):
        return [_plain(value) for value in options]
    if callable(options):  # whose text has its place in memory
        return f"{options.__module__}.{options.__qualname__}"
    return repr(options)


def _digest_or_none(task: Task) -> str | None:
    try:
        return digest_of(task.source)
    except OSError:
        return None


def _size(path: str) -> int:
    try:
        return (
            os.stat(path).st_size
            if os.path.isfile(path)
            else sum(entry.stat().st_size for entry in Path(path).rglob("*") if entry.is_file())
        )
    except OSError:
        return -1


def _time_ns(path: str) -> int:
    """When a file, or the last file of a folder, was written; a rename leaves that alone."""
    try:
        inside = [path] if os.path.isfile(path) else [entry for entry in Path(path).rglob("*") if entry.is_file()]
        return max((os.stat(entry).st_mtime_ns for entry in inside), default=-1)
    except OSError:
        return -1


def _is_unchanged(item: JsonObject) -> bool:
    """Whether an output is the one that its line speaks of."""
    path = item["path"]
    return os.path.exists(path) and (_size(path), _time_ns(path)) == (item["size"], item["time_ns"])
