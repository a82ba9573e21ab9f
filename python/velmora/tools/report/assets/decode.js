// Reads the numbers of the page, array by array in the order in which encode.py and payload.py wrote them.
// SPDX-License-Identifier: Apache-2.0

const BLOCK = 512;
const MISSING = 65535;

class Reader {
  constructor(bytes) {
    this.bytes = bytes;
    this.at = 0;
  }

  take(count) {
    const part = this.bytes.subarray(this.at, this.at + count);
    if (part.length !== count) throw new Error("the data of this page are cut short");
    this.at += count;
    return part;
  }

  planes(count, width) {
    const from = this.take(count * width);
    const to = new Uint8Array(count * width);
    for (let plane = 0; plane < width; plane++)
      for (let i = 0; i < count; i++) to[i * width + plane] = from[plane * count + i];
    return to.buffer;
  }

  integers(count) {
    let sum = 0;
    return Float64Array.from(new Uint32Array(this.planes(count, 4)), (step) => (sum += step));
  }

  times(count) {
    return new Float64Array(this.planes(count, 8));
  }

  flags(count) {
    const bits = this.take(Math.ceil(count / 8));
    return Uint8Array.from({ length: count }, (_, i) => (bits[i >> 3] >> (i & 7)) & 1);
  }

  header(count) {
    const blocks = Math.ceil(count / BLOCK);
    return new Float64Array(this.take(blocks * 16).slice().buffer);
  }

  codes(count) {
    const codes = new Uint16Array(this.planes(count, 2));
    for (let i = 1; i < count; i++) codes[i] += codes[i - 1];
    return codes;
  }

  values(count) {
    const header = this.header(count);
    const values = decoded(this.codes(count), header);
    return { low: values, high: values };
  }

  ranges(count) {
    const header = this.header(count);
    const bottom = this.codes(count);
    const top = new Uint16Array(this.planes(count, 2));
    for (let i = 0; i < count; i++) top[i] += bottom[i];
    return { low: decoded(bottom, header), high: decoded(top, header) };
  }
}

function decoded(codes, header) {
  const blocks = header.length / 2;
  const values = new Float64Array(codes.length);
  for (let i = 0; i < codes.length; i++) {
    const block = Math.floor(i / BLOCK);
    values[i] = codes[i] === MISSING ? NaN : header[block] + codes[i] * header[blocks + block];
  }
  return values;
}

// A track: bucket k holds the samples from first[k] on, from start[k] to end[k]; a break before it ends the line.
function readTrack(reader, meta, joints) {
  const count = meta.buckets;
  const track = { ...meta, first: reader.integers(count), start: reader.times(count), curves: {} };
  track.end = new Float64Array(count);
  for (let k = 0; k < count; k++) track.end[k] = k + 1 < count ? track.start[k + 1] : meta.last;
  track.broken = new Uint8Array(count + 1);
  for (const [bucket, time] of meta.breaks) {
    track.broken[bucket] = 1;
    track.end[bucket - 1] = time;
  }
  for (const quantity of [...meta.quantities, "step"]) {
    const flagged = new Map((meta.flagged[quantity] || []).map((joint) => [joint, reader.flags(count)]));
    track.curves[quantity] = Array.from({ length: quantity === "step" ? 1 : joints }, (_, joint) => ({
      ...(meta.single ? reader.values(count) : reader.ranges(count)),
      outside: flagged.get(joint),
    }));
  }
  return track;
}

// A curve of a further plot in the form of a track with single samples.
function readPlotCurve(reader, meta, plot) {
  const start = reader.times(meta.points);
  const { low } = reader.values(meta.points);
  const y = plot.logY ? low.map((value) => 10 ** value) : low;
  return { ...meta, single: true, start, end: start, broken: new Uint8Array(meta.points + 1), low: y, high: y };
}

async function readAll(meta, text) {
  const packed = Uint8Array.from(atob(text), (character) => character.charCodeAt(0));
  const stream = new Blob([packed]).stream().pipeThrough(new DecompressionStream("deflate"));
  const reader = new Reader(new Uint8Array(await new Response(stream).arrayBuffer()));
  const tracks = meta.tracks.map((track) => readTrack(reader, track, meta.joints.length));
  const plots = meta.plots.map((plot) => ({
    ...plot,
    curves: plot.curves.map((curve) => readPlotCurve(reader, curve, plot)),
  }));
  return { tracks, plots };
}
