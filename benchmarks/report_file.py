#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Size of a report of many samples, the time it takes to write, and how long the browser takes to redraw it.

./benchmarks/report_file.py [SAMPLES]     7 joints; needs playwright and chromium (./scripts/setup browser)
"""

from __future__ import annotations

import shutil
import sys
import tempfile
import time
from pathlib import Path

import numpy as np
from playwright.sync_api import sync_playwright
from velmora.tools.report import Bounds, ReportData, Track, build
from velmora.tools.report.data import QUANTITIES

JOINTS = 7
REDRAW = """async () => {
  const page = velmoraReport, times = [];
  for (let i = 0; i < 200; i++) {
    const centre = page.whole.from + (0.15 + (0.7 * i) / 200) * (page.whole.to - page.whole.from);
    const half = ((page.whole.to - page.whole.from) * 0.8 ** (i % 40)) / 2;
    page.zoomTo(null, { from: centre - half, to: centre + half });
    const start = performance.now();
    for (const chart of page.charts) if (chart.onScreen) chart.update();
    times.push(performance.now() - start);
    await new Promise(requestAnimationFrame);
  }
  times.sort((a, b) => a - b);
  return [times[100], times[190]];
}"""


def recording(samples: int) -> ReportData:
    """An arm at 1 kHz with noise, a few spikes and a limit that they violate."""
    random = np.random.default_rng(1)
    times = np.arange(samples) * 0.001
    values = {quantity: random.normal(size=(samples, JOINTS)) for quantity in QUANTITIES}
    for joint in range(JOINTS):
        values["positions"][:, joint] = np.sin(times * (0.3 + 0.1 * joint)) + 1e-5 * values["positions"][:, joint]
    values["velocities"][samples // 3, 0] = 50.0
    limits = {"velocities": Bounds(np.full(JOINTS, -10.0), np.full(JOINTS, 10.0))}
    gaps = np.array([samples // 2])
    return ReportData(
        "recording", tuple(f"joint_{j + 1}" for j in range(JOINTS)), Track(times, values, gaps), None, limits
    )


def main() -> None:
    samples = int(float(sys.argv[1])) if len(sys.argv) > 1 else 10_000_000
    data = recording(samples)
    start = time.perf_counter()
    page = build(data)
    print(
        f"{samples:,} samples of {JOINTS} joints: {len(page):,} bytes, written in {time.perf_counter() - start:.1f} s"
    )
    with tempfile.TemporaryDirectory() as folder, sync_playwright() as driver:
        path = Path(folder) / "report.html"
        path.write_bytes(page)
        arguments = ["--headless", "--no-sandbox", "--disable-gpu", "--no-first-run", "--disable-background-networking"]
        browser = driver.chromium.launch(executable_path=shutil.which("chromium"), args=arguments)
        opened = browser.new_page(viewport={"width": 1400, "height": 1000})
        start = time.perf_counter()
        opened.goto(path.as_uri())
        while opened.evaluate("document.documentElement.dataset.ready") != "yes":
            opened.wait_for_timeout(5)
        print(f"opened in {time.perf_counter() - start:.2f} s")
        opened.evaluate("document.getElementById('curves').scrollIntoView()")
        median_ms, slow_ms = opened.evaluate(REDRAW)
        print(
            f"redraw of the charts on the screen after a zoom: median {median_ms:.1f} ms, 95 % below {slow_ms:.1f} ms"
        )
        browser.close()


if __name__ == "__main__":
    main()
