// SPDX-License-Identifier: Apache-2.0
// What the server tells, for all tabs of one browser. Browsers open six connections to a server at most, so one of the tabs
// that can be seen holds the stream of events and hands each message on; the others ask for the state once and listen.

const NAME = 'velrix-panel'; // of the lock that the tab with the stream holds, and of the channel to the others
const RETRY = 1000; // milliseconds
const LOST = 'lost'; // instead of a message

// Calls receive with each message, the first of which has all of the state, and lost when the board went away. Goes on for
// ever, whenever the tab can be seen.
export function follow({ receive, lost }) {
  const channel = new BroadcastChannel(NAME);
  let visible = null; // ends all work when the tab is hidden
  let early = null; // messages that came before the state they belong to

  function deliver(message) {
    if (message === LOST) return lost();
    if (message.board) early = null;
    else if (early) return early.push(message);
    receive(message);
  }

  async function askForState(signal) {
    try {
      const answer = await fetch('state', { signal });
      const message = await answer.json();
      const late = early; // nothing when the other tab has told the whole state meanwhile
      if (!late || signal.aborted) return;
      deliver(message);
      late.forEach(deliver);
    } catch {
      if (early && !signal.aborted) lost();
    }
  }

  // Holds the stream as long as the tab can be seen.
  function lead(signal) {
    return new Promise((resolve) => {
      let source = null;
      let retry = 0;
      const tell = (message) => {
        channel.postMessage(message);
        deliver(message);
      };
      const open = () => {
        source = new EventSource('events');
        source.onmessage = (event) => tell(JSON.parse(event.data));
        source.onerror = () => {
          source.close();
          tell(LOST);
          retry = setTimeout(open, RETRY);
        };
      };
      const close = () => {
        clearTimeout(retry);
        source?.close();
        resolve(true);
      };
      if (signal.aborted) return resolve(true);
      signal.addEventListener('abort', close);
      open();
    });
  }

  async function attend(signal) {
    early = [];
    if (await navigator.locks.request(NAME, { ifAvailable: true }, (lock) => lock && lead(signal))) return;
    if (signal.aborted) return;
    askForState(signal);
    await navigator.locks.request(NAME, { signal }, () => lead(signal)).catch(() => {}); // was hidden while it waited
  }

  function look() {
    visible?.abort();
    visible = document.hidden ? null : new AbortController();
    if (visible) attend(visible.signal);
  }

  channel.onmessage = (event) => { if (visible) deliver(event.data); };
  document.addEventListener('visibilitychange', look);
  look();
}
