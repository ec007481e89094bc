// SPDX-License-Identifier: Apache-2.0
// Two cursors on the waveform, and the edges that they snap to. Times are microseconds since the board's start; entries are the
// changes of one signal, earliest first: {begin, end, count, level}, where a burst of many changes has a begin and an end.

// The index of the first entry that ends after the time; the number of entries where none does.
export function firstAfter(entries, time) {
  let low = 0;
  let high = entries.length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (entries[middle].end > time) high = middle;
    else low = middle + 1;
  }
  return low;
}

// The level before an entry.
export function levelBefore(entry) {
  return entry.count % 2 ? !entry.level : entry.level;
}

// The first edge after the time, or null.
export function nextEdge(entries, time) {
  const entry = entries[firstAfter(entries, time)];
  if (!entry) return null;
  return entry.begin > time ? entry.begin : entry.end;
}

// The last edge before the time, or null.
export function previousEdge(entries, time) {
  let index = Math.min(firstAfter(entries, time), entries.length - 1);
  while (index >= 0 && entries[index].begin >= time) --index;
  if (index < 0) return null;
  return entries[index].end < time ? entries[index].end : entries[index].begin;
}

// The edge that is nearest to the time, at most so far from it, or null.
export function nearestEdge(entries, time, furthest) {
  // The next edge is after the time; an edge at the time itself comes as a previous one of a moment later.
  const edges = [previousEdge(entries, time + 0.5), nextEdge(entries, time)].filter((edge) => edge !== null);
  edges.sort((a, b) => Math.abs(a - time) - Math.abs(b - time));
  return edges.length && Math.abs(edges[0] - time) <= furthest ? edges[0] : null;
}

// "850 µs", "12.345 ms", "1.234567 s"
export function duration(microseconds) {
  const size = Math.abs(microseconds);
  if (size < 1e3) return `${Math.round(microseconds)} µs`;
  return size < 1e6 ? `${(microseconds / 1e3).toFixed(3)} ms` : `${(microseconds / 1e6).toFixed(6)} s`;
}

// What a step of that length repeats at: "2.00 Hz", "1.25 kHz".
export function frequency(microseconds) {
  const hertz = 1e6 / Math.abs(microseconds);
  return hertz < 1e3 ? `${hertz.toPrecision(3)} Hz` : `${(hertz / 1e3).toPrecision(3)} kHz`;
}

// The cursors A and B: null, or a time. One of them is active: the one that clicks and keys move.
export class Cursors {
  constructor() {
    this.clear();
  }

  get time() { return this[this.active]; }
  get other() { return this.active === 'A' ? 'B' : 'A'; }

  clear() {
    this.A = null;
    this.B = null;
    this.active = 'A';
  }

  set(name, time) { this[name] = time; }

  text() {
    const set = ['A', 'B'].filter((name) => this[name] !== null);
    const parts = set.map((name) => `${name} ${duration(this[name])}`);
    if (set.length === 2) {
      const distance = this.B - this.A;
      parts.push(`B − A ${duration(distance)}${distance ? ` (${frequency(distance)})` : ''}`);
    }
    return parts.join(' · ');
  }
}
