// SPDX-License-Identifier: Apache-2.0
// The page: mirrors the board from the server's events, shows it, and sends commands.
import { BoardClock } from './clock.js';
import { controlWaveform } from './controls.js';
import { Cursors } from './cursors.js';
import { find, make, setAttribute, setPill, setText } from './dom.js';
import { controlFaults } from './faults.js';
import { follow } from './feed.js';
import { droppedText, fetchOlder, readChange } from './history.js';
import { describe, drawFront, phases } from './leds.js';
import { buildLines, showDrivers, showLevels } from './lines.js';
import { SystemLogView, WebLogView } from './log.js';
import { ProgramView } from './program.js';
import { TimeView } from './view.js';
import { Waveform } from './waveform.js';

const RECENT = 64; // changes of an LED's element that its pattern is read from
const TRIMMED = 1000; // changes that are forgotten at once, so that it is rare

const board = { signals: [], leds: [], faults: {}, program: '', most: Infinity, isComplete: false, lostAt: null };
const clock = new BoardClock();
// Microseconds since the board's start, up to its end.
const now = () => board.lostAt ?? clock.now();
const view = new TimeView(now);
const cursors = new Cursors();
const waveform = new Waveform(find('waveform'), find('canvas'), view, cursors);
const controls = controlWaveform(waveform, view, cursors);
const webLog = new WebLogView(find('web-log'));
const systemLog = new SystemLogView(find('system-log'));
const program = new ProgramView(send);
const faults = controlFaults(() => board.signals, send);

// ---- events of the server ----

function lost() {
  board.lostAt ??= now();
  setPill(find('connection'), 'lost', 'board gone, looking for it');
  document.body.classList.add('lost');
  program.look(board.program, now(), false);
}

function receive(message) {
  if (message.board) begin(message.board);
  clock.hear(message.now);
  setText(find('pace'), clock.text());
  find('pace').hidden = !clock.text();
  for (const change of message.changes) {
    const { entries } = board.signals[change[0]];
    const entry = readChange(change);
    while (entries.length && entries.at(-1).id >= entry.id) entries.pop();
    entries.push(entry);
  }
  board.signals.forEach((signal, number) => {
    signal.level = message.levels[number] === '1';
    if (signal.entries.length >= board.most + TRIMMED) signal.entries.splice(0, TRIMMED);
  });
  if (message.webLog) webLog.add(message.webLog);
  if (message.systemLog) systemLog.add(message.systemLog);
  if (message.program) program.show(message.program);
  if (message.module) showModule(message.module);
  if (message.inputs) showDrivers(message.inputs);
  if (message.faults) {
    board.faults = message.faults;
    faults.show(message.faults);
  }
  showLevels(board.signals, board.faults);
  showLeds();
  program.look(board.program, now(), true);
  if (message.board) loadHistory();
}

// The first message of a connection. The user's settings stay if it is the same board.
function begin(description) {
  const isNew = description.run !== board.run;
  board.run = description.run;
  board.program = description.program;
  board.most = description.keptChanges;
  clock.reset();
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
    controls.reset();
  }
  buildFront(names);
  buildLines(board.signals, send);
  faults.build();
  const numbered = (signal) => board.signals.indexOf(signal);
  waveform.setSignals([
    ...board.leds.map((led) => ({ name: led.name, elements: led.elements.map((e) => ({ color: e.color, signal: numbered(e) })) })),
    ...board.signals.filter((signal) => !signal.led).map((signal) => ({ name: signal.name, signal: numbered(signal) })),
  ], board.signals);
}

function loadHistory() {
  const { signals } = board;
  board.isComplete = false;
  fetchOlder(signals, () => signals !== board.signals, () => waveform.draw()).then(() => {
    if (signals === board.signals) board.isComplete = true;
  });
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
    const found = phases(led.elements.map((element) => ({ ...element, entries: element.entries.slice(-RECENT) })));
    const color = found.at(-1).color;
    led.pattern = describe(found, time);
    for (const element of document.querySelectorAll(`[data-led="${led.name}"]`)) {
      setAttribute(element.matches('li') ? element.querySelector('.dot') : element, 'data-color', color);
      if (element.matches('li')) setText(element.querySelector('.pattern'), led.pattern);
    }
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
// A stopped pattern, and a program that does not end, show only by the absence of events.
setInterval(() => {
  if (!board.leds.length) return;
  program.look(board.program, now(), board.lostAt === null);
  setText(find('dropped'), board.isComplete ? droppedText(board.signals, board.most) : '');
  if (!document.hidden) showLeds();
}, 250);

// ---- module and commands ----

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

// isLast: the board may end before it answers.
async function send(path, body, { isLast = false } = {}) {
  try {
    const answer = await fetch(path, { method: 'POST', headers: { 'Content-Type': 'application/json' }, body: JSON.stringify(body) });
    showError(answer.ok ? '' : (await answer.json()).error);
  } catch {
    if (!isLast) showError('The board did not answer; the change was not made.');
  }
}

function showError(text) {
  setText(find('message'), text);
  find('message').hidden = !text;
}

follow({ receive, lost });
