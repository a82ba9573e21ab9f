# SPDX-License-Identifier: Apache-2.0
"""How names, numbers and tables look in messages and reports."""

from __future__ import annotations

import difflib
import re
from collections.abc import Iterable, Sequence

SHOWN_LENGTH = 60


def printable(text: str) -> str:
    """The text without control characters: a file may hold anything, a terminal must not obey it."""
    return "".join(character if character.isprintable() else "?" for character in text)


def quoted(name: str) -> str:
    """A name from a file as messages show it: printable, not too long, in quotes."""
    shown = printable(name)
    return f"'{shown[:SHOWN_LENGTH]}...'" if len(shown) > SHOWN_LENGTH else f"'{shown}'"


def count(number: int, noun: str) -> str:
    """A number with its noun in the right number: "1 row", "2,000 rows"."""
    return f"{number:,} {noun}" if number == 1 else f"{number:,} {noun}s"


def listed(names: Sequence[str], most: int = 5) -> str:
    """The first names of a list, and how many there are more."""
    text = ", ".join(quoted(name) for name in names[:most])
    return f"{text} and {len(names) - most} more" if len(names) > most else text


def named(names: Sequence[str], most: int) -> str:
    """As `listed`, with quotes only around names that would not stand alone, for lists in tables."""
    shown = [name if re.fullmatch(r"[\w./-]+", name) and len(name) <= SHOWN_LENGTH else quoted(name) for name in names]
    text = ", ".join(shown[:most])
    return f"{text} and {len(names) - most} more" if len(names) > most else text


def nearest(name: str, names: Iterable[str]) -> str:
    """ "; did you mean 'NAME'?" for the most similar name, or nothing."""
    found = difflib.get_close_matches(name, list(names), n=1, cutoff=0.5)
    return f"; did you mean {quoted(found[0])}?" if found else ""


def seconds_text(stamp: float | int) -> str:
    """A time stamp in seconds, to its last digit: integers are nanoseconds, floats are seconds."""
    stamp = getattr(stamp, "item", lambda: stamp)()  # numpy's numbers as Python's
    if isinstance(stamp, int):
        whole, rest = divmod(abs(stamp), 1_000_000_000)
        text = f"{whole}.{rest:09d}".rstrip("0").rstrip(".")
        return f"-{text}" if stamp < 0 else text
    return f"{stamp!r}".removesuffix(".0")


def short(value: float | None) -> str:
    """A number for a table: six digits, and no sign of a zero; None, as JSON has it, is not finite."""
    return "not finite" if value is None else f"{value + 0.0:.6g}"


def size_text(size: float) -> str:
    """A size in bytes, with a unit that suits it."""
    for unit in ("bytes", "kB", "MB", "GB", "TB", "PB"):
        if size < 1000.0 or unit == "PB":
            return f"{size:.0f} {unit}" if unit == "bytes" else f"{size:.3g} {unit}"
        size /= 1000.0
    raise AssertionError


def table(head: Sequence[str], rows: Iterable[Sequence[str]], indent: str = "  ") -> list[str]:
    """Lines of aligned columns, the first flush left and the others flush right."""
    lines = [list(head), *(list(row) for row in rows)]
    widths = [max(len(line[column]) for line in lines) for column in range(len(head))]
    return [
        (
            indent
            + "  ".join(
                [
                    line[0].ljust(widths[0]),
                    *(cell.rjust(width) for cell, width in zip(line[1:], widths[1:], strict=True)),
                ]
            )
        ).rstrip()
        for line in lines
    ]
