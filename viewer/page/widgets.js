// A control for each type of feature.
import {attempt, h, setText} from './dom.js';

const kSteps = 1000; // of a slider
const kWide = 1000; // a range of so many decades is easier to set in steps that grow

/** Where a value lies on a slider from 0 to 1, and back: in equal steps, or in steps that grow. */
export function sliderScale({least, most}, shownAs) {
  const grows = least > 0 && (shownAs === 'logarithmic' || most / least >= kWide);
  if (!grows) {
    return {grows, toSlider: (value) => (value - least) / (most - least || 1),
      toValue: (at) => least + at * (most - least)};
  }
  const range = Math.log(most / least);
  return {grows, toSlider: (value) => Math.log(value / least) / range, toValue: (at) => least * Math.exp(at * range)};
}

/** A number for a field: no more digits than anybody reads. */
export function shortNumber(text) {
  const number = Number(text);
  return Number.isInteger(number) ? String(number) : String(Number(number.toPrecision(7)));
}

/** What the limits of a number say; nothing where they are only those of its kind. */
export function limitsText({least, most, step}, type) {
  const beyond = type === 'integer' ? 2 ** 63 : 3.4e38;
  const text = type === 'integer' ? String : shortNumber;
  const hasLeast = Number(least) > -beyond;
  const hasMost = Number(most) < beyond;
  const steps = step > 1 ? `steps of ${step}` : '';
  if (hasLeast && hasMost) return `${text(least)} … ${text(most)}${steps ? `, ${steps}` : ''}`;
  if (hasLeast || hasMost) return `${hasLeast ? `${text(least)} or more` : `${text(most)} or less`}${steps ? `, ${steps}` : ''}`;
  return steps;
}

/** A name that was made for programs, in words: ExposureTime becomes Exposure Time. */
export function words(name) {
  return name.replace(/([a-z0-9])([A-Z])/g, '$1 $2').replace(/([A-Z]+)([A-Z][a-z])/g, '$1 $2');
}

/** The row of a feature. `change(value, nearest)` sets it, `execute()` runs a command. */
export class FeatureRow {
  #about;
  #change;
  #execute;
  #control;
  #slider = null;
  #scale = null;
  #limits = h('small', {class: 'limits'});
  #why = h('small', {class: 'why'});
  #state = {};
  #isBusy = false;
  #next = null;

  constructor(name, about, {change, execute}) {
    this.name = name;
    this.#about = about;
    this.#change = change;
    this.#execute = execute;
    this.#control = this.#makeControl();
    this.#control.id = `f${Math.random().toString(36).slice(2)}`;
    const label = h('label', {for: this.#control.id, title: `${name}: ${about.tip}`}, words(about.title));
    this.element = h('div', {class: `feature ${about.type}`, 'data-feature': name},
      about.type === 'command' ? null : label,
      h('span', {class: 'control'}, this.#slider, this.#control, about.unit ? h('span', {class: 'unit'}, about.unit) : null),
      this.#limits, this.#why);
  }

  /** Shows what the camera says, unless a person is just changing it. Touches only what is different. */
  update(state, canSteer) {
    this.#state = state;
    const isLocked = !state.writable || !canSteer;
    this.#control.disabled = isLocked;
    if (this.#slider) this.#slider.disabled = isLocked;
    this.element.classList.toggle('locked', !state.writable);
    setText(this.#why, state.writable ? '' : state.why || '');
    if (this.#isBusy) return;
    this.#showValue();
  }

  #showValue() {
    const {value = '', least, most} = this.#state;
    const control = this.#control;
    switch (this.#about.type) {
      case 'boolean':
        control.checked = value === 'true' || value === '1';
        break;
      case 'enumeration':
        this.#showEntries();
        break;
      case 'command':
        break;
      default:
        if (document.activeElement !== control || control.dataset.shown === control.value) {
          control.value = this.#about.type === 'float' ? shortNumber(value) : value;
          control.dataset.shown = control.value;
        }
    }
    if (least === undefined) return;
    setText(this.#limits, limitsText(this.#state, this.#about.type));
    if (!this.#slider || document.activeElement === this.#slider && this.#slider.matches(':active')) return;
    this.#scale = sliderScale(this.#state, this.#about.shownAs);
    this.#slider.value = this.#scale.toSlider(Number(value)) * kSteps;
    this.#slider.hidden = !(most - least < 1e15) || most === least;
    this.#slider.classList.toggle('grows', this.#scale.grows);
  }

  #showEntries() {
    const {value, entries = []} = this.#state;
    const names = entries.includes(value) || value === undefined ? entries : [value, ...entries];
    const known = [...this.#control.options].map((option) => option.value);
    if (known.join('\n') !== names.join('\n'))
      this.#control.replaceChildren(...names.map((name) => h('option', {value: name}, name)));
    this.#control.value = value ?? '';
  }

  #makeControl() {
    const {type, title, shownAs} = this.#about;
    const set = (value) => this.#set(value, false);
    switch (type) {
      case 'command':
        return h('button', {type: 'button', title: this.#about.tip, onclick: () => attempt(() => this.#execute())}, words(title));
      case 'boolean':
        return h('input', {type: 'checkbox', role: 'switch', onchange: (event) => set(String(event.target.checked))});
      case 'enumeration':
        return h('select', {onchange: (event) => set(event.target.value)});
      case 'integer':
      case 'float':
        if (shownAs !== 'hexadecimal') {
          this.#slider = h('input', {type: 'range', min: 0, max: kSteps, step: 'any', 'aria-label': title,
            oninput: (event) => this.#set(String(this.#scale.toValue(event.target.value / kSteps)), true)});
        }
        return h('input', {type: 'text', inputmode: 'decimal', onchange: (event) => set(event.target.value)});
      default:
        return h('input', {type: 'text', readonly: type === 'register', onchange: (event) => set(event.target.value)});
    }
  }

  /** One after the other; of those that a slider asks for meanwhile only the last. */
  async #set(value, nearest) {
    this.#next = {value, nearest};
    if (this.#isBusy) return;
    this.#isBusy = true;
    this.element.ariaBusy = 'true';
    while (this.#next) {
      const {value: wanted, nearest: isNear} = this.#next;
      this.#next = null;
      await attempt(() => this.#change(wanted, isNear));
    }
    this.#isBusy = false;
    this.element.ariaBusy = null;
    this.#control.dataset.shown = this.#control.value;
    this.#showValue();
  }
}
