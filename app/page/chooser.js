// A dialog to choose files and folders, for the browser's own does not tell where they are.
import { fileOf, post } from './api.js';
import { append, el, icon, name, replace } from './dom.js';
import { moment, say, size } from './say.js';
import { texts } from './texts.js';

const words = texts.chooser;

// options: title; several: more than one may be chosen, folders too; kind "pst": one PST; kind "save": a
// folder and a name for a new file, with the name proposed; from: where to begin; hint: said above.
// Resolves to the files chosen ({path, id}; for "save" with `exists`), none when it was left.
export function choose(options) {
  return new Promise((resolve) => new Chooser(options, resolve).open());
}

class Chooser {
  constructor(options, resolve) {
    this.options = options;
    this.resolve = resolve;
    this.marked = new Map();
    this.entries = [];
    this.build();
  }

  build() {
    const saving = this.options.kind === 'save';
    this.path = el('input', { type: 'text', 'aria-label': words.path, spellcheck: 'false', autocomplete: 'off', dir: 'auto' });
    this.up = el('button', { type: 'button', 'aria-label': words.up, title: words.up, onclick: () => this.above() }, icon('up'));
    this.places = el('ul', { class: 'plain', 'aria-label': words.places });
    this.list = el('ul', { class: 'entries', role: 'listbox', tabindex: '0', 'aria-label': words.entries, 'aria-multiselectable': this.options.several ? 'true' : null,
      onkeydown: (event) => this.key(event) });
    this.note = el('p', { class: 'quiet', role: 'status' });
    this.trouble = el('p', { class: 'notice lost', role: 'alert', hidden: true });
    this.file = el('input', { type: 'text', id: 'file-name', value: this.options.proposed ?? '', spellcheck: 'false', dir: 'auto' });
    this.use = el('button', { type: 'button', class: 'main', onclick: () => this.accept() }, saving ? words.saveHere : words.use);
    this.dialog = el('dialog', { class: 'chooser', 'aria-labelledby': 'chooser-title', onclose: () => this.finish([]) },
      el('h2', { id: 'chooser-title' }, this.options.title), this.options.hint ? el('p', { class: 'notice' }, this.options.hint) : null,
      el('form', { class: 'row', onsubmit: (event) => { event.preventDefault(); this.show({ path: this.path.value }); } }, this.up, this.path,
        el('button', { type: 'submit' }, words.go)),
      this.trouble,
      el('div', { class: 'panes' }, el('nav', { 'aria-label': words.places }, this.places), this.list), this.note,
      saving ? el('label', { class: 'row', for: 'file-name' }, words.fileName, this.file) : null,
      el('div', { class: 'actions end' }, el('button', { type: 'button', onclick: () => this.dialog.close() }, texts.cancel), this.use));
  }

  open() {
    document.body.append(this.dialog);
    this.dialog.showModal();
    this.show(this.options.from ? { path: this.options.from } : {}).then(() => this.list.focus());
  }

  finish(files) {
    this.resolve(files);
    this.dialog.remove();
  }

  async show(place) {
    try {
      this.listing = await post('browse', place.path || place.id ? fileOf(place) : {});
    } catch (error) {
      this.trouble.textContent = error.message;
      this.trouble.hidden = false;
      if (!this.listing && place.path) await this.show({});
      return;
    }
    this.trouble.hidden = true;
    this.path.value = this.listing.path;
    this.up.disabled = !this.listing.parent;
    this.entries = this.listing.entries;
    if (this.options.kind === 'pst') this.entries = this.entries.filter((entry) => entry.folder || entry.mail === 'pst');
    this.marked.clear();
    replace(this.places, this.listing.shortcuts.map((shortcut) =>
      el('li', {}, el('button', { type: 'button', class: 'plain', onclick: () => this.show(shortcut) }, icon('folder'), name(shortcut.name)))));
    replace(this.list, this.entries.map((entry, index) => this.row(entry, index)));
    this.list.scrollTop = 0;
    this.activate(0);
    this.told();
  }

  above() {
    this.show({ path: this.listing.parent, id: this.listing.parentId }).then(() => this.list.focus());
  }

  row(entry, index) {
    const facts = [entry.mail ? texts.found.kinds[entry.mail] ?? entry.mail : null, entry.folder ? null : size(entry.bytes ?? 0), entry.modified ? moment(entry.modified, { dateStyle: 'medium' }) : null];
    return el('li', { role: 'option', id: `entry-${index}`, 'aria-selected': 'false', class: entry.mail ? 'mail' : null,
      onclick: () => { this.activate(index); this.mark(index); }, ondblclick: () => this.enter(index) },
      icon(entry.folder ? 'folder' : entry.mail === 'archive' ? 'archive' : entry.mail ? 'mail' : 'file'), name(entry.name), el('span', { class: 'quiet' }, facts.filter(Boolean).join(' · ')));
  }

  activate(index) {
    this.list.querySelector('.active')?.classList.remove('active');
    const row = this.list.children[index];
    if (!row) {
      this.list.removeAttribute('aria-activedescendant');
      return;
    }
    this.active = index;
    row.classList.add('active');
    row.scrollIntoView({ block: 'nearest' });
    this.list.setAttribute('aria-activedescendant', row.id);
  }

  mark(index) {
    const entry = this.entries[index];
    if (!entry) return;
    if (this.options.kind === 'save') {
      if (!entry.folder) this.file.value = entry.name;
      return;
    }
    const was = this.marked.has(index);
    if (!this.options.several) this.marked.clear();
    if (was) this.marked.delete(index);
    else if (this.options.several || !entry.folder) this.marked.set(index, entry);
    [...this.list.children].forEach((row, at) => row.setAttribute('aria-selected', String(this.marked.has(at))));
    this.told();
  }

  enter(index) {
    const entry = this.entries[index];
    if (entry?.folder) {
      this.show(entry).then(() => this.list.focus());
      return;
    }
    if (!entry) return;
    if (!this.marked.has(index)) this.mark(index);
    if (this.options.kind !== 'save') this.accept();
  }

  key(event) {
    const last = this.entries.length - 1;
    const moves = { ArrowDown: 1, ArrowUp: -1, PageDown: 10, PageUp: -10, Home: -last, End: last };
    if (event.key in moves) this.activate(Math.min(last, Math.max(0, (this.active ?? 0) + moves[event.key])));
    else if (event.key === ' ') this.mark(this.active);
    else if (event.key === 'Enter') this.enter(this.active);
    else if (event.key === 'Backspace' && this.listing?.parent) this.above();
    else if (event.key.length === 1 && !event.ctrlKey && !event.metaKey && !event.altKey) this.jump(event.key);
    else return;
    event.preventDefault();
  }

  // The next entry that begins with a letter.
  jump(letter) {
    const starts = (entry) => entry.name.toLocaleLowerCase().startsWith(letter.toLocaleLowerCase());
    const after = this.entries.findIndex((entry, index) => index > (this.active ?? -1) && starts(entry));
    const index = after >= 0 ? after : this.entries.findIndex(starts);
    if (index >= 0) this.activate(index);
  }

  told() {
    const n = this.marked.size;
    this.note.textContent = this.entries.length === 0 ? words.empty : this.listing.more ? words.more : n > 0 && this.options.several ? say(words.marked, { n }) : this.options.several ? words.hint : '';
    if (this.options.several) this.use.textContent = n > 0 ? words.use : words.useFolder;
    this.use.disabled = this.options.kind === 'pst' && n === 0;
  }

  accept() {
    if (!this.listing) return;
    const { path, id } = this.listing;
    if (this.options.kind === 'save') {
      const file = this.file.value.trim();
      if (file === '') {
        this.file.focus();
        return;
      }
      const separator = path.includes('\\') ? '\\' : '/';
      const named = /\.pst$/i.test(file) ? file : `${file}.pst`;
      this.finish([{ path: path.endsWith(separator) ? path + named : path + separator + named }]);
    } else {
      this.finish(this.marked.size > 0 ? [...this.marked.values()] : [{ path, id }]);
    }
  }
}

// Asks a question with a few answers; resolves to the chosen one's value, or to null.
export function ask(title, text, answers) {
  return new Promise((resolve) => {
    let chosen = null;
    const dialog = el('dialog', { class: 'question', role: 'alertdialog', 'aria-labelledby': 'question-title', 'aria-describedby': 'question-text',
      onclose: () => { dialog.remove(); resolve(chosen); } });
    const buttons = answers.map(({ label, value, main }) => el('button', { type: 'button', class: main ? 'main' : null, onclick: () => { chosen = value; dialog.close(); } }, label));
    append(dialog, [el('h2', { id: 'question-title' }, title), el('p', { id: 'question-text' }, text), el('div', { class: 'actions end' }, buttons)]);
    document.body.append(dialog);
    dialog.showModal();
  });
}
