# SPDX-License-Identifier: Apache-2.0
"""Outputs appear whole or not at all."""

from __future__ import annotations

import os
import stat
from pathlib import Path

import pytest
from support import leftovers
from velmora.tools import output
from velmora.tools.errors import DataError, UsageError


def test_a_file_appears_whole_with_nothing_beside(tmp_path: Path) -> None:
    output.write_bytes(str(tmp_path / "a.csv"), b"text", force=False)
    assert (tmp_path / "a.csv").read_bytes() == b"text"
    assert os.listdir(tmp_path) == ["a.csv"]


def test_nothing_is_there_before_the_end_and_after_an_error(tmp_path: Path) -> None:
    target = tmp_path / "a.csv"
    with pytest.raises(KeyboardInterrupt), output.written(str(target), force=False) as path:
        Path(path).write_text("half")
        assert not target.exists()
        raise KeyboardInterrupt
    assert os.listdir(tmp_path) == []


def test_an_existing_file_needs_force_and_keeps_its_mode(tmp_path: Path) -> None:
    target = tmp_path / "a.csv"
    target.write_text("old")
    target.chmod(0o640)
    with pytest.raises(UsageError) as error:
        output.write_bytes(str(target), b"new", force=False)
    assert str(error.value) == f"{target}: exists already; a name that is free was expected; --force replaces it"
    assert target.read_text() == "old"
    output.write_bytes(str(target), b"new", force=True)
    assert target.read_text() == "new"
    assert stat.S_IMODE(target.stat().st_mode) == 0o640


def test_a_file_that_appears_meanwhile_is_not_replaced(tmp_path: Path) -> None:
    target = tmp_path / "a.csv"
    with pytest.raises(UsageError, match="exists already"), output.written(str(target), force=False) as path:
        Path(path).write_text("ours")
        target.write_text("theirs")
    assert target.read_text() == "theirs"
    assert leftovers(tmp_path) == []


def test_a_link_stays_a_link(tmp_path: Path) -> None:
    (tmp_path / "real.csv").write_text("old")
    (tmp_path / "link.csv").symlink_to("real.csv")
    output.write_bytes(str(tmp_path / "link.csv"), b"new", force=True)
    assert (tmp_path / "link.csv").is_symlink()
    assert (tmp_path / "real.csv").read_text() == "new"


def make_bag(folder: Path, *names: str) -> Path:
    folder.mkdir()
    for name in ("metadata.yaml", *names):
        (folder / name).write_text(name)
    return folder


def test_a_bag_is_replaced_whole(tmp_path: Path) -> None:
    target = tmp_path / "bag"
    for name in ("old.mcap", "new.mcap"):
        with output.written(str(target), force=name == "new.mcap") as path:
            make_bag(Path(path), name)
    assert sorted(os.listdir(target)) == ["metadata.yaml", "new.mcap"]
    assert os.listdir(tmp_path) == ["bag"]


def test_a_bag_replaces_a_file(tmp_path: Path) -> None:
    (tmp_path / "bag").write_text("old")
    with output.written(str(tmp_path / "bag"), force=True) as path:
        make_bag(Path(path), "new.mcap")
    assert sorted(os.listdir(tmp_path / "bag")) == ["metadata.yaml", "new.mcap"]
    assert os.listdir(tmp_path) == ["bag"]


@pytest.mark.parametrize("force", [False, True])
@pytest.mark.parametrize("inside", ["nothing", "recordings", "a bag and notes", "a bag and a folder", "this process"])
def test_a_folder_that_is_no_bag_is_never_replaced(
    tmp_path: Path, inside: str, force: bool, monkeypatch: pytest.MonkeyPatch
) -> None:
    target = make_bag(tmp_path / "folder", *(["notes.txt"] if inside == "a bag and notes" else ["a.mcap"]))
    if inside in ("nothing", "recordings"):
        (target / "metadata.yaml").unlink()
    if inside == "nothing":
        (target / "a.mcap").unlink()
    if inside == "a bag and a folder":
        (target / "more.mcap").mkdir()
    if inside == "this process":
        monkeypatch.chdir(target)
    before = sorted(os.listdir(target))
    with pytest.raises(UsageError) as error, output.written(str(target), force=force) as path:
        make_bag(Path(path), "new.mcap")
    assert str(error.value) == (
        f"{target}: is a folder; the name of a file or a bag was expected; --output-dir names a folder for outputs"
    )
    assert sorted(os.listdir(target)) == before
    assert leftovers(tmp_path) == []


def test_a_file_replaces_no_bag(tmp_path: Path) -> None:
    target = make_bag(tmp_path / "bag", "a.mcap")
    with pytest.raises(UsageError) as error:
        output.write_bytes(str(target), b"text", force=True)
    assert str(error.value) == (
        f"{target}: is a folder; the name of a file was expected; --output-dir names a folder for outputs"
    )
    assert sorted(os.listdir(target)) == ["a.mcap", "metadata.yaml"]
    assert leftovers(tmp_path) == []


def test_devices_are_written_to_and_stay(tmp_path: Path) -> None:
    output.write_bytes("/dev/null", b"text", force=False)
    with pytest.raises(DataError, match=r"^/dev/full: No space left on device$"):
        output.write_bytes("/dev/full", b"text", force=False)


def test_a_folder_that_is_missing(tmp_path: Path) -> None:
    target = tmp_path / "none" / "a.csv"
    with pytest.raises(DataError) as error:
        output.write_bytes(str(target), b"text", force=False)
    assert str(error.value) == (
        f"{target}: the folder does not exist; a place to write to was expected; --output-dir makes folders"
    )


def test_what_a_dead_owner_left_is_found(tmp_path: Path) -> None:
    mine = output.stage(str(tmp_path / "a.csv"), force=False, owner="run-1")
    other = output.stage(str(tmp_path / "a.csv"), force=False, owner="run-11")
    output.discard_all(str(tmp_path), "run-1")
    assert not Path(mine.path).parent.exists()
    assert Path(other.path).parent.exists()
    output.discard_all(str(tmp_path), "run")
    assert os.listdir(tmp_path) == []


def test_addresses(tmp_path: Path) -> None:
    import fsspec

    output.write_bytes(f"file://{tmp_path}/a%20b.csv", b"text", force=False)
    assert (tmp_path / "a b.csv").read_text() == "text"
    output.write_bytes("memory://outputs/a.csv", b"far", force=False)
    assert fsspec.filesystem("memory").cat("/outputs/a.csv") == b"far"
    with pytest.raises(UsageError, match="exists already"):
        output.write_bytes("memory://outputs/a.csv", b"again", force=False)
