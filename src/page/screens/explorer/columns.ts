// The columns of the tree table.
import { count, date, percent, size, t } from '../../core/i18n';
import { entryName } from '../../core/names';
import { shown } from '../../core/paths';
import { isFailed, isFile, isFolder, isItem, isLoading, type EntryKind } from '../../core/entry';
import type { TreeRow } from '../../core/tree';
import { extensionOf } from '../../core/type_groups';
import { shareOf } from '../../core/units';
import { el, icon, setAttribute, setIcon, setText } from '../../ui/dom';
import type { Column } from '../../ui/table_head';
import { figureCell, markColumn, menuColumn, retryButton, textCell } from '../../ui/table_columns';

const INDENT = 6;
const STEP = 14;
const RAILS = 6;

const ICONS: Record<EntryKind, string> = { folder: 'folder', file: 'file', smaller: 'rest', loose: 'rest', more: 'rest', gone: 'rest', loading: 'rest', failed: 'warning' };

const railColour = (level: number): string => `var(--rail-${((level - 1) % RAILS) + 1})`;

// Below each open folder a line in the colour of its depth runs down the rows. One image per depth.
const railImages = new Map<number, string>();
function rails(depth: number): string {
  let image = railImages.get(depth);
  if (image === undefined) {
    const lines: string[] = [];
    for (let level = 1; level < depth; ++level) {
      const x = INDENT + level * STEP + 10;
      lines.push(`linear-gradient(90deg, transparent ${x}px, ${railColour(level)} ${x}px ${x + 1}px, transparent ${x + 1}px)`);
    }
    image = lines.join(', ');
    railImages.set(depth, image);
  }
  return image;
}

function fillName(cell: HTMLElement, row: TreeRow, toggle: () => void, retry: () => void): void {
  const [twist, kind, name, again] = cell.children as unknown as [HTMLElement, SVGSVGElement, HTMLElement, HTMLElement];
  cell.style.paddingInlineStart = `${INDENT + row.depth * STEP}px`;
  cell.style.backgroundImage = rails(row.depth);
  twist.classList.toggle('none', !row.opens);
  twist.onclick = toggle;
  setIcon(kind, ICONS[row.entry.kind]);
  kind.style.color = row.depth > 0 && isFolder(row.entry) ? railColour(row.depth) : '';
  setText(name, entryName(row.entry));
  name.classList.toggle('muted', !isItem(row.entry));
  setAttribute(name, 'title', isFailed(row.entry) ? entryName(row.entry) : null);
  again.hidden = !isFailed(row.entry);
  again.onclick = retry;
}

const hasFigures = ({ entry }: TreeRow): boolean => !isFailed(entry) && !isLoading(entry);
const typeText = ({ entry }: TreeRow): string => (isFolder(entry) ? t('folder') : isFile(entry) ? shown(extensionOf(entry.name).slice(0, 30)) : '');

export interface TreeContext {
  whole: () => number; // bytes of the whole scan
  value: (row: TreeRow) => number; // its size by the measure that was chosen
  parentSize: (row: TreeRow) => number;
  knowsDisk: boolean;
  canMark: (row: TreeRow) => boolean;
  toggle: (index: number) => void; // expands or collapses a row
  retry: (row: TreeRow) => void; // loads a folder again that could not be loaded
  menu: (index: number, button: HTMLElement) => void;
}

const shareColumn = ({ whole, value, parentSize }: TreeContext): Column<TreeRow> => ({
  id: 'share', optional: true, title: 'colShare', width: 'minmax(6.5rem, 2fr)', extra: true,
  make: () => el('div', { class: 'share' }, el('span', { class: 'meter', 'aria-hidden': 'true' }, el('span')), el('span', { class: 'percent' })),
  fill: (cell, row) => {
    const share = row.depth === 0 ? 1 : shareOf(value(row), parentSize(row));
    (cell.firstElementChild!.firstElementChild as HTMLElement).style.width = `${share * 100}%`;
    setText(cell.lastElementChild!, !hasFigures(row) || whole() === 0 ? '' : percent(share));
  },
});

export const columns = (context: TreeContext): Column<TreeRow>[] => [
  markColumn((row) => (context.canMark(row) ? 'open' : 'none')),
  {
    id: 'name', title: 'colName', width: 'minmax(9rem, 6fr)', sort: 'name', fill: (cell, row, index) => fillName(cell, row, () => context.toggle(index), () => context.retry(row)),
    make: () => el('div', { class: 'name-cell' }, el('span', { class: 'twist', 'aria-hidden': 'true' }, icon('right')), icon('folder'), el('bdi', { class: 'cell-name' }), retryButton()),
  },
  { id: 'size', title: 'colSize', width: '5.5rem', sort: 'size', ...figureCell((row) => (hasFigures(row) ? size(context.value(row)) : '')) },
  ...(context.knowsDisk ? [{
    id: 'disk', optional: true, off: true, title: 'colDisk', width: '5.5rem', sort: 'disk', extra: true,
    ...figureCell((row: TreeRow) => (row.entry.a === undefined ? '' : size(row.entry.a))),
  } as const] : []),
  shareColumn(context),
  { id: 'files', optional: true, title: 'colFiles', width: '5rem', sort: 'files', extra: true, ...figureCell((row) => (isFile(row.entry) || row.entry.f === 0 ? '' : count(row.entry.f))) },
  { id: 'date', optional: true, title: 'colDate', width: '6.5rem', sort: 'date', extra: true, ...figureCell((row) => date(row.entry.m)) },
  { id: 'type', optional: true, off: true, title: 'colType', width: '5rem', sort: 'type', extra: true, ...textCell(typeText) },
  menuColumn((row) => isItem(row.entry), context.menu),
];
