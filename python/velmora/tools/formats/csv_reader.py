# SPDX-License-Identifier: Apache-2.0
"""Reads CSV, TSV and tables of blanks: whatever the dialect, it is brought into the form that Arrow reads exactly."""

from __future__ import annotations

import re
from itertools import pairwise
from typing import TYPE_CHECKING

import numpy as np
from numpy.typing import NDArray

from velmora.tools.errors import DataError
from velmora.tools.formats import addresses, arrow_columns, csv_dialect, text_numbers, text_times
from velmora.tools.formats.csv_dialect import COMMENT_MARKS, EMPTY_CELLS, Dialect
from velmora.tools.formats.plan import Field, Plan, plan
from velmora.tools.options import ReadOptions
from velmora.tools.recording import Note, Recording
from velmora.tools.text import count, quoted

if TYPE_CHECKING:
    import pyarrow as pa

_HEAD = 4 * csv_dialect.MAX_LINE
_BLOCK = 4 * 2**20


def read(path: str, options: ReadOptions) -> list[Recording]:
    """Read a table in text.

    Raises
    ------
    DataError
        "SOURCE:LINE: ..." for cells that are no numbers, lines with too few or too many cells, and files that are no
        tables at all.
    """
    source = "standard input" if path == "-" else path
    return parse(source, addresses.content(path), options)


def parse(source: str, data: bytes, options: ReadOptions) -> list[Recording]:
    """Read a table from its bytes."""
    import pyarrow as pa

    data = _utf8(source, data)
    head = data[:_HEAD].replace(b"\r\n", b"\n").replace(b"\r", b"\n").decode("utf-8", "replace")
    dialect = csv_dialect.recognise(source, head, len(data) <= _HEAD)
    told_by = "its name" if dialect.names is not None else "its rising numbers"
    fields = [
        Field(name, _is_numeric(dialect, index), told_by=told_by, empty=_is_empty(dialect, index))
        for index, name in enumerate(_names(dialect))
    ]
    chosen = plan(source, fields, options)
    start = _line_start(data, dialect.first_line)
    types = _types(dialect, chosen)
    table, rows = _table(source, data, start, dialect, types)
    stamps, why = arrow_columns.stamps_at_rate(options.rate_hz, len(rows)), ""
    if options.rate_hz is None and chosen.time:
        found = text_times.stamps(source, dialect, chosen, table, rows)
        if found is None:
            types[str(chosen.time[0])] = pa.string()
            table, rows = _table(source, data, start, dialect, types)
            found = text_times.stamps(source, dialect, chosen, table, rows)
            assert found is not None
        stamps, why = found
    notes = [Note("dialect", dialect.text()), *chosen.notes]
    if why:
        notes = [Note(note.key, f"{note.text}, in {why}") if note.key == "time" else note for note in notes]
    notes += text_numbers.notes(
        chosen,
        table,
        lambda fields: _table(source, data, start, dialect, {str(index): pa.string() for index in fields})[0],
    )
    whole = arrow_columns.recording(source, "csv", chosen, stamps, table.to_batches(), rows, notes)
    if chosen.group is None:
        return [whole]
    return arrow_columns.groups(whole, fields[chosen.group].name, table.column(str(chosen.group)))


def _utf8(source: str, data: bytes) -> bytes:
    """The text as UTF-8 without a mark of its byte order."""
    if data.startswith(b"\xef\xbb\xbf"):
        return data[3:]
    if data.startswith((b"\xff\xfe", b"\xfe\xff")):
        return data.decode("utf-16", "replace").encode()
    if b"\0" in data[:_HEAD]:
        raise DataError(
            f"{source}:1: there are zero bytes; a table in text was expected; --input-format names another format"
        )
    return data


def _names(dialect: Dialect) -> list[str]:
    """Names of the columns; without a header the first is the clock if it rises, and the others are joints."""
    if dialect.names is not None:
        return list(dialect.names)
    width = len(dialect.sample[0])
    try:
        first = [float(row[0].replace(",", ".") if dialect.decimal == "," else row[0]) for row in dialect.sample]
    except (ValueError, IndexError):
        first = []
    if width > 1 and all(before < after for before, after in pairwise(first)) and first:
        return ["time", *(f"joint_{joint}" for joint in range(1, width))]
    return [f"joint_{joint}" for joint in range(1, width + 1)]


def _is_empty(dialect: Dialect, column: int) -> bool:
    return all(row[column] in EMPTY_CELLS for row in dialect.sample if column < len(row))


def _is_numeric(dialect: Dialect, column: int) -> bool:
    cells = [row[column] for row in dialect.sample if column < len(row) and row[column] not in EMPTY_CELLS]
    return (
        not cells
        or any(dialect.is_number(cell) for cell in cells)
        or (dialect.names is not None and any(re.match(r"\d{4}-\d\d-\d\d[ T]", cell) for cell in cells))
    )


def _line_start(data: bytes, line: int) -> int:
    """Where a line starts, counted from 0, whatever ends the lines."""
    position = 0
    end = re.compile(rb"\r\n|\r|\n")
    for _ in range(line):
        found = end.search(data, position)
        if found is None:
            return len(data)
        position = found.end()
    return position


def _table(
    source: str, data: bytes, start: int, dialect: Dialect, types: dict[str, pa.DataType]
) -> tuple[pa.Table, NDArray[np.int64]]:
    """The columns that have a type, and the line of each row."""
    import pyarrow as pa

    first = dialect.first_line + 1
    stop = len(data)
    while stop > start and data[stop - 1] in b" \t\r\n":
        stop -= 1
    while dialect.separator == "\t" and stop < len(data) and data[stop] in b" \t":
        stop += 1  # empty cells at the end of the last line
    if stop == start:
        return _empty(types), np.empty(0, np.int64)
    plain, start, stop = _plain(data, start, stop, dialect)
    # A line of comments is no line of numbers; only where the first column is not read as such can it go unnoticed.
    if types.get("0") == pa.float64() or not any(data.find(mark.encode(), start, stop) >= 0 for mark in COMMENT_MARKS):
        try:
            table = _arrow(pa.py_buffer(plain).slice(start, stop - start), dialect, types)
            # An empty line is a row of nothing to Arrow, and no row to an editor's user.
            if any(column.null_count == 0 for column in table.columns):
                return table, np.arange(first, first + len(table))
        except pa.ArrowException:
            pass  # comments, empty lines, blanks for empty cells, or a fault: line by line
    lines, rows = _without_comments(plain[start:stop], first, dialect)
    if not lines:
        return _empty(types), rows
    try:
        table = _arrow(pa.py_buffer(b"\n".join(lines)), dialect, types)
    except pa.ArrowException as error:
        raise _fault(source, data, lines, rows, dialect, types, error) from error
    if len(table) != len(rows):
        raise DataError(f"{source}: a quoted cell goes on over several lines; one line for each sample was expected")
    return table, rows


def _plain(data: bytes, start: int, stop: int, dialect: Dialect) -> tuple[bytes, int, int]:
    """The table with commas between cells and decimal points, line by line as before, and where it is in the bytes."""
    if dialect.separator != " " and dialect.decimal == ".":
        return data, start, stop
    body = data[start:stop]
    if dialect.separator == " ":
        body = body.replace(b"\t", b" ")
        while b"  " in body:
            body = body.replace(b"  ", b" ")
        body = body.replace(b"\n ", b"\n").replace(b" \n", b"\n").replace(b" \r", b"\r").strip(b" ")
    body = body.translate(bytes.maketrans(dialect.separator.encode() + b",", b"," + dialect.decimal_point))
    return body, 0, len(body)


def _types(dialect: Dialect, chosen: Plan) -> dict[str, pa.DataType]:
    """How to read each column that the plan wants: times that doubles cannot hold as text, all others as doubles."""
    import pyarrow as pa

    time = pa.float64() if len(chosen.time) == 1 and text_times.fits_doubles(dialect, chosen.time[0]) else pa.string()
    return {
        **{str(cell.field): pa.float64() for cells in chosen.cells.values() for cell in cells},
        **{str(index): time for index in chosen.time},
        **({} if chosen.group is None else {str(chosen.group): pa.string()}),
    }


def _empty(types: dict[str, pa.DataType]) -> pa.Table:
    import pyarrow as pa

    return pa.table({name: pa.array([], kind) for name, kind in types.items()})


def _arrow(plain: pa.Buffer, dialect: Dialect, types: dict[str, pa.DataType]) -> pa.Table:
    import pyarrow as pa
    from pyarrow import csv

    # In memory of pyarrow's own: its threads let go of the text after the table is there, and one that then asked an
    # interpreter that is about to end for its lock would end the process. After longer texts there is more to do.
    if plain.size <= _BLOCK:
        owned = pa.allocate_buffer(plain.size)
        np.frombuffer(owned, np.uint8)[:] = np.frombuffer(plain, np.uint8)
        plain = owned
    names = [str(index) for index in range(dialect.width)]
    return csv.read_csv(
        pa.BufferReader(plain),
        read_options=csv.ReadOptions(column_names=names, block_size=_BLOCK),
        parse_options=csv.ParseOptions(delimiter=dialect.plain_separator, ignore_empty_lines=False),
        convert_options=csv.ConvertOptions(
            include_columns=list(types),
            column_types=types,
            strings_can_be_null=True,
            null_values=list(EMPTY_CELLS),
            check_utf8=False,
        ),
    )


def _without_comments(plain: bytes, first: int, dialect: Dialect) -> tuple[list[bytes], NDArray[np.int64]]:
    """The lines that hold data, without blanks around their cells, and their numbers."""
    lines, rows = [], []
    for row, line in enumerate(plain.replace(b"\r\n", b"\n").replace(b"\r", b"\n").split(b"\n"), first):
        if b"#" in line or b"%" in line or b"//" in line:
            # Latin-1 gives every byte back.
            cut = csv_dialect.without_comment(line.decode("latin-1"), header=False).encode("latin-1")
            line = cut.rstrip(b",") if dialect.separator == " " and len(cut) < len(line) else cut
        line = line.strip(b" \r\v\f")
        if b" " in line:
            line = re.sub(rb" *([,;\t]) *", rb"\1", line)
        if line.strip():
            lines.append(line)
            rows.append(row)
    return lines, np.array(rows, np.int64)


def _fault(
    source: str,
    data: bytes,
    lines: list[bytes],
    rows: NDArray[np.int64],
    dialect: Dialect,
    types: dict[str, pa.DataType],
    error: Exception,
) -> DataError:
    """The first line that cannot be read, in words."""
    import pyarrow as pa

    names = _names(dialect)
    wanted = sorted(int(index) for index, kind in types.items() if kind == pa.float64())
    for line, row in zip(lines, rows, strict=True):
        if len(line) > csv_dialect.MAX_LINE:
            return DataError(
                f"{source}:{row}: the line has {len(line):,} bytes; at most {csv_dialect.MAX_LINE:,} were expected"
            )
        cells = csv_dialect.split(line.decode("utf-8", "replace"), dialect.plain_separator)
        if len(cells) != dialect.width:
            return DataError(
                f"{source}:{row}: there {'is' if len(cells) == 1 else 'are'} {count(len(cells), 'cell')}; "
                f"{dialect.width} were expected, as in line {dialect.first_line + (dialect.names is None)}"
            )
        for index in wanted:
            if cells[index] not in EMPTY_CELLS and not csv_dialect.NUMBER.fullmatch(cells[index]):
                written = _line(data, int(row), dialect)
                # A comma within a table of blanks parts a cell of the plain form, and not of the file.
                cell = written[index] if len(written) == len(cells) else cells[index]
                return DataError(
                    f"{source}:{row}: {quoted(cell)} in column {quoted(names[index])}; a number was "
                    "expected; --joints and --time-column choose columns"
                )
    return DataError(f"{source}: the table cannot be read: {str(error).splitlines()[0]}")


def _line(data: bytes, row: int, dialect: Dialect) -> list[str]:
    """The cells of a line as they are in the file."""
    line = data[_line_start(data, row - 1) : _line_start(data, row)].decode("utf-8", "replace")
    return csv_dialect.split(csv_dialect.without_comment(line.strip(), header=False), dialect.separator)
