// Curves from buckets: the path on the canvas, the range of the values in view, the value at a time.
// SPDX-License-Identifier: Apache-2.0

// First index whose entry is greater than `value`.
function upperBound(sorted, value) {
  let low = 0;
  let high = sorted.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (sorted[middle] > value) high = middle;
    else low = middle + 1;
  }
  return low;
}

// The buckets that reach into [from, to], and one more on either side, so that lines run out of the view.
function inView(track, from, to) {
  const count = track.start.length;
  return [Math.max(0, upperBound(track.start, from) - 2), Math.min(count, upperBound(track.start, to) + 1)];
}

function isSingle(track, k) {
  return track.single || (k + 1 < track.first.length ? track.first[k + 1] : track.samples) - track.first[k] === 1;
}

// Smallest and largest value of the buckets that reach into [from, to].
function extent(track, curve, from, to, result) {
  const [first, last] = inView(track, from, to);
  for (let k = first; k < last; k++) {
    if (track.end[k] < from || track.start[k] > to) continue;
    if (curve.low[k] < result.low) result.low = curve.low[k];
    if (curve.high[k] > result.high) result.high = curve.high[k];
  }
}

// The bucket whose samples are nearest to a time.
function nearest(track, time) {
  const k = Math.max(0, upperBound(track.start, time) - 1);
  if (k + 1 < track.start.length && isSingle(track, k) && track.start[k + 1] - time < time - track.start[k]) return k + 1;
  if (k + 1 < track.start.length && time > track.end[k] && track.start[k + 1] - time < time - track.end[k]) return k + 1;
  return k;
}

// Whether the track has nothing at a time: it lies in a gap, or beyond the ends, and no sample is as near as `reach`.
function isEmpty(track, time, reach) {
  const next = upperBound(track.start, time);
  const since = next > 0 ? time - track.end[next - 1] : Infinity;
  const until = next < track.start.length ? track.start[next] - time : Infinity;
  return Math.min(since, until) > reach;
}

// Pixels of values: as uPlot's valToPos, which looks up the scale anew for each of thousands of points.
function mapped(u, key, start, end) {
  const { min, max, distr } = u.scales[key];
  const log = distr === 3;
  const [low, high] = log ? [Math.log10(min), Math.log10(max)] : [min, max];
  const perUnit = (end - start) / (high - low);
  return (value) => start + perUnit * ((log ? Math.log10(value) : value) - low);
}

// Path of a curve: a line through single samples, one vertical stroke for each column of pixels where there are many,
// a block from the smallest to the largest value for a bucket that is wider than a few pixels. `dotted`: single samples
// have dots where there is room for them; `only`: flags of the buckets that are drawn.
function trace(u, track, curve, dotted, only) {
  const { min, max } = u.scales.x;
  const [first, last] = inView(track, min, max);
  const X = mapped(u, "x", u.bbox.left, u.bbox.left + u.bbox.width);
  const Y = mapped(u, "y", u.bbox.top + u.bbox.height, u.bbox.top);
  const stroke = new Path2D();
  const fill = new Path2D();
  const dots = dotted && last - first < u.bbox.width / (8 * devicePixelRatio) ? 2 * devicePixelRatio : 0;
  let pen = null; // where the line is: a point, or the right edge of a block
  let column = null;

  const reach = (x, low, high) => {
    // From the pen to the nearest end of [low, high] at x (screen values grow downwards: high <= low).
    if (pen === null) {
      stroke.moveTo(x, low);
      return;
    }
    if (pen.block) stroke.moveTo(pen.x, Math.min(pen.low, Math.max(pen.high, (low + high) / 2)));
    stroke.lineTo(x, Math.abs(pen.y - low) <= Math.abs(pen.y - high) ? low : high);
  };
  const flush = () => {
    if (column === null) return;
    const { x, low, high, single } = column;
    reach(x, low, high);
    const entered = pen !== null && Math.abs(pen.y - high) < Math.abs(pen.y - low) ? high : low;
    const left = entered === high ? low : high;
    stroke.lineTo(x, left === entered ? left + 0.01 : left);
    if (dots && single) {
      stroke.moveTo(x + dots, low);
      stroke.arc(x, low, dots, 0, 2 * Math.PI);
      stroke.moveTo(x, left);
    }
    pen = { x, y: left };
    column = null;
  };

  for (let k = first; k < last; k++) {
    const hidden = Number.isNaN(curve.low[k]) || (only && !only[k]);
    if (track.broken[k] || hidden) {
      flush();
      pen = null;
      if (hidden) continue;
    }
    const low = Y(curve.low[k]);
    const high = Y(curve.high[k]);
    const from = X(track.start[k]);
    const single = isSingle(track, k);
    const to = single ? from : X(track.end[k]);
    if (to - from > 3) {
      flush();
      if (pen !== null) {
        reach(from, low, high);
      }
      fill.rect(from, high, to - from, Math.max(1, low - high));
      pen = { x: to, y: (low + high) / 2, low, high, block: true };
      continue;
    }
    const x = single ? from : (from + to) / 2;
    if (column !== null && Math.floor(x) === Math.floor(column.x)) {
      column.low = Math.max(column.low, low);
      column.high = Math.min(column.high, high);
      column.single = false;
    } else {
      flush();
      column = { x, low, high, single };
    }
  }
  flush();
  return { stroke, fill };
}
