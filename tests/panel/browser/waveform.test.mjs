// SPDX-License-Identifier: Apache-2.0
// The waveform: cursors, moving, zooming, the history of a run, its recording.
import assert from 'node:assert/strict';
import { mkdtemp, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, afterEach, before, beforeEach, describe, test } from 'node:test';
import { Board, endBoards } from './board.mjs';
import { Browser, eventually, hasText } from './browser.mjs';

const WIDE = { width: 1920, height: 1080 };
const LEFT = 160; // of the time on a wide canvas
const RIGHT = 8;
const ROW = 24;

let browser, board, window;

before(async () => { browser = await Browser.launch(); });
after(() => Promise.all([browser.close(), endBoards()]));

// The waveform of a page by mouse.
class Picture {
  constructor(page) {
    this.page = page;
    this.canvas = page.locator('#canvas');
  }

  async row(name) {
    const { signals } = (await board.state()).board;
    const leds = [...new Set(signals.filter((signal) => signal.led).map((signal) => signal.led))];
    const lines = signals.filter((signal) => !signal.led).map((signal) => signal.name);
    return ([...leds, ...lines].indexOf(name) + 0.5) * ROW;
  }

  // The spans of these tests are whole seconds.
  async microsecondsPerPixel() {
    const { width } = await this.canvas.boundingBox();
    return (parseFloat(await this.page.locator('#span').innerText()) * 1e6) / (width - LEFT - RIGHT);
  }

  async click(x, name, modifiers = []) {
    await this.canvas.click({ position: { x, y: await this.row(name) }, modifiers });
  }

  // Where the time is, in pixels: asks for the time of a point on a lane without edges.
  async x(microseconds) {
    const x = (await this.canvas.boundingBox()).width - 2 * RIGHT;
    await this.click(x, 'NS');
    const [, seconds] = /A (\d+\.\d+) s/.exec(await this.cursors());
    await this.page.getByRole('button', { name: 'Remove the cursors' }).click();
    return x + (microseconds - parseFloat(seconds) * 1e6) / (await this.microsecondsPerPixel());
  }

  cursors() { return this.page.locator('#cursors').innerText(); }
}

// The begins of the line's changes, in microseconds.
async function edges(name) {
  const state = await board.state();
  const number = state.board.signals.findIndex((signal) => signal.name === name);
  return state.changes.filter(([signal]) => signal === number).map(([, , begin]) => begin);
}

// "A 1.000000 s · B 2.000000 s" as the page writes times of a second and more.
const seconds = (time) => `${(time / 1e6).toFixed(6)} s`;
const milliseconds = (time) => `${(time / 1e3).toFixed(3)} ms`;

describe('the waveform', () => {
  let page, picture, first, second;

  beforeEach(async () => {
    board = await Board.start();
    window = await browser.window({ viewport: WIDE });
    const path = await board.path('QOR_BL_N');
    await board.do(`sleep 1; printf 1 >${path}; sleep 0.4; printf 0 >${path}`);
    [first, second] = await edges('QOR_BL_N');
    page = await window.open(board);
    picture = new Picture(page);
  });
  afterEach(async () => {
    try {
      await window.close(board);
    } finally {
      await board.stop();
    }
  });

  const live = (pressed) => page.getByRole('button', { name: 'Live', pressed }).waitFor();
  const distance = () => new RegExp(`B − A ${milliseconds(second - first)} \\(`);

  test('two clicks measure between edges', async () => {
    await page.locator('#waveform').press('Space');
    await live(false);
    const x = await picture.x(first);
    const step = (second - first) / (await picture.microsecondsPerPixel());

    await picture.click(x + 3, 'QOR_BL_N');
    assert.equal(await picture.cursors(), `A ${seconds(first)}`);
    await picture.click(x + step - 3, 'QOR_BL_N', ['Shift']);
    assert.match(await picture.cursors(), new RegExp(`^A ${seconds(first)} · B ${seconds(second)} · `));
    assert.match(await picture.cursors(), distance());

    await page.getByRole('button', { name: 'Remove the cursors' }).click();
    assert.match(await picture.cursors(), /^Click the waveform/);
  });

  test('the keyboard alone measures between edges', async () => {
    await page.locator('#waveform').focus();
    await page.keyboard.press('Space');
    await eventually('the lane is selected', async () => {
      await page.keyboard.press('ArrowDown');
      return (await page.locator('#lane').innerText()) === 'QOR_BL_N';
    });
    await page.keyboard.press('a');
    await page.keyboard.press(']');
    assert.equal(await picture.cursors(), `A ${seconds(second)}`);
    await page.keyboard.press(']'); // there is none behind
    assert.equal(await picture.cursors(), `A ${seconds(second)}`);
    await page.keyboard.press('b');
    await page.keyboard.press('[');
    await page.keyboard.press('[');
    assert.match(await picture.cursors(), new RegExp(`^A ${seconds(second)} · B ${seconds(first)} · B − A -`));

    await page.keyboard.press('Escape');
    assert.match(await picture.cursors(), /^Click the waveform/);
  });

  test('dragging moves, and "live" follows again', async () => {
    await page.locator('#waveform').press('Space');
    const x = await picture.x(first);
    const box = await picture.canvas.boundingBox();
    const y = box.y + (await picture.row('NS'));

    await page.mouse.move(box.x + x, y);
    await page.mouse.down();
    await page.mouse.move(box.x + x + 20, y);
    await page.mouse.move(box.x + x + 40, y);
    await page.mouse.up();
    assert.match(await picture.cursors(), /^Click the waveform/); // a drag is no click
    await picture.click(x + 40, 'QOR_BL_N');
    assert.equal(await picture.cursors(), `A ${seconds(first)}`);

    await page.getByRole('button', { name: 'Live' }).click();
    await live(true);
    await page.getByRole('button', { name: 'Show earlier times' }).click();
    await live(false);
  });

  test('the wheel zooms around the pointer, once the waveform has the focus', async () => {
    await page.locator('#waveform').press('Space');
    const x = await picture.x(first);
    const box = await picture.canvas.boundingBox();
    await page.locator('#web-log').focus();
    await page.mouse.move(box.x + x, box.y + (await picture.row('QOR_BL_N')));

    await page.mouse.wheel(0, -100);
    await page.evaluate(() => new Promise(requestAnimationFrame));
    await hasText(page.locator('#span'), /^10 s$/);

    await page.locator('#waveform').focus();
    await page.mouse.wheel(0, -100);
    await hasText(page.locator('#span'), /^5 s$/);
    await page.mouse.wheel(0, -100);
    await hasText(page.locator('#span'), /^2 s$/);
    await picture.click(x, 'QOR_BL_N');
    assert.equal(await picture.cursors(), `A ${seconds(first)}`);
  });

  test('the run can be downloaded', async () => {
    const downloading = page.waitForEvent('download');
    await page.getByRole('link', { name: 'VCD' }).click();
    const download = await downloading;

    assert.equal(download.suggestedFilename(), 'run.vcd');
    const text = await readFile(await download.path(), 'utf8');
    assert.match(text, /^\$timescale 1 us \$end\n/);
    // Times in it are from the program's start.
    const stamps = [...text.matchAll(/^#(\d+)$/gm)].map(([, time]) => Number(time)).slice(1);
    assert.ok(Math.abs(stamps[1] - stamps[0] - (second - first)) <= 1, `${stamps}, ${second - first}`);
  });
});

test('a page that is opened late shows the whole run', async () => {
  board = await Board.start();
  window = await browser.window({ viewport: WIDE });
  const path = await board.path('QOR_BL_N');
  await board.do(`sleep 1; printf 1 >${path}; sleep 1; printf 0 >${path}`);
  const [first] = await edges('QOR_BL_N');
  // More than a message has, and no burst.
  await board.do(`perl -e 'for (1..2300) { open F, ">", "${path}"; print F $_ % 2; close F; select undef, undef, undef, 0.0012 }'`);
  assert.ok(!(await edges('QOR_BL_N')).includes(first));

  const page = await window.open(board);
  const picture = new Picture(page);
  await page.locator('#waveform').press('-');
  await page.locator('#waveform').press('Space');
  await eventually('the first edge is there', async () => {
    await picture.click(await picture.x(first), 'QOR_BL_N');
    return (await picture.cursors()) === `A ${seconds(first)}`;
  });
  assert.equal(await page.locator('#dropped').innerText(), '');

  await board.stop();
  await window.close(board, { withFailedRequests: true });
});

test('the recording is that of --timeline', async () => {
  const folder = await mkdtemp(join(tmpdir(), 'velrix-timeline-'));
  const file = join(folder, 'run.vcd');
  const recorded = await Board.start({ command: ['run', '--timeline', file] });
  for (const level of [1, 0, 1]) await recorded.write('MS.green', level);

  const text = await (await fetch(new URL('run.vcd', recorded.address))).text();

  const written = await readFile(file, 'utf8');
  assert.match(written, /^#\d+\n0\S\n#\d+\n1\S\n$/m);
  assert.equal(text.replace(/#\d+\n$/, ''), written); // and the end, up to now
  await recorded.stop();
  await rm(folder, { recursive: true });
});
