# SPDX-License-Identifier: Apache-2.0
"""Walks through the records of an MCAP file, whole or broken, and gives out its messages block by block."""

from __future__ import annotations

import struct
import zlib
from collections.abc import Iterator

import numpy as np
from numpy.typing import NDArray

from velmora.tools.formats import addresses
from velmora.tools.formats.bag_contents import Contents
from velmora.tools.formats.bag_decode import Block, Channel

MAGIC = b"\x89MCAP0\r\n"
_HEAD = struct.Struct("<BQ")
_MESSAGE = struct.Struct("<HIQQ")
_CHUNK = struct.Struct("<QQQI")
_SCHEMA, _CHANNEL, _MESSAGE_RECORD, _CHUNK_RECORD, _STATISTICS, _FOOTER = 3, 4, 5, 6, 11, 2
_MOST_EXPANSION = 1000
_FREE_BYTES = 64 * 2**20
_SINGLES = 8192  # messages outside of chunks that make a block


def blocks(data: memoryview, contents: Contents) -> Iterator[Block]:
    """The messages of the topics that are wanted; what is wrong with the file is noted in `contents`."""
    if bytes(data[:8]) != MAGIC:
        contents.problem("is no MCAP file: it does not begin with the mark of one")
        return
    schemas: dict[int, tuple[str, str, bytes]] = {}
    ended = False
    position = 8
    for opcode, start, stop, first in _records(data, 8, len(data), contents):
        if opcode == _CHUNK_RECORD:
            chunk = _expanded(data[start:stop], contents, first)
            if chunk is not None:
                yield from _messages(chunk, 0, len(chunk), schemas, contents)
        elif opcode == _MESSAGE_RECORD:
            yield from _messages(data, first, stop, schemas, contents)
        elif opcode == _STATISTICS:
            _statistics(data[start:stop], contents)
        elif opcode == _FOOTER:
            ended = bytes(data[stop : stop + 8]) == MAGIC
            break
        else:
            _described(opcode, data[start:stop], schemas, contents)
        position = stop
    if not ended:
        contents.problem(f"is cut short after {position:,} bytes, or its writer died: there is no footer")


def _records(data: memoryview, start: int, stop: int, contents: Contents) -> Iterator[tuple[int, int, int, int]]:
    """Opcode, begin and end of each record's content, and begin of the record; runs of messages come as one."""
    while start + 9 <= stop:
        opcode, size = _HEAD.unpack_from(data, start)
        end = start + 9 + size
        if end > stop:
            contents.problem(f"is cut short within the record at byte {start:,}")
            if opcode == _CHUNK_RECORD:
                yield opcode, start + 9, stop, start  # its first messages may be whole
            return
        if opcode == _MESSAGE_RECORD:
            last = end
            for _ in range(_SINGLES):
                if last + 9 > stop:
                    break
                following, size = _HEAD.unpack_from(data, last)
                if following != _MESSAGE_RECORD or last + 9 + size > stop:
                    break
                last += 9 + size
            end = last
        yield opcode, start + 9, end, start
        start = end


def _expanded(record: memoryview, contents: Contents, at: int) -> memoryview | None:
    """The records in a chunk."""
    import pyarrow as pa

    try:
        _, _, size, checksum = _CHUNK.unpack_from(record, 0)
        (length,) = struct.unpack_from("<I", record, 28)
        compression = bytes(record[32 : 32 + length]).decode("ascii", "replace")
        (packed,) = struct.unpack_from("<Q", record, 32 + length)
        body = record[40 + length : 40 + length + packed]
        if compression not in ("", "zstd", "lz4"):
            raise ValueError(f"its compression {compression[:20]!r} is unknown")
        if size > min(max(_FREE_BYTES, _MOST_EXPANSION * packed), addresses.most_bytes()):
            raise ValueError(f"{packed:,} bytes would expand to {size:,}")
        if len(body) != packed:
            return _first_part(body, compression, size)
        expanded = body if compression == "" else memoryview(pa.Codec(compression).decompress(pa.py_buffer(body), size))
        if len(expanded) != size:
            raise ValueError("it is shorter than it says")
        if checksum and zlib.crc32(expanded) != checksum:
            raise ValueError("its checksum is another")
        return expanded
    except (ValueError, OSError, struct.error, pa.ArrowException) as error:
        contents.problem(f"the chunk at byte {at:,} is damaged: {error}")
        return None


def _first_part(body: memoryview, compression: str, size: int) -> memoryview:
    """What can be expanded of a chunk whose end is missing."""
    import pyarrow as pa

    if compression == "":
        return body
    content = bytearray()
    try:
        with pa.CompressedInputStream(pa.BufferReader(pa.py_buffer(body)), compression) as stream:
            while len(content) < size and (piece := stream.read(1 << 16)):
                content += piece
    except (OSError, pa.ArrowException):
        pass  # where it is cut
    return memoryview(bytes(content[:size]))


def _messages(
    data: memoryview, start: int, stop: int, schemas: dict[int, tuple[str, str, bytes]], contents: Contents
) -> Iterator[Block]:
    """Blocks of the messages between two places, and the channels between them."""
    runs: list[NDArray[np.int64]] = []  # rows: channel, start, length, log time
    guess = 4
    while start + 9 <= stop:
        opcode, size = _HEAD.unpack_from(data, start)
        end = start + 9 + size
        if end > stop or (opcode == _MESSAGE_RECORD and size < _MESSAGE.size):
            contents.problem("a chunk is damaged: a record in it has a wrong length")
            break
        if opcode != _MESSAGE_RECORD:
            _described(opcode, data[start + 9 : end], schemas, contents)
            start = end
            continue
        # Messages of one size follow each other: so many are looked at together as did so before.
        many = min(guess, (stop - start) // (size + 9))
        heads = np.lib.stride_tricks.as_strided(
            np.frombuffer(data, np.uint8)[start:], (many, 31), (size + 9, 1), writeable=False
        )
        alike = (heads[:, :9] == heads[0, :9]).all(axis=1)
        run = many if alike.all() else int(np.argmin(alike))
        guess = min(guess * 4, 1 << 16) if run == many else 4
        fields = np.ascontiguousarray(heads[:run, 9:])
        rows = np.empty((4, run), np.int64)
        rows[0] = fields[:, :2].copy().view("<u2")[:, 0]
        rows[1] = start + 31 + np.arange(run) * (size + 9)
        rows[2] = size - _MESSAGE.size
        rows[3] = fields[:, 6:14].copy().view("<i8")[:, 0]
        runs.append(rows)
        start += run * (size + 9)
    if not runs:
        return
    found = np.concatenate(runs, axis=1)
    for channel in np.unique(found[0]):
        part = found[:, found[0] == channel]
        if contents.counted(int(channel), part.shape[1]):
            yield Block(int(channel), data, part[1], part[2], part[3])


def _described(opcode: int, record: memoryview, schemas: dict[int, tuple[str, str, bytes]], contents: Contents) -> None:
    """Take note of a type or of a topic."""
    try:
        if opcode == _SCHEMA:
            (key,) = struct.unpack_from("<H", record, 0)
            name, at = _string(record, 2)
            encoding, at = _string(record, at)
            text, _ = _string(record, at)
            schemas[key] = (name.decode("utf-8", "replace"), encoding.decode("utf-8", "replace"), text)
        elif opcode == _CHANNEL:
            key, schema = struct.unpack_from("<HH", record, 0)
            topic, at = _string(record, 4)
            encoding, _ = _string(record, at)
            kind, language, definition = schemas.get(schema, ("", "", b""))
            contents.add(
                Channel(
                    key,
                    topic.decode("utf-8", "replace"),
                    kind,
                    definition.decode("utf-8", "replace"),
                    language in ("ros2idl", "omgidl"),
                    encoding.decode("utf-8", "replace"),
                )
            )
    except struct.error:
        contents.problem("a record that describes a topic is cut short")


def _string(record: memoryview, at: int) -> tuple[bytes, int]:
    (length,) = struct.unpack_from("<I", record, at)
    if at + 4 + length > len(record):
        raise struct.error
    return bytes(record[at + 4 : at + 4 + length]), at + 4 + length


def _statistics(record: memoryview, contents: Contents) -> None:
    """How many messages of each topic the file promises."""
    try:
        (length,) = struct.unpack_from("<I", record, 42)
        for at in range(46, min(46 + length, len(record)) - 9, 10):
            channel, promised = struct.unpack_from("<HQ", record, at)
            contents.promised[channel] = promised
    except struct.error:
        contents.problem("its statistics are cut short")
