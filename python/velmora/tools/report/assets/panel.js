// The table of joints: switches, and the values under the pointer.
// SPDX-License-Identifier: Apache-2.0

function cell(row, text, tag = "td", className = "") {
  const element = document.createElement(tag);
  element.textContent = text;
  if (className) element.className = className;
  row.append(element);
  return element;
}

class Panel {
  constructor(page, element) {
    this.page = page;
    this.element = element;
    this.caption = element.querySelector("#where");
    this.table = element.querySelector("#values");
    this.spoken = document.getElementById("spoken");
    this.boxes = [];
    this.build(page.charts.filter((chart) => chart.isTime && chart.quantity !== "step"));
    page.listeners.push(() => this.refresh());
    page.onPoint = (chart, x) => this.show(chart, x);
    this.show(null, null);
  }

  build(charts) {
    this.columns = charts;
    const head = this.table.createTHead().insertRow();
    cell(head, "Joint", "th").scope = "col";
    for (const chart of charts) {
      const th = cell(head, chart.short, "th");
      th.scope = "col";
      cell(th, chart.unit, "span", "unit");
    }
    const body = this.table.createTBody();
    this.rows = this.page.meta.joints.map((name, joint) => {
      const row = body.insertRow();
      const th = cell(row, "", "th");
      th.scope = "row";
      const head = cell(th, "", "div", "joint");
      const label = cell(head, "", "label");
      const box = document.createElement("input");
      box.type = "checkbox";
      box.checked = this.page.joints[joint];
      box.addEventListener("change", () => this.page.showJoint(joint, box.checked));
      const swatch = document.createElement("span");
      swatch.className = `swatch joint-${joint % 10}`;
      label.append(box, swatch);
      const text = cell(label, "", "span", "name");
      for (const part of name.split(/(?<=[_./-])/)) text.append(part, document.createElement("wbr"));
      const only = cell(head, "only", "button", "only");
      only.type = "button";
      only.setAttribute("aria-label", `show only ${name}`);
      only.addEventListener("click", () => this.page.showOnly(joint));
      this.boxes.push(box);
      return charts.map(() => {
        const td = cell(row, "");
        return { after: cell(td, "", "span", "after"), before: cell(td, "", "span", "before") };
      });
    });
  }

  refresh() {
    this.boxes.forEach((box, joint) => {
      box.checked = this.page.joints[joint];
    });
    this.show(this.page.pointedChart, this.page.pointedX);
  }

  // Writes the values at a time into the table and, for narrow screens, below the chart that is pointed at.
  show(chart, x) {
    const time = chart === null || chart.isTime ? x : null;
    for (const other of this.page.charts) other.readout.textContent = "";
    if (chart !== null && !chart.isTime) this.readPlot(chart, x);
    const at = time === null ? "point at a curve to read its values" : `t = ${this.exact(time)} s`;
    this.caption.textContent = at + (time === null ? "" : this.samples(time));
    this.columns.forEach((column, c) => {
      const parts = [];
      this.page.meta.joints.forEach((name, joint) => {
        const texts = { before: "", after: "" };
        for (const line of column.lines) {
          if (line.joint !== joint) continue;
          const slot = line.faint ? "before" : "after";
          if (time === null || !this.page.isShown(line)) continue;
          texts[slot] = isEmpty(line.track, time, this.page.reach()) ? "–" : this.valueAt(line, time);
        }
        this.rows[joint][c].after.textContent = texts.after;
        this.rows[joint][c].before.textContent = texts.before;
        if (texts.after || texts.before) parts.push(`${name} ${texts.after || texts.before}`);
      });
      if (time !== null && column === chart) column.readout.textContent = `${this.exact(time)} s: ${parts.join(", ")}`;
    });
    if (this.page.announce && time !== null) {
      this.page.announce = false;
      this.spoken.textContent = `${chart.title}, ${chart.readout.textContent}`;
    }
  }

  // A time with the digits that the view can tell apart.
  exact(time) {
    const digits = Math.ceil(-Math.log10((this.page.view.to - this.page.view.from) / 1000));
    return time.toFixed(Math.min(9, Math.max(0, digits)));
  }

  samples(time) {
    const track = this.page.tracks[this.page.tracks.length - 1];
    if (isEmpty(track, time, this.page.reach())) return ", no sample";
    const k = nearest(track, time);
    const next = k + 1 < track.first.length ? track.first[k + 1] : track.samples;
    const first = track.first[k] + 1;
    return next > first ? `, samples ${first} to ${next}` : `, sample ${first}`;
  }

  // A single sample's value; the middle of smallest and largest where the curve holds several samples in one.
  valueAt(line, x) {
    const k = nearest(line.track, x);
    const { low, high } = line.curve;
    const half = (high[k] - low[k]) / 2;
    if (isSingle(line.track, k) || !(half > 0)) return shown(low[k]);
    const digits = -Math.floor(Math.log10(half));
    if (digits < 0 || digits > 8) return `${shown(low[k] + half)} ±${Number(half.toPrecision(1))}`;
    return `${(low[k] + half).toFixed(digits)} ±${half.toFixed(digits)}`;
  }

  readPlot(chart, x) {
    if (x === null) return;
    const parts = chart.lines
      .filter((line) => this.page.isShown(line))
      .map((line) => `${line.label}${line.faint ? " before" : ""} ${this.valueAt(line, x)}`);
    chart.readout.textContent = `${shown(x)}: ${parts.join(", ")}`;
  }
}
