// The messages of a folder, of which there may be a million: only rows that are seen exist.
//
// Browsers lay out no element beyond some ten million pixels. Where the rows would need more, the scroll
// bar stands for all of them in proportion: short ways (the wheel, a key) move by pixels as everywhere, long
// ones (dragging the bar) by proportion, and when it rests the bar is put where it belongs.
import { append, el, icon, measure, name } from './dom.js';
import { get } from './api.js';
import { moment } from './say.js';
import { texts } from './texts.js';

const words = texts.inside;
const kRow = 68;
const kTallest = 4000000;
const kPage = 100;
const kPagesKept = 40;
const kRest = 120;

export class MessageList {
  // onOpen(row) is called with a row of the API.
  constructor(onOpen, onError) {
    this.onOpen = onOpen;
    this.onError = onError;
    this.layer = el('div', { class: 'layer', role: 'presentation' });
    this.space = el('div', { class: 'space', role: 'presentation' });
    this.element = el('div', { class: 'message-list', role: 'listbox', tabindex: '0', 'aria-label': words.noFolder,
      onscroll: () => this.scrolled(), onkeydown: (event) => this.key(event) }, this.space, this.layer);
    new ResizeObserver(() => this.total > 0 && this.draw()).observe(this.element);
    this.clear();
  }

  clear() {
    this.abort?.abort();
    this.abort = new AbortController();
    Object.assign(this, { total: 0, position: 0, lastTop: 0, active: -1, opened: null, pages: new Map(), drawn: new Map() });
    this.layer.replaceChildren();
  }

  async show(pst, folder, label) {
    this.clear();
    this.source = `pst/${pst}/messages?folder=${encodeURIComponent(folder)}`;
    this.element.setAttribute('aria-label', label);
    const page = await this.fetched(0);
    if (!page) return;
    this.total = page.total;
    measure(this.space, 'height', `${Math.min(this.total * kRow, kTallest)}px`);
    this.element.scrollTop = this.lastTop = 0;
    this.active = this.total > 0 ? 0 : -1;
    this.draw();
  }

  get height() {
    return this.element.clientHeight;
  }

  // How far the rows can move for each pixel of the bar.
  get ratio() {
    const bar = Math.max(1, Math.min(this.total * kRow, kTallest) - this.height);
    return Math.max(1, (this.total * kRow - this.height) / bar);
  }

  scrolled() {
    const top = this.element.scrollTop;
    const moved = top - this.lastTop;
    if (moved === 0) return;
    this.lastTop = top;
    const short = this.ratio > 1 && Math.abs(moved) < 3 * this.height;
    this.moveTo(short ? this.position + moved : top * this.ratio, short);
  }

  moveTo(position, putBarLater = false) {
    this.position = Math.max(0, Math.min(position, this.total * kRow - this.height));
    clearTimeout(this.rest);
    if (putBarLater) this.rest = setTimeout(() => this.putBar(), kRest);
    else if (Math.abs(this.element.scrollTop * this.ratio - this.position) > this.ratio) this.putBar();
    this.draw();
  }

  putBar() {
    this.element.scrollTop = this.position / this.ratio;
    this.lastTop = this.element.scrollTop;
  }

  draw() {
    const first = Math.max(0, Math.floor(this.position / kRow) - 2);
    const last = Math.min(this.total - 1, Math.ceil((this.position + this.height) / kRow) + 2);
    const drawn = new Map();
    for (let at = first; at <= last; at++) drawn.set(at, this.row(at));
    this.put(drawn);
    if (this.active >= first && this.active <= last) this.element.setAttribute('aria-activedescendant', `message-${this.active}`);
    else this.element.removeAttribute('aria-activedescendant');
    clearTimeout(this.wanted);
    this.wanted = setTimeout(() => this.load(first, last), 40);
  }

  // A row that is there stays the same element, or a click that is begun on it would have no end.
  row(at) {
    const data = this.pages.get(Math.floor(at / kPage))?.[at % kPage];
    const there = this.drawn.get(at);
    const row = there && there.data === data ? there : { item: this.made(at, data), data };
    measure(row.item, 'transform', `translateY(${at * kRow - this.position}px)`);
    row.item.setAttribute('aria-selected', String(at === this.opened));
    row.item.classList.toggle('active', at === this.active);
    return row;
  }

  made(at, data) {
    const item = el('div', { class: 'entry', role: 'option', id: `message-${at}`, 'aria-setsize': this.total, 'aria-posinset': at + 1, onclick: () => this.open(at) });
    if (data?.id) fill(item, data);
    else item.append(el('span', { class: 'quiet' }, data ? words.unreadableRow : words.loading));
    return item;
  }

  // These rows, in their order, and no others.
  put(drawn) {
    const items = [...drawn.values()].map(({ item }) => item);
    const kept = new Set(items);
    for (const item of [...this.layer.children]) if (!kept.has(item)) item.remove();
    let next = this.layer.firstElementChild;
    for (const item of items) {
      if (item === next) next = next.nextElementSibling;
      else this.layer.insertBefore(item, next);
    }
    this.drawn = drawn;
  }

  // Brings the pages of these rows, and draws again when they are there.
  async load(first, last) {
    const wanted = new Set([first, last].map((at) => Math.floor(at / kPage)));
    const fetched = await Promise.all([...wanted].filter((page) => page >= 0 && !this.pages.has(page)).map((page) => this.fetched(page)));
    if (fetched.some(Boolean)) this.draw();
  }

  async fetched(page) {
    const { signal } = this.abort;
    try {
      const answer = await get(`${this.source}&from=${page * kPage}&count=${kPage}`, signal);
      if (signal.aborted) return null;
      this.pages.set(page, answer.rows);
      if (this.pages.size > kPagesKept) this.pages.delete(this.pages.keys().next().value);
      return answer;
    } catch (error) {
      if (!signal.aborted) this.onError(error);
      return null;
    }
  }

  key(event) {
    const page = Math.max(1, Math.floor(this.height / kRow) - 1);
    const moves = { ArrowDown: 1, ArrowUp: -1, PageDown: page, PageUp: -page, Home: -this.total, End: this.total };
    if (this.total === 0) return;
    if (event.key in moves) this.activate(Math.max(0, Math.min(this.total - 1, this.active + moves[event.key])));
    else if (event.key === 'Enter' || event.key === ' ') this.open(this.active);
    else return;
    event.preventDefault();
  }

  activate(at) {
    this.active = at;
    const top = at * kRow;
    if (top < this.position) this.moveTo(top);
    else if (top + kRow > this.position + this.height) this.moveTo(top + kRow - this.height);
    else this.draw();
  }

  open(at) {
    const data = this.pages.get(Math.floor(at / kPage))?.[at % kPage];
    if (!data?.id) return;
    this.opened = at;
    this.activate(at);
    this.onOpen(data);
  }
}

// Marks and their words.
const marksOf = (data) => [
  data.draft && ['draft', words.marks.draft], data.flagged && ['flag', words.marks.flagged], data.completed && ['check', words.marks.completed], data.replied && ['reply', words.marks.replied], data.forwarded && ['forward', words.marks.forwarded],
  data.attachments && ['clip', words.marks.attachments],
].filter(Boolean);

function fill(item, data) {
  const importance = importanceOf(data);
  const mark = (drawn, text) => [drawn, el('span', { class: 'unseen' }, `${text}, `)];
  const level = importance in words.importance ? mark(el('b', { class: importance, 'aria-hidden': 'true' }, importance === 'high' ? '!' : '↓'), words.importance[importance]) : null;
  item.classList.toggle('unread', Boolean(data.unread));
  append(item, [
    el('span', { class: 'from' }, data.unread ? el('span', { class: 'unseen' }, words.unread) : null, name(data.from || words.noSender), ' ',
      el('span', { class: 'marks' }, level, marksOf(data).map(([which, text]) => mark(icon(which), text)))),
    el('span', { class: 'subject' }, name(data.subject || words.noSubject)), ' ', el('span', { class: 'time quiet' }, data.time ? moment(data.time) : '')]);
}

// PR_IMPORTANCE, as a number or as a word.
const importanceOf = ({ importance }) => ({ 0: 'low', 2: 'high' })[importance] ?? importance;
