# SPDX-License-Identifier: Apache-2.0
"""Which files are meant, and what their outputs are called."""

from __future__ import annotations

import glob
import os
import re
from collections.abc import Sequence
from dataclasses import dataclass
from pathlib import Path

from velmora.tools import formats
from velmora.tools.errors import DataError, UsageError
from velmora.tools.output import file_system, is_remote, is_stream, local
from velmora.tools.text import nearest, printable

# Filled in when the input is known, and when it has been read.
OF_INPUT = ("stem", "name", "suffix", "parent")
OF_RECORDING = ("group", "segment")
_PLACEHOLDER = re.compile(r"\{([^{}]*)\}")
# In targets these are marked, since the name of an input may hold the same letters.
_MARK = "\x1f"
GROUP, SEGMENT = (f"{{{_MARK}{name}}}" for name in OF_RECORDING)


@dataclass(frozen=True)
class Input:
    """An input and its folder below the one that was given, which outputs get as well.

    Attributes
    ----------
    fault
        Why an argument stands for no recording, where it is one of many and fails alone.
    """

    path: str
    parent: str = ""
    fault: str = ""

    @property
    def name(self) -> str:
        """The file name."""
        return "stdin" if self.path == "-" else self.path.rstrip("/").rsplit("/", 1)[-1]

    @property
    def suffix(self) -> str:
        """The suffix by which the format is known, such as ``.csv.gz``; otherwise the last one."""
        if self.path == "-":
            return ".csv"  # what standard output gets, too
        found = [suffix for suffix in formats.suffixes() if self.name.lower().endswith(suffix)]
        return self.name[-len(max(found, key=len)) :] if found else os.path.splitext(self.name)[1]

    @property
    def stem(self) -> str:
        """The file name without its suffix."""
        return self.name.removesuffix(self.suffix)


def expand(arguments: Sequence[str], output_dir: str | None = None) -> list[Input]:
    """The inputs that files, folders and patterns name; each once, in order.

    A folder stands for all recordings in it and below, except a folder that is a recording (a bag). What lies in the
    folder of outputs below it is left out, so that results do not become inputs. A pattern (``*``, ``?``, ``[]``,
    ``**``) is expanded here too, for shells and programs that do not.

    Where a file does not exist, a pattern matches nothing, or a folder holds no recording, the input has that fault.
    """
    found: dict[str, Input] = {}
    for argument in arguments:
        try:
            entries = _expand_one(local(argument), output_dir)
        except DataError as error:
            entries = [Input(argument, fault=str(error))]
        for entry in entries:
            found.setdefault(entry.path, entry)
    return list(found.values())


def _expand_one(argument: str, output_dir: str | None) -> list[Input]:
    if argument == "-":
        return [Input("-")]
    if is_remote(argument):
        return _expand_remote(argument, output_dir)
    if os.path.isdir(argument) and not formats.is_recording(argument):
        left_out = None if output_dir is None else os.path.realpath(local(output_dir))
        inside = sorted(_recordings_below(Path(argument), left_out))
        if not inside:
            raise DataError(
                f"{argument}: the folder holds no recording; files such as {', '.join(formats.suffixes()[:4])} were "
                "expected"
            )
        return [Input(str(path), str(path.parent.relative_to(argument)).removeprefix(".")) for path in inside]
    if os.path.lexists(argument):
        return [Input(argument)]
    if glob.has_magic(argument):
        matches = sorted(glob.glob(argument, recursive=True))
        if not matches:
            raise DataError(f"{argument}: no file has such a name; at least one was expected")
        return expand(matches, output_dir)
    folder, name = os.path.split(argument)
    beside = os.listdir(folder or ".") if os.path.isdir(folder or ".") else []
    raise DataError(f"{argument}: there is no such file; a recording was expected{nearest(name, beside)}")


def _recordings_below(folder: Path, left_out: str | None) -> list[Path]:
    found = []
    for entry in folder.iterdir():
        if entry.name.startswith("."):
            continue
        if formats.is_recording(str(entry)):
            found.append(entry)
        elif entry.is_dir() and not entry.is_symlink() and os.path.realpath(entry) != left_out:
            found += _recordings_below(entry, left_out)
    return found


def _expand_remote(address: str, output_dir: str | None) -> list[Input]:
    filesystem, name = file_system(address)
    if not glob.has_magic(address):
        if formats.is_recording(address) or not filesystem.isdir(name):
            return [Input(address)]
        root = _whole_folder(address)
        left_out = _whole_folder(output_dir) if output_dir is not None and is_remote(output_dir) else root
        found = sorted(str(filesystem.unstrip_protocol(path)) for path in filesystem.find(name))
        if not root.startswith(left_out):
            found = [path for path in found if not path.startswith(left_out)]
        inside = [path for path in found if formats.is_recording(path)]
        if not inside:
            raise DataError(
                f"{address}: the folder holds no recording; files such as {', '.join(formats.suffixes()[:4])} were "
                "expected"
            )
        return [Input(path, path.removeprefix(root).rpartition("/")[0]) for path in inside]
    matches = sorted(str(filesystem.unstrip_protocol(match)) for match in filesystem.glob(name))
    if not matches:
        raise DataError(f"{address}: no file has such a name; at least one was expected")
    return [Input(match) for match in matches]


def _whole_folder(address: str) -> str:
    filesystem, name = file_system(address)
    return str(filesystem.unstrip_protocol(name)).rstrip("/") + "/"


def targets(inputs: Sequence[Input], pattern: str | None, folder: str | None, suffix: str | None) -> list[str]:
    """The outputs of the inputs.

    Parameters
    ----------
    inputs
        What `expand` found.
    pattern
        A name for one input, or with placeholders for many: ``{stem}``, ``{name}``, ``{suffix}``, ``{parent}`` of the
        input, and ``{group}``, ``{segment}``, which become `GROUP` and `SEGMENT`.
    folder
        Where outputs go; with the folders below a folder that was given.
    suffix
        Suffix of outputs without a pattern; that of the input by default.

    Raises
    ------
    UsageError
        Where a placeholder is not known, one name is given for several inputs, or two inputs have the same output.
    """
    if pattern is None and folder is None:
        raise UsageError("an output is needed; -o names it, --output-dir names a folder for outputs")
    if pattern is not None:
        for placeholder in _PLACEHOLDER.findall(pattern):
            if placeholder not in OF_INPUT + OF_RECORDING:
                raise UsageError(
                    f"{pattern}: '{{{placeholder}}}' is not known; {_braced()} were expected"
                    f"{nearest(placeholder, OF_INPUT + OF_RECORDING)}"
                )
        if folder is not None and (pattern == "-" or pattern.startswith("/") or is_remote(pattern)):
            name = "-o -" if pattern == "-" else pattern
            raise UsageError(f"{name}: --output-dir names a folder already; a name below it was expected")
        if pattern == "-" and len(inputs) > 1:
            raise UsageError(
                f"-o -: standard output holds one recording, there are {len(inputs)}; --output-dir takes many"
            )
    named = [_target(entry, pattern, folder, suffix) for entry in inputs]
    _refuse_same(inputs, named, pattern)
    return named


def _braced() -> str:
    return ", ".join(f"{{{name}}}" for name in OF_INPUT + OF_RECORDING)


def _target(entry: Input, pattern: str | None, folder: str | None, suffix: str | None) -> str:
    if pattern is None:
        name = entry.stem + (entry.suffix if suffix is None else suffix)
    else:
        values = {"stem": entry.stem, "name": entry.name, "suffix": entry.suffix, "parent": entry.parent or "."}
        values |= {"group": GROUP, "segment": SEGMENT}
        name = _PLACEHOLDER.sub(lambda match: values[match[1]], pattern)
    if folder is None:
        return name
    parent = entry.parent if pattern is None or "{parent}" not in pattern else ""
    return "/".join(part for part in (folder.rstrip("/") or "/", parent, name) if part)


def _refuse_same(inputs: Sequence[Input], named: Sequence[str], pattern: str | None) -> None:
    first: dict[str, str] = {}
    for entry, target in zip(inputs, named, strict=True):
        if target in first and pattern is not None and not _PLACEHOLDER.search(pattern):
            raise UsageError(
                f"{target}: one name for {len(inputs)} recordings; a pattern such as '{{stem}}_100hz.parquet' was "
                "expected; --output-dir names a folder"
            )
        if target in first:
            raise UsageError(
                f"{shown(target)}: would be the output of {first[target]} and of {entry.path}; different names were "
                "expected; {parent} in -o tells folders apart"
            )
        first[target] = entry.path


def known_part(target: str) -> str:
    """The target up to what is filled in when its input has been read; all of it where that is nothing."""
    return target.partition("{" + _MARK)[0]


def folder_patterns(target: str) -> set[str]:
    """Patterns of the folders that the outputs of a target can be in, whatever is filled in when its input was read."""
    pattern = glob.escape(os.path.dirname(target)).replace(GROUP, "*")
    return {pattern.replace(SEGMENT, number) for number in ("*", "")}


def shown(target: str) -> str:
    """The target as the user wrote it."""
    return target.replace(_MARK, "")


def of_recording(target: str, group: str, several_groups: bool, segment: int | None) -> str:
    """The output of one recording of a file, or of one of its pieces.

    Without `GROUP` and `SEGMENT` in the target they are put before the suffix where there are several.
    """
    group = _safe(group)
    number = "" if segment is None else str(segment + 1)
    missing = []
    if several_groups and GROUP not in target:
        missing.append(group)
    if segment is not None and SEGMENT not in target:
        missing.append(number)
    target = target.replace(GROUP, group).replace(SEGMENT, number)
    if not missing:
        return target
    if target == "-" or is_stream(target):
        shown = "standard output" if target == "-" else target
        raise UsageError(
            f"{shown}: holds one recording, there are several; one was expected; --output-dir takes many, --gaps "
            "bridge and --topic give one"
        )
    folder, _, name = target.rpartition("/")
    entry = Input(name)
    return (f"{folder}/" if folder else "") + entry.stem + "".join(f"_{text}" for text in missing) + entry.suffix


def _safe(text: str) -> str:
    """A name from a file as a part of a file name: no folders, no control characters."""
    return printable(text).strip("/. ").replace("/", "_") or "_"
