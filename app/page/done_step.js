// The fourth step: the report, and what can be done with it.
import { doneView } from './done.js';
import { el, icon } from './dom.js';
import { texts } from './texts.js';

const words = texts.done;

export function doneStep(main, shell) {
  const { session } = shell;
  const { report } = session;
  const pst = report.exitCode <= 1 ? report.parts?.[0]?.path ?? report.destination : report.partialFile;
  const look = () => {
    session.open = { path: pst };
    shell.go('inside');
  };
  doneView(report, main, [
    pst ? el('button', { type: 'button', class: 'main', onclick: look }, icon('mail'), words.look) : null,
    el('a', { class: 'button', href: 'api/report.html', download: 'report.html' }, words.save),
    el('a', { class: 'button', href: 'api/report.json', download: 'report.json' }, words.saveData),
    el('a', { class: 'button', href: '#found', onclick: () => Object.assign(session, { sources: [], scan: null }) }, words.more),
  ]);
}
