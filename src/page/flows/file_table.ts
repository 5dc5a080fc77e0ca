// A table of files from anywhere in a scan: the largest ones, or those of a type.
import type { FileItem, Job } from '../core/answers';
import { date, size } from '../core/i18n';
import { isRemote } from '../core/job';
import { figuresOf, valueOf } from '../core/measure';
import { baseName, parentOf, shown } from '../core/paths';
import { extensionOf } from '../core/type_groups';
import type { Entry } from '../core/entry';
import { byText } from '../core/tree_order';
import { changed, knowsDisk, measure, state } from '../data/state';
import { keepTable, tableSettings } from '../data/table_settings';
import { cutPath, setAttribute } from '../ui/dom';
import { Table } from '../ui/table';
import type { Column } from '../ui/table_head';
import { figureCell, markColumn, menuColumn, textCell } from '../ui/table_columns';
import { showDetails } from './details';
import { copyPaths } from './item_actions';
import { openItemMenu } from './item_menu';
import type { MarksBar } from './marks';
import { openInExplorer } from './places';

const entryOf = ({ p, s, m, a, x, cl }: FileItem): Entry => ({ kind: 'file', path: p, name: baseName(p), s, f: 1, n: 0, m, ...figuresOf({ a, x, cl }) });

type Compare = (a: FileItem, b: FileItem) => number;
const text = (of: (file: FileItem) => string): Compare => (a, b) => byText(of(a).toLowerCase(), of(b).toLowerCase());

const comparer = (word: string, job: number): Compare | undefined => ({
  size: (a: FileItem, b: FileItem) => valueOf(a, measure(job)) - valueOf(b, measure(job)), disk: (a: FileItem, b: FileItem) => (a.a ?? a.s) - (b.a ?? b.s),
  date: (a: FileItem, b: FileItem) => a.m - b.m, name: text((file) => baseName(file.p)), folder: text((file) => file.p), type: text((file) => extensionOf(file.p)),
} as Record<string, Compare>)[word];

const TEXTS: readonly string[] = ['name', 'folder', 'type'];

function columns(job: Job, menu: (index: number, button: HTMLElement) => void): Column<FileItem>[] {
  const remote = isRemote(job);
  return [
    markColumn(() => (remote ? 'none' : 'open')),
    { id: 'name', title: 'colName', width: 'minmax(7rem, 3fr)', sort: 'name', ...textCell((row) => shown(baseName(row.p).slice(0, 300))) },
    { id: 'folder', optional: true, title: 'folder', width: 'minmax(8rem, 4fr)', sort: 'folder', extra: true, fill: (cell, row) => cell.replaceChildren(cutPath(parentOf(row.p))) },
    { id: 'size', title: 'colSize', width: '5.5rem', sort: 'size', ...figureCell((row) => size(valueOf(row, measure(job.id)))) },
    ...(knowsDisk(job.id) ? [{ id: 'disk', optional: true, off: true, title: 'colDisk', width: '5.5rem', sort: 'disk', extra: true, ...figureCell((row: FileItem) => (row.a === undefined ? '' : size(row.a))) } as const] : []),
    { id: 'date', optional: true, title: 'colDate', width: '6.5rem', sort: 'date', extra: true, ...figureCell((row) => date(row.m)) },
    { id: 'type', optional: true, off: true, title: 'colType', width: '5rem', sort: 'type', extra: true, ...textCell((row) => shown(extensionOf(baseName(row.p)).slice(0, 30))) },
    menuColumn(() => true, menu),
  ];
}

export interface FileTable {
  table: Table<FileItem>;
  show: (files: readonly FileItem[]) => void;
}

// `name`: under which its columns and order are remembered.
export function fileTable(job: Job, name: string, label: string, bar: () => MarksBar): FileTable {
  const settings = tableSettings(name);
  let all: readonly FileItem[] = [];
  let rows: readonly FileItem[] = [];
  const arrange = (): void => {
    const { word, down } = settings.sort ?? { word: 'size', down: true };
    const compare = comparer(word, job.id) ?? comparer('size', job.id)!;
    rows = [...all].sort((a, b) => (down ? -1 : 1) * compare(a, b));
    table.head.showSort(word, down);
    table.setRows(rows);
  };
  const table: Table<FileItem> = new Table<FileItem>({
    label, role: 'grid', selection: state.selection, keyOf: (row) => row.p, markable: () => !isRemote(job),
    columns: columns(job, (index, button) => table.menuOf(index, button)), layout: { ...settings, keep: () => keepTable(name) },
    onMarked: () => {
      for (const file of rows) if (state.selection.has(file.p)) state.weights.set(file.p, file.s);
      changed('selection');
    },
    onActive: (row) => showDetails(entryOf(row)),
    onEnter: (row) => openInExplorer(row.p),
    onDelete: (path, permanent) => bar().delete(path, permanent),
    onMenu: (row, x, y) => openItemMenu(job, entryOf(row), { x, y, from: table.root }),
    onCopy: (chosen) => copyPaths(chosen.map((file) => file.p)),
    onSort: (word) => {
      const now = settings.sort ?? { word: 'size', down: true };
      settings.sort = { word, down: now.word === word ? !now.down : !TEXTS.includes(word) };
      keepTable(name);
      arrange();
      table.toTop();
    },
    decorate: (element, row) => setAttribute(element, 'title', shown(row.p.slice(0, 1000))),
  });
  return {
    table,
    show: (files) => {
      all = files;
      arrange();
    },
  };
}
