# SPDX-License-Identifier: Apache-2.0
"""Reads robot bags: rosbag2 (MCAP, SQLite; a folder or one file) and ROS 1; a recording for every topic with joints."""

from __future__ import annotations

import mmap
import os
from collections.abc import Iterator
from contextlib import contextmanager
from typing import Any

from velmora.tools import output
from velmora.tools.columns import clean
from velmora.tools.errors import DataError, UsageError
from velmora.tools.formats import addresses, bag_mcap, bag_ros1, bag_sqlite
from velmora.tools.formats.bag_contents import Contents
from velmora.tools.formats.bag_decode import TYPES, Block, Channel, Decoder
from velmora.tools.formats.bag_layout import definitions
from velmora.tools.formats.bag_recording import recordings
from velmora.tools.options import ReadOptions
from velmora.tools.recording import Note, Recording
from velmora.tools.text import count, listed, nearest, quoted

_MOST_METADATA = 4 * 2**20
SUFFIXES = (".mcap", ".db3", ".bag", ".mcap.zstd", ".db3.zstd")


def read(path: str, options: ReadOptions) -> list[Recording]:
    """Read the topics of a bag that hold joints.

    Raises
    ------
    UsageError
        "BAG: no topic is called 'NAME'; ..."
    DataError
        For bags that are cut short, damaged, without index or metadata, or whose index promises messages that are not
        there, unless --salvage; for messages that do not fit their type; where no topic holds joints.
    """
    problems: list[str] = []
    decoders: dict[str, Decoder] = {}
    seen: dict[str, str] = {}
    lost = 0
    metadata, files = _files(path, problems)
    for file in files:
        contents = Contents(lambda channel: _is_wanted(channel, options))
        of_channel: dict[int, Decoder] = {}
        for block in _blocks(file, _kind(file, options.format), contents):
            decoder = of_channel.get(block.channel)
            if decoder is None:
                decoder = of_channel[block.channel] = _decoder(
                    path, contents.channels[block.channel], decoders, options
                )
            decoder.add(block)
        problems += [text if len(files) == 1 else f"{os.path.basename(file)} {text}" for text in contents.problems]
        for channel in contents.channels.values():
            seen.setdefault(channel.topic, channel.type)
            missing = contents.promised.get(channel.id, 0) - contents.found.get(channel.id, 0)
            if missing > 0 and _is_wanted(channel, options):
                lost += missing
                problems.append(
                    f"the index promises {count(contents.promised[channel.id], 'message')} on "
                    f"{quoted(channel.topic)} and {contents.found.get(channel.id, 0):,} are there"
                )
    problems += _missing_by_metadata(metadata, decoders, options) if not lost else []
    problems += [decoder.problem for decoder in decoders.values() if decoder.lost]
    there = sum(decoder.messages - decoder.lost for decoder in decoders.values())
    if problems and not options.salvage:
        advice = f"; --salvage reads the {count(there, 'message')} that {'is' if there == 1 else 'are'} there"
        raise DataError(f"{path}: {problems[0]}; a whole bag was expected{advice if there else ''}")
    if there == 0:
        raise _nothing(path, seen, problems, options)
    notes = [Note("salvaged", "; ".join(problems))] if problems else []
    return [
        recording
        for decoder in decoders.values()
        if decoder.messages > decoder.lost
        for recording in recordings(decoder, options, notes)
    ]


def _is_wanted(channel: Channel, options: ReadOptions) -> bool:
    return channel.type in TYPES and channel.encoding in ("cdr", "ros1") and options.topic in (None, channel.topic)


def _decoder(path: str, channel: Channel, decoders: dict[str, Decoder], options: ReadOptions) -> Decoder:
    """The decoder of a topic, the same one over all files of a bag."""
    decoder = decoders.get(channel.topic)
    if decoder is None or decoder.channel.type != channel.type:
        source = f"{path}[{clean(channel.topic)}]"
        known = definitions(source, channel.type, channel.definition, channel.idl, channel.encoding == "ros1")
        decoder = decoders[channel.topic] = Decoder(source, channel, known, options.salvage)
    return decoder


def _nothing(path: str, seen: dict[str, str], problems: list[str], options: ReadOptions) -> DataError | UsageError:
    with_joints = [topic for topic, kind in seen.items() if kind in TYPES]
    if options.topic is not None and options.topic not in with_joints:
        if options.topic in seen:
            return UsageError(
                f"{path}: topic {quoted(options.topic)} holds {quoted(seen[options.topic])}; one of "
                f"{', '.join(TYPES)} was expected; --topic"
            )
        return UsageError(
            f"{path}: no topic is called {quoted(options.topic)}{nearest(options.topic, with_joints)}; those "
            f"with joints are {listed(with_joints) or 'none'}; --topic"
        )
    if with_joints:
        why = "; ".join(problems) or "the bag is empty"
        return DataError(f"{path}: there are no messages on {listed(with_joints)}: {why}; messages were expected")
    return DataError(
        f"{path}: no topic holds joints; one of {', '.join(TYPES)} was expected; there are "
        f"{listed([f'{topic} ({kind})' for topic, kind in seen.items()]) or 'no topics'}"
        + (f"; {problems[0]}" if problems else "")
    )


def _files(path: str, problems: list[str]) -> tuple[dict[str, Any], list[str]]:
    """What the metadata say, and the files with messages."""
    path = output.local(path)
    if not os.path.isdir(path):
        return {}, [path]
    here = sorted(name for name in os.listdir(path) if name.endswith(SUFFIXES))
    metadata = _metadata(path, problems)
    names = metadata.get("relative_file_paths")
    if isinstance(names, list) and names:
        for name in names:
            if not isinstance(name, str) or os.path.basename(name) != name or name in ("", ".", ".."):
                raise DataError(
                    f"{path}/metadata.yaml: the file {quoted(str(name))} is none of this folder; names without "
                    "a path were expected"
                )
        absent = [name for name in names if name not in here]
        if absent:
            problems.append(f"{listed(absent)} of metadata.yaml {'is' if len(absent) == 1 else 'are'} not there")
        here = [name for name in names if name in here]
    if not here:
        raise DataError(
            f"{path}: there are no files with messages; {', '.join(SUFFIXES[:3])} were expected in the folder"
        )
    return metadata, [os.path.join(path, name) for name in here]


def _metadata(folder: str, problems: list[str]) -> dict[str, Any]:
    import yaml

    try:
        with open(os.path.join(folder, "metadata.yaml"), "rb") as file:
            text = file.read(_MOST_METADATA)
        # The scanner without aliases is enough for what recorders write, and a bomb of them cannot expand.
        if any(isinstance(token, yaml.AliasToken) for token in yaml.scan(text, Loader=yaml.SafeLoader)):
            raise yaml.YAMLError("aliases")
        content = yaml.safe_load(text)
        bag = content["rosbag2_bagfile_information"]
        if not isinstance(bag, dict):
            raise TypeError
        return bag
    except FileNotFoundError:
        problems.append("there is no metadata.yaml")
    except (OSError, yaml.YAMLError, KeyError, TypeError, ValueError, RecursionError):
        problems.append("metadata.yaml cannot be read")
    return {}


def _missing_by_metadata(metadata: dict[str, Any], decoders: dict[str, Decoder], options: ReadOptions) -> list[str]:
    """Topics with fewer messages than metadata.yaml counts."""
    found = []
    topics = metadata.get("topics_with_message_count")
    for entry in topics if isinstance(topics, list) else []:
        try:
            topic, kind = entry["topic_metadata"]["name"], entry["topic_metadata"]["type"]
            promised = int(entry["message_count"])
        except (KeyError, TypeError, ValueError):
            continue
        there = decoders[topic].messages if topic in decoders else 0
        if kind in TYPES and options.topic in (None, topic) and there < promised:
            found.append(
                f"metadata.yaml promises {count(promised, 'message')} on {quoted(str(topic))} and {there:,} are there"
            )
    return found


def _kind(file: str, said: str | None) -> str:
    """Which kind of file it is: as --input-format says, otherwise by its name."""
    if said in ("mcap", "sqlite3", "bag"):
        return said
    name = file.lower().removesuffix(".zstd")
    return "sqlite3" if name.endswith(".db3") else "bag" if name.endswith(".bag") else "mcap"


def _blocks(file: str, kind: str, contents: Contents) -> Iterator[Block]:
    compressed = file.lower().endswith(".zstd")
    if kind != "sqlite3":
        with _bytes(file, compressed) as data:
            yield from (bag_ros1 if kind == "bag" else bag_mcap).blocks(data, contents)
    elif compressed or file == "-":
        import tempfile

        with tempfile.NamedTemporaryFile(suffix=".db3") as copy:
            copy.write(addresses.content(file, "zstd" if compressed else None))
            copy.flush()
            yield from bag_sqlite.blocks(copy.name, contents)
    else:
        yield from bag_sqlite.blocks(file, contents)


@contextmanager
def _bytes(file: str, compressed: bool) -> Iterator[memoryview]:
    """The bytes of a file, without reading them all at once where that is possible."""
    if compressed or output.is_remote(file) or file == "-":
        yield memoryview(addresses.content(file, "zstd" if compressed else None))
        return
    with addresses.opened(file) as opened:
        if os.fstat(opened.fileno()).st_size == 0:
            raise DataError(f"{file}: is empty; a bag was expected")
        mapped = mmap.mmap(opened.fileno(), 0, access=mmap.ACCESS_READ)
        # It is closed with its last view: arrays of a broken walk may still hold one.
        yield memoryview(mapped)
