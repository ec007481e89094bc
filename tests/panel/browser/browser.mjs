// SPDX-License-Identifier: Apache-2.0
// The tests' browser, and invariants of every page.
import assert from 'node:assert/strict';
import { createRequire } from 'node:module';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { setTimeout } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';

export const load = createRequire(join(process.env.VELRIX_NODE_MODULES, 'package.json'));
const { chromium } = load('playwright-core');

export const DESKTOP = { width: 1280, height: 900 };
export const PHONE = { width: 390, height: 844 };
const UNPACKED = fileURLToPath(new URL('../../../build/test-tools/bin/chromium', import.meta.url)); // by scripts/test-tools
const PATIENCE = 20_000; // timeout in milliseconds, for a busy machine

const FLAGS = [
  '--disable-gpu', '--disable-quic', '--no-first-run', '--disable-background-networking', '--disable-component-update',
  '--disable-sync', '--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1',
];

export class Browser {
  static async launch() {
    const browser = new Browser();
    // Chromium needs a home directory, which not every user has.
    browser.home = await mkdtemp(join(tmpdir(), 'velrix-panel-'));
    browser.chromium = await chromium.launch({
      executablePath: process.env.VELRIX_CHROMIUM ?? UNPACKED,
      args: FLAGS,
      env: { ...process.env, HOME: browser.home, XDG_CONFIG_HOME: browser.home, XDG_CACHE_HOME: browser.home },
    });
    return browser;
  }

  async close() {
    await this.chromium.close();
    await rm(this.home, { recursive: true, force: true, maxRetries: 5 });
  }

  // A separate browser context, without history and shared state.
  async window(options = {}) {
    const context = await this.chromium.newContext({ viewport: DESKTOP, ...options });
    context.setDefaultTimeout(PATIENCE);
    return new Window(context);
  }
}

// The tabs of one window, with their errors.
class Window {
  constructor(context) {
    this.context = context;
    this.wrong = [];
    this.origins = new Set();
    context.on('request', (request) => this.origins.add(new URL(request.url()).origin));
    context.on('console', (message) => {
      if (message.type() === 'error' || message.type() === 'warning') this.wrong.push(message.text());
    });
    context.on('weberror', (error) => this.wrong.push(String(error.error())));
  }

  // Returns a page that shows the board and receives its events.
  async open(board) {
    const page = await this.context.newPage();
    await page.goto(board.address);
    await page.getByText('connected', { exact: true }).waitFor();
    return page;
  }

  // No page logged errors, and none sent requests to other hosts. Ignores Chromium's messages on expected failures of
  // requests.
  async close(board, { withFailedRequests = false } = {}) {
    await this.context.close();
    assert.deepEqual(this.wrong.filter((text) => !withFailedRequests || !text.startsWith('Failed to load resource: ')), []);
    assert.deepEqual([...this.origins], [new URL(board.address).origin]);
  }
}

// Polls for conditions without an event.
export async function eventually(what, condition) {
  for (const end = performance.now() + PATIENCE; !(await condition()); await setTimeout(20))
    assert.ok(performance.now() < end, `${what} did not happen within ${PATIENCE} ms`);
}

export function hasText(locator, text) {
  return locator.filter({ hasText: text }).first().waitFor();
}
