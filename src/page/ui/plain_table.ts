// Tables that only show: columns of text, all rows, nothing to mark.
import { shown } from '../core/paths';
import type { PlainKey } from '../lang/shape';
import { setAttribute } from './dom';
import { Table } from './table';
import type { Column } from './table_head';
import { figureCell, textCell } from './table_columns';

const LONGEST = 1000;

// Long and hostile names as far as a cell or a tooltip can show them.
export const cut = (text: string): string => shown(text.slice(0, LONGEST));

export const textColumn = <R>(title: PlainKey, width: string, text: (row: R) => string, extra = false): Column<R> =>
  ({ title, width, extra, ...textCell(text) });

export const numberColumn = <R>(title: PlainKey, width: string, text: (row: R) => string, extra = false): Column<R> =>
  ({ title, width, extra, ...figureCell(text) });

// `keyOf` is also the tooltip of a row.
export function plainTable<R>(label: string, columns: Column<R>[], keyOf: (row: R) => string, rows: readonly R[]): HTMLElement {
  const table = new Table<R>({ label, role: 'grid', columns, keyOf, grows: true, decorate: (element, row) => setAttribute(element, 'title', cut(keyOf(row))) });
  table.setRows(rows);
  return table.root;
}
