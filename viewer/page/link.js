// The connection to the server: questions with answers, events, images.
import {commands} from './protocol.js';

const kFirstPause = 300;
const kLongestPause = 4000;

/** What is wrong with a request; empty when nothing is. The server looks again. */
export function complaint(name, fields) {
  const command = commands[name];
  if (!command) return `there is no command '${name}'`;
  const fits = {
    text: (value) => typeof value === 'string',
    number: (value) => Number.isFinite(value),
    flag: (value) => typeof value === 'boolean',
    texts: (value) => Array.isArray(value),
    numbers: (value) => Array.isArray(value),
    object: (value) => typeof value === 'object' && value !== null,
  };
  for (const [field, type] of Object.entries(command.fields)) {
    if (fields[field] === undefined && type.endsWith('?')) continue;
    if (!fits[type.replace('?', '')](fields[field])) return `'${field}' of '${name}' is no ${type}`;
  }
  return '';
}

/** Header and body of an image message. */
export function parseImage(buffer) {
  const length = new DataView(buffer).getUint32(0, true);
  const header = JSON.parse(new TextDecoder().decode(new Uint8Array(buffer, 4, length)));
  return {header, body: new Uint8Array(buffer, 4 + length)};
}

export class Link extends EventTarget {
  #socket = null;
  #next = 1;
  #waiting = new Map();
  #pause = kFirstPause;

  /** Connects, again and again. Tells 'open' and 'lost', and everything that the server tells, as events. */
  connect() {
    const socket = new WebSocket(`ws://${location.host}/socket`);
    socket.binaryType = 'arraybuffer';
    socket.onmessage = (message) => this.#take(message.data);
    socket.onclose = () => this.#lose();
    this.#socket = socket;
  }

  /** The answer to a request, or an Error that says in words why not. */
  ask(name, fields = {}) {
    const wrong = complaint(name, fields);
    if (wrong) return Promise.reject(new Error(wrong));
    if (this.#socket?.readyState !== WebSocket.OPEN) return Promise.reject(new Error('the server is not there now'));
    const id = this.#next++;
    this.#socket.send(JSON.stringify({...fields, id, do: name}));
    if (name === 'shown') return Promise.resolve({});
    return new Promise((resolve, reject) => this.#waiting.set(id, {resolve, reject}));
  }

  on(name, listener) {
    this.addEventListener(name, (event) => listener(event.detail));
  }

  #tell(name, detail) {
    this.dispatchEvent(new CustomEvent(name, {detail}));
  }

  #take(data) {
    if (data instanceof ArrayBuffer) {
      const image = parseImage(data);
      this.#tell(`image ${image.header.camera}`, image);
      return;
    }
    const message = JSON.parse(data);
    if (message.re === undefined) {
      if (message.event === 'welcome') {
        this.#pause = kFirstPause;
        this.#tell('open');
      }
      this.#tell(message.event, message);
      return;
    }
    const waiting = this.#waiting.get(message.re);
    this.#waiting.delete(message.re);
    if (message.error === undefined) waiting?.resolve(message);
    else waiting?.reject(new Error(message.error));
  }

  async #lose() {
    for (const {reject} of this.#waiting.values()) reject(new Error('the connection to the server was lost'));
    this.#waiting.clear();
    this.#tell('lost', {isStranger: await this.#isStranger()});
    setTimeout(() => this.connect(), this.#pause);
    this.#pause = Math.min(this.#pause * 2, kLongestPause);
  }

  /** Whether a server is there that does not know this browser: it was started anew. */
  async #isStranger() {
    try {
      return (await fetch('/', {method: 'HEAD', cache: 'no-store'})).status === 401;
    } catch {
      return false;
    }
  }
}
