// SPDX-License-Identifier: Apache-2.0
// The program's state in the page, and the buttons that end it.
import { find, setPill, setText } from './dom.js';
import { ignoresTheRequest, titleOf } from './title.js';

export class ProgramView {
  constructor(send) {
    this.program = { state: 'waiting' };
    find('stop').addEventListener('click', () => send('program', { signal: 'TERM' }));
    find('restart').addEventListener('click', () => send('program', { restart: true }));
    find('kill').addEventListener('click', () => send('program', { signal: 'KILL' }));
    // The board may be gone before it has answered.
    find('end').addEventListener('click', () => send('board', { end: true }, { isLast: true }));
  }

  show(program) {
    this.program = program;
    setPill(find('program-state'), program.state, program.text);
    const hadFocus = find('stop') === document.activeElement;
    for (const id of ['stop', 'restart']) {
      find(id).disabled = program.state !== 'running';
      find(id).hidden = program.held;
    }
    find('end').hidden = !program.held;
    if (hadFocus && program.held) find('end').focus();
  }

  // Call it now and then: time passes without events.
  look(command, now, isThere) {
    if (!command) return;
    const title = titleOf(this.program, command, isThere);
    if (document.title !== title) document.title = title;
    const ignores = isThere && ignoresTheRequest(this.program, now);
    if (find('kill').contains(document.activeElement) && !ignores) (find('stop').disabled ? find('lines') : find('stop')).focus();
    find('kill').hidden = !ignores;
    setText(find('ignored'), ignores ? 'The program ignores it:' : '');
  }
}
