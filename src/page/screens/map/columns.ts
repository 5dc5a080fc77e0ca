// The columns of the table beside the map.
import { size } from '../../core/i18n';
import { entryName } from '../../core/names';
import { isFailed, isItem, isLoading, type Entry } from '../../core/entry';
import { el, icon, setIcon, setText } from '../../ui/dom';
import type { Column } from '../../ui/table_head';
import { figureCell, markColumn, retryButton } from '../../ui/table_columns';

interface Context {
  canMark: (row: Entry) => boolean;
  value: (row: Entry) => number;
  retry: () => void;
}

export const columns = ({ canMark, value, retry }: Context): Column<Entry>[] => [
  markColumn((row) => (canMark(row) ? 'open' : 'none')),
  {
    id: 'name', title: 'colName', width: 'minmax(3rem, 3fr)', make: () => el('div', { class: 'name-cell' }, icon('folder'), el('bdi', { class: 'cell-name' }), retryButton()),
    fill: (cell, row) => {
      const [kind, name, again] = cell.children as unknown as [SVGSVGElement, HTMLElement, HTMLElement];
      setIcon(kind, isItem(row) ? row.kind : isFailed(row) ? 'warning' : 'rest');
      setText(name, entryName(row));
      again.hidden = !isFailed(row);
      again.onclick = retry;
    },
  },
  { id: 'size', title: 'colSize', width: '4.5rem', ...figureCell((row) => (isFailed(row) || isLoading(row) ? '' : size(value(row)))) },
];
