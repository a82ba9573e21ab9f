# SPDX-License-Identifier: Apache-2.0
"""The errors of the command: what they mean for the exit code, and the shape of their messages."""

from __future__ import annotations


class ToolError(Exception):
    """An error that is told in one line, without a traceback.

    The message reads ``file:row: what is there; what was expected; which option helps``.
    """

    exit_code = 1


class DataError(ToolError):
    """The data are wrong or cannot be read."""

    exit_code = 1


class UsageError(ToolError):
    """The command was asked for something that cannot be."""

    exit_code = 2
