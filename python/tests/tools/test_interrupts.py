# SPDX-License-Identifier: Apache-2.0
"""Stops that come while something short must come to its end."""

from __future__ import annotations

import signal

import pytest
from velmora.tools.interrupts import undisturbed


def test_an_interrupt_waits_for_the_end_and_is_not_lost() -> None:
    steps = []
    with pytest.raises(KeyboardInterrupt):  # where it comes from is what is tested
        with undisturbed():
            signal.raise_signal(signal.SIGINT)
            signal.raise_signal(signal.SIGINT)
            steps.append("within")
        steps.append("after")
    assert steps == ["within"]
    assert signal.getsignal(signal.SIGINT) is signal.default_int_handler


def test_a_second_interrupt_changes_nothing() -> None:
    steps = []
    try:
        raise KeyboardInterrupt
    except KeyboardInterrupt:
        with undisturbed():
            signal.raise_signal(signal.SIGINT)
        steps.append("cleaned up")
    assert steps == ["cleaned up"]


def test_an_error_of_its_own_comes_through() -> None:
    with pytest.raises(OSError, match="full"), undisturbed():
        raise OSError("full")
