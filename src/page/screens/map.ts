// A folder as a picture of sizes, and beside it the same folder as a table.
import type { Job } from '../core/answers';
import { percent, size, t } from '../core/i18n';
import { baseName, shown } from '../core/paths';
import type { Entry } from '../core/tree';
import { shareOf } from '../core/units';
import { detailsButton, showDetails } from '../ui/details';
import { el, fill, icon, iconButton, inert, setIcon, setText } from '../ui/dom';
import { chainTo, loadFolder } from '../ui/folders';
import { MapCanvas } from '../ui/map_canvas';
import { scanMarksBar, toggleMark } from '../ui/marks';
import { resultScreen, type ResultScreen, type Screen } from '../ui/screen';
import { changed, isRemote, state, treeOf } from '../ui/state';
import { markColumn, Table } from '../ui/table';
import { entryName } from './explorer';

interface Place {
  map: string;
}

function make(job: Job): ResultScreen {
  const tree = () => treeOf(job.id)!;
  const remote = isRemote(job);
  let folder: Entry = tree().root;

  const resolve = (path: string): Entry => {
    for (let at = path.split('\0')[0]!; at !== '' && at !== tree().root.path; at = tree().folderOf(at)) {
      const entry = tree().find(at);
      if (entry?.kind === 'folder' && tree().opens(entry)) return entry;
    }
    return tree().root;
  };
  const markable = (entry: Entry): boolean => !remote && (entry.kind === 'folder' || entry.kind === 'file');
  const mark = (entry: Entry): void => {
    if (markable(entry)) toggleMark(entry.path, entry.s);
  };

  const crumbs = el('nav', { class: 'crumbs', 'aria-label': t('mapCrumbs') });
  const under = el('p', { class: 'small muted hovered' });
  const empty = el('p', { class: 'muted', hidden: true }, t('mapEmpty'));
  const bar = scanMarksBar(() => table.root);
  const canvas = new MapCanvas({
    childrenOf: (entry) => tree().entries(entry.path),
    nameOf: entryName,
    onChoose: (entry) => {
      const index = rows().findIndex((row) => row.path === entry.path);
      if (index >= 0) table.moveTo(index, true);
      showDetails(entry.kind === 'folder' || entry.kind === 'file' ? entry : null);
    },
    onEnter: (entry) => enter(entry),
    onLeave: () => up(),
    onHover: (entry) => setText(under, entry ? `${shown((entry.kind === 'folder' || entry.kind === 'file' ? entry.path : entryName(entry)).slice(0, 400))}  ${size(entry.s)}` : t('mapHelp')),
    onMark: mark,
  });
  const rows = (): readonly Entry[] => tree().entries(folder.path);
  const table = new Table<Entry>({
    label: '', role: 'grid', selection: state.selection, keyOf: (row) => row.path, markable,
    columns: [
      markColumn((row) => (markable(row) ? 'open' : 'none')),
      {
        title: 'colName', width: 'minmax(7rem, 3fr)', make: () => el('div', { class: 'name-cell' }, icon('folder'), el('bdi', { class: 'cell-name' })),
        fill: (cell, row) => {
          setIcon(cell.firstElementChild as SVGSVGElement, row.kind === 'folder' || row.kind === 'file' ? row.kind : 'rest');
          setText(cell.lastElementChild!, entryName(row));
        },
      },
      { title: 'colSize', width: '5rem', number: true, fill: (cell, row) => setText(cell, size(row.s)) },
      { title: 'colShare', width: '4rem', number: true, extra: true, fill: (cell, row) => setText(cell, percent(shareOf(row.s, folder.s))) },
    ],
    onMarked: () => {
      for (const row of rows()) if (state.selection.has(row.path)) state.weights.set(row.path, row.s);
      changed('selection');
    },
    onActive: (row) => {
      canvas.choose(row.path);
      showDetails(row.kind === 'folder' || row.kind === 'file' ? row : null);
    },
    onEnter: (row) => enter(row),
    onKey: (event) => {
      if (event.key !== 'Backspace') return false;
      up();
      return true;
    },
  });

  const show = (fresh: boolean): void => {
    const name = shown(folder.path);
    table.root.setAttribute('aria-label', t('mapTable', { path: name }));
    table.setRows(rows());
    canvas.show(folder, t('mapOf', { path: name }));
    empty.hidden = rows().length > 0;
    fill(crumbs, el('ol', {}, chainTo(tree().root.path, folder.path).map((path, index, all) => {
      const label = inert(index === 0 ? path : baseName(path));
      return el('li', {}, index === all.length - 1 ? el('span', { 'aria-current': 'location' }, label)
        : el('a', { href: '#map', on: { click: (event) => {
          event.preventDefault();
          const entry = tree().find(path);
          if (entry) enter(entry);
        } } }, label));
    })));
    if (fresh) showDetails(folder);
  };
  const goInto = (entry: Entry): void => {
    folder = entry;
    state.openFolder = entry.path;
    table.active = 0;
    table.root.scrollTop = 0;
    void loadFolder(job.id, entry.path);
    show(true);
  };
  // Each folder entered is a step that the browser's Back takes back.
  const enter = (entry: Entry): void => {
    if (entry.kind !== 'folder' || !tree().opens(entry) || entry.path === folder.path) return;
    history.pushState({ map: entry.path } satisfies Place, '', '#map');
    goInto(entry);
  };
  const up = (): void => {
    if (folder.path === tree().root.path) return;
    const left = folder.path;
    const parent = resolve(tree().folderOf(left));
    history.pushState({ map: parent.path } satisfies Place, '', '#map');
    goInto(parent);
    const index = rows().findIndex((row) => row.path === left);
    if (index >= 0) table.moveTo(index, true);
    canvas.choose(left);
  };
  const onBack = (event: PopStateEvent): void => {
    const place = event.state as Partial<Place> | null;
    if (typeof place?.map === 'string') goInto(resolve(place.map));
  };
  addEventListener('popstate', onBack);

  // After Back into this section, its step tells which folder it was.
  const step = (history.state as Partial<Place> | null)?.map;
  folder = resolve(typeof step === 'string' ? step : state.openFolder);
  history.replaceState({ map: folder.path } satisfies Place, '', '#map');
  void loadFolder(job.id, folder.path);
  show(true);
  setText(under, t('mapHelp'));

  return {
    top: [iconButton('up', t('mapUp'), up), crumbs, detailsButton()],
    content: [bar.root, empty, el('div', { class: 'map-area' }, canvas.root, table.root), under],
    keeps: true,
    leave: () => {
      removeEventListener('popstate', onBack);
      canvas.leave();
      table.leave();
    },
    update: (changes) => {
      if (changes.has('results')) {
        folder = resolve(folder.path);
        void loadFolder(job.id, folder.path);
      }
      if (changes.has('results') || changes.has('tree')) show(false);
      if (changes.has('selection')) {
        bar.update();
        table.refresh();
      }
    },
  };
}

export const map = (): Screen => resultScreen('mapTitle', make, { fills: true, detailed: true });
