# SPDX-License-Identifier: Apache-2.0
"""Limits from the URDF of a robot: positions and velocities; there are no accelerations in it."""

from __future__ import annotations

from xml.parsers import expat

from velmora.tools.errors import DataError
from velmora.tools.operations.limits import LimitsFile
from velmora.tools.text import quoted

TURNING = ("revolute", "prismatic")


def read_urdf(path: str, content: bytes) -> LimitsFile:
    """Read `<limit>` of every joint that moves; a continuous joint has no limits of position.

    Entities are refused where they are declared, so that none is ever expanded.
    """
    reader = _Reader(path)
    try:
        reader.parser.Parse(content, True)
    except expat.ExpatError as error:
        raise DataError(f"{path}:{error.lineno}: {expat.ErrorString(error.code)}; a URDF was expected") from error
    except (ValueError, LookupError) as error:
        raise DataError(f"{path}:1: its encoding cannot be read: {error}; UTF-8 was expected") from error
    return reader.limits


class _Reader:
    def __init__(self, path: str) -> None:
        self.limits = LimitsFile(path)
        self.parser = expat.ParserCreate()
        self.parser.StartElementHandler = self._start
        self.parser.EndElementHandler = self._end
        self.parser.EntityDeclHandler = self._entity
        self._elements: list[str] = []
        self._joint: tuple[str, str] | None = None

    def _entity(self, name: str, *_: object) -> None:
        raise DataError(
            f"{self.limits.path}:{self.parser.CurrentLineNumber}: the entity {quoted(name)} is declared; a URDF "
            "without entities was expected"
        )

    def _start(self, name: str, attributes: dict[str, str]) -> None:
        self._elements.append(name)
        if self._elements == ["robot", "joint"]:
            self._joint = (attributes.get("name", ""), attributes.get("type", ""))
            # A joint that turns or slides without the <limit> that the format demands is none that the file limits.
            if self._joint[1] == "continuous":
                self.limits.joints.setdefault(self._joint[0], {})
        elif self._elements == ["robot", "joint", "limit"] and self._joint is not None:
            self._limit(*self._joint, attributes)

    def _end(self, name: str) -> None:
        self._elements.pop()

    def _limit(self, joint: str, kind: str, attributes: dict[str, str]) -> None:
        line = self.parser.CurrentLineNumber
        if kind in TURNING:
            # An attribute that is left out is 0, as the format says, and 0 is a limit.
            self.limits.add(
                joint,
                "position",
                self._number(attributes.get("lower", "0")),
                self._number(attributes.get("upper", "0")),
                line,
            )
        if kind in (*TURNING, "continuous") and "velocity" in attributes:
            velocity = self._number(attributes["velocity"])
            self.limits.add(joint, "velocity", -velocity, velocity, line)

    def _number(self, text: str) -> float:
        try:
            return float(text)
        except ValueError:
            hint = "; xacro expands such expressions" if "${" in text else ""
            raise DataError(
                f"{self.limits.path}:{self.parser.CurrentLineNumber}: {quoted(text)} is not a number; a number was "
                f"expected{hint}"
            ) from None
