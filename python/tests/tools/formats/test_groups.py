# SPDX-License-Identifier: Apache-2.0
"""The groups of a table: parted on the way in, one table with its column on the way out."""

from __future__ import annotations

from pathlib import Path

import numpy as np
import pyarrow as pa
import pyarrow.parquet as pq
import pytest
from support import velmora
from velmora.tools.errors import DataError
from velmora.tools.formats import is_table, read, write_groups
from velmora.tools.operations.checked import CheckOptions, checked
from velmora.tools.options import ReadOptions, WriteOptions
from velmora.tools.recording import Group

EPISODES = "time,run,a,b\n0.0,2,1.5,\n0.0,1,2,3\n0.1,2,2.5,4\n0.1,1,3,nan\n0.3,2,3.5,5\n"


def test_groups_know_their_key(tmp_path: Path) -> None:
    (tmp_path / "x.csv").write_text(EPISODES)
    parts = read(str(tmp_path / "x.csv"), ReadOptions(group_by="run"))
    assert [part.group for part in parts] == [Group("run", "2"), Group("run", "1")]
    table = pa.table({"t": [0.0, 0.0, 0.1], "a": [1.0, 2.0, 3.0], "run": [7, None, 7]})
    pq.write_table(table, tmp_path / "x.parquet")
    parts = read(str(tmp_path / "x.parquet"), ReadOptions(group_by="run"))
    assert [part.group for part in parts] == [Group("run", 7), Group("run", None)]


def test_text_has_the_column_in_front_and_one_group_after_the_other(tmp_path: Path) -> None:
    (tmp_path / "x.csv").write_text(EPISODES)
    parts = read(str(tmp_path / "x.csv"), ReadOptions(group_by="run"))
    assert write_groups(str(tmp_path / "y.csv"), parts, WriteOptions()) == []
    assert (tmp_path / "y.csv").read_text() == (
        "run,time,a,b\n2,0.0,1.5,\n2,0.1,2.5,4\n2,0.3,3.5,5\n1,0.0,2,3\n1,0.1,3,nan\n"
    )
    again = read(str(tmp_path / "y.csv"), ReadOptions(group_by="run"))
    for part, other in zip(parts, again, strict=True):
        assert part.positions.tobytes() == other.positions.tobytes()
        assert part.group == other.group


@pytest.mark.parametrize("suffix", [".parquet", ".feather"])
def test_keys_keep_their_type_in_tables(tmp_path: Path, suffix: str) -> None:
    keys = pa.array([3, 3, None, -1], pa.int64())
    table = pa.table(
        {"t": [0.0, 0.5, 0.0, 0.0], "action": [[1.0, 2.0], [3.0, 4.0], [5.0, 6.0], [7.0, 8.0]], "run": keys}
    )
    pq.write_table(table, tmp_path / "x.parquet")
    parts = read(str(tmp_path / "x.parquet"), ReadOptions(group_by="run"))
    path = str(tmp_path / f"y{suffix}")
    write_groups(path, parts[::2], WriteOptions())
    found = pq.read_table(path) if suffix == ".parquet" else pa.ipc.open_file(path).read_all()
    assert found.column_names == ["run", "t", "action"]
    assert found["run"].type == pa.int64()
    assert found["run"].to_pylist() == [3, 3, -1]
    assert found["action"].to_pylist() == [[1.0, 2.0], [3.0, 4.0], [7.0, 8.0]]
    write_groups(path, parts, WriteOptions())
    found = pq.read_table(path) if suffix == ".parquet" else pa.ipc.open_file(path).read_all()
    assert found["run"].to_pylist() == [3, 3, None, -1]


def test_keys_that_separate_other_cells_are_kept(tmp_path: Path) -> None:
    pq.write_table(pa.table({"t": [0.0], "a": [1.0], "task": ["push, pull"]}), tmp_path / "x.parquet")
    parts = read(str(tmp_path / "x.parquet"), ReadOptions(group_by="task"))
    write_groups(str(tmp_path / "y.tsv"), parts, WriteOptions())
    assert (tmp_path / "y.tsv").read_text() == "task\tt\ta\npush, pull\t0.0\t1\n"


@pytest.mark.parametrize(
    ("key", "reason"),
    [
        ("push, pull", "separates cells; keys without separators"),
        ("run #1", "begins a comment; keys without the marks of comments"),
        ("50%", "begins a comment; keys without the marks of comments"),
        ("a//b", "begins a comment; keys without the marks of comments"),
        ("NA", "stands for an empty cell; other keys"),
        ("", "stands for an empty cell; other keys"),
    ],
)
def test_keys_that_text_would_lose_are_refused_there(tmp_path: Path, key: str, reason: str) -> None:
    pq.write_table(pa.table({"task": [key], "t": [0.0], "a": [1.0]}), tmp_path / "x.parquet")
    parts = read(str(tmp_path / "x.parquet"), ReadOptions(group_by="task"))
    with pytest.raises(DataError) as error:
        write_groups(str(tmp_path / "y.csv"), parts, WriteOptions())
    assert str(error.value) == (
        f"{tmp_path}/x.parquet[task={key}]: column 'task' holds '{key}', which {reason} were expected in text; "
        "-o with .parquet holds any"
    )


def test_which_outputs_hold_groups() -> None:
    assert is_table("x.csv.gz", None) and is_table("-", None) and is_table("x", "parquet")
    assert not is_table("x.npz", None) and not is_table("bag", None) and not is_table("x.csv", "mcap")


def test_the_command_makes_one_table_or_a_file_of_each_group(tmp_path: Path) -> None:
    stamps = np.tile(np.arange(4) * 0.1, 2)
    table = pa.table({"episode_index": np.repeat([0, 1], 4), "timestamp": stamps, "a": stamps**2})
    pq.write_table(table, tmp_path / "d.parquet")
    run = velmora("resample", "d.parquet", "--group-by", "episode_index", "-r", 20, "-o", "o.parquet", cwd=tmp_path)
    assert run.code == 0, run.err
    found = pq.read_table(tmp_path / "o.parquet")
    assert found.column_names == ["episode_index", "timestamp", "a", "a_velocity", "a_acceleration"]
    assert found["episode_index"].to_pylist() == [0] * 7 + [1] * 7
    assert "d.parquet[episode_index=1] -> o.parquet\n" in run.err
    run = velmora("convert", "d.parquet", "--group-by", "episode_index", "-o", "{group}.csv", cwd=tmp_path)
    assert run.code == 0, run.err
    assert (tmp_path / "1.csv").read_text().startswith("timestamp,a\n0.0,0\n")
    run = velmora("convert", "d.parquet", "--group-by", "episode_index", "-o", "x.npz", cwd=tmp_path)
    assert {path.name for path in tmp_path.iterdir()} == {
        "d.parquet", "o.parquet", "0.csv", "1.csv", "x_0.npz", "x_1.npz"
    }  # fmt: skip


@pytest.mark.parametrize("name", ["episode_index", "Episode"])
def test_falling_times_of_episodes_point_to_their_column(tmp_path: Path, name: str) -> None:
    (tmp_path / "x.csv").write_text(f"time,frame_index,{name},a\n0.0,0,0,1\n0.1,1,0,2\n0.0,0,1,3\n0.1,1,1,4\n")
    (whole,) = read(str(tmp_path / "x.csv"), ReadOptions())
    with pytest.raises(DataError, match=rf"; --group-by {name} makes a recording of every episode$"):
        checked(whole, CheckOptions())
    for part in read(str(tmp_path / "x.csv"), ReadOptions(group_by=name)):
        assert checked(part, CheckOptions()).rows.tolist() == part.rows.tolist()
        assert part.layout.episodes == ""
