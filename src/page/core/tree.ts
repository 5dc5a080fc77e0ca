// One scan's folders as the page knows them: the pruned tree of the result document, completed by the
// folders and files fetched since. Paths are spelled as the scan spells them and compared to the letter.
import type { DirsAnswer, FileItem, FilesAnswer, ResultDoc, TreeNode } from './answers';
import { joinPath, parentOf, trimEnd } from './paths';

// Files of this size and more stand in the tree themselves.
export const BIG_FILE_BYTES = 50 * 1024 * 1024;
// Rows for the subfolders of one folder; more are counted.
const MOST_FOLDERS = 20_000;

export type EntryKind = 'folder' | 'file' | 'smaller' | 'loose' | 'loading' | 'failed';

export interface Entry {
  kind: EntryKind;
  path: string; // for what is no path itself: the folder's path and a mark no name can hold
  name: string;
  s: number;
  f: number;
  n: number; // "smaller": how many folders
  m: number; // files: when changed
}

interface Fetched {
  dirs?: DirsAnswer;
  files?: FilesAnswer;
  failed?: string;
  loading?: boolean;
}

const entry = (kind: EntryKind, path: string, name: string, s: number, f: number, extra: Partial<Entry> = {}): Entry =>
  ({ kind, path, name, s, f, n: 0, m: 0, ...extra });

export class ScanTree {
  readonly root: Entry;
  private readonly nodes = new Map<string, TreeNode>();
  private readonly bigFiles = new Map<string, FileItem[]>();
  private readonly fetched = new Map<string, Fetched>();
  private readonly made = new Map<string, Entry[]>();

  constructor(doc: ResultDoc) {
    const top = doc.tree ?? { n: doc.meta.path, s: doc.meta.used, f: doc.meta.files };
    this.root = entry('folder', top.n, top.n, top.s, top.f);
    const waiting: [TreeNode, string][] = [[top, top.n]];
    for (let next = waiting.pop(); next; next = waiting.pop()) {
      const [node, path] = next;
      this.nodes.set(path, node);
      for (const child of node.c ?? []) {
        if (!child.rest) waiting.push([child, joinPath(path, child.n)]);
      }
    }
    for (const file of doc.files) {
      if (file.s < BIG_FILE_BYTES) continue;
      const folder = this.folderOf(file.p);
      const list = this.bigFiles.get(folder);
      if (list) list.push(file);
      else this.bigFiles.set(folder, [file]);
    }
  }

  // The folder above a path, spelled as the tree spells it: a scan of "C:" or "D:\x\" keeps its root's
  // own form.
  folderOf(path: string): string {
    const folder = parentOf(path);
    return trimEnd(folder) === trimEnd(this.root.path) ? this.root.path : folder;
  }

  private update(path: string, change: Partial<Fetched>): void {
    this.fetched.set(path, { ...this.fetched.get(path), ...change });
    this.made.delete(path);
  }

  startLoading(path: string): void {
    this.update(path, { loading: true, failed: undefined });
  }

  setFolders(path: string, dirs: DirsAnswer): void {
    this.update(path, dirs.error ? { loading: false, failed: dirs.error } : { loading: false, dirs });
  }

  setFiles(path: string, files: FilesAnswer): void {
    this.update(path, { files });
  }

  setFailed(path: string, word: string): void {
    this.update(path, { loading: false, failed: word });
  }

  // Whether asking the server for this folder's children would add anything.
  needsLoading(path: string): boolean {
    const known = this.fetched.get(path);
    return !known?.dirs && !known?.loading;
  }

  filesOf(path: string): FilesAnswer | undefined {
    return this.fetched.get(path)?.files;
  }

  // What lies in a folder, largest first, as far as it is known.
  entries(path: string): readonly Entry[] {
    let list = this.made.get(path);
    if (!list) {
      list = this.make(path);
      this.made.set(path, list);
    }
    return list;
  }

  // A folder without a name would be its own parent, and is left out.
  private make(path: string): Entry[] {
    const known = this.fetched.get(path);
    const node = this.nodes.get(path);
    const list: Entry[] = [];
    let looseBytes = 0;
    let looseFiles = 0;
    if (known?.dirs) {
      let bytes = 0;
      let files = 0;
      known.dirs.dirs.forEach((dir, index) => {
        bytes += dir.s;
        files += dir.f;
        if (index < MOST_FOLDERS && dir.n !== '') list.push(entry('folder', joinPath(path, dir.n), dir.n, dir.s, dir.f));
      });
      const hidden = known.dirs.dirs.slice(MOST_FOLDERS);
      if (hidden.length > 0) {
        list.push(entry('smaller', `${path}\0smaller`, '', hidden.reduce((sum, dir) => sum + dir.s, 0),
          hidden.reduce((sum, dir) => sum + dir.f, 0), { n: hidden.length }));
      }
      looseBytes = Math.max(0, (known.dirs.s ?? bytes) - bytes);
      looseFiles = Math.max(0, (known.dirs.f ?? files) - files);
    } else {
      for (const child of node?.c ?? []) {
        if (!child.rest && child.n !== '') list.push(entry('folder', joinPath(path, child.n), child.n, child.s, child.f));
        else if (child.rk === 'smaller') list.push(entry('smaller', `${path}\0smaller`, '', child.s, child.f, { n: child.rn ?? 0 }));
        else {
          looseBytes = child.s;
          looseFiles = child.f;
        }
      }
    }
    for (const file of this.bigFilesOf(path)) {
      list.push(file);
      looseBytes -= file.s;
      --looseFiles;
    }
    if (looseBytes > 0) list.push(entry('loose', `${path}\0loose`, '', looseBytes, Math.max(0, looseFiles)));
    list.sort((a, b) => b.s - a.s || (a.name < b.name ? -1 : 1));
    if (known?.failed) list.push(entry('failed', `${path}\0failed`, known.failed, 0, 0));
    else if (known?.loading && list.length === 0) list.push(entry('loading', `${path}\0loading`, '', 0, 0));
    return list;
  }

  // The big files directly in a folder: those of the disk now where they were fetched, else those the
  // scan kept.
  private bigFilesOf(path: string): Entry[] {
    const live = this.fetched.get(path)?.files;
    if (live) {
      return live.files.filter((file) => file.s >= BIG_FILE_BYTES)
        .map((file) => entry('file', joinPath(path, file.n), file.n, file.s, 1, { m: file.m }));
    }
    return (this.bigFiles.get(path) ?? []).map((file) =>
      entry('file', file.p, file.p.slice(joinPath(path, '').length), file.s, 1, { m: file.m }));
  }

  // A folder may be opened when it holds anything.
  opens(item: Entry): boolean {
    return item.kind === 'folder' && (item.f > 0 || item.s > 0 || (this.nodes.get(item.path)?.c?.length ?? 0) > 0);
  }

  // The entry with this path, if the page has met it.
  find(path: string): Entry | undefined {
    if (path === this.root.path) return this.root;
    return this.entries(this.folderOf(path)).find((item) => item.path === path);
  }
}

export interface TreeRow {
  entry: Entry;
  depth: number;
  parent: number; // index of the row above it in the tree, -1 for the root
  place: number; // 1-based among its siblings
  siblings: number;
  open: boolean;
  opens: boolean;
}

// The rows of a tree with these folders open, top to bottom.
export function treeRows(tree: ScanTree, expanded: ReadonlySet<string>): TreeRow[] {
  const rows: TreeRow[] = [];
  const add = (item: Entry, depth: number, parent: number, place: number, siblings: number): void => {
    const opens = tree.opens(item);
    const open = opens && expanded.has(item.path);
    const index = rows.length;
    rows.push({ entry: item, depth, parent, place, siblings, open, opens });
    if (!open) return;
    const children = tree.entries(item.path);
    children.forEach((child, at) => add(child, depth + 1, index, at + 1, children.length));
  };
  add(tree.root, 0, -1, 1, 1);
  return rows;
}

// The row whose name begins with what was typed, searching on from a row and round the end; -1 if none.
export function findTyped(rows: readonly TreeRow[], from: number, typed: string): number {
  const wanted = typed.toLowerCase();
  for (let step = 0; step < rows.length; ++step) {
    const index = (from + step) % rows.length;
    if (rows[index]!.entry.name.toLowerCase().startsWith(wanted)) return index;
  }
  return -1;
}
