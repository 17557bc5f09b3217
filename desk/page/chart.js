// Messages by year, as bars.
import { el, measure, svg } from './dom.js';
import { number, say } from './say.js';
import { texts } from './texts.js';

const kWidestGap = 60;

// All years from the first to the last, or where dates are too far apart (some are made up) those with mail.
export function yearsOf(counts) {
  const years = Object.keys(counts ?? {}).map(Number).filter((year) => counts[year] > 0).sort((a, b) => a - b);
  const [first, last] = [years[0], years[years.length - 1]];
  if (years.length === 0 || last - first > kWidestGap) return years;
  return Array.from({ length: last - first + 1 }, (_, index) => first + index);
}

// counts: {"2019": 120}; years: those to show. Years for which faded says true are drawn as not taken.
export function yearChart(counts, years, label, faded = () => false) {
  const most = Math.max(1, ...years.map((year) => counts[year] ?? 0));
  const every = Math.ceil(years.length / 12);
  const bars = years.map((year, index) => {
    const count = counts[year] ?? 0;
    const bar = measure(el('span', { class: 'bar' }), '--share', String(count / most));
    const words = say(texts.years.bar, { year: String(year), n: count });
    const mark = index % every === 0 ? String(year) : '';
    return el('li', { class: faded(year) ? 'faded' : null, title: words },
      el('span', { class: 'count', 'aria-hidden': 'true' }, years.length <= 12 && count > 0 ? number(count) : ''),
      bar, el('span', { class: 'year', 'aria-hidden': 'true' }, mark), el('span', { class: 'unseen' }, words));
  });
  return el('ol', { class: 'years', 'aria-label': label }, bars);
}

// The same in the space of a word, for a row of a table.
export function sparkline(counts, years) {
  const most = Math.max(1, ...years.map((year) => counts?.[year] ?? 0));
  const bars = years.map((year, index) => {
    const height = (10 * (counts?.[year] ?? 0)) / most;
    return svg('rect', { x: index + 0.1, y: 10 - height, width: 0.8, height });
  });
  return svg('svg', { class: 'spark', viewBox: `0 0 ${Math.max(8, years.length)} 10`, preserveAspectRatio: 'none', 'aria-hidden': 'true' }, bars);
}
