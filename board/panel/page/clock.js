// SPDX-License-Identifier: Apache-2.0
// The board's clock, from what the messages say. Its time may pass at another pace than the browser's.

const WINDOW = 500_000; // microseconds over which the pace is measured at least
const UNNOTICED = 0.1; // the part by which a pace may differ from the browser's
const FRACTIONS_BELOW = 10;

export class BoardClock {
  constructor(machine = () => performance.now() * 1000) {
    this.machine = machine;
    this.reset();
  }

  // Another board, or the same one again.
  reset() {
    this.pace = 1;
    this.offset = Infinity;
    this.begin = null;
  }

  // A message that was sent at that time of the board, in microseconds. Messages may be late, never early.
  hear(time) {
    const machine = this.machine();
    this.begin ??= { machine, time };
    if (machine - this.begin.machine >= WINDOW) this.measure(machine, time);
    this.offset = Math.min(this.offset, machine * this.pace - time);
  }

  measure(machine, time) {
    const pace = (time - this.begin.time) / (machine - this.begin.machine);
    this.begin = { machine, time };
    const before = this.pace;
    this.pace = Math.abs(pace - 1) > UNNOTICED ? pace : 1;
    if (this.pace !== before) this.offset = Infinity;
  }

  now() { return this.machine() * this.pace - this.offset; }

  // "5.0x"; empty at the browser's pace.
  text() { return this.pace === 1 ? '' : `${this.pace.toFixed(this.pace < FRACTIONS_BELOW ? 1 : 0)}x`; }
}
