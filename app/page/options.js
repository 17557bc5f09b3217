// How to convert: the fields for it, and what they say as the server wants it.
import { el } from './dom.js';
import { texts } from './texts.js';

const words = texts.check;

// chosen: {split, dedup, skipDeleted, skipJunk, without: groups of what does not come along}; changed in place.
export function optionFields(chosen) {
  const select = (label, field, values) => {
    const list = el('select', { onchange: () => { chosen[field] = list.value; } }, Object.entries(values).map(([value, text]) => el('option', { value }, text)));
    list.value = chosen[field] ?? Object.keys(values)[0];
    return el('label', { class: 'field' }, label, list);
  };
  const box = (label, checked, change) => {
    const input = el('input', { type: 'checkbox', onchange: () => change(input.checked) });
    input.checked = checked;
    return el('label', { class: 'box-line' }, input, el('span', {}, label));
  };
  const without = (chosen.without ??= new Set());
  return [
    select(words.split, 'split', words.splits), select(words.dedup, 'dedup', words.dedups),
    box(words.skipDeleted, chosen.skipDeleted ?? false, (wanted) => { chosen.skipDeleted = wanted; }),
    box(words.skipJunk, chosen.skipJunk ?? false, (wanted) => { chosen.skipJunk = wanted; }),
    el('details', {}, el('summary', {}, words.keep), Object.entries(words.keeps).map(([group, label]) =>
      box(label, !without.has(group), (wanted) => without[wanted ? 'delete' : 'add'](group)))),
  ];
}

export function conversionOptions({ split, dedup, skipDeleted, skipJunk, without }) {
  const keep = without?.size ? Object.keys(words.keeps).filter((group) => !without.has(group)) : null;
  return { keep, split: split || null, since: null, until: null, skipDeleted: skipDeleted ?? false, skipJunk: skipJunk ?? false, folders: null, dedup: dedup ?? 'off' };
}
