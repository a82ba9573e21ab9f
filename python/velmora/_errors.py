# SPDX-License-Identifier: Apache-2.0
"""The exception of the library."""

from __future__ import annotations


class InvalidArgumentError(ValueError):
    """An argument breaks a rule of the library; the message is one fixed sentence per rule.

    Parameters
    ----------
    message : str
        The sentence.
    argument_name : str, optional
        Name of the offending parameter.

    Attributes
    ----------
    argument_name : str or None
        Name of the offending parameter, for `smootherstep`, `samples` and `rate_hz`; other errors tell it by their
        sentence alone.
    code : int
        Category of the error; 0 for every error of this library.

    Examples
    --------
    >>> import velmora as vm
    >>> try:
    ...     vm.smootherstep(float("nan"))
    ... except vm.InvalidArgumentError as error:
    ...     print(error, error.argument_name, error.code, sep="; ")
    unit_progress must be finite; unit_progress; 0
    """

    argument_name: str | None
    code: int

    def __init__(self, message: str, argument_name: str | None = None) -> None:
        super().__init__(message)
        self.argument_name = argument_name
        self.code = 0
