// Fetches the contents of scanned folders and expands the tree down to a path.
import type { DirsAnswer, FilesAnswer } from '../core/answers';
import { wordOf } from '../core/failure';
import { isRemote } from '../core/job';
import { parentOf, trimEnd } from '../core/paths';
import { api, query } from './api';
import { changed, jobById, treeOf, viewOf } from './state';

// Loads the subfolders as scanned and, on this machine, the current files.
export async function loadFolder(id: number, path: string): Promise<void> {
  const tree = treeOf(id);
  if (!tree?.needsLoading(path)) return;
  tree.startLoading(path);
  changed('tree');
  const files = isRemote(jobById(id)) ? null : api<FilesAnswer>(query('/api/files', { p: path })).catch(() => null);
  try {
    const dirs = await api<DirsAnswer>(query('/api/dirs', { id, p: path }));
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
    tree.setFiles(path, await api<FilesAnswer>(query('/api/files', { p: path })));
  } catch {
    return;
  }
  changed('tree', 'details');
}

// The folders from the root down to a path; only root and path if it lies outside.
export function chainTo(root: string, path: string): string[] {
  const chain: string[] = [];
  for (let at = path; at !== '' && trimEnd(at) !== trimEnd(root); at = parentOf(at)) chain.unshift(at);
  return [root, ...chain];
}

// Expands every folder above a path, loading what is missing.
export async function expandTo(id: number, path: string): Promise<void> {
  const tree = treeOf(id);
  if (!tree) return;
  for (const folder of chainTo(tree.root.path, path).slice(0, -1)) {
    viewOf(id).expanded.add(folder);
    if (tree.needsLoading(folder)) await loadFolder(id, folder);
  }
  changed('tree');
}
