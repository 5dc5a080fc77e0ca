// The columns of the table beside the map.
import { percent, size } from '../../core/i18n';
import { entryName } from '../../core/names';
import { isFailed, isItem, type Entry } from '../../core/tree';
import { shareOf } from '../../core/units';
import { el, icon, setIcon, setText } from '../../ui/dom';
import { markColumn, retryButton, type Column } from '../../ui/table';

export const columns = (canMark: (row: Entry) => boolean, whole: () => number, retry: () => void): Column<Entry>[] => [
  markColumn((row) => (canMark(row) ? 'open' : 'none')),
  {
    title: 'colName', width: 'minmax(7rem, 3fr)', make: () => el('div', { class: 'name-cell' }, icon('folder'), el('bdi', { class: 'cell-name' }), retryButton()),
    fill: (cell, row) => {
      const [kind, name, again] = cell.children as unknown as [SVGSVGElement, HTMLElement, HTMLElement];
      setIcon(kind, isItem(row) ? row.kind : isFailed(row) ? 'warning' : 'rest');
      setText(name, entryName(row));
      again.hidden = !isFailed(row);
      again.onclick = retry;
    },
  },
  { title: 'colSize', width: '5rem', number: true, fill: (cell, row) => setText(cell, size(row.s)) },
  { title: 'colShare', width: '4rem', number: true, extra: true, fill: (cell, row) => setText(cell, percent(shareOf(row.s, whole()))) },
];
