# SPDX-License-Identifier: Apache-2.0
"""Walks through the records of a ROS 1 bag, whole or broken, and gives out its messages block by block."""

from __future__ import annotations

import bz2
import struct
from collections.abc import Iterator

import numpy as np

from velmora.tools.formats import addresses
from velmora.tools.formats.bag_contents import Contents
from velmora.tools.formats.bag_decode import Block, Channel

MAGIC = b"#ROSBAG V2.0\n"
_MESSAGE, _HEADER, _CHUNK, _CHUNK_INFO, _CONNECTION = 2, 3, 5, 6, 7
_MOST_EXPANSION = 1000
_FREE_BYTES = 64 * 2**20


class _Cut(Exception):
    """A record that ends after the bytes do."""


def blocks(data: memoryview, contents: Contents) -> Iterator[Block]:
    """The messages of the topics that are wanted; what is wrong with the file is noted in `contents`."""
    if bytes(data[: len(MAGIC)]) != MAGIC:
        contents.problem("is no bag of ROS 1: it does not begin with the mark of version 2.0")
        return
    at = len(MAGIC)
    indexed = False
    try:
        while at < len(data):
            head, start, end = _record(data, at)
            opcode = head.get("op", b"\xff")[0]
            if opcode == _CHUNK and start == end and not indexed:
                end = len(data) + 1  # its writer died before it knew the length
            if end > len(data):
                contents.problem(f"is cut short within the record at byte {at:,}")
                if opcode != _CHUNK:
                    break
            if opcode == _HEADER:
                indexed = struct.unpack("<Q", head.get("index_pos", bytes(8)))[0] > 0
            elif opcode == _CHUNK:
                chunk = _expanded(data[start:end], head, contents, at, whole=end <= len(data))
                if chunk is not None:
                    yield from _messages(chunk, contents)
            elif opcode == _CONNECTION:
                _connection(head, data[start:end], contents)
            elif opcode == _CHUNK_INFO:
                for place in range(start, end - 7, 8):
                    connection, promised = struct.unpack_from("<II", data, place)
                    contents.promised[connection] = contents.promised.get(connection, 0) + promised
            at = end
    except (_Cut, struct.error):
        contents.problem(f"is cut short within the record at byte {at:,}")
    if not indexed:
        contents.problem("has no index: its writer died before it was closed")


def _record(data: memoryview, at: int) -> tuple[dict[str, bytes], int, int]:
    """The fields of a record's header, and begin and end of its content, which may lie after the last byte."""
    (length,) = struct.unpack_from("<I", data, at)
    head = bytes(data[at + 4 : at + 4 + length])
    if len(head) != length:
        raise _Cut
    (size,) = struct.unpack_from("<I", data, at + 4 + length)
    start = at + 8 + length
    return _fields(head), start, start + size


def _fields(head: bytes) -> dict[str, bytes]:
    fields = {}
    at = 0
    while at + 4 <= len(head):
        (length,) = struct.unpack_from("<I", head, at)
        name, _, value = head[at + 4 : at + 4 + length].partition(b"=")
        fields[name.decode("ascii", "replace")] = value
        at += 4 + length
    return fields


def _expanded(
    body: memoryview, head: dict[str, bytes], contents: Contents, at: int, *, whole: bool
) -> memoryview | None:
    """The records in a chunk; of one that is not whole, those that are there."""
    compression = head.get("compression", b"").decode("ascii", "replace")
    try:
        (size,) = struct.unpack("<I", head.get("size", b""))
        most = min(max(_FREE_BYTES, _MOST_EXPANSION * len(body)), addresses.most_bytes())
        if size > most:
            raise ValueError(f"{len(body):,} bytes would expand to {size:,}")
        if compression == "none":
            expanded = body
        elif compression == "bz2":
            expanded = memoryview(bz2.BZ2Decompressor().decompress(body, size if whole else most))
        elif compression == "lz4":
            import lz4.frame

            expanded = memoryview(lz4.frame.LZ4FrameDecompressor().decompress(body, size if whole else most))
        else:
            raise ValueError(f"its compression {compression[:20]!r} is unknown")
        if whole and len(expanded) != size:
            raise ValueError("it is shorter than it says")
        return expanded
    except (ValueError, OSError, EOFError, RuntimeError, struct.error) as error:
        contents.problem(f"the chunk at byte {at:,} is damaged: {error}")
        return None


def _messages(data: memoryview, contents: Contents) -> Iterator[Block]:
    found: dict[int, list[tuple[int, int, int]]] = {}
    at = 0
    try:
        while at < len(data):
            head, start, end = _record(data, at)
            opcode = head.get("op", b"\xff")[0]
            if end > len(data):
                raise _Cut
            if opcode == _CONNECTION:
                _connection(head, data[start:end], contents)
            elif opcode == _MESSAGE:
                seconds, nanoseconds = struct.unpack("<II", head["time"])
                (connection,) = struct.unpack("<I", head["conn"])
                found.setdefault(connection, []).append((start, end - start, seconds * 1_000_000_000 + nanoseconds))
            at = end
    except (_Cut, struct.error, KeyError):
        contents.problem("a chunk is damaged: a record in it has a wrong length")
    for connection, messages in found.items():
        if contents.counted(connection, len(messages)):
            starts, lengths, logs = np.array(messages, np.int64).T
            yield Block(connection, data, starts, lengths, logs)


def _connection(head: dict[str, bytes], body: memoryview, contents: Contents) -> None:
    said = _fields(bytes(body))
    kind = said.get("type", b"").decode("utf-8", "replace")
    package, _, name = kind.partition("/")
    (key,) = struct.unpack("<I", head.get("conn", b""))
    contents.add(
        Channel(
            key,
            head.get("topic", b"").decode("utf-8", "replace"),
            f"{package}/msg/{name}",
            said.get("message_definition", b"").decode("utf-8", "replace"),
            False,
            "ros1",
        )
    )
