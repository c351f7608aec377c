// The image of a camera: asks the server for the part that is seen, draws it, and lets a person move in it.
import {attempt} from './dom.js';
import {Frame} from './frame.js';
import {drawCrosshair, drawLine, drawRegion, drawValues} from './overlay.js';
import {Viewport} from './viewport.js';

const kTrueValues = 8; // canvas pixels for an image pixel from which on values are asked for
const kPrinted = 30; // and printed
const kArrows = {ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1]};

export class ImageCanvas extends EventTarget {
  canvas = document.createElement('canvas');
  header = null;
  settings = {colour: true, marks: false, black: 0, white: 0, details: true, crosshair: false};
  tool = 'move';
  profile = null;

  #link;
  #camera;
  #view = new Viewport();
  #moves = false;
  #frame = null; // what was drawn last, and can be drawn again
  #came = 0; // images so far
  #drawn = 0; // which of them the frame is
  #asked = '';
  #planned = false;
  #drag = null; // a tool between its two ends, which are places in the image
  #pointer = null; // on the canvas

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
    canvas.addEventListener('pointermove', (event) => this.#pointTo(this.#at(event)));
    canvas.addEventListener('pointerup', () => this.#end());
    canvas.addEventListener('pointerleave', () => { this.#pointer = null; this.redraw(); });
    canvas.addEventListener('keydown', (event) => this.#onKey(event));
    link.on(`image ${camera}`, (image) => this.#onImage(image));
    new ResizeObserver(() => this.look()).observe(canvas);
  }

  get scale() {
    return this.#view.scale;
  }

  /** Whether new images come all the time; single ones are sent without loss. */
  set moves(moves) {
    if (this.#moves === moves) return;
    this.#moves = moves;
    this.look();
  }

  /** Looks at the whole image again, or with `scale` screen pixels for an image pixel. */
  zoom(scale, at = null) {
    this.#view.zoom(scale, at);
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

  /** Draws the last image again, and what lies over it. */
  redraw() {
    const context = this.canvas.getContext('2d');
    context.clearRect(0, 0, this.canvas.width, this.canvas.height);
    if (!this.#frame) return;
    const {header, picture, values} = this.#frame;
    const view = this.#view;
    const at = view.toCanvas(header);
    context.imageSmoothingEnabled = header.columns > header.width * view.scale;
    context.drawImage(picture, at.x, at.y, header.width * view.scale, header.height * view.scale);
    if (values && view.scale >= kPrinted) drawValues(context, view, this.#frame);
    if (this.settings.crosshair && this.#pointer) drawCrosshair(context, view, this.#pointer);
    if (this.profile) drawLine(context, view, this.profile);
    if (this.#drag?.tool === 'region') drawRegion(context, view, this.#region());
  }

  /** The pixel below the pointer, with its values where they are known. */
  pixel() {
    if (!this.#pointer || !this.#frame) return null;
    const at = this.#view.toImage(this.#pointer);
    const {x, y} = this.#view.pixelAt(at);
    if (x !== Math.floor(at.x) || y !== Math.floor(at.y)) return null;
    return {x, y, values: this.#frame.valuesAt(x, y)};
  }

  #measure(image = this.#view.image) {
    const ratio = window.devicePixelRatio || 1;
    const width = Math.max(1, Math.round(this.canvas.clientWidth * ratio));
    const height = Math.max(1, Math.round(this.canvas.clientHeight * ratio));
    if (this.canvas.width !== width || this.canvas.height !== height) Object.assign(this.canvas, {width, height});
    this.#view.measure({image, canvas: {width, height}});
  }

  #ask() {
    this.#measure();
    const {scale, fits, image, canvas} = this.#view;
    const seen = this.#view.seen();
    const shrunk = image.width ? Math.min(1, scale) : 1;
    const {colour, marks, black, white, details} = this.settings;
    const request = {
      camera: this.#camera, ...seen,
      columns: Math.max(1, Math.round((seen.width || image.width || canvas.width) * shrunk)),
      rows: Math.max(1, Math.round((seen.height || image.height || canvas.height) * shrunk)),
      kind: scale >= kTrueValues && image.width && !fits ? 'values' : this.#moves ? 'jpeg' : 'plain',
      colour, marks, black, white, details,
    };
    if (this.profile) request.profile = this.profile;
    const text = JSON.stringify(request);
    if (text === this.#asked) return;
    this.#asked = text;
    attempt(() => this.#link.ask('view', request)).then((answer) => { if (!answer) this.#asked = ''; });
  }

  async #onImage(image) {
    const turn = ++this.#came;
    try {
      const frame = await Frame.from(image);
      if (turn > this.#drawn) this.#show(frame, turn);
      else frame.close(); // it took longer than one that came after it
    } finally {
      this.#link.ask('shown', {camera: this.#camera, number: image.header.number}).catch(() => {});
    }
  }

  #show(frame, turn) {
    const {header} = frame;
    this.#drawn = turn;
    this.#frame?.close();
    this.#frame = frame;
    this.header = header;
    const {width, height} = this.#view.image;
    if (header.imageWidth !== width || header.imageHeight !== height) {
      this.#measure({width: header.imageWidth, height: header.imageHeight});
      this.look();
    }
    this.redraw();
    Object.assign(this.canvas.dataset, {number: header.number, block: header.block, kind: header.kind});
    this.dispatchEvent(new CustomEvent('image', {detail: header}));
  }

  #at(event) {
    const box = this.canvas.getBoundingClientRect();
    const ratio = this.canvas.width / box.width;
    return {x: (event.clientX - box.left) * ratio, y: (event.clientY - box.top) * ratio};
  }

  #onWheel(event) {
    event.preventDefault();
    this.zoom(this.scale * Math.exp(-event.deltaY / 300), this.#at(event));
  }

  #onDown(event) {
    if (event.button !== 0) return;
    this.canvas.setPointerCapture(event.pointerId);
    this.#begin(this.#at(event));
  }

  #pointTo(at) {
    this.#pointer = at;
    if (this.#drag) this.#dragTo(this.#view.toImage(at));
    this.redraw();
    this.dispatchEvent(new CustomEvent('pointer'));
  }

  #begin(at) {
    const place = this.#view.toImage(at);
    this.#drag = {tool: this.tool, from: place, to: place};
  }

  #dragTo(place) {
    const {tool, from} = this.#drag;
    if (tool === 'move') {
      this.#view.pan(from.x - place.x, from.y - place.y);
    } else {
      this.#drag.to = place;
      if (tool === 'line') this.profile = this.#ends();
    }
    this.look();
  }

  /** The pixels at both ends of what is dragged: x, y, x, y. */
  #ends() {
    const [a, b] = [this.#drag.from, this.#drag.to].map((place) => this.#view.pixelAt(place));
    return [a.x, a.y, b.x, b.y];
  }

  #region() {
    const [x1, y1, x2, y2] = this.#ends();
    return {x: Math.min(x1, x2), y: Math.min(y1, y2), width: Math.abs(x2 - x1) + 1, height: Math.abs(y2 - y1) + 1};
  }

  #end() {
    const region = this.#drag?.tool === 'region' ? this.#region() : null;
    this.#drag = null;
    this.redraw();
    if (!region || region.width < 3 || region.height < 3) return;
    const {offsetX, offsetY} = this.header;
    this.dispatchEvent(new CustomEvent('region', {detail: {...region, x: region.x + offsetX, y: region.y + offsetY}}));
  }

  #onKey(event) {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const keys = {
      '+': () => this.zoom(this.scale * 2), '=': () => this.zoom(this.scale * 2),
      '-': () => this.zoom(this.scale / 2), '0': () => this.zoom(0), '1': () => this.zoom(1),
    };
    if (this.tool !== 'move') keys.Enter = () => this.#mark();
    if (this.#drag) keys.Escape = () => { this.#drag = null; this.redraw(); };
    const arrow = kArrows[event.key];
    const run = arrow ? () => this.#onArrow(...arrow, event.shiftKey) : keys[event.key];
    if (!run) return;
    event.preventDefault();
    run();
  }

  /** Arrows move the image, or what a tool points at; with Shift they point pixel by pixel. */
  #onArrow(x, y, byPixel) {
    const step = byPixel ? this.scale : 0.1 * this.canvas.width;
    if (this.tool === 'move' && !byPixel) {
      this.#view.pan(x * step / this.scale, y * step / this.scale);
      this.look();
      return;
    }
    const {width, height} = this.canvas;
    const from = this.#pointer ?? this.#middle();
    this.#pointTo({x: Math.min(Math.max(0, from.x + x * step), width - 1),
      y: Math.min(Math.max(0, from.y + y * step), height - 1)});
  }

  /** The middle of the pixel in the middle of what is seen. */
  #middle() {
    const {x, y} = this.#view.pixelAt(this.#view.centre);
    return this.#view.toCanvas({x: x + 0.5, y: y + 0.5});
  }

  /** Enter sets the first end of what a tool draws, and then the other. */
  #mark() {
    if (this.#drag) return this.#end();
    this.#begin(this.#pointer ?? this.#middle());
    return this.#pointTo(this.#pointer ?? this.#middle());
  }
}
