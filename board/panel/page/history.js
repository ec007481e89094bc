// SPDX-License-Identifier: Apache-2.0
// What the signals did before the page came. A message has only the newest changes of a signal; this fetches the older ones, part by
// part, the newest part first.

// Calls added after each part. Ends early when isOver() says so, or when the board does not answer.
export async function fetchOlder(signals, isOver, added) {
  try {
    for (const [number, signal] of signals.entries()) {
      for (let more = true; more && signal.entries[0]?.id > 0;) {
        const answer = await fetch(`history?signal=${number}&before=${signal.entries[0].id}`);
        if (isOver() || !answer.ok) return;
        const part = await answer.json();
        if (isOver()) return;
        signal.entries.unshift(...part.changes.map(readChange));
        more = part.more && part.changes.length > 0;
        added();
      }
    }
  } catch {
    // The board has ended; the page says so.
  }
}

// [signal, id, begin, end, count, level] of the server.
export function readChange([, id, begin, end, count, level]) {
  return { id, begin, end, count, level: level === 1 };
}

// Says of which signals the oldest changes are gone; empty where everything is there.
export function droppedText(signals, most) {
  const dropped = signals.filter((signal) => signal.entries[0]?.id > 0);
  if (!dropped.length) return '';
  const since = Math.max(...dropped.map((signal) => signal.entries[0].begin));
  return `Changes of ${dropped.map((signal) => signal.name).join(', ')} before ${(since / 1e6).toFixed(3)} s are not shown: `
    + `the panel keeps ${most} of each. The VCD has all.`;
}
