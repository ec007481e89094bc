// SPDX-License-Identifier: Apache-2.0
// All signals over time as a picture: a lane for each colour of an LED, with the colour's initial since hue alone tells too little,
// and a square wave for a line.
import { firstAfter, levelBefore, nearestEdge } from './cursors.js';

const FRAME = 30; // minimum milliseconds between two frames
const ROW = 24;
const AXIS = 22;
const LANE_MARGIN = 2;
const SNAP = 12; // pixels to an edge that a click takes
const FLAG = 14; // width of a cursor's letter

export class Waveform {
  // view: the TimeView to show; cursors: its Cursors.
  constructor(holder, canvas, view, cursors) {
    this.holder = holder;
    this.canvas = canvas;
    this.view = view;
    this.cursors = cursors;
    this.rows = [];
    this.lanes = [];
    this.signals = [];
    this.pointer = null;
    this.selected = null; // the lane of the keyboard
    this.colors = {};
    for (const query of ['(prefers-color-scheme: dark)', '(prefers-contrast: more)', '(forced-colors: active)'])
      matchMedia(query).addEventListener('change', () => this.readColors());
    new ResizeObserver(() => this.resize()).observe(holder);
    this.readColors();
    let drawn = 0;
    const frame = (time) => {
      requestAnimationFrame(frame);
      if (!this.view.live || time - drawn < FRAME) return;
      drawn = time;
      this.draw();
    };
    requestAnimationFrame(frame);
  }

  // rows: [{name, elements: [{color, signal}]}] for LEDs, [{name, signal}] for lines; signals: their histories by number.
  setSignals(rows, signals) {
    this.rows = rows;
    this.signals = signals;
    this.lanes = rows.flatMap((row, index) => {
      if (!row.elements) return [{ name: row.name, signal: row.signal, top: index * ROW, height: ROW }];
      const height = (ROW - 2 * LANE_MARGIN) / row.elements.length;
      return row.elements.map((element, number) => ({
        name: `${row.name} ${element.color}`, signal: element.signal, color: element.color,
        top: index * ROW + LANE_MARGIN + number * height, height,
      }));
    });
    this.resize();
  }

  entries(lane) { return this.signals[lane.signal].entries; }

  readColors() {
    const style = getComputedStyle(document.documentElement);
    for (const name of ['text', 'muted', 'rule', 'wave', 'stripe', 'green', 'red', 'yellow', 'accent', 'on-accent'])
      this.colors[name] = style.getPropertyValue(`--${name}`).trim();
    this.draw();
  }

  resize() {
    const scale = window.devicePixelRatio || 1;
    this.width = this.holder.clientWidth;
    this.height = this.rows.length * ROW + AXIS;
    this.canvas.width = Math.round(this.width * scale);
    this.canvas.height = Math.round(this.height * scale);
    this.canvas.getContext('2d').setTransform(scale, 0, 0, scale, 0, 0);
    this.draw();
  }

  // Where the time is on the picture: left and right edge in pixels, begin and end in microseconds.
  place() {
    const left = this.width < 560 ? 118 : 160;
    const right = this.width - 8;
    const { begin, end } = this.view.window();
    const pixel = (end - begin) / Math.max(1, right - left);
    return { left, right, begin, end, pixel, x: (time) => left + (time - begin) / pixel };
  }

  timeAt(x) {
    const { left, begin, pixel } = this.place();
    return begin + (x - left) * pixel;
  }

  isOnTime(x) {
    const { left, right } = this.place();
    return x >= left && x <= right;
  }

  // The time at that point, or that of an edge nearby of the lane nearest.
  snap(x, y) {
    const time = this.timeAt(x);
    const distance = (lane) => Math.abs(lane.top + lane.height / 2 - y);
    const lane = this.lanes.reduce((best, each) => (distance(each) < distance(best) ? each : best), this.lanes[0]);
    return (lane && nearestEdge(this.entries(lane), time, SNAP * this.place().pixel)) ?? time;
  }

  draw() {
    const context = this.canvas.getContext('2d');
    if (!this.width || !this.rows.length) return;
    const place = { context, ...this.place() };
    context.clearRect(0, 0, this.width, this.height);
    context.font = '12px system-ui, sans-serif';
    context.textBaseline = 'middle';
    this.drawAxis(place);
    this.rows.forEach((row, index) => this.drawName(place, row.name, index));
    for (const lane of this.lanes) {
      if (lane.color) this.drawColor(place, lane);
      else this.drawLine(place, lane);
      if (lane.name === this.selected) this.drawSelection(place, lane);
    }
    if (this.pointer !== null && this.isOnTime(this.pointer)) this.drawPointer(place);
    for (const name of ['A', 'B']) if (this.cursors[name] !== null) this.drawCursor(place, name, this.cursors[name]);
  }

  drawAxis({ context, x, begin, end, left, right }) {
    const bottom = this.rows.length * ROW;
    const { span } = this.view;
    const step = span / (right - left < 420 ? 2 : 5);
    const decimals = span < 0.05 ? 4 : span < 0.5 ? 3 : span < 5 ? 2 : span < 600 ? 1 : 0;
    context.fillStyle = this.colors.muted;
    context.strokeStyle = this.colors.rule;
    context.textAlign = 'right';
    for (let back = 0; back <= span * (1 + 1e-9); back += step) {
      const at = x(end - back * 1e6);
      context.beginPath();
      context.moveTo(Math.round(at) - 0.5, 0);
      context.lineTo(Math.round(at) - 0.5, bottom + 4);
      context.stroke();
      if (end - back * 1e6 < 0 || at < left + 20) continue;
      context.fillText(`${((end - back * 1e6) / 1e6).toFixed(decimals)} s`, at, bottom + AXIS / 2 + 2);
    }
    context.fillStyle = this.colors.stripe;
    if (begin < 0) context.fillRect(left, 0, Math.max(0, x(0) - left), bottom); // before the board's start
  }

  drawName({ context, left, right }, name, index) {
    if (index % 2) {
      context.fillStyle = this.colors.stripe;
      context.fillRect(0, index * ROW, right, ROW);
    }
    context.fillStyle = this.colors.text;
    context.textAlign = 'left';
    context.fillText(name, 6, index * ROW + ROW / 2, left - 14);
  }

  // Calls back with each visible stretch of one level, and with bursts. Changes within one pixel are a burst.
  stretches({ begin, end, pixel }, signal, draw) {
    const { entries } = signal;
    let index = firstAfter(entries, begin);
    // Of what was dropped nothing is known.
    const known = entries.length && entries[0].id > 0 ? entries[0].begin : 0;
    let time = Math.max(begin, known);
    const last = entries[Math.min(index, entries.length - 1)];
    let level = !last ? signal.level : index < entries.length ? levelBefore(last) : last.level;
    for (; index < entries.length && entries[index].begin < end; ++index) {
      const { begin: from, count } = entries[index];
      const first = index;
      while (index + 1 < entries.length && entries[index + 1].end - from < pixel) ++index;
      const { end: to } = entries[index];
      if (from > time) draw(time, Math.min(from, end), level, false);
      if (count > 1 || index > first) draw(Math.max(from, begin), Math.min(to, end), level, true);
      level = entries[index].level;
      time = Math.max(time, to);
    }
    if (time < end) draw(time, end, level, false);
  }

  drawLine(place, { signal, top }) {
    const { context, x } = place;
    const high = top + 5.5;
    const low = top + ROW - 5.5;
    context.strokeStyle = this.colors.wave;
    context.fillStyle = this.colors.wave;
    context.lineWidth = 1.5;
    context.beginPath();
    let before = null;
    this.stretches(place, this.signals[signal], (from, to, level, burst) => {
      if (burst) {
        context.fillRect(x(from), high, Math.max(1.5, x(to) - x(from)), low - high);
        before = null;
        return;
      }
      const y = level ? high : low;
      if (before === null) context.moveTo(x(from), y);
      else context.lineTo(x(from), y);
      context.lineTo(x(to), y);
      before = y;
    });
    context.stroke();
    context.lineWidth = 1;
  }

  drawColor(place, { signal, top, height, color }) {
    const { context, x, left, right } = place;
    context.save();
    context.font = `${Math.min(height, 10)}px system-ui, sans-serif`;
    context.fillStyle = this.colors.muted;
    context.textAlign = 'right';
    context.fillText(color[0].toUpperCase(), left - 3, top + height / 2);
    context.fillStyle = this.colors.rule;
    context.fillRect(left, Math.floor(top + height) - 1, right - left, 1);
    context.fillStyle = this.colors[color];
    this.stretches(place, this.signals[signal], (from, to, level, burst) => {
      if (!level && !burst) return;
      context.globalAlpha = burst ? 0.6 : 1;
      context.fillRect(x(from), top + 1, Math.max(1, x(to) - x(from)), height - 2);
    });
    context.restore();
  }

  drawSelection({ context, left, right }, { top, height }) {
    context.strokeStyle = this.colors.accent;
    context.strokeRect(left + 0.5, top + 0.5, right - left - 1, height - 1);
  }

  drawUpright(context, x) {
    context.beginPath();
    context.moveTo(Math.round(x) + 0.5, 0);
    context.lineTo(Math.round(x) + 0.5, this.rows.length * ROW + 4);
    context.stroke();
  }

  drawPointer({ context, left, right }) {
    const label = `${(this.timeAt(this.pointer) / 1e6).toFixed(3)} s`;
    context.strokeStyle = this.colors.muted;
    this.drawUpright(context, this.pointer);
    context.fillStyle = this.colors.text;
    context.textAlign = this.pointer > (left + right) / 2 ? 'right' : 'left';
    context.fillText(label, this.pointer + (context.textAlign === 'right' ? -6 : 6), 10);
  }

  drawCursor({ context, x, begin, end }, name, time) {
    if (time < begin || time > end) return;
    const bottom = this.rows.length * ROW;
    context.save();
    context.strokeStyle = this.colors.accent;
    if (name === 'B') context.setLineDash([5, 3]);
    this.drawUpright(context, x(time));
    context.fillStyle = this.colors.accent;
    context.fillRect(x(time) - FLAG / 2, bottom + 4, FLAG, FLAG);
    context.fillStyle = this.colors['on-accent'];
    context.textAlign = 'center';
    context.fillText(name, x(time), bottom + 4 + FLAG / 2);
    context.restore();
  }
}
