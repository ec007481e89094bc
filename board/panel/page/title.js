// SPDX-License-Identifier: Apache-2.0
// The program's state in words, for the tab's title.

const IGNORED = 3e6; // microseconds after which a program that was asked to end seems to ignore it
const MARKS = { waiting: '○', running: '●' };

// The last part of the path of the program's first word.
function shortName(command) {
  return command.trim().split(/\s+/)[0].split('/').at(-1);
}

// "● running – gateway", "ended 0 – gateway", "failed 3 – gateway", "failed KILL – gateway", "gone – gateway".
// program: {state, end}; command: its command line; isThere: whether the board is connected.
export function titleOf(program, command, isThere) {
  const { state } = program;
  const isOver = state === 'ended' || state === 'failed';
  const text = isOver ? `${state} ${program.end}` : isThere ? `${MARKS[state] ?? ''} ${state}`.trim() : 'gone';
  return `${text} – ${shortName(command)}`;
}

// Whether a program that was asked to end is still there after some seconds.
export function ignoresTheRequest(program, now) {
  return program.state === 'running' && typeof program.askedAt === 'number' && now - program.askedAt >= IGNORED;
}
