// Opens a path in another section, or in the file manager.
import { t } from '../core/i18n';
import { isFolder } from '../core/entry';
import { api, query } from '../data/api';
import { expandTo } from '../data/folders';
import { changed, goTo, state, treeOf, viewOf } from '../data/state';
import { reported, toast } from '../ui/toast';

// Shows a path in the tree; openPath expands it as well.
export function openPath(path: string): void {
  viewOf(state.view).expanded.add(path);
  openInExplorer(path);
}

export function openInExplorer(path: string): void {
  state.openFolder = path;
  void expandTo(state.view, path);
  changed('details');
  goTo('explorer');
}

// Shows a folder in the map, or the folder of a file.
export function openInMap(path: string): void {
  const tree = treeOf(state.view);
  const entry = tree?.find(path);
  state.openFolder = !entry || isFolder(entry) ? path : tree?.folderOf(path) ?? path;
  changed('details');
  goTo('map');
}

export const reveal = (path: string): Promise<void> =>
  reported(api(query('/api/reveal', { p: path })).then(() => toast(t('revealed'))));
