// SPDX-License-Identifier: Apache-2.0
// node screenshot.mjs FILE.png [light|dark [WIDTH]]: the panel of the gateway when one status LED flashes green and the
// other one red.
import { Board } from './board.mjs';
import { Browser } from './browser.mjs';

const [file, colorScheme = 'light', width = '1280'] = process.argv.slice(2);
const ATTEMPTS = 5;
const LIFE = 7000; // milliseconds in which the moment, a tenth of a second long, comes; a busy machine may miss it

// In the page: waits for the moment and freezes it, like a hidden page. False when it did not come.
function catchMoment(longest) {
  const shows = (name, color) => document.querySelector(`#front [data-led="${name}"][data-color="${color}"]`) &&
    document.querySelector(`.leds [data-led="${name}"] .pattern`).textContent === `flashing ${color}, 500 ms`;
  return new Promise((resolve) => {
    new MutationObserver((_, observer) => {
      if (!shows('MS', 'green') || !shows('NS', 'red')) return;
      observer.disconnect();
      Object.defineProperty(document, 'hidden', { get: () => true });
      document.dispatchEvent(new Event('visibilitychange'));
      resolve(true);
    }).observe(document.body, { subtree: true, attributes: true, childList: true, characterData: true });
    setTimeout(resolve, longest, false);
  });
}

async function photograph(browser) {
  const board = await Board.start({ program: [process.env.VELRIX_GATEWAY] });
  const window = await browser.window({ viewport: { width: Number(width), height: 800 }, colorScheme });
  try {
    const page = await window.open(board);
    await page.getByRole('button', { name: 'Show a shorter time' }).dispatchEvent('click');
    if (!(await page.evaluate(catchMoment, LIFE))) return false;
    await page.screenshot({ path: file, fullPage: true });
    return true;
  } finally {
    await window.close(board);
    board.process.kill();
    await board.ended;
  }
}

const browser = await Browser.launch();
try {
  let attempt = 1;
  while (!(await photograph(browser)))
    if (attempt++ === ATTEMPTS) throw new Error('the moment was missed each time; the machine is too busy, try again later');
} finally {
  await browser.close();
}
