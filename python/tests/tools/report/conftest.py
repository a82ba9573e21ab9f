# SPDX-License-Identifier: Apache-2.0
"""A browser, and reports opened in it."""

from __future__ import annotations

import shutil
from collections.abc import Iterator
from pathlib import Path
from typing import Any

import pytest
from report_browser import Opened, wait
from report_sample import sample_data
from velmora.tools.report import build

ARGUMENTS = [
    *("--headless", "--no-sandbox", "--disable-gpu", "--disable-background-networking", "--disable-component-update"),
    *("--disable-sync", "--no-first-run"),
]
DESKTOP = {"width": 1400, "height": 900}


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
        wait(opened.page, "document.documentElement.dataset.ready")
        opened.settle()
        assert opened.page.evaluate("document.documentElement.dataset.ready") == "yes"
        return opened

    yield open_report
    for context in contexts:
        context.close()
