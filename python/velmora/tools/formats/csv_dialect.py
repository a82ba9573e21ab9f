# SPDX-License-Identifier: Apache-2.0
"""Recognises how a text writes its table: separator, decimal mark, header, comments."""

from __future__ import annotations

import csv
import re
from collections.abc import Iterator, Sequence
from dataclasses import dataclass

from velmora.tools.errors import DataError
from velmora.tools.formats.plan import check_width

NUMBER = re.compile(r"[+-]?(?:\d+\.?\d*|\.\d+)(?:[eE][+-]?\d+)?|[+-]?(?:nan|inf|infinity)", re.IGNORECASE)
EMPTY_CELLS = ("", "NA", "N/A", "null", "NULL", "None")
COMMENT_MARKS = ("#", "%", "//")
# All of a line before its comment; marks inside quotes are none.
_DATA = re.compile(r'(?:"[^"]*"|[^"#%/]|/(?!/)|")*')
_HEADER = re.compile(r'(?:"[^"]*"|[^"\s]|\s(?!#|//|%\s)|")*')
_SPREADSHEET_HINT = re.compile(r"sep=.", re.IGNORECASE)  # a first line that names the separator
MAX_LINE = 1 << 20
_SEPARATOR_NAMES = {",": "comma", ";": "semicolon", "\t": "tab", " ": "blanks", "": "none"}
_SAMPLE_LINES = 50


@dataclass(frozen=True)
class Dialect:
    """How a text writes its table.

    Attributes
    ----------
    separator
        Between cells; " " stands for runs of blanks and tabs, "" for a table of one column.
    decimal
        "." or ",".
    names
        The header, with the units of a line below it; None without header.
    first_line
        Index of the first line with data, counted from 0.
    sample
        The cells of the first lines with data.
    """

    separator: str
    decimal: str
    names: tuple[str, ...] | None
    first_line: int
    sample: tuple[tuple[str, ...], ...]
    comments: int

    @property
    def width(self) -> int:
        """Number of columns."""
        return len(self.names) if self.names is not None else len(self.sample[0])

    @property
    def decimal_point(self) -> bytes:
        """What a comma becomes when the table is brought into plain form."""
        return b"." if self.decimal == "," else b","

    @property
    def plain_separator(self) -> str:
        """The separator of the plain form: a comma for everything but plain tables with another one."""
        return "," if self.separator in (" ", "") or self.decimal == "," else self.separator

    def text(self) -> str:
        """What is printed about it."""
        parts = [
            f"separator {_SEPARATOR_NAMES[self.separator]}",
            "decimal comma" if self.decimal == "," else "decimal point",
            "with header" if self.names is not None else "without header",
        ]
        if self.comments:
            parts.append(
                f"{self.comments} lines of comments first" if self.comments > 1 else "a line of comments first"
            )
        return ", ".join(parts)

    def is_number(self, cell: str) -> bool:
        """Whether the cell is a number in this dialect."""
        return NUMBER.fullmatch(cell if self.decimal == "." else cell.replace(",", ".")) is not None


def without_comment(line: str, *, header: bool) -> str:
    """A line up to its comment. In a header a blank stands before the mark, as a name may hold one: ``load [%]``."""
    found = (_HEADER if header else _DATA).match(line)
    return line if found is None or found.end() == len(line) else line[: found.end()].rstrip()


def is_comment(line: str) -> bool:
    """Whether the line, without blanks around it, is a comment."""
    return line.startswith(COMMENT_MARKS)


def holds_comment(name: str, separator: str) -> bool:
    """Whether a part of the name would be taken for a comment, were it not quoted in a header."""
    cell = name + separator
    return is_comment(name) or without_comment(cell, header=True) != cell


def split(line: str, separator: str) -> list[str]:
    """The cells of a line, without quotes and blanks around them."""
    if separator == "":
        cells = [line]
    elif separator == " ":
        cells = (
            next(csv.reader([re.sub(r"\s+", " ", line.strip())], delimiter=" "), []) if '"' in line else line.split()
        )
    elif '"' in line:
        cells = next(csv.reader([line], delimiter=separator, skipinitialspace=True), [])
    else:
        cells = line.split(separator)
    return [cell.strip() for cell in cells]


def recognise(source: str, head: str, whole: bool) -> Dialect:
    """Recognise the dialect by the first lines of a text.

    Parameters
    ----------
    head
        The first part of the text, line ends as ``\\n``.
    whole
        Whether that is all of the text.

    Raises
    ------
    DataError
        Without any line of data, with a line that is too long, or wider than any table of joints.
    """
    comments = []
    data: list[tuple[int, str]] = []
    for index, line in enumerate(_lines(head, whole)):
        if line is None or (len(line) > MAX_LINE and index < _SAMPLE_LINES):
            text = head if line is None else line
            columns = 1 + text.count(",") + text.count(";") + text.count("\t")
            check_width(source, columns, row=index + 1, whole=line is not None)
            raise DataError(
                f"{source}:{index + 1}: a line is longer than {MAX_LINE:,} characters; lines of numbers were expected"
            )
        line = line.strip(" \r\v\f")
        if not line.strip() or (index == 0 and _SPREADSHEET_HINT.fullmatch(line)):
            continue
        if is_comment(line):
            if not data:
                comments.append(line)
            continue
        data.append((index, without_comment(line, header=not data)))
        if len(data) == _SAMPLE_LINES:
            break
    if not data:
        raise DataError(f"{source}: there are no lines of data; a table of numbers was expected")
    texts = [line for _, line in data]
    separator = _separator(texts)
    check_width(source, texts[0].count(separator) + 1 if separator else 1, row=data[0][0] + 1)
    rows = [split(line, separator) for line in texts]
    # The rows below a header and its units show what numbers look like.
    decimal = "," if separator not in (",", "") and _has_decimal_commas(rows[min(2, len(rows) - 1) :]) else "."
    return _with_header(Dialect(separator, decimal, None, data[0][0], (), len(comments)), data, rows, comments)


def _lines(head: str, whole: bool) -> Iterator[str | None]:
    """The lines, found one by one since the first few tell the dialect; None where not even one is complete."""
    start = 0
    while (end := head.find("\n", start)) >= 0:
        yield head[start:end]
        start = end + 1
    if whole:
        yield head[start:]  # otherwise it may be cut
    elif start == 0:
        yield None


def _separator(lines: Sequence[str]) -> str:
    """The first separator that stands in every line equally often; most strict first."""
    body = lines[1:] or lines
    for candidate in (";", "\t", ","):
        counts = {len(split(line, candidate)) for line in body}
        if len(counts) == 1 and counts.pop() > 1:
            return candidate
    for candidate in (";", "\t", ","):  # uneven lines: a fault to be reported later, with its row
        if sum(candidate in line for line in lines) * 2 > len(lines):
            return candidate
    return " " if any(len(line.split()) > 1 for line in body) else ""


def _has_decimal_commas(rows: Sequence[Sequence[str]]) -> bool:
    with_comma = re.compile(r"[+-]?\d*,\d+(?:[eE][+-]?\d+)?")
    cells = [cell for row in rows for cell in row]
    return any(with_comma.fullmatch(cell) for cell in cells) and not any(
        "." in cell for cell in cells if NUMBER.fullmatch(cell)
    )


def _with_header(
    dialect: Dialect, data: Sequence[tuple[int, str]], rows: Sequence[list[str]], comments: Sequence[str]
) -> Dialect:
    """Tell the header from the data: it has fewer numbers than the line below it."""

    def numbers(row: Sequence[str]) -> int:
        return sum(dialect.is_number(cell) for cell in row)

    start, names = 0, None
    texts = sum(not dialect.is_number(cell) for cell in rows[0])
    if texts and (numbers(rows[0]) == 0 or (len(rows) > 1 and numbers(rows[0]) < numbers(rows[1]))):
        start, names = 1, list(rows[0])
        if len(rows) > 2 and numbers(rows[1]) == 0 < numbers(rows[2]) and len(rows[1]) == len(names) and any(rows[1]):
            start = 2
            names = [
                f"{name} [{unit.strip('[]()')}]" if unit else name for name, unit in zip(names, rows[1], strict=True)
            ]
    elif comments:
        said = split(comments[-1].lstrip("#%/ \t"), dialect.separator)
        if len(said) == len(rows[0]) and numbers(said) == 0:
            names = said
    if names is not None and start < len(rows) and len(rows[start]) == len(names) + 1 and rows[start][-1] == "":
        names.append("")  # every line of data ends with a separator, the header does not
    first_line = data[start][0] if start < len(data) else data[-1][0] + 1
    return Dialect(
        dialect.separator,
        dialect.decimal,
        None if names is None else tuple(names),
        first_line,
        tuple(map(tuple, rows[start:])),
        dialect.comments,
    )
