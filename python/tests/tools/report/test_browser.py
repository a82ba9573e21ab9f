# SPDX-License-Identifier: Apache-2.0
"""The report in a real browser: it draws, asks for nothing, follows pointer, keys and fingers, and has no barriers."""

from __future__ import annotations

from dataclasses import replace
from pathlib import Path
from typing import Any

import pytest
from report_browser import wait
from report_sample import renamed, sample_data
from velmora.tools.report import build

AXE = Path(__file__).resolve().parents[4] / "build/report/node_modules/axe-core/axe.min.js"
DESKTOP = {"width": 1400, "height": 900}
TELEPHONE = {"width": 390, "height": 844}


@pytest.mark.parametrize("scheme", ["light", "dark"])
@pytest.mark.parametrize("viewport", [DESKTOP, TELEPHONE], ids=["desktop", "telephone"])
def test_it_draws_without_errors_and_without_asking_for_anything(
    opening: Any, file: Path, viewport: dict[str, int], scheme: str
) -> None:
    opened = opening(file, viewport, scheme)
    assert [opened.page.locator("figcaption").nth(i).inner_text().split("\n")[0] for i in range(5)] == [
        "Positionrad", "Velocityrad/s", "Accelerationrad/s²", "Jerkrad/s³", "Step between samplesms",
    ]  # fmt: skip
    for chart in range(opened.page.locator(".chart").count()):
        assert opened.ink(chart) > 2000
    background = opened.page.evaluate("getComputedStyle(document.body).backgroundColor")
    assert background == {"light": "rgb(255, 255, 255)", "dark": "rgb(17, 21, 27)"}[scheme]
    # Nothing is wider than the screen.
    assert opened.page.evaluate("document.documentElement.scrollWidth") <= viewport["width"]
    assert opened.said == []
    assert opened.asked == [file.as_uri()]


def test_a_drag_zooms_all_charts_and_a_double_click_shows_the_whole(opening: Any, file: Path) -> None:
    opened = opening(file)
    whole = opened.view()
    opened.page.mouse.move(*opened.over(0, 0.25))
    opened.page.mouse.down()
    opened.page.mouse.move(*opened.over(0, 0.75), steps=5)
    opened.page.mouse.up()
    opened.settle()
    from_s, to_s = opened.view()
    assert from_s == pytest.approx(whole[0] + 0.25 * (whole[1] - whole[0]), rel=0.02)
    assert to_s == pytest.approx(whole[0] + 0.75 * (whole[1] - whole[0]), rel=0.02)
    opened.page.locator(".chart").nth(4).scroll_into_view_if_needed()  # it is drawn when it comes onto the screen
    wait(opened.page, "!velmoraReport.charts[4].stale")
    scales = opened.page.evaluate(
        "velmoraReport.charts.filter(c => c.isTime).map(c => [c.plot.scales.x.min, c.plot.scales.x.max])"
    )
    assert scales == [[from_s, to_s]] * 5
    opened.page.mouse.dblclick(*opened.over(0, 0.5))
    opened.settle()
    assert opened.view() == whole


def test_a_click_on_a_violation_goes_there(opening: Any, file: Path) -> None:
    opened = opening(file)
    button = opened.page.locator("#violations button").first
    at, joint = float(button.get_attribute("data-at")), int(button.get_attribute("data-joint"))
    opened.page.locator("#values input").nth(joint).uncheck()
    button.click()
    opened.settle()
    opened.settle()
    from_s, to_s = opened.view()
    assert from_s < at < to_s
    assert to_s - from_s < 5
    assert opened.page.locator("#values input").nth(joint).is_checked()
    label = opened.page.evaluate("document.activeElement.getAttribute('aria-label')")
    assert (
        label
        == {"velocities": "Velocity over time", "accelerations": "Acceleration over time"}[
            button.get_attribute("data-quantity")
        ]
    )
    # All charts point at the same time.
    places = opened.page.evaluate("velmoraReport.charts.filter(c => c.isTime).map(c => c.plot.cursor.left)")
    assert max(places) - min(places) < 1.5
    shown = float(opened.page.locator("#where").inner_text().split()[2])
    assert shown == pytest.approx(at, abs=(to_s - from_s) / 200)


def test_joints_and_tracks_are_switched_on_and_off(opening: Any, file: Path) -> None:
    opened = opening(file)
    all_of_it = opened.ink(3)
    boxes = opened.page.locator("#values input")
    boxes.nth(0).uncheck()
    opened.settle()
    fewer = opened.ink(3)
    assert fewer < all_of_it
    opened.page.locator("#show-before").uncheck()
    opened.settle()
    assert opened.ink(3) < fewer
    opened.page.get_by_role("button", name="Show all joints").click()
    opened.page.locator("#show-before").check()
    opened.settle()
    assert opened.ink(3) == all_of_it
    opened.page.locator("#values tbody tr").nth(1).hover()
    opened.page.get_by_role("button", name="show only joint_2").click()
    opened.settle()
    assert [boxes.nth(i).is_checked() for i in range(3)] == [False, True, False]


def test_keys_move_the_pointer_zoom_and_pan(opening: Any, file: Path) -> None:
    opened = opening(file)
    whole = opened.view()
    opened.page.locator(".canvas").first.focus()
    opened.page.keyboard.press("+")
    opened.page.keyboard.press("+")
    opened.settle()
    from_s, to_s = opened.view()
    assert to_s - from_s == pytest.approx((whole[1] - whole[0]) / 4)
    opened.page.keyboard.press("Shift+ArrowRight")
    opened.settle()
    assert opened.view()[0] == pytest.approx(from_s + (to_s - from_s) / 4)
    opened.page.keyboard.press("ArrowRight")
    opened.settle()
    opened.settle()
    first = float(opened.page.locator("#where").inner_text().split()[2])
    opened.page.keyboard.press("ArrowRight")
    opened.settle()
    opened.settle()
    assert float(opened.page.locator("#where").inner_text().split()[2]) > first
    assert "joint_1" in opened.page.locator("#spoken").inner_text()
    opened.page.keyboard.press("Escape")
    opened.settle()
    assert opened.view() == whole


def test_the_wheel_zooms_with_control_and_scrolls_without(opening: Any, file: Path) -> None:
    opened = opening(file)
    whole = opened.view()
    opened.page.mouse.move(*opened.over(0, 0.5))
    opened.page.mouse.wheel(0, -100)
    opened.settle()
    assert opened.view() == whole
    opened.page.mouse.move(*opened.over(0, 0.5))
    opened.page.keyboard.down("Control")
    opened.page.mouse.wheel(0, -100)
    opened.page.keyboard.up("Control")
    opened.settle()
    assert opened.view()[1] - opened.view()[0] == pytest.approx(0.8 * (whole[1] - whole[0]))


def test_two_fingers_zoom(opening: Any, file: Path) -> None:
    opened = opening(file, TELEPHONE, has_touch=True)
    whole = opened.view()
    x, y = opened.over(0, 0.5)
    session = opened.page.context.new_cdp_session(opened.page)

    def touch(kind: str, *places: float) -> None:
        points = [{"x": place, "y": y, "id": number} for number, place in enumerate(places)]
        session.send("Input.dispatchTouchEvent", {"type": kind, "touchPoints": points})

    touch("touchStart", x - 30, x + 30)
    for move in (40, 50, 60):
        touch("touchMove", x - move, x + move)
    touch("touchEnd")
    opened.settle()
    assert opened.view()[1] - opened.view()[0] == pytest.approx((whole[1] - whole[0]) / 2, rel=0.1)


def test_light_and_dark_change_the_curves_too(opening: Any, file: Path) -> None:
    opened = opening(file)
    assert opened.page.evaluate("velmoraReport.charts[0].theme.joints[0]") == "#1f6fc4"
    opened.page.locator("#theme").click()
    opened.settle()
    assert opened.page.evaluate("velmoraReport.charts[0].theme.joints[0]") == "#5aa9ff"
    assert opened.page.locator("#theme").inner_text() == "Light"
    assert opened.ink(0) > 2000
    assert opened.said == []


def test_it_prints_light_without_its_controls(opening: Any, file: Path) -> None:
    opened = opening(file, scheme="dark")
    opened.page.evaluate(
        """addEventListener("afterprint", () => {}, {once: true});
        window.seen = null;
        addEventListener("beforeprint", () => {
          seen = [document.documentElement.dataset.theme, velmoraReport.charts[0].plot.width];
        });"""
    )
    document = opened.page.pdf(format="A4")
    assert document.startswith(b"%PDF")
    assert opened.page.evaluate("seen") == ["light", 690]
    opened.settle()
    assert opened.page.evaluate("document.documentElement.dataset.theme ?? null") is None
    opened.page.emulate_media(media="print")
    assert not opened.page.locator("#theme").is_visible()
    assert opened.page.locator("#violations").is_visible()
    assert opened.said == []


@pytest.mark.parametrize("scheme", ["light", "dark"])
@pytest.mark.parametrize("viewport", [DESKTOP, TELEPHONE], ids=["desktop", "telephone"])
def test_there_are_no_serious_barriers(opening: Any, file: Path, viewport: dict[str, int], scheme: str) -> None:
    assert AXE.is_file(), "./scripts/setup report fetches axe-core"
    opened = opening(file, viewport, scheme, bypass_csp=True)
    opened.page.add_script_tag(path=str(AXE))
    found = opened.page.evaluate("axe.run(document)")
    serious = [
        (violation["id"], [node["html"] for node in violation["nodes"]])
        for violation in found["violations"]
        if violation["impact"] in ("serious", "critical")
    ]
    assert serious == []


def test_names_from_files_stay_text(opening: Any, tmp_path: Path) -> None:
    path = tmp_path / "hostile.html"
    path.write_bytes(build(renamed(sample_data(500), "</script><img src=x onerror=\"document.title='gone'\">")))
    opened = opening(path)
    assert "<img src=x" in opened.page.locator("h1").inner_text()
    assert opened.page.locator("#values tbody").inner_text().count("<img src=x") == 3
    assert opened.page.title() != "gone"
    assert opened.said == []
    assert opened.asked[0] == path.as_uri()
    assert all(address.startswith("data:image/") for address in opened.asked[1:])


def test_the_policy_stops_what_is_injected_all_the_same(opening: Any, file: Path, tmp_path: Path) -> None:
    path = tmp_path / "injected.html"
    evil = b"<script>document.title = 'gone'</script><img src='file:///nowhere.png'>"
    path.write_bytes(file.read_bytes().replace(b"</header>", b"</header>" + evil))
    opened = opening(path)
    assert opened.page.title() != "gone"
    assert any("Content Security Policy" in said for said in opened.said)


def test_broken_data_are_told_and_the_tables_stay(browser: Any, file: Path, tmp_path: Path) -> None:
    path = tmp_path / "broken.html"
    text = file.read_text("utf-8")
    start = text.index('id="data">') + 10
    path.write_text(text[:start] + text[text.index("</script>", start) :], "utf-8")
    page = browser.new_page()
    page.goto(path.as_uri())
    wait(page, "document.documentElement.dataset.ready === 'no'")
    assert page.locator("#trouble").inner_text().startswith("The curves cannot be drawn: ")
    assert page.locator("#violations").is_visible()
    page.close()


def test_lines_break_at_gaps(opening: Any, tmp_path: Path) -> None:
    data = sample_data(with_after=False)
    path = tmp_path / "gap.html"
    path.write_bytes(build(replace(data, limits={}, violations=(), joints=("a", "b", "c"))))
    opened = opening(path)
    gap = int(data.before.gaps[0])
    start, end = (float(time) for time in data.before.times[[gap, gap + 1]])
    opened.page.evaluate(f"velmoraReport.zoomTo(null, {{from: {start - 1}, to: {end + 1}}})")
    opened.settle()
    # Colours, not greys, in the column of pixels at a time.
    coloured = """(time) => {
      const { plot } = velmoraReport.charts[0];
      const x = Math.round(plot.valToPos(time, "x", true));
      const { data } = plot.ctx.getImageData(x, plot.bbox.top, 1, plot.bbox.height);
      let count = 0;
      for (let i = 0; i < data.length; i += 4) {
        const [red, green, blue, alpha] = data.subarray(i, i + 4);
        count += alpha > 0 && Math.max(red, green, blue) - Math.min(red, green, blue) > 60;
      }
      return count;
    }"""
    assert opened.page.evaluate(coloured, (start + end) / 2) == 0
    assert opened.page.evaluate(coloured, start - 0.5) >= 3
