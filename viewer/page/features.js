// The features of a camera: a tree by category, with search and level.
import {attempt, chooseText, dialog, download, h, note, setText} from './dom.js';
import {FeatureRow, words} from './widgets.js';

const kLevels = ['beginner', 'expert', 'guru', 'invisible'];
const kLevelNames = ['Most used', 'Experts', 'Gurus', 'All'];

export class FeatureTree {
  #link;
  #camera;
  #rows = new Map();
  #about = {};
  #values = {};
  #canSteer = true;
  #search = h('input', {type: 'search', placeholder: 'Search (/)', 'aria-label': 'Search features',
    oninput: () => this.#filter()});
  #level = h('select', {'aria-label': 'For whom', onchange: () => this.#filter()},
    ...kLevels.map((level, i) => h('option', {value: i}, kLevelNames[i])));
  #tree = h('div', {class: 'tree'});
  #others = h('p', {class: 'others', role: 'status'});

  constructor(link, camera) {
    this.#link = link;
    this.#camera = camera;
    this.element = h('section', {class: 'features', 'aria-label': 'Features'},
      h('div', {class: 'row'}, this.#search, this.#level),
      h('div', {class: 'row'},
        h('button', {type: 'button', onclick: () => this.#save()}, 'Save settings'),
        h('button', {type: 'button', class: 'steers', onclick: () => this.#load()}, 'Load …'),
        h('button', {type: 'button', onclick: () => this.#compare()}, 'Compare …')),
      this.#others, this.#tree);
    link.on('values', (message) => { if (message.camera === camera) this.#update(message.values); });
  }

  async load() {
    const answer = await attempt(() => this.#link.ask('features', {camera: this.#camera}));
    if (!answer) return;
    this.#about = answer.features;
    this.#values = answer.values;
    this.#rows.clear();
    const open = new Set([...this.#tree.querySelectorAll('details[open]')].map((one) => one.dataset.category));
    this.#tree.replaceChildren(...this.#children(answer.tree, open));
    this.#update(answer.values);
    this.#filter();
  }

  set canSteer(canSteer) {
    this.#canSteer = canSteer;
    this.#update(this.#values);
  }

  value(name) {
    return this.#values[name];
  }

  search() {
    this.#search.focus();
  }

  /** Sets a feature, and tells what else has changed. */
  async change(name, value, nearest = false) {
    const answer = await this.#link.ask('set', {camera: this.#camera, name, value, nearest});
    this.#tellOthers(answer.changed);
  }

  #children(tree, open) {
    return tree.map((node) => {
      if (typeof node !== 'string') {
        const list = h('div', {class: 'category'}, ...this.#children(node.of, open));
        return h('details', {'data-category': node.name, open: open.has(node.name), ontoggle: () => this.#watch()},
          h('summary', {}, words(node.title)), list);
      }
      const row = new FeatureRow(node, this.#about[node], {
        change: (value, nearest) => this.change(node, value, nearest),
        execute: async () => this.#tellOthers(
          (await this.#link.ask('execute', {camera: this.#camera, name: node})).changed)});
      if (!this.#rows.has(node)) this.#rows.set(node, []);
      this.#rows.get(node).push(row);
      return row.element;
    });
  }

  #update(values) {
    Object.assign(this.#values, values);
    for (const [name, state] of Object.entries(values))
      for (const row of this.#rows.get(name) ?? []) row.update(state, this.#canSteer);
  }

  #tellOthers(changed) {
    const told = changed.filter(({name}) => this.#about[name]).slice(0, 6)
      .map(({name, from, to}) => `${this.#about[name].title} ${from} → ${to}`);
    setText(this.#others, told.length ? `Changed as well: ${told.join(', ')}` : '');
  }

  /** Shows what has the words in its name, title or text; categories with nothing left are hidden. */
  #filter() {
    const wanted = this.#search.value.toLowerCase().split(/\s+/).filter(Boolean);
    for (const [name, rows] of this.#rows) {
      const about = this.#about[name];
      const text = `${name} ${words(about.title)} ${about.tip}`.toLowerCase();
      const isShown = kLevels.indexOf(about.level) <= Number(this.#level.value) &&
        wanted.every((word) => text.includes(word));
      for (const row of rows) row.element.hidden = !isShown;
    }
    for (const category of [...this.#tree.querySelectorAll('details')].reverse()) {
      category.hidden = !category.querySelector('.feature:not([hidden])');
      if (wanted.length) category.open = !category.hidden;
    }
    this.#watch();
  }

  /** Follows what is seen. */
  #watch() {
    const names = [...this.#tree.querySelectorAll('details[open] .feature:not([hidden])')]
      .filter((row) => row.offsetParent).map((row) => row.dataset.feature);
    this.#link.ask('watch', {camera: this.#camera, names: [...new Set(names)].slice(0, 300)}).catch(() => {});
  }

  async #save() {
    const answer = await attempt(() => this.#link.ask('settings', {camera: this.#camera}));
    if (answer) download(`settings-${this.#camera}.txt`, answer.text);
  }

  async #load() {
    const text = await chooseText();
    if (text === undefined) return;
    const answer = await attempt(() => this.#link.ask('apply', {camera: this.#camera, text}));
    if (!answer) return;
    if (!answer.refused.length) note('All settings of the file are set.');
    else this.#table('Not all could be set', ['Feature', 'Value', 'Why not'],
      answer.refused.map(({name, value, why}) => [name, value, why]));
  }

  async #compare() {
    const text = await chooseText();
    if (text === undefined) return;
    const answer = await attempt(() => this.#link.ask('compare', {camera: this.#camera, text}));
    if (!answer) return;
    if (!answer.differences.length) note('The camera is set as the file says.');
    else this.#table('What is different', ['Feature', 'In the file', 'In the camera'],
      answer.differences.map(({name, file, camera}) => [name, file, camera]));
  }

  #table(title, head, rows) {
    dialog(title, h('table', {}, h('thead', {}, h('tr', {}, ...head.map((text) => h('th', {}, text)))),
      h('tbody', {}, ...rows.map((row) => h('tr', {}, ...row.map((text) => h('td', {}, text)))))));
  }
}
