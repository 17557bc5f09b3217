// How to open the PST in Outlook, with a drawing of each step.
import { el, svg } from './dom.js';
import { lastName, say } from './say.js';
import { texts } from './texts.js';

const box = (x, y, width, height, kind = 'plain') => svg('rect', { class: kind, x, y, width, height, rx: 4 });
const word = (x, y, text, kind = 'word') => svg('text', { class: kind, x, y }, text);
const line = (x, y, width) => svg('rect', { class: 'line', x, y, width, height: 4, rx: 2 });

// A window of 240 by 150 with its title bar.
const frame = (...inside) => [box(4, 4, 232, 142), svg('path', { class: 'edge', d: 'M4 24H236' }),
  ...[14, 24, 34].map((x) => svg('circle', { class: 'line', cx: x, cy: 14, r: 3 })), ...inside];

const pointer = (x, y) => svg('path', { class: 'pointer', transform: `translate(${x} ${y})`, d: 'M0 0v17l4-4 3 7 3-1.500-3-6.500h6z' });

const kPictures = {
  copy: (labels, file) => [
    box(10, 30, 84, 62), svg('path', { class: 'edge', d: 'M52 92v14 M34 106h36' }), word(52, 126, labels.computer, 'word middle'),
    box(146, 30, 84, 62), svg('path', { class: 'edge', d: 'M188 92v14 M170 106h36' }), word(188, 126, labels.other, 'word middle'),
    box(34, 44, 36, 34, 'accent'), box(170, 44, 36, 34, 'accent'), word(52, 65, 'PST', 'on middle'), word(188, 65, 'PST', 'on middle'),
    svg('path', { class: 'way', d: 'M102 61h34 M128 53l8 8-8 8' }), word(120, 20, file, 'word middle')],
  file: (labels) => frame(
    box(10, 28, 34, 18, 'accent'), word(27, 41, labels.file, 'on middle'), word(54, 41, labels.home), word(84, 41, labels.send), word(160, 41, labels.view),
    svg('path', { class: 'edge', d: 'M4 50H236 M70 50V146' }), ...[62, 78, 94, 110].map((y) => line(14, y, 44)),
    ...[62, 82, 102, 122].map((y) => [line(82, y, 90), line(82, y + 8, 130)]).flat(), pointer(32, 40)),
  open: (labels) => frame(
    svg('path', { class: 'edge', d: 'M88 24V146' }), word(14, 46, labels.info), box(8, 54, 80, 20, 'accent'), word(14, 68, labels.openExport, 'on'),
    word(14, 90, labels.saveAs), word(14, 112, labels.print),
    box(98, 34, 130, 24), word(106, 50, labels.calendar), box(98, 66, 130, 28, 'chosen'), word(106, 84, labels.dataFile, 'strong'),
    box(98, 102, 130, 24), word(106, 118, labels.importExport), pointer(206, 80)),
  list: (labels, file) => frame(
    svg('path', { class: 'edge', d: 'M104 24V146' }), word(12, 42, labels.you), line(22, 50, 40), line(22, 60, 54),
    box(8, 72, 92, 18, 'chosen'), word(14, 85, file, 'strong'), word(24, 104, labels.inbox), word(24, 120, labels.sent), line(24, 130, 40),
    ...[36, 60, 84, 108].map((y) => [line(116, y, 70), line(116, y + 8, 104)]).flat(), pointer(80, 84)),
};

const shortened = (file) => (file.length > 16 ? `${file.slice(0, 15)}…` : file);

export function outlookSteps(destination) {
  const file = lastName(destination ?? 'mail.pst');
  const steps = texts.outlook.steps.map((step) => {
    const drawing = svg('svg', { class: 'picture', viewBox: '0 0 240 150', role: 'img', 'aria-label': step.title },
      kPictures[step.picture](texts.outlook.labels, shortened(file)));
    return el('li', {}, drawing, el('h3', {}, step.title), el('p', {}, say(step.text, { file })));
  });
  return [el('ol', { class: 'pictures' }, steps), el('p', { class: 'quiet' }, texts.outlook.note)];
}
