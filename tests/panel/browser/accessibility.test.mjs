// SPDX-License-Identifier: Apache-2.0
// Accessibility of the panel by the rules of axe-core, for each theme and size.
import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { after, before, test } from 'node:test';
import { Board, endBoards } from './board.mjs';
import { Browser, DESKTOP, PHONE, hasText, load } from './browser.mjs';

let browser;

before(async () => { browser = await Browser.launch(); });
after(() => Promise.all([browser.close(), endBoards()]));

const LOOKS = [
  ['light, desktop', { viewport: DESKTOP, colorScheme: 'light' }],
  ['dark, desktop', { viewport: DESKTOP, colorScheme: 'dark' }],
  ['light, phone', { viewport: PHONE, colorScheme: 'light' }],
  ['dark, phone', { viewport: PHONE, colorScheme: 'dark' }],
];

// The Content-Security-Policy forbids foreign scripts; therefore inject axe by the debugger.
async function violations(page, axe) {
  await page.evaluate(axe);
  const found = await page.evaluate(async () => (await window.axe.run()).violations);
  return found.flatMap(({ id, nodes }) => nodes.map((node) => `${id}: ${node.target} ${node.failureSummary}`));
}

for (const [name, look] of LOOKS) {
  test(`axe finds no violation: ${name}`, async () => {
    const axe = await readFile(load.resolve('axe-core/axe.min.js'), 'utf8');
    const board = await Board.start();
    const window = await browser.window({ ...look, reducedMotion: 'reduce' });
    try {
      const page = await window.open(board);
      // With every kind of content.
      await board.write('MS.green', 1);
      await board.write('NS.red', 1);
      await board.write('QOR_BL_N', 1);
      await board.log('>start', 'plain', '%Loading', '%40', '>br', '+note', '@wwarning', '@eerror', '>end');
      await board.do('for p in crit err warning info debug; do logger -t gateway -p daemon.$p record; done');
      await hasText(page.locator('#system-log'), 'debug');
      await page.getByRole('button', { name: 'Live' }).click();
      for (const key of ['ArrowDown', 'a', ']', 'b']) await page.locator('#waveform').press(key);
      await page.route('**/module', (route) => route.fulfill({ status: 409, json: { error: 'this is refused' } }));
      await page.getByRole('button', { name: 'Apply' }).click();
      await hasText(page.getByRole('alert'), 'this is refused');

      assert.deepEqual(await violations(page, axe), []);
      const [content, width] = await page.evaluate(() => [document.documentElement.scrollWidth, innerWidth]);
      assert.ok(content <= width, `the page is ${content} wide, the window ${width}`);

      await board.stop();
      await hasText(page.locator('#connection'), 'board gone');
      assert.deepEqual(await violations(page, axe), []);
    } finally {
      await board.stop();
      await window.close(board, { withFailedRequests: true });
    }
  });
}
