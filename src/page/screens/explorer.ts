// The size tree: folders opened one by one, large files among them.
import type { Job } from '../core/answers';
import { count, failure, percent, size, t } from '../core/i18n';
import { BIG_FILE_BYTES, findTyped, treeRows, type Entry, type TreeRow } from '../core/tree';
import { shown } from '../core/paths';
import { shareOf } from '../core/units';
import { detailsButton, showDetails } from '../ui/details';
import { el, icon, setAttribute, setIcon, setText } from '../ui/dom';
import { expandTo, loadFolder } from '../ui/folders';
import { scanMarksBar } from '../ui/marks';
import { openInMap } from '../ui/places';
import { resultScreen, type ResultScreen, type Screen } from '../ui/screen';
import { changed, isRemote, state, treeOf } from '../ui/state';
import { markColumn, Table, type Column } from '../ui/table';

const TYPING_MS = 800;
const INDENT = 6;
const STEP = 14;
const RAILS = 6;

const ICONS: Record<Entry['kind'], string> = { folder: 'folder', file: 'file', smaller: 'rest', loose: 'rest', loading: 'rest', failed: 'warning' };

export function entryName(entry: Entry): string {
  switch (entry.kind) {
    case 'smaller': return t('exSmaller', { n: entry.n });
    case 'loose': return entry.f > 0 ? t('exLoose', { n: entry.f }) : t('exLooseSome');
    case 'loading': return `${t('loading')}…`;
    case 'failed': return t('exFailed', { why: failure(entry.name) });
    default: return shown(entry.name.length > 300 ? `${entry.name.slice(0, 300)}…` : entry.name);
  }
}

// Each open folder draws a line in its depth's colour down the rows beneath it.
const railsAt = new Map<number, string>();
function rails(depth: number): string {
  let image = railsAt.get(depth);
  if (image === undefined) {
    const lines: string[] = [];
    for (let level = 1; level < depth; ++level) {
      const x = INDENT + level * STEP + 10;
      const colour = `var(--rail-${((level - 1) % RAILS) + 1})`;
      lines.push(`linear-gradient(90deg, transparent ${x}px, ${colour} ${x}px ${x + 1}px, transparent ${x + 1}px)`);
    }
    image = lines.join(', ');
    railsAt.set(depth, image);
  }
  return image;
}

function columns(whole: () => number, parentSize: (row: TreeRow) => number, canMark: (row: TreeRow) => boolean, toggle: (index: number) => void): Column<TreeRow>[] {
  return [
    markColumn((row) => (canMark(row) ? 'open' : 'none')),
    {
      title: 'colName', width: 'minmax(9rem, 6fr)',
      make: () => {
        const twist = el('span', { class: 'twist', 'aria-hidden': 'true' }, icon('right'));
        return el('div', { class: 'name-cell' }, twist, icon('folder'), el('bdi', { class: 'cell-name' }));
      },
      fill: (cell, row, index) => {
        const [twist, kind, name] = cell.children as unknown as [HTMLElement, SVGSVGElement, HTMLElement];
        cell.style.paddingInlineStart = `${INDENT + row.depth * STEP}px`;
        cell.style.backgroundImage = rails(row.depth);
        twist.classList.toggle('none', !row.opens);
        twist.onclick = () => toggle(index);
        setIcon(kind, ICONS[row.entry.kind]);
        kind.style.color = row.depth > 0 && row.entry.kind === 'folder' ? `var(--rail-${((row.depth - 1) % RAILS) + 1})` : '';
        setText(name, entryName(row.entry));
        name.classList.toggle('muted', row.entry.kind !== 'folder' && row.entry.kind !== 'file');
      },
    },
    { title: 'colSize', width: '5.5rem', number: true, fill: (cell, row) => setText(cell, row.entry.kind === 'failed' || row.entry.kind === 'loading' ? '' : size(row.entry.s)) },
    {
      title: 'colShare', width: 'minmax(6.5rem, 2fr)', extra: true,
      make: () => el('div', { class: 'share' }, el('span', { class: 'meter', 'aria-hidden': 'true' }, el('span')), el('span', { class: 'percent' })),
      fill: (cell, row) => {
        const share = row.depth === 0 ? 1 : shareOf(row.entry.s, parentSize(row));
        (cell.firstElementChild!.firstElementChild as HTMLElement).style.width = `${share * 100}%`;
        setText(cell.lastElementChild!, row.entry.kind === 'failed' || whole() === 0 ? '' : percent(share));
      },
    },
    { title: 'colFiles', width: '5rem', number: true, extra: true, fill: (cell, row) => setText(cell, row.entry.kind === 'file' || row.entry.f === 0 ? '' : count(row.entry.f)) },
  ];
}

function make(job: Job): ResultScreen {
  const tree = () => treeOf(job.id)!;
  const remote = isRemote(job);
  let rows: TreeRow[] = [];
  let typed = { text: '', at: 0 };
  if (state.expanded.size === 0) state.expanded.add(tree().root.path);

  const canMark = (row: TreeRow): boolean => !remote && row.depth > 0 && (row.entry.kind === 'folder' || row.entry.kind === 'file');
  const setOpen = (index: number, open: boolean): void => {
    const row = rows[index];
    if (!row?.opens) return;
    if (open) {
      state.expanded.add(row.entry.path);
      void loadFolder(job.id, row.entry.path);
    } else {
      state.expanded.delete(row.entry.path);
    }
    rebuild();
  };
  const enter = (row: TreeRow): void => {
    if (row.entry.kind === 'failed') {
      const folder = rows[row.parent]!.entry.path;
      void loadFolder(job.id, folder);
    } else if (row.entry.kind === 'folder' || row.entry.kind === 'file') {
      openInMap(row.entry.path);
    } else if (row.parent >= 0) {
      table.moveTo(row.parent);
    }
  };
  const onKey = (event: KeyboardEvent, index: number): boolean => {
    const row = rows[index];
    if (!row || event.ctrlKey || event.metaKey) return false;
    if (event.key === 'ArrowRight') {
      if (row.opens && !row.open) setOpen(index, true);
      else if (row.open && rows[index + 1]?.parent === index) table.moveTo(index + 1);
      return true;
    }
    if (event.key === 'ArrowLeft') {
      if (row.open) setOpen(index, false);
      else if (row.parent >= 0) table.moveTo(row.parent);
      return true;
    }
    if (event.key.length === 1 && event.key !== ' ') {
      const fresh = event.timeStamp - typed.at > TYPING_MS;
      typed = { text: fresh ? event.key : typed.text + event.key, at: event.timeStamp };
      const found = findTyped(rows, typed.text.length === 1 ? index + 1 : index, typed.text);
      if (found >= 0) table.moveTo(found);
      return true;
    }
    return false;
  };

  const table = new Table<TreeRow>({
    label: t('exTree'), role: 'treegrid', selection: state.selection,
    columns: columns(() => tree().root.s, (row) => rows[row.parent]?.entry.s ?? 0, canMark, (index) => {
      setOpen(index, !rows[index]?.open);
      table.moveTo(index);
    }),
    keyOf: (row) => row.entry.path, markable: canMark,
    onMarked: () => {
      for (const path of state.selection.keys) {
        if (!state.weights.has(path)) state.weights.set(path, rows.find((row) => row.entry.path === path)?.entry.s ?? 0);
      }
      changed('selection');
    },
    onActive: (row) => {
      state.openFolder = row.entry.path;
      showDetails(row.entry);
    },
    onEnter: enter, onKey,
    decorate: (element, row) => {
      setAttribute(element, 'aria-level', row.depth + 1);
      setAttribute(element, 'aria-setsize', row.siblings);
      setAttribute(element, 'aria-posinset', row.place);
      setAttribute(element, 'aria-expanded', row.opens ? String(row.open) : null);
    },
  });
  const bar = scanMarksBar(() => table.root);

  const rebuild = (): void => {
    rows = treeRows(tree(), state.expanded);
    table.setRows(rows);
  };
  // Fetches what open branches lack after a deletion, outer ones first. Until all are there the rows stay
  // as they were, so that none vanishes and comes back.
  let completing = false;
  const complete = async (): Promise<void> => {
    completing = true;
    for (const path of [...state.expanded].sort((a, b) => a.length - b.length)) {
      if (tree()?.find(path) && tree().needsLoading(path)) await loadFolder(job.id, path);
    }
    completing = false;
    if (table.root.isConnected && treeOf(job.id)) settle();
  };
  const goToOpenFolder = (): void => {
    const index = rows.findIndex((row) => row.entry.path === state.openFolder);
    if (index >= 0 && index !== table.active) table.moveTo(index, true);
    const row = rows[table.active];
    if (row) showDetails(row.entry);
  };
  // A place asked for from elsewhere may only become known after a while.
  let wanted = state.openFolder;
  const settle = (): void => {
    rebuild();
    if (!wanted || !rows.some((row) => row.entry.path === wanted)) return;
    state.openFolder = wanted;
    wanted = '';
    goToOpenFolder();
  };
  rebuild();
  void complete();
  requestAnimationFrame(goToOpenFolder);
  if (wanted && !rows.some((row) => row.entry.path === wanted)) void expandTo(job.id, wanted);

  return {
    top: [el('span', { class: 'small muted' }, t('exBigOnly', { size: size(BIG_FILE_BYTES) })), detailsButton()],
    content: [bar.root, table.root],
    keeps: true,
    leave: () => table.leave(),
    update: (changes) => {
      if (changes.has('results')) void complete();
      else if (changes.has('tree') && !completing) settle();
      if (changes.has('selection')) {
        bar.update();
        table.refresh();
      }
    },
  };
}

export const explorer = (): Screen => resultScreen('exTitle', make, { fills: true, detailed: true });
