// SPDX-License-Identifier: Apache-2.0
// The two logs: the web log as in the device's web interface, and the program's syslog records.

const NOTES = [['+', 'note'], ['@w', 'warning'], ['@e', 'error']];
const MARKS = { '>start': 'start', '>end': 'end', '>br': 'break' };

// A record of the web log: {kind, text} or, for a progress bar's position, {kind: 'position', percent}. One with a
// leading line feed is the board's.
export function readRecord(record) {
  if (record.startsWith('\n')) return { kind: 'board', text: record.slice(1) };
  if (MARKS[record]) return { kind: MARKS[record], text: '' };
  for (const [marker, kind] of NOTES)
    if (record.startsWith(marker)) return { kind, text: record.slice(marker.length) };
  if (!record.startsWith('%')) return { kind: 'text', text: record };
  const rest = record.slice(1);
  return /^[0-9]+$/.test(rest) ? { kind: 'position', percent: Math.min(100, Number(rest)) } : { kind: 'bar', text: rest };
}

const SEVERITIES = ['fatal', 'fatal', 'fatal', 'error', 'warning', 'info', 'info', 'debug'];

// A datagram of syslog(3), "<PRIORITY>TIME NAME[PID]: TEXT": {severity, source, text}.
export function readSystemRecord(record) {
  const match = /^<(\d{1,3})>(?:[A-Z][a-z]{2} [ \d]\d \d\d:\d\d:\d\d )?(?:([^\s:[\]]+)(?:\[\d+\])?: ?)?/.exec(record);
  if (!match) return { severity: 'info', source: '', text: record };
  return { severity: SEVERITIES[Number(match[1]) & 7], source: match[2] ?? '', text: record.slice(match[0].length) };
}

const MOST_ITEMS = 1000;
const NAMES = { start: 'Operation started', end: 'Operation ended', warning: 'Warning', error: 'Error' };

export function seconds(time) {
  return `${(time / 1e6).toFixed(3)} s`;
}

function make(tag, className, content = '') {
  const element = document.createElement(tag);
  element.className = className;
  element.textContent = content;
  return element;
}

// A log in a scrolling element; follows the end unless the reader has scrolled up.
class LogView {
  constructor(element, empty) {
    this.element = element;
    this.empty = empty;
    this.note = make('p', 'hint dropped'); // outside of the log, which is read out
    element.before(this.note);
    this.clear();
  }

  clear() {
    this.element.replaceChildren(make('p', 'hint', this.empty));
    this.isEmpty = true;
    this.seen = -1;
    this.tellDropped(0);
  }

  // records: [[number, time, text]]
  add(records) {
    const { element } = this;
    const follow = element.scrollHeight - element.scrollTop - element.clientHeight < 24;
    for (const [number, time, record] of records) {
      if (number <= this.seen) continue;
      if (this.isEmpty) {
        element.replaceChildren();
        this.tellDropped(number);
      } else if (number > this.seen + 1) {
        this.append(make('p', 'hint', `${number - this.seen - 1} records are not shown`), this.seen + 1);
      }
      this.isEmpty = false;
      this.seen = number;
      this.show(record, time);
    }
    this.trim();
    if (follow) element.scrollTop = element.scrollHeight;
  }

  trim() {
    const { element } = this;
    if (element.childElementCount <= MOST_ITEMS) return;
    while (element.childElementCount > MOST_ITEMS) element.firstElementChild.remove();
    this.tellDropped(Number(element.firstElementChild.dataset.number));
  }

  // number: that of the oldest record in the log. Records are numbered from 0.
  tellDropped(number) {
    this.note.hidden = number === 0;
    this.note.textContent = number === 1 ? '1 older record is not shown.' : `${number} older records are not shown.`;
  }

  append(element, number = this.seen) {
    element.dataset.number = String(number);
    this.element.append(element);
  }

  row(kind, time, ...content) {
    const row = make('div', `record ${kind}`);
    row.append(make('time', '', seconds(time)), ...content);
    this.append(row);
  }
}

export class WebLogView extends LogView {
  constructor(element) {
    super(element, 'The program has written nothing yet.');
  }

  clear() {
    super.clear();
    this.bar = null;
  }

  show(record, time) {
    const read = readRecord(record);
    if (read.kind === 'break') this.append(make('div', 'record break'));
    else if (read.kind === 'position') this.move(read.percent, time);
    else if (read.kind === 'bar') this.addBar(read.text, time);
    else {
      const parts = NAMES[read.kind] ? [make('strong', '', NAMES[read.kind])] : [];
      if (read.text) parts.push(make('span', 'text', read.text));
      this.row(read.kind, time, ...parts);
      // A position after a new operation or run belongs to no earlier bar.
      if (read.kind === 'start' || read.kind === 'board') this.bar = null;
    }
  }

  addBar(title, time) {
    const track = make('div', 'track');
    track.setAttribute('role', 'progressbar');
    track.setAttribute('aria-label', title || 'Progress');
    track.setAttribute('aria-valuemin', '0');
    track.setAttribute('aria-valuemax', '100');
    // The page's Content-Security-Policy forbids style attributes, but not SVG presentation attributes.
    const svg = document.createElementNS('http://www.w3.org/2000/svg', 'svg');
    svg.setAttribute('viewBox', '0 0 100 1');
    svg.setAttribute('preserveAspectRatio', 'none');
    svg.setAttribute('aria-hidden', 'true');
    const fill = document.createElementNS('http://www.w3.org/2000/svg', 'rect');
    fill.setAttribute('height', '1');
    svg.append(fill);
    track.append(svg);
    const percent = make('span', 'percent');
    this.bar = { track, fill, percent };
    this.row('bar', time, make('span', 'text', title), track, percent);
    this.move(0, time);
  }

  move(percent, time) {
    if (!this.bar) this.addBar('', time);
    this.bar.track.setAttribute('aria-valuenow', String(percent));
    this.bar.fill.setAttribute('width', String(percent));
    this.bar.percent.textContent = `${percent} %`;
  }
}

export class SystemLogView extends LogView {
  constructor(element) {
    super(element, 'The program has sent nothing to the system log yet.');
  }

  show(record, time) {
    const { severity, source, text } = readSystemRecord(record);
    this.row(severity, time, make('strong', '', severity), make('span', 'source', source), make('span', 'text', text));
  }
}
