# SPDX-License-Identifier: Apache-2.0
"""Reads the messages of a rosbag2 file in SQLite, whole or broken."""

from __future__ import annotations

import os
import shutil
import sqlite3
import struct
import tempfile
from collections.abc import Iterator
from contextlib import closing, contextmanager
from urllib.parse import quote

import numpy as np

from velmora.tools.formats.bag_contents import Contents
from velmora.tools.formats.bag_decode import Block, Channel

_MESSAGES_PER_BLOCK = 8192
_MOST_MESSAGE = 1 << 24
_MAGIC = b"SQLite format 3\0"
_LARGEST_PAGE = 1 << 16  # which its two bytes in the header cannot hold: they say 1
# A message that is compressed by itself begins so, one that is not with two bytes of which the first is 0.
_ZSTD = b"\x28\xb5\x2f\xfd"
_ERRORS = (sqlite3.Error, UnicodeDecodeError)  # the message of an error may hold broken bytes


def blocks(path: str, contents: Contents) -> Iterator[Block]:
    """The messages of the topics that are wanted, in the order in which they were written."""
    fault = _fault(path)
    if not fault:
        yield from _blocks(path, contents)
        return
    size, page, whole = _sizes(path)
    contents.problem(f"is cut short: {size:,} of {whole:,} bytes are there" if size < whole else f"is damaged: {fault}")
    if size >= whole or size % page == 0:
        yield from _blocks(path, contents, salvage=True)
        return
    # SQLite fills the page that is cut with zeros, which would be read as values.
    with tempfile.NamedTemporaryFile(suffix=".db3") as pages:
        shutil.copyfile(path, pages.name)
        os.truncate(pages.name, size - size % page)
        yield from _blocks(pages.name, contents, salvage=True)


@contextmanager
def _opened(path: str, salvage: bool = False) -> Iterator[sqlite3.Connection]:
    with closing(sqlite3.connect(f"file:{quote(path)}?mode=ro", uri=True)) as database:
        database.text_factory = lambda text: text.decode("utf-8", "replace")
        database.execute("PRAGMA trusted_schema=OFF")
        if salvage:
            # What SQLite offers for reading a file whose end is missing.
            database.execute("PRAGMA writable_schema=ON")
        yield database


def _fault(path: str) -> str:
    """Why SQLite does not open a file; empty if it does."""
    try:
        with _opened(path) as database:
            database.execute("SELECT name FROM sqlite_master").fetchall()
    except _ERRORS as error:
        return str(error)
    return ""


def _sizes(path: str) -> tuple[int, int, int]:
    """The size of a file, of its pages, and of the whole file as its header says."""
    with open(path, "rb") as file:
        head = file.read(32)
    if len(head) < 32 or not head.startswith(_MAGIC):
        return os.path.getsize(path), 0, 0
    page, pages = struct.unpack(">16xH10xI", head)
    page = _LARGEST_PAGE if page == 1 else page
    return os.path.getsize(path), page, page * pages


def _blocks(path: str, contents: Contents, salvage: bool = False) -> Iterator[Block]:
    try:
        with _opened(path, salvage) as database:
            tables = {name for (name,) in database.execute("SELECT name FROM sqlite_master WHERE type='table'")}
            if not {"topics", "messages"} <= tables:
                contents.problem("is no bag: it has no tables of topics and messages")
                return
            _topics(database, contents, "message_definitions" in tables)
            for channel in list(contents.channels.values()):
                yield from _channel(database, channel, contents)
    except _ERRORS as error:
        contents.problem(f"is damaged: {error}")


def _topics(database: sqlite3.Connection, contents: Contents, defined: bool) -> None:
    texts = {}
    if defined:
        texts = {
            name: (text, language)
            for name, language, text in database.execute(
                "SELECT topic_type, encoding, encoded_message_definition FROM message_definitions"
            )
        }
    for key, topic, kind, encoding in database.execute("SELECT id, name, type, serialization_format FROM topics"):
        text, language = texts.get(kind, ("", ""))
        contents.add(Channel(key, str(topic), str(kind), str(text), language == "ros2idl", str(encoding)))


def _channel(database: sqlite3.Connection, channel: Channel, contents: Contents) -> Iterator[Block]:
    # Straight through the table: a broken file may lack the index, and sorting would wait for the last message.
    rows = database.execute("SELECT timestamp, data FROM messages NOT INDEXED WHERE topic_id = ?", (channel.id,))
    if not contents.wanted(channel):
        return
    while True:
        logs, parts = [], []
        fault = ""
        try:
            for log, data in rows:
                if not isinstance(log, int) or not isinstance(data, bytes) or len(data) > _MOST_MESSAGE:
                    raise sqlite3.DatabaseError("a message is no message")
                logs.append(log)
                parts.append(_expanded(data) if data.startswith(_ZSTD) else data)
                if len(logs) == _MESSAGES_PER_BLOCK:
                    break
        except (*_ERRORS, OSError) as error:
            fault = str(error)
        if logs:
            contents.counted(channel.id, len(logs))
            lengths = np.array([len(part) for part in parts], np.int64)
            yield Block(channel.id, b"".join(parts), np.cumsum(lengths) - lengths, lengths, np.array(logs, np.int64))
        if fault:
            contents.problem(f"is damaged: {fault}")
        if len(logs) < _MESSAGES_PER_BLOCK:
            return


def _expanded(data: bytes) -> bytes:
    import pyarrow as pa

    with pa.CompressedInputStream(pa.BufferReader(data), "zstd") as stream:
        content: bytes = stream.read(_MOST_MESSAGE)
    return content
