# SPDX-License-Identifier: Apache-2.0
"""The errors of the command: what they mean for the exit code, and the shape of their messages."""

from __future__ import annotations

from velmora.tools.text import printable


class ToolError(Exception):
    """An error that is told in one line, without a traceback.

    The message reads ``file:row: what is there; what was expected; which option helps``.
    """

    exit_code = 1

    def __init__(self, message: str) -> None:
        """Take the message; what a file or a library put into it reaches a terminal without control characters."""
        super().__init__(printable(message))


class DataError(ToolError):
    """The data are wrong or cannot be read."""

    exit_code = 1


class UsageError(ToolError):
    """The command was asked for something that cannot be."""

    exit_code = 2
