# SPDX-License-Identifier: Apache-2.0
"""Many files in processes: each is done once and whole, whatever happens to workers."""

from __future__ import annotations

import json
import os
import shutil
import signal
import sys
import threading
import time
from pathlib import Path

import pytest

sys.path.insert(0, str(Path(__file__).parent))

import works
from support import leftovers
from velmora.tools import output
from velmora.tools.batch.many import ManyOptions, ManyResult, carry_out
from velmora.tools.batch.names import GROUP, SEGMENT
from velmora.tools.batch.tasks import Outcome, Task, discard_left
from velmora.tools.errors import UsageError


@pytest.fixture
def options(tmp_path: Path) -> works.Options:
    for name in ("in", "out", "diary"):
        (tmp_path / name).mkdir()
    return works.Options(str(tmp_path / "diary"))


def tasks(folder: Path, texts: list[str], options: works.Options, work: works.Work = works.copy) -> list[Task]:
    found = []
    for index, text in enumerate(texts):
        source = folder / f"in/{index:03}.txt"
        source.write_text(text)
        found.append(Task(str(source), str(folder / f"out/{index:03}.txt"), work, options))
    return found


def contents(folder: Path) -> dict[str, str]:
    return {path.name: path.read_text() for path in sorted((folder / "out").glob("*.txt"))}


def test_outcomes_stand_in_the_order_of_the_tasks(tmp_path: Path, options: works.Options) -> None:
    texts = [f"text {index}" for index in range(20)]
    result = carry_out(tasks(tmp_path, texts, options), ManyOptions(jobs=3))
    assert result.exit_code == 0
    assert result.statuses == ["done"] * 20
    assert [outcome.source for outcome in result.outcomes] == [
        str(tmp_path / f"in/{index:03}.txt") for index in range(20)
    ]
    assert contents(tmp_path) == {f"{index:03}.txt": text for index, text in enumerate(texts)}
    assert leftovers(tmp_path) == []


def test_a_broken_file_fails_alone(tmp_path: Path, options: works.Options) -> None:
    result = carry_out(tasks(tmp_path, ["a", "broken", "fault", "b"], options), ManyOptions(jobs=2))
    assert result.statuses == ["done", "failed", "failed", "done"]
    assert result.exit_code == 1
    assert result.outcomes[1].error == f"{tmp_path}/in/001.txt:1: broken; something else was expected"
    assert "ValueError: not foreseen (works.py:" in str(result.outcomes[2].error)
    assert "this is a fault of velmora, please report it with the file" in str(result.outcomes[2].error)
    assert list(contents(tmp_path)) == ["000.txt", "003.txt"]
    assert leftovers(tmp_path) == []


def test_a_worker_that_is_killed_in_the_middle_of_200_files(tmp_path: Path, options: works.Options) -> None:
    slow = works.Options(options.diary, pause_s=0.01)
    texts = [f"text {index}" for index in range(200)]
    killed: list[int] = []

    def kill() -> None:
        while len(killed) < 3:
            time.sleep(0.25)
            alive = [pid for pid in works.workers(slow) if pid not in killed and pid != os.getpid() and _runs(pid)]
            if alive:
                killed.append(alive[0])
                os.kill(alive[0], signal.SIGKILL)

    killer = threading.Thread(target=kill)
    killer.start()
    result = carry_out(tasks(tmp_path, texts, slow), ManyOptions(jobs=2))
    killer.join()
    assert len(killed) == 3
    assert result.statuses == ["done"] * 200
    assert contents(tmp_path) == {f"{index:03}.txt": text for index, text in enumerate(texts)}
    assert leftovers(tmp_path) == []
    tried = [works.attempts(slow, f"{index:03}.txt") for index in range(200)]
    assert sum(tried) <= 203, "only what a killed worker was at is done again"
    assert os.listdir(tmp_path / "out").count(".velmora-manifest.jsonl") == 1
    assert len((tmp_path / "out/.velmora-manifest.jsonl").read_text().splitlines()) == 200, "each was delivered once"


def _runs(pid: int) -> bool:
    return Path(f"/proc/{pid}").exists()


@pytest.mark.parametrize(
    ("target", "written"),
    [
        ("out/a[1].csv", "out/a[1].csv"),
        ("out/link.csv", "out/link.csv"),
        (f"out/{GROUP}/a.csv", "out/left/a.csv"),
        (f"out/{GROUP}/{SEGMENT}/a.csv", "out/left/1/a.csv"),
        (f"out/{SEGMENT}/a.csv", "out/a.csv"),
    ],
)
def test_what_a_dead_worker_left_is_found(tmp_path: Path, options: works.Options, target: str, written: str) -> None:
    (tmp_path / "in/real.csv").write_text("old")
    (tmp_path / "out/link.csv").symlink_to("../in/real.csv")
    (tmp_path / written).parent.mkdir(parents=True, exist_ok=True)
    mine, other = (output.stage(str(tmp_path / written), force=True, owner=owner) for owner in ("run-1", "run-2"))
    discard_left([Task("a.csv", str(tmp_path / target), works.copy, options)], "run-1")
    assert not Path(mine.path).parent.exists()
    assert Path(other.path).parent.exists()


def test_work_that_kills_its_worker_once_is_done_by_another(tmp_path: Path, options: works.Options) -> None:
    result = carry_out(tasks(tmp_path, ["a", "b", "c"], options, works.kill_once), ManyOptions(jobs=2))
    assert result.statuses == ["done"] * 3
    assert contents(tmp_path) == {"000.txt": "a", "001.txt": "b", "002.txt": "c"}
    assert leftovers(tmp_path) == []


def test_a_file_that_kills_its_worker_is_set_aside_after_three(tmp_path: Path, options: works.Options) -> None:
    result = carry_out(tasks(tmp_path, ["a", "killer", "b", "c"], options), ManyOptions(jobs=2))
    assert result.statuses == ["done", "set aside", "done", "done"]
    assert result.outcomes[1].error == (
        f"{tmp_path}/in/001.txt: set aside: 3 workers died of it, the last by SIGKILL; a file that fits into "
        "memory was expected; velmora info shows what it holds"
    )
    assert works.attempts(options, "001.txt") == 3
    assert list(contents(tmp_path)) == ["000.txt", "002.txt", "003.txt"]
    assert leftovers(tmp_path) == []


def test_resume_leaves_out_what_is_done(tmp_path: Path, options: works.Options) -> None:
    texts = ["a", "broken", "c"]
    first = tasks(tmp_path, texts, options)
    assert carry_out(first, ManyOptions(jobs=2)).statuses == ["done", "failed", "done"]
    (tmp_path / "in/001.txt").write_text("mended")
    again = carry_out(first, ManyOptions(jobs=2, resume=True))
    assert again.statuses == ["skipped", "done", "skipped"]
    assert again.outcomes[0].reports[0]["outputs"] == [str(tmp_path / "out/000.txt")]
    assert [works.attempts(options, f"{index:03}.txt") for index in range(3)] == [1, 2, 1]


def test_resume_does_again_what_has_changed(tmp_path: Path, options: works.Options) -> None:
    first = tasks(tmp_path, ["a", "b", "c", "d"], options)
    carry_out(first, ManyOptions(jobs=2))
    (tmp_path / "in/000.txt").write_text("changed")
    (tmp_path / "out/001.txt").unlink()
    (tmp_path / "out/002.txt").write_text("x")  # of the same size: its time tells
    forced = [Task(task.source, task.target, task.work, options, force=True) for task in first]
    assert carry_out(forced, ManyOptions(jobs=2, resume=True)).statuses == ["done", "done", "done", "skipped"]
    assert contents(tmp_path) == {"000.txt": "changed", "001.txt": "b", "002.txt": "c", "003.txt": "d"}
    other = [
        Task(task.source, task.target, task.work, works.Options(options.diary, 0.001), force=True) for task in first
    ]
    assert carry_out(other, ManyOptions(jobs=2, resume=True)).statuses == ["done"] * 4
    newer = [Task(task.source, task.target, task.work, options, force=True, version="0") for task in first]
    assert carry_out(newer, ManyOptions(jobs=2, resume=True)).statuses == ["failed"] * 4


def test_resume_knows_what_has_taken_the_place_of_an_output(tmp_path: Path, options: works.Options) -> None:
    first = tasks(tmp_path, ["a", "b"], options)
    other = [Task(task.source, task.target, task.work, works.Options(options.diary, 0.001)) for task in first]
    resumed = ManyOptions(jobs=2, resume=True)
    carry_out(first, resumed)
    assert carry_out(other[1:], resumed).statuses == ["done"]
    # As where times are coarse: the output of the last run is as old as that of the first.
    manifest = tmp_path / "out/.velmora-manifest.jsonl"
    time_ns = (tmp_path / "out/000.txt").stat().st_mtime_ns
    os.utime(tmp_path / "out/001.txt", ns=(time_ns, time_ns))
    lines = [json.loads(line) for line in manifest.read_text().splitlines()]
    for line in lines:
        line["outputs"][0]["time_ns"] = time_ns
    manifest.write_text("".join(json.dumps(line) + "\n" for line in lines))
    assert carry_out(first, resumed).statuses == ["skipped", "done"]
    assert carry_out(first, resumed).statuses == ["skipped", "skipped"]


def test_an_output_that_was_not_moved_to_its_place_is_made_again(tmp_path: Path, options: works.Options) -> None:
    first = tasks(tmp_path, ["a"], options)
    other = [Task(task.source, task.target, task.work, works.Options(options.diary, 0.001)) for task in first]
    resumed = ManyOptions(resume=True)
    assert carry_out(first, resumed).statuses == ["done"]
    shutil.copy2(tmp_path / "out/000.txt", tmp_path / "kept")
    carry_out(other, resumed)
    os.replace(tmp_path / "kept", tmp_path / "out/000.txt")
    assert carry_out(other, resumed).statuses == ["done"], "and what an earlier run has made may be replaced"


def test_resume_survives_a_line_that_was_cut(tmp_path: Path, options: works.Options) -> None:
    first = tasks(tmp_path, ["a", "b"], options)
    carry_out(first, ManyOptions(jobs=2))
    manifest = tmp_path / "out/.velmora-manifest.jsonl"
    manifest.write_text(manifest.read_text()[:-20])
    forced = [Task(task.source, task.target, task.work, options, force=True) for task in first]
    assert sorted(carry_out(forced, ManyOptions(jobs=2, resume=True)).statuses) == ["done", "skipped"]
    assert carry_out(forced, ManyOptions(jobs=2, resume=True)).statuses == ["skipped", "skipped"]


def test_a_record_that_cannot_be_written_stops_nothing(tmp_path: Path, options: works.Options) -> None:
    manifest = tmp_path / "out/.velmora-manifest.jsonl"
    done = tasks(tmp_path, ["a", "b", "c", "d"], options)

    def disturb(index: int, outcome: Outcome, status: str) -> None:
        if index == 0:
            manifest.unlink()
            manifest.mkdir()
        if index == 2:
            manifest.rmdir()

    result = carry_out(done, ManyOptions(jobs=1), disturb)
    assert result.statuses == ["done"] * 4
    assert list(contents(tmp_path)) == ["000.txt", "001.txt", "002.txt", "003.txt"]
    assert [outcome.warnings for outcome in result.outcomes] == [
        (),
        (
            f"{manifest}: Is a directory; a line for every file that is done was expected; --resume knows of those "
            "that have one",
        ),
        (),
        (),
    ]
    assert [entry["source"] for entry in map(json.loads, manifest.read_text().strip().splitlines())] == [done[3].source]


def test_an_output_in_the_way_is_found_before_any_work(tmp_path: Path, options: works.Options) -> None:
    first = tasks(tmp_path, ["a", "b"], options)
    (tmp_path / "out/001.txt").write_text("mine")
    with pytest.raises(UsageError, match=r"001\.txt: exists already"):
        carry_out(first, ManyOptions(jobs=2))
    assert works.attempts(options, "000.txt") == 0


def test_one_task_needs_no_process(tmp_path: Path, options: works.Options) -> None:
    result = carry_out(tasks(tmp_path, ["a"], options), ManyOptions())
    assert works.workers(options) == {os.getpid()}
    assert (result.exit_code, contents(tmp_path)) == (0, {"000.txt": "a"})


def test_a_worker_with_another_version_refuses(tmp_path: Path, options: works.Options) -> None:
    (task,) = tasks(tmp_path, ["a"], options)
    result: ManyResult = carry_out([Task(task.source, task.target, task.work, options, version="9.9.9")], ManyOptions())
    assert "is installed on the worker; 9.9.9 was expected" in str(result.outcomes[0].error)
