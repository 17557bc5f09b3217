// Elements from data. Text only ever becomes text nodes and attribute values, never markup.

const kSvg = 'http://www.w3.org/2000/svg';

// properties: attributes; functions are listeners ("onclick"); false, null and undefined are left out.
export const el = (tag, properties, ...children) => filled(document.createElement(tag), properties, children);
export const svg = (tag, properties, ...children) => filled(document.createElementNS(kSvg, tag), properties, children);

function filled(element, properties, children) {
  for (const [name, value] of Object.entries(properties ?? {})) {
    if (typeof value === 'function') element.addEventListener(name.slice(2), value);
    else if (value === true) element.setAttribute(name, '');
    else if (value !== false && value !== null && value !== undefined) element.setAttribute(name, value);
  }
  append(element, children);
  return element;
}

export function append(element, children) {
  for (const child of children.flat(Infinity)) {
    if (child !== null && child !== undefined && child !== false) element.append(child);
  }
}

export function replace(element, ...children) {
  element.replaceChildren();
  append(element, children);
  return element;
}

// A name that somebody else chose: in the direction of its own letters, and apart from the text around it.
export const name = (text, properties = {}) => el('bdi', { dir: 'auto', ...properties }, text);

// Sets a length that a style sheet uses: allowed where style attributes are not.
export function measure(element, property, value) {
  element.style.setProperty(property, value);
  return element;
}

// Line drawings of 24 by 24, in the colour of the text around them.
const kIcons = {
  mail: 'M3 6h18v12H3z M3 7l9 6 9-6',
  folder: 'M3 7h6l2 2h10v10H3z',
  file: 'M6 3h9l4 4v14H6z M14 3v5h5',
  archive: 'M4 4h16v5H4z M5 9v11h14V9 M10 13h4',
  person: 'M12 12a4 4 0 1 0 0-8 4 4 0 0 0 0 8z M4 21c0-5 4-7 8-7s8 2 8 7',
  clip: 'M8 12l6-6a3 3 0 0 1 5 5l-8 8a5 5 0 0 1-7-7l7-7',
  draft: 'M4 20l1-5L16 4l4 4L9 19z M13 7l4 4',
  flag: 'M6 21V4h11l-2 4 2 4H6',
  reply: 'M10 6l-6 6 6 6 M4 12h9c4 0 7 2 7 6',
  forward: 'M14 6l6 6-6 6 M20 12h-9c-4 0-7 2-7 6',
  check: 'M5 13l4 4L19 7',
  warning: 'M12 4l9 16H3z M12 10v4 M12 17v.5',
  stop: 'M12 3a9 9 0 1 0 0 18 9 9 0 0 0 0-18z M9 9l6 6 M15 9l-6 6',
  up: 'M12 19V5 M6 11l6-6 6 6',
  back: 'M15 5l-7 7 7 7',
};

export const icon = (which) =>
  svg('svg', { class: 'icon', viewBox: '0 0 24 24', 'aria-hidden': 'true', focusable: 'false' }, svg('path', { d: kIcons[which] ?? kIcons.mail }));
