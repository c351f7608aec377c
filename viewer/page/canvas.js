// The image of a camera: asks the server for the part that is seen, draws it, and lets a person move in it.
import {attempt} from './dom.js';

const kTrueValues = 8; // screen pixels for an image pixel from which on values are asked for
const kPrinted = 30; // and printed
const kLargestZoom = 128;

export class ImageCanvas extends EventTarget {
  canvas = document.createElement('canvas');
  size = {width: 0, height: 0};
  header = null;
  settings = {colour: true, marks: false, black: 0, white: 0, details: true, crosshair: false};
  tool = 'move';
  profile = null;

  #link;
  #camera;
  #scale = 1;
  #centre = {x: 0, y: 0};
  #fits = true;
  #moves = false;
  #frame = null; // what was drawn last, and can be drawn again
  #asked = '';
  #planned = false;
  #drag = null;
  #pointer = null;

  constructor(link, camera) {
    super();
    this.#link = link;
    this.#camera = camera;
    const canvas = this.canvas;
    canvas.tabIndex = 0;
    canvas.className = 'image';
    canvas.setAttribute('role', 'img');
    canvas.addEventListener('wheel', (event) => this.#onWheel(event), {passive: false});
    canvas.addEventListener('pointerdown', (event) => this.#onDown(event));
    canvas.addEventListener('pointermove', (event) => this.#onMove(event));
    canvas.addEventListener('pointerup', (event) => this.#onUp(event));
    canvas.addEventListener('pointerleave', () => { this.#pointer = null; this.redraw(); });
    canvas.addEventListener('keydown', (event) => this.#onKey(event));
    link.on(`image ${camera}`, (image) => this.#onImage(image));
    new ResizeObserver(() => this.look()).observe(canvas);
  }

  get scale() {
    return this.#scale;
  }

  /** Whether new images come all the time; single ones are sent without loss. */
  set moves(moves) {
    if (this.#moves === moves) return;
    this.#moves = moves;
    this.look();
  }

  /** Looks at the whole image again, or with `scale` screen pixels for an image pixel. */
  zoom(scale, at = null) {
    const before = at && this.toImage(at.x, at.y);
    this.#fits = scale === 0;
    if (!this.#fits) this.#scale = Math.min(Math.max(scale, Math.min(1, this.#fitScale()) / 2), kLargestZoom);
    if (before) {
      const after = this.toImage(at.x, at.y);
      this.#centre.x += before.x - after.x;
      this.#centre.y += before.y - after.y;
    }
    this.look();
  }

  /** Asks for what is seen, once a screen frame at most. */
  look() {
    if (this.#planned) return;
    this.#planned = true;
    requestAnimationFrame(() => {
      this.#planned = false;
      this.#ask();
      this.redraw();
    });
  }

  /** Asks even if nothing is new: after the connection was lost. */
  lookAgain() {
    this.#asked = '';
    this.look();
  }

  /** Screen coordinates, in pixels of the canvas, to those of the image. */
  toImage(x, y) {
    const {width, height} = this.canvas;
    return {x: this.#centre.x + (x - width / 2) / this.#scale, y: this.#centre.y + (y - height / 2) / this.#scale};
  }

  toScreen(x, y) {
    const {width, height} = this.canvas;
    return {x: (x - this.#centre.x) * this.#scale + width / 2, y: (y - this.#centre.y) * this.#scale + height / 2};
  }

  #fitScale() {
    if (!this.size.width) return 1;
    return Math.min(this.canvas.width / this.size.width, this.canvas.height / this.size.height);
  }

  #measure() {
    const ratio = window.devicePixelRatio || 1;
    const width = Math.max(1, Math.round(this.canvas.clientWidth * ratio));
    const height = Math.max(1, Math.round(this.canvas.clientHeight * ratio));
    if (this.canvas.width !== width || this.canvas.height !== height) Object.assign(this.canvas, {width, height});
    if (!this.#fits) return;
    this.#scale = this.#fitScale();
    this.#centre = {x: this.size.width / 2, y: this.size.height / 2};
  }

  #ask() {
    this.#measure();
    const from = this.toImage(0, 0);
    const to = this.toImage(this.canvas.width, this.canvas.height);
    const x = Math.max(0, Math.floor(from.x));
    const y = Math.max(0, Math.floor(from.y));
    const known = this.size.width > 0 && !this.#fits;
    const width = known ? Math.max(1, Math.min(this.size.width, Math.ceil(to.x)) - x) : 0;
    const height = known ? Math.max(1, Math.min(this.size.height, Math.ceil(to.y)) - y) : 0;
    const scale = this.size.width ? Math.min(1, this.#scale) : 1;
    const {colour, marks, black, white, details} = this.settings;
    const request = {
      camera: this.#camera, x: known ? x : 0, y: known ? y : 0, width, height,
      columns: Math.max(1, Math.round((width || this.size.width || this.canvas.width) * scale)),
      rows: Math.max(1, Math.round((height || this.size.height || this.canvas.height) * scale)),
      kind: this.#scale >= kTrueValues && known ? 'values' : this.#moves ? 'jpeg' : 'plain',
      colour, marks, black, white, details,
    };
    if (this.profile) request.profile = this.profile;
    const text = JSON.stringify(request);
    if (text === this.#asked) return;
    this.#asked = text;
    attempt(() => this.#link.ask('view', request)).then((answer) => { if (!answer) this.#asked = ''; });
  }

  async #onImage({header, body}) {
    const {columns, rows, channels, kind} = header;
    let picture;
    let values = null;
    if (kind === 'jpeg') {
      picture = await createImageBitmap(new Blob([body], {type: 'image/jpeg'}));
    } else {
      picture = picturefrom(body, columns, rows, channels);
      if (kind === 'values') values = valuesFrom(body.subarray(columns * rows * channels), header);
    }
    this.#frame?.picture.close?.();
    this.#frame = {header, picture, values};
    this.header = header;
    if (header.imageWidth !== this.size.width || header.imageHeight !== this.size.height) {
      this.size = {width: header.imageWidth, height: header.imageHeight};
      this.#measure();
      this.look();
    }
    this.redraw();
    this.canvas.dataset.number = header.number;
    this.canvas.dataset.block = header.block;
    this.canvas.dataset.kind = kind;
    this.#link.ask('shown', {camera: this.#camera, number: header.number}).catch(() => {});
    this.dispatchEvent(new CustomEvent('image', {detail: header}));
  }

  /** Draws the last image again, and what lies over it. */
  redraw() {
    const context = this.canvas.getContext('2d');
    context.clearRect(0, 0, this.canvas.width, this.canvas.height);
    if (!this.#frame) return;
    const {header, picture, values} = this.#frame;
    const at = this.toScreen(header.x, header.y);
    context.imageSmoothingEnabled = header.columns > header.width * this.#scale;
    context.drawImage(picture, at.x, at.y, header.width * this.#scale, header.height * this.#scale);
    if (values && this.#scale >= kPrinted) this.#print(context, values, header);
    this.#drawOver(context);
  }

  #print(context, values, header) {
    const size = Math.min(14 * (window.devicePixelRatio || 1), this.#scale / (header.components === 3 ? 4 : 3));
    context.font = `${size}px sans-serif`;
    context.textAlign = 'center';
    context.textBaseline = 'middle';
    for (let y = 0; y < header.height; ++y) {
      for (let x = 0; x < header.width; ++x) {
        const at = this.toScreen(header.x + x + 0.5, header.y + y + 0.5);
        const own = values.slice((y * header.width + x) * header.components).slice(0, header.components);
        context.fillStyle = own[0] > 0.5 * (2 ** header.bits) ? '#000' : '#fff';
        own.forEach((value, i) => context.fillText(value, at.x, at.y + (i - (own.length - 1) / 2) * size * 1.1));
      }
    }
  }

  #drawOver(context) {
    context.lineWidth = Math.max(1, window.devicePixelRatio || 1);
    context.strokeStyle = '#ffb000';
    if (this.settings.crosshair && this.#pointer) {
      context.beginPath();
      context.moveTo(this.#pointer.x, 0);
      context.lineTo(this.#pointer.x, this.canvas.height);
      context.moveTo(0, this.#pointer.y);
      context.lineTo(this.canvas.width, this.#pointer.y);
      context.stroke();
    }
    if (this.profile) {
      const [x1, y1, x2, y2] = this.profile;
      const a = this.toScreen(x1 + 0.5, y1 + 0.5);
      const b = this.toScreen(x2 + 0.5, y2 + 0.5);
      context.beginPath();
      context.moveTo(a.x, a.y);
      context.lineTo(b.x, b.y);
      context.stroke();
    }
    if (this.#drag?.tool === 'region') {
      const {from, to} = this.#drag;
      context.strokeRect(from.x, from.y, to.x - from.x, to.y - from.y);
    }
  }

  /** The pixel below the pointer, with its values where they are known. */
  pixel() {
    if (!this.#pointer || !this.size.width) return null;
    const at = this.toImage(this.#pointer.x, this.#pointer.y);
    const x = Math.floor(at.x);
    const y = Math.floor(at.y);
    if (x < 0 || y < 0 || x >= this.size.width || y >= this.size.height) return null;
    const {values, header} = this.#frame;
    const inside = values && x >= header.x && y >= header.y && x < header.x + header.width &&
      y < header.y + header.height;
    const first = inside ? ((y - header.y) * header.width + x - header.x) * header.components : 0;
    return {x, y, values: inside ? [...values.slice(first, first + header.components)] : null};
  }

  #at(event) {
    const box = this.canvas.getBoundingClientRect();
    const ratio = this.canvas.width / box.width;
    return {x: (event.clientX - box.left) * ratio, y: (event.clientY - box.top) * ratio};
  }

  #onWheel(event) {
    event.preventDefault();
    this.zoom(this.#scale * Math.exp(-event.deltaY / 300), this.#at(event));
  }

  #onDown(event) {
    if (event.button !== 0) return;
    this.canvas.setPointerCapture(event.pointerId);
    this.#drag = {tool: this.tool, from: this.#at(event), to: this.#at(event)};
  }

  #onMove(event) {
    const at = this.#at(event);
    this.#pointer = at;
    if (this.#drag) this.#dragTo(at);
    this.redraw();
    this.dispatchEvent(new CustomEvent('pointer'));
  }

  #dragTo(at) {
    const drag = this.#drag;
    if (drag.tool === 'move') {
      this.#pan((drag.to.x - at.x) / this.#scale, (drag.to.y - at.y) / this.#scale);
    } else if (drag.tool === 'line') {
      this.profile = [...this.#clamped(drag.from), ...this.#clamped(at)];
      this.look();
    }
    drag.to = at;
  }

  #clamped(at) {
    const {x, y} = this.toImage(at.x, at.y);
    return [Math.min(Math.max(0, Math.floor(x)), this.size.width - 1),
      Math.min(Math.max(0, Math.floor(y)), this.size.height - 1)];
  }

  #onUp() {
    const drag = this.#drag;
    this.#drag = null;
    if (drag?.tool !== 'region') return;
    const [x1, y1] = this.#clamped(drag.from);
    const [x2, y2] = this.#clamped(drag.to);
    this.redraw();
    if (Math.abs(x2 - x1) < 2 || Math.abs(y2 - y1) < 2) return;
    const detail = {x: Math.min(x1, x2) + this.header.offsetX, y: Math.min(y1, y2) + this.header.offsetY,
      width: Math.abs(x2 - x1) + 1, height: Math.abs(y2 - y1) + 1};
    this.dispatchEvent(new CustomEvent('region', {detail}));
  }

  #pan(x, y) {
    this.#fits = false;
    this.#centre.x = Math.min(Math.max(0, this.#centre.x + x), this.size.width);
    this.#centre.y = Math.min(Math.max(0, this.#centre.y + y), this.size.height);
    this.look();
  }

  #onKey(event) {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const step = 0.1 * this.canvas.width / this.#scale;
    const keys = {
      '+': () => this.zoom(this.#scale * 2), '=': () => this.zoom(this.#scale * 2),
      '-': () => this.zoom(this.#scale / 2), '0': () => this.zoom(0), '1': () => this.zoom(1),
      ArrowLeft: () => this.#pan(-step, 0), ArrowRight: () => this.#pan(step, 0),
      ArrowUp: () => this.#pan(0, -step), ArrowDown: () => this.#pan(0, step),
    };
    if (!keys[event.key]) return;
    event.preventDefault();
    keys[event.key]();
  }
}

/** Samples of one or three bytes a pixel as something that can be drawn. */
function picturefrom(samples, columns, rows, channels) {
  const image = new ImageData(columns, rows);
  const pixels = image.data;
  const last = channels - 1;
  for (let i = 0, from = 0; i < pixels.length; i += 4, from += channels) {
    pixels[i] = samples[from];
    pixels[i + 1] = samples[from + Math.min(1, last)];
    pixels[i + 2] = samples[from + last];
    pixels[i + 3] = 255;
  }
  const canvas = new OffscreenCanvas(columns, rows);
  canvas.getContext('2d').putImageData(image, 0, 0);
  return canvas;
}

function valuesFrom(data, header) {
  const view = new DataView(data.buffer, data.byteOffset, data.byteLength);
  const count = header.width * header.height * header.components;
  const values = new Array(count);
  for (let i = 0; i < count; ++i)
    values[i] = header.valueBytes === 2 ? view.getUint16(2 * i, true) : view.getUint8(i);
  return values;
}
