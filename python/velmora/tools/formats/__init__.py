# SPDX-License-Identifier: Apache-2.0
"""Readers and writers of recordings: which format a name means, and the way to its module."""

from __future__ import annotations

import importlib
import os
import sys
from contextlib import contextmanager
from typing import IO, TYPE_CHECKING, cast

from velmora.tools.errors import DataError, UsageError
from velmora.tools.output import BAG_FILES, MCAP, SQLITE3, is_stream, local
from velmora.tools.text import nearest, quoted

if TYPE_CHECKING:
    from collections.abc import Iterable, Iterator, Sequence

    from velmora.tools.formats.groups import Labels
    from velmora.tools.options import ReadOptions, WriteOptions
    from velmora.tools.recording import Recording

# Every format with the endings of its names.
FORMATS = {
    "csv": (".csv", ".txt", ".dat"),
    "tsv": (".tsv", ".tab"),
    "parquet": (".parquet", ".pq"),
    "feather": (".feather", ".arrow"),
    "npz": (".npz",),
    "mcap": MCAP,
    "sqlite3": SQLITE3,
    "bag": (".bag",),
    "rosbag2": (),
    "json": (".json",),
    "yaml": (".yaml", ".yml"),
}
_READ_ONLY = ("sqlite3", "bag")
_TEXT = ("csv", "tsv")
_TABLES = (*_TEXT, "parquet", "feather")
_READERS = {
    "csv": "csv_reader",
    "tsv": "csv_reader",
    "mcap": "bag",
    "sqlite3": "bag",
    "rosbag2": "bag",
    "json": "message",
    "yaml": "message",
}
_COMPRESSED = (".gz", ".zst")
_WITH_COMPRESSION = ("parquet", "feather", "mcap", "rosbag2")


def suffixes(formats: Iterable[str] = FORMATS) -> tuple[str, ...]:
    """All endings of names that mean a recording, or those of some formats, with CSV and TSV among them."""
    plain = [suffix for name in formats for suffix in FORMATS[name]]
    return (*plain, *(suffix + packed for name in _TEXT for suffix in FORMATS[name] for packed in _COMPRESSED))


def is_recording(path: str) -> bool:
    """Whether the name is that of a recording; a folder is one if it holds a bag."""
    return _format_by_name(path) is not None or _is_bag_folder(path)


def _is_bag_folder(path: str) -> bool:
    """Whether a folder is one bag: by its metadata or, if these are lost, by a lone file or a first one named after it.

    Any other folder may as well hold recordings that have nothing to do with each other.
    """
    if not os.path.isdir(path):
        return False
    held = {name for name in os.listdir(path) if name == "metadata.yaml" or _format_by_name(name) is not None}
    if "metadata.yaml" in held or len(held) == 1:
        return any(name.endswith(("metadata.yaml", *BAG_FILES)) for name in held)
    folder = os.path.basename(os.path.abspath(path))
    return any(f"{folder}_0{suffix}" in held for suffix in BAG_FILES)


def _format_by_name(path: str) -> str | None:
    name = path.lower()
    for packed in _COMPRESSED:
        if name.endswith(packed):
            name = name.removesuffix(packed)
            return next((format_ for format_ in _TEXT if name.endswith(FORMATS[format_])), None)
    return next((format_ for format_, known in FORMATS.items() if name.endswith(known)), None)


def _format(path: str, said: str | None, option: str) -> str:
    known = [name for name in FORMATS if option == "--input-format" or name not in _READ_ONLY]
    if said is not None:
        if said not in FORMATS:
            raise UsageError(
                f"{path}: no format is called {quoted(said)}{nearest(said, known)}; there are "
                f"{', '.join(known)}; {option}"
            )
        return said
    if path == "-":
        return "csv"
    found = "rosbag2" if _is_bag_folder(local(path)) else _format_by_name(path)
    if found is None:
        raise UsageError(
            f"{path}: the name does not end as that of a known format; {', '.join(suffixes(known))} were expected; "
            f"{option} names it"
        )
    return found


def read(path: str, options: ReadOptions) -> list[Recording]:
    """Read the recordings of a file: one, or several where it has groups or topics.

    Parameters
    ----------
    path
        A file, a folder (bags), an address that fsspec knows, or ``-`` for standard input (CSV unless --input-format).

    Raises
    ------
    UsageError
        For options that do not fit the file.
    DataError
        For files that cannot be read, "FILE:ROW: what is there; what was expected; which option helps".
    """
    format_ = _format(path, options.format, "--input-format")
    if options.group_by is not None and format_ not in _TABLES:
        raise UsageError(
            f"{path}: --group-by {options.group_by}: a table was expected; {format_} has no columns to group by"
        )
    reader = importlib.import_module(f"velmora.tools.formats.{_READERS.get(format_, format_)}")
    recordings: list[Recording] = reader.read(path, options)
    return recordings


def is_table(path: str, format_: str | None) -> bool:
    """Whether an output of that name, or of that format, is a table, which can hold the groups of another table."""
    return (format_ or ("csv" if path == "-" else _format_by_name(path))) in _TABLES


def write_groups(path: str, parts: Sequence[Recording], options: WriteOptions) -> list[str]:
    """Write the groups of a table into one table, with the column that tells them apart in front."""
    from velmora.tools.formats.groups import together

    whole, labels = together(parts)
    return write(path, whole, options, labels)


def write(path: str, recording: Recording, options: WriteOptions, labels: Labels | None = None) -> list[str]:
    """Write a recording straight to a path (``-``: standard output); tables take labels of their rows.

    Returns
    -------
    list of str
        What the format could not hold, behind the recording's name; empty where every bit can be read again.
    """
    return [f"{recording.source}: {lost}" for lost in _written(path, recording, options, labels)]


def _written(path: str, recording: Recording, options: WriteOptions, labels: Labels | None) -> list[str]:
    """Write a recording, and tell what its format could not hold."""
    if options.format is None and path != "-" and "." not in os.path.basename(path.rstrip("/")):
        # A folder, as ROS's tools name their bags; a device or a pipe is written to as standard output is.
        format_ = "csv" if is_stream(path) else "rosbag2"
    else:
        format_ = _format(path, options.format, "--format")
    if format_ in _READ_ONLY:
        raise UsageError(f"{path}: bags of this kind can only be read; .mcap or a name without an ending was expected")
    if options.compression is not None and format_ not in _WITH_COMPRESSION:
        advice = "; a name ending in .gz or .zst compresses it" if format_ in _TEXT else ""
        raise UsageError(f"{path}: --compression is for {', '.join(_WITH_COMPRESSION)}, not for {format_}{advice}")
    if format_ in ("mcap", "rosbag2"):
        from velmora.tools.formats import bag_writer

        if path == "-" or "://" in path or path.lower().endswith(".zstd"):
            raise UsageError(f"{path}: a bag cannot be written there; a file .mcap or a folder was expected")
        return bag_writer.write(path, recording, options, single=format_ == "mcap")
    with _created(path) as file:
        if format_ in _TEXT:
            from velmora.tools.formats import csv_writer

            return csv_writer.write(file, recording, options.columns, "\t" if format_ == "tsv" else ",", labels)
        if format_ == "npz":
            from velmora.tools.formats import npz

            return npz.write(file, recording, options.columns)
        if format_ in ("json", "yaml"):
            from velmora.tools.formats import message

            return message.write(file, recording, options.columns, format_)
        from velmora.tools.formats import feather, parquet

        if format_ == "parquet":
            return parquet.write(file, recording, options.columns, options.compression, labels)
        return feather.write(file, recording, options.columns, options.compression, labels)


@contextmanager
def _created(path: str) -> Iterator[IO[bytes]]:
    """A file to write to, compressed if its name says so."""
    if path == "-":
        yield sys.stdout.buffer
        sys.stdout.buffer.flush()
        return
    compression = {".gz": "gzip", ".zst": "zstd"}.get(os.path.splitext(path)[1].lower())
    try:
        if "://" in path:
            import fsspec

            with fsspec.open(path, "wb") as file:
                yield from _packed(cast("IO[bytes]", file), compression)
        else:
            with open(path, "wb") as file:
                yield from _packed(file, compression)
    except OSError as error:
        raise DataError(f"{path}: cannot be written: {error.strerror or error}") from error


def _packed(file: IO[bytes], compression: str | None) -> Iterator[IO[bytes]]:
    if compression is None:
        yield file
        return
    import pyarrow as pa

    with pa.CompressedOutputStream(file, compression) as stream:
        yield stream
