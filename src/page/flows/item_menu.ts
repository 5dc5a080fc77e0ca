// The menu of a folder or a file: what Windows can do with it, where else to look at it, and deleting it.
import type { Job } from '../core/answers';
import { t } from '../core/i18n';
import { isRemote } from '../core/job';
import { topmost } from '../core/paths';
import { isFile, isFolder, isItem, type Entry } from '../core/entry';
import { KIND } from '../core/words';
import { startScan } from '../data/jobs';
import { goTo, state, treeOf, viewOf } from '../data/state';
import { openMenu, type MenuItem, type MenuPlace } from '../ui/menu';
import { reported } from '../ui/toast';
import { openDeletion } from './deletion';
import { copyPaths, copyTable, mayOpen, openWith } from './item_actions';
import { deleteMarks, toggleMark } from './marks';
import { openInExplorer, openInMap, reveal } from './places';

export interface MenuExtras {
  open?: MenuItem; // opens the item where it is listed
  below?: MenuItem; // opens everything in it
}

function scanFolder(path: string): Promise<void> {
  goTo('picker');
  return reported(startScan(path, KIND.folder, path));
}

// The marked items, if this is one of them: then the commands are about all of them.
function meant(entry: Entry): Entry[] {
  const { selection, weights } = viewOf(state.view);
  if (!selection.has(entry.path) || selection.keys.size < 2) return [entry];
  const tree = treeOf(state.view);
  return topmost(selection.keys).map((path) => tree?.find(path) ??
    { kind: 'file', path, name: path.slice(Math.max(path.lastIndexOf('\\'), path.lastIndexOf('/')) + 1), s: weights.get(path) ?? 0, f: 1, n: 0, m: 0 });
}

export function openItemMenu(job: Job, entry: Entry, place: MenuPlace, extras: MenuExtras = {}): void {
  if (!isItem(entry)) return;
  const { path } = entry;
  const local = !isRemote(job);
  const isRoot = path === treeOf(job.id)?.root.path;
  const items = meant(entry);
  const marked = state.selection.has(path);
  const fallback = (): HTMLElement => place.from;
  const remove = (permanent: boolean): void => (marked ? deleteMarks(fallback, permanent) : openDeletion([path], { fallback, permanent }));
  const windows: MenuItem[] = !local ? [] : [
    ...(mayOpen() ? [{ label: t('miOpen'), icon: isFile(entry) ? 'file' : 'folder', act: () => void openWith('open', path) }] : []),
    { label: t('reveal'), icon: 'reveal', act: () => void reveal(path) },
    ...(mayOpen() ? [
      { label: t('miTerminal'), icon: 'ssh', act: () => void openWith('terminal', path) },
      { label: t('miProperties'), icon: 'info', act: () => void openWith('properties', path) },
    ] : []),
  ];
  const elsewhere: MenuItem[] = [
    ...(state.section === 'map' ? [] : [{ label: t('dtOpenMap'), icon: 'map', keys: 'Ctrl+M', act: () => openInMap(path) }]),
    ...(state.section === 'explorer' ? [] : [{ label: t('dtOpenExplorer'), icon: 'explorer', act: () => openInExplorer(path) }]),
  ];
  openMenu([
    [extras.open, extras.below].filter((item) => item !== undefined),
    windows, elsewhere,
    [
      { label: t('copyPath'), icon: 'copy', keys: 'Ctrl+C', act: () => copyPaths(items.map((item) => item.path)) },
      { label: t('miCopyTable'), icon: 'types', act: () => copyTable(items.length === 1 && isFolder(entry) ? [entry, ...(treeOf(job.id)?.entries(path) ?? []).filter(isItem)] : items) },
      ...(local && !isRoot ? [{ label: marked ? t('dtUnmark') : t('dtMark'), icon: 'check', act: () => toggleMark(path, entry.s) }] : []),
    ],
    local && isFolder(entry) ? [{ label: t('miScan'), icon: 'refresh', act: () => void scanFolder(path) }] : [],
    !local || isRoot ? [] : [
      { label: `${t('delete')}…`, icon: 'bin', keys: t('keyDelete'), danger: true, act: () => remove(false) },
      { label: `${t('delForGood')}…`, icon: 'bin', keys: `${t('keyShift')}+${t('keyDelete')}`, danger: true, act: () => remove(true) },
    ],
  ], t('menuOf', { name: entry.name.slice(0, 100) }), place);
}
