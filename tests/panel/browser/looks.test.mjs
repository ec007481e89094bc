// SPDX-License-Identifier: Apache-2.0
// Sizes, focus and colours of the page.
import assert from 'node:assert/strict';
import { after, afterEach, before, beforeEach, describe, test } from 'node:test';
import { Board, endBoards } from './board.mjs';
import { Browser, PHONE, eventually, hasText } from './browser.mjs';

let browser, board, window;

before(async () => { browser = await Browser.launch(); });
after(() => Promise.all([browser.close(), endBoards()]));

const LARGE_TARGET = 44; // pixels

describe('the page', () => {
  beforeEach(async () => { board = await Board.start(); });
  afterEach(async () => {
    try {
      await window.close(board);
    } finally {
      await board.stop();
    }
  });

  async function open(options) {
    window = await browser.window(options);
    return window.open(board);
  }

  test('both logs are above the fold of a laptop', async () => {
    const page = await open({ viewport: { width: 1366, height: 768 } });

    for (const name of ['Web log', 'Trace records']) {
      const box = await page.getByRole('log', { name }).boundingBox();
      assert.ok(box.y + box.height <= 768, `${name} ends at ${box.y + box.height}`);
    }
  });

  test('a large screen is used', async () => {
    for (const width of [1920, 2560]) {
      const page = await open({ viewport: { width, height: 1080 } });
      const box = await page.getByRole('main').boundingBox();
      assert.ok(box.width >= width - 60, `${box.width} of ${width}`);
      if (width < 2560) await window.close(board);
    }
  });

  test('a finger finds every control of a phone', async () => {
    const page = await open({ viewport: PHONE });
    await board.write('NS.red', 1);
    await fetch(new URL('faults/NS.red', board.address), { method: 'POST', body: '{"fault": "EIO"}' });
    await page.getByRole('button', { name: 'Repair NS.red' }).waitFor();
    await page.getByRole('switch', { name: 'OXBO_IRQ_N' }).click();
    await page.getByRole('button', { name: 'Give OXBO_IRQ_N back' }).waitFor();

    // A check box has its label as well.
    const small = await page.evaluate((least) => [...document.querySelectorAll('button, select, input:not([type=checkbox]), .check, summary, a.button')]
      .filter((element) => element.checkVisibility())
      .map((element) => [element.id || element.className || element.textContent, element.getBoundingClientRect()])
      .filter(([, box]) => box.width < least || box.height < least)
      .map(([name, box]) => `${name}: ${box.width} x ${box.height}`), LARGE_TARGET);
    assert.deepEqual(small, []);
  });

  test('no label of the front panel covers another one or a lamp', async () => {
    for (const viewport of [PHONE, { width: 1366, height: 768 }]) {
      const page = await open({ viewport });
      await page.getByLabel('never becomes ready').check(); // the longest text
      await page.getByRole('button', { name: 'Apply' }).click();
      await board.write('OXBO_RESET1_N', 1);
      await hasText(page.locator('#front-module'), 'never becomes ready');

      const collisions = await page.evaluate(() => {
        const labels = [...document.querySelectorAll('#front text')].filter((label) => label.textContent)
          .map((label) => ({ text: label.textContent, box: label.getBoundingClientRect() }));
        const frame = document.querySelector('#front svg').getBoundingClientRect();
        const outside = labels.filter(({ box }) => box.left < frame.left || box.right > frame.right).map(({ text }) => `${text} is cut`);
        const lamps = [...document.querySelectorAll('#front .ring')].map((ring) => ring.getBoundingClientRect());
        const covered = labels.filter(({ box }) => lamps.some((lamp) =>
          box.left < lamp.right && lamp.left < box.right && box.top < lamp.bottom && lamp.top < box.bottom)).map(({ text }) => `${text} and a lamp`);
        const pairs = labels.flatMap((a, place) => labels.slice(place + 1).filter((b) =>
          a.box.left < b.box.right && b.box.left < a.box.right && a.box.top < b.box.bottom && b.box.top < a.box.bottom)
          .map((b) => `${a.text} and ${b.text}`));
        return [...outside, ...covered, ...pairs];
      });
      assert.deepEqual(collisions, []);
      await board.write('OXBO_RESET1_N', 0);
      if (viewport === PHONE) await window.close(board);
    }
  });

  test('switches show their level in forced colours', async () => {
    const page = await open({ forcedColors: 'active' });
    const knob = (name) => page.getByRole('switch', { name }).evaluate((element) => {
      const track = element.querySelector('.knob');
      const { backgroundColor, borderTopColor, borderTopWidth } = getComputedStyle(track);
      const around = getComputedStyle(element).backgroundColor;
      return { track: backgroundColor, edge: borderTopColor, width: parseFloat(borderTopWidth), around, knob: getComputedStyle(track, '::after').backgroundColor };
    });
    const low = await knob('OXBO_MOD_1');
    await page.getByRole('switch', { name: 'OXBO_MOD_1' }).click();
    await page.getByRole('switch', { name: 'OXBO_MOD_1', checked: true }).waitFor();
    await page.evaluate(() => Promise.all(document.getAnimations().map((animation) => animation.finished)));
    const high = await knob('OXBO_MOD_1');

    for (const each of [low, high]) assert.notEqual(each.knob, each.track);
    assert.ok(low.width >= 1);
    assert.notEqual(low.edge, low.around);
    assert.notEqual(low.track, high.track);
  });

  test('the focus stays where lists are redrawn', async () => {
    const page = await open();
    const fault = (name, text) => fetch(new URL(`faults/${name}`, board.address), { method: 'POST', body: JSON.stringify({ fault: text }) });
    const repair = (name) => page.getByRole('button', { name: `Repair ${name}` });
    const focused = () => page.evaluate(() => document.activeElement.getAttribute('aria-label') ?? document.activeElement.id);
    for (const name of ['MS.red', 'NS.red']) await fault(name, 'EIO');
    await repair('NS.red').focus();

    await fault('MS.green', 'EIO'); // before it
    await repair('MS.green').waitFor();
    await fault('NS.red', 'EACCES'); // its text
    await hasText(page.locator('[data-fault="NS.red"]'), 'EACCES');
    assert.equal(await focused(), 'Repair NS.red');

    await page.keyboard.press('Enter');
    await repair('NS.red').waitFor({ state: 'detached' });
    assert.equal(await focused(), 'Repair MS.red');
    await fault('MS.green', null);
    await page.keyboard.press('Enter');
    await repair('MS.red').waitFor({ state: 'detached' });
    assert.equal(await focused(), 'fault-signal');
  });

  test('inputs say who drives them, and the module gets its line back', async () => {
    const page = await open();
    const line = (name) => page.locator(`[data-line="${name}"]`);
    await hasText(line('OXBO_MOD_1'), 'as at power-up');
    await page.getByRole('switch', { name: 'OXBO_MOD_1' }).click();
    await hasText(line('OXBO_MOD_1'), 'by the panel');

    await hasText(line('OXBO_IRQ_N'), 'by the module');
    const back = page.getByRole('button', { name: 'Give OXBO_IRQ_N back to the module' });
    assert.equal(await back.isVisible(), false);
    const name = line('OXBO_IRQ_N').locator('code');
    const { height } = await name.boundingBox();
    await page.getByRole('switch', { name: 'OXBO_IRQ_N' }).click();
    await hasText(line('OXBO_IRQ_N'), 'by the panel');
    await back.waitFor();
    assert.equal((await name.boundingBox()).height, height); // the button does not squeeze it into two rows
    assert.equal(await board.read('OXBO_IRQ_N'), '0');
    await back.focus();
    await page.keyboard.press('Enter');
    await hasText(line('OXBO_IRQ_N'), 'by the module');
    assert.equal(await board.read('OXBO_IRQ_N'), '1');
    assert.equal(await page.evaluate(() => document.activeElement.getAttribute('role')), 'switch');
  });

  test('the log says how many records it does not show', async () => {
    const page = await open();
    await board.do('i=0; while [ $i -lt 1205 ]; do echo "+r$i."; i=$((i+1)); done >>/mnt/share/logger');

    for (const each of [page, await window.open(board)]) {
      const log = each.getByRole('log', { name: 'Web log' });
      await hasText(log, 'r1204.');
      await hasText(each.getByRole('region', { name: 'Web log' }), '205 older records are not shown.');
      assert.equal(await log.getByText('r204.', { exact: true }).count(), 0);
      assert.equal(await log.getByText('r205.', { exact: true }).count(), 1);
    }
  });
});

test('why an action failed is seen wherever its control is', async () => {
  board = await Board.start();
  for (const viewport of [{ width: 1280, height: 600 }, PHONE]) {
    window = await browser.window({ viewport });
    const page = await window.open(board);
    await page.route('**/faults/*', (route) => route.fulfill({ status: 409, body: '{"error": "it is not there"}' }));
    const inject = page.getByRole('button', { name: 'Inject' });
    await inject.evaluate((element) => element.scrollIntoView({ block: 'end' }));
    assert.ok((await page.evaluate(() => scrollY)) > 100);

    await inject.click();

    const message = page.getByRole('alert');
    await hasText(message, 'it is not there');
    assert.ok(await message.evaluate((element) => {
      const box = element.getBoundingClientRect();
      return document.elementFromPoint(box.x + box.width / 2, box.y + box.height / 2) === element;
    }), `${viewport.width} pixels wide`);
    await window.close(board, { withFailedRequests: true });
  }
  await board.stop();
});

test('the title tells the state, and a program that ignores a stop can be killed', async () => {
  board = await Board.start();
  window = await browser.window();
  const page = await window.open(board);
  const title = (text) => eventually(`the title ${text}`, async () => (await page.title()) === text);
  await title('● running – sh');
  await board.do("trap '' TERM");
  const kill = page.getByRole('button', { name: 'Kill program' });

  await page.getByRole('button', { name: 'Stop program' }).click();
  await hasText(page.locator('#ignored'), 'The program ignores it');
  await hasText(page.locator('#program-state'), 'running');
  const second = await window.open(board); // the board knows of the stop, not one page
  await second.getByRole('button', { name: 'Kill program' }).waitFor();
  await kill.click();

  await hasText(page.locator('#program-state'), 'ended by Killed');
  await title('failed KILL – sh');
  await kill.waitFor({ state: 'hidden' });
  await board.ended;
  await window.close(board, { withFailedRequests: true });
});

test('the program is started again from the page', async () => {
  board = await Board.start();
  window = await browser.window();
  const page = await window.open(board);
  await board.write('MS.green', 1);
  await hasText(page.locator('.leds [data-led="MS"]'), 'steady green');

  await page.getByRole('button', { name: 'Restart' }).click();

  await hasText(page.locator('#program-state'), 'running, run 2');
  await hasText(page.locator('.leds [data-led="MS"]'), 'MS: off');
  await board.write('MS.red', 1);
  await hasText(page.locator('.leds [data-led="MS"]'), 'steady red');
  await board.stop();
  await hasText(page.locator('#program-state'), 'ended with 0');
  await window.close(board, { withFailedRequests: true });
});

test('a board that is held shows its run until the page ends it', async () => {
  board = await Board.start({ command: ['run', '--panel-hold'] });
  window = await browser.window();
  const page = await window.open(board);
  await board.write('MS.green', 1);
  board.process.stdin.end();
  await hasText(page.locator('#program-state'), 'ended with 0');
  const end = page.getByRole('button', { name: 'End board' });
  await end.waitFor();
  assert.equal(await page.getByRole('button', { name: 'Stop program' }).isVisible(), false);

  const late = await window.open(board);
  await hasText(late.locator('.leds [data-led="MS"]'), 'steady green');
  await late.getByRole('switch', { name: 'OXBO_MOD_1' }).click();
  await hasText(late.getByRole('alert'), 'the program has ended');
  assert.equal(await late.title(), 'ended 0 – sh');

  await end.click();
  const [code] = await board.ended;
  assert.equal(code, 0);
  await hasText(page.locator('#connection'), 'board gone');
  await window.close(board, { withFailedRequests: true });
});
