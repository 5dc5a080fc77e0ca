// Tables that only show: columns of text, all rows, nothing to mark.
import { shown } from '../core/paths';
import type { PlainKey } from '../lang/shape';
import { el, setAttribute, setText } from './dom';
import { Table, type Column } from './table';

const LONGEST = 1000;

// Long and hostile names as far as a cell or a tooltip can show them.
export const cut = (text: string): string => shown(text.slice(0, LONGEST));

export const textColumn = <R>(title: PlainKey, width: string, text: (row: R) => string, extra = false): Column<R> =>
  ({ title, width, extra, make: () => el('div', {}, el('bdi')), fill: (cell, row) => setText(cell.firstElementChild!, text(row)) });

export const numberColumn = <R>(title: PlainKey, width: string, text: (row: R) => string, extra = false): Column<R> =>
  ({ title, width, extra, number: true, fill: (cell, row) => setText(cell, text(row)) });

// `keyOf` is also the tooltip of a row.
export function plainTable<R>(label: string, columns: Column<R>[], keyOf: (row: R) => string, rows: readonly R[]): HTMLElement {
  const table = new Table<R>({ label, role: 'grid', columns, keyOf, grows: true, decorate: (element, row) => setAttribute(element, 'title', cut(keyOf(row))) });
  table.setRows(rows);
  return table.root;
}
