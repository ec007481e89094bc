// SPDX-License-Identifier: Apache-2.0
// An LED's state, in colours and in words. Times are microseconds since the board's start.

// Glitch filter: the elements of an LED are written one after the other; shorter colours are ignored.
const GLITCH = 5000;
// A colour that lasts longer is steady, in scenarios as well: longer than any step of the device's patterns.
const LONGEST_PHASE = 1_000_000;

// The colours one LED showed, earliest first: [{color, begin}], the last one is current. elements: [{color, entries}],
// with the entries of a signal's history. A burst counts as its last level.
export function phases(elements) {
  const changes = [];
  for (const [index, element] of elements.entries())
    for (const entry of element.entries) changes.push({ index, time: entry.end, level: entry.level });
  changes.sort((a, b) => a.time - b.time);

  const levels = elements.map((element) => (element.entries.length ? !element.entries[0].level : element.level));
  const found = [{ color: colorName(elements, levels), begin: -Infinity }];
  for (const [place, change] of changes.entries()) {
    levels[change.index] = change.level;
    const next = changes[place + 1];
    if (next && next.time - change.time < GLITCH) continue;
    const color = colorName(elements, levels);
    if (color !== found.at(-1).color) found.push({ color, begin: change.time });
  }
  return found;
}

// "off", "green", several joined by "+".
export function colorName(elements, levels) {
  return elements.filter((_, index) => levels[index]).map((element) => element.color).join('+') || 'off';
}

// "steady green", "flashing green, 500 ms", "alternating green and red, 500 ms", "off".
export function describe(found, now) {
  const current = found.at(-1);
  const steady = current.color === 'off' ? 'off' : `steady ${words(current.color)}`;
  const [before, last] = found.slice(-3);
  if (found.length < 3 || before.color !== current.color) return steady;

  const lastLength = current.begin - last.begin;
  let beforeLength = last.begin - before.begin;
  // The pattern may just have begun: the colour before its first change is not part of it.
  const [earlier, behindIt] = found.slice(-5);
  const repeats = found.length >= 5 && earlier.color === before.color && areAlike(behindIt.begin - earlier.begin, beforeLength);
  if (beforeLength > 2 * lastLength && !repeats) beforeLength = lastLength;
  if (lastLength > LONGEST_PHASE || beforeLength > LONGEST_PHASE) return steady;
  if (now - current.begin > 1.3 * beforeLength + 100_000) return steady;

  const alike = areAlike(beforeLength, lastLength);
  if (current.color !== 'off' && last.color !== 'off') {
    const colors = [current.color, last.color].sort().map(words).join(' and ');
    return alike ? `alternating ${colors}, ${milliseconds(lastLength)}` : `alternating ${colors}`;
  }
  const [on, off] = current.color === 'off' ? [lastLength, beforeLength] : [beforeLength, lastLength];
  const color = words(current.color === 'off' ? last.color : current.color);
  return alike
    ? `flashing ${color}, ${milliseconds(lastLength)}`
    : `flashing ${color}, ${milliseconds(on)} on, ${milliseconds(off)} off`;
}

function areAlike(one, other) {
  return Math.abs(one - other) < 0.2 * other + 10_000;
}

function words(color) {
  return color.replaceAll('+', ' with ');
}

// Programs poll in a loop, which makes a step some milliseconds longer.
function milliseconds(length) {
  const unit = length >= 100_000 ? 50 : 10;
  return `${Math.max(unit, Math.round(length / 1000 / unit) * unit)} ms`;
}

const SVG = 'http://www.w3.org/2000/svg';

function shape(name, attributes, ...children) {
  const element = document.createElementNS(SVG, name);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  element.append(...children);
  return element;
}

function text(x, y, content, className) {
  return shape('text', { x, y, class: className }, content);
}

function lens(led, x, y) {
  return shape('g', { class: 'led', 'data-led': led, 'data-color': 'off', transform: `translate(${x} ${y})` },
    shape('g', { class: 'lamp' },
      shape('circle', { class: 'glow', r: 25 }), shape('circle', { class: 'ring', r: 11 }),
      shape('circle', { class: 'lens', r: 8.5 }), shape('ellipse', { class: 'shine', cx: -2.5, cy: -3, rx: 3, ry: 2 })));
}

function port(x, y, label) {
  const pins = [];
  for (let pin = 0; pin < 8; ++pin) pins.push(shape('rect', { class: 'pin', x: x + 22 + pin * 8.4, y: y + 12, width: 4, height: 16 }));
  return [
    shape('rect', { class: 'port', x, y, width: 110, height: 84, rx: 6 }),
    shape('path', { class: 'jack', d: `M${x + 12} ${y + 10}h86v44h-14v10h-12v10h-34v-10h-12v-10h-14z` }),
    ...pins, text(x + 55, y + 106, label, 'small middle'),
  ];
}

// The front of the device: LEDs of the ports above these, all others in a column. Returns the SVG; its groups of class "led"
// have the LED's name in data-led and show the colour in data-color.
export function drawFront(names) {
  const links = names.filter((name) => name.startsWith('LINK'));
  const others = names.filter((name) => !name.startsWith('LINK'));
  const height = Math.max(220, 90 + 56 * others.length);
  const width = 900;
  const svg = shape('svg', { viewBox: `0 0 ${width} ${height}`, role: 'img', 'aria-label': 'The front of the device with its LEDs' },
    shape('rect', { class: 'case', x: 2, y: 2, width: width - 4, height: height - 4, rx: 18 }),
    shape('rect', { class: 'face', x: 14, y: 14, width: width - 28, height: height - 28, rx: 10 }));
  for (const [x, y] of [[28, 28], [width - 28, 28], [28, height - 28], [width - 28, height - 28]])
    svg.append(shape('circle', { class: 'screw', cx: x, cy: y, r: 6 }), shape('path', { class: 'slot', d: `M${x - 4} ${y + 2}l8 -4` }));

  svg.append(text(58, 62, 'VELRIX', 'brand'), text(58, 84, 'GATEWAY', 'small wide-text'));
  svg.append(shape('rect', { class: 'module', x: 58, y: 108, width: 250, height: height - 148, rx: 6 }),
    text(76, 136, 'OXBO', 'label'), shape('text', { x: 76, y: 156, class: 'small', id: 'front-module' }, ''));
  for (let vent = 0; vent < 9; ++vent)
    svg.append(shape('rect', { class: 'vent', x: 206 + vent * 10, y: 122, width: 4, height: height - 176, rx: 2 }));

  others.forEach((name, index) => {
    const y = height / 2 + (index - (others.length - 1) / 2) * 56;
    svg.append(lens(name, 372, y), text(396, y + 6, name, 'label'));
  });
  links.forEach((name, index) => {
    const x = 500 + index * 180;
    svg.append(...port(x, 88, `ETH ${index + 1}`), lens(name, x + 18, 62), text(x + 38, 67, name.replaceAll('_', ' '), 'label'));
  });
  return svg;
}
