// SPDX-License-Identifier: Apache-2.0
// What the pages of other sites get from the panel.
import assert from 'node:assert/strict';
import { createServer } from 'node:http';
import { once } from 'node:events';
import { after, afterEach, before, beforeEach, test } from 'node:test';
import { Board, endBoards } from './board.mjs';
import { Browser } from './browser.mjs';

const SANDBOX = '/sandbox'; // a page there has an opaque origin: for the browser it is another site

let browser, board, wiki, address, page;

before(async () => {
  browser = await Browser.launch();
  wiki = createServer((request, answer) => {
    if (request.url === SANDBOX) answer.setHeader('Content-Security-Policy', 'sandbox allow-scripts');
    answer.end('<!doctype html><link rel="icon" href="data:,"><title>wiki</title>');
  }).listen(0, '127.0.0.1');
  await once(wiki, 'listening');
  address = `http://127.0.0.1:${wiki.address().port}`;
});
after(() => Promise.all([browser.close(), endBoards(), wiki.closeAllConnections(), wiki.close()]));
beforeEach(async () => { board = await Board.start(); });
afterEach(async () => {
  await page.context().close();
  await board.stop();
});

// The width of an image of the panel, or 'refused'.
async function load(path) {
  return page.evaluate((url) => new Promise((resolve) => {
    const image = document.body.appendChild(new Image());
    image.addEventListener('load', () => resolve(image.naturalWidth));
    image.addEventListener('error', () => resolve('refused'));
    image.src = url;
  }), new URL(path, board.address).href);
}

for (const [kind, path] of [['same-site', '/'], ['cross-site', SANDBOX]]) {
  test(`a ${kind} page embeds the picture, and can do nothing else`, async () => {
    page = await (await browser.window()).context.newPage();
    const asked = page.waitForRequest((request) => request.url().includes('board.svg'));
    await page.goto(address + path);

    assert.ok((await load('board.svg')) > 300);
    assert.equal((await (await asked).allHeaders())['sec-fetch-site'], kind);
    assert.ok((await load('board.svg?again')) > 300);
    assert.equal(await load('run.vcd'), 'refused');
    const read = (url) => fetch(url).then(() => 'read', () => 'refused');
    assert.equal(await page.evaluate(read, new URL('board.svg', board.address).href), 'refused');
  });
}
