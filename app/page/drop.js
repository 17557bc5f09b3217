// Files and folders dragged onto the page. Browsers keep to themselves where a dropped file is; from a
// file manager some hand over its address as text, others no more than its name.
import { texts } from './texts.js';

// Calls one of paths(list), names(list), nothing(). Returns what ends it.
export function dropped(element, { paths, names, nothing }) {
  const over = (event) => {
    event.preventDefault();
    element.classList.add('dropping');
    element.dataset.drop = texts.found.dropHere;
  };
  const out = (event) => {
    if (event.relatedTarget === null) element.classList.remove('dropping');
  };
  const drop = (event) => {
    event.preventDefault();
    element.classList.remove('dropping');
    const found = pathsOf(event.dataTransfer);
    if (found.length > 0) paths(found);
    else if (event.dataTransfer.files.length > 0) names([...event.dataTransfer.files].map((file) => file.name));
    else nothing();
  };
  const listeners = { dragenter: over, dragover: over, dragleave: out, drop };
  for (const [name, listener] of Object.entries(listeners)) window.addEventListener(name, listener);
  return () => {
    for (const [name, listener] of Object.entries(listeners)) window.removeEventListener(name, listener);
  };
}

function pathsOf(data) {
  const lines = `${data.getData('text/uri-list')}\n${data.getData('text/plain')}`.split(/[\r\n]+/).map((line) => line.trim());
  return [...new Set(lines.map(pathOf).filter(Boolean))];
}

// file:///home/ann/Mail, file:///C:/Mail, or a path that was dragged as text.
export function pathOf(line) {
  if (/^(\/|[A-Za-z]:[\\/]|\\\\)/.test(line)) return line;
  if (!/^file:/i.test(line)) return null;
  try {
    const address = new URL(line);
    const path = decodeURIComponent(address.pathname);
    if (/^\/[A-Za-z]:/.test(path)) return path.slice(1).replaceAll('/', '\\');
    return address.host && address.host !== 'localhost' ? `\\\\${address.host}${path.replaceAll('/', '\\')}` : path;
  } catch {
    return null;
  }
}
