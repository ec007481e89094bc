// SPDX-License-Identifier: Apache-2.0
// The parts of the page that need no browser: histories of levels, times, log records, titles.
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { test } from 'node:test';

// Imports data URLs, since Node.js would treat the .js files as CommonJS.
async function module(name) {
  const source = await readFile(new URL(`../../../board/panel/page/${name}`, import.meta.url), 'utf8');
  return import(`data:text/javascript,${encodeURIComponent(source)}`);
}
const { colorName, describe, phases } = await module('leds.js');
const { readRecord, readSystemRecord } = await module('log.js');
const { Cursors, duration, frequency, nearestEdge, nextEdge, previousEdge } = await module('cursors.js');
const { SPANS, TimeView, spanText } = await module('view.js');
const { droppedText, fetchOlder } = await module('history.js');
const { ignoresTheRequest, titleOf } = await module('title.js');

// element('red', '100+ 600- 1100+'): lit at 100 ms, dark at 600 ms, lit at 1100 ms.
function element(color, changes) {
  const entries = changes.split(' ').filter(Boolean).map((change, id) => {
    const time = parseFloat(change) * 1000;
    return { id, begin: time, end: time, count: 1, level: change.endsWith('+') };
  });
  return { color, entries, level: entries.at(-1)?.level ?? false };
}

const PATTERNS = [
  // green, red, time in milliseconds, announcement
  ['', '', 5000, 'off'],
  ['100+', '', 5000, 'steady green'],
  ['100+ 600-', '', 5000, 'off'],
  ['100+ 602- 1104+', '', 1200, 'flashing green, 500 ms'],
  ['100+ 602- 1104+ 1606-', '', 1700, 'flashing green, 500 ms'],
  ['100+ 602- 1104+', '', 1904, 'steady green'], // a too long step ends the pattern
  ['100+ 602- 1104+ 1606-', '', 2406, 'off'],
  ['100+ 355- 605+', '', 700, 'flashing green, 250 ms'],
  ['', '100+ 300- 1100+ 1300- 2100+', 2200, 'flashing red, 200 ms on, 800 ms off'],
  ['', '100+ 900- 1100+ 1900- 2100+', 2200, 'flashing red, 800 ms on, 200 ms off'],
  ['100+ 1800- 2300+', '', 2400, 'flashing green, 500 ms'], // after it was steady
  ['100+ 600- 1100+ 2800- 3300+', '', 3400, 'flashing green, 500 ms'], // after it flashed and was steady
  ['100+ 350- 600+ 850- 1100+', '350+ 600- 850+ 1100-', 1200, 'alternating green and red, 250 ms'],
  // one element goes dark before the other is lit: a glitch
  ['100+ 350- 600+ 850- 1100+', '352+ 598- 852+ 1098-', 1200, 'alternating green and red, 250 ms'],
  ['100+', '100+', 5000, 'steady green with red'],
  ['100+ 1100- 2100+', '', 2200, 'flashing green, 1000 ms'],
  ['100+ 1101- 2102+', '', 2200, 'steady green'], // too slow to be a pattern
];

test('what an LED shows is said in words', () => {
  for (const [green, red, time, said] of PATTERNS) {
    const found = phases([element('green', green), element('red', red)]);
    assert.equal(describe(found, time * 1000), said, `green ${green}, red ${red}, at ${time} ms`);
  }
});

test('colours are named by the elements that are lit', () => {
  const elements = [element('green', ''), element('red', '')];
  assert.equal(colorName(elements, [false, false]), 'off');
  assert.equal(colorName(elements, [true, false]), 'green');
  assert.equal(colorName(elements, [true, true]), 'green+red');
});

test('records of the web log are read by their markers', () => {
  for (const [record, read] of [
    ['>start', { kind: 'start', text: '' }],
    ['>end', { kind: 'end', text: '' }],
    ['>br', { kind: 'break', text: '' }],
    ['>other', { kind: 'text', text: '>other' }],
    ['+note', { kind: 'note', text: 'note' }],
    ['@wwarm', { kind: 'warning', text: 'warm' }],
    ['@ehot', { kind: 'error', text: 'hot' }],
    ['%Loading', { kind: 'bar', text: 'Loading' }],
    ['%', { kind: 'bar', text: '' }],
    ['%0', { kind: 'position', percent: 0 }],
    ['%100', { kind: 'position', percent: 100 }],
    ['%250', { kind: 'position', percent: 100 }],
    ['%5 files', { kind: 'bar', text: '5 files' }],
    ['plain', { kind: 'text', text: 'plain' }],
    ['\n%5', { kind: 'board', text: '%5' }],
  ])
    assert.deepEqual(readRecord(record), read, record);
});

test('records of the system log are read by their priority', () => {
  for (const [record, read] of [
    ['<11>Nov 21 10:00:00 gateway[7]: too hot: 99', { severity: 'error', source: 'gateway', text: 'too hot: 99' }],
    ['<28>Nov  1 10:00:00 gateway: hm', { severity: 'warning', source: 'gateway', text: 'hm' }],
    ['<8>gateway: gone', { severity: 'fatal', source: 'gateway', text: 'gone' }],
    ['<15>gateway: detail', { severity: 'debug', source: 'gateway', text: 'detail' }],
    ['<14>', { severity: 'info', source: '', text: '' }],
    ['no priority', { severity: 'info', source: '', text: 'no priority' }],
  ])
    assert.deepEqual(readSystemRecord(record), read, record);
});

test('edges are found before, after and near a time', () => {
  // A pulse from 10 to 20, a burst from 100 to 150.
  const entries = [{ begin: 10, end: 10, count: 1 }, { begin: 20, end: 20, count: 1 }, { begin: 100, end: 150, count: 16 }];
  for (const [time, previous, next] of [
    [0, null, 10], [10, null, 20], [15, 10, 20], [20, 10, 100], [99, 20, 100], [100, 20, 150], [120, 100, 150], [150, 100, null], [151, 150, null],
  ]) {
    assert.equal(previousEdge(entries, time), previous, `before ${time}`);
    assert.equal(nextEdge(entries, time), next, `after ${time}`);
  }
  for (const [time, furthest, nearest] of [[12, 5, 10], [18, 5, 20], [20, 5, 20], [30, 5, null], [97.5, 5, 100], [130, 25, 150], [120, 25, 100]])
    assert.equal(nearestEdge(entries, time, furthest), nearest, `near ${time}`);
  assert.equal(nearestEdge([], 5, 5), null);
});

test('cursors say their times and the distance', () => {
  const cursors = new Cursors();
  assert.equal(cursors.text(), '');
  cursors.set('B', 2_000_000);
  assert.equal(cursors.text(), 'B 2.000000 s');
  cursors.set('A', 1_500_000);
  assert.equal(cursors.text(), 'A 1.500000 s · B 2.000000 s · B − A 500.000 ms (2.00 Hz)');
  cursors.set('B', 1_500_000);
  assert.equal(cursors.text(), 'A 1.500000 s · B 1.500000 s · B − A 0 µs');
  assert.equal(cursors.other, 'B');
  cursors.clear();
  assert.equal(cursors.time, null);
  for (const [time, text] of [[999, '999 µs'], [1000, '1.000 ms'], [-12_345, '-12.345 ms'], [1e6, '1.000000 s']]) assert.equal(duration(time), text);
  assert.equal(frequency(-800), '1.25 kHz');
});

test('the view follows the run, moves within it and zooms around a time', () => {
  let now = 100e6;
  const view = new TimeView(() => now);
  assert.deepEqual([view.live, view.window()], [true, { begin: 90e6, end: 100e6 }]);
  view.zoom(1);
  assert.deepEqual([view.live, view.span, view.window().end], [true, 30, 100e6]);
  view.zoom(-1);

  view.pan(-20e6);
  now = 101e6;
  assert.deepEqual([view.live, view.window()], [false, { begin: 70e6, end: 80e6 }]);
  view.zoom(-1, 72e6); // a fifth of the picture from its left edge
  assert.deepEqual([view.span, view.window()], [5, { begin: 71e6, end: 76e6 }]);
  view.pan(1e9);
  assert.equal(view.window().end, now); // not into the future
  view.pan(-1e9);
  assert.equal(view.window().end, 0.1 * view.length); // a part of the run stays in sight
  view.show(50e6);
  assert.equal(view.window().end, 52.5e6);
  view.show(51e6);
  assert.equal(view.window().end, 52.5e6);

  view.follow();
  assert.equal(view.window().end, now);
  for (const _ of SPANS) view.zoom(-1);
  assert.ok(view.isShortest && view.span === SPANS[0]);
  for (const _ of SPANS) view.zoom(1);
  assert.ok(view.isLongest && view.span === SPANS.at(-1));
  assert.deepEqual([0.001, 0.5, 30, 120, 7200].map(spanText), ['1 ms', '500 ms', '30 s', '2 min', '2 h']);
});

test('older changes are fetched until there are none', async () => {
  const signals = [{ name: 'A', entries: [] }, { name: 'B', entries: [{ id: 5, begin: 50 }] }, { name: 'C', entries: [{ id: 0, begin: 9 }] }];
  const asked = [];
  const answers = {
    'history?signal=1&before=5': { changes: [[1, 3, 30, 30, 1, 0], [1, 4, 40, 44, 16, 1]], more: true },
    'history?signal=1&before=3': { changes: [[1, 2, 20, 20, 1, 1]], more: false },
  };
  globalThis.fetch = async (path) => { asked.push(path); return { ok: true, json: async () => answers[path] }; };
  let parts = 0;
  await fetchOlder(signals, () => false, () => ++parts);

  assert.deepEqual(asked, Object.keys(answers));
  assert.equal(parts, 2);
  assert.deepEqual(signals[1].entries.map((entry) => entry.id), [2, 3, 4, 5]);
  assert.deepEqual(signals[1].entries[2], { id: 4, begin: 40, end: 44, count: 16, level: true });
  assert.match(droppedText(signals, 50000), /^Changes of B before 0\.000 s are not shown: the panel keeps 50000 of each/);
  assert.equal(droppedText([signals[0], signals[2]], 50000), '');

  signals[1].entries.splice(0, 3);
  await fetchOlder(signals, () => true, () => assert.fail('the board is another one'));
  assert.equal(signals[1].entries.length, 1);
});

test('the title says how the program is', () => {
  for (const [program, isThere, title] of [
    [{ state: 'waiting' }, true, '○ waiting – gateway'],
    [{ state: 'running' }, true, '● running – gateway'],
    [{ state: 'running' }, false, 'gone – gateway'],
    [{ state: 'ended', end: '0' }, true, 'ended 0 – gateway'],
    [{ state: 'failed', end: '3' }, false, 'failed 3 – gateway'],
    [{ state: 'failed', end: 'KILL' }, true, 'failed KILL – gateway'],
  ])
    assert.equal(titleOf(program, '/opt/bin/gateway --seconds 6', isThere), title);
});

test('a program that was asked to end is given three seconds', () => {
  const asked = { state: 'running', askedAt: 1e6 };
  assert.equal(ignoresTheRequest(asked, 3.9e6), false);
  assert.equal(ignoresTheRequest(asked, 4e6), true);
  assert.equal(ignoresTheRequest({ ...asked, state: 'failed' }, 4e6), false);
  assert.equal(ignoresTheRequest({ state: 'running', askedAt: null }, 4e6), false);
});
