// SPDX-License-Identifier: Apache-2.0
// The server's events for all tabs of one browser. Browsers limit a server to six connections, so one visible tab holds
// the event stream and broadcasts each message; the others fetch the state once and listen.

const NAME = 'velrix-panel'; // of the leader's lock, and of the broadcast channel
const RETRY = 1000; // milliseconds
const LOST = 'lost'; // instead of a message

// Calls receive with each message, the first with the whole state, and lost when the board disconnects. Runs for ever,
// while the tab is visible.
export function follow({ receive, lost }) {
  const channel = new BroadcastChannel(NAME);
  let visible = null; // aborts everything when the tab is hidden
  let early = null; // messages that came before their state

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
      const late = early; // null when the other tab has sent the whole state meanwhile
      if (!late || signal.aborted) return;
      deliver(message);
      late.forEach(deliver);
    } catch {
      if (early && !signal.aborted) lost();
    }
  }

  // Holds the stream while the tab is visible.
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
    await navigator.locks.request(NAME, { signal }, () => lead(signal)).catch(() => {}); // hidden while waiting
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
