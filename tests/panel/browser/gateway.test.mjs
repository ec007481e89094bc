// SPDX-License-Identifier: Apache-2.0
// The panel while the example application runs.
import { after, before, test } from 'node:test';
import { Board, endBoards } from './board.mjs';
import { Browser, PHONE, eventually, hasText } from './browser.mjs';

let browser;

before(async () => { browser = await Browser.launch(); });
after(() => Promise.all([browser.close(), endBoards()]));

test('the panel shows the life of the gateway', async () => {
  const program = [process.env.VELRIX_GATEWAY, '--seconds', '60']; // far longer than this takes
  const board = await Board.start({ program });
  const window = await browser.window({ viewport: PHONE, colorScheme: 'dark', reducedMotion: 'reduce' });
  try {
    const page = await window.open(board);
    const pattern = (name) => page.locator(`.leds [data-led="${name}"]`);
    const webLog = page.getByRole('log', { name: 'Web log' });
    await hasText(page.locator('#program-name'), program.join(' '));
    // Everything announced of an LED, also states too short for polling.
    const said = { announcement: [], pattern: [] };
    await page.exposeFunction('note', (kind, text) => said[kind].push(text));
    await page.evaluate(() => {
      const follow = (kind, element) => new MutationObserver(() => window.note(kind, element.textContent))
        .observe(element, { subtree: true, childList: true, characterData: true });
      follow('announcement', document.getElementById('announcement'));
      follow('pattern', document.querySelector('.leds [data-led="MS"]'));
    });
    const wasSaid = (kind, text) => eventually(text, () => said[kind].join('\n').includes(text));

    await page.locator('[role=progressbar][aria-label="Starting up"][aria-valuenow="100"]').waitFor();
    await hasText(webLog, 'Waiting for a connection');
    await wasSaid('pattern', 'MS: flashing green, 500 ms');
    await hasText(webLog, 'Connection established');
    await hasText(pattern('MS'), 'MS: steady green');
    await hasText(pattern('NS'), 'NS: steady green');
    await hasText(page.locator('#system-log .info'), 'Connection established');
    await wasSaid('announcement', 'MS: steady green');

    await page.getByRole('button', { name: 'Stop program' }).click();
    await hasText(page.locator('#program-state'), 'ended with 0');
    await board.ended;
  } finally {
    await board.stop();
    await window.close(board, { withFailedRequests: true });
  }
});

test('the panel says how fast the time of a board passes', async () => {
  const board = await Board.start({ command: ['run', '--time', '5x'], program: [process.env.VELRIX_GATEWAY] });
  const window = await browser.window({});
  try {
    const page = await window.open(board);

    // Less than asked for where the machine is busy. Also once the gateway changes nothing any more.
    for (const wait of [0, 3000]) {
      await page.waitForTimeout(wait);
      await page.evaluate(() => { document.getElementById('pace').textContent = ''; });
      await hasText(page.locator('#pace'), /^[2-5]\.\dx$/);
    }
  } finally {
    board.process.kill('SIGTERM');
    await board.stop();
    await window.close(board, { withFailedRequests: true });
  }
});
