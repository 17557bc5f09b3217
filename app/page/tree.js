// A tree of folders that keys and screen readers know; with boxes to tick, where it is for choosing.
import { el, icon, measure, name } from './dom.js';

// nodes: {name, children, ...}. options: label; facts(node): text beside the name; onSelect(node); ticked: a Set
// of nodes with mail that are chosen, and isMail(node), onTick(): boxes are shown.
export class Tree {
  constructor(nodes, options) {
    this.options = options;
    this.items = new Map();
    this.nodes = nodes;
    this.element = el('ul', { class: 'tree', role: 'tree', 'aria-label': options.label, 'aria-multiselectable': options.ticked ? 'true' : null,
      onkeydown: (event) => this.key(event) }, this.below(nodes, null, 1));
    this.focusable(nodes[0]);
    this.draw();
  }

  // The items of nodes and all below them, one after the other: how deep each lies, its level says.
  below(nodes, above, level) {
    return nodes.map((node, index) => {
      const item = measure(el('li', { role: 'treeitem', class: 'row', tabindex: '-1', 'aria-level': level, 'aria-posinset': index + 1, 'aria-setsize': nodes.length,
        'aria-expanded': node.children.length ? 'true' : null, onclick: (event) => this.click(event, node) },
        el('span', { class: 'opener', 'aria-hidden': 'true' }), this.options.ticked ? el('span', { class: 'box', 'aria-hidden': 'true' }) : null,
        icon('folder'), name(node.name, { class: 'name' }), ' ', el('span', { class: 'quiet' }, this.options.facts(node))), '--depth', String(level - 1));
      this.items.set(node, { item, above });
      return [item, this.below(node.children, node, level + 1)];
    });
  }

  // The chosen among a node and those below it: "true", "false" or "mixed".
  tickOf(node) {
    const parts = [this.options.isMail(node) ? String(this.options.ticked.has(node)) : null, ...node.children.map((child) => this.tickOf(child))].filter(Boolean);
    return parts.length === 0 ? null : parts.every((part) => part === parts[0]) ? parts[0] : 'mixed';
  }

  draw() {
    if (!this.options.ticked) return;
    for (const [node, { item }] of this.items) item.setAttribute('aria-checked', this.tickOf(node) ?? 'false');
  }

  tick(node, wanted = this.tickOf(node) !== 'true') {
    this.tickBelow(node, wanted);
    this.draw();
    this.options.onTick();
  }

  tickBelow(node, wanted) {
    if (this.options.isMail(node)) this.options.ticked[wanted ? 'add' : 'delete'](node);
    node.children.forEach((child) => this.tickBelow(child, wanted));
  }

  tickAll(wanted) {
    this.nodes.forEach((node) => this.tickBelow(node, wanted));
    this.draw();
    this.options.onTick();
  }

  click(event, node) {
    this.focus(node);
    if (event.target.classList.contains('opener')) this.expand(node, !this.isExpanded(node));
    else this.act(node);
  }

  act(node) {
    if (this.options.ticked) this.tick(node);
    else this.select(node);
  }

  select(node) {
    this.element.querySelector('[aria-selected=true]')?.setAttribute('aria-selected', 'false');
    this.items.get(node).item.setAttribute('aria-selected', 'true');
    this.focusable(node);
    this.options.onSelect(node);
  }

  isExpanded(node) {
    return this.items.get(node).item.getAttribute('aria-expanded') === 'true';
  }

  expand(node, wanted) {
    if (node.children.length === 0) return;
    this.items.get(node).item.setAttribute('aria-expanded', String(wanted));
    const shown = new Set(this.visible());
    for (const [one, { item }] of this.items) item.hidden = !shown.has(one);
  }

  // One item of the tree is in the order of the tab key.
  focusable(node) {
    if (!node) return;
    if (this.current) this.items.get(this.current).item.tabIndex = -1;
    this.current = node;
    this.items.get(node).item.tabIndex = 0;
  }

  focus(node) {
    if (!node) return;
    this.focusable(node);
    this.items.get(node).item.focus();
  }

  visible(nodes = this.nodes) {
    return nodes.flatMap((node) => [node, ...(this.isExpanded(node) ? this.visible(node.children) : [])]);
  }

  key(event) {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const shown = this.visible();
    const at = shown.indexOf(this.current);
    const letter = event.key.length === 1 && event.key !== ' ' ? event.key.toLocaleLowerCase() : null;
    if (event.key === 'ArrowDown') this.focus(shown[at + 1]);
    else if (event.key === 'ArrowUp') this.focus(shown[at - 1]);
    else if (event.key === 'Home') this.focus(shown[0]);
    else if (event.key === 'End') this.focus(shown[shown.length - 1]);
    else if (event.key === 'ArrowRight') this.right();
    else if (event.key === 'ArrowLeft') this.left();
    else if (event.key === ' ' || event.key === 'Enter') this.act(this.current);
    else if (letter) this.focus([...shown.slice(at + 1), ...shown.slice(0, at)].find((node) => node.name.toLocaleLowerCase().startsWith(letter)));
    else return;
    event.preventDefault();
  }

  right() {
    if (this.isExpanded(this.current)) this.focus(this.current.children[0]);
    else this.expand(this.current, true);
  }

  left() {
    if (this.isExpanded(this.current)) this.expand(this.current, false);
    else this.focus(this.items.get(this.current).above);
  }
}
