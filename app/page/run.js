// A run of the server, asked after until it is over.
import { get, post } from './api.js';
import { el, measure } from './dom.js';
import { duration, say, size } from './say.js';
import { texts } from './texts.js';

const kPause = 400;

// Calls onRun with each state that the server tells, attention added up in run.attention.items; resolves when
// the run is over. signal ends the asking.
export async function follow(onRun, signal) {
  const items = [];
  for (;;) {
    const run = await get(`run?after=${items.length}`, signal);
    items.push(...(run.attention?.items ?? []).slice(Math.max(0, items.length - (run.attention?.from ?? items.length))));
    const told = { ...run, attention: { ...run.attention, items } };
    if (signal.aborted) return null;
    onRun(told);
    if (run.state !== 'running') return told;
    await new Promise((resolve) => setTimeout(resolve, kPause));
    if (signal.aborted) return null;
  }
}

export const stop = () => post('stop');

const percents = new Intl.NumberFormat(undefined, { style: 'percent', maximumFractionDigits: 0 });

// A bar with what is done, and the figures below.
export class Progress {
  constructor(label) {
    this.fill = el('span', {});
    this.bar = el('div', { class: 'progress', role: 'progressbar', 'aria-label': label, 'aria-valuemin': '0', 'aria-valuemax': '100' }, this.fill);
    this.now = el('p', { class: 'path' }, el('bdi', { dir: 'auto' }, texts.convert.preparing));
    this.figures = el('dl', { class: 'figures' });
    this.values = {};
    for (const key of ['passed', 'rate', 'left']) {
      this.values[key] = el('dd', {}, '–');
      this.figures.append(el('div', {}, el('dt', {}, texts.convert[key]), this.values[key]));
    }
    this.element = el('div', { class: 'card' }, el('div', { class: 'large' }, (this.percent = el('b', {}, ''))), this.bar, this.now, this.figures);
  }

  show(figures) {
    const { name = '', done = 0, total = 0, messages = 0, seconds = 0, secondsLeft = null } = figures ?? {};
    const share = total > 0 ? Math.min(1, done / total) : 0;
    measure(this.fill, 'width', `${share * 100}%`);
    if (total > 0) {
      this.bar.setAttribute('aria-valuenow', String(Math.floor(share * 100)));
      this.percent.textContent = percents.format(Math.floor(share * 100) / 100);
    }
    if (name) this.now.firstChild.textContent = name;
    this.values.passed.textContent = say(texts.messages, { n: messages });
    if (seconds > 0) this.values.rate.textContent = say(texts.convert.perSecond, { size: size(done / seconds) });
    this.values.left.textContent = secondsLeft !== null && secondsLeft !== undefined && share > 0 ? duration(secondsLeft) : texts.convert.leftUnknown;
    return say(texts.convert.progress, { percent: percents.format(Math.floor(share * 10) / 10), messages: say(texts.messages, { n: messages }) });
  }
}
