# SPDX-License-Identifier: Apache-2.0
"""The built site as a browser sees it: links, requests, alternatives of pictures, accessibility, screenshots."""

import functools
import http.server
import re
import threading
from collections.abc import Iterator
from html.parser import HTMLParser
from pathlib import Path
from typing import Any
from urllib.parse import unquote, urldefrag, urljoin

import pytest
from playwright.sync_api import Browser, sync_playwright

ROOT = Path(__file__).parents[2]
SITE = ROOT / "build" / "docs" / "html"
PAGES = [page.relative_to(SITE).as_posix() for page in sorted(SITE.rglob("*.html")) if "_static" not in page.parts]
AXE = ROOT / "build" / "docs" / "npm" / "node_modules" / "axe-core" / "axe.min.js"
SIZES = {"telephone": (390, 844), "desktop": (1280, 900)}
QUIET = [
    "--no-sandbox",
    "--disable-gpu",
    "--disable-background-networking",
    "--disable-component-update",
    "--disable-sync",
]


class Page(HTMLParser):
    """The anchors, links and pictures of one page."""

    def __init__(self, text: str) -> None:
        super().__init__()
        self.anchors: set[str] = set()
        self.links: list[str] = []
        self.pictures_without_text: list[str] = []
        self.feed(text)

    def handle_starttag(self, tag: str, attrs: list[tuple[str, str | None]]) -> None:
        values = dict(attrs)
        if values.get("id"):
            self.anchors.add(values["id"] or "")
        if tag == "a" and values.get("href"):
            self.links.append(values["href"] or "")
        # Where a page gives no text, the name of the file stands in its place.
        if tag == "img" and (values.get("alt") or ".png").endswith((".png", ".svg")):
            self.pictures_without_text.append(values.get("src") or "")


@functools.cache
def parsed(name: str) -> Page:
    return Page((SITE / name).read_text(encoding="utf-8"))


def test_there_is_a_site() -> None:
    assert len(PAGES) > 30


@pytest.mark.parametrize("name", PAGES)
def test_links_lead_somewhere_and_pictures_have_text(name: str) -> None:
    broken = []
    for link in parsed(name).links:
        if "://" in link or link.startswith("mailto:"):
            continue
        target, anchor = urldefrag(urljoin(f"/{name}", link))
        path = unquote(target).lstrip("/")
        path = path + "index.html" if path.endswith("/") or not path else path
        if not (SITE / path).exists() or (
            anchor and path.endswith(".html") and unquote(anchor) not in parsed(path).anchors
        ):
            broken.append(link)
    assert broken == []
    assert parsed(name).pictures_without_text == []


@pytest.mark.parametrize("name", PAGES)
def test_no_markup_is_left_over(name: str) -> None:
    """A directive or a role in the wrong language is shown as it was written."""
    text = re.sub(r"<(pre|script|style)\b.*?</\1>", "", (SITE / name).read_text(encoding="utf-8"), flags=re.DOTALL)
    assert re.findall(r"\.\. \w+::|\{(?:ref|doc|eval-rst|cpp:any)\}|```|:::|\]\(\S+\.md\)", text) == []


def test_every_option_of_the_command_is_in_its_reference() -> None:
    from click import Context
    from velmora.tools.main import COMMANDS, commands

    page = (SITE / "reference" / "command.html").read_text(encoding="utf-8")
    for name in COMMANDS:
        command = commands.get_command(Context(commands), name)
        assert command is not None
        for parameter in command.params:
            for option in parameter.opts:
                if option.startswith("--"):
                    assert f'id="cmdoption-velmora-{name}-{option.strip("-")}"' in page, f"{name} {option}"


@pytest.fixture(scope="module")
def address() -> Iterator[str]:
    class Silent(http.server.SimpleHTTPRequestHandler):
        def log_message(self, format: str, *args: object) -> None:
            pass

    server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), functools.partial(Silent, directory=str(SITE)))
    threading.Thread(target=server.serve_forever, daemon=True).start()
    yield f"http://127.0.0.1:{server.server_port}/"
    server.shutdown()


@pytest.fixture(scope="module")
def browser() -> Iterator[Browser]:
    with sync_playwright() as playwright:
        chromium = playwright.chromium.launch(executable_path="/usr/bin/chromium", args=QUIET)
        yield chromium
        chromium.close()


@pytest.mark.parametrize("scheme", ["light", "dark"])
@pytest.mark.parametrize("size", SIZES)
def test_pages_are_quiet_accessible_and_fit(browser: Browser, address: str, size: str, scheme: Any) -> None:
    """No console error, no request to elsewhere, nothing wider than the window, no serious finding of axe-core."""
    width, height = SIZES[size]
    context = browser.new_context(viewport={"width": width, "height": height}, color_scheme=scheme)
    findings: list[str] = []
    for name in PAGES:
        page = context.new_page()
        page.on(
            "console",
            lambda message, name=name: findings.append(f"{name}: {message.text}") if message.type == "error" else None,
        )
        page.on(
            "request",
            lambda request: request.url.startswith((address, "data:", "blob:")) or findings.append(request.url),
        )
        page.goto(address + name, wait_until="networkidle")
        wide = page.evaluate("document.documentElement.scrollWidth - window.innerWidth")
        if wide > 0:
            findings.append(f"{name}: {wide} pixels wider than the window")
        page.add_script_tag(path=AXE)
        result = page.evaluate("axe.run(document, {resultTypes: ['violations']})")
        for violation in result["violations"]:
            if violation["impact"] in ("serious", "critical"):
                first = violation["nodes"][0]
                findings.append(f"{name}: {violation['id']}: {first['html'][:160]} ({len(violation['nodes'])} places)")
        picture = ROOT / "build" / "docs" / "screenshots" / f"{size}-{scheme}" / f"{name.replace('/', '_')}.png"
        page.screenshot(path=picture, full_page=True)
        page.close()
    context.close()
    assert findings == [], "\n".join(findings)
