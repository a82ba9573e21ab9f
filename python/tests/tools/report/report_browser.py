# SPDX-License-Identifier: Apache-2.0
"""A report that is open in the browser: waiting, reading, pointing."""

from __future__ import annotations

import time
from dataclasses import dataclass, field
from typing import Any


def wait(page: Any, expression: str) -> None:
    """Wait until an expression holds; the page's policy forbids the driver's own way, which is `eval`."""
    deadline = time.monotonic() + 30
    while not page.evaluate(expression):
        assert time.monotonic() < deadline, f"{expression} does not hold after 30 s"
        page.wait_for_timeout(20)


@dataclass
class Opened:
    """A report in the browser, and what it said and asked for."""

    page: Any
    said: list[str] = field(default_factory=list)
    asked: list[str] = field(default_factory=list)

    def view(self) -> tuple[float, float]:
        found = self.page.evaluate("[velmoraReport.view.from, velmoraReport.view.to]")
        return found[0], found[1]

    def settle(self) -> None:
        self.page.evaluate(
            "new Promise(done => requestAnimationFrame(() => requestAnimationFrame(() => requestAnimationFrame(done))))"
        )
        wait(self.page, "!velmoraReport.waiting && !velmoraReport.pointing")

    def ink(self, chart: int) -> int:
        """How many pixels of a chart are not empty."""
        found = self.page.evaluate(
            """(chart) => {
              const canvas = document.querySelectorAll(".chart canvas")[chart];
              const data = canvas.getContext("2d").getImageData(0, 0, canvas.width, canvas.height).data;
              let count = 0;
              for (let i = 3; i < data.length; i += 4) count += data[i] > 0;
              return count;
            }""",
            chart,
        )
        return int(found)

    def over(self, chart: int, share: float) -> tuple[float, float]:
        """A point in the middle of a chart's height, at a share of its width."""
        area = self.page.locator("#charts .u-over").nth(chart)
        area.scroll_into_view_if_needed()
        box = area.bounding_box()
        return box["x"] + share * box["width"], box["y"] + box["height"] / 2
