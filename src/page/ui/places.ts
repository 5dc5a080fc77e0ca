// Ways from one section to a place in another, and out to Windows.
import { t } from '../core/i18n';
import { api, query } from './api';
import { expandTo } from './folders';
import { goTo } from './screen';
import { changed, state, treeOf } from './state';
import { toast, toastFailure } from './toast';

export function openPath(path: string): void {
  state.openFolder = path;
  state.expanded.add(path);
  void expandTo(state.view, path);
  changed('details');
  goTo('explorer');
}

export function openInExplorer(path: string): void {
  state.openFolder = path;
  void expandTo(state.view, path);
  changed('details');
  goTo('explorer');
}

// A folder opens itself in the map; a file, its folder.
export function openInMap(path: string): void {
  const tree = treeOf(state.view);
  const entry = tree?.find(path);
  state.openFolder = !entry || entry.kind === 'folder' ? path : tree?.folderOf(path) ?? path;
  changed('details');
  goTo('map');
}

export async function reveal(path: string): Promise<void> {
  try {
    await api(query('/api/reveal', { p: path }));
    toast(t('revealed'));
  } catch (error) {
    toastFailure(error);
  }
}
