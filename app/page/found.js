// The first step: which mail.
import { fileOf, post } from './api.js';
import { choose } from './chooser.js';
import { append, el, icon, name, replace } from './dom.js';
import { dropped } from './drop.js';
import { say, size } from './say.js';
import { texts } from './texts.js';

const words = texts.found;
const kPause = 1000;
const kIcons = { thunderbird: 'person', apple: 'person', profile: 'person', takeout: 'archive', archive: 'archive', mbox: 'file', pst: 'file' };

// Names that no text can say differ by their ids.
const same = (one, other) => (one.id ?? one.path) === (other.id ?? other.path);

export function foundStep(main, shell) {
  const { session } = shell;
  const status = el('p', { class: 'quiet', role: 'status' }, words.looking);
  const found = el('ul', { class: 'places', 'aria-label': words.heading });
  const chosen = el('ul', { class: 'places', 'aria-label': words.chosen });
  const own = el('section', { hidden: true }, el('h2', {}, words.chosen), chosen);
  const selection = el('span', { class: 'quiet', role: 'status' });
  const next = el('button', { type: 'button', class: 'main', onclick: () => goOn() }, words.next);
  const path = el('input', { type: 'text', id: 'path', autocomplete: 'off', spellcheck: 'false', dir: 'auto' });
  let places = [];
  let stopped = false;

  const isTaken = (place) => session.sources.some((source) => same(source, place));
  const take = (place, wanted) => {
    session.sources = session.sources.filter((source) => !same(source, place));
    if (wanted) session.sources.push(place);
    session.scan = null;
    count();
  };

  function count() {
    const n = session.sources.length;
    selection.textContent = n > 0 ? say(words.selected, { n }) : '';
    next.setAttribute('aria-disabled', String(n === 0));
    const others = session.sources.filter((source) => !places.some((place) => same(place, source)));
    own.hidden = others.length === 0;
    replace(chosen, others.map((source) => ownCard(source, () => { take(source, false); path.focus(); })));
  }

  // Looks again until the server has looked everywhere.
  async function look() {
    try {
      const answer = await post('found');
      if (stopped) return;
      if (JSON.stringify(answer.places) !== JSON.stringify(places)) {
        const focused = found.contains(document.activeElement) ? document.activeElement.value : null;
        places = answer.places;
        replace(found, places.map((place) => placeCard(place, isTaken(place), take, lookInside)));
        [...found.querySelectorAll('input')].find((input) => input.value === focused)?.focus();
        count();
      }
      status.textContent = answer.looking ? words.looking : places.length === 0 ? words.none : '';
      if (answer.looking) setTimeout(() => { if (!stopped) look(); }, kPause);
    } catch (error) {
      status.textContent = '';
      shell.fail(error);
    }
  }

  function lookInside(place) {
    session.open = place;
    shell.go('inside');
  }

  // Adds what the server can take; a PST is for looking into.
  async function add(files) {
    if (files.length === 0) return;
    try {
      const { sources } = await post('choose', { paths: files.map((file) => file.path), files: files.map(fileOf) });
      const pst = sources.find((source) => source.kind === 'pst');
      if (pst) {
        lookInside(pst);
        return;
      }
      sources.forEach((source) => take(source, true));
      path.value = '';
    } catch (error) {
      shell.fail(error);
    }
  }

  function goOn() {
    if (session.sources.length > 0) shell.go('check');
    else shell.fail({ message: words.nothing });
  }

  const stopDrops = dropped(main, { paths: (paths) => add(paths.map((one) => ({ path: one }))), names: async (names) => {
    add(await choose({ title: texts.chooser.sources, several: true, hint: say(words.dropNames, { names: names.join(', ') }) }));
  }, nothing: () => shell.fail({ message: words.dropNothing }) });

  append(main, [
    el('header', { class: 'step' }, el('h1', { tabindex: '-1' }, words.title), el('p', { class: 'lead' }, words.lead)),
    el('section', {}, el('h2', {}, words.heading), status, found), own,
    el('section', { class: 'card other' },
      el('div', { class: 'actions' },
        el('button', { type: 'button', onclick: async () => add(await choose({ title: texts.chooser.sources, several: true })) }, icon('folder'), words.choose),
        el('button', { type: 'button', onclick: async () => (await choose({ title: texts.chooser.pst, kind: 'pst' })).slice(0, 1).forEach(lookInside) }, icon('mail'), words.open)),
      el('form', { class: 'row', onsubmit: (event) => { event.preventDefault(); if (path.value.trim()) add([{ path: path.value.trim() }]); } },
        el('label', { for: 'path' }, words.pathLabel), path, el('button', { type: 'submit' }, words.add)),
      el('p', { class: 'quiet' }, words.drop)),
    el('footer', { class: 'bar-below' }, selection, next)]);
  count();
  look();
  return () => {
    stopped = true;
    stopDrops();
  };
}

function facts(place) {
  const counts = [place.detail, place.folders ? say(texts.folders, { n: place.folders }) : null,
    place.messages ? say(texts.messages, { n: place.messages }) : null, place.bytes ? size(place.bytes) : null];
  return counts.filter(Boolean).join(' · ');
}

function placeCard(place, taken, take, lookInside) {
  const title = place.name || words.kinds[place.kind] || place.path;
  const text = el('span', { class: 'text' }, el('b', {}, name(title)), el('span', { class: 'kind' }, words.kinds[place.kind] ?? ''),
    el('span', { class: 'quiet' }, facts(place)), el('span', { class: 'path' }, name(place.path)), accountList(place));
  const sign = el('span', { class: 'sign' }, icon(kIcons[place.kind] ?? 'folder'));
  if (place.kind === 'pst') {
    return el('li', { class: 'place' }, el('div', { class: 'body' }, sign, text, el('button', { type: 'button', 'aria-label': `${words.look}: ${title}`, onclick: () => lookInside(place) }, words.look)));
  }
  const box = el('input', { type: 'checkbox', value: place.path, 'aria-label': `${title}, ${facts(place)}`, onchange: () => take(place, box.checked) });
  box.checked = taken;
  return el('li', { class: 'place' }, el('label', { class: 'body' }, box, sign, text));
}

function accountList(place) {
  if (!place.accounts?.length) return null;
  const lines = place.accounts.map((account) => el('span', { class: 'account' }, name(account.name), ' ',
    el('span', { class: 'quiet' }, [say(texts.folders, { n: account.folders }), size(account.bytes)].join(' · '))));
  return el('span', { class: 'accounts' }, lines);
}

function ownCard(source, remove) {
  const title = source.name || source.path;
  return el('li', { class: 'place' }, el('div', { class: 'body' }, el('span', { class: 'sign' }, icon(kIcons[source.kind] ?? 'folder')),
    el('span', { class: 'text' }, el('b', {}, name(title)), el('span', { class: 'kind' }, words.kinds[source.kind] ?? source.kind), el('span', { class: 'path' }, name(source.path))),
    el('button', { type: 'button', onclick: remove, 'aria-label': say(words.remove, { name: title }) }, '×')));
}
