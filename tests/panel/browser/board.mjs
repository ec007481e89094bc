// SPDX-License-Identifier: Apache-2.0
// A board with its panel. The program on it is a shell, controlled by the test, or another program.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { createInterface } from 'node:readline';

const DONE = 'the shell has done it';

const running = new Set();

// Ends leftover boards of failed tests.
export async function endBoards() {
  for (const board of running) board.process.kill('SIGKILL');
  await Promise.all([...running].map((board) => board.ended));
}

export class Board {
  // command: that of velrix-board, with its arguments. Throws with the board's message when it does not start.
  static async start({ port = 0, command = ['run'], program = ['sh'] } = {}) {
    const board = new Board();
    board.process = spawn(process.env.VELRIX_BOARD, [...command, `--panel=${port}`, '--', ...program]);
    running.add(board);
    board.ended = once(board.process, 'exit').finally(() => running.delete(board));
    board.answers = createInterface({ input: board.process.stdout })[Symbol.asyncIterator]();
    let said = '';
    for await (const line of createInterface({ input: board.process.stderr })) {
      said += `${line}\n`;
      board.address = /the panel is at (http:\S+)/.exec(line)?.[1];
      if (board.address) break;
    }
    if (!board.address) throw new Error(`the board did not start: ${said}`);
    board.process.stderr.resume();
    board.port = Number(new URL(board.address).port);
    return board;
  }

  // Runs a command in the shell and returns its output.
  async do(command) {
    this.process.stdin.write(`${command}\necho '${DONE}'\n`);
    const printed = [];
    for (;;) {
      const { value, done } = await this.answers.next();
      if (done) throw new Error(`the program ended instead of doing ${command}`);
      if (value === DONE) return printed.join('\n');
      printed.push(value);
    }
  }

  async state() {
    return (await fetch(new URL('state', this.address))).json();
  }

  // The value file of a line, or of an LED's element such as MS.green.
  async path(name) {
    this.signals ??= (await this.state()).board.signals;
    return this.signals.find((signal) => signal.name === name).path;
  }

  // Like an application: one byte into the value file.
  async write(name, level) {
    await this.do(`printf ${level} >${await this.path(name)}`);
  }

  async read(name) {
    return this.do(`cat ${await this.path(name)}`);
  }

  async log(...records) {
    await this.do(`printf '%s\\n' ${records.map((record) => `'${record}'`).join(' ')} >>/mnt/share/logger`);
  }

  // Ends the program, and with it the board.
  async stop() {
    this.process.stdin.end();
    await this.ended;
  }
}
