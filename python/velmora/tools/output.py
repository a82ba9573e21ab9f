# SPDX-License-Identifier: Apache-2.0
"""Outputs that appear whole or not at all: written beside the target, then renamed."""

from __future__ import annotations

import contextlib
import glob
import os
import shutil
import stat
import tempfile
from collections.abc import Iterator
from dataclasses import dataclass
from pathlib import Path
from typing import Any

from velmora.tools.errors import DataError, UsageError
from velmora.tools.interrupts import undisturbed

# Names in the folder of a bag, beside its metadata.
MCAP, SQLITE3 = (".mcap", ".mcap.zstd"), (".db3", ".db3.zstd")
BAG_FILES = MCAP + SQLITE3


@dataclass(frozen=True)
class Staged:
    """An output that is written, or about to be, in a private folder beside its target.

    Attributes
    ----------
    target
        Where the output belongs: a path, or an address such as ``s3://bucket/name``.
    path
        Where it is written for now; the file name is that of the target.
    force
        Whether an existing target is replaced.
    """

    target: str
    path: str
    force: bool

    def commit(self) -> None:
        """Move the output to its target, in one step, with the mode of the file that it replaces."""
        if self.path == self.target:
            return
        try:
            if is_remote(self.target):
                _upload(self.path, self.target)
            else:
                _refuse_folder(self.target, os.path.isdir(self.path))
                # A link stays a link: what it names is replaced.
                _rename(Path(self.path), Path(os.path.realpath(self.target)), self.force)
        except OSError as error:
            raise DataError(f"{self.target}: {error.strerror or error}") from error
        finally:
            self.discard()

    def discard(self) -> None:
        """Remove what was written and not moved."""
        if self.path != self.target:
            with undisturbed():
                shutil.rmtree(Path(self.path).parent, ignore_errors=True)


def is_remote(address: str) -> bool:
    """Whether an address names something that is not on a disk here."""
    return "://" in address and not address.startswith("file://")


def file_system(address: str) -> tuple[Any, str]:
    """The file system of an address, and the name in it.

    Raises
    ------
    DataError
        "ADDRESS: REASON; ..." where no package that is installed knows such addresses.
    """
    import fsspec

    try:
        filesystem, name = fsspec.core.url_to_fs(address)
    except (ImportError, ValueError, OSError) as error:
        raise DataError(
            f"{address}: {error}; an address that fsspec and the packages installed beside it know was expected"
        ) from error
    return filesystem, str(name)


def local(address: str) -> str:
    """The address with ``file://`` taken off."""
    if not address.startswith("file://"):
        return address
    from urllib.parse import unquote

    return unquote(address.removeprefix("file://"))


def whole(path: str) -> str:
    """A path that means the same in any folder; addresses and standard input or output as they are."""
    return path if is_remote(path) or path == "-" else os.path.abspath(local(path))


def refuse_existing(target: str, force: bool) -> None:
    """Raise a usage error where the target exists, unless somebody said that it may be replaced and it can be."""
    if target == "-":
        return
    target = local(target)
    if not is_remote(target):
        _refuse_folder(target, for_folder=True)
    if force:
        return
    if is_remote(target):
        filesystem, name = file_system(target)
        exists = filesystem.exists(name)
    else:
        exists = os.path.lexists(target) and not is_stream(target)
    if exists:
        raise UsageError(f"{target}: exists already; a name that is free was expected; --force replaces it")


def refuse_no_folder(target: str, made: str | None) -> None:
    """Raise a data error where the folder of a target is missing, and is none that is made: `made` or one above it."""
    if target == "-" or is_remote(target):
        return
    folder = os.path.dirname(os.path.abspath(local(target)))
    on_the_way = made is not None and os.path.commonpath([folder, os.path.abspath(local(made))]) == folder
    if not on_the_way and not os.path.isdir(folder):
        raise DataError(f"{target}: the folder does not exist; a place to write to was expected")


def _refuse_folder(target: str, for_folder: bool) -> None:
    """Raise a usage error where the target is a folder, unless it is a bag and another may take its place."""
    if os.path.isdir(target) and not (for_folder and _is_bag(target)):
        expected = "a file or a bag" if for_folder else "a file"
        raise UsageError(
            f"{target}: is a folder; the name of {expected} was expected; --output-dir names a folder for outputs"
        )


def _is_bag(folder: str) -> bool:
    """Whether a folder holds a bag and nothing else, of all of which another one takes the place.

    The working folder is none: whoever works in it would be nowhere.
    """
    try:
        with os.scandir(folder) as entries:
            files = {entry.name: entry.is_file(follow_symlinks=False) for entry in entries}
        return (
            files.pop("metadata.yaml", False)
            and all(is_file and name.endswith(BAG_FILES) for name, is_file in files.items())
            and not os.path.samefile(folder, os.curdir)
        )
    except OSError:
        return False


def stage(target: str, *, force: bool, owner: str = "") -> Staged:
    """Prepare a place to write to: a private folder beside the target.

    Parameters
    ----------
    target
        Where the output belongs. ``-`` (standard output), devices and pipes are written to directly.
    force
        Whether an existing target may be replaced.
    owner
        A word in the name of the folder, by which `discard_all` finds what a dead process left behind.

    Raises
    ------
    UsageError
        "TARGET: exists already; ..." without `force`; "TARGET: is a folder; ..." with or without, unless it is a bag.
    DataError
        "TARGET: REASON" where no folder can be made there.
    """
    refuse_existing(target, force)
    target = local(target)
    if target == "-" or is_stream(target):
        return Staged(target, target, force)
    if is_remote(target):
        folder, name = tempfile.gettempdir(), target.rstrip("/").rsplit("/", 1)[1]
    else:
        folder, name = os.path.split(os.path.realpath(target))
    try:
        place = tempfile.mkdtemp(prefix=_prefix(owner), dir=folder)
    except FileNotFoundError:
        raise DataError(
            f"{target}: the folder does not exist; a place to write to was expected; --output-dir makes folders"
        ) from None
    except OSError as error:
        raise DataError(f"{target}: {error.strerror}") from error
    return Staged(target, os.path.join(place, name), force)


@contextlib.contextmanager
def written(target: str, *, force: bool) -> Iterator[str]:
    """A path to write to; what was written there is moved to the target at the end, or removed after an error."""
    staged = stage(target, force=force)
    try:
        yield staged.path
        staged.commit()
    except OSError as error:
        raise DataError(f"{target}: {error.strerror or error}") from error
    finally:
        staged.discard()


def write_bytes(target: str, content: bytes, *, force: bool) -> None:
    """Write a whole file, or to standard output for ``-``."""
    if target == "-":
        import sys

        sys.stdout.buffer.write(content)
        sys.stdout.buffer.flush()
        return
    with written(target, force=force) as path, open(path, "wb") as file:
        file.write(content)


def discard_all(pattern: str, owner: str) -> None:
    """Remove what processes of that owner left in the folders of a pattern."""
    if is_remote(pattern):
        pattern = tempfile.gettempdir()
    for left in glob.glob(os.path.join(pattern, _prefix(owner) + "*")):
        shutil.rmtree(left, ignore_errors=True)


def _prefix(owner: str) -> str:
    return f".velmora-{owner}-"


def is_stream(path: str) -> bool:
    """Whether the path is a device or a pipe, which cannot be replaced."""
    try:
        mode = os.stat(path).st_mode
    except OSError:
        return False
    return not (stat.S_ISREG(mode) or stat.S_ISDIR(mode))


def _rename(path: Path, target: Path, force: bool) -> None:
    if not force:
        _rename_to_free_name(path, target)
        return
    if path.is_dir() and target.exists():
        # A folder cannot be renamed onto a file, or onto another that holds files: the old one moves aside first.
        aside = path.parent / "replaced"
        with undisturbed():
            target.rename(aside)
            try:
                path.rename(target)
            except OSError:
                aside.rename(target)
                raise
        return
    with contextlib.suppress(FileNotFoundError):
        path.chmod(stat.S_IMODE(target.stat().st_mode))
    os.replace(path, target)


def _rename_to_free_name(path: Path, target: Path) -> None:
    """Rename, unless somebody else has made the target in the meantime."""
    if path.is_dir():
        path.rename(target)  # fails where the target exists, unless it is an empty folder
        return
    try:
        os.link(path, target)
    except FileExistsError:
        raise UsageError(f"{target}: exists already; a name that is free was expected; --force replaces it") from None
    except OSError:
        os.replace(path, target)  # a file system without links


def _upload(path: str, address: str) -> None:
    filesystem, name = file_system(address)
    filesystem.put(path, name, recursive=os.path.isdir(path))
