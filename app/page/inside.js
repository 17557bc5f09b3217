// The last step: any PST, looked into. Folders, messages and a message stand side by side; on a narrow window one of
// them at a time.
import { fileOf, post } from './api.js';
import { choose } from './chooser.js';
import { append, el, icon, name, replace } from './dom.js';
import { MessageList } from './message_list.js';
import { showMessage } from './message_view.js';
import { lastName, say, size } from './say.js';
import { texts } from './texts.js';
import { Tree } from './tree.js';

const words = texts.inside;

export function insideStep(main, shell) {
  const { session } = shell;
  const file = el('p', { class: 'path' });
  const pick = async () => {
    const [chosen] = await choose({ title: texts.chooser.pst, kind: 'pst' });
    if (chosen) open(chosen);
  };
  const panes = el('div', { class: 'mailer', 'data-pane': 'folders', hidden: true });
  const none = el('p', { class: 'lead' }, words.none);
  append(main, [
    el('header', { class: 'step row' }, el('div', {}, el('h1', { tabindex: '-1' }, words.title), file),
      el('button', { type: 'button', onclick: pick }, icon('folder'), words.choose)), none, panes]);
  let pst = null;
  let left = false;

  async function open(place) {
    session.open = place;
    none.hidden = false;
    panes.hidden = true;
    none.textContent = say(words.opening, { name: lastName(place.path) });
    try {
      if (pst) await post(`pst/${pst.pst}/close`).catch(() => {});
      await post('choose', { paths: [place.path], files: [fileOf(place)] });
      pst = await post('open', fileOf(place));
      if (left) {
        post(`pst/${pst.pst}/close`).catch(() => {});
        return;
      }
      replace(file, name(place.path));
      none.hidden = true;
      panes.hidden = false;
      new Inside(panes, pst, shell).show();
    } catch (error) {
      none.textContent = words.none;
      shell.fail(error);
    }
  }

  if (session.open) open(session.open);
  return () => {
    left = true;
    if (pst) post(`pst/${pst.pst}/close`).catch(() => {});
  };
}

class Inside {
  constructor(panes, pst, shell) {
    this.panes = panes;
    this.pst = pst;
    this.window = shell;
  }

  show() {
    const fail = (error) => this.window.fail(error);
    this.list = new MessageList((row) => this.openMessage(row).catch(fail), fail);
    this.empty = el('p', { class: 'quiet empty' }, words.noFolder);
    this.title = el('h2', {}, words.noFolder);
    this.reader = el('div', { class: 'reader' }, el('p', { class: 'quiet empty' }, words.noMessage));
    this.tree = new Tree(folderTree(this.pst.folders), { label: words.folders, facts: factsOf, onSelect: (node) => this.openFolder(node).catch(fail) });
    const back = (to) => el('button', { type: 'button', class: 'plain back', onclick: () => this.turn(to) }, icon('back'), words.back);
    replace(this.panes,
      this.pst.unreadable?.length ? el('p', { class: 'notice changed across' }, say(words.unreadable, { what: this.pst.unreadable.join(', ') })) : null,
      el('section', { class: 'pane-folders', 'aria-label': words.folders }, this.tree.element),
      el('section', { class: 'pane-messages', 'aria-label': texts.steps.inside }, el('div', { class: 'head' }, back('folders'), this.title), this.empty, this.list.element),
      el('section', { class: 'pane-message', 'aria-label': words.body }, back('messages'), this.reader));
    this.list.element.hidden = true;
    // The first folder with mail is what people want to see.
    const first = [...this.tree.items.keys()].find((node) => node.messages > 0);
    if (first) this.tree.select(first);
    this.turn('folders');
  }

  // Which pane a narrow window shows.
  turn(to) {
    this.panes.dataset.pane = to;
  }

  async openFolder(node) {
    this.turn('messages');
    const label = say(words.messages, { folder: node.name });
    replace(this.title, name(node.name));
    this.empty.hidden = node.messages > 0;
    this.empty.textContent = words.empty;
    this.list.element.hidden = node.messages === 0;
    replace(this.reader, el('p', { class: 'quiet empty' }, words.noMessage));
    if (node.messages > 0) await this.list.show(this.pst.pst, node.id, label);
    else this.list.clear();
  }

  async openMessage(row) {
    this.turn('message');
    this.reading?.abort();
    this.reading = new AbortController();
    await showMessage(this.reader, this.pst.pst, row.id, this.reading.signal);
    this.window.announce(row.subject || words.noSubject);
  }
}

const factsOf = (node) => (node.messages > 0 ? `${say(texts.messages, { n: node.messages })}${node.bytes ? ` · ${size(node.bytes)}` : ''}` : '');

// The API's list, with each folder's parent, as a tree.
function folderTree(folders) {
  const byId = new Map(folders.map((folder) => [folder.id, { ...folder, children: [] }]));
  const tops = [];
  for (const node of byId.values()) (byId.get(node.parent)?.children ?? tops).push(node);
  return tops;
}
