// The second step: what is there, what of it to take, where to and how.
import { fileOf, post } from './api.js';
import { yearChart, yearsOf } from './chart.js';
import { ask, choose } from './chooser.js';
import { attention } from './done.js';
import { append, el, replace } from './dom.js';
import { treeOf, walk } from './folders.js';
import { conversionOptions, optionFields } from './options.js';
import { follow, Progress, stop } from './run.js';
import { duration, lastName, say, size } from './say.js';
import { texts } from './texts.js';
import { Tree } from './tree.js';

const words = texts.check;

export function checkStep(main, shell) {
  const leave = new AbortController();
  if (shell.session.scan) new Check(main, shell).show();
  else read(main, shell, leave.signal);
  return () => leave.abort();
}

async function read(main, shell, signal) {
  const { session } = shell;
  const progress = new Progress(words.reading);
  replace(main, el('header', { class: 'step' }, el('h1', { tabindex: '-1' }, words.reading), el('p', { class: 'lead' }, words.readingLead)), progress.element,
    el('footer', { class: 'bar-below' }, el('button', { type: 'button', onclick: () => stop().catch(shell.fail) }, words.stop)));
  try {
    const started = await post('scan', { sources: session.sources.map(fileOf), options: conversionOptions({}) });
    session.run = started.run;
    const run = await follow((told) => shell.announce(progress.show(told.figures)), signal);
    if (!run) return;
    if (run.state !== 'done' || !run.result) throw new Error(run.result?.error ?? run.notices?.at(-1) ?? words.stopped);
    session.scan = run.result;
    session.taking = null;
    shell.announce(words.title);
    main.replaceChildren();
    new Check(main, shell).show();
    main.querySelector('h1').focus();
  } catch (error) {
    if (error.name === 'AbortError') return;
    const again = () => { shell.go('check'); };
    replace(main, el('header', { class: 'step' }, el('h1', { tabindex: '-1' }, words.title)),
      el('div', { class: 'actions' }, el('a', { class: 'button', href: '#found' }, texts.inside.back), el('button', { type: 'button', class: 'main', onclick: again }, words.again)));
    shell.fail(error);
  }
}

class Check {
  constructor(main, shell) {
    this.main = main;
    this.window = shell;
    this.session = shell.session;
    this.scan = this.session.scan;
    this.nodes = treeOf(this.scan.folders);
    this.mail = [...walk(this.nodes)].map(({ node }) => node).filter((node) => node.folder);
    this.years = yearsOf(this.scan.totals.years);
    // What was chosen before stays chosen when one comes back.
    this.session.taking ??= { left: new Set(), since: '', until: '', options: {}, destination: null };
    this.taking = this.session.taking;
    this.ticked = new Set(this.mail.filter((node) => !this.taking.left.has(JSON.stringify(node.path))));
  }

  show() {
    const { totals } = this.scan;
    const lead = say(words.lead, { messages: say(texts.messages, { n: totals.read }), folders: say(texts.folders, { n: totals.folders }), size: size(totals.bytes) });
    this.sum = el('div', { class: 'sum', role: 'status' });
    this.chart = el('div', {});
    this.tree = new Tree(this.nodes, { label: words.folders, ticked: this.ticked, isMail: (node) => node.folder !== null, facts: (node) => this.facts(node), onTick: () => this.changed() });
    append(this.main, [
      el('header', { class: 'step' }, el('h1', { tabindex: '-1' }, words.title), el('p', { class: 'lead' }, lead)),
      this.warnings(),
      el('div', { class: 'columns' },
        el('section', { class: 'card' }, el('div', { class: 'head' }, el('h2', {}, words.folders),
          el('div', { class: 'actions' }, el('button', { type: 'button', class: 'plain', onclick: () => this.tree.tickAll(true) }, words.all),
            el('button', { type: 'button', class: 'plain', onclick: () => this.tree.tickAll(false) }, words.none))), this.tree.element),
        el('div', { class: 'stack' }, this.dates(), el('section', { class: 'card' }, el('h2', {}, words.options), this.destinationField(), optionFields(this.taking.options)))),
      attention(this.scan, words.warnings, words.fine),
      el('footer', { class: 'bar-below' }, this.sum, el('a', { class: 'button', href: '#found' }, texts.inside.back),
        el('button', { type: 'button', class: 'main', onclick: () => this.convert(false, false) }, words.next))]);
    this.changed();
    this.settle();
  }

  warnings() {
    const said = [...(this.scan.estimate?.warnings ?? [])];
    return said.length === 0 ? null : el('ul', { class: 'plain notice changed' }, said.map((warning) => el('li', {}, warning)));
  }

  facts(node) {
    const { read, bytes } = this.sums(node);
    return `${say(texts.messages, { n: read })} · ${size(bytes)}`;
  }

  sums(node) {
    return [...walk([node])].reduce((sum, { node: { folder } }) => ({ read: sum.read + (folder?.read ?? 0), bytes: sum.bytes + (folder?.bytes ?? 0) }), { read: 0, bytes: 0 });
  }

  dates() {
    if (this.years.length === 0) return el('section', { class: 'card' }, el('h2', {}, words.when), el('p', {}, words.whenNone));
    const select = (label, none, field) => {
      const list = el('select', { onchange: () => { this.taking[field] = list.value; this.changed(); } }, el('option', { value: '' }, none), this.years.map((year) => el('option', { value: year }, String(year))));
      list.value = this.taking[field];
      return el('label', { class: 'inline' }, label, list);
    };
    const undated = this.scan.totals.undated ?? 0;
    return el('section', { class: 'card' }, el('h2', {}, words.when), this.chart,
      el('div', { class: 'actions' }, select(words.since, words.beginning, 'since'), select(words.until, words.end, 'until')),
      undated > 0 ? el('p', { class: 'quiet' }, say(words.undated, { n: undated })) : null);
  }

  isTaken(year) {
    return (this.taking.since === '' || year >= Number(this.taking.since)) && (this.taking.until === '' || year <= Number(this.taking.until));
  }

  // What is chosen, counted from the folders' years, and its part of the estimate.
  chosen() {
    let messages = 0;
    let bytes = 0;
    const byYear = {};
    for (const { folder } of this.ticked) {
      const years = Object.entries(folder.years ?? {});
      const dated = years.reduce((sum, [, count]) => sum + count, 0);
      let taken = Math.max(0, folder.read - dated);
      for (const [year, count] of years) {
        byYear[year] = (byYear[year] ?? 0) + count;
        if (this.isTaken(Number(year))) taken += count;
      }
      messages += taken;
      bytes += folder.read > 0 ? (folder.bytes * taken) / folder.read : 0;
    }
    const share = this.scan.totals.bytes > 0 ? bytes / this.scan.totals.bytes : 0;
    return { messages, byYear, share };
  }

  changed() {
    this.taking.left = new Set(this.mail.filter((node) => !this.ticked.has(node)).map((node) => JSON.stringify(node.path)));
    const { messages, byYear, share } = this.chosen();
    if (this.years.length > 0) replace(this.chart, yearChart(byYear, this.years, words.when, (year) => !this.isTaken(year)));
    const { estimate } = this.scan;
    const bytes = estimate ? estimate.pstBytes * share : null;
    const fact = (label, value) => (value === null ? null : el('span', {}, `${label} `, el('b', {}, value)));
    const tight = bytes !== null && this.free !== undefined && bytes > this.free;
    replace(this.sum, fact(words.chosen, say(texts.messages, { n: messages })), fact(words.estimate, bytes === null ? null : size(bytes)),
      fact(words.time, estimate?.seconds ? duration(estimate.seconds * share) : null), fact(words.free, this.free === undefined ? null : size(this.free)),
      tight ? el('span', { class: 'tight' }, words.tight) : null);
  }

  destinationField() {
    this.destination = el('input', { type: 'text', id: 'destination', spellcheck: 'false', autocomplete: 'off', dir: 'auto', value: this.taking.destination ?? '',
      onchange: () => { this.taking.destination = this.destination.value.trim(); this.settle(); } });
    const browse = async () => {
      const now = this.destination.value;
      const [file] = await choose({ title: texts.chooser.save, kind: 'save', from: now.slice(0, Math.max(0, now.length - lastName(now).length)), proposed: lastName(now) });
      if (!file) return;
      this.destination.value = this.taking.destination = file.path;
      this.settle();
    };
    return el('div', { class: 'field' }, el('label', { for: 'destination' }, words.destination),
      el('div', { class: 'row' }, this.destination, el('button', { type: 'button', onclick: browse }, words.browse)));
  }

  // Where the PST goes, and what is free there.
  async settle() {
    try {
      const asked = { sources: this.session.sources.map(fileOf) };
      const { path, free } = await post('destination', this.taking.destination ? { ...asked, path: this.taking.destination } : asked);
      if (!this.taking.destination) this.destination.value = this.taking.destination = path;
      this.free = free ?? undefined;
      this.changed();
    } catch (error) {
      this.window.fail(error);
    }
  }

  async convert(replace_, add) {
    if (this.ticked.size === 0) {
      this.window.fail({ message: words.nothing });
      return;
    }
    const folders = this.ticked.size === this.mail.length ? null : [...this.ticked].map((node) => node.path);
    const options = { ...conversionOptions(this.taking.options), folders, since: this.taking.since || null, until: this.taking.until || null };
    const destination = this.destination.value.trim();
    try {
      const { run } = await post('convert', { sources: this.session.sources.map(fileOf), options, destination, replace: replace_, add });
      Object.assign(this.session, { run, report: null });
      this.window.go('convert');
    } catch (error) {
      if (error.code === 'exists') await this.askAbout(destination);
      else this.window.fail(error);
    }
  }

  async askAbout(destination) {
    const { exists } = words;
    const answer = await ask(exists.title, say(exists.lead, { name: destination }),
      [{ label: exists.other, value: 'other', main: true }, { label: exists.add, value: 'add' }, { label: exists.replace, value: 'replace' }]);
    if (answer === 'replace') await this.convert(true, false);
    else if (answer === 'add') await this.convert(false, true);
    else this.destination.focus();
  }
}
