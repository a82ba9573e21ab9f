# SPDX-License-Identifier: Apache-2.0
"""Pieces of HTML. Whatever comes from a file or a command line passes through `escaped`."""

from __future__ import annotations

import html
import unicodedata
from collections.abc import Iterable, Sequence

from velmora.tools.report.data import Fact, Quantity, Table

LONGEST = 2000  # characters of one text; more is cut, since a hostile name may have millions


def clean(text: str) -> str:
    """The text without control and formatting characters (which can turn the reading direction), and not endless."""
    if len(text) > LONGEST:
        text = text[:LONGEST] + "…"
    return "".join("\N{REPLACEMENT CHARACTER}" if unicodedata.category(c) in ("Cc", "Cf", "Cs") else c for c in text)


def escaped(text: str) -> str:
    """The text as HTML, for contents and for quoted attributes."""
    return html.escape(clean(text))


def number(value: float) -> str:
    """A number with six significant digits."""
    return f"{value:.6g}"


def goto(text: str, joint: int | None, quantity: Quantity | str, start_s: float, end_s: float, at_s: float) -> str:
    """A button that zooms the curves to a span of time."""
    where = "" if joint is None else str(joint)
    return (
        f'<button type="button" class="goto" data-joint="{where}" data-quantity="{escaped(quantity)}" '
        f'data-from="{start_s!r}" data-to="{end_s!r}" data-at="{at_s!r}">{escaped(text)}</button>'
    )


def rows(cells: Iterable[Sequence[str]], columns: Sequence[str], caption: str = "", tall: bool = False) -> str:
    """A table of cells that are HTML already; the first cell of a row is its heading. A tall one scrolls in itself."""
    head = "".join(f'<th scope="col">{escaped(column)}</th>' for column in columns)
    body = "".join(
        f'<tr><th scope="row">{row[0]}</th>{"".join(f"<td>{text}</td>" for text in row[1:])}</tr>' for row in cells
    )
    name = f"<caption>{escaped(caption)}</caption>" if caption else ""
    kind = "scroll tall" if tall else "scroll"
    return (
        f'<div class="{kind}" tabindex="0" role="group" aria-label="{escaped(caption or columns[0])}">'
        f"<table>{name}<thead><tr>{head}</tr></thead><tbody>{body}</tbody></table></div>"
    )


def table(given: Table) -> str:
    """A table of plain texts."""
    return rows(([escaped(text) for text in row] for row in given.rows), given.columns)


def facts(given: Sequence[Fact]) -> str:
    """A list of names and values, and where each value comes from; one without a name goes on from the one before."""
    lines: list[str] = []
    for fact in given:
        origin = f' <span class="origin">{escaped(fact.origin)}</span>' if fact.origin else ""
        name = f"</div><div><dt>{escaped(fact.name)}</dt>" if fact.name or not lines else ""
        lines.append(f"{name}<dd>{escaped(fact.value)}{origin}</dd>")
    return f'<dl class="facts">{"".join(lines).removeprefix("</div>")}</div></dl>'


def section(title: str, body: str, identifier: str = "") -> str:
    """A part of the page; nothing where there is no body."""
    if not body:
        return ""
    name = f' id="{identifier}"' if identifier else ""
    return f"<section{name}><h2>{escaped(title)}</h2>{body}</section>"
