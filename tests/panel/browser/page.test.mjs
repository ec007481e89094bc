// SPDX-License-Identifier: Apache-2.0
// The parts of the page that need no browser: histories of levels and log records.
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
