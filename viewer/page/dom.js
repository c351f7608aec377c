// Small helpers for the document. Text is always set as text.

/** Makes an element. Attributes that are functions are listeners: {onclick: ...}; `data` and `class` are as in HTML. */
export function h(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [name, value] of Object.entries(attributes)) {
    if (typeof value === 'function') element.addEventListener(name.slice(2), value);
    else if (typeof value === 'boolean') element.toggleAttribute(name, value);
    else if (value !== undefined && value !== null) element.setAttribute(name, value);
  }
  element.append(...children.filter((child) => child !== null && child !== undefined));
  return element;
}

/** Sets the text, if it is another one: what reads pages aloud is not to repeat itself. */
export function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

/** A message that goes away by itself, or by a click. */
export function note(text, kind = 'note') {
  const notes = document.getElementById('notes');
  const shown = h('p', {class: kind}, text, h('button', {type: 'button', 'aria-label': 'Close this message',
    onclick: () => shown.remove()}, '×'));
  notes.append(shown);
  while (notes.children.length > 5) notes.firstElementChild.remove();
  setTimeout(() => shown.remove(), kind === 'problem' ? 20000 : 8000);
}

/** Runs what a click asks for, and tells what went wrong. */
export async function attempt(task) {
  try {
    return await task();
  } catch (problem) {
    note(problem.message, 'problem');
    return undefined;
  }
}

/** A number as people write it: 1 234, 0.012, 3.4 k is not for cameras. */
export function figure(number, digits = 1) {
  return Number.isFinite(number) ? number.toFixed(digits) : '–';
}

export function bytes(count) {
  const units = ['B', 'kB', 'MB', 'GB', 'TB'];
  let unit = 0;
  let rest = count;
  for (; rest >= 1000 && unit < units.length - 1; ++unit) rest /= 1000;
  return `${rest.toFixed(unit === 0 ? 0 : 1)} ${units[unit]}`;
}

/** A modal dialog with a title; removed when it is closed. */
export function dialog(title, ...content) {
  const shown = h('dialog', {'aria-label': title, onclose: () => shown.remove()},
    h('h2', {}, title), ...content,
    h('form', {method: 'dialog', class: 'end'}, h('button', {}, 'Close')));
  document.body.append(shown);
  shown.showModal();
  return shown;
}

/** Offers a text as a file. */
export function download(name, text) {
  const link = h('a', {href: URL.createObjectURL(new Blob([text], {type: 'text/plain'})), download: name});
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 10000);
}

/** Asks for a file and reads it as text; undefined when none is chosen. */
export function chooseText() {
  return new Promise((resolve) => {
    const input = h('input', {type: 'file', onchange: async () => resolve(await input.files[0]?.text()),
      oncancel: () => resolve(undefined)});
    input.click();
  });
}
