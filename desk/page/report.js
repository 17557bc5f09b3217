// Starts the report page.
import { doneView } from './done.js';
import { texts } from './texts.js';

const record = JSON.parse(document.getElementById('record').textContent);
doneView(record, document.getElementById('report'));
document.title = `${texts.done.title[record.outcome] ?? record.outcome} – ${texts.product}`;
// Paper has nothing to open.
window.addEventListener('beforeprint', () => document.querySelectorAll('details').forEach((details) => { details.open = true; }));
