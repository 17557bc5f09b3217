// The window: five steps, one at a time, chosen by what follows "#" in the address.
import { get, post } from './api.js';
import { checkStep } from './check.js';
import { convertStep } from './convert.js';
import { el, icon, replace } from './dom.js';
import { doneStep } from './done_step.js';
import { foundStep } from './found.js';
import { insideStep } from './inside.js';
import { texts } from './texts.js';

const kSteps = { found: foundStep, check: checkStep, convert: convertStep, done: doneStep, inside: insideStep };
const kBeat = 60000;
const kAfterGoodbye = 1000;

// What one step leaves for the next. run: as the server last told of it; open: the PST to look into.
const session = { system: null, sources: [], scan: null, report: null, run: null, open: null };

const live = el('p', { class: 'unseen', role: 'status', 'aria-live': 'polite' });
const trouble = el('div', { class: 'trouble', role: 'alert' });
const main = el('main', { id: 'main', tabindex: '-1' });
const steps = el('ol', { class: 'steps' });

// What steps use of the page around them.
const shell = {
  session,
  // Said to who cannot see it.
  announce(text) {
    live.textContent = text;
  },
  go(step) {
    if (location.hash === `#${step}`) show();
    else location.hash = step;
  },
  // Shows an error until the next step, or until it is closed.
  fail(error) {
    if (error?.name === 'AbortError') return;
    const close = error.code === 'gone' ? null : el('button', { type: 'button', onclick: () => trouble.replaceChildren() }, texts.close);
    replace(trouble, el('div', { class: 'notice lost' }, el('p', {}, el('b', {}, texts.errors.title), ' ', error.message), close));
  },
};

const reached = (step) =>
  ({ found: true, check: session.sources.length > 0, convert: session.run?.kind === 'convert', done: session.report !== null, inside: true })[step];

let leave = () => {};

function show() {
  const asked = location.hash.slice(1);
  const step = asked in kSteps && reached(asked) ? asked : 'found';
  leave();
  trouble.replaceChildren();
  replace(steps, Object.keys(kSteps).map((name, index) => stepMark(name, index, name === step)));
  document.title = `${texts.steps[step]} – ${texts.product}`;
  main.className = step;
  main.replaceChildren();
  // A step may hand back what ends it: its polling, its listeners.
  leave = kSteps[step](main, shell) ?? (() => {});
  main.querySelector('h1')?.focus();
  window.scrollTo(0, 0);
}

function stepMark(name, index, current) {
  const label = [el('span', { class: 'index', 'aria-hidden': 'true' }, String(index + 1)), el('span', { class: 'label' }, texts.steps[name])];
  if (!reached(name)) return el('li', { class: 'ahead' }, el('span', {}, label));
  return el('li', {}, el('a', { href: `#${name}`, 'aria-current': current ? 'step' : null }, label));
}

async function start() {
  document.body.append(
    el('a', { class: 'skip', href: '#main', onclick: (event) => { event.preventDefault(); main.focus(); } }, texts.skip),
    el('header', { class: 'top' }, el('div', { class: 'brand' }, icon('mail'), texts.product), el('nav', { 'aria-label': texts.stepsLabel }, steps)),
    trouble, main, live);
  try {
    const state = await get('state');
    Object.assign(session, { system: state, run: state.run });
    goOnWith(state.run);
  } catch (error) {
    show();
    shell.fail(error);
  }
}

// A page that is loaded anew finds the work where it is. What a scan was for is forgotten with the page.
function goOnWith(run) {
  const running = run?.state === 'running';
  if (running && run.kind === 'scan') post('stop').catch(() => {});
  if (!running && run?.kind === 'convert' && run.result) session.report = run.result;
  const where = running && run.kind === 'convert' ? 'convert' : location.hash.slice(1) || (session.report ? 'done' : 'found');
  history.replaceState(null, '', `#${where}`);
  show();
}

window.addEventListener('hashchange', show);
// The server ends when nobody needs it: it is told that the page is still here, and that it goes.
setInterval(() => get('knock').catch(shell.fail), kBeat);
// Another page of the same window speaks up after the goodbye of this one.
const pages = new BroadcastChannel('pages');
pages.addEventListener('message', () => setTimeout(() => get('knock').catch(shell.fail), kAfterGoodbye));
window.addEventListener('pagehide', () => {
  navigator.sendBeacon('api/goodbye', '');
  pages.postMessage('goodbye');
});
window.addEventListener('pageshow', (event) => { if (event.persisted) get('state').catch(shell.fail); });
start();
