# SPDX-License-Identifier: Apache-2.0
"""What is known about a bag while it is read: its topics, how many messages it promises, and what is wrong with it."""

from __future__ import annotations

from collections.abc import Callable
from dataclasses import dataclass, field

from velmora.tools.formats.bag_decode import Channel

_MOST_TOPICS = 10_000


@dataclass
class Contents:
    """Topics, counts and problems of one file.

    Attributes
    ----------
    wanted
        Whether a channel's messages are to be decoded.
    channels
        By their number in the file.
    promised
        Messages of each channel, as the file's index or statistics say.
    found
        Messages of each channel that were there.
    """

    wanted: Callable[[Channel], bool]
    channels: dict[int, Channel] = field(default_factory=dict)
    promised: dict[int, int] = field(default_factory=dict)
    found: dict[int, int] = field(default_factory=dict)
    problems: list[str] = field(default_factory=list)

    def add(self, channel: Channel) -> None:
        """Take note of a topic; the first description counts."""
        if len(self.channels) < _MOST_TOPICS:
            self.channels.setdefault(channel.id, channel)

    def counted(self, channel: int, messages: int) -> bool:
        """Count messages; whether they are wanted."""
        self.found[channel] = self.found.get(channel, 0) + messages
        known = self.channels.get(channel)
        return known is not None and self.wanted(known)

    def problem(self, text: str) -> None:
        """Take note of something wrong, once; the first ten are enough."""
        if text not in self.problems and len(self.problems) < 10:
            self.problems.append(text)
