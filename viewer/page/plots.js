// Rates, latencies and losses over time. The plotting library is fetched when they are looked at first.
import {figure, h, setText} from './dom.js';

const kKept = 240; // points: two minutes
let library = null;

function loadLibrary() {
  library ??= new Promise((resolve, reject) => {
    document.head.append(h('script', {src: 'library/chart.js', onload: () => resolve(window.Chart),
      onerror: () => reject(new Error('the plots cannot be loaded'))}));
  });
  return library;
}

const kPlots = [
  {title: 'Images a second', lines: {taken: 'taken', shown: 'shown here and elsewhere'}},
  {title: 'MB a second', lines: {megabytes: 'from the camera', sent: 'to browsers'}},
  {title: 'Latency in ms', lines: {latency: 'exposure to memory', delay: 'exposure to screen'}},
  {title: 'Losses', lines: {missed: 'never came', failed: 'damaged'}},
  {title: 'Processor in %', lines: {cpu: 'this program'}},
];
const kColours = ['#27687a', '#d0602a'];

/** From two reports of the server to what happened between them. */
export function rates(before, now) {
  const seconds = (now.time - before.time) / 1000;
  const per = (name) => Math.max(0, now[name] - before[name]);
  const mean = (sum, count) => (per(count) ? per(sum) / per(count) : NaN);
  return {
    taken: per('frames') / seconds, shown: per('shown') / seconds,
    megabytes: per('bytes') / seconds / 1e6, sent: per('sentBytes') / seconds / 1e6,
    latency: mean('latencyMs', 'timed'), delay: mean('delayMs', 'drawn'), work: mean('workMs', 'made'),
    missed: now.missed, failed: now.failed, cpu: per('cpuSeconds') / seconds * 100,
  };
}

/** Why images were lost since the start, a sentence each. */
export function reasons({missed, failed, starved, defect}) {
  return [
    failed && `${failed} came damaged. ${defect ? `The first: ${defect.replace(/\.?$/, '.')}` : ''}`,
    missed && `${missed} never came: the camera, the line or this computer was too slow for a moment.`,
    starved && `${starved} times no memory was free for the next one.`,
  ].filter(Boolean);
}

export class Plots {
  element = h('section', {class: 'plots', 'aria-label': 'Plots'});
  summary = h('p', {class: 'figures', role: 'status'});
  losses = h('p', {class: 'losses', hidden: true});
  #last = null;
  #points = [];
  #charts = null;

  /** A report of the server. */
  add(report) {
    if (this.#last && report.time > this.#last.time) {
      const point = {...rates(this.#last, report), time: report.time / 1000};
      this.#points.push(point);
      if (this.#points.length > kKept) this.#points.shift();
      this.#summarise(point, report);
      this.#draw();
    }
    this.#last = report;
  }

  /** Fetches the library, once somebody looks. */
  async show() {
    if (this.#charts) return;
    this.#charts = [];
    const Chart = await loadLibrary();
    for (const {title, lines} of kPlots) {
      const canvas = h('canvas', {role: 'img', 'aria-label': title});
      this.element.append(h('figure', {}, h('figcaption', {}, title), h('div', {class: 'plot'}, canvas)));
      this.#charts.push({lines, chart: new Chart(canvas, {
        type: 'line',
        data: {datasets: Object.values(lines).map((label, i) => ({label, data: [], borderColor: kColours[i],
          backgroundColor: kColours[i], borderWidth: 1.5, pointRadius: 0}))},
        options: {animation: false, maintainAspectRatio: false, parsing: false, normalized: true,
          scales: {x: {type: 'linear', ticks: {display: false}}, y: {beginAtZero: true}},
          plugins: {legend: {labels: {boxWidth: 12}}}},
      })});
    }
    this.#draw();
  }

  #draw() {
    if (!this.element.offsetParent) return;
    for (const {lines, chart} of this.#charts ?? []) {
      Object.keys(lines).forEach((name, i) => {
        chart.data.datasets[i].data = this.#points.map((point) => ({x: point.time, y: point[name]}));
      });
      chart.update('none');
    }
  }

  #summarise(point, report) {
    const lost = report.missed + report.failed;
    setText(this.summary, `${figure(point.taken)} images/s · ${figure(point.shown)} shown/s · ` +
      `${figure(point.megabytes)} MB/s · ${lost ? `${lost} lost` : 'none lost'} · ` +
      `latency ${figure(point.latency)} ms, to the screen ${figure(point.delay)} ms`);
    this.losses.hidden = !lost;
    setText(this.losses, `Lost: ${reasons(report).join(' ')}`);
    Object.assign(this.summary.dataset, {taken: point.taken, shown: point.shown, latency: point.latency,
      delay: point.delay, work: point.work, missed: report.missed, failed: report.failed, frames: report.frames,
      drawn: report.drawn, cpu: point.cpu});
  }
}
