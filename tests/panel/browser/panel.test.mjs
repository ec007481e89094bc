// SPDX-License-Identifier: Apache-2.0
// Viewing and operating the panel, with a shell as the program on the board.
import assert from 'node:assert/strict';
import { mkdtemp, readFile, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, afterEach, before, beforeEach, describe, test } from 'node:test';
import { Board, endBoards } from './board.mjs';
import { Browser, eventually, hasText } from './browser.mjs';

let browser, board, window, page;

before(async () => { browser = await Browser.launch(); });
after(() => Promise.all([browser.close(), endBoards()]));

const led = (name, where = page) => where.locator(`.leds [data-led="${name}"]`);
const input = (name, where = page) => where.getByRole('switch', { name });
const output = (name, where = page) => where.locator(`[data-line="${name}"] .level`);
const level = (name, high, where = page) => where.getByRole('switch', { name, checked: high }).waitFor();
const webLog = (where = page) => where.getByRole('log', { name: 'Web log' });
const progress = (name, where = page) => where.getByRole('progressbar', { name });
const position = (percent, where = page) => where.locator(`[role=progressbar][aria-valuenow="${percent}"]`).waitFor();

describe('the panel', () => {
  beforeEach(async () => {
    board = await Board.start();
    window = await browser.window();
    page = await window.open(board);
  });
  afterEach(async () => {
    try {
      await window.close(board);
    } finally {
      await board.stop();
    }
  });

  test('LEDs follow the program', async () => {
    const lens = (color) => page.locator(`#front [data-led="MS"][data-color="${color}"]`).waitFor();
    await lens('off');

    await board.write('MS.green', 1);
    await lens('green');
    await hasText(led('MS'), 'MS: steady green');

    await board.write('MS.green', 0);
    await board.write('MS.red', 1);
    await lens('red');
    await hasText(led('MS'), 'MS: steady red');
    await hasText(led('NS'), 'NS: off');
  });

  test('outputs follow the program', async () => {
    await hasText(output('QOR_BL_N'), 'low');

    await board.write('QOR_BL_N', 1);

    await hasText(output('QOR_BL_N'), 'high');
  });

  test('a click on an input reaches the program', async () => {
    assert.equal(await board.read('OXBO_MOD_1'), '0');

    await input('OXBO_MOD_1').click();
    await level('OXBO_MOD_1', true);
    assert.equal(await board.read('OXBO_MOD_1'), '1');

    await input('OXBO_MOD_1').click();
    await level('OXBO_MOD_1', false);
    assert.equal(await board.read('OXBO_MOD_1'), '0');
  });

  test('the keyboard alone flips an input', async () => {
    await page.keyboard.press('Tab');
    await page.keyboard.press('Enter'); // skips to the lines
    const focused = () => page.evaluate(() => document.activeElement.closest('[data-line]')?.dataset.line);
    await eventually('the focus comes to the input', async () => {
      await page.keyboard.press('Tab');
      return (await focused()) === 'OXBO_MOD_ID0_SYNC';
    });
    await page.keyboard.press('Space');
    await level('OXBO_MOD_ID0_SYNC', true);

    assert.equal(await board.read('OXBO_MOD_ID0_SYNC'), '1');
  });

  test('the web log and its progress bar move', async () => {
    await board.log('>start', '%Loading', '%10');
    await hasText(webLog(), 'Operation started');
    await position(10);
    const width = async () => (await progress('Loading').locator('rect').boundingBox()).width;
    const narrow = await width();

    await board.log('%60', '+Halfway', '@wHot');
    await position(60);
    await page.waitForFunction(
      (before) => document.querySelector('[role=progressbar] rect').getBoundingClientRect().width > 5 * before, narrow);
    await hasText(webLog(), 'Halfway');
    await hasText(webLog(), 'WarningHot');
    assert.equal(await progress('Loading').count(), 1);
  });

  test('trace records show with their severity', async () => {
    await board.do('logger -t gateway -p daemon.err too hot');

    await hasText(page.locator('#system-log .error'), 'too hot');
  });

  test('a reload and a second tab agree', async () => {
    await board.write('NS.red', 1);
    await board.log('%Loading', '%70');
    await input('OXBO_MOD_1').click();
    const agree = async (where) => {
      await hasText(led('NS', where), 'steady red');
      await level('OXBO_MOD_1', true, where);
      await position(70, where);
    };
    await agree(page);

    await page.reload();
    await agree(page);
    const second = await window.open(board);
    await agree(second);

    await input('OXBO_MOD_1', second).click();
    await level('OXBO_MOD_1', false, page);
    await board.log('%71');
    await position(71, page);
    await position(71, second);
  });

  test('a tab that is hidden leaves the stream to another', async () => {
    const second = await window.open(board);
    const hide = (hidden) => {
      Object.defineProperty(document, 'hidden', { configurable: true, get: () => hidden });
      document.dispatchEvent(new Event('visibilitychange'));
    };

    await page.evaluate(hide, true);
    await board.write('MS.red', 1);
    await hasText(led('MS', second), 'steady red');
    await hasText(led('MS', page), 'off');

    await page.evaluate(hide, false);
    await hasText(led('MS', page), 'steady red');
  });

  test('twenty tabs show the board at once', async () => {
    const pages = [page];
    pages.push(...(await Promise.all(Array.from({ length: 19 }, () => window.open(board)))));

    await board.write('LINK_ACT1.green', 1);

    for (const each of pages) await hasText(led('LINK_ACT1', each), 'steady green');
  });

  test('the module obeys its reset line and its readiness time', async () => {
    const module = page.getByRole('region', { name: 'Oxbo module' });
    await hasText(module, 'held in reset');

    await module.getByLabel('never becomes ready').check();
    await module.getByRole('button', { name: 'Apply' }).click();
    await board.write('OXBO_RL', 1);
    await board.write('OXBO_RESET1_N', 1);
    await hasText(module, 'never becomes ready');
    await hasText(module, 'RAM loader line high');
    await level('OXBO_IRQ_N', true);

    await module.getByLabel('never becomes ready').uncheck();
    await module.getByLabel('Ready after its reset').fill('1');
    await module.getByRole('button', { name: 'Apply' }).click();
    await board.write('OXBO_RESET1_N', 0);
    await board.write('OXBO_RESET1_N', 1);
    await hasText(module.locator('.pill'), /^ready$/);
    await level('OXBO_IRQ_N', false);
    assert.equal(await board.read('OXBO_IRQ_N'), '0');
  });

  test('a fault from the panel acts until it is repaired', async () => {
    const faults = page.getByRole('region', { name: 'Faults' });
    const turnOn = async () => board.do(`printf 1 2>&1 >${await board.path('NS.red')} && echo written`);
    await hasText(faults, 'All value files are whole.');

    await faults.getByLabel('Value file of').selectOption('NS.red');
    await faults.getByLabel('answers with').selectOption('EIO');
    await faults.getByRole('button', { name: 'Inject' }).click();
    await hasText(faults.getByRole('list'), 'NS.redEIO');
    assert.match(await turnOn(), /I\/O error/);
    await hasText(led('NS'), 'off');

    await faults.getByRole('button', { name: 'Repair NS.red' }).click();
    await hasText(faults, 'All value files are whole.');
    assert.equal(await turnOn(), 'written');
    await hasText(led('NS'), 'steady red');
  });

  test('a value file answers late for as long as the panel says', async () => {
    const faults = page.getByRole('region', { name: 'Faults' });
    assert.equal(await faults.getByLabel('after').isVisible(), false);

    const noSpace = faults.getByRole('option', { name: 'ENOSPC' });
    await faults.getByLabel('Value file of').selectOption('MS.red');
    assert.equal(await noSpace.isDisabled(), false);
    await faults.getByLabel('answers with').selectOption('ENOSPC');
    await faults.getByLabel('Value file of').selectOption('OXBO_MOD_1');
    assert.equal(await noSpace.isDisabled(), true); // nobody writes to an input
    assert.equal(await faults.getByLabel('answers with').inputValue(), 'EIO');
    await faults.getByLabel('answers with').selectOption('slow');
    await faults.getByLabel('after').fill('120');
    await faults.getByRole('button', { name: 'Inject' }).click();
    await hasText(faults.getByRole('list'), 'OXBO_MOD_1slow:120ms');

    const asked = performance.now();
    assert.equal(await board.read('OXBO_MOD_1'), '0');
    assert.ok(performance.now() - asked >= 120);
  });

  test('the waveform shows colours, zooms and stops', async () => {
    const waveform = page.locator('#waveform');
    const span = (text) => hasText(page.locator('#span'), text);
    // How many pixels are much more of the one colour (0: red, 1: green) than of the other and of blue.
    const pixels = (color) => page.evaluate((most) => {
      const canvas = document.getElementById('canvas');
      const copy = new OffscreenCanvas(canvas.width, canvas.height).getContext('2d', { willReadFrequently: true });
      copy.drawImage(canvas, 0, 0);
      const { data } = copy.getImageData(0, 0, canvas.width, canvas.height);
      let count = 0;
      for (let i = 0; i < data.length; i += 4)
        if (data[i + most] > 1.5 * data[i + 1 - most] && data[i + most] > 1.5 * data[i + 2]) ++count;
      return count;
    }, color);
    assert.equal(await pixels(1), 0);
    await board.write('MS.green', 1);
    await hasText(led('MS'), 'steady green');
    await eventually('a green lane', async () => (await pixels(1)) >= 100);
    await board.write('MS.red', 1);
    await eventually('a red lane below the green one', async () => (await pixels(0)) >= 100 && (await pixels(1)) >= 100);
    const green = await pixels(1);
    await eventually('a green lane that goes on', async () => (await pixels(1)) > green);
    await board.write('MS.red', 0);
    await hasText(led('MS'), 'steady green');

    await waveform.focus();
    await page.keyboard.press('-');
    await span(/^30 s$/);
    await page.keyboard.press('+');
    await page.keyboard.press('+');
    await span(/^5 s$/);

    await page.keyboard.press('Space');
    await page.getByRole('button', { name: 'Live', pressed: false }).waitFor();
    const picture = () => page.evaluate(() => document.getElementById('canvas').toDataURL());
    const shown = await picture();
    await page.keyboard.press('ArrowLeft');
    assert.ok((await picture()) !== shown, 'moves back');
    await page.keyboard.press('ArrowRight');
    assert.ok((await picture()) === shown, 'moves to where it was');
    await page.keyboard.press('End');
    await page.getByRole('button', { name: 'Live', pressed: true }).waitFor();
  });
});

test('the end of the program is shown', async () => {
  const ending = await Board.start();
  const own = await browser.window();
  const shown = await own.open(ending);
  await hasText(shown.locator('#program-state'), 'running');

  await shown.getByRole('button', { name: 'Stop program' }).click();

  await hasText(shown.locator('#program-state'), 'ended by Terminated');
  await ending.ended;
  await own.close(ending, { withFailedRequests: true });
});

test('the page comes back when the board was restarted on the same port', async () => {
  const first = await Board.start();
  const own = await browser.window();
  const shown = await own.open(first);
  const follower = await own.open(first);
  await first.log('+of the first');
  await hasText(webLog(shown), 'of the first');
  await first.stop();
  for (const each of [shown, follower]) await hasText(each.locator('#connection'), 'board gone, looking for it');

  const second = await Board.start({ port: first.port });
  await second.log('+of the second');

  for (const each of [shown, follower]) {
    await hasText(each.locator('#connection'), /^connected$/);
    await hasText(webLog(each), 'of the second');
    assert.equal(await webLog(each).getByText('of the first').count(), 0);
  }
  await input('OXBO_MOD_1', follower).click();
  await level('OXBO_MOD_1', true, shown);
  assert.equal(await second.read('OXBO_MOD_1'), '1');
  await second.stop();
  await own.close(second, { withFailedRequests: true });
});

test('a reboot of the board shows, and what it was before is gone', async () => {
  const board = await Board.start({ command: ['run', '--on-reboot', 'restart', '--oxbo-ready-after', 'never'] });
  const own = await browser.window();
  const page = await own.open(board);
  const program = page.locator('#program-state');
  const module = page.getByRole('region', { name: 'Oxbo module' });
  const bars = webLog(page).getByRole('progressbar');
  await hasText(program, /^running$/);
  await board.write('MS.red', 1);
  await board.write('OXBO_RL', 1);
  await board.write('OXBO_RESET1_N', 1);
  await board.log('%Loading', '%40');
  await hasText(module, 'RAM loader line high');
  await hasText(webLog(page), '40 %');

  board.process.stdin.write('/sbin/reboot; sleep 1000\n');

  await hasText(program, 'running, run 2');
  await hasText(webLog(page), 'The board came up again: run 2');
  await hasText(led('MS', page), 'off');
  await hasText(output('OXBO_RL', page), 'low');
  await hasText(module, 'held in reset');
  assert.doesNotMatch(await module.innerText(), /RAM loader line/);
  await board.log('%60');
  await hasText(webLog(page), '60 %');
  await hasText(webLog(page), '40 %');
  assert.equal(await bars.count(), 2);

  await board.stop();
  await hasText(program, 'ended with 0');
  await own.close(board, { withFailedRequests: true });
});

test('what is done on the panel is recorded as a scenario', async () => {
  const folder = await mkdtemp(join(tmpdir(), 'velrix-record-'));
  const file = join(folder, 'session.scenario');
  const recorded = await Board.start({ command: ['record', file] });
  const own = await browser.window();
  const shown = await own.open(recorded);

  await input('OXBO_MOD_1', shown).click();
  await level('OXBO_MOD_1', true, shown);
  await shown.getByLabel('Value file of').selectOption('NS.red');
  await shown.getByRole('button', { name: 'Inject' }).click();
  await hasText(shown.locator('#faults'), 'EIO');
  await shown.getByRole('button', { name: 'Stop program' }).click();
  await recorded.ended;

  const steps = (await readFile(file, 'utf8')).split('\n').filter((line) => line && !line.startsWith('#'));
  assert.deepEqual(steps.map((line) => line.replace(/\d+us/, 'T')),
    ['at T set OXBO_MOD_1 high', 'at T fault NS.red EIO', 'at T send TERM', 'wait T']);
  await own.close(recorded, { withFailedRequests: true });
  await rm(folder, { recursive: true });
});
