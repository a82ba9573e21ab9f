#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Damages files of every format that velmora writes, and reads them: a recording or a plain error, never anything else.

    PYTHONPATH=build/release/python build/venv/bin/python fuzz/recordings.py SECONDS [SEED]

A file that makes the readers raise anything else is kept. `python/tests/tools/formats` holds a short run of the same
idea, with hypothesis.
"""

import random
import sys
import tempfile
import time
from pathlib import Path

import numpy as np
from velmora.tools.errors import ToolError
from velmora.tools.formats import read, write
from velmora.tools.options import ReadOptions, WriteOptions
from velmora.tools.recording import Layout, Recording, Stamps

SUFFIXES = (".csv", ".csv.gz", ".csv.zst", ".parquet", ".feather", ".npz", ".mcap", ".json", ".yaml")


def damaged(content: bytes, chance: random.Random) -> bytes:
    """Some bytes changed, removed or repeated."""
    data = bytearray(content)
    for _ in range(chance.choice((1, 1, 2, 4, 8, 32))):
        place, kind = chance.randrange(len(data)), chance.random()
        if kind < 0.6:
            data[place] = chance.randrange(256)
        elif kind < 0.8:
            data[place : place + chance.randint(1, 20)] = b""
        else:
            data[place:place] = data[chance.randrange(len(data)) :][: chance.randint(1, 40)]
        data = data or bytearray(b"x")
    return bytes(data)


def main(seconds: float, seed: int) -> int:
    """Damage and read for so long; the exit code."""
    chance = random.Random(seed)
    values = np.random.default_rng(seed).normal(size=(200, 3))
    made = Recording("made", ("a", "b", "c"), Stamps(np.arange(200) * 1_000_000), values, None, None, None, None,
                     np.arange(1, 201), None, (), Layout(""))  # fmt: skip
    folder = Path(tempfile.mkdtemp(prefix="velmora-fuzz-"))
    originals = {}
    for suffix in SUFFIXES:
        write(str(folder / f"original{suffix}"), made, WriteOptions())
        originals[suffix] = (folder / f"original{suffix}").read_bytes()
    tried = recordings = faults = 0
    stop = time.monotonic() + seconds
    while time.monotonic() < stop:
        suffix = chance.choice(SUFFIXES)
        path = folder / f"damaged{suffix}"
        path.write_bytes(damaged(originals[suffix], chance))
        tried += 1
        try:
            read(str(path), ReadOptions(salvage=chance.random() < 0.5, time_unit=chance.choice(("auto", "s"))))
            recordings += 1
        except ToolError as error:
            if not str(error).isprintable():
                raise
        except Exception as error:
            faults += 1
            kept = path.rename(folder / f"fault_{faults}{suffix}")
            print(f"{kept}: {error!r}")
    errors = tried - recordings - faults
    print(f"{tried} files read with seed {seed}: {recordings} recordings, {errors} errors, {faults} faults")
    return int(faults > 0)


if __name__ == "__main__":
    sys.exit(main(float(sys.argv[1]), int(sys.argv[2]) if len(sys.argv) > 2 else 1))
