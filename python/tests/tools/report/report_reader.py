# SPDX-License-Identifier: Apache-2.0
"""Reads the curves out of a report again, value by value: a plain reader to compare with."""

from __future__ import annotations

import base64
import json
import re
import struct
import zlib
from typing import Any

BLOCK = 512
MISSING = 65535


class Reader:
    def __init__(self, text: str) -> None:
        self.bytes = zlib.decompress(base64.b64decode(text))
        self.at = 0

    def take(self, count: int) -> bytes:
        part = self.bytes[self.at : self.at + count]
        assert len(part) == count
        self.at += count
        return part

    def planes(self, count: int, kind: str) -> list[Any]:
        width = struct.calcsize("<" + kind)
        part = self.take(count * width)
        return [struct.unpack("<" + kind, bytes(part[p * count + i] for p in range(width)))[0] for i in range(count)]

    def sums(self, count: int, kind: str, modulus: int) -> list[int]:
        total, found = 0, []
        for step in self.planes(count, kind):
            total = (total + step) % modulus
            found.append(total)
        return found

    def flags(self, count: int) -> list[bool]:
        part = self.take((count + 7) // 8)
        return [bool(part[i // 8] >> (i % 8) & 1) for i in range(count)]

    def curve(self, count: int, single: bool) -> tuple[list[float], list[float]]:
        blocks = (count + BLOCK - 1) // BLOCK
        header = struct.unpack(f"<{2 * blocks}d", self.take(16 * blocks))
        low = self.sums(count, "H", 1 << 16)
        high = low if single else [(a + b) % (1 << 16) for a, b in zip(low, self.planes(count, "H"), strict=True)]

        def value(i: int, code: int) -> float:
            return float("nan") if code == MISSING else header[i // BLOCK] + code * header[blocks + i // BLOCK]

        return [value(i, code) for i, code in enumerate(low)], [value(i, code) for i, code in enumerate(high)]


def element(page: bytes, identifier: str) -> str:
    found = re.search(rf'<script type="[a-z/]+" id="{identifier}">(.*?)</script>', page.decode(), re.DOTALL)
    assert found is not None
    return found.group(1)


def read(page: bytes) -> tuple[dict[str, Any], list[dict[str, Any]]]:
    """The description, and for each track its buckets: first, start, (quantity, joint) -> (low, high), flags."""
    meta = json.loads(element(page, "meta"))
    reader = Reader(element(page, "data"))
    tracks = []
    for track in meta["tracks"]:
        count = track["buckets"]
        found: dict[str, Any] = {"first": reader.sums(count, "I", 1 << 32), "start": reader.planes(count, "d")}
        for quantity in [*track["quantities"], "step"]:
            for joint in track["flagged"].get(quantity, []):
                found["outside", quantity, joint] = reader.flags(count)
            for joint in range(1 if quantity == "step" else len(meta["joints"])):
                found[quantity, joint] = reader.curve(count, track["single"])
        tracks.append(found)
    for plot in meta["plots"]:
        for curve in plot["curves"]:
            reader.planes(curve["points"], "d")
            reader.curve(curve["points"], True)
    assert reader.at == len(reader.bytes)
    return meta, tracks
