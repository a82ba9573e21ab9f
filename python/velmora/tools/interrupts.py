# SPDX-License-Identifier: Apache-2.0
"""Interrupts and requests to stop, and what they may not cut short."""

from __future__ import annotations

import contextlib
import signal
import sys
import threading
from collections.abc import Callable, Iterator
from types import FrameType
from typing import Any

STOPS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)

_Handler = Callable[[int, FrameType | None], Any] | int | None


def ignore_stops() -> None:
    """Ignore them from now on."""
    _handle_stops(signal.SIG_IGN)


@contextlib.contextmanager
def undisturbed() -> Iterator[None]:
    """Let what is short come to its end: who asks to stop meanwhile is heard after it.

    Who asks again while the command stops is not: people press Ctrl-C more than once.
    """
    asked: list[int] = []
    before = _handle_stops(lambda number, frame: asked.append(number))
    try:
        yield
    finally:
        for number, handler in before.items():
            signal.signal(number, signal.SIG_DFL if handler is None else handler)
        if asked and not isinstance(sys.exc_info()[1], (KeyboardInterrupt, SystemExit)):
            signal.raise_signal(asked[0])


def _handle_stops(handler: _Handler) -> dict[signal.Signals, _Handler]:
    """What was done about them before. No signal comes to a thread beside the main one."""
    if threading.current_thread() is not threading.main_thread():
        return {}
    return {number: signal.signal(number, handler) for number in STOPS}
