// The page: cameras on the left, a panel for each open one.
import {CameraList} from './cameras.js';
import {addVirtualCamera, setConnection, showDoctor, showHelp, showInvitation} from './dialogs.js';
import {attempt, h, note} from './dom.js';
import {Link} from './link.js';
import {Panel} from './panel.js';

const byId = (id) => document.getElementById(id);
const link = new Link();
const list = new CameraList(link, byId('cameras'));
const panels = new Map();
let cameras = [];
let you = 0;
let steers = 0;

function showSteering() {
  const canSteer = you === steers;
  document.body.classList.toggle('looking-on', !canSteer);
  byId('steering').replaceChildren(canSteer ? 'You steer' : h('span', {}, 'Another browser steers ',
    h('button', {type: 'button', id: 'take', onclick: () => attempt(() => link.ask('take'))}, 'Take over')));
  for (const id of ['doctor', 'invite', 'add']) byId(id).disabled = !canSteer;
  list.canSteer = canSteer;
  for (const panel of panels.values()) panel.canSteer = canSteer;
}

function showRoom(room) {
  let panel = panels.get(room.camera);
  if (!panel) {
    const isVirtual = cameras.find(({key}) => key === room.camera)?.isVirtual ?? false;
    panel = new Panel(link, room.camera, isVirtual);
    panels.set(room.camera, panel);
    byId('panels').append(panel.element);
    byId('empty').hidden = true;
    panel.canSteer = you === steers;
  }
  panel.update(room);
  list.update(null, new Set(panels.keys()));
}

function closeRoom(key) {
  panels.get(key)?.element.remove();
  panels.delete(key);
  byId('empty').hidden = panels.size > 0;
  list.update(null, new Set(panels.keys()));
}

link.on('welcome', (message) => {
  ({you, steers, cameras} = message);
  setConnection(byId('connection'), 'Connected', true);
  byId('doctor').hidden = !message.canExamine;
  const known = new Set(panels.keys());
  list.update(cameras, new Set(message.rooms.map(({camera}) => camera)));
  for (const room of message.rooms) {
    showRoom(room);
    if (known.delete(room.camera)) panels.get(room.camera).resume();
  }
  for (const key of known) closeRoom(key);
  showSteering();
  document.body.dataset.ready = String(Math.round(performance.now()));
});
link.on('lost', ({isStranger}) => setConnection(byId('connection'), isStranger
  ? 'The server was started anew and does not know this browser: open the address that it printed, or press Enter in its ' +
    'terminal for another one. This page goes on by itself then.'
  : 'The server is not there; looking for it …', false));
link.on('cameras', (message) => {
  cameras = message.cameras;
  list.update(cameras, new Set(panels.keys()));
});
link.on('steering', (message) => {
  steers = message.steers;
  showSteering();
});
link.on('room', showRoom);
link.on('closed', ({camera}) => closeRoom(camera));

/** The panel that is worked in, or the first. */
function chosenPanel() {
  return panels.get(document.activeElement?.closest?.('.panel')?.dataset.camera) ?? panels.values().next().value;
}

const kKeys = {
  s: (panel) => panel?.startOrStop(), g: (panel) => panel?.single(), t: (panel) => panel?.trigger(),
  x: (panel) => panel?.toggleCrosshair(), m: (panel) => panel?.chooseTool('move'),
  r: (panel) => panel?.chooseTool('region'), p: (panel) => panel?.chooseTool('line'), '/': (panel) => panel?.search(), '?': () => showHelp(),
};
document.addEventListener('keydown', (event) => {
  const isTyping = event.target.matches('input:not([type=range],[type=checkbox]), select, textarea');
  if (isTyping || event.ctrlKey || event.metaKey || event.altKey || document.querySelector('dialog[open]')) return;
  if (!kKeys[event.key]) return;
  event.preventDefault();
  kKeys[event.key](chosenPanel());
});

byId('doctor').addEventListener('click', () => showDoctor(link));
byId('invite').addEventListener('click', () => showInvitation(link));
byId('help').addEventListener('click', showHelp);
byId('add').addEventListener('click', () => addVirtualCamera(link));
window.addEventListener('unhandledrejection', (event) => note(event.reason?.message ?? 'Something went wrong', 'problem'));
link.connect();
