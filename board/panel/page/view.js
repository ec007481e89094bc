// SPDX-License-Identifier: Apache-2.0
// The part of the run that the waveform shows: the last seconds, or a stretch that stays. Times are microseconds since the
// board's start.

export const SPANS = [
  0.001, 0.002, 0.005, 0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1, 2, 5, 10, 30, 60, 120, 300, 600, 1800, 3600, 7200, 18000, 43200,
]; // seconds
const USUAL = 10;
const LEAST_OF_RUN = 0.1; // of the span: as much of the run stays in sight

// "5 ms", "10 s", "2 min", "5 h"
export function spanText(seconds) {
  if (seconds < 1) return `${Math.round(seconds * 1000)} ms`;
  if (seconds < 60) return `${seconds} s`;
  return seconds < 3600 ? `${seconds / 60} min` : `${seconds / 3600} h`;
}

export class TimeView {
  // clock: microseconds of the board now.
  constructor(clock) {
    this.clock = clock;
    this.index = SPANS.indexOf(USUAL);
    this.end = null; // null: now
  }

  get live() { return this.end === null; }
  get span() { return SPANS[this.index]; }
  get length() { return this.span * 1e6; }
  get isShortest() { return this.index === 0; }
  get isLongest() { return this.index === SPANS.length - 1; }

  window() {
    const end = this.end ?? this.clock();
    return { begin: end - this.length, end };
  }

  follow() { this.end = null; }
  hold() { this.end ??= this.clock(); }

  // Positive: to later times. The picture then stays.
  pan(microseconds) { this.moveTo(this.window().end + microseconds); }

  moveTo(end) {
    const now = this.clock();
    this.end = Math.min(now, Math.max(end, Math.min(now, LEAST_OF_RUN * this.length)));
  }

  // Brings the time into sight; the picture then stays.
  show(time) {
    const { begin, end } = this.window();
    if (time < begin || time > end) this.moveTo(time + this.length / 2);
  }

  // By steps of SPANS, negative to a shorter one. The time stays where it is on the picture; a live one keeps its end.
  zoom(step, time) {
    const { begin, end } = this.window();
    const fixed = time ?? (begin + end) / 2;
    const behind = (end - fixed) / this.length;
    this.index = Math.min(SPANS.length - 1, Math.max(0, this.index + step));
    if (!this.live) this.moveTo(fixed + behind * this.length);
  }
}
