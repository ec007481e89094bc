// SPDX-License-Identifier: Apache-2.0
// Elements of the page. What did not change is not touched, for screen readers and for the focus.

export const find = (id) => document.getElementById(id);

export function make(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [key, value] of Object.entries(attributes)) element.setAttribute(key, value);
  element.append(...children);
  return element;
}

export function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

export function setAttribute(element, name, value) {
  if (element.getAttribute(name) !== String(value)) element.setAttribute(name, value);
}

export function setPill(element, state, text) {
  setAttribute(element, 'data-state', state);
  setText(element, text);
}

// Gives the list one item per key, in this order: keeps those it has, and makes the others. When the item with the focus goes, its
// neighbour's button takes the focus, or the fallback.
export function keepItems(list, keys, makeItem, fallback) {
  const held = new Map([...list.children].map((item) => [item.dataset.key, item]));
  const focused = [...list.children].findIndex((item) => item.contains(document.activeElement));
  for (const [key, item] of held) if (!keys.includes(key)) item.remove();
  keys.forEach((key, place) => {
    const item = held.get(key) ?? makeItem(key);
    item.dataset.key = key;
    if (list.children[place] !== item) list.insertBefore(item, list.children[place] ?? null);
  });
  if (focused < 0 || list.contains(document.activeElement)) return;
  const neighbour = list.children[Math.min(focused, list.childElementCount - 1)];
  (neighbour?.querySelector('button') ?? fallback).focus();
}
