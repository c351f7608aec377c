// What one does with a camera on the bench: record, listen, look at chunk values, break it.
import {attempt, bytes, h, note, setText} from './dom.js';

const kKeptEvents = 200;

/** Records a series to the disk of the computer that the camera is plugged into. */
export class Recording {
  #link;
  #camera;
  #name = h('input', {type: 'text', value: 'series', 'aria-label': 'Name of the series', size: 10});
  #format = h('select', {'aria-label': 'File format'},
    ...['png', 'tif', 'jpg', 'pgm', 'raw'].map((name) => h('option', {}, name)));
  #count = h('input', {type: 'number', min: 0, value: 100, 'aria-label': 'Images, 0 for no end', size: 6});
  #begin = h('button', {type: 'button', class: 'steers', onclick: () => this.#record()}, 'Record');
  #end = h('button', {type: 'button', class: 'steers', hidden: true,
    onclick: () => attempt(() => this.#link.ask('endRecord', {camera: this.#camera}))}, 'End');
  #progress = h('progress', {max: 1, value: 0, hidden: true});
  #state = h('p', {class: 'recording', role: 'status'});

  constructor(link, camera) {
    this.#link = link;
    this.#camera = camera;
    this.element = h('section', {'aria-label': 'Record a series'}, h('h3', {}, 'Record a series'),
      h('div', {class: 'row'}, h('label', {}, 'Name ', this.#name), h('label', {}, 'as ', this.#format),
        h('label', {}, 'images ', this.#count), this.#begin, this.#end),
      this.#progress, this.#state);
    link.on('recording', (message) => { if (message.camera === camera) this.#show(message.state); });
  }

  async #record() {
    await attempt(() => this.#link.ask('record', {camera: this.#camera, name: this.#name.value,
      format: this.#format.value, count: Math.max(0, Number(this.#count.value) || 0)}));
  }

  #show({folder, saved, of, leftOut, waiting, bytes: size, spaceLeft, done, why}) {
    this.#progress.hidden = done || !of;
    if (of) Object.assign(this.#progress, {max: of, value: saved});
    this.#end.hidden = done;
    const left = leftOut ? `; ${leftOut} left out, since the disk is too slow` : '';
    const end = why ? `Ended: ${why}. ` : done ? 'Done: ' : '';
    setText(this.#state, `${end}${saved}${of ? ` of ${of}` : ''} images, ${bytes(size)} in ${folder}${left}; ` +
      `${waiting ? `${waiting} waiting, ` : ''}${bytes(spaceLeft)} free`);
    Object.assign(this.#state.dataset, {saved, done});
  }
}

/** Events as they come. */
export class Events {
  #list = h('ol', {class: 'events', 'aria-label': 'Events'});
  #switch;

  constructor(link, camera) {
    this.#switch = h('input', {type: 'checkbox', role: 'switch', class: 'steers',
      onchange: (event) => attempt(() => link.ask('events', {camera, on: event.target.checked}))});
    this.element = h('section', {'aria-label': 'Events'}, h('h3', {}, 'Events'),
      h('label', {}, this.#switch, ' Listen to all that the camera has'), this.#list);
    link.on('happened', (message) => { if (message.camera === camera) this.#add(message); });
  }

  set isListening(isListening) {
    this.#switch.checked = isListening;
  }

  #add({name, values}) {
    const told = Object.entries(values).map(([key, value]) => `${key.replace(`Event${name}`, '')} ${value}`);
    this.#list.prepend(h('li', {}, h('strong', {}, name), ` ${told.join(', ')}`));
    while (this.#list.children.length > kKeptEvents) this.#list.lastElementChild.remove();
  }
}

/** Values that the camera sent with the image that is shown. */
export class Chunks {
  #table = h('table', {class: 'chunks'});
  element = h('section', {'aria-label': 'Chunk values'}, h('h3', {}, 'Chunk values of the image'), this.#table);

  show(chunks) {
    const names = Object.keys(chunks);
    if (!names.length) {
      setText(this.#table, 'None came with it: ChunkModeActive and ChunkEnable switch them on.');
      return;
    }
    if (this.#table.rows.length !== names.length)
      this.#table.replaceChildren(...names.map((name) => h('tr', {}, h('th', {scope: 'row'}, name), h('td'))));
    names.forEach((name, i) => setText(this.#table.rows[i].cells[1], chunks[name]));
  }
}

/** Faults for a virtual camera to have from now on. */
export class Faults {
  #link;
  #camera;
  #choice = h('select', {'aria-label': 'Fault'});
  #count = h('input', {type: 'number', min: 0, value: 3, size: 4, 'aria-label': 'How often, 0 for always'});
  #tip = h('p', {class: 'tip'});

  constructor(link, camera) {
    this.#link = link;
    this.#camera = camera;
    this.#choice.addEventListener('change', () => this.#explain());
    const give = (faults, text) => attempt(async () => {
      await link.ask('virtual', {request: {guid: camera, faults}});
      note(text);
    });
    this.element = h('section', {'aria-label': 'Faults'}, h('h3', {}, 'Let it go wrong'),
      h('div', {class: 'row'}, this.#choice, h('label', {}, 'times ', this.#count),
        h('button', {type: 'button', class: 'steers fault',
          onclick: () => give(this.#chosen(), 'The fault comes with what the camera does next.')}, 'Have this fault'),
        h('button', {type: 'button', class: 'steers', onclick: () => give({}, 'It works as it should.')}, 'Mend')),
      this.#tip);
  }

  async load() {
    if (this.#choice.options.length) return;
    const answer = await attempt(() => this.#link.ask('faults'));
    if (!answer) return;
    this.#choice.replaceChildren(...answer.faults.map(({kind, name, text}) =>
      h('option', {value: `${kind}.${name}`, title: text}, `${kind}: ${name}`)));
    this.#choice.value = 'stream.LostTrailer';
    this.#explain();
  }

  #explain() {
    setText(this.#tip, this.#choice.selectedOptions[0]?.title ?? '');
  }

  #chosen() {
    const [kind, fault] = this.#choice.value.split('.');
    return {[kind]: [{fault, count: Number(this.#count.value) || 0}]};
  }
}
