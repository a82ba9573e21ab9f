// One chart: uPlot draws axes, grid, curves and the pointer; bands of limits, violations and gaps are drawn beside them.
// SPDX-License-Identifier: Apache-2.0

const CHART_HEIGHT = 210;

function colours() {
  const style = getComputedStyle(document.documentElement);
  const get = (name) => style.getPropertyValue(name).trim();
  return {
    ink: get("--muted"),
    strong: get("--ink"),
    grid: get("--grid"),
    bad: get("--bad"),
    badFill: get("--bad-fill"),
    gap: get("--gap"),
    joints: Array.from({ length: 10 }, (_, i) => get(`--joint-${i}`)),
  };
}

// Digits that tell values apart within a range, without a tail of noise.
function shown(value) {
  if (value === null || value === undefined || Number.isNaN(value)) return "–";
  const size = Math.abs(value);
  if (size !== 0 && (size >= 1e6 || size < 1e-4)) return value.toExponential(3);
  return String(Number(value.toPrecision(5)));
}

// 1, 2, ..., 9 times the powers of ten within a range.
function decades(min, max) {
  const found = [];
  for (let power = Math.floor(Math.log10(min)); power <= Math.log10(max); power++) {
    for (let digit = 1; digit < 10; digit++) {
      const value = Number(`${digit}e${power}`);
      if (value >= min && value <= max) found.push(value);
    }
  }
  return found;
}

// Words of an axis, with the digits that tell them apart.
function labels(splits, increment) {
  const power = Math.floor(Math.log10(increment) + 1e-9);
  const half = Math.abs(increment / 10 ** power - 2.5) < 0.01 ? 1 : 0; // steps of 2.5 have a digit more
  const digits = Math.max(0, half - power);
  return splits.map((value) => {
    if (value === null) return "";
    if (digits <= 9 && Math.abs(value) < 1e7) return value.toFixed(digits);
    const lead = Math.floor(Math.log10(Math.abs(value)) + 1e-9);
    return Math.abs(value) < increment / 2 ? "0" : value.toExponential(Math.max(0, half - power + lead));
  });
}

// Words of a logarithmic axis: at 1, 2 and 5.
function logLabels(splits) {
  return splits.map((value) => {
    if (value === null || !/^[125]e/.test(value.toExponential())) return "";
    return value >= 1e6 || value < 1e-4 ? value.toExponential(0) : String(value);
  });
}

// Width of the y axis: the same for all charts, unless a word takes more.
function widthOf(u, words, index, cycle) {
  const axis = u.axes[index];
  if (cycle > 1) return axis._size; // uPlot asks again until nothing changes
  u.ctx.font = axis.font[0];
  const widest = Math.max(0, ...(words || []).map((word) => u.ctx.measureText(word).width / uPlot.pxRatio));
  return Math.max(62, Math.ceil(axis.ticks.size + axis.gap + widest));
}

// The joints that share a limit, by its value.
function grouped(bands, side) {
  const found = new Map();
  for (const band of bands) {
    if (band[side] !== null) found.set(band[side], [...(found.get(band[side]) || []), band.joint]);
  }
  return found;
}

// A chart of `lines` ({track, curve, joint, after}): `kind` is "time" or "plot"; `bounds` are limits by joint.
class Chart {
  constructor(page, element, options) {
    this.page = page;
    this.element = element;
    Object.assign(this, options);
    this.isTime = this.kind === "time";
    this.make();
    this.onScreen = true;
    new IntersectionObserver(
      (entries) => {
        this.onScreen = entries[entries.length - 1].isIntersecting;
        this.refresh();
      },
      { rootMargin: "200px" },
    ).observe(element);
  }

  make() {
    const view = this.isTime ? this.page.view : this.range();
    const theme = (this.theme = colours());
    const axis = { stroke: theme.ink, grid: { stroke: theme.grid, width: 1 }, ticks: { stroke: theme.grid, width: 1 } };
    const font = "12px system-ui, sans-serif";
    const y = this.extent();
    const series = this.lines.map((line) => ({
      scale: "y",
      stroke: () => this.colour(line),
      fill: () => this.colour(line) + (line.faint ? "2e" : "66"),
      width: line.faint ? 1 : 1.75,
      cap: "round",
      points: { show: false },
      paths: (u) => (this.page.isShown(line) ? trace(u, line.track, line.curve, this.isTime) : null),
    }));
    this.plot = new uPlot(
      {
        width: this.width(),
        height: this.height || CHART_HEIGHT,
        pxAlign: 0,
        legend: { show: false },
        padding: [10, 14, 0, 0],
        scales: {
          x: { time: false, auto: false, distr: this.logX ? 3 : 1, min: view.from, max: view.to, range: (_, min, max) => [min, max] },
          y: { auto: false, distr: this.logY ? 3 : 1, min: y[0], max: y[1] },
        },
        axes: [
          { ...axis, font, size: 34, ...this.ticks(this.logX) },
          { ...axis, font, size: widthOf, ...this.ticks(this.logY) },
        ],
        series: [{}, ...series],
        cursor: {
          x: true,
          y: false,
          points: { show: false },
          drag: { x: true, y: false, setScale: false, dist: 5 },
          bind: { dblclick: () => () => this.page.zoomTo(this, null) },
          sync: this.isTime ? { key: "time", setSeries: false, scales: ["x", null] } : undefined,
        },
        hooks: {
          drawClear: [(u) => this.drawBehind(u)],
          draw: [(u) => this.drawAbove(u)],
          setSelect: [(u) => this.selected(u)],
          setCursor: [(u) => this.page.pointed(this, u)],
        },
      },
      [[view.from, view.to], ...this.lines.map(() => [null, null])],
      this.element,
    );
  }

  // Where an axis has lines, and their words. uPlot's own logarithmic lines do not end for ranges that do not begin at a
  // power of ten.
  ticks(log) {
    if (!log) return { values: (u, splits, axis, space, step) => labels(splits, step) };
    return { values: (u, splits) => logLabels(splits), splits: (u, axis, min, max) => decades(min, max) };
  }

  colour(line) {
    if (line.plain) return line.faint ? this.theme.ink : this.theme.strong;
    return this.theme.joints[(line.joint ?? line.index ?? 0) % this.theme.joints.length];
  }

  width() {
    return Math.max(240, Math.floor(this.page.printing ? 690 : this.element.clientWidth));
  }

  // All of a plot's x axis; time charts share one range.
  range() {
    if (this.view) return this.view;
    let from = Infinity;
    let to = -Infinity;
    for (const { track } of this.lines) {
      for (const x of track.start) {
        if (this.logX && x <= 0) continue;
        from = Math.min(from, x);
        to = Math.max(to, x);
      }
    }
    return (this.view = this.whole = from < to ? { from, to } : { from: from - 0.5 || 0, to: from + 0.5 || 1 });
  }

  // Range of the y axis: the curves in view, and the limits where they are near or asked for.
  extent() {
    const { from, to } = this.isTime ? this.page.view : this.range();
    const found = { low: Infinity, high: -Infinity };
    for (const line of this.lines) if (this.page.isShown(line)) extent(line.track, line.curve, from, to, found);
    let { low, high } = found;
    if (!(low <= high)) return this.logY ? [0.1, 1] : [-1, 1];
    if (this.logY) return [Math.max(low, high * 1e-12) / 1.3, high * 1.3];
    const reach = (high - low) * 0.6;
    for (const bound of this.bands()) {
      if (bound.upper !== null && (this.page.wholeLimits || bound.upper - high < reach)) high = Math.max(high, bound.upper);
      if (bound.lower !== null && (this.page.wholeLimits || low - bound.lower < reach)) low = Math.min(low, bound.lower);
    }
    const size = Math.max(Math.abs(low), Math.abs(high));
    const isFlat = high - low < 1e-7 * size; // but for rounding
    const margin = (isFlat ? size * 0.01 : (high - low) * 0.06) || 1;
    return [low - margin, high + margin];
  }

  bands() {
    return (this.bounds || []).filter((bound) => this.page.joints[bound.joint]);
  }

  // Draws anew what is on the screen; the rest when it comes there.
  refresh() {
    if (!this.stale || !(this.onScreen || this.page.printing)) return;
    this.stale = false;
    this.update();
  }

  update() {
    const view = this.isTime ? this.page.view : this.range();
    const [min, max] = this.extent();
    this.plot.batch(() => {
      this.plot.setScale("x", { min: view.from, max: view.to });
      this.plot.setScale("y", { min, max });
    });
  }

  resize() {
    const width = this.width();
    if (width !== this.plot.width) this.plot.setSize({ width, height: this.plot.height });
  }

  remake() {
    this.plot.destroy();
    this.make();
  }

  selected(u) {
    if (u.select.width < 5) return;
    const from = u.posToVal(u.select.left, "x");
    const to = u.posToVal(u.select.left + u.select.width, "x");
    u.setSelect({ left: 0, top: 0, width: 0, height: 0 }, false);
    this.page.zoomTo(this, { from, to });
  }

  // Gaps are grey; what is not allowed is shaded: outside of each shown joint's band, equal bands once.
  drawBehind(u) {
    const { ctx, bbox } = u;
    ctx.save();
    ctx.beginPath();
    ctx.rect(bbox.left, bbox.top, bbox.width, bbox.height);
    ctx.clip();
    if (this.isTime) this.drawGaps(u);
    const bands = this.bands();
    const bottom = bbox.top + bbox.height;
    for (const [value, joints] of grouped(bands, "upper")) this.shade(u, bbox.top, value, joints, bands);
    for (const [value, joints] of grouped(bands, "lower")) this.shade(u, bottom, value, joints, bands);
    ctx.restore();
  }

  // Shades from an edge of the chart to a limit; a limit of one joint among several has a line of its colour.
  shade(u, edge, limit, joints, bands) {
    const { ctx, bbox } = u;
    const y = u.valToPos(limit, "y", true);
    ctx.fillStyle = this.theme.badFill;
    const outside = edge === bbox.top ? y - edge : edge - y;
    if (outside > 0) ctx.fillRect(bbox.left, Math.min(edge, y), bbox.width, outside);
    const own = joints.length === 1 && bands.length > 1;
    ctx.strokeStyle = own ? this.theme.joints[joints[0] % this.theme.joints.length] : this.theme.bad;
    ctx.lineWidth = uPlot.pxRatio;
    ctx.setLineDash([6 * uPlot.pxRatio, 4 * uPlot.pxRatio]);
    ctx.beginPath();
    ctx.moveTo(bbox.left, y);
    ctx.lineTo(bbox.left + bbox.width, y);
    ctx.stroke();
  }

  drawGaps(u) {
    u.ctx.fillStyle = this.theme.gap;
    for (const [from, to] of this.page.gaps) {
      const left = u.valToPos(from, "x", true);
      const right = u.valToPos(to, "x", true);
      if (right < u.bbox.left || left > u.bbox.left + u.bbox.width) continue;
      u.ctx.fillRect(left, u.bbox.top, Math.max(uPlot.pxRatio, right - left), u.bbox.height);
    }
  }

  // Violations: the curve in red, and a tick at the upper edge that no zoom makes invisible.
  drawAbove(u) {
    const { ctx, bbox } = u;
    ctx.save();
    ctx.beginPath();
    ctx.rect(bbox.left, bbox.top - 8 * uPlot.pxRatio, bbox.width, bbox.height + 8 * uPlot.pxRatio);
    ctx.clip();
    ctx.strokeStyle = ctx.fillStyle = this.theme.bad;
    ctx.lineWidth = 2.5 * uPlot.pxRatio;
    ctx.lineCap = "round";
    for (const line of this.lines) {
      const { outside } = line.curve;
      if (!outside || !this.page.isShown(line)) continue;
      const path = trace(u, line.track, line.curve, true, outside);
      ctx.stroke(path.stroke);
      ctx.fill(path.fill);
      let drawn = -Infinity;
      const [first, last] = inView(line.track, u.scales.x.min, u.scales.x.max);
      for (let k = first; k < last; k++) {
        if (!outside[k]) continue;
        const from = u.valToPos(line.track.start[k], "x", true);
        const to = Math.max(from + 2 * uPlot.pxRatio, isSingle(line.track, k) ? from : u.valToPos(line.track.end[k], "x", true));
        if (to <= drawn) continue;
        ctx.fillRect(from, bbox.top - 7 * uPlot.pxRatio, to - from, 5 * uPlot.pxRatio);
        drawn = to;
      }
    }
    ctx.restore();
  }
}
