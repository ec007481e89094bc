// SPDX-License-Identifier: Apache-2.0
// The lines: inputs with switches and with who drives them, outputs with their levels.
import { find, keepItems, make, setAttribute, setText } from './dom.js';

const DRIVERS = {
  start: 'as at power-up', option: 'from --set', module: 'by the module', panel: 'by the panel', pipe: 'by the control file',
  scenario: 'by the scenario',
};

// send(path, body) posts a command.
export function buildLines(signals, send) {
  const lines = new Map(signals.filter((signal) => !signal.led).map((line) => [line.name, line]));
  for (const [list, isInput, makeItem] of [[find('inputs'), true, inputItem], [find('outputs'), false, outputItem]])
    keepItems(list, [...lines.keys()].filter((name) => lines.get(name).input === isInput), (name) => makeItem(lines.get(name), send),
      find('lines'));
}

function inputItem(line, send) {
  const id = `line-${line.name}`;
  const control = make('button', { type: 'button', role: 'switch', 'aria-checked': 'false', 'aria-labelledby': id, 'aria-describedby': `${id}-driver`, class: 'switch' },
    make('span', { class: 'knob', 'aria-hidden': 'true' }), make('span', { class: 'level' }, 'low'));
  control.addEventListener('click', () =>
    send(`inputs/${line.name}`, { level: control.getAttribute('aria-checked') !== 'true' }));
  const driver = make('span', { class: 'drivers' }, make('span', { class: 'driver', id: `${id}-driver` }));
  if (line.module) {
    const release = make('button', { type: 'button', class: 'release', 'aria-label': `Give ${line.name} back to the module` }, 'Give back');
    release.hidden = true;
    release.addEventListener('click', () => send(`inputs/${line.name}`, { driver: 'module' }));
    driver.append(release);
  }
  return make('li', { 'data-line': line.name, title: line.path },
    make('span', { class: 'name' }, make('code', { id }, line.name), driver), make('span', { class: 'fault' }), control);
}

function outputItem(line) {
  return make('li', { 'data-line': line.name, title: line.path },
    make('span', { class: 'name' }, make('code', {}, line.name)), make('span', { class: 'fault' }),
    make('span', { class: 'pill level', 'data-state': 'low' }, 'low'));
}

function itemOf(name) {
  return document.querySelector(`[data-line="${name}"]`);
}

export function showLevels(signals, faults) {
  for (const signal of signals) {
    if (signal.led) continue;
    const item = itemOf(signal.name);
    const control = item.querySelector('.switch');
    const text = signal.level ? 'high' : 'low';
    if (control) setAttribute(control, 'aria-checked', signal.level);
    else setAttribute(item.querySelector('.level'), 'data-state', text);
    setText(item.querySelector('.level'), text);
    setText(item.querySelector('.fault'), faults[signal.name] ?? '');
  }
}

// drivers: {NAME: who}
export function showDrivers(drivers) {
  for (const [name, driver] of Object.entries(drivers)) {
    const item = itemOf(name);
    const release = item.querySelector('.release');
    setText(item.querySelector('.driver'), DRIVERS[driver] ?? driver);
    if (!release) continue;
    // The focus must not go with the button.
    if (driver === 'module' && release === document.activeElement) item.querySelector('.switch').focus();
    release.hidden = driver === 'module';
  }
}
