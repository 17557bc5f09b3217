// Texts with their places filled, and numbers, sizes, times and dates as this person writes them.

const plurals = new Intl.PluralRules('en');
const wholes = new Intl.NumberFormat();

// text: a string with {places}, or forms of one by the number {n}. Numbers are written out with separators.
export function say(text, values = {}) {
  const form = typeof text === 'string' ? text : text[plurals.select(values.n)] ?? text.other;
  return form.replace(/\{(\w+)\}/g, (place, name) => (name in values ? shown(values[name]) : place));
}

const shown = (value) => (typeof value === 'number' ? wholes.format(value) : String(value));

export const number = (value) => wholes.format(value);

// Powers of 1000, as disks and the program's own summary count.
export function size(bytes) {
  const units = ['byte', 'kilobyte', 'megabyte', 'gigabyte', 'terabyte'];
  let value = bytes;
  let unit = 0;
  for (; value >= 1000 && unit < units.length - 1; unit++) value /= 1000;
  const digits = unit === 0 || value >= 100 ? 0 : 1;
  const format = { style: 'unit', unit: units[unit], unitDisplay: unit === 0 ? 'long' : 'short', maximumFractionDigits: digits };
  return new Intl.NumberFormat(undefined, format).format(value);
}

// The two units of a time that matter: "2 hr 5 min", "40 sec".
export function duration(seconds) {
  const parts = [['day', 86400], ['hour', 3600], ['minute', 60], ['second', 1]];
  let rest = Math.max(1, Math.round(seconds));
  const said = [];
  for (const [unit, length] of parts) {
    const count = Math.floor(rest / length);
    rest -= count * length;
    if (count > 0) said.push(new Intl.NumberFormat(undefined, { style: 'unit', unit }).format(count));
    else if (said.length > 0) break;
    if (said.length === 2) break;
  }
  return said.join(' ');
}

// An RFC 3339 time, in the zone of this computer; what is no time stays as it is.
export function moment(text, style = { dateStyle: 'medium', timeStyle: 'short' }) {
  const time = new Date(text);
  return Number.isNaN(time.getTime()) ? String(text ?? '') : new Intl.DateTimeFormat(undefined, style).format(time);
}

// What a path ends with, on either system.
export const lastName = (path) => String(path).split(/[/\\]/).filter(Boolean).pop() ?? String(path);

export const folderName = (path) => path.join(' / ');
