// Folders as a tree, from the list of paths that a report has.

// {name, path, folder: its entry or null where it only holds others, children}
export function treeOf(folders) {
  const root = { name: '', path: [], folder: null, children: [], byName: new Map() };
  for (const folder of folders) {
    let node = root;
    for (const part of folder.path) {
      if (!node.byName.has(part)) {
        const child = { name: part, path: [...node.path, part], folder: null, children: [], byName: new Map() };
        node.byName.set(part, child);
        node.children.push(child);
      }
      node = node.byName.get(part);
    }
    // Several sources may fill one folder: what they brought adds up.
    node.folder = node.folder ? added(node.folder, folder) : folder;
  }
  return root.children;
}

function added(one, other) {
  const sum = { ...one, source: one.source === other.source ? one.source : `${one.source}, ${other.source}` };
  for (const field of ['read', 'written', 'failed', 'bytes', 'notChosen', 'alreadyThere', 'copiesLeftOut', 'undated']) {
    if (field in one || field in other) sum[field] = (one[field] ?? 0) + (other[field] ?? 0);
  }
  sum.years = { ...one.years };
  for (const [year, count] of Object.entries(other.years ?? {})) sum.years[year] = (sum.years[year] ?? 0) + count;
  return sum;
}

// Every node with its depth, those above before those below.
export function* walk(nodes, depth = 0) {
  for (const node of nodes) {
    yield { node, depth };
    yield* walk(node.children, depth + 1);
  }
}
