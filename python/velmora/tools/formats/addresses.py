# SPDX-License-Identifier: Apache-2.0
"""Bytes of a file, wherever it is and however it is compressed, with a bound on what may come out of it."""

from __future__ import annotations

import errno
import hashlib
import os
import sys
from contextlib import contextmanager
from typing import IO, TYPE_CHECKING, cast

from velmora.tools.errors import DataError
from velmora.tools.output import is_remote, local

if TYPE_CHECKING:
    from collections.abc import Iterator

COMPRESSED = {".gz": "gzip", ".zst": "zstd"}
# A recording in text shrinks to a tenth or so. What expands a hundredfold beyond this size was made to fill memories.
_FREE_BYTES = 64 * 2**20
_MOST_EXPANSION = 100
_PIECE_BYTES = 2**20
# SHA-256 of what came from standard input, which cannot be read once more.
_standard_input: list[str] = []


def most_bytes() -> int:
    """The most that the tool holds of one file: half of the machine's memory."""
    return os.sysconf("SC_PAGE_SIZE") * os.sysconf("SC_PHYS_PAGES") // 2


@contextmanager
def opened(path: str) -> Iterator[IO[bytes]]:
    """Open a file, an address or standard input (``-``) for reading bytes.

    Raises
    ------
    DataError
        "PATH: REASON" where it cannot be opened.
    """
    try:
        if path == "-":
            yield sys.stdin.buffer
            return
        if is_remote(path):
            import fsspec

            with fsspec.open(path, "rb") as file:
                yield cast("IO[bytes]", file)
            return
        with open(local(path), "rb") as file:
            yield file
    except (OSError, ImportError, ValueError) as error:
        if isinstance(error, ValueError) and "://" not in path:
            raise
        reason = error.strerror if isinstance(error, OSError) and error.strerror else str(error)
        if isinstance(error, FileNotFoundError) and reason in path:  # a remote one says nothing but its name
            reason = os.strerror(errno.ENOENT)
        raise DataError(f"{path}: cannot be read: {reason}") from error


def standard_input_digest() -> str:
    """SHA-256 of what was read from standard input; nothing before that."""
    return _standard_input[-1] if _standard_input else ""


def content(path: str, compression: str | None = None) -> bytes:
    """All bytes of a file, expanded where a compression is given or in its name."""
    with opened(path) as file:
        data = _read(file, most_bytes() + 1)
    if len(data) > most_bytes():
        raise DataError(
            f"{path}: is larger than half of this machine's memory; at most {most_bytes():,} bytes were expected"
        )
    if path == "-":
        _standard_input[:] = [hashlib.sha256(data).hexdigest()]
    if compression is None:
        if data[:2] == b"\x1f\x8b":
            compression = "gzip"
        elif data[:4] == b"\x28\xb5\x2f\xfd":
            compression = "zstd"
    return data if compression is None else _expanded(path, data, compression)


def _read(file: IO[bytes], most: int) -> bytes:
    """What a file holds, at most so many bytes; no room is made for more than that."""
    try:
        size = max(os.fstat(file.fileno()).st_size + 1, _PIECE_BYTES)
    except (OSError, AttributeError):
        size = _PIECE_BYTES  # not of this machine
    pieces = []
    while piece := file.read(min(size, most)):
        pieces.append(piece)
        most -= len(piece)
        size = _PIECE_BYTES
    return b"".join(pieces)


def _expanded(path: str, data: bytes, compression: str) -> bytes:
    import pyarrow as pa

    most = min(max(_FREE_BYTES, _MOST_EXPANSION * len(data)), most_bytes())
    pieces: list[bytes] = []
    size = 0
    try:
        with pa.CompressedInputStream(pa.BufferReader(data), compression) as stream:
            while piece := stream.read(4 * 2**20):
                size += len(piece)
                if size > most:
                    raise DataError(
                        f"{path}: {len(data):,} bytes expand to more than {most:,}; a compressed recording "
                        f"was expected to grow at most {_MOST_EXPANSION} times; expand it by hand first"
                    )
                pieces.append(piece)
    except (OSError, pa.ArrowException) as error:
        raise DataError(
            f"{path}: is damaged or cut short after {size:,} expanded bytes; {compression} data were expected"
        ) from error
    return b"".join(pieces)
