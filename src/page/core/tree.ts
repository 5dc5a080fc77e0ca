// One scan's folders as far as the page knows them: the pruned tree of the result document plus the
// folders and files fetched since. Paths are spelled as in the scan and compared exactly.
import type { DirsAnswer, FileItem, FilesAnswer, ResultDoc, TreeNode } from './answers';
import { isFolder, type Entry, type EntryKind } from './entry';
import { figuresOf, valueOf, type Measure, type Sized } from './measure';
import { joinPath, parentOf, trimEnd } from './paths';
import { SIZE_ORDER, sortEntries, type Order } from './tree_order';
import { sumOf } from './units';
import { REST } from './words';

// Subfolders listed per folder; the rest is shown as one entry.
const MOST_FOLDERS = 100_000;

interface Fetched {
  dirs?: DirsAnswer;
  files?: FilesAnswer;
  failed?: string;
  loading?: boolean;
}

const entry = (kind: EntryKind, path: string, name: string, sizes: Sized, f: number, extra: Partial<Entry> = {}): Entry =>
  ({ kind, path, name, s: sizes.s, f, n: 0, m: 0, ...figuresOf(sizes), ...extra });

const restEntry = (kind: EntryKind, path: string, sizes: Sized, f: number, n = 0): Entry => entry(kind, `${path}\0${kind}`, '', sizes, f, { n });

const fileEntry = (path: string, name: string, file: Sized & { m: number }): Entry => entry('file', path, name, file, 1, { m: file.m });

const valuesIn = (parts: readonly Sized[], measure: Measure): number => sumOf(parts, (part) => valueOf(part, measure));

// What a whole has besides its parts. A figure that the whole does not have is left out.
function without(whole: Sized, parts: readonly Sized[]): Sized {
  const left = (measure: Measure): number => Math.max(0, (whole[measure] ?? 0) - valuesIn(parts, measure));
  return { s: left('s'), ...(whole.a !== undefined && { a: left('a') }), ...(whole.x !== undefined && { x: left('x') }) };
}

// The subfolders of a folder, and the sums of the files directly in it; null if those are not known.
interface Contents {
  list: Entry[];
  loose: Sized | null;
  looseFiles: number;
}

// A folder without a name would be its own parent, and is left out here and below.
function fromServer(path: string, answer: DirsAnswer): Contents {
  const { dirs, s, f } = answer;
  const list = dirs.slice(0, MOST_FOLDERS).filter((dir) => dir.n !== '')
    .map((dir) => entry('folder', joinPath(path, dir.n), dir.n, dir, dir.f, { m: dir.m ?? 0 }));
  const hidden = dirs.slice(MOST_FOLDERS);
  const filesIn = (part: DirsAnswer['dirs']): number => sumOf(part, (dir) => dir.f);
  if (hidden.length > 0) list.push(restEntry(REST.smaller, path, { s: valuesIn(hidden, 's') }, filesIn(hidden), hidden.length));
  return { list, loose: without({ ...answer, s: s ?? valuesIn(dirs, 's') }, dirs), looseFiles: Math.max(0, (f ?? 0) - filesIn(dirs)) };
}

function fromScan(path: string, node: TreeNode | undefined): Contents {
  const contents: Contents = { list: [], loose: node?.c ? { s: 0 } : null, looseFiles: 0 };
  for (const child of node?.c ?? []) {
    if (!child.rest && child.n !== '') contents.list.push(entry('folder', joinPath(path, child.n), child.n, child, child.f));
    else if (child.rk === REST.smaller) contents.list.push(restEntry(REST.smaller, path, child, child.f, child.rn ?? 0));
    else {
      contents.loose = child;
      contents.looseFiles = child.f;
    }
  }
  return contents;
}

export class ScanTree {
  readonly root: Entry;
  readonly #nodes = new Map<string, TreeNode>();
  readonly #keptFiles = new Map<string, FileItem[]>();
  readonly #fetched = new Map<string, Fetched>();
  readonly #made = new Map<string, Entry[]>();
  readonly #arranged = new Map<string, Entry[]>();
  #order = SIZE_ORDER;

  constructor(doc: ResultDoc) {
    const top = doc.tree ?? { n: doc.meta.path, s: doc.meta.used, f: doc.meta.files };
    this.root = entry('folder', top.n, top.n, top, top.f);
    const waiting: [TreeNode, string][] = [[top, top.n]];
    for (let next = waiting.pop(); next; next = waiting.pop()) {
      const [node, path] = next;
      this.#nodes.set(path, node);
      for (const child of node.c ?? []) {
        if (!child.rest) waiting.push([child, joinPath(path, child.n)]);
      }
    }
    for (const file of doc.files) {
      const folder = this.folderOf(file.p);
      const list = this.#keptFiles.get(folder);
      if (list) list.push(file);
      else this.#keptFiles.set(folder, [file]);
    }
  }

  // The folder above a path, spelled as in the tree: a scan of "C:" or "D:\x\" keeps that spelling of
  // its root.
  folderOf(path: string): string {
    const folder = parentOf(path);
    return trimEnd(folder) === trimEnd(this.root.path) ? this.root.path : folder;
  }

  #update(path: string, change: Partial<Fetched>): void {
    this.#fetched.set(path, { ...this.#fetched.get(path), ...change });
    this.#made.delete(path);
    this.#arranged.delete(path);
  }

  startLoading(path: string): void {
    this.#update(path, { loading: true, failed: undefined });
  }

  setFolders(path: string, dirs: DirsAnswer): void {
    this.#update(path, dirs.error ? { loading: false, failed: dirs.error } : { loading: false, dirs });
  }

  // A page of a folder's files, which continues what is known of them or replaces it.
  setFiles(path: string, files: FilesAnswer, from = 0): void {
    const known = this.#fetched.get(path)?.files;
    if (from > 0 && known?.files.length !== from) return;
    this.#update(path, { files: from > 0 && known ? { ...files, files: [...known.files, ...files.files] } : files });
  }

  setFailed(path: string, word: string): void {
    this.#update(path, { loading: false, failed: word });
  }

  // Whether this folder's children should be requested from the server.
  needsLoading(path: string): boolean {
    const known = this.#fetched.get(path);
    return !known?.dirs && !known?.loading;
  }

  filesOf(path: string): FilesAnswer | undefined {
    return this.#fetched.get(path)?.files;
  }

  // The known contents of a folder, largest first.
  entries(path: string): readonly Entry[] {
    let list = this.#made.get(path);
    if (!list) {
      list = this.#make(path);
      this.#made.set(path, list);
    }
    return list;
  }

  // The same in an order of the user's choice.
  arrangedEntries(path: string, order: Order): readonly Entry[] {
    if (order !== this.#order) {
      this.#order = order;
      this.#arranged.clear();
    }
    let list = this.#arranged.get(path);
    if (!list) {
      list = sortEntries([...this.entries(path)], order);
      this.#arranged.set(path, list);
    }
    return list;
  }

  #make(path: string): Entry[] {
    const known = this.#fetched.get(path);
    const { list, loose, looseFiles } = known?.dirs ? fromServer(path, known.dirs) : fromScan(path, this.#nodes.get(path));
    const files = this.#filesIn(path);
    for (const file of files) list.push(file);
    const rest = loose && this.#restOf(path, without(loose, files), Math.max(0, looseFiles - files.length));
    if (rest) list.push(rest);
    sortEntries(list, SIZE_ORDER);
    if (known?.failed) list.push(restEntry('failed', path, { s: 0 }, 0));
    else if (known?.loading && list.length === 0) list.push(restEntry('loading', path, { s: 0 }, 0));
    return list.map((item) => (item.kind === 'failed' ? { ...item, name: known?.failed ?? '' } : item));
  }

  // What stands for the files of a folder that are not listed by name.
  #restOf(path: string, sizes: Sized, number: number): Entry | null {
    const live = this.#fetched.get(path)?.files;
    const unlisted = live ? live.total - live.files.length : 0;
    if (unlisted > 0) return restEntry('more', path, sizes, unlisted, unlisted);
    if (sizes.s === 0 && !sizes.a && !sizes.x) return null;
    return live ? restEntry('gone', path, sizes, number) : restEntry(REST.loose, path, sizes, number);
  }

  // The files directly in a folder: the current ones if they were fetched, else those that the scan kept.
  #filesIn(path: string): Entry[] {
    const live = this.#fetched.get(path)?.files;
    if (live) return live.files.map((file) => fileEntry(joinPath(path, file.n), file.n, file));
    return (this.#keptFiles.get(path) ?? []).map((file) => fileEntry(file.p, file.p.slice(joinPath(path, '').length), file));
  }

  // Whether a folder can be opened, that is, has any contents.
  opens(item: Entry): boolean {
    return isFolder(item) && (item.f > 0 || item.s > 0 || (this.#nodes.get(item.path)?.c?.length ?? 0) > 0);
  }

  // The entry with this path, if it is known.
  find(path: string): Entry | undefined {
    if (path === this.root.path) return this.root;
    return this.entries(this.folderOf(path)).find((item) => item.path === path);
  }
}

export interface TreeRow {
  entry: Entry;
  depth: number;
  parent: number; // index of the parent's row, -1 for the root
  place: number; // 1-based among its siblings
  siblings: number;
  open: boolean;
  opens: boolean;
}

// The rows of a tree with these folders expanded, top to bottom.
export function treeRows(tree: ScanTree, expanded: ReadonlySet<string>, order: Order = SIZE_ORDER): TreeRow[] {
  const rows: TreeRow[] = [];
  const add = (item: Entry, depth: number, parent: number, place: number, siblings: number): void => {
    const opens = tree.opens(item);
    const open = opens && expanded.has(item.path);
    const index = rows.length;
    rows.push({ entry: item, depth, parent, place, siblings, open, opens });
    if (!open) return;
    const children = tree.arrangedEntries(item.path, order);
    children.forEach((child, at) => add(child, depth + 1, index, at + 1, children.length));
  };
  add(tree.root, 0, -1, 1, 1);
  return rows;
}

// Index of the next row whose name starts with the typed text, wrapping around; -1 if none.
export function findTyped(rows: readonly TreeRow[], from: number, typed: string): number {
  const wanted = typed.toLowerCase();
  for (let step = 0; step < rows.length; ++step) {
    const index = (from + step) % rows.length;
    if (rows[index]!.entry.name.toLowerCase().startsWith(wanted)) return index;
  }
  return -1;
}
