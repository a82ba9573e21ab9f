// Builds the page from its data.
// SPDX-License-Identifier: Apache-2.0

const SHORT = { positions: "pos", velocities: "vel", accelerations: "acc", jerks: "jerk" };

// The box of a chart: title, values under the pointer, canvas. Returns the elements that the chart needs.
function chartBox(parent, title, unit, description) {
  const figure = document.createElement("figure");
  figure.className = "chart";
  const head = cell(figure, title, "figcaption");
  cell(head, unit, "span", "unit");
  const canvas = cell(figure, "", "div", "canvas");
  const readout = cell(figure, "", "p", "readout"); // below: its lines must not move the chart under the pointer
  canvas.tabIndex = 0;
  canvas.setAttribute("role", "group");
  canvas.setAttribute("aria-label", description);
  canvas.setAttribute("aria-describedby", "keys");
  parent.append(figure);
  return { element: canvas, readout };
}

function timeChart(page, parent, quantity) {
  const { meta, tracks } = page;
  const isStep = quantity === "step";
  const info = isStep ? { title: "Step between samples", unit: "ms" } : meta.quantities[quantity];
  const lines = tracks.flatMap((track) =>
    (track.curves[quantity] || []).map((curve, joint) => ({
      track,
      curve,
      owner: track.name,
      joint: isStep ? null : joint,
      plain: isStep,
      faint: track.name === "before" && tracks.length > 1,
    })),
  );
  if (!lines.length) return;
  let logY = false;
  if (isStep) {
    const range = { low: Infinity, high: -Infinity };
    for (const line of lines) {
      const one = line.curve.low === line.curve.high;
      line.curve.low = line.curve.low.map((seconds) => seconds * 1e3);
      line.curve.high = one ? line.curve.low : line.curve.high.map((seconds) => seconds * 1e3);
      extent(line.track, line.curve, -Infinity, Infinity, range);
    }
    logY = range.low > 0 && range.high > 30 * range.low;
  }
  const box = chartBox(parent, info.title, info.unit, `${info.title} over time`);
  const bounds = isStep ? [] : info.bounds;
  const height = isStep ? 130 : undefined;
  const chart = new Chart(page, box.element, {
    ...box, kind: "time", quantity, lines, bounds, logY, height, title: info.title, unit: info.unit, short: SHORT[quantity],
  });
  page.charts.push(chart);
  listenTo(page, chart);
}

function plotChart(page, plot, parent) {
  const lines = plot.curves.map((curve, index) => ({
    track: curve,
    curve,
    owner: curve.track,
    joint: curve.joint,
    index,
    label: curve.name,
    faint: curve.track === "before" && plot.hasAfter,
  }));
  const box = chartBox(parent, plot.yLabel, `over ${plot.xLabel}`, `${plot.yLabel} over ${plot.xLabel}`);
  const chart = new Chart(page, box.element, {
    ...box, kind: "plot", lines, logX: plot.logX, logY: plot.logY, title: plot.yLabel, height: 260,
  });
  page.charts.push(chart);
  if (lines.some((line) => line.joint === null)) {
    const legend = cell(box.element.parentElement, "", "ul", "legend");
    lines.forEach((line) => {
      const item = cell(legend, "", "li");
      cell(item, "", "span", `swatch joint-${(line.joint ?? line.index) % 10}`);
      item.append(line.label);
    });
  }
}

// The bar over the charts: where the view lies in the recording, with its gaps and violations.
function timeline(page) {
  const bar = document.getElementById("timeline");
  const { from, to } = page.whole;
  const place = (element, start, end) => {
    element.style.left = `${(100 * (start - from)) / (to - from)}%`;
    element.style.width = `${(100 * (end - start)) / (to - from)}%`;
  };
  for (const [start, end] of page.gaps) place(cell(bar, "", "span", "gap"), start, end);
  for (const violation of page.meta.violations) place(cell(bar, "", "span", "bad"), violation.from, violation.to);
  const window_ = cell(bar, "", "span", "window");
  const range = document.getElementById("range");
  page.listeners.push(() => {
    const { view, whole } = page;
    place(window_, view.from, view.to);
    const digits = Math.min(6, Math.max(0, Math.ceil(-Math.log10((view.to - view.from) / 1000))));
    range.textContent = `${view.from.toFixed(digits)} to ${view.to.toFixed(digits)} s`;
    document.getElementById("whole").disabled = view.from <= whole.from && view.to >= whole.to;
  });
  const centre = (event) => {
    const box = bar.getBoundingClientRect();
    const at = from + ((event.clientX - box.left) / box.width) * (to - from);
    const half = (page.view.to - page.view.from) / 2;
    page.zoomTo(null, { from: at - half, to: at + half });
  };
  bar.addEventListener("pointerdown", (event) => {
    bar.setPointerCapture(event.pointerId);
    centre(event);
  });
  bar.addEventListener("pointermove", (event) => event.buttons && centre(event));
}

function wireControls(page) {
  const on = (id, action) => document.getElementById(id)?.addEventListener("click", action);
  on("whole", () => page.zoomTo(null, null));
  on("zoom-in", () => page.zoomBy(0.5));
  on("zoom-out", () => page.zoomBy(2));
  on("earlier", () => page.pan(-0.5));
  on("later", () => page.pan(0.5));
  on("all-joints", () => page.showOnly(null));
  for (const name of ["before", "after"]) {
    document.getElementById(`show-${name}`)?.addEventListener("change", (event) => {
      page.shownTracks[name] = event.target.checked;
      page.changed();
    });
  }
  document.getElementById("whole-limits")?.addEventListener("change", (event) => {
    page.wholeLimits = event.target.checked;
    page.changed();
  });
  for (const button of document.querySelectorAll("button[data-at]")) {
    const { joint, quantity, from, to, at } = button.dataset;
    const number = joint === "" ? null : page.meta.numbers.indexOf(Number(joint));
    if (number === -1) button.disabled = true;
    button.addEventListener("click", () => {
      page.goTo({ joint: number, quantity, from: Number(from), to: Number(to), at: Number(at) });
    });
  }
}

function wireAppearance(page) {
  const root = document.documentElement;
  const remake = () => {
    for (const chart of page.charts) {
      chart.remake();
      listenTo(page, chart);
    }
  };
  const dark = matchMedia("(prefers-color-scheme: dark)");
  const button = document.getElementById("theme");
  const isDark = () => (root.dataset.theme ? root.dataset.theme === "dark" : dark.matches);
  const name = () => {
    button.textContent = isDark() ? "Light" : "Dark";
  };
  button.addEventListener("click", () => {
    root.dataset.theme = isDark() ? "light" : "dark";
    name();
    remake();
  });
  dark.addEventListener("change", () => {
    name();
    remake();
  });
  name();
  let theme;
  addEventListener("beforeprint", () => {
    theme = root.dataset.theme;
    root.dataset.theme = "light";
    page.printing = true;
    remake();
  });
  addEventListener("afterprint", () => {
    if (theme === undefined) delete root.dataset.theme;
    else root.dataset.theme = theme;
    page.printing = false;
    remake();
  });
  new ResizeObserver(() => page.charts.forEach((chart) => chart.resize())).observe(document.getElementById("charts"));
}

async function start() {
  const trouble = document.getElementById("trouble");
  try {
    if (typeof DecompressionStream === "undefined") throw new Error("this browser cannot unpack the data of this page");
    const meta = JSON.parse(document.getElementById("meta").textContent);
    const { tracks, plots } = await readAll(meta, document.getElementById("data").textContent);
    const page = new Page(meta, tracks);
    const parent = document.getElementById("charts");
    for (const quantity of [...Object.keys(meta.quantities), "step"]) timeChart(page, parent, quantity);
    plots.forEach((plot, index) => {
      plot.hasAfter = plot.curves.some((curve) => curve.track === "after");
      plotChart(page, plot, document.querySelector(`[data-plot="${index}"]`));
    });
    page.panel = new Panel(page, document.getElementById("panel"));
    timeline(page);
    wireControls(page);
    wireAppearance(page);
    page.changed();
    document.documentElement.dataset.ready = "yes";
    window.velmoraReport = page;
  } catch (error) {
    trouble.textContent = `The curves cannot be drawn: ${error.message}. The tables are complete.`;
    trouble.hidden = false;
    document.documentElement.dataset.ready = "no";
    throw error;
  }
}

start();
