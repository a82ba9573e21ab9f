# SPDX-License-Identifier: Apache-2.0
"""What the commands declare their options with, and judge them by."""

from __future__ import annotations

import math
from collections.abc import Callable
from typing import Any, TypeVar

import click

from velmora.tools import formats
from velmora.tools.errors import UsageError

Function = TypeVar("Function", bound=Callable[..., Any])

PICTURES = ("png", "svg", "pdf")
_PICTURE_SUFFIXES = tuple(f".{kind}" for kind in PICTURES)


class FiniteRange(click.FloatRange):
    """A finite number within bounds: of the comparisons with NaN none would refuse it."""

    def convert(self, value: Any, param: click.Parameter | None, ctx: click.Context | None) -> Any:
        """Refuse what is not finite, then what is out of bounds."""
        number = click.FLOAT.convert(value, param, ctx)
        if not math.isfinite(number):
            self.fail(f"{number} is not a finite number.", param, ctx)
        return super().convert(number, param, ctx)


def with_options(function: Function, options: tuple[Callable[[Function], Function], ...]) -> Function:
    """Add options to a command, in this order of its help."""
    for option in reversed(options):
        function = option(function)
    return function


def refuse_picture(name: str | None, option: str = "") -> None:
    """Find out before the work whether such a picture can be drawn."""
    if name is not None and not name.lower().endswith(_PICTURE_SUFFIXES):
        raise UsageError(f"{option}{name}: no picture has such a suffix; .png, .svg or .pdf was expected")


def refuse_report(name: str | None, option: str = "") -> None:
    """Refuse a report whose name would be taken for a picture or a recording."""
    if name is not None and name.lower().endswith(_PICTURE_SUFFIXES + formats.suffixes()):
        raise UsageError(f"{option}{name}: a report has no such suffix; .html was expected")
