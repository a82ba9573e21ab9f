# SPDX-License-Identifier: Apache-2.0
"""A browser, and reports opened in it."""

from __future__ import annotations

import shutil
from collections.abc import Iterator
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any

import pytest
from report_sample import sample_data
from velmora.tools.report import build

ARGUMENTS = [
    *("--headless", "--no-sandbox", "--disable-gpu", "--disable-background-networking", "--disable-component-update"),
    *("--disable-sync", "--no-first-run"),
]
DESKTOP = {"width": 1400, "height": 900}


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


@pytest.fixture(scope="module")
def browser() -> Iterator[Any]:
    playwright = pytest.importorskip("playwright.sync_api", reason="needs what python/requirements/browser.in names")
    chromium_path = shutil.which("chromium")
    if chromium_path is None:
        pytest.skip("needs chromium; ./scripts/setup browser installs it")
    with playwright.sync_playwright() as driver:
        chromium = driver.chromium.launch(executable_path=chromium_path, args=ARGUMENTS)
        yield chromium
        chromium.close()


@pytest.fixture(scope="module")
def file(tmp_path_factory: pytest.TempPathFactory) -> Path:
    path = tmp_path_factory.mktemp("report") / "report.html"
    path.write_bytes(build(sample_data()))
    return path


@pytest.fixture
def opening(browser: Any) -> Iterator[Any]:
    contexts = []

    def open_report(path: Path, viewport: dict[str, int] = DESKTOP, scheme: str = "light", **options: Any) -> Opened:
        context = browser.new_context(viewport=viewport, color_scheme=scheme, **options)
        contexts.append(context)
        opened = Opened(context.new_page())
        opened.page.on("console", lambda message: opened.said.append(message.text))
        opened.page.on("pageerror", lambda error: opened.said.append(str(error)))
        opened.page.on("request", lambda request: opened.asked.append(request.url))
        opened.page.goto(path.as_uri())
        opened.page.wait_for_function("document.documentElement.dataset.ready")
        opened.settle()
        assert opened.page.evaluate("document.documentElement.dataset.ready") == "yes"
        return opened

    yield open_report
    for context in contexts:
        context.close()
