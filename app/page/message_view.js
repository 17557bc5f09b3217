// One message: its text in a frame that may do nothing, its header, its properties, its attachments.
import { append, el, icon, name, replace } from './dom.js';
import { get } from './api.js';
import { moment, say, size } from './say.js';
import { texts } from './texts.js';

const words = texts.inside;

// above: what leads back, where the message is attached to another.
export async function showMessage(place, pst, id, signal, above = null) {
  const at = (what, more = '') => `api/pst/${pst}/${what}?id=${encodeURIComponent(id)}${more}`;
  const message = await get(at('message').slice('api/'.length), signal);
  const panels = {
    message: () => textOf(message, at('document')),
    headers: () => (message.headers ? el('pre', { tabindex: '0', dir: 'auto' }, message.headers) : el('p', { class: 'quiet' }, words.noHeaders)),
    properties: () => properties(message.properties ?? []),
  };
  const files = (message.attachments ?? []).filter((file) => !file.inline);
  const again = () => showMessage(place, pst, id, signal, above);
  const link = (file) => (file.elsewhere ? el('span', {}, icon('clip'), name(say(words.elsewhere, { name: file.name }))) : file.message
    ? attachedMessage(file, () => showMessage(place, pst, `${id}-${file.n}`, signal, el('button', { type: 'button', class: 'plain', onclick: again }, icon('back'), name(message.subject || words.noSubject))))
    : attachedFile(file, at('attachment', `&n=${encodeURIComponent(file.n)}`)));
  replace(place, el('article', { class: 'mail' }, above,
    el('header', {}, el('h2', { tabindex: '-1' }, name(message.subject || words.noSubject)), people(message),
      files.length ? el('ul', { class: 'plain attachments', 'aria-label': say(words.attachments, { n: files.length }) }, files.map((file) => el('li', {}, link(file)))) : null,
      message.unreadable?.length ? el('p', { class: 'notice changed' }, say(words.unreadable, { what: message.unreadable.join(', ') })) : null),
    tabs(panels)));
}

function people(message) {
  const lines = ['from', 'sender', 'to', 'cc', 'bcc'].filter((field) => message[field]?.length || message[field]?.name || message[field]?.address).map((field) => [words[field], [].concat(message[field]).map(person).join('; ')]);
  if (message.categories?.length) lines.push([words.categories, message.categories.join(', ')]);
  return [message.time ? el('p', { class: 'quiet' }, el('time', { datetime: message.time }, moment(message.time, { dateStyle: 'full', timeStyle: 'short' }))) : null,
    el('dl', { class: 'people' }, lines.map(([label, value]) => [el('dt', {}, label), el('dd', {}, name(value))]))];
}

const person = ({ name: shown, address }) => (shown && address && shown !== address ? `${shown} <${address}>` : shown || address);

const attachedFile = (file, address) => el('a', { class: 'button', href: address, download: file.name || '' },
  icon('clip'), el('span', { class: 'unseen' }, `${words.save} `), name(file.name || words.unnamed), el('span', { class: 'quiet' }, size(file.bytes ?? 0)));

const attachedMessage = (file, open) => el('button', { type: 'button', onclick: open }, icon('mail'), name(file.name || words.unnamed));

// The frame has no origin and no rights; what the server puts into it has a policy of its own.
function textOf(message, address) {
  if (message.body === 'none') return el('p', { class: 'quiet' }, words.noBody);
  const frame = el('iframe', { sandbox: '', referrerpolicy: 'no-referrer', title: words.body, src: address });
  return [message.body === 'html' ? el('p', { class: 'quiet small' }, words.remote) : null, frame];
}

function properties(list) {
  const body = el('tbody', {});
  const draw = (sought) => replace(body, list.filter((one) => `${one.tag} ${one.name} ${one.value}`.toLocaleLowerCase().includes(sought)).map((one) =>
    el('tr', {}, el('td', { class: 'code' }, one.tag), el('td', {}, one.name ?? ''), el('td', {}, one.type ?? ''), el('td', {}, name(one.value === null || one.value === undefined ? '' : String(one.value))))));
  const filter = el('input', { type: 'search', 'aria-label': words.property.filter, placeholder: words.property.filter, oninput: () => draw(filter.value.toLocaleLowerCase()) });
  draw('');
  const head = ['tag', 'name', 'type', 'value'].map((column) => el('th', { scope: 'col' }, words.property[column]));
  return [filter, el('div', { class: 'scroll', tabindex: '0', role: 'region', 'aria-label': words.tabs.properties }, el('table', { class: 'properties' }, el('thead', {}, el('tr', {}, head)), body))];
}

// One panel at a time; the arrow keys go from tab to tab.
function tabs(panels) {
  const names = Object.keys(panels);
  const panel = el('div', { class: 'panel', role: 'tabpanel', id: 'view' });
  const buttons = names.map((which) => el('button', { type: 'button', role: 'tab', id: `tab-${which}`, 'aria-controls': 'view', onclick: () => choose(which) }, words.tabs[which]));
  function choose(which) {
    buttons.forEach((button, index) => {
      button.setAttribute('aria-selected', String(names[index] === which));
      button.tabIndex = names[index] === which ? 0 : -1;
    });
    panel.setAttribute('aria-labelledby', `tab-${which}`);
    panel.replaceChildren();
    append(panel, [panels[which]()]);
  }
  const list = el('div', { class: 'tabs', role: 'tablist', 'aria-label': words.views, onkeydown: (event) => {
    const step = { ArrowRight: 1, ArrowLeft: -1 }[event.key];
    if (!step) return;
    const next = (buttons.indexOf(document.activeElement) + step + names.length) % names.length;
    choose(names[next]);
    buttons[next].focus();
  } }, buttons);
  choose('message');
  return [list, panel];
}
