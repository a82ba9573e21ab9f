# SPDX-License-Identifier: Apache-2.0
"""The same tasks on a Dask cluster, on the loopback interface."""

from __future__ import annotations

import gc
import os
import re
import signal
import sys
import threading
import time
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import dask
import pytest

sys.path.insert(0, str(Path(__file__).parent))

import works
from support import leftovers, velmora, write_log
from test_many import contents, options, tasks
from velmora.tools import resample_many
from velmora.tools.batch.many import ManyOptions, carry_out
from velmora.tools.errors import UsageError

__all__ = ["options"]


@pytest.fixture(scope="module")
def cluster() -> Iterator[Any]:
    import distributed

    paths = os.pathsep.join([*sys.path, str(Path(__file__).parent)])
    settings = {"distributed.scheduler.allowed-failures": 2, "distributed.worker.daemon": False}
    with dask.config.set(settings):
        before = os.environ.get("PYTHONPATH")
        os.environ["PYTHONPATH"] = paths
        try:
            with distributed.LocalCluster(
                n_workers=2, threads_per_worker=1, host="127.0.0.1", dashboard_address=None
            ) as local:
                yield local
        finally:
            if before is None:
                del os.environ["PYTHONPATH"]
            else:
                os.environ["PYTHONPATH"] = before


def test_outcomes_as_with_processes(tmp_path: Path, options: works.Options, cluster: Any) -> None:
    result = carry_out(tasks(tmp_path, ["a", "broken", "c"], options), ManyOptions(scheduler=cluster.scheduler_address))
    assert result.statuses == ["done", "failed", "done"]
    assert contents(tmp_path) == {"000.txt": "a", "002.txt": "c"}
    assert leftovers(tmp_path) == []
    assert os.getpid() not in works.workers(options)
    again = carry_out(
        tasks(tmp_path, ["a", "mended", "c"], options), ManyOptions(scheduler=cluster.scheduler_address, resume=True)
    )
    assert again.statuses == ["skipped", "done", "skipped"]


def test_a_worker_that_is_killed_in_the_middle(tmp_path: Path, options: works.Options, cluster: Any) -> None:
    slow = works.Options(options.diary, pause_s=0.02)
    texts = [f"text {index}" for index in range(100)]

    def kill() -> None:
        until = time.monotonic() + 30
        while len(list((tmp_path / "diary").iterdir())) < 10 and time.monotonic() < until:
            time.sleep(0.01)
        os.kill(min(works.workers(slow)), signal.SIGKILL)

    killer = threading.Thread(target=kill)
    killer.start()
    result = carry_out(tasks(tmp_path, texts, slow), ManyOptions(scheduler=cluster.scheduler_address))
    killer.join()
    assert result.statuses == ["done"] * 100
    assert contents(tmp_path) == {f"{index:03}.txt": text for index, text in enumerate(texts)}
    assert leftovers(tmp_path) == []


def test_a_file_that_kills_workers_is_set_aside(tmp_path: Path, options: works.Options, cluster: Any) -> None:
    result = carry_out(tasks(tmp_path, ["killer"], options), ManyOptions(scheduler=cluster.scheduler_address))
    assert result.statuses == ["set aside"]
    assert contents(tmp_path) == {}
    assert leftovers(tmp_path) == []
    assert works.attempts(options, "000.txt") == 3


def test_the_command_with_relative_names(tmp_path: Path, cluster: Any) -> None:
    for index in range(3):
        write_log(tmp_path / f"logs/{index}.csv", shift=index)
    run = velmora(
        "resample",
        "logs",
        "--rate",
        "50",
        "--output-dir",
        "out",
        "--scheduler",
        cluster.scheduler_address,
        cwd=tmp_path,
    )
    assert run.code == 0, run.err
    here = velmora("resample", "logs", "--rate", "50", "--output-dir", "here", "--jobs", "2", cwd=tmp_path)
    assert here.code == 0, here.err
    for index in range(3):
        assert (tmp_path / f"out/{index}.csv").read_bytes() == (tmp_path / f"here/{index}.csv").read_bytes()


def test_from_python(tmp_path: Path, cluster: Any) -> None:
    write_log(tmp_path / "logs/a.csv")
    write_log(tmp_path / "logs/b.csv")
    rows = resample_many(
        tmp_path / "logs", output_dir=tmp_path / "out", rate_hz=50, scheduler=cluster.scheduler_address
    )
    assert [row["status"] for row in rows] == ["done", "done"]


def test_what_is_in_the_way_of_a_name_that_is_known_after_reading(tmp_path: Path, cluster: Any) -> None:
    (tmp_path / "run.csv").write_text("time_s,a\n0.0,0\n0.1,1\n0.2,2\n5.0,0\n5.1,1\n5.2,3\n")
    write_log(tmp_path / "b.csv")
    (tmp_path / "out").mkdir()
    (tmp_path / "out/run_1.csv").write_text("precious")
    rows = resample_many(
        [tmp_path / "run.csv", tmp_path / "b.csv"],
        output_dir=tmp_path / "out",
        rate_hz=50,
        gaps="split",
        scheduler=cluster.scheduler_address,
    )
    assert [row["status"] for row in rows] == ["failed", "done"]
    assert "run_1.csv: exists already; " in rows[0]["message"]
    assert (tmp_path / "out/run_1.csv").read_text() == "precious"
    assert leftovers(tmp_path / "out") == []


def test_workers_upload_what_has_an_address(tmp_path: Path, cluster: Any) -> None:
    write_log(tmp_path / "a.csv")
    write_log(tmp_path / "b.csv")

    def upload(force: bool) -> list[dict[str, Any]]:
        return resample_many(
            [tmp_path / "a.csv", tmp_path / "b.csv"],
            f"local://{tmp_path}/{{stem}}_50hz.csv",
            rate_hz=50,
            scheduler=cluster.scheduler_address,
            force=force,
        )

    assert [row["status"] for row in upload(force=False)] == ["done", "done"]
    written = (tmp_path / "a_50hz.csv").read_bytes()
    assert written.startswith(b"time_s,")
    with pytest.raises(UsageError, match=r"a_50hz\.csv: exists already; "):
        upload(force=False)
    (tmp_path / "a_50hz.csv").write_text("old")
    assert [row["status"] for row in upload(force=True)] == ["done", "done"]
    assert (tmp_path / "a_50hz.csv").read_bytes() == written


def test_standard_output_is_that_of_the_command(tmp_path: Path, cluster: Any) -> None:
    write_log(tmp_path / "a.csv")
    run = velmora(
        "resample", "a.csv", "--rate", "50", "-o", "-", "--scheduler", cluster.scheduler_address, cwd=tmp_path
    )
    assert run.code == 0, run.err
    assert run.out.startswith("time_s,")


@pytest.mark.parametrize("address", ["tcp://127.0.0.1:1", "localhost", "tcp://127.0.0.1", "htp://127.0.0.1:1"])
def test_no_scheduler(
    address: str,
    tmp_path: Path,
    options: works.Options,
    monkeypatch: pytest.MonkeyPatch,
    capfd: pytest.CaptureFixture[str],
) -> None:
    monkeypatch.setattr("velmora.tools.batch.cluster.CONNECT_WITHIN_S", 1)
    expected = f"^{re.escape(address)}: no scheduler answers; the address of a Dask scheduler was"
    with pytest.raises(UsageError, match=expected):
        carry_out(tasks(tmp_path, ["a"], options), ManyOptions(scheduler=address))
    gc.collect()
    assert capfd.readouterr().err == ""
