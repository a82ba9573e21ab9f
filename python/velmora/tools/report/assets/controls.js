// Keys, fingers and wheel on a chart.
// SPDX-License-Identifier: Apache-2.0

function listenTo(page, chart) {
  const over = chart.plot.over;
  const element = chart.element;
  const timeAt = (clientX) => chart.plot.posToVal(clientX - over.getBoundingClientRect().left, "x");

  over.addEventListener("pointerenter", () => {
    page.source = chart;
  });

  element.onkeydown = (event) => {
    if (!chart.isTime || event.ctrlKey || event.metaKey || event.altKey) return;
    const { from, to } = page.view;
    const at = page.time ?? (from + to) / 2;
    const move = (time) => page.pointAt(chart, Math.min(to, Math.max(from, time)));
    const actions = {
      ArrowLeft: () => (event.shiftKey ? page.pan(-0.25) : move(neighbour(page, at, -1))),
      ArrowRight: () => (event.shiftKey ? page.pan(0.25) : move(neighbour(page, at, 1))),
      Home: () => move(from),
      End: () => move(to),
      "+": () => page.zoomBy(0.5, at),
      "=": () => page.zoomBy(0.5, at),
      "-": () => page.zoomBy(2, at),
      0: () => page.zoomTo(null, null),
      Escape: () => page.zoomTo(null, null),
    };
    const action = actions[event.key];
    if (!action) return;
    event.preventDefault();
    action();
    page.announce = true;
  };

  over.addEventListener(
    "wheel",
    (event) => {
      if (!chart.isTime || !(event.ctrlKey || event.metaKey || event.shiftKey)) return;
      event.preventDefault();
      const amount = event.deltaY || event.deltaX;
      page.zoomBy(amount < 0 ? 0.8 : 1.25, timeAt(event.clientX));
    },
    { passive: false },
  );

  let pinch = null;
  const spread = (touches) => {
    const [a, b] = [timeAt(touches[0].clientX), timeAt(touches[1].clientX)];
    return { from: Math.min(a, b), to: Math.max(a, b) };
  };
  over.addEventListener(
    "touchstart",
    (event) => {
      pinch = chart.isTime && event.touches.length === 2 ? spread(event.touches) : null;
    },
    { passive: true },
  );
  over.addEventListener(
    "touchmove",
    (event) => {
      const box = over.getBoundingClientRect();
      if (pinch && event.touches.length === 2) {
        // The two times that were touched stay under the fingers.
        event.preventDefault();
        const [a, b] = [event.touches[0].clientX, event.touches[1].clientX].sort((x, y) => x - y);
        const perPixel = (pinch.to - pinch.from) / Math.max(20, b - a);
        const from = pinch.from - (a - box.left) * perPixel;
        page.zoomTo(null, { from, to: from + box.width * perPixel });
      } else if (event.touches.length === 1) {
        const { clientX, clientY } = event.touches[0];
        chart.plot.setCursor({ left: clientX - box.left, top: clientY - box.top }, true, true);
      }
    },
    { passive: false },
  );
}

// The next time that the curves have a value for: a sample, or a pixel where samples are closer than pixels.
function neighbour(page, time, direction) {
  const track = page.tracks[page.tracks.length - 1];
  const pixel = (page.view.to - page.view.from) / 600;
  const k = nearest(track, time);
  const next = Math.min(track.start.length - 1, Math.max(0, k + direction));
  const step = track.start[next];
  return Math.abs(step - time) > pixel && isSingle(track, next) ? step : time + direction * Math.max(pixel, 0);
}
