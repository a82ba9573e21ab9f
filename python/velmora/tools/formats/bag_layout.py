# SPDX-License-Identifier: Apache-2.0
"""Finds where the fields of a serialised message stand, from the definition of its type (CDR of ROS 2, and ROS 1)."""

from __future__ import annotations

import struct
from dataclasses import dataclass, field
from typing import Any, NamedTuple

from velmora.tools.errors import DataError
from velmora.tools.formats.plan import MAX_COLUMNS
from velmora.tools.text import quoted

_SIZES = {
    "bool": 1,
    "byte": 1,
    "char": 1,
    "octet": 1,
    "int8": 1,
    "uint8": 1,
    "int16": 2,
    "uint16": 2,
    "int32": 4,
    "uint32": 4,
    "int64": 8,
    "uint64": 8,
    "float32": 4,
    "float64": 8,
}
_DEEPEST = 16
# Older recorders wrote no definitions: this type is then as it was when they were in use.
_CONTROLLER_STATE = """std_msgs/Header header
string[] joint_names
trajectory_msgs/JointTrajectoryPoint desired
trajectory_msgs/JointTrajectoryPoint actual
trajectory_msgs/JointTrajectoryPoint error
"""
Definitions = dict[str, Any]


class Span(NamedTuple):
    """A field that stands at one place: so many numbers from an offset on, or strings."""

    kind: str
    offset: int
    number: int
    strings: tuple[str, ...] = ()


@dataclass
class Layout:
    """Where the fields of one message stand, by their path such as "header.stamp.sec"."""

    size: int
    little: bool
    spans: dict[str, Span] = field(default_factory=dict)


class BadMessage(Exception):
    """A message that does not fit its type."""


def definitions(source: str, type_name: str, text: str, idl: bool, ros1: bool) -> Definitions:
    """The fields of a type and of all types in it; `text` is empty where the bag says nothing."""
    from rosbags.typesys import Stores, get_types_from_idl, get_types_from_msg, get_typestore
    from rosbags.typesys.store import Typestore

    store: Typestore = get_typestore(Stores.ROS1_NOETIC if ros1 else Stores.ROS2_HUMBLE)
    known: Definitions = dict(store.fielddefs)
    if not text and type_name not in known:
        text = _CONTROLLER_STATE
    if text:
        try:
            said = get_types_from_idl(text) if idl else get_types_from_msg(text, type_name)
        except Exception as error:  # the parser raises many kinds
            raise DataError(
                f"{source}: the definition of {quoted(type_name)} cannot be read; one in the language of ROS "
                "messages was expected"
            ) from error
        known.update(said)
    return known


class _Walk:
    """One pass over a message."""

    def __init__(self, data: bytes | memoryview, start: int, stop: int, known: Definitions, cdr: bool) -> None:
        self.data, self.stop, self.known, self.cdr = data, stop, known, cdr
        self.start = start
        little = True
        if cdr:
            if stop - start < 4 or data[start] != 0 or data[start + 1] not in (0, 1):
                raise BadMessage("its first bytes are not those of CDR")
            little = data[start + 1] == 1
        self.base = start + 4 if cdr else start
        self.at = self.base
        self.word = struct.Struct("<I" if little else ">I")
        self.layout = Layout(stop - start, little)

    def align(self, size: int) -> None:
        if self.cdr:
            self.at += -(self.at - self.base) % size

    def skip(self, size: int) -> int:
        at = self.at
        if size > self.stop - at:
            raise BadMessage("it ends within a field")
        self.at = at + size
        return at

    def number(self) -> int:
        self.align(4)
        value: int = self.word.unpack_from(self.data, self.skip(4))[0]
        return value

    def string(self) -> str:
        at = self.skip(length := self.number())
        return bytes(self.data[at : at + length]).rstrip(b"\0").decode("utf-8", "replace")

    def basic(self, path: str, kind: str, count: int) -> None:
        if kind in ("string", "wstring"):
            if count > (self.stop - self.at) // 4:
                raise BadMessage("it promises more strings than it has bytes")
            self.layout.spans[path] = Span(
                "string", self.at - self.start, count, tuple(self.string() for _ in range(count))
            )
            return
        if kind not in _SIZES:
            raise BadMessage(f"a field is of the unknown type {quoted(kind)}")
        if count > 0:
            self.align(_SIZES[kind])
        at = self.skip(_SIZES[kind] * count)
        self.layout.spans[path] = Span(kind, at - self.start, count)

    def struct(self, path: str, type_name: str, depth: int) -> None:
        if depth > _DEEPEST or type_name not in self.known:
            raise BadMessage(f"a field is of the unknown type {quoted(type_name)}")
        for name, descriptor in self.known[type_name][1]:
            self.member(f"{path}.{name}" if path else name, descriptor, depth)

    def member(self, path: str, descriptor: Any, depth: int) -> None:
        kind, inner = descriptor[0].name, descriptor[1]
        if kind == "BASE":
            self.basic(path, inner[0], 1)
        elif kind == "NAME":
            self.struct(path, inner, depth + 1)
        else:
            element, count = inner
            if kind == "SEQUENCE":
                count = self.number()
            if count > self.stop - self.at:
                raise BadMessage("it promises more elements than it has bytes")
            if element[0].name == "BASE":
                self.basic(path, element[1][0], count)
            else:
                self.layout.spans[f"{path}.length"] = Span("length", 0, count)
                for index in range(count):
                    before = self.at
                    self.struct(f"{path}.{index}", element[1], depth + 1)
                    if self.at == before:
                        raise BadMessage("its elements have no size")


def walk(data: bytes | memoryview, start: int, stop: int, type_name: str, known: Definitions, cdr: bool) -> Layout:
    """Where the fields of the message between two places stand.

    Raises
    ------
    BadMessage
        Where the bytes do not fit the type.
    """
    pass_ = _Walk(data, start, stop, known, cdr)
    pass_.struct("", type_name, 0)
    if stop - pass_.at > 3:  # some senders round the length up to four bytes
        raise BadMessage(f"{stop - pass_.at} bytes are left over")
    if any(span.number > MAX_COLUMNS for span in pass_.layout.spans.values() if span.kind != "length"):
        raise BadMessage(f"a list has more than {MAX_COLUMNS:,} elements")
    return pass_.layout
