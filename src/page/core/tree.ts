// One scan's folders as far as the page knows them: the pruned tree of the result document plus the
// folders and files fetched since. Paths are spelled as in the scan and compared exactly.
import type { DirsAnswer, FileItem, FilesAnswer, ResultDoc, TreeNode } from './answers';
import { joinPath, parentOf, trimEnd } from './paths';
import { REST, type RestKind } from './words';

// Files of at least this size are listed in the tree.
export const BIG_FILE_BYTES = 50 * 1024 * 1024;
// Subfolders listed per folder; the rest is shown as one entry.
const MOST_FOLDERS = 20_000;

// Folders and files, then what stands for several of them or for children not there yet.
export type EntryKind = 'folder' | 'file' | RestKind | 'loading' | 'failed';

export interface Entry {
  kind: EntryKind;
  path: string; // entries that are neither folder nor file: the folder's path, NUL, and the kind
  name: string;
  s: number;
  f: number;
  n: number; // kind "smaller": number of folders
  m: number; // files: time of last change
}

interface Fetched {
  dirs?: DirsAnswer;
  files?: FilesAnswer;
  failed?: string;
  loading?: boolean;
}

export const isFolder = (item: Entry): boolean => item.kind === 'folder';
export const isFile = (item: Entry): boolean => item.kind === 'file';
// Whether the entry has a path of its own.
export const isItem = (item: Entry): boolean => isFolder(item) || isFile(item);
export const isLoading = (item: Entry): boolean => item.kind === 'loading';
export const isFailed = (item: Entry): boolean => item.kind === 'failed';
// Whether the entry stands for the rest of its folder.
export const isRest = (item: Entry): boolean => item.kind === REST.smaller || item.kind === REST.loose;

const entry = (kind: EntryKind, path: string, name: string, s: number, f: number, extra: Partial<Entry> = {}): Entry =>
  ({ kind, path, name, s, f, n: 0, m: 0, ...extra });

// The subfolders of a folder, and the sums of the files directly in it.
interface Contents {
  list: Entry[];
  looseBytes: number;
  looseFiles: number;
}

// A folder without a name would be its own parent, and is left out here and below.
function fromServer(path: string, { dirs, s, f }: DirsAnswer): Contents {
  const sum = (part: DirsAnswer['dirs'], of: 's' | 'f'): number => part.reduce((total, dir) => total + dir[of], 0);
  const list = dirs.slice(0, MOST_FOLDERS).filter((dir) => dir.n !== '').map((dir) => entry('folder', joinPath(path, dir.n), dir.n, dir.s, dir.f));
  const hidden = dirs.slice(MOST_FOLDERS);
  if (hidden.length > 0) list.push(entry(REST.smaller, `${path}\0smaller`, '', sum(hidden, 's'), sum(hidden, 'f'), { n: hidden.length }));
  const [bytes, files] = [sum(dirs, 's'), sum(dirs, 'f')];
  return { list, looseBytes: Math.max(0, (s ?? bytes) - bytes), looseFiles: Math.max(0, (f ?? files) - files) };
}

function fromScan(path: string, node: TreeNode | undefined): Contents {
  const contents: Contents = { list: [], looseBytes: 0, looseFiles: 0 };
  for (const child of node?.c ?? []) {
    if (!child.rest && child.n !== '') contents.list.push(entry('folder', joinPath(path, child.n), child.n, child.s, child.f));
    else if (child.rk === REST.smaller) contents.list.push(entry(REST.smaller, `${path}\0smaller`, '', child.s, child.f, { n: child.rn ?? 0 }));
    else {
      contents.looseBytes = child.s;
      contents.looseFiles = child.f;
    }
  }
  return contents;
}

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

  // The folder above a path, spelled as in the tree: a scan of "C:" or "D:\x\" keeps that spelling of
  // its root.
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

  // Whether this folder's children should be requested from the server.
  needsLoading(path: string): boolean {
    const known = this.fetched.get(path);
    return !known?.dirs && !known?.loading;
  }

  filesOf(path: string): FilesAnswer | undefined {
    return this.fetched.get(path)?.files;
  }

  // The known contents of a folder, largest first.
  entries(path: string): readonly Entry[] {
    let list = this.made.get(path);
    if (!list) {
      list = this.make(path);
      this.made.set(path, list);
    }
    return list;
  }

  private make(path: string): Entry[] {
    const known = this.fetched.get(path);
    const { list, looseBytes, looseFiles } = known?.dirs ? fromServer(path, known.dirs) : fromScan(path, this.nodes.get(path));
    const files = this.bigFilesOf(path);
    list.push(...files);
    // Big files are listed themselves, so they are not part of the loose ones.
    const bytes = files.reduce((rest, file) => rest - file.s, looseBytes);
    if (bytes > 0) list.push(entry(REST.loose, `${path}\0loose`, '', bytes, Math.max(0, looseFiles - files.length)));
    list.sort((a, b) => b.s - a.s || (a.name < b.name ? -1 : 1));
    if (known?.failed) list.push(entry('failed', `${path}\0failed`, known.failed, 0, 0));
    else if (known?.loading && list.length === 0) list.push(entry('loading', `${path}\0loading`, '', 0, 0));
    return list;
  }

  // The big files directly in a folder: the current ones if they were fetched, else those of the scan.
  private bigFilesOf(path: string): Entry[] {
    const live = this.fetched.get(path)?.files;
    if (live) {
      return live.files.filter((file) => file.s >= BIG_FILE_BYTES)
        .map((file) => entry('file', joinPath(path, file.n), file.n, file.s, 1, { m: file.m }));
    }
    return (this.bigFiles.get(path) ?? []).map((file) =>
      entry('file', file.p, file.p.slice(joinPath(path, '').length), file.s, 1, { m: file.m }));
  }

  // Whether a folder can be opened, that is, has any contents.
  opens(item: Entry): boolean {
    return isFolder(item) && (item.f > 0 || item.s > 0 || (this.nodes.get(item.path)?.c?.length ?? 0) > 0);
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

// Index of the next row whose name starts with the typed text, wrapping around; -1 if none.
export function findTyped(rows: readonly TreeRow[], from: number, typed: string): number {
  const wanted = typed.toLowerCase();
  for (let step = 0; step < rows.length; ++step) {
    const index = (from + step) % rows.length;
    if (rows[index]!.entry.name.toLowerCase().startsWith(wanted)) return index;
  }
  return -1;
}
