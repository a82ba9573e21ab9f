# SPDX-License-Identifier: Apache-2.0
"""Hostile and broken files: a clear error or a recording, in bounded memory, and nothing in a file is ever executed."""

import gzip
import io
import pickle
import re
import subprocess
import sys
import zipfile
from dataclasses import replace
from pathlib import Path

import numpy as np
import pyarrow as pa
import pyarrow.parquet as pq
import pytest
from hypothesis import HealthCheck, example, given, settings
from hypothesis import strategies as st
from velmora.tools.errors import DataError, ToolError
from velmora.tools.formats import csv_reader, npz, read, write
from velmora.tools.options import ReadOptions, WriteOptions
from velmora.tools.recording import QUANTITIES, Layout, Recording, Stamps

QUIET = settings(deadline=None, suppress_health_check=[HealthCheck.too_slow], max_examples=250)


def recording(samples: int = 200) -> Recording:
    values = np.random.default_rng(5).normal(size=(samples, 3))
    return Recording(
        "made",
        ("a", "b", "c"),
        Stamps(np.arange(samples) * 1_000_000),
        values,
        None,
        None,
        None,
        None,
        np.arange(1, samples + 1),
        None,
        (),
        Layout(""),
    )


def consistent(found: Recording) -> None:
    samples, joints = found.positions.shape
    assert len(found.joints) == len(set(found.joints)) == joints
    assert len(found.rows) == samples
    assert found.stamps is None or len(found.stamps.values) == samples
    for quantity in QUANTITIES:
        values = getattr(found, quantity)
        assert values is None or (values.shape == (samples, joints) and values.dtype == np.float64)
    assert all(mask.shape == (samples, joints) for mask in (found.missing or {}).values())
    assert all(name.isprintable() for name in found.joints)


@QUIET
@given(
    st.one_of(
        st.binary(max_size=300),
        st.text(alphabet="0123456789.,;\t \n\r#%/+-eEnaif\"ts_xq'", max_size=200).map(str.encode),
        st.lists(
            st.lists(st.sampled_from(["1", "2.5", "+1", "nan", "", "x", '"', "1e999", "time", " "]), max_size=4).map(
                ",".join
            ),
            max_size=8,
        )
        .map("\n".join)
        .map(str.encode),
    )
)
@example(b'"')
@example(b'a\n"1\n')
@example(b"\xff\xfe\x00")
def test_any_bytes_as_text(data: bytes) -> None:
    try:
        for found in csv_reader.parse("x.csv", data, ReadOptions(time_unit="s")):
            consistent(found)
    except ToolError as error:
        assert str(error).startswith("x.csv")
        assert str(error).isprintable()


@QUIET
@given(st.data(), st.sampled_from([".parquet", ".feather", ".npz", ".csv.gz", ".csv.zst"]))
def test_any_damage_to_binary_files(tmp_path_factory: pytest.TempPathFactory, data: st.DataObject, suffix: str) -> None:
    path = tmp_path_factory.mktemp("damage") / f"x{suffix}"
    write(str(path), recording(), WriteOptions())
    content = bytearray(path.read_bytes())
    for place, value in data.draw(
        st.lists(st.tuples(st.integers(0, len(content) - 1), st.integers(0, 255)), max_size=6)
    ):
        content[place] = value
    path.write_bytes(content[: data.draw(st.integers(0, len(content)))] if data.draw(st.booleans()) else content)
    try:
        for found in read(str(path), ReadOptions()):
            consistent(found)
    except ToolError as error:
        assert str(error).startswith(str(path))


@pytest.mark.parametrize(
    "suffix", [".csv", ".csv.gz", ".csv.zst", ".parquet", ".feather", ".npz", ".mcap", ".db3", ".bag", ".json", ".yaml"]
)
def test_empty_files_and_folders(tmp_path: Path, suffix: str) -> None:
    path = tmp_path / f"x{suffix}"
    path.write_bytes(b"")
    with pytest.raises(DataError, match=f"^{re.escape(str(path))}:(1:)? "):
        read(str(path), ReadOptions())
    path.unlink()
    path.mkdir()
    with pytest.raises(ToolError, match=f"^{re.escape(str(path))}: "):
        read(str(path), ReadOptions())


def test_a_header_of_ten_million_columns(tmp_path: Path) -> None:
    data = b"time" + b",a" * 10_000_000 + b"\n"
    with pytest.raises(DataError, match=r"^x.csv:1: there are at least [\d,]+ columns; at most 10,000 were expected$"):
        csv_reader.parse("x.csv", data, ReadOptions())
    wide = pa.table({f"j{k}": [0.0] for k in range(10_001)})
    pq.write_table(wide, tmp_path / "x.parquet")
    with pytest.raises(DataError, match=r"x.parquet:1: there are 10,001 columns; at most 10,000 were expected$"):
        read(str(tmp_path / "x.parquet"), ReadOptions())


@pytest.mark.parametrize("suffix", [".csv", ".parquet"])
def test_what_is_too_wide_to_be_read_again_is_not_written(tmp_path: Path, suffix: str) -> None:
    values = np.zeros((1, 5_000))
    joints = tuple(f"j{k}" for k in range(5_000))
    rows, stamps = np.arange(1, 2), Stamps(np.zeros(1))
    wide = Recording("made", joints, stamps, values, values, None, None, None, rows, None, (), Layout(""))
    with pytest.raises(DataError) as error:
        write(str(tmp_path / f"x{suffix}"), wide, WriteOptions())
    assert str(error.value) == (
        "made: the table would have 10,001 columns; at most 10,000 can be read again; --joints or --columns of "
        "resample leaves some out"
    )
    assert write(str(tmp_path / f"y{suffix}"), replace(wide, stamps=None), WriteOptions()) == []


def test_columns_of_one_line_are_counted_and_that_line_is_named() -> None:
    for columns in (20_000, 2_000_000):
        data = b"# log\n" + b",".join([b"a"] * columns) + b"\n" + b"1,2\n" * 10
        with pytest.raises(DataError, match=rf"^x.csv:2: there are {columns:,} columns; at most 10,000 were expected$"):
            csv_reader.parse("x.csv", data, ReadOptions())


def test_numbers_of_a_megabyte() -> None:
    number = b"1" * (1 << 20)
    with pytest.raises(
        DataError, match=r"^x.csv:2: a line is longer than 1,048,576 characters; lines of numbers were expected$"
    ):
        csv_reader.parse("x.csv", b"time,a\n0.0," + number + b"\n", ReadOptions())
    lines = b"".join(b"%d.5,1\n" % k for k in range(100))
    (found,) = csv_reader.parse("x.csv", b"time,a\n" + lines + b"101.5," + number + b"\n", ReadOptions())
    assert found.positions[-1] == [np.inf]
    with pytest.raises(DataError, match=r"^x.csv:102: the line has 9,437,190 bytes; at most 1,048,576 were expected$"):
        csv_reader.parse(
            "x.csv", b"time,a\n" + lines + b"101.5," + 9 * number + b"\n" + b"102.5,1\n" * 3, ReadOptions()
        )


@pytest.mark.parametrize("suffix", [".gz", ".zst"])
def test_bombs_of_compression(tmp_path: Path, suffix: str) -> None:
    path = tmp_path / f"x.csv{suffix}"
    content = b"0,0\n" * (80 * 2**20 // 4)
    if suffix == ".gz":
        path.write_bytes(gzip.compress(content))
    else:
        path.write_bytes(pa.Codec("zstd").compress(content).to_pybytes())
    with pytest.raises(
        DataError,
        match=r"bytes expand to more than 67,108,864; a compressed recording was expected to grow at "
        r"most 100 times; expand it by hand first$",
    ):
        read(str(path), ReadOptions())


def test_a_bomb_in_npz(tmp_path: Path) -> None:
    path = tmp_path / "x.npz"
    np.savez_compressed(path, positions=np.zeros((10_000_000, 1)))
    with pytest.raises(
        DataError, match=r"array 'positions' expands from [\d,]+ to 80,000,128 bytes; at most 1000 times as much"
    ):
        read(str(path), ReadOptions())


def test_nothing_is_unpickled(tmp_path: Path) -> None:
    class Trap:
        def __reduce__(self) -> tuple[object, tuple[str, ...]]:
            return (Path(tmp_path / "sprung").touch, ())

    np.savez(tmp_path / "x.npz", positions=np.array([[Trap()]], dtype=object), time=np.zeros(1))
    with pytest.raises(
        DataError, match=r"array 'positions' holds object; numbers were expected; objects are never unpacked$"
    ):
        read(str(tmp_path / "x.npz"), ReadOptions())
    with zipfile.ZipFile(tmp_path / "y.npz", "w") as archive:
        archive.writestr("positions.npy", pickle.dumps(Trap()))
    with pytest.raises(DataError, match=r"is damaged or no NPZ file"):
        read(str(tmp_path / "y.npz"), ReadOptions())
    assert not (tmp_path / "sprung").exists()


def test_an_array_larger_than_its_file(tmp_path: Path) -> None:
    header = io.BytesIO()
    np.lib.format.write_array_header_1_0(header, {"descr": "<f8", "fortran_order": False, "shape": (10**15, 7)})
    with zipfile.ZipFile(tmp_path / "x.npz", "w") as archive:
        archive.writestr("positions.npy", header.getvalue())
    with pytest.raises(DataError, match=r"array 'positions' is cut short; 7,000,000,000,000,000 values were expected$"):
        npz.read(str(tmp_path / "x.npz"), ReadOptions())


def test_names_reach_a_terminal_without_control_characters(tmp_path: Path) -> None:
    bell = "a\x1b]0;title\x07\u202e"
    pq.write_table(
        pa.table({"time_s": [0.0, 1.0], bell: [1.0, 2.0], "key\x1b": ["\x1b[2J", "x"]}), tmp_path / "x.parquet"
    )
    (found, _) = read(str(tmp_path / "x.parquet"), ReadOptions(group_by="key?"))
    assert found.joints == ("a?]0;title??",)
    assert found.source.isprintable()
    assert all(note.text.isprintable() for note in found.notes)


def test_rows_of_parquet_take_less_than_four_times_their_memory(tmp_path: Path) -> None:
    """In a process of its own, on a tenth of the rows; what the interpreter and its libraries take is subtracted."""
    rows = 1_000_000
    pq.write_table(
        pa.table(
            {
                "time_s": np.arange(rows) * 1e-3,
                **{f"j{k}": np.random.default_rng(k).normal(size=rows) for k in range(7)},
            }
        ),
        tmp_path / "x.parquet",
    )
    script = f"""
import resource, sys
from velmora.tools.formats import read, write
from velmora.tools.options import ReadOptions, WriteOptions
import pyarrow.parquet, pyarrow.compute
peak = lambda: resource.getrusage(resource.RUSAGE_SELF).ru_maxrss * 1024
before = peak()
recording, = read({str(tmp_path / "x.parquet")!r}, ReadOptions())
write({str(tmp_path / "y.parquet")!r}, recording, WriteOptions())
print((peak() - before) / ({rows} * 8 * 8))
"""
    run = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, check=True)
    assert float(run.stdout) < 4.0


def test_a_small_file_takes_little_room(tmp_path: Path) -> None:
    (tmp_path / "x.csv").write_text("time_s,a\n0,1\n0.1,2\n")
    # What the interpreter and its libraries reserve is there before; reading may reserve a gigabyte beyond that.
    script = f"""
import resource
from velmora.tools.formats import read
from velmora.tools.options import ReadOptions
import pyarrow.csv, pyarrow.compute
reserved = int(open("/proc/self/statm").read().split()[0]) * resource.getpagesize()
resource.setrlimit(resource.RLIMIT_AS, (reserved + 2**30, reserved + 2**30))
print(len(read({str(tmp_path / "x.csv")!r}, ReadOptions())[0].rows))
"""
    run = subprocess.run([sys.executable, "-c", script], capture_output=True, text=True, check=False)
    assert (run.stdout, run.stderr) == ("2\n", "")
