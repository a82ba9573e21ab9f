// State of the page: which joints and tracks are shown, which span of time is in view; every change goes through here.
// SPDX-License-Identifier: Apache-2.0

const NARROWEST = 8; // steps between samples that still fill the view

class Page {
  constructor(meta, tracks) {
    this.meta = meta;
    this.tracks = tracks;
    this.gaps = meta.gaps;
    this.charts = [];
    const many = meta.joints.length > 16;
    const wanted = new Set(meta.violations.map((violation) => violation.joint));
    this.joints = meta.joints.map((_, joint) => !many || wanted.has(joint) || joint < 8);
    this.shownTracks = { before: true, after: true };
    this.wholeLimits = false;
    this.printing = false;
    const from = Math.min(...tracks.map((track) => track.start[0]));
    const to = Math.max(...tracks.map((track) => track.end[track.end.length - 1]));
    this.whole = from < to ? { from, to } : { from: from - 0.5, to: to + 0.5 };
    this.view = { ...this.whole };
    this.step = meta.step || (to - from) / 1000 || 1;
    this.listeners = [];
    this.source = null; // the chart that the pointer is on
    this.time = null;
    this.pointedChart = null;
    this.pointedX = null;
  }

  // How far from a sample the pointer still means it: about a pixel, or half a step.
  reach() {
    return Math.max((this.view.to - this.view.from) / 600, this.step / 2);
  }

  isShown(line) {
    return this.shownTracks[line.owner] && (line.joint === null || this.joints[line.joint]);
  }

  // Draws all anew in the next frame, however many changes there were.
  changed() {
    if (this.waiting) return;
    this.waiting = true;
    requestAnimationFrame(() => {
      this.waiting = false;
      for (const chart of this.charts) chart.stale = true;
      for (const chart of this.charts) chart.refresh();
      for (const listener of this.listeners) listener();
    });
  }

  showJoint(joint, on) {
    this.joints[joint] = on;
    this.changed();
  }

  showOnly(joint) {
    this.joints = this.joints.map((_, other) => joint === null || other === joint);
    this.changed();
  }

  zoomTo(chart, range) {
    if (chart && !chart.isTime) chart.view = range || chart.whole;
    else this.view = range ? this.within(range) : { ...this.whole };
    this.changed();
  }

  // A range moved and widened so that it lies in the recording and spans a few samples.
  within({ from, to }) {
    const whole = this.whole.to - this.whole.from;
    const span = Math.min(whole, Math.max(to - from, NARROWEST * this.step));
    const start = Math.min(Math.max((from + to - span) / 2, this.whole.from), this.whole.to - span);
    return { from: start, to: start + span };
  }

  zoomBy(factor, centre) {
    const { from, to } = this.view;
    const at = centre ?? (from + to) / 2;
    this.zoomTo(null, { from: at - (at - from) * factor, to: at + (to - at) * factor });
  }

  pan(share) {
    const move = (this.view.to - this.view.from) * share;
    this.zoomTo(null, { from: this.view.from + move, to: this.view.to + move });
  }

  // Goes to a place in the curves: a violation, a peak or a gap.
  goTo({ joint, quantity, from, to, at }) {
    const chart = this.charts.find((candidate) => candidate.quantity === quantity) || this.charts[0];
    if (joint !== null) this.joints[joint] = true;
    const margin = Math.max((to - from) * 1.5, 40 * this.step);
    this.view = this.within({ from: from - margin, to: to + margin });
    for (const other of this.charts) other.update(); // at once: the pointer is put onto all of them
    this.changed();
    chart.element.closest(".chart").scrollIntoView({ block: "center" });
    chart.element.focus({ preventScroll: true });
    requestAnimationFrame(() => requestAnimationFrame(() => this.pointAt(chart, at)));
  }

  pointAt(chart, time) {
    this.source = chart;
    const left = chart.plot.valToPos(time, "x");
    chart.plot.setCursor({ left, top: chart.plot.over.clientHeight / 2 }, true, true);
  }

  // The pointer moved over a chart. uPlot hands it on to the charts that share its axis, which do not count.
  pointed(chart, u) {
    if (chart !== this.source) return;
    const left = u.cursor.left;
    const x = left === undefined || left === null || left < 0 ? null : u.posToVal(left, "x");
    if (chart.isTime) this.time = x;
    this.point(chart, x);
  }

  point(chart, x) {
    this.pointedChart = chart;
    this.pointedX = x;
    if (this.pointing) return;
    this.pointing = true;
    requestAnimationFrame(() => {
      this.pointing = false;
      this.onPoint(this.pointedChart, this.pointedX);
    });
  }
}
