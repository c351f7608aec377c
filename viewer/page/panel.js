// All of one open camera: its image with tools, features, bench.
import {Chunks, Events, Faults, Recording} from './bench.js';
import {ImageCanvas} from './canvas.js';
import {drawCurves, histogramCurves, profileCurves} from './chart.js';
import {attempt, figure, h, note, setText} from './dom.js';
import {FeatureTree} from './features.js';
import {Plots} from './plots.js';

const kTools = {move: 'Move', region: 'Region', line: 'Profile'};

export class Panel {
  #link;
  #camera;
  #room = {};
  #canSteer = true;
  #image;
  #features;
  #plots = new Plots();
  #chunks = new Chunks();
  #events;
  #faults;
  #title = h('h2');
  #trouble = h('p', {class: 'trouble', role: 'alert'});
  #plug = h('button', {type: 'button', class: 'steers', hidden: true, onclick: () => attempt(() =>
    this.#link.ask('virtual', {request: {plug: this.#camera}}))}, 'Plug in again');
  #start = h('button', {type: 'button', class: 'main steers', onclick: () => this.startOrStop()}, 'Start');
  #tool = h('select', {'aria-label': 'What dragging in the image, or Enter and the arrows, does',
    onchange: () => this.#useTool()},
  ...Object.entries(kTools).map(([value, text]) => h('option', {value}, text)));
  #colour;
  #crosshair = h('input', {type: 'checkbox', onchange: () => this.#showCrosshair()});
  #pixel = h('span', {class: 'pixel'});
  #about = h('span', {class: 'about'});
  #histogram = h('canvas', {class: 'curves', role: 'img', 'aria-label': 'Histogram'});
  #profile = h('canvas', {class: 'curves', role: 'img', 'aria-label': 'Profile along the line', hidden: true});
  #measures = h('p', {class: 'measures'});
  #black = h('input', {type: 'number', min: 0, placeholder: '0', 'aria-label': 'Shown black',
    oninput: () => this.#setWindow()});
  #white = h('input', {type: 'number', min: 0, placeholder: 'all', 'aria-label': 'Shown white',
    oninput: () => this.#setWindow()});
  #tabs;

  constructor(link, camera, isVirtual) {
    this.#link = link;
    this.#camera = camera;
    this.#image = new ImageCanvas(link, camera);
    this.#features = new FeatureTree(link, camera);
    this.#events = new Events(link, camera);
    this.#faults = isVirtual ? new Faults(link, camera) : null;
    this.#image.addEventListener('image', (event) => this.#onImage(event.detail));
    this.#image.addEventListener('pointer', () => this.#showPixel());
    this.#image.addEventListener('region', (event) => this.#setRegion(event.detail));
    link.on('figures', (report) => { if (report.camera === camera) this.#plots.add(report); });
    link.on('unshowable', (message) => { if (message.camera === camera) note(message.why, 'problem'); });
    this.#tabs = this.#makeTabs();
    this.element = h('article', {class: 'panel', id: `panel-${camera}`, tabindex: '-1', 'data-camera': camera},
      h('header', {}, this.#title, h('span', {class: 'space'}),
        h('button', {type: 'button', class: 'steers', title: 'Closes the camera for all browsers',
          onclick: () => this.#ask('close')}, 'Close')),
      this.#trouble, this.#plug, this.#toolbar(), h('div', {class: 'split'},
        h('div', {class: 'seen'}, this.#image.canvas, h('p', {class: 'row small'}, this.#about, this.#pixel),
          this.#plots.summary, this.#plots.losses), this.#tabs));
    this.#features.load();
    this.#image.look();
  }

  #ask(name, fields = {}) {
    return attempt(() => this.#link.ask(name, {camera: this.#camera, ...fields}));
  }

  /** What the server says of the camera. */
  update(room) {
    const wasAway = this.#room.isAway;
    this.#room = room;
    setText(this.#title, room.name);
    setText(this.#start, room.isStreaming ? 'Stop' : 'Start');
    setText(this.#trouble, room.isAway ? 'It is unplugged. As soon as it is back, it goes on.' : room.trouble);
    this.#plug.hidden = !room.isAway || !this.#faults;
    this.element.classList.toggle('away', room.isAway);
    this.element.dataset.state = room.isAway ? 'away' : room.isStreaming ? 'streaming' : 'open';
    this.#image.moves = room.isStreaming;
    this.#events.isListening = room.hasEvents;
    this.#image.canvas.setAttribute('aria-label', `Image of ${room.name}`);
    if (wasAway && !room.isAway) this.#features.load();
  }

  set canSteer(canSteer) {
    this.#canSteer = canSteer;
    this.#features.canSteer = canSteer;
    for (const element of this.element.querySelectorAll('.steers')) element.disabled = !canSteer;
  }

  /** After the connection was lost. */
  resume() {
    this.#features.load();
    this.#image.lookAgain();
  }

  startOrStop() {
    return this.#ask(this.#room.isStreaming ? 'stop' : 'start');
  }

  single() {
    return this.#ask('single');
  }

  /** Sets the camera up for software triggers first, if it is not. */
  async trigger() {
    if (this.#features.value('TriggerMode')?.value === 'Off' || this.#features.value('TriggerSource')?.value !== 'Software') {
      const isSet = await attempt(async () => {
        if (this.#features.value('TriggerSelector')) await this.#features.change('TriggerSelector', 'FrameStart');
        await this.#features.change('TriggerMode', 'On');
        await this.#features.change('TriggerSource', 'Software');
        return true;
      });
      if (!isSet) return;
      note('The camera now takes an image for each trigger only; TriggerMode Off ends that.');
    }
    if (!this.#room.isStreaming) await this.#ask('start');
    await this.#ask('trigger');
  }

  search() {
    this.#open(0);
    this.#features.search();
  }

  toggleCrosshair() {
    this.#crosshair.checked = !this.#crosshair.checked;
    this.#showCrosshair();
  }

  /** One of kTools, ready for the keys that work in the image. */
  chooseTool(name) {
    this.#tool.value = name;
    this.#useTool();
    this.#image.canvas.focus();
  }

  #showCrosshair() {
    this.#image.settings.crosshair = this.#crosshair.checked;
    this.#image.redraw();
  }

  #useTool() {
    const image = this.#image;
    image.tool = this.#tool.value;
    this.#profile.hidden = image.tool !== 'line';
    if (image.tool !== 'line') image.profile = null;
    image.look();
  }

  #toolbar() {
    const button = (text, title, onclick, kind = '') =>
      h('button', {type: 'button', class: kind, title, onclick}, text);
    const choice = (text, title, checked, onchange) => h('label', {title}, h('input', {type: 'checkbox', checked,
      onchange: (event) => { onchange(event.target.checked); this.#image.look(); this.#image.redraw(); }}), ` ${text}`);
    const image = this.#image;
    this.#colour = choice('Colour', 'Bayer images in colour, or as the sensor has them', true,
      (on) => { image.settings.colour = on; });
    return h('div', {class: 'row tools', role: 'toolbar', 'aria-label': 'Image'},
      this.#start, button('Single', 'One image (G)', () => this.single(), 'steers'),
      button('Trigger', 'A software trigger (T)', () => this.trigger(), 'steers trigger'),
      h('label', {title: 'M, R and P; Enter begins and ends, arrows point, with Shift pixel by pixel'}, 'Drag: ', this.#tool),
      button('Whole sensor', 'Ends the region', () => this.#setRegion({x: 0, y: 0, width: 1e6, height: 1e6}), 'steers'),
      button('Fit', 'The whole image (0)', () => image.zoom(0)), button('1:1', 'Pixel by pixel (1)', () => image.zoom(1)),
      button('+', 'Larger', () => image.zoom(image.scale * 2)), button('−', 'Smaller', () => image.zoom(image.scale / 2)),
      this.#colour,
      choice('Saturation', 'Marks saturated pixels red', false, (on) => { image.settings.marks = on; }),
      h('label', {title: 'At the pointer (X)'}, this.#crosshair, ' Crosshair'),
      h('span', {title: 'Values that are shown black and white; empty: all that the depth has'}, 'Window ',
        this.#black, ' to ', this.#white));
  }

  #makeTabs() {
    const pages = {
      Features: [this.#features.element],
      Values: [h('h3', {}, 'Histogram'), this.#histogram, this.#measures, this.#profile, this.#chunks.element],
      Bench: [new Recording(this.#link, this.#camera).element, this.#events.element, this.#faults?.element ?? null],
      Plots: [this.#plots.element],
    };
    const names = Object.keys(pages);
    const tabs = names.map((name, i) => h('button', {type: 'button', role: 'tab', 'aria-selected': String(i === 0),
      onclick: () => this.#open(i), onkeydown: (event) => this.#onTabKey(event, i)}, name));
    const shown = names.map((name, i) => h('div', {role: 'tabpanel', 'aria-label': name, hidden: i !== 0}, ...pages[name]
      .filter(Boolean)));
    return h('aside', {}, h('div', {role: 'tablist', 'aria-label': 'Tools'}, ...tabs), ...shown);
  }

  #open(index) {
    const tabs = [...this.#tabs.querySelectorAll('[role=tab]')];
    const pages = [...this.#tabs.querySelectorAll('[role=tabpanel]')];
    tabs.forEach((tab, i) => tab.setAttribute('aria-selected', String(i === index)));
    pages.forEach((page, i) => { page.hidden = i !== index; });
    if (index === 2) this.#faults?.load();
    if (index === 3) attempt(() => this.#plots.show());
  }

  #onTabKey(event, index) {
    const step = {ArrowRight: 1, ArrowLeft: -1}[event.key];
    if (!step) return;
    const tabs = [...this.#tabs.querySelectorAll('[role=tab]')];
    const next = (index + step + tabs.length) % tabs.length;
    tabs[next].focus();
    this.#open(next);
  }

  #setWindow() {
    Object.assign(this.#image.settings, {black: Number(this.#black.value) || 0, white: Number(this.#white.value) || 0});
    this.#image.look();
  }

  async #setRegion(region) {
    if (!this.#canSteer) return note('Another browser steers; take over first.', 'problem');
    if (await this.#ask('region', region)) this.#image.zoom(0);
    return undefined;
  }

  #onImage(header) {
    const size = `${header.imageWidth} × ${header.imageHeight} ${header.format}`;
    this.#colour.hidden = !header.format.startsWith('Bayer');
    setText(this.#about, `${size}, image ${header.block}, ${figure(this.#image.scale * 100, 0)} %`);
    this.#showPixel();
    if (header.details) this.#showDetails(header.details);
  }

  #showDetails({channels, focus, chunks, profile, bits}) {
    this.#chunks.show(chunks);
    this.#white.placeholder = String(2 ** bits - 1);
    const saturated = channels.reduce((sum, channel) => sum + channel.saturated, 0) /
      Math.max(1, channels.reduce((sum, channel) => sum + channel.count, 0));
    setText(this.#measures, `${channels.map(({name, least, mean, most}) =>
      `${name} ${least} … ${most}, mean ${figure(mean)}`).join('; ')} · saturated ${figure(saturated * 100, 2)} % · ` +
      `focus ${figure(focus, 2)}`);
    this.#measures.dataset.focus = focus;
    if (this.#histogram.offsetParent) drawCurves(this.#histogram, histogramCurves(channels));
    if (profile && this.#image.tool === 'line') { // an image may have been on its way when the tool was put away
      this.#profile.hidden = false;
      const components = this.#image.header.channels === 3 && !this.#image.header.format.startsWith('Bayer') ? 3 : 1;
      if (this.#profile.offsetParent) drawCurves(this.#profile, profileCurves(profile, components), 2 ** bits - 1);
    }
  }

  #showPixel() {
    const pixel = this.#image.pixel();
    const values = pixel?.values ? ` = ${pixel.values.join(', ')}` : '';
    setText(this.#pixel, pixel ? `x ${pixel.x}, y ${pixel.y}${values}` : '');
  }
}
