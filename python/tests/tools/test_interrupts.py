# SPDX-License-Identifier: Apache-2.0
"""Stops that come while something short must come to its end."""

from __future__ import annotations

import signal
from collections.abc import Iterator

import pytest
from velmora.tools.interrupts import undisturbed


@pytest.fixture(autouse=True)
def interrupts_are_heard() -> Iterator[None]:
    """Whoever runs these tests may ignore interrupts, as a shell does for what it starts in the background."""
    before = signal.signal(signal.SIGINT, signal.default_int_handler)
    yield
    signal.signal(signal.SIGINT, before)


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
