// The columns of the table beside the map.
import { percent, size } from '../../core/i18n';
import { entryName } from '../../core/names';
import { isItem, type Entry } from '../../core/tree';
import { shareOf } from '../../core/units';
import { el, icon, setIcon, setText } from '../../ui/dom';
import { markColumn, type Column } from '../../ui/table';

export const columns = (canMark: (row: Entry) => boolean, whole: () => number): Column<Entry>[] => [
  markColumn((row) => (canMark(row) ? 'open' : 'none')),
  {
    title: 'colName', width: 'minmax(7rem, 3fr)', make: () => el('div', { class: 'name-cell' }, icon('folder'), el('bdi', { class: 'cell-name' })),
    fill: (cell, row) => {
      setIcon(cell.firstElementChild as SVGSVGElement, isItem(row) ? row.kind : 'rest');
      setText(cell.lastElementChild!, entryName(row));
    },
  },
  { title: 'colSize', width: '5rem', number: true, fill: (cell, row) => setText(cell, size(row.s)) },
  { title: 'colShare', width: '4rem', number: true, extra: true, fill: (cell, row) => setText(cell, percent(shareOf(row.s, whole()))) },
];
