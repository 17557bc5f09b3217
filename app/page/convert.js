// The third step: how far it is.
import { ask } from './chooser.js';
import { append, el, icon, measure, name, replace } from './dom.js';
import { follow, Progress, stop } from './run.js';
import { folderName, say } from './say.js';
import { texts } from './texts.js';

const words = texts.convert;
const kListed = 500;

export function convertStep(main, shell) {
  const leave = new AbortController();
  const { session } = shell;
  const progress = new Progress(words.all);
  const folders = new FolderProgress(session.scan?.folders ?? []);
  const list = new AttentionList();
  const halt = el('button', { type: 'button', onclick: async () => {
    const answer = await ask(words.stopTitle, words.stopLead, [{ label: words.stopNo, value: false, main: true }, { label: words.stopYes, value: true }]);
    if (!answer) return;
    halt.disabled = true;
    halt.textContent = words.stopping;
    stop().catch(shell.fail);
  } }, words.stop);
  const notices = el('ul', { class: 'plain notice', hidden: true });
  append(main, [
    el('header', { class: 'step' }, el('h1', { tabindex: '-1' }, words.title), el('p', { class: 'lead' }, words.lead)), progress.element, notices,
    el('div', { class: 'columns' }, el('section', { class: 'card' }, el('h2', {}, words.byFolder), folders.element),
      el('section', { class: 'card' }, el('h2', {}, words.attention), list.element)),
    el('footer', { class: 'bar-below' }, halt)]);

  let tenth = -1;
  const show = (run) => {
    const said = progress.show(run.figures);
    const reached = Math.floor((10 * (run.figures?.done ?? 0)) / (run.figures?.total || 1));
    if (reached !== tenth) shell.announce(said);
    tenth = reached;
    folders.show(run.folders ?? []);
    list.show(run.attention);
    notices.hidden = !run.notices?.length;
    replace(notices, (run.notices ?? []).map((notice) => el('li', {}, name(notice))));
  };
  follow(show, leave.signal).then((run) => {
    if (!run) return;
    Object.assign(session, { run, report: run.result });
    if (run.result) shell.go('done');
    else shell.fail({ message: say(texts.errors.unknown, { reason: run.notices?.at(-1) ?? run.state }) });
  }).catch(shell.fail);
  return () => leave.abort();
}

// A row for each folder, with what the scan has found there as the whole.
class FolderProgress {
  constructor(expected) {
    this.element = el('ul', { class: 'plain by-folder' });
    this.expected = new Map(expected.map((folder) => [JSON.stringify(folder.path), folder.read]));
    this.rows = new Map();
  }

  show(folders) {
    for (const folder of folders) {
      const key = JSON.stringify(folder.path);
      if (!this.rows.has(key)) this.rows.set(key, this.add(folder));
      const row = this.rows.get(key);
      const whole = Math.max(this.expected.get(key) ?? folder.read, folder.read);
      measure(row.bar, '--share', String(whole > 0 ? folder.read / whole : 1));
      row.count.textContent = say(words.of, { done: folder.written, total: whole });
      row.failed.textContent = folder.failed > 0 ? say(words.failed, { n: folder.failed }) : '';
    }
  }

  add(folder) {
    const row = { bar: el('span', { class: 'fill' }), count: el('span', { class: 'quiet' }), failed: el('span', { class: 'tight' }) };
    this.element.append(el('li', {}, el('span', { class: 'of' }, icon('folder'), name(folderName(folder.path)), ' ', row.failed), row.count, el('span', { class: 'track', 'aria-hidden': 'true' }, row.bar)));
    return row;
  }
}

class AttentionList {
  constructor() {
    this.list = el('ul', { class: 'findings' });
    this.note = el('p', { class: 'quiet' }, words.attentionNone);
    this.element = el('div', { class: 'attention', tabindex: '0', role: 'region', 'aria-label': words.attention }, this.note, this.list);
    this.shown = 0;
  }

  show({ items = [], total = 0 } = {}) {
    for (const item of items.slice(this.shown, kListed)) {
      this.list.append(el('li', { class: item.level }, el('span', { class: `tag ${item.level}` }, words.levels[item.level] ?? item.level), ' ', el('b', {}, name(item.place)), el('div', {}, name(item.text))));
    }
    this.shown = Math.min(items.length, kListed);
    const all = Math.max(total, items.length);
    this.note.textContent = all === 0 ? words.attentionNone : all > this.shown ? say(words.attentionMore, { n: this.shown, total: all }) : '';
  }
}
