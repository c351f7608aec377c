// The list of cameras: they come and go by themselves.
import {attempt, h} from './dom.js';

export class CameraList {
  #link;
  #list;
  #cameras = [];
  #rooms = new Set();
  #canSteer = true;

  constructor(link, list) {
    this.#link = link;
    this.#list = list;
  }

  /** Cameras that are there, and keys of those that are open. */
  update(cameras, rooms) {
    this.#cameras = cameras ?? this.#cameras;
    this.#rooms = rooms ?? this.#rooms;
    const items = this.#cameras.map((camera) => this.#item(camera));
    if (!items.length) items.push(h('li', {class: 'none'}, 'None is plugged in. Cameras appear here by themselves.'));
    const focused = document.activeElement?.dataset?.key;
    this.#list.replaceChildren(...items);
    if (focused) this.#list.querySelector(`[data-key="${CSS.escape(focused)}"]`)?.focus();
  }

  set canSteer(canSteer) {
    this.#canSteer = canSteer;
    this.update(null, null);
  }

  /** Opens a camera and shows its image at once. */
  async open(key) {
    await this.#link.ask('open', {camera: key});
    await this.#link.ask('start', {camera: key});
  }

  #item({key, name, vendor, path, speed, isVirtual, isAway}) {
    const isOpen = this.#rooms.has(key);
    const plug = (what, text, title) => h('button', {type: 'button', class: 'small', title, disabled: !this.#canSteer,
      onclick: () => attempt(() => this.#link.ask('virtual', {request: {[what]: key}}))}, text);
    if (isAway) {
      return h('li', {class: 'away'}, h('span', {}, `${name} is unplugged`),
        plug('plug', 'Plug in again', `Plugs ${name} in again`));
    }
    return h('li', {},
      h('button', {type: 'button', class: isOpen ? 'camera open' : 'camera', 'data-key': key, title: path,
        'aria-pressed': String(isOpen), disabled: !isOpen && !this.#canSteer,
        onclick: () => (isOpen ? document.getElementById(`panel-${key}`)?.focus() : attempt(() => this.open(key)))},
      h('strong', {}, name), h('small', {}, `${vendor}${speed ? `, USB ${speed}` : ''}`)),
      isVirtual ? plug('unplug', 'Unplug', `Pulls the plug of ${name}`) : null);
  }
}
