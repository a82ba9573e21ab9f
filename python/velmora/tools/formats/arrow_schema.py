# SPDX-License-Identifier: Apache-2.0
"""What Arrow's types say about columns, and the columns that are written, shared by Parquet and Feather."""

from __future__ import annotations

from collections.abc import Callable, Iterable, Iterator
from typing import TYPE_CHECKING, cast

import numpy as np
from numpy.typing import NDArray

from velmora.tools.columns import meaning, time_name, written_columns
from velmora.tools.errors import DataError
from velmora.tools.formats import addresses, arrow_columns, text_times
from velmora.tools.formats import stamps as clock
from velmora.tools.formats.groups import Labels
from velmora.tools.formats.plan import Field, Plan, check_width, plan, refuse_width
from velmora.tools.options import ReadOptions
from velmora.tools.recording import MISSING_NS, UNIT_NS, Column, Note, Recording, Stamps
from velmora.tools.text import size_text

if TYPE_CHECKING:
    import pyarrow as pa

# Where a column could not keep its name or its unit, the ones it had stand beside it.
_NAME_KEY, _UNIT_KEY = b"velmora.name", b"velmora.unit"
_ROWS_AT_ONCE = 1 << 20


def read(
    source: str,
    format_: str,
    schema: pa.Schema,
    samples: int,
    batches: Callable[[list[int]], Iterable[pa.RecordBatch]],
    options: ReadOptions,
) -> list[Recording]:
    """Read a table batch by batch; nothing but the result is held as a whole.

    Parameters
    ----------
    batches
        Gives the batches of the columns with these indexes, which several may have one name; see `numbered`.
    """
    import pyarrow as pa

    check_width(source, len(schema.names))
    fields = [_field(source, schema.field(index), index, batches) for index in range(len(schema.names))]
    check_width(source, sum(field.elements or 1 for field in fields))
    chosen = plan(source, fields, options)
    width = sum(len(chosen.joints) for _ in chosen.cells) + 2
    if samples * width * 8 > addresses.most_bytes():
        raise DataError(
            f"{source}: {samples:,} rows of {width} columns take {size_text(samples * width * 8.0)}; at most "
            "half of this machine's memory was expected; --joints chooses columns"
        )
    matrices = arrow_columns.Matrices(source, chosen, samples)
    clocks = () if options.rate_hz is not None else chosen.time
    times: list[NDArray[np.generic] | None] = [None] * len(clocks)
    keys: list[pa.Array] = []
    start = 0
    used = {cell.field for cells in chosen.cells.values() for cell in cells} | set(clocks)
    for batch in batches(sorted(used | ({chosen.group} if chosen.group is not None else set()))):
        stop = start + batch.num_rows
        if stop > samples:
            raise DataError(f"{source}: there are more than the {samples:,} rows that the file promises; it is damaged")
        for column in batch.columns:
            column.validate()
        matrices.add(batch, start)
        for place, index in enumerate(clocks):
            times[place] = _kept(times[place], _times(source, batch.column(str(index))), start, samples)
        if chosen.group is not None:
            keys.append(batch.column(str(chosen.group)))
        start = stop
    if start != samples:
        raise DataError(
            f"{source}: there are {start:,} rows; the file promises {samples:,}; it is damaged or cut short"
        )
    notes = list(chosen.notes)
    stamps = arrow_columns.stamps_at_rate(options.rate_hz, samples)
    if clocks:
        stamps, why = _stamps(source, chosen, schema, [np.empty(0) if part is None else part for part in times])
        notes = [Note(note.key, f"{note.text}, in {why}") if note.key == "time" else note for note in notes]
    result = arrow_columns.assembled(source, format_, chosen, stamps, matrices, np.arange(1, samples + 1), notes)
    if chosen.group is None:
        return [result]
    assert options.group_by is not None
    values = pa.chunked_array(keys) if keys else pa.chunked_array([], pa.int64())
    return arrow_columns.groups(result, options.group_by, values)


def numbered(columns: Iterable[pa.Array], indexes: list[int]) -> pa.RecordBatch:
    """Columns named by their indexes, since those of a file may share a name."""
    import pyarrow as pa

    return pa.RecordBatch.from_arrays(list(columns), names=[str(index) for index in indexes])


def _field(source: str, field: pa.Field, index: int, batches: Callable[[list[int]], Iterable[pa.RecordBatch]]) -> Field:
    import pyarrow as pa

    kind = field.type
    name = field.name
    unit = None
    if field.metadata is not None and _NAME_KEY in field.metadata:
        name = field.metadata[_NAME_KEY].decode("utf-8", "replace")
        unit = meaning(field.name).unit
    elif field.metadata is not None and _UNIT_KEY in field.metadata:
        said = field.metadata[_UNIT_KEY].decode("ascii", "replace")
        unit = said if said in UNIT_NS else None
    if pa.types.is_timestamp(kind) or pa.types.is_duration(kind):
        return Field(name, True, None, kind.unit)
    if pa.types.is_fixed_size_list(kind) or pa.types.is_list(kind) or pa.types.is_large_list(kind):
        if not _is_number(kind.value_type):
            return Field(name, False)
        if pa.types.is_fixed_size_list(kind):
            return Field(name, True, kind.list_size)
        return Field(name, True, _first_length(source, index, batches))
    return Field(name, _is_number(kind), None, unit)


def _is_number(kind: pa.DataType) -> bool:
    import pyarrow as pa

    return bool(pa.types.is_floating(kind) or pa.types.is_integer(kind) or pa.types.is_decimal(kind))


def _first_length(source: str, index: int, batches: Callable[[list[int]], Iterable[pa.RecordBatch]]) -> int:
    """How many elements the first list has."""
    for batch in batches([index]):
        lengths = batch.column(0).value_lengths().drop_null()
        if len(lengths) > 0:
            length: int = lengths[0].as_py()
            check_width(source, length)
            return length
    return 0


def _times(source: str, column: pa.Array) -> NDArray[np.generic]:
    """Times as the column holds them: integers if they are such, doubles otherwise."""
    import pyarrow as pa

    if pa.types.is_timestamp(column.type) or pa.types.is_duration(column.type):
        column = column.cast(pa.int64())
    if pa.types.is_integer(column.type):
        try:
            return text_times.integers(column.cast(pa.int64()))
        except pa.ArrowInvalid as error:
            raise DataError(
                f"{source}: a time does not fit into 64 bits; --time-column names another column"
            ) from error
    return arrow_columns.numbers(column)[0]


def _kept(
    whole: NDArray[np.generic] | None, part: NDArray[np.generic], start: int, samples: int
) -> NDArray[np.generic]:
    """Put a part into the whole, which becomes doubles as soon as one part has such."""
    if whole is None:
        whole = np.empty(samples, part.dtype)
    elif whole.dtype != part.dtype:
        whole = whole.astype(np.float64)
    whole[start : start + len(part)] = part
    return whole


def _stamps(source: str, chosen: Plan, schema: pa.Schema, times: list[NDArray[np.generic]]) -> tuple[Stamps, str]:
    field = schema.field(chosen.time[0])
    values = times[0]
    if len(times) == 2:
        names = [schema.field(index).name for index in chosen.time]
        seconds, nanoseconds = (_whole(source, *part) for part in zip(names, times, strict=True))
        return Stamps(text_times.combined(source, seconds, nanoseconds), "ns"), "s and ns"
    unit, why = chosen.time_unit, chosen.time_unit or ""
    if unit is None:
        numbers = values if values.dtype == np.int64 else values.astype(np.float64, copy=False)
        unit, why = clock.infer_unit(source, field.name, cast("NDArray[np.int64] | NDArray[np.float64]", numbers))
    stamps = (
        clock.from_integers(source, values.astype(np.int64, copy=False), unit)
        if values.dtype == np.int64
        else clock.from_doubles(values.astype(np.float64, copy=False), unit)
    )
    metadata = field.metadata or {}
    original = metadata.get(_UNIT_KEY, b"").decode("ascii", "replace")
    return (Stamps(stamps.values, original) if _NAME_KEY in metadata and original in UNIT_NS else stamps), why


def _whole(source: str, name: str, values: NDArray[np.generic]) -> NDArray[np.int64]:
    """Whole numbers of one of two columns, which doubles may hold too; NaN is a missing one."""
    if values.dtype == np.int64:
        return values.astype(np.int64, copy=False)
    doubles = values.astype(np.float64, copy=False)
    missing = np.isnan(doubles)
    bad = doubles[~missing & ~((np.rint(doubles) == doubles) & (np.abs(doubles) < 2.0**63))]
    if len(bad):
        raise text_times.no_whole_number(source, name, f"{bad[0]:.17g}")
    return np.where(missing, MISSING_NS, np.where(missing, 0.0, doubles).astype(np.int64))


def tables(recording: Recording, quantities: tuple[str, ...], labels: Labels | None = None) -> Iterator[pa.Table]:
    """The recording as tables with some rows each, at least one; labels are the first column."""
    import pyarrow as pa

    columns = written_columns(recording, quantities, lists=True)
    refuse_width(recording.source, len(columns) + (labels is not None))
    joints = {joint: index for index, joint in enumerate(recording.joints)}
    stored = None if recording.stamps is None else _stored(recording.stamps, columns)
    absent = np.zeros(0, np.bool_) if recording.stamps is None else recording.stamps.missing
    keys = None if labels is None else labels.array()
    for start in range(0, max(len(recording.rows), 1), _ROWS_AT_ONCE):
        rows = slice(start, start + _ROWS_AT_ONCE)
        fields, arrays = [], []
        if labels is not None and keys is not None:
            fields, arrays = [pa.field(labels.column, keys.type)], [keys[start : start + _ROWS_AT_ONCE]]
        lists: dict[str, list[Column]] = {}
        for column in columns:
            if column.quantity == "time":
                assert stored is not None
                fields.append(stored[0])
                arrays.append(arrow_columns.arrow_array(stored[1][rows], absent[rows]))
            elif column.element is not None:
                lists.setdefault(column.name, []).append(column)
                if len(lists[column.name]) == 1:
                    fields.append(pa.field(column.name, pa.float64()))  # its place; the list follows
                    arrays.append(None)
            else:
                fields.append(pa.field(column.name, pa.float64()))
                arrays.append(arrow_columns.cells(recording, column.quantity, joints[column.joint], rows))
        for name, parts in lists.items():
            place = next(index for index, array in enumerate(arrays) if array is None)
            arrays[place] = _lists(recording, parts, joints, rows)
            fields[place] = pa.field(name, arrays[place].type)
        yield pa.table(arrays, schema=pa.schema(fields))


def _lists(recording: Recording, parts: list[Column], joints: dict[str, int], rows: slice) -> pa.Array:
    """A column of lists with an element of each part, null where the file had none."""
    import pyarrow as pa

    values = np.stack([getattr(recording, part.quantity)[rows, joints[part.joint]] for part in parts], axis=1)
    absent = np.zeros(values.shape, np.bool_)
    for element, part in enumerate(parts):
        mask = recording.absent(part.quantity)
        if mask is not None:
            absent[:, element] = mask[rows, joints[part.joint]]
    return pa.FixedSizeListArray.from_arrays(arrow_columns.arrow_array(values.ravel(), absent.ravel()), len(parts))


def _stored(stamps: Stamps, columns: list[Column]) -> tuple[pa.Field, NDArray[np.generic]]:
    """The column of times: in the file's unit where that is exact, otherwise in nanoseconds or seconds."""
    import pyarrow as pa

    name = next(column.name for column in columns if column.quantity == "time")
    values, scale, unit = stamps.values, UNIT_NS[stamps.unit], stamps.unit
    if values.dtype == np.int64:
        values = np.where(stamps.missing, 0, values)
        small = max(abs(int(values.min(initial=0))), abs(int(values.max(initial=0)))) < clock.WHOLE_BELOW_NS
        if unit != "s" and not (values % scale).any():
            return pa.field(name, pa.int64(), metadata=_remember(name, name, unit)), values // scale
        if small:
            return pa.field(name, pa.float64(), metadata=_remember(name, name, unit)), values / scale
        other = time_name(name, "ns")
        return pa.field(other, pa.int64(), metadata=_remember(other, name, unit)), values
    numbers = stamps.in_unit()
    if stamps.doubles is not None or np.array_equal(numbers / (1e9 / scale), values, equal_nan=True):
        return pa.field(name, pa.float64(), metadata=_remember(name, name, unit)), numbers
    other = time_name(name, "s")
    return pa.field(other, pa.float64(), metadata=_remember(other, name, unit)), values


def _remember(name: str, original: str, unit: str) -> dict[bytes, bytes] | None:
    if name == original and meaning(name).unit == unit:
        return None
    if name == original:
        return {_UNIT_KEY: unit.encode()}
    return {_NAME_KEY: original.encode(), _UNIT_KEY: unit.encode()}
