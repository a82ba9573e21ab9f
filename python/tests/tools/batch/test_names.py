# SPDX-License-Identifier: Apache-2.0
"""Which files are meant, and what their outputs are called."""

from __future__ import annotations

import os
from pathlib import Path

import fsspec
import pytest
from velmora.tools.batch.names import GROUP, SEGMENT, Input, expand, known_part, of_recording, targets
from velmora.tools.errors import UsageError


@pytest.fixture
def folder(tmp_path: Path, monkeypatch: pytest.MonkeyPatch) -> Path:
    monkeypatch.chdir(tmp_path)
    for name in ("logs/b.csv", "logs/a.csv.gz", "logs/deep/a.csv", "logs/.hidden.csv", "logs/notes.md", "other.csv"):
        Path(name).parent.mkdir(parents=True, exist_ok=True)
        Path(name).write_text("time_s,a\n0,1\n")
    return tmp_path


def test_files_folders_and_patterns(folder: Path) -> None:
    assert [entry.path for entry in expand(["logs"])] == ["logs/a.csv.gz", "logs/b.csv", "logs/deep/a.csv"]
    assert [entry.parent for entry in expand(["logs"])] == ["", "", "deep"]
    assert [entry.path for entry in expand(["logs/*.csv"])] == ["logs/b.csv"]
    assert [entry.path for entry in expand(["**/a.csv*"])] == ["logs/a.csv.gz", "logs/deep/a.csv"]
    assert [entry.path for entry in expand([f"file://{folder}/other.csv"])] == [f"{folder}/other.csv"]
    assert [entry.path for entry in expand(["-"])] == ["-"]


def test_a_file_that_is_named_twice_is_done_once(folder: Path) -> None:
    assert [entry.path for entry in expand(["logs/b.csv", "logs", "logs/b.csv"])] == [
        "logs/b.csv",
        "logs/a.csv.gz",
        "logs/deep/a.csv",
    ]


def test_a_name_with_brackets_that_exists_is_no_pattern(folder: Path) -> None:
    Path("a[1].csv").write_text("x")
    assert [entry.path for entry in expand(["a[1].csv"])] == ["a[1].csv"]


@pytest.mark.parametrize(
    ("argument", "expected"),
    [
        ("othr.csv", "othr.csv: there is no such file; a recording was expected; did you mean 'other.csv'?"),
        ("no/where.csv", "no/where.csv: there is no such file; a recording was expected"),
        ("*.parquet", "*.parquet: no file has such a name; at least one was expected"),
    ],
)
def test_nothing_is_meant(folder: Path, argument: str, expected: str) -> None:
    assert expand([argument]) == [Input(argument, fault=expected)]


def test_an_empty_folder(folder: Path) -> None:
    os.mkdir("empty")
    (nothing,) = expand(["empty"])
    assert nothing.fault.startswith("empty: the folder holds no recording; files such as ")


def test_results_do_not_become_inputs(folder: Path) -> None:
    os.symlink("logs", "link")
    for given, output_dir in (
        ("logs", "logs/deep"),
        ("logs", f"file://{folder}/logs/deep/"),
        ("link", "logs/deep"),
        ("log*", "logs/deep"),
    ):
        assert [Path(entry.path).name for entry in expand([given], output_dir)] == ["a.csv.gz", "b.csv"]
    for output_dir in ("logs", ".", "logs/new", "de", "memory://logs"):
        assert len(expand(["logs"], output_dir)) == 3
    assert [entry.path for entry in expand(["logs/deep"], "logs/deep")] == ["logs/deep/a.csv"]


def test_a_folder_of_bags_and_a_folder_that_is_one(folder: Path) -> None:
    for name in ("run/a_0.mcap", "run/a_1.mcap", "bag/bag_0.db3", "bag/bag_1.db3", "one/one.mcap.zstd", "two/only.db3"):
        Path(name).parent.mkdir(exist_ok=True)
        Path(name).touch()
    assert [entry.path for entry in expand(["run"])] == ["run/a_0.mcap", "run/a_1.mcap"]
    assert [entry.path for entry in expand(["bag/", "one", "two"])] == ["bag/", "one", "two"]
    Path("two/other.csv").touch()
    assert [entry.path for entry in expand(["two"])] == ["two/only.db3", "two/other.csv"]
    Path("run/metadata.yaml").touch()
    assert [entry.path for entry in expand(["run"])] == ["run"]
    os.chdir("bag")
    assert [entry.path for entry in expand(["."])] == ["."]


def test_addresses_are_expanded_by_their_file_system() -> None:
    memory = fsspec.filesystem("memory")
    memory.pipe("/names/a.csv", b"x")
    memory.pipe("/names/b.csv", b"x")
    assert [entry.path for entry in expand(["memory://names/*.csv"])] == [
        "memory:///names/a.csv",
        "memory:///names/b.csv",
    ]
    assert targets([Input("memory://names/a.csv")], "memory://out/{stem}_2.parquet", None, None) == [
        "memory://out/a_2.parquet"
    ]


def test_targets() -> None:
    inputs = [Input("logs/a.csv.gz"), Input("logs/deep/b.csv", "deep")]
    assert targets(inputs, None, "out", None) == ["out/a.csv.gz", "out/deep/b.csv"]
    assert targets(inputs, None, "out/", ".parquet") == ["out/a.parquet", "out/deep/b.parquet"]
    assert targets(inputs, "{stem}_100hz{suffix}", None, None) == ["a_100hz.csv.gz", "b_100hz.csv"]
    assert targets(inputs, "{parent}/{name}.html", "out", None) == ["out/./a.csv.gz.html", "out/deep/b.csv.html"]
    assert targets(inputs, "{stem}_{group}.csv", "out", None) == [f"out/a_{GROUP}.csv", f"out/deep/b_{GROUP}.csv"]
    assert targets(inputs[:1], "x.csv", None, None) == ["x.csv"]


def test_two_outputs_of_one_name_are_refused() -> None:
    inputs = [Input("x/a.csv"), Input("y/a.csv")]
    with pytest.raises(UsageError) as error:
        targets(inputs, "{stem}.npz", None, None)
    assert str(error.value) == (
        "a.npz: would be the output of x/a.csv and of y/a.csv; different names were expected; {parent} in -o "
        "tells folders apart"
    )
    with pytest.raises(
        UsageError, match=r"^o\.npz: one name for 2 recordings; a pattern such as '\{stem\}_100hz\.parquet' was"
    ):
        targets(inputs, "o.npz", None, None)
    with pytest.raises(UsageError, match=r"^-o -: standard output holds one recording, there are 2"):
        targets(inputs, "-", None, None)


def test_recordings_and_pieces_of_one_file() -> None:
    assert of_recording("out/a.csv.gz", "", False, None) == "out/a.csv.gz"
    assert of_recording("out/a.csv.gz", "3", True, None) == "out/a_3.csv.gz"
    assert of_recording("out/a.csv", "3", True, 0) == "out/a_3_1.csv"
    assert of_recording("a.csv", "3", False, 1) == "a_2.csv"
    assert of_recording(f"a/{GROUP}/{SEGMENT}.csv", "3", True, 1) == "a/3/2.csv"


def test_braces_in_the_name_of_an_input_are_no_placeholders() -> None:
    inputs = [Input("{group}.csv", "{segment}"), Input("{stem}.csv")]
    assert targets(inputs, None, "{group}", None) == ["{group}/{segment}/{group}.csv", "{group}/{stem}.csv"]
    assert of_recording("{group}.csv", "left", True, 0) == "{group}_left_1.csv"
    (target,) = targets(inputs[:1], "{group}/{stem}.csv", None, None)
    assert of_recording(target, "left", True, None) == "left/{group}.csv"
    assert known_part(target) == ""


def test_messages_show_placeholders_as_they_were_given() -> None:
    with pytest.raises(UsageError, match=r"^\{group\}\.csv: would be the output of x/a\.csv and of y/a\.csv; "):
        targets([Input("x/a.csv"), Input("y/a.csv")], "{group}.csv", None, None)


def test_names_from_files_make_no_folders() -> None:
    assert of_recording(f"out/{GROUP}.csv", "../../etc/passwd", True, None) == "out/etc_passwd.csv"
    assert of_recording(f"out/{GROUP}.csv", "/joint_states", True, None) == "out/joint_states.csv"
    assert of_recording(f"out/{GROUP}.csv", "..", True, None) == "out/_.csv"
    assert of_recording(f"out/{GROUP}.csv", "a\x1b\n", True, None) == "out/a??.csv"


def test_folders_far_away() -> None:
    far = fsspec.filesystem("memory")
    for name in ("a.csv", "deep/b.parquet", "deep/notes.md"):
        far.pipe(f"/tree/{name}", b"")
    assert [(entry.path, entry.parent) for entry in expand(["memory://tree"])] == [
        ("memory:///tree/a.csv", ""),
        ("memory:///tree/deep/b.parquet", "deep"),
    ]
    for output_dir, found in (("tree/deep", 1), ("tree/de", 2), ("tree", 2), ("", 2)):
        assert len(expand(["memory://tree"], f"memory://{output_dir}")) == found
    assert [entry.path for entry in expand(["memory://tree/gone.csv"])] == ["memory://tree/gone.csv"]
    far.pipe("/empty/notes.md", b"")
    (nothing,) = expand(["memory://empty"])
    assert nothing.fault.startswith("memory://empty: the folder holds no recording; files such as ")


def test_addresses_that_no_package_knows(folder: Path) -> None:
    (unknown, known) = expand(["foo://b/log.csv", "other.csv"])
    assert (unknown.path, known) == ("foo://b/log.csv", Input("other.csv"))
    assert unknown.fault == (
        "foo://b/log.csv: Protocol not known: foo; an address that fsspec and the packages installed beside it know "
        "was expected"
    )


def test_a_name_below_the_folder() -> None:
    for pattern, name in (
        ("/abs/{stem}.csv", "/abs/{stem}.csv"),
        ("memory://out/{stem}.csv", "memory://out/{stem}.csv"),
        ("-", "-o -"),
    ):
        with pytest.raises(UsageError) as error:
            targets([Input("a.csv")], pattern, "out", None)
        assert str(error.value) == f"{name}: --output-dir names a folder already; a name below it was expected"


def test_a_stream_holds_one_recording() -> None:
    assert of_recording("-", "", False, None) == "-"
    with pytest.raises(UsageError, match=r"^standard output: holds one recording, there are several; one was "):
        of_recording("-", "left", True, None)
    with pytest.raises(UsageError, match=r"^/dev/null: holds one recording, there are several; "):
        of_recording("/dev/null", "", False, 1)
