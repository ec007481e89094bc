// SPDX-License-Identifier: Apache-2.0
// The page: mirrors the board from the server's events, shows it, and sends commands.
import { follow } from './feed.js';
import { describe, drawFront, phases } from './leds.js';
import { SystemLogView, WebLogView } from './log.js';
import { SPANS, Waveform } from './waveform.js';

const KEPT = 40e6; // microseconds of changes

const find = (id) => document.getElementById(id);

const board = { signals: [], leds: [], faults: {}, offset: Infinity, lostAt: null };
// Microseconds since the board's start, up to its end. Events may be late, never early.
const now = () => board.lostAt ?? performance.now() * 1000 - board.offset;
const waveform = new Waveform(find('waveform'), find('canvas'), now);
const webLog = new WebLogView(find('web-log'));
const systemLog = new SystemLogView(find('system-log'));

function make(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  element.append(...children);
  return element;
}

// Sets attributes and texts only when they change, for screen readers.
function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}
function setAttribute(element, name, value) {
  if (element.getAttribute(name) !== String(value)) element.setAttribute(name, value);
}
function setPill(element, state, text) {
  setAttribute(element, 'data-state', state);
  setText(element, text);
}

// ---- events of the server ----

function lost() {
  board.lostAt ??= now();
  setPill(find('connection'), 'lost', 'board gone, looking for it');
  document.body.classList.add('lost');
}

function receive(message) {
  if (message.board) begin(message.board);
  board.offset = Math.min(board.offset, performance.now() * 1000 - message.now);
  for (const [number, id, from, to, count, level] of message.changes) {
    const { entries } = board.signals[number];
    while (entries.length && entries.at(-1).id >= id) entries.pop();
    entries.push({ id, begin: from, end: to, count, level: level === 1 });
  }
  const oldest = now() - KEPT;
  board.signals.forEach((signal, number) => {
    signal.level = message.levels[number] === '1';
    while (signal.entries.length > 1 && signal.entries[1].end < oldest) signal.entries.shift();
  });
  if (message.webLog) webLog.add(message.webLog);
  if (message.systemLog) systemLog.add(message.systemLog);
  if (message.program) showProgram(message.program);
  if (message.module) showModule(message.module);
  if (message.faults) showFaults(message.faults);
  showLevels();
  showLeds();
}

// The first message of a connection. The user's settings stay if it is the same board.
function begin(description) {
  const isNew = description.run !== board.run;
  board.run = description.run;
  board.offset = Infinity;
  board.lostAt = null;
  board.signals = description.signals.map((signal) => ({ ...signal, level: false, entries: [] }));
  const names = [...new Set(board.signals.filter((signal) => signal.led).map((signal) => signal.led))];
  board.leds = names.map((name) => ({ name, elements: board.signals.filter((signal) => signal.led === name) }));
  document.body.classList.remove('lost');
  setPill(find('connection'), 'ready', 'connected');
  setText(find('program-name'), description.program);
  if (isNew) {
    showError('');
    webLog.clear();
    systemLog.clear();
    waveform.pause(false);
  }
  buildFront(names);
  buildLines();
  buildFaultChoices();
  const numbered = (signal) => board.signals.indexOf(signal);
  waveform.setSignals([
    ...board.leds.map((led) => ({ name: led.name, elements: led.elements.map((e) => ({ color: e.color, signal: numbered(e) })) })),
    ...board.signals.filter((signal) => !signal.led).map((signal) => ({ name: signal.name, signal: numbered(signal) })),
  ], board.signals);
  showPause();
}

// ---- front panel ----

function buildFront(names) {
  if (find('leds').childElementCount === names.length) return;
  find('front').replaceChildren(drawFront(names));
  find('leds').replaceChildren(...names.map((name) => make('li', { 'data-led': name },
    make('span', { class: 'dot', 'data-color': 'off' }),
    make('span', {}, make('strong', {}, name), ': ', make('span', { class: 'pattern' }, 'off')))));
}

const announced = new Map();
let lastAnnouncement = 0;

function showLeds() {
  const time = now();
  for (const led of board.leds) {
    const found = phases(led.elements);
    const color = found.at(-1).color;
    for (const element of document.querySelectorAll(`[data-led="${led.name}"]`)) {
      setAttribute(element.matches('li') ? element.querySelector('.dot') : element, 'data-color', color);
      if (element.matches('li')) setText(element.querySelector('.pattern'), describe(found, time));
    }
    led.pattern = describe(found, time);
  }
  announce(time);
}

// Stable patterns, announced one sentence at a time.
function announce(time) {
  if (time - lastAnnouncement < 1.5e6 && time > lastAnnouncement) return;
  const news = board.leds.filter((led) => announced.get(led.name) !== led.pattern);
  if (!news.length) return;
  for (const led of news) announced.set(led.name, led.pattern);
  lastAnnouncement = time;
  setText(find('announcement'), news.map((led) => `${led.name}: ${led.pattern}`).join('. '));
}
// A stopped pattern shows only by the absence of events.
setInterval(() => { if (board.leds.length && !document.hidden) showLeds(); }, 250);

// ---- lines ----

function buildLines() {
  const lines = board.signals.filter((signal) => !signal.led);
  for (const [list, input] of [[find('inputs'), true], [find('outputs'), false]]) {
    const wanted = lines.filter((line) => line.input === input);
    const held = [...list.children].map((item) => item.dataset.line).join();
    if (held !== wanted.map((line) => line.name).join())
      list.replaceChildren(...wanted.map((line) => (input ? inputItem(line) : outputItem(line))));
  }
}

function inputItem(line) {
  const id = `line-${line.name}`;
  const control = make('button', { type: 'button', role: 'switch', 'aria-checked': 'false', 'aria-labelledby': id, class: 'switch' },
    make('span', { class: 'knob', 'aria-hidden': 'true' }), make('span', { class: 'level' }, 'low'));
  control.addEventListener('click', () =>
    send(`inputs/${line.name}`, { level: control.getAttribute('aria-checked') !== 'true' }));
  return make('li', { 'data-line': line.name, title: line.path }, make('code', { id }, line.name), make('span', { class: 'fault' }), control);
}

function outputItem(line) {
  return make('li', { 'data-line': line.name, title: line.path },
    make('code', {}, line.name), make('span', { class: 'fault' }), make('span', { class: 'pill level', 'data-state': 'low' }, 'low'));
}

function showLevels() {
  for (const signal of board.signals) {
    if (signal.led) continue;
    const item = document.querySelector(`[data-line="${signal.name}"]`);
    const control = item.querySelector('.switch');
    const text = signal.level ? 'high' : 'low';
    if (control) setAttribute(control, 'aria-checked', signal.level);
    else setAttribute(item.querySelector('.level'), 'data-state', text);
    setText(item.querySelector('.level'), text);
    setText(item.querySelector('.fault'), board.faults[signal.name] ?? '');
  }
}

// ---- module, faults, program ----

const MODULE_STATES = { reset: 'held in reset', starting: 'starting', ready: 'ready', silent: 'never becomes ready' };

function showModule(module) {
  const text = MODULE_STATES[module.state] ?? module.state;
  setPill(find('module-state'), module.state, text);
  const front = find('front-module');
  if (front) setText(front, text);
  setText(find('module-loader'), module.ramLoader === null ? '' : `RAM loader line ${module.ramLoader ? 'high' : 'low'} at the release of reset`);
  if (find('module-form').contains(document.activeElement)) return;
  find('never').checked = module.readyAfterMs === null;
  find('ready-after').disabled = module.readyAfterMs === null;
  if (module.readyAfterMs !== null) find('ready-after').value = module.readyAfterMs;
}

find('never').addEventListener('change', () => { find('ready-after').disabled = find('never').checked; });
find('module-form').addEventListener('submit', (event) => {
  event.preventDefault();
  send('module', { readyAfterMs: find('never').checked ? null : Number(find('ready-after').value) });
});

function buildFaultChoices() {
  const select = find('fault-signal');
  if (select.childElementCount === board.signals.length) return;
  select.replaceChildren(...board.signals.map((signal) => make('option', { value: signal.name }, signal.name)));
  offerFaults();
}

// Only writes find a device full, and nobody writes to an input.
function offerFaults() {
  const kind = find('fault-kind');
  const noSpace = kind.querySelector('[value=ENOSPC]');
  noSpace.disabled = board.signals.find((signal) => signal.name === find('fault-signal').value)?.input ?? false;
  if (noSpace.disabled && noSpace.selected) kind.value = 'EIO';
}

find('fault-signal').addEventListener('change', offerFaults);

find('fault-kind').addEventListener('change', () => {
  for (const id of ['delay-label', 'delay-field']) find(id).hidden = find('fault-kind').value !== 'slow';
});
find('fault-form').addEventListener('submit', (event) => {
  event.preventDefault();
  const kind = find('fault-kind').value;
  send(`faults/${find('fault-signal').value}`, { fault: kind === 'slow' ? `slow:${find('delay').value}ms` : kind });
});

function showFaults(faults) {
  board.faults = faults;
  const names = Object.keys(faults);
  find('no-faults').hidden = names.length > 0;
  find('faults').replaceChildren(...names.map((name) => {
    const button = make('button', { type: 'button', 'aria-label': `Repair ${name}` }, 'Repair');
    button.addEventListener('click', () => send(`faults/${name}`, { fault: null }));
    return make('li', { 'data-fault': name }, make('code', {}, name), make('span', { class: 'fault' }, faults[name]), button);
  }));
}

function showProgram(program) {
  setPill(find('program-state'), program.state, program.text);
  find('stop').disabled = program.state !== 'running';
}
find('stop').addEventListener('click', () => send('program', { signal: 'TERM' }));

async function send(path, body) {
  try {
    const answer = await fetch(path, { method: 'POST', headers: { 'Content-Type': 'application/json' }, body: JSON.stringify(body) });
    showError(answer.ok ? '' : (await answer.json()).error);
  } catch {
    showError('The board did not answer; the change was not made.');
  }
}

function showError(text) {
  setText(find('message'), text);
  find('message').hidden = !text;
}

// ---- waveform ----

function zoom(step) {
  waveform.zoom(step);
  setText(find('span'), `${waveform.span} s`);
  find('zoom-in').disabled = waveform.span === SPANS[0];
  find('zoom-out').disabled = waveform.span === SPANS.at(-1);
}
function togglePause() {
  waveform.pause(!waveform.paused);
  showPause();
}
function showPause() {
  setAttribute(find('pause'), 'aria-pressed', waveform.paused);
  setText(find('pause'), waveform.paused ? 'Paused' : 'Pause');
}
find('zoom-in').addEventListener('click', () => zoom(-1));
find('zoom-out').addEventListener('click', () => zoom(1));
find('pause').addEventListener('click', togglePause);
const KEYS = { '+': () => zoom(-1), '-': () => zoom(1), ' ': togglePause, ArrowLeft: () => waveform.move(-0.25), ArrowRight: () => waveform.move(0.25) };
find('waveform').addEventListener('keydown', (event) => {
  if (!KEYS[event.key]) return;
  event.preventDefault();
  KEYS[event.key]();
});

follow({ receive, lost });
