// Fetches the contents of scanned folders and expands the tree down to a path.
import type { DirsAnswer, FilesAnswer } from '../core/answers';
import { wordOf } from '../core/failure';
import { isRemote } from '../core/job';
import { parentOf, trimEnd } from '../core/paths';
import type { ScanTree } from '../core/tree';
import { api, query } from './api';
import { toastFailure } from '../ui/toast';
import { changed, jobById, treeOf, viewOf } from './state';

// The program lists this many files of a folder at once; the page asks for the next ones when they are needed.
const FIRST_FILES = 1000;
const MORE_FILES = 20_000;
const MOST_FILES = 200_000;

const filesPage = (id: number, path: string, from: number): Promise<FilesAnswer> =>
  api<FilesAnswer>(query('/api/files', { id, p: path, more: 1, ...(from > 0 && { from, most: MORE_FILES }) }));

// Details and lists may want the same folder at the same time.
const firstPages = new Map<string, Promise<FilesAnswer>>();
function firstPage(id: number, path: string): Promise<FilesAnswer> {
  const key = `${id} ${path}`;
  const page = firstPages.get(key) ?? filesPage(id, path, 0).finally(() => firstPages.delete(key));
  firstPages.set(key, page);
  return page;
}

// Several may wait for the same folder.
const loads = new WeakMap<ScanTree, Map<string, Promise<void>>>();

// Loads the subfolders as scanned and, on this machine, the current files.
export async function loadFolder(id: number, path: string, quiet = false): Promise<void> {
  const tree = treeOf(id);
  if (!tree) return;
  const started = loads.get(tree) ?? new Map<string, Promise<void>>();
  loads.set(tree, started);
  if (tree.needsLoading(path)) started.set(path, fetchFolder(tree, id, path, quiet));
  await started.get(path);
}

async function fetchFolder(tree: ScanTree, id: number, path: string, quiet: boolean): Promise<void> {
  tree.startLoading(path);
  if (!quiet) changed('tree');
  const files = isRemote(jobById(id)) || tree.filesOf(path) ? null : firstPage(id, path).catch(() => null);
  try {
    const dirs = await api<DirsAnswer>(query('/api/dirs', { id, p: path, more: 1 }));
    const live = await files;
    if (live && !live.error) tree.setFiles(path, live);
    tree.setFolders(path, dirs);
  } catch (error) {
    tree.setFailed(path, wordOf(error));
  }
  changed('tree');
}

export async function loadFiles(id: number, path: string): Promise<void> {
  const tree = treeOf(id);
  if (!tree || tree.filesOf(path) || isRemote(jobById(id))) return;
  try {
    const files = await firstPage(id, path);
    if (!files.error) tree.setFiles(path, files);
  } catch {
    return;
  }
  changed('tree', 'details');
}

const pending = new Set<string>();

// Loads the next files of a folder, or with `all` everything that the program lists.
export async function loadMoreFiles(id: number, path: string, all = false): Promise<void> {
  const key = `${id} ${path}`;
  if (pending.has(key)) return;
  pending.add(key);
  try {
    for (;;) {
      const known = treeOf(id)?.filesOf(path);
      const from = known?.files.length ?? 0;
      if (!known || from < FIRST_FILES || from >= Math.min(known.total, MOST_FILES)) return;
      const files = await filesPage(id, path, from);
      if (files.error || files.files.length === 0) return;
      treeOf(id)?.setFiles(path, files, from);
      changed('tree');
      if (!all) return;
    }
  } catch (error) {
    toastFailure(error);
  } finally {
    pending.delete(key);
  }
}

const AT_ONCE = 4;
const MOST_OPENED = 3000;

// Opens every folder below a path, as far as there are not too many. Returns whether that was all of them.
export async function expandBelow(id: number, path: string): Promise<boolean> {
  const waiting = [path];
  let opened = 0;
  while (waiting.length > 0 && opened < MOST_OPENED) {
    const now = waiting.splice(0, AT_ONCE);
    await Promise.all(now.map((folder) => loadFolder(id, folder, true)));
    const tree = treeOf(id);
    if (!tree) return true;
    for (const folder of now) {
      viewOf(id).expanded.add(folder);
      ++opened;
      for (const entry of tree.entries(folder)) if (tree.opens(entry)) waiting.push(entry.path);
    }
    changed('tree');
  }
  return waiting.length === 0;
}

// The folders from the root down to a path; only root and path if it lies outside.
export function chainTo(root: string, path: string): string[] {
  const chain: string[] = [];
  for (let at = path; at !== '' && trimEnd(at) !== trimEnd(root); at = parentOf(at)) chain.unshift(at);
  return [root, ...chain];
}

// Loads the folders above a path.
export async function loadAbove(id: number, path: string): Promise<void> {
  const root = treeOf(id)?.root.path;
  if (root !== undefined) await Promise.all(chainTo(root, path).slice(0, -1).map((folder) => loadFolder(id, folder, true)));
}

// Expands every folder above a path, loading what is missing.
export async function expandTo(id: number, path: string): Promise<void> {
  const tree = treeOf(id);
  if (!tree) return;
  for (const folder of chainTo(tree.root.path, path).slice(0, -1)) viewOf(id).expanded.add(folder);
  await loadAbove(id, path);
  changed('tree');
}
