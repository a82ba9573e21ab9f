# SPDX-License-Identifier: Apache-2.0
"""Interrupts and requests to stop, and what they may not cut short."""

from __future__ import annotations

import contextlib
import signal
import threading
from collections.abc import Callable, Iterator
from types import FrameType
from typing import Any

STOPS = (signal.SIGINT, signal.SIGTERM, signal.SIGHUP)

_Handler = Callable[[int, FrameType | None], Any] | int | None


def ignore_stops() -> dict[signal.Signals, _Handler]:
    """Ignore them from now on; what was done about them before. No signal comes to a thread beside the main one."""
    if threading.current_thread() is not threading.main_thread():
        return {}
    return {number: signal.signal(number, signal.SIG_IGN) for number in STOPS}


@contextlib.contextmanager
def undisturbed() -> Iterator[None]:
    """Let what cleans up come to its end: people press Ctrl-C more than once."""
    before = ignore_stops()
    try:
        yield
    finally:
        for number, handler in before.items():
            signal.signal(number, signal.SIG_DFL if handler is None else handler)
