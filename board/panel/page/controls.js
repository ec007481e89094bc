// SPDX-License-Identifier: Apache-2.0
// The waveform by pointer, wheel, keyboard and buttons.
import { nearestEdge, nextEdge, previousEdge } from './cursors.js';
import { find, setAttribute, setText } from './dom.js';
import { spanText } from './view.js';

const DRAG = 4; // pixels; a shorter movement is a click
const NOTCH = 50; // of a wheel's delta, for one step of the zoom
const PAN = 0.25; // of the span, by a key or a button

export function controlWaveform(waveform, view, cursors) {
  const { holder, canvas } = waveform;
  let drag = null; // {x, end, moved}
  let turned = 0;

  function show() {
    setText(find('span'), spanText(view.span));
    find('zoom-in').disabled = view.isShortest;
    find('zoom-out').disabled = view.isLongest;
    setAttribute(find('live'), 'aria-pressed', view.live);
    for (const name of ['A', 'B']) setAttribute(find(`cursor-${name}`), 'aria-pressed', cursors.active === name);
    setText(find('cursors'), cursors.text() || 'Click the waveform to measure between two edges.');
    find('cursors-clear').disabled = cursors.A === null && cursors.B === null;
    waveform.draw();
  }

  function zoom(step, time) {
    view.zoom(step, time);
    show();
  }
  function pan(parts) {
    view.pan(parts * view.length);
    show();
  }
  function toggleLive() {
    if (view.live) view.hold();
    else view.follow();
    show();
  }
  function follow() {
    view.follow();
    show();
  }
  function clear() {
    cursors.clear();
    waveform.selected = null;
    show();
  }

  // ---- cursors by the keyboard ----

  function lane() {
    return waveform.lanes.find((each) => each.name === waveform.selected) ?? waveform.lanes[0];
  }
  function select(step) {
    const { lanes } = waveform;
    const place = lanes.findIndex((each) => each.name === waveform.selected);
    const next = place < 0 ? 0 : Math.min(lanes.length - 1, Math.max(0, place + step));
    waveform.selected = lanes[next]?.name ?? null;
    setText(find('lane'), waveform.selected ?? '');
    show();
  }
  // Makes the cursor the active one; one that is not set comes to the edge nearest to the middle of the picture.
  function activate(name) {
    cursors.active = name;
    const { begin, end } = view.window();
    const middle = (begin + end) / 2;
    if (cursors.time === null && lane())
      cursors.set(name, nearestEdge(waveform.entries(lane()), middle, view.length / 2) ?? Math.max(0, middle));
    if (cursors.time !== null) view.show(cursors.time);
    show();
  }
  function step(findEdge) {
    if (cursors.time === null) return activate(cursors.active);
    const edge = lane() && findEdge(waveform.entries(lane()), cursors.time);
    if (edge === null || edge === undefined) return;
    cursors.set(cursors.active, edge);
    view.show(edge);
    show();
  }

  const KEYS = {
    '+': () => zoom(-1), '=': () => zoom(-1), '-': () => zoom(1), ' ': toggleLive, Home: () => { view.moveTo(view.length); show(); }, End: follow,
    ArrowLeft: () => pan(-PAN), ArrowRight: () => pan(PAN), ArrowUp: () => select(-1), ArrowDown: () => select(1),
    a: () => activate('A'), b: () => activate('B'), '[': () => step(previousEdge), ']': () => step(nextEdge), Escape: clear,
  };
  holder.addEventListener('keydown', (event) => {
    if (!KEYS[event.key] || event.ctrlKey || event.altKey || event.metaKey) return;
    event.preventDefault();
    KEYS[event.key]();
  });

  // ---- pointer and wheel ----

  canvas.addEventListener('pointerdown', (event) => {
    if (event.button !== 0) return;
    holder.focus({ preventScroll: true });
    drag = { x: event.offsetX, end: view.window().end, moved: false };
    canvas.setPointerCapture(event.pointerId);
  });
  canvas.addEventListener('pointermove', (event) => {
    waveform.pointer = event.offsetX;
    if (drag && (drag.moved || Math.abs(event.offsetX - drag.x) > DRAG)) {
      drag.moved = true;
      view.moveTo(drag.end - (event.offsetX - drag.x) * waveform.place().pixel);
      show();
    } else {
      waveform.draw();
    }
  });
  canvas.addEventListener('pointerup', (event) => {
    const isClick = drag && !drag.moved && waveform.isOnTime(event.offsetX);
    drag = null;
    if (!isClick) return;
    cursors.set(event.shiftKey ? cursors.other : cursors.active, Math.max(0, waveform.snap(event.offsetX, event.offsetY)));
    show();
  });
  canvas.addEventListener('pointercancel', () => { drag = null; });
  canvas.addEventListener('pointerleave', () => { waveform.pointer = null; waveform.draw(); });
  // Without the focus the wheel scrolls the page, which must not stop here.
  canvas.addEventListener('wheel', (event) => {
    if (!holder.contains(document.activeElement) && !event.ctrlKey) return;
    event.preventDefault();
    if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
      view.pan((event.deltaX || event.deltaY) * waveform.place().pixel);
      return show();
    }
    turned += event.deltaMode === 0 ? event.deltaY : event.deltaY * NOTCH;
    const steps = Math.trunc(turned / NOTCH);
    turned -= steps * NOTCH;
    if (steps) zoom(Math.sign(steps), waveform.timeAt(event.offsetX));
  }, { passive: false });

  // ---- buttons ----

  for (const [id, action] of Object.entries({
    'zoom-in': () => zoom(-1), 'zoom-out': () => zoom(1), earlier: () => pan(-PAN), later: () => pan(PAN), live: toggleLive,
    'cursor-A': () => activate('A'), 'cursor-B': () => activate('B'), 'cursors-clear': clear,
  }))
    find(id).addEventListener('click', action);
  show();
  return { reset() { view.follow(); clear(); } };
}
