// SPDX-License-Identifier: Apache-2.0
// The last seconds of all signals as a scrolling picture: a lane for each colour of an LED, with the colour's initial since
// hue alone tells too little, and a square wave for a line.

export const SPANS = [0.5, 1, 2, 5, 10, 30]; // seconds
const KEPT = 30e6; // microseconds of history to scroll through
const FRAME = 30; // minimum milliseconds between two frames
const ROW = 24;
const AXIS = 22;
const LANE_MARGIN = 2;

export class Waveform {
  // rows: [{name, elements: [{color, signal}]}] for LEDs, [{name, signal}] for lines; signals: their histories by number.
  // clock: microseconds of the board now.
  constructor(holder, canvas, clock) {
    this.holder = holder;
    this.canvas = canvas;
    this.clock = clock;
    this.rows = [];
    this.signals = [];
    this.spanIndex = 4;
    this.pausedAt = null;
    this.shift = 0; // microseconds back from the right edge while paused
    this.pointer = null;
    this.colors = {};
    canvas.addEventListener('pointermove', (event) => { this.pointer = event.offsetX; this.draw(); });
    canvas.addEventListener('pointerleave', () => { this.pointer = null; this.draw(); });
    for (const query of ['(prefers-color-scheme: dark)', '(prefers-contrast: more)'])
      matchMedia(query).addEventListener('change', () => this.readColors());
    new ResizeObserver(() => this.resize()).observe(holder);
    this.readColors();
    let drawn = 0;
    const frame = (time) => {
      requestAnimationFrame(frame);
      if (this.pausedAt !== null || time - drawn < FRAME) return;
      drawn = time;
      this.draw();
    };
    requestAnimationFrame(frame);
  }

  get span() { return SPANS[this.spanIndex]; }
  get paused() { return this.pausedAt !== null; }

  zoom(step) {
    this.spanIndex = Math.min(SPANS.length - 1, Math.max(0, this.spanIndex + step));
    this.move(0);
  }

  pause(on) {
    this.pausedAt = on ? this.clock() : null;
    this.shift = 0;
    this.draw();
  }

  // Pans by parts of the span, positive to later, within the history.
  move(parts) {
    const furthest = Math.max(0, KEPT - this.span * 1e6);
    if (this.paused) this.shift = Math.min(furthest, Math.max(0, this.shift - parts * this.span * 1e6));
    this.draw();
  }

  setSignals(rows, signals) {
    this.rows = rows;
    this.signals = signals;
    this.resize();
  }

  readColors() {
    const style = getComputedStyle(document.documentElement);
    for (const name of ['text', 'muted', 'rule', 'wave', 'stripe', 'green', 'red', 'yellow'])
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

  draw() {
    const context = this.canvas.getContext('2d');
    if (!this.width || !this.rows.length) return;
    const names = this.width < 560 ? 118 : 160;
    const end = (this.pausedAt ?? this.clock()) - this.shift;
    const length = this.span * 1e6;
    const view = { context, left: names, right: this.width - 8, begin: end - length, end };
    view.x = (time) => view.left + ((time - view.begin) / length) * (view.right - view.left);

    context.clearRect(0, 0, this.width, this.height);
    context.font = '12px system-ui, sans-serif';
    context.textBaseline = 'middle';
    this.drawAxis(view);
    this.rows.forEach((row, index) => this.drawRow(view, row, index * ROW, index));
    if (this.pointer !== null && this.pointer >= view.left && this.pointer <= view.right) this.drawPointer(view);
  }

  drawAxis({ context, x, begin, end, left, right }) {
    const bottom = this.rows.length * ROW;
    const step = this.span / (right - left < 420 ? 2 : 5);
    context.fillStyle = this.colors.muted;
    context.strokeStyle = this.colors.rule;
    context.textAlign = 'right';
    for (let back = 0; back <= this.span + 1e-9; back += step) {
      const place = x(end - back * 1e6);
      context.beginPath();
      context.moveTo(Math.round(place) - 0.5, 0);
      context.lineTo(Math.round(place) - 0.5, bottom + 4);
      context.stroke();
      if (end - back * 1e6 < 0 || place < left + 20) continue;
      context.fillText(`${((end - back * 1e6) / 1e6).toFixed(this.span < 5 ? 2 : 1)} s`, place, bottom + AXIS / 2 + 2);
    }
    context.fillStyle = this.colors.stripe;
    if (begin < 0) context.fillRect(left, 0, Math.max(0, x(0) - left), bottom); // before the board's start
  }

  drawRow(view, row, top, index) {
    const { context, left, right } = view;
    if (index % 2) {
      context.fillStyle = this.colors.stripe;
      context.fillRect(0, top, right, ROW);
    }
    context.fillStyle = this.colors.text;
    context.textAlign = 'left';
    context.fillText(row.name, 6, top + ROW / 2, left - 14);
    if (!row.elements) {
      this.drawLine(view, this.signals[row.signal], top);
      return;
    }
    const height = (ROW - 2 * LANE_MARGIN) / row.elements.length;
    row.elements.forEach((element, number) =>
      this.drawLane(view, this.signals[element.signal], top + LANE_MARGIN + number * height, height, element.color));
  }

  // Calls back with each visible stretch of one level, and with bursts.
  stretches({ begin, end }, signal, draw) {
    let time = Math.max(begin, 0);
    let level = signal.entries.length ? !signal.entries[0].level : signal.level;
    for (const entry of signal.entries) {
      if (entry.end > begin && entry.begin < end) {
        if (entry.begin > time) draw(time, Math.min(entry.begin, end), level, false);
        if (entry.count > 1) draw(Math.max(entry.begin, begin), Math.min(entry.end, end), level, true);
      }
      level = entry.level;
      time = Math.max(time, entry.end);
      if (time >= end) return;
    }
    draw(time, end, level, false);
  }

  drawLine(view, signal, top) {
    const { context, x } = view;
    const high = top + 5.5;
    const low = top + ROW - 5.5;
    context.strokeStyle = this.colors.wave;
    context.fillStyle = this.colors.wave;
    context.lineWidth = 1.5;
    context.beginPath();
    let before = null;
    this.stretches(view, signal, (from, to, level, burst) => {
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

  drawLane(view, signal, top, height, color) {
    const { context, x, left, right } = view;
    context.save();
    context.font = `${Math.min(height, 10)}px system-ui, sans-serif`;
    context.fillStyle = this.colors.muted;
    context.textAlign = 'right';
    context.fillText(color[0].toUpperCase(), left - 3, top + height / 2);
    context.fillStyle = this.colors.rule;
    context.fillRect(left, Math.floor(top + height) - 1, right - left, 1);
    context.fillStyle = this.colors[color];
    this.stretches(view, signal, (from, to, level, burst) => {
      if (!level && !burst) return;
      context.globalAlpha = burst ? 0.6 : 1;
      context.fillRect(x(from), top + 1, Math.max(1, x(to) - x(from)), height - 2);
    });
    context.restore();
  }

  drawPointer({ context, begin, left, right }) {
    const time = begin + ((this.pointer - left) / (right - left)) * this.span * 1e6;
    const label = `${(time / 1e6).toFixed(3)} s`;
    context.strokeStyle = this.colors.text;
    context.beginPath();
    context.moveTo(this.pointer + 0.5, 0);
    context.lineTo(this.pointer + 0.5, this.rows.length * ROW + 4);
    context.stroke();
    context.fillStyle = this.colors.text;
    context.textAlign = this.pointer > (left + right) / 2 ? 'right' : 'left';
    context.fillText(label, this.pointer + (context.textAlign === 'right' ? -6 : 6), 10);
  }
}
