// What became of the mail: the last step of the window, and the whole of the report page.
import { sparkline, yearChart, yearsOf } from './chart.js';
import { append, el, icon, measure, name, replace } from './dom.js';
import { findingsOf } from './findings.js';
import { treeOf, walk } from './folders.js';
import { outlookSteps } from './outlook.js';
import { duration, folderName, lastName, moment, number, say, size } from './say.js';
import { texts } from './texts.js';

const kShownAtOnce = 100;
const words = texts.done;

// report: as docs/report.md and docs/scan.md describe it; actions: elements that belong below the headline.
export function doneView(report, element, actions = []) {
  const scan = report.format === 'parvane scan';
  replace(element, headline(report, scan, actions), figures(report, scan), files(report), attention(report), yearsSection(report),
    arrived(report, scan), scan || report.exitCode > 1 ? null : outlook(report), summary(report), made(report));
}

function section(title, ...children) {
  return el('section', { class: 'card' }, el('h2', {}, title), ...children);
}

const wellEnded = (report) => report.exitCode === 0;
const levelOf = (report) => (wellEnded(report) ? 'good' : report.exitCode === 1 ? 'changed' : 'lost');

function headline(report, scan, actions) {
  const title = scan && report.exitCode <= 1 ? words.title.scan : words.title[report.outcome] ?? report.outcome;
  const mark = el('span', { class: `mark ${levelOf(report)}` }, icon(wellEnded(report) ? 'check' : report.exitCode === 1 ? 'warning' : 'stop'));
  return el('header', { class: 'verdict' }, el('h1', { tabindex: '-1' }, mark, title), el('p', { class: 'lead' }, lead(report, scan)),
    report.error ? el('p', { class: 'notice lost' }, name(report.error)) : null, actions.length ? el('div', { class: 'actions' }, actions) : null);
}

function lead(report, scan) {
  const totals = report.totals;
  const counts = { messages: say(texts.messages, { n: (scan ? totals.read : totals.written) ?? 0 }), folders: say(texts.folders, { n: totals.folders ?? 0 }) };
  if (scan) return say(words.leadScan, counts);
  if (report.exitCode <= 1) return `${say(words.lead, { ...counts, file: lastName(report.destination ?? '') })} ${words.untouched}`;
  return report.partialFile ? say(words.partial, { ...counts, file: report.partialFile }) : words.nothingWritten;
}

function figures(report, scan) {
  const totals = report.totals;
  const tile = (label, value, kind = '') => el('div', { class: kind }, el('dt', {}, label), el('dd', {}, value));
  const labels = words.figures;
  return el('dl', { class: 'figures' },
    tile(labels.read, number(totals.read ?? 0)),
    scan ? null : tile(labels.written, number(totals.written ?? 0), 'good'),
    tile(labels.failed, number(totals.failed ?? 0), totals.failed > 0 ? 'lost' : ''),
    tile(labels.left, number(totals.pathsLeftBehind ?? 0), totals.pathsLeftBehind > 0 ? 'changed' : ''),
    scan && !report.estimate ? null : tile(labels.size, size((scan ? report.estimate.pstBytes : report.pstBytes) ?? 0)),
    tile(labels.time, duration(report.seconds ?? 0)));
}

function files(report) {
  const parts = report.parts ?? [];
  if (parts.length === 0) return report.destination && report.exitCode <= 1 ? el('p', { class: 'path quiet' }, name(report.destination)) : null;
  const rows = parts.map((part) => el('li', {}, name(part.path), ' ', el('span', { class: 'quiet' }, `${say(texts.messages, { n: part.written })}, ${size(part.pstBytes)}`)));
  return section(words.files, el('ul', { class: 'plain' }, rows));
}

// What a report or a scan has found, to be opened and searched.
export function attention(report, title = words.attention, none = words.attentionNone) {
  const groups = findingsOf(report);
  if (groups.length === 0) return section(title, el('p', {}, none));
  const lists = groups.map((group) => findingGroup(group));
  const nothing = el('p', { class: 'quiet', role: 'status' });
  const search = el('input', { type: 'search', 'aria-label': words.search, placeholder: words.search, oninput: () => {
    const shown = lists.map((list) => list.filter(search.value.trim().toLocaleLowerCase())).some(Boolean);
    nothing.textContent = shown ? '' : words.nothingFound;
  } });
  const byLevel = ['lost', 'changed', 'note'].map((level) => {
    const ofLevel = lists.filter((list) => list.level === level);
    return ofLevel.length ? el('div', { class: `level ${level}` }, el('h3', {}, words.levels[level]), ofLevel.map((list) => list.element)) : null;
  });
  return section(title, el('div', { class: 'search' }, search), nothing, byLevel);
}

// A group that opens; its entries are made when they are seen first, for there may be 100,000.
function findingGroup(group) {
  const list = el('ul', { class: 'findings' });
  const foot = el('div', { class: 'actions' });
  let items = group.items;
  let shown = 0;
  const more = () => {
    const next = items.slice(shown, shown + kShownAtOnce);
    append(list, next.map(findingItem));
    shown += next.length;
    const left = items.length - shown;
    const cut = group.total > group.items.length && group.items.length > 0 ? say(words.named, { n: group.items.length, total: group.total }) : '';
    replace(foot, left > 0 ? el('button', { type: 'button', onclick: more }, say(words.showMore, { n: Math.min(left, kShownAtOnce) })) : el('p', { class: 'quiet' }, cut));
  };
  const details = el('details', { open: group.level === 'lost', ontoggle: () => { if (details.open && shown === 0) more(); } },
    el('summary', {}, group.title, ' ', el('span', { class: 'number' }, number(group.total))), group.advice ? el('p', {}, group.advice) : null, list, foot);
  if (details.open) more();
  const filter = (sought) => {
    const has = (text) => (text ?? '').toLocaleLowerCase().includes(sought);
    const titled = has(group.title);
    items = sought === '' || titled ? group.items : group.items.filter((item) => has(item.place) || has(item.text) || has(item.more));
    details.hidden = sought !== '' && !titled && items.length === 0;
    shown = 0;
    list.replaceChildren();
    if (sought !== '' && !details.hidden) details.open = true;
    if (details.open) more();
    return !details.hidden;
  };
  return { element: details, level: group.level, filter };
}

function findingItem(item) {
  return el('li', {}, el('b', {}, name(item.place)), item.text ? el('div', {}, name(item.text)) : null, item.more ? el('div', { class: 'quiet' }, name(item.more)) : null);
}

function yearsSection(report) {
  const folders = (report.folders ?? []).filter((folder) => yearsOf(folder.years).length > 0);
  const years = yearsOf(report.totals.years);
  if (years.length === 0) return null;
  const place = el('div', {});
  const show = (index) => {
    const counts = index < 0 ? report.totals.years : folders[index].years;
    replace(place, yearChart(counts, years, index < 0 ? words.years : folderName(folders[index].path)));
  };
  const select = el('select', { onchange: () => show(Number(select.value)) }, el('option', { value: -1 }, words.yearsAll),
    folders.map((folder, index) => el('option', { value: index, dir: 'auto' }, folderName(folder.path))));
  show(-1);
  return section(words.years, folders.length > 1 ? el('label', { class: 'inline' }, words.yearsOf, ' ', select) : null, place);
}

function arrived(report, scan) {
  const years = yearsOf(report.totals.years);
  const columns = words.columns;
  const head = [columns.folder, columns.source, columns.read, scan ? null : columns.written, columns.failed, years.length > 1 ? columns.years : null];
  const rows = [...walk(treeOf(report.folders ?? []))].map(({ node, depth }) => folderRow(node, depth, years, scan, report.sources ?? []));
  const totals = report.totals;
  const foot = el('tr', {}, el('th', { scope: 'row' }, words.total), el('td', {}), count(totals.read), scan ? null : count(totals.written), count(totals.failed),
    years.length > 1 ? el('td', {}, sparkline(report.totals.years, years)) : null);
  return section(words.arrived, el('div', { class: 'scroll', tabindex: '0', role: 'region', 'aria-label': words.arrived }, el('table', { class: 'folders' },
    el('thead', {}, el('tr', {}, head.filter(Boolean).map((title) => el('th', { scope: 'col' }, title)))), el('tbody', {}, rows), el('tfoot', {}, foot))));
}

const count = (value, kind = '') => el('td', { class: `count ${kind}` }, value === undefined || value === null ? '' : number(value));

// A file within what was chosen, from there on: the rest is the same in every row.
function withinSource(file, sources) {
  const source = sources.find((one) => file.startsWith(one) && file.length > one.length);
  return source === undefined ? file : lastName(source) + (/[/\\]$/.test(source) ? file[source.length - 1] : '') + file.slice(source.length);
}

function folderRow(node, depth, years, scan, sources) {
  const folder = node.folder ?? {};
  const label = measure(el('th', { scope: 'row' }, icon('folder'), name(node.name)), '--depth', String(depth));
  const complete = folder.written === folder.read ? 'good' : '';
  return el('tr', {}, label, el('td', { class: 'path', title: folder.source }, folder.source ? name(withinSource(folder.source, sources)) : null), count(folder.read), scan ? null : count(folder.written, complete),
    count(folder.failed, folder.failed > 0 ? 'lost' : ''), years.length > 1 ? el('td', {}, sparkline(folder.years, years)) : null);
}

const outlook = (report) => section(words.outlook, outlookSteps((report.parts ?? [])[0]?.path ?? report.destination));

function summary(report) {
  if (!report.summary) return null;
  return el('details', { class: 'card' }, el('summary', {}, words.summary), el('pre', { tabindex: '0', dir: 'auto' }, report.summary));
}

const made = (report) => el('p', { class: 'quiet' }, say(words.made, { program: report.program ?? texts.product, date: moment(report.started) }));
