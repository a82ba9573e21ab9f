# SPDX-License-Identifier: Apache-2.0
"""Reads and writes NPZ: arrays `time`, `positions` and so on, by name; never a pickle."""

from __future__ import annotations

import io
import zipfile
from collections.abc import Iterator
from typing import IO

import numpy as np
from numpy.lib import format as npy
from numpy.typing import NDArray

from velmora.tools.columns import clean
from velmora.tools.errors import DataError
from velmora.tools.formats import addresses, text_numbers
from velmora.tools.formats import stamps as clock
from velmora.tools.formats.plan import MAX_COLUMNS, RADIANS_PER_DEGREE, matching
from velmora.tools.options import ReadOptions
from velmora.tools.recording import QUANTITIES, UNIT_NS, Layout, Note, Recording, Stamps
from velmora.tools.text import listed, nearest, quoted

_ARRAYS = ("time", *QUANTITIES, "joints", "unit")
_MOST_EXPANSION = 1000


def read(path: str, options: ReadOptions) -> list[Recording]:
    """Read the arrays of an NPZ file.

    `positions` has shape (N, J) or (N,); `time` (or the array that --time-column names) shape (N,): integers are
    nanoseconds, doubles in the unit of --time-unit, of the array `unit`, or which they tell; `joints` holds J names.
    """
    source = "standard input" if path == "-" else path
    data = addresses.content(path)
    arrays = _arrays(source, data, options.time_column or "time")
    if "positions" not in arrays:
        raise DataError(
            f"{source}: there is no array 'positions'; arrays time and positions were expected; there are "
            f"{listed(list(arrays))}"
        )
    positions = _matrix(source, "positions", arrays["positions"], None)
    names = _names(source, arrays.get("joints"), positions.shape[1])
    joints = tuple(matching(source, names, options.joints)) if options.joints else tuple(names)
    places = [names.index(joint) for joint in joints]
    factor = RADIANS_PER_DEGREE if options.degrees and not options.keep_units else 1.0
    values: dict[str, NDArray[np.float64] | None] = {}
    large: list[tuple[str, str]] = []
    for quantity in QUANTITIES:
        matrix = None if quantity not in arrays else _matrix(source, quantity, arrays[quantity], positions.shape)
        if matrix is not None:
            large += (cell for cell in _large(names, arrays[quantity], matrix) if cell[0] in joints)
        if matrix is not None and joints != tuple(names):
            matrix = np.ascontiguousarray(matrix[:, places])
        values[quantity] = matrix if matrix is None or factor == 1.0 or quantity == "efforts" else matrix * factor
    notes = text_numbers.lost(large)
    time = options.time_column or "time"
    stamps = None
    if options.rate_hz is not None:
        stamps = clock.at_rate(len(positions), options.rate_hz)
    elif time in arrays:
        stamps, why = _stamps(source, time, arrays, len(positions), options)
        notes.append(Note("time", f"array {quoted(time)}, in {why}"))
    elif options.time_column is not None:
        raise DataError(f"{source}: no array is called {quoted(time)}{nearest(time, arrays)}; --time-column")
    chosen = values.pop("positions")
    assert chosen is not None
    return [
        Recording(
            source,
            joints,
            stamps,
            chosen,
            **values,
            rows=np.arange(1, len(positions) + 1),
            missing=None,
            notes=tuple(notes),
            layout=Layout("npz"),
            group=None,
        )
    ]


def _arrays(source: str, data: bytes, time: str) -> dict[str, NDArray[np.generic]]:
    """The arrays that a recording has; the others are not even unpacked."""
    arrays = {}
    try:
        with zipfile.ZipFile(io.BytesIO(data)) as archive:
            for info in archive.infolist():
                name = info.filename.removesuffix(".npy")
                if name not in (*_ARRAYS, time):
                    continue
                if info.file_size > max(64 * 2**20, _MOST_EXPANSION * info.compress_size) or (
                    info.file_size > addresses.most_bytes()
                ):
                    raise DataError(
                        f"{source}: array {quoted(name)} expands from {info.compress_size:,} to "
                        f"{info.file_size:,} bytes; at most {_MOST_EXPANSION} times as much was expected"
                    )
                with archive.open(info) as file:
                    arrays[name] = _array(source, name, file, info.file_size)
    except (zipfile.BadZipFile, EOFError, ValueError, NotImplementedError, OSError, RuntimeError) as error:
        raise DataError(f"{source}: is damaged or no NPZ file: {error}") from error
    except Exception as error:
        if type(error).__name__ == "error":  # zlib.error has no public base class
            raise DataError(f"{source}: is damaged or no NPZ file: {error}") from error
        raise
    return arrays


def _array(source: str, name: str, file: IO[bytes], size: int) -> NDArray[np.generic]:
    """One array, after its header has shown that it holds numbers or names and no more than the file has."""
    version = npy.read_magic(file)
    header = {(1, 0): npy.read_array_header_1_0, (2, 0): npy.read_array_header_2_0}.get(version)
    if header is None:
        raise DataError(f"{source}: array {quoted(name)} has version {version}; 1.0 or 2.0 was expected")
    shape, by_columns, kind = header(file)
    if kind.kind not in "fiuUM" or kind.itemsize == 0:
        raise DataError(
            f"{source}: array {quoted(name)} holds {kind}; numbers were expected; objects are never unpacked"
        )
    number = 1
    for length in shape:
        number *= length
    if number * kind.itemsize > size:
        raise DataError(f"{source}: array {quoted(name)} is cut short; {number:,} values were expected")
    content = file.read(number * kind.itemsize)
    if len(content) != number * kind.itemsize:
        raise DataError(f"{source}: array {quoted(name)} is cut short; {number:,} values were expected")
    return np.frombuffer(bytearray(content), kind).reshape(shape, order="F" if by_columns else "C")


def _matrix(source: str, name: str, array: NDArray[np.generic], shape: tuple[int, ...] | None) -> NDArray[np.float64]:
    if array.dtype.kind not in "fiu":
        raise DataError(f"{source}: array {quoted(name)} holds {array.dtype}; numbers were expected")
    matrix = array.reshape(-1, 1) if array.ndim == 1 else array
    if matrix.ndim != 2 or (shape is not None and matrix.shape != shape):
        expected = "a matrix with a row per sample" if shape is None else f"shape {shape}, as of positions,"
        raise DataError(f"{source}: array {quoted(name)} has shape {array.shape}; {expected} was expected")
    if matrix.shape[1] > MAX_COLUMNS:
        raise DataError(
            f"{source}: array {quoted(name)} has {matrix.shape[1]:,} columns; at most {MAX_COLUMNS:,} were "
            "expected; a row is a sample"
        )
    return _doubles(matrix)


def _doubles(array: NDArray[np.generic]) -> NDArray[np.float64]:
    with np.errstate(over="ignore"):  # what becomes infinite is told, or refused
        return np.ascontiguousarray(array, dtype=np.float64)


def _large(names: list[str], array: NDArray[np.generic], matrix: NDArray[np.float64]) -> Iterator[tuple[str, str]]:
    """Joints and numbers of an array that may hold some that doubles do not have."""
    if array.dtype.itemsize < 8 or array.dtype == np.float64:
        return
    written = array.reshape(matrix.shape)
    for row, joint in np.argwhere(np.abs(matrix) >= text_numbers.WHOLE_BELOW).tolist():
        yield names[joint], str(written[row, joint])


def _names(source: str, names: NDArray[np.generic] | None, joints: int) -> list[str]:
    if names is None:
        return [f"joint_{joint}" for joint in range(1, joints + 1)]
    cleaned = [clean(str(name)) for name in names.ravel()]
    if len(cleaned) != joints or len(set(cleaned)) != joints or "" in cleaned:
        raise DataError(f"{source}: array 'joints' holds {listed(cleaned)}; {joints} different names were expected")
    return cleaned


def _stamps(
    source: str, name: str, arrays: dict[str, NDArray[np.generic]], samples: int, options: ReadOptions
) -> tuple[Stamps, str]:
    array = arrays[name]
    if array.shape not in ((samples,), (samples, 1), (1, samples)) or array.dtype.kind not in "fiuM":
        raise DataError(
            f"{source}: array {quoted(name)} has shape {array.shape} of {array.dtype}; {samples} times were "
            "expected, as many as rows of positions"
        )
    array = array.ravel()
    if array.dtype.kind == "M":
        return Stamps(array.astype("datetime64[ns]").astype(np.int64), "ns"), "dates"
    said = arrays.get("unit")
    written = str(said.ravel()[0]) if said is not None and said.size == 1 else ""
    if array.dtype.kind == "f":
        doubles = _doubles(array)
        unit, why = (
            (options.time_unit, options.time_unit)
            if options.time_unit != "auto"
            else (written, f"{written}, as the array 'unit' says")
            if written in UNIT_NS
            else clock.infer_unit(source, name, doubles)
        )
        return clock.from_doubles(doubles, unit), why
    if array.dtype.kind == "u" and array.size and int(array.max()) >= 2**63:
        raise DataError(f"{source}: array {quoted(name)}: a time does not fit into 64 bits with a sign")
    integers = array.astype(np.int64)
    if options.time_unit != "auto":
        return clock.from_integers(source, integers, options.time_unit), options.time_unit
    stamps = clock.from_integers(source, integers, "ns")
    return (Stamps(stamps.values, written) if written in UNIT_NS else stamps), "ns, as they are integers"


def write(file: IO[bytes], recording: Recording, quantities: tuple[str, ...]) -> list[str]:
    """Write the arrays of a recording; the same recording gives the same bytes."""
    arrays: dict[str, NDArray[np.generic]] = {}
    if recording.stamps is not None:
        arrays["time"] = stored_times(recording.stamps)
        # Integers are nanoseconds, with the unit to write them in again; doubles are seconds where these are exact.
        in_unit = arrays["time"].dtype == np.int64 or recording.stamps.doubles is not None
        arrays["unit"] = np.array(recording.stamps.unit if in_unit else "s")
    for quantity in QUANTITIES:
        values = getattr(recording, quantity)
        if quantity in quantities and values is not None:
            arrays[quantity] = values
    arrays["joints"] = np.array(recording.joints, dtype=np.str_)
    with zipfile.ZipFile(file, "w", zipfile.ZIP_STORED) as archive:
        for name, array in arrays.items():
            info = zipfile.ZipInfo(f"{name}.npy")  # its date is fixed
            info.external_attr = 0o644 << 16
            with archive.open(info, "w", force_zip64=True) as entry:
                npy.write_array(entry, np.ascontiguousarray(array), allow_pickle=False)
    notes = []
    empty = [quantity for quantity, mask in (recording.missing or {}).items() if quantity in arrays and mask.any()]
    if empty:
        notes.append(f"NPZ has no empty cells: missing {', '.join(empty)} became nan")
    if recording.stamps is not None and recording.stamps.missing.any():
        what = "-2^63, the integer of NaT" if arrays["time"].dtype == np.int64 else "nan"
        notes.append(f"NPZ has no empty cells: missing times became {what}")
    return notes


def stored_times(stamps: Stamps) -> NDArray[np.int64] | NDArray[np.float64]:
    """Stamps for formats of binary numbers: doubles of seconds where they hold every nanosecond, otherwise integers."""
    known = stamps.values[stamps.there]
    if (
        known.dtype == np.int64
        and stamps.unit == "s"
        and len(known) > 0
        and (max(abs(int(known.min())), abs(int(known.max()))) < clock.WHOLE_BELOW_NS)
    ):
        return np.where(stamps.missing, np.nan, stamps.values / 1e9)
    return stamps.values if stamps.doubles is None else stamps.doubles
