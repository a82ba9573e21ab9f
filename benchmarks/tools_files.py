#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Reading and writing recordings beside what people write with pandas and rosbags; ratios within one run.

    PYTHONPATH=build/release/python build/venv/bin/python benchmarks/tools_files.py [--rows 1000000] [--messages 360000]

Every contender runs in turn, `--runs` times; the fastest run counts. An hour at 1 kHz has 3,600,000 messages.
"""

import argparse
import tempfile
import time
from collections.abc import Callable
from pathlib import Path

import numpy as np
import pandas as pd
from rosbags.rosbag2 import Reader
from rosbags.typesys import Stores, get_typestore
from velmora.tools.formats import read, write
from velmora.tools.options import ReadOptions, WriteOptions
from velmora.tools.recording import Layout, Recording, Stamps

JOINTS = tuple(f"joint_{k}" for k in range(1, 8))


def recording(rows: int) -> Recording:
    """A recording with an uneven clock and full digits, as loggers write them."""
    random = np.random.default_rng(1)
    times = np.arange(rows) * 1_000_000 + random.integers(0, 100_000, rows)
    positions = np.sin(times[:, None] * 1e-9 * np.arange(1, 8)) + random.normal(scale=1e-5, size=(rows, 7))
    rows_in_file = np.arange(1, rows + 1)
    stamps = Stamps(times, "s")
    return Recording("made", JOINTS, stamps, positions, None, None, None, None, rows_in_file, None, (), Layout(""))


def fastest(contenders: dict[str, Callable[[], object]], runs: int) -> dict[str, float]:
    """The shortest time of each, taken in turns."""
    best = dict.fromkeys(contenders, float("inf"))
    for _ in range(runs):
        for name, call in contenders.items():
            start = time.perf_counter()
            call()
            best[name] = min(best[name], time.perf_counter() - start)
    return best


def tables(folder: Path, rows: int, runs: int) -> list[tuple[str, float, float]]:
    """CSV and Parquet beside pandas."""
    made = recording(rows)
    csv, parquet, other = (str(folder / name) for name in ("a.csv", "a.parquet", "b.csv"))
    write(csv, made, WriteOptions())
    write(parquet, made, WriteOptions())
    frame = pd.read_csv(csv)
    results = []
    for what, ours, theirs in (
        ("read CSV", lambda: read(csv, ReadOptions()), lambda: pd.read_csv(csv)),
        ("write CSV", lambda: write(other, made, WriteOptions()), lambda: frame.to_csv(other, index=False)),
        ("read Parquet", lambda: read(parquet, ReadOptions()), lambda: pd.read_parquet(parquet)),
        (
            "write Parquet",
            lambda: write(str(folder / "b.parquet"), made, WriteOptions()),
            lambda: frame.to_parquet(folder / "c.parquet", index=False),
        ),
    ):
        best = fastest({"velmora": ours, "pandas": theirs}, runs)
        results.append((f"{what}, {rows:,} x 7", best["velmora"], best["pandas"]))
    return results


def bag(folder: Path, messages: int) -> tuple[str, float, float]:
    """A bag of joint states beside deserialising every message."""
    path = folder / "bag"
    write(str(path), recording(messages), WriteOptions())
    store = get_typestore(Stores.ROS2_HUMBLE)

    def deserialised() -> None:
        with Reader(path) as reader:
            for connection, _, data in reader.messages():
                store.deserialize_cdr(data, connection.msgtype)

    best = fastest({"velmora": lambda: read(str(path), ReadOptions()), "rosbags": deserialised}, 1)
    return f"read MCAP, {messages:,} joint states", best["velmora"], best["rosbags"]


def main() -> None:
    """Measure and print."""
    parser = argparse.ArgumentParser()
    parser.add_argument("--rows", type=int, default=1_000_000)
    parser.add_argument("--messages", type=int, default=360_000)
    parser.add_argument("--runs", type=int, default=3)
    options = parser.parse_args()
    with tempfile.TemporaryDirectory() as place:
        results = [*tables(Path(place), options.rows, options.runs), bag(Path(place), options.messages)]
    print("| what | velmora | peer | ratio |\n|---|--:|--:|--:|")
    for what, ours, theirs in results:
        print(f"| {what} | {ours:.3f} s | {theirs:.3f} s | {theirs / ours:.1f} |")


if __name__ == "__main__":
    main()
