# SPDX-License-Identifier: Apache-2.0
"""Reads the messages of a rosbag2 file in SQLite, whole or broken."""

from __future__ import annotations

import sqlite3
from collections.abc import Iterator
from urllib.parse import quote

import numpy as np

from velmora.tools.formats.bag_contents import Contents
from velmora.tools.formats.bag_decode import Block, Channel

_MESSAGES_PER_BLOCK = 8192
_MOST_MESSAGE = 1 << 24


def blocks(path: str, contents: Contents, compressed: bool) -> Iterator[Block]:
    """The messages of the topics that are wanted, by their log time.

    Parameters
    ----------
    compressed
        Whether every message is compressed by itself.
    """
    try:
        with sqlite3.connect(f"file:{quote(path)}?mode=ro", uri=True) as database:
            database.text_factory = lambda text: text.decode("utf-8", "replace")
            database.execute("PRAGMA trusted_schema=OFF")
            tables = {name for (name,) in database.execute("SELECT name FROM sqlite_master WHERE type='table'")}
            if not {"topics", "messages"} <= tables:
                contents.problem("is no bag: it has no tables of topics and messages")
                return
            texts = {}
            if "message_definitions" in tables:
                texts = {
                    name: (text, language)
                    for name, language, text in database.execute(
                        "SELECT topic_type, encoding, encoded_message_definition FROM message_definitions"
                    )
                }
            for key, topic, kind, encoding in database.execute(
                "SELECT id, name, type, serialization_format FROM topics"
            ):
                text, language = texts.get(kind, ("", ""))
                contents.add(Channel(key, str(topic), str(kind), str(text), language == "ros2idl", str(encoding)))
            for channel in list(contents.channels.values()):
                yield from _channel(database, channel, contents, compressed)
    except (sqlite3.Error, UnicodeDecodeError) as error:  # the message of an error may hold broken bytes
        contents.problem(f"is damaged: {error}")


def _channel(database: sqlite3.Connection, channel: Channel, contents: Contents, compressed: bool) -> Iterator[Block]:
    rows = database.execute(
        "SELECT timestamp, data FROM messages WHERE topic_id = ? ORDER BY timestamp, id", (channel.id,)
    )
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
                parts.append(_expanded(data) if compressed else data)
                if len(logs) == _MESSAGES_PER_BLOCK:
                    break
        except (sqlite3.Error, UnicodeDecodeError, OSError) as error:
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
