// SPDX-License-Identifier: Apache-2.0
// The form that breaks value files, and the list of those that are broken.
import { find, keepItems, make, setText } from './dom.js';

export function controlFaults(signals, send) {
  // Only writes find a device full, and nobody writes to an input.
  const offer = () => {
    const kind = find('fault-kind');
    const noSpace = kind.querySelector('[value=ENOSPC]');
    noSpace.disabled = signals().find((signal) => signal.name === find('fault-signal').value)?.input ?? false;
    if (noSpace.disabled && noSpace.selected) kind.value = 'EIO';
  };
  find('fault-signal').addEventListener('change', offer);
  find('fault-kind').addEventListener('change', () => {
    for (const id of ['delay-label', 'delay-field']) find(id).hidden = find('fault-kind').value !== 'slow';
  });
  find('fault-form').addEventListener('submit', (event) => {
    event.preventDefault();
    const kind = find('fault-kind').value;
    send(`faults/${find('fault-signal').value}`, { fault: kind === 'slow' ? `slow:${find('delay').value}ms` : kind });
  });
  return {
    build() {
      const select = find('fault-signal');
      if (select.childElementCount === signals().length) return;
      select.replaceChildren(...signals().map((signal) => make('option', { value: signal.name }, signal.name)));
      offer();
    },

    // faults: {NAME: fault}
    show(faults) {
      const list = find('faults');
      const names = Object.keys(faults);
      find('no-faults').hidden = names.length > 0;
      keepItems(list, names, (name) => {
        const button = make('button', { type: 'button', 'aria-label': `Repair ${name}` }, 'Repair');
        button.addEventListener('click', () => send(`faults/${name}`, { fault: null }));
        return make('li', { 'data-fault': name }, make('code', {}, name), make('span', { class: 'fault' }), button);
      }, find('fault-signal'));
      for (const item of list.children) setText(item.querySelector('.fault'), faults[item.dataset.key]);
    },
  };
}
