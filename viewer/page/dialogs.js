// Dialogs of the whole page.
import {attempt, dialog, h, note, setText} from './dom.js';

/** What keeps cameras from working, with the command that mends it. */
export async function showDoctor(link) {
  const answer = await attempt(() => link.ask('doctor'));
  if (!answer) return;
  const copy = (text) => navigator.clipboard?.writeText(text).then(() => note('Copied.'));
  dialog('The doctor', h('ul', {class: 'findings'}, ...answer.findings.map(({severity, about, text, command}) =>
    h('li', {class: severity}, h('strong', {}, `${severity}: ${about}`), h('p', {}, text),
      command ? h('p', {}, h('code', {}, command), ' ',
        h('button', {type: 'button', onclick: () => copy(command)}, 'Copy')) : null))));
}

export async function showInvitation(link) {
  const answer = await attempt(() => link.ask('invite'));
  if (!answer) return;
  const address = answer.address.replace(/^http:\/\/[^/]*/, location.origin);
  const field = h('input', {type: 'text', readonly: true, value: address, class: 'wide', 'aria-label': 'Address'});
  dialog('One more browser', h('p', {}, 'This address lets one more browser in, once. It can look on, and take over.'),
    field);
  field.select();
}

export function addVirtualCamera(link) {
  const field = (label, input) => h('label', {}, `${label} `, input);
  const width = h('input', {type: 'number', min: 64, max: 16384, step: 16, value: 1280});
  const height = h('input', {type: 'number', min: 64, max: 16384, step: 16, value: 1024});
  const rate = h('input', {type: 'number', min: 1, max: 1000, value: 30});
  const name = h('input', {type: 'text', maxlength: 60, placeholder: 'for example: left'});
  const add = h('button', {type: 'button', class: 'main', onclick: () => attempt(async () => {
    await link.ask('virtual', {request: {add: {sensorWidth: Number(width.value), sensorHeight: Number(height.value),
      frameRate: Number(rate.value), userName: name.value}}});
    shown.close();
    note('The camera is plugged in; choose it in the list.');
  })}, 'Plug it in');
  const shown = dialog('A virtual camera',
    h('p', {}, 'It does what a USB3 Vision camera does, without hardware, and can be given faults later.'),
    h('div', {class: 'form'}, field('Width', width), field('Height', height), field('Images a second', rate),
      field('Name', name)), add);
}

const kKeys = [
  ['S', 'start or stop the image of the chosen camera'], ['G', 'a single image'], ['T', 'a software trigger'],
  ['/', 'search the features'], ['0', 'the whole image'], ['1', 'one screen pixel for an image pixel'],
  ['+ −', 'larger, smaller'], ['Arrows', 'move in the image'], ['Shift and arrows', 'point at its pixels, one by one'],
  ['X', 'crosshair'], ['R, P, M', 'draw a region or the line of a profile, or move again'],
  ['Enter', 'in the image: one end of the region or line, then the other; arrows move it, Escape gives it up'],
  ['?', 'this help'],
];

export function showHelp() {
  dialog('Help',
    h('p', {}, 'Choose a camera on the left: its image appears. Turn the wheel to zoom, drag to move. From eight screen ',
      'pixels for an image pixel on the values are the true ones of the camera; from thirty on they are printed.'),
    h('p', {}, 'One browser steers, all others look on; “Take over” changes that. Nothing on this page leaves your ',
      'computer and those that you invite.'),
    h('table', {}, ...kKeys.map(([key, text]) => h('tr', {}, h('th', {scope: 'row'}, h('kbd', {}, key)),
      h('td', {}, text)))));
}

export function setConnection(element, text, isGood) {
  setText(element, text);
  element.classList.toggle('problem', !isGood);
}
