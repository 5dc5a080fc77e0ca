// Columns and cells that several tables have.
import { t } from '../core/i18n';
import { el, icon, setAttribute, setText } from './dom';
import type { Column } from './table_head';

// A cell with a text, which may be a name in any script.
export const textCell = <R>(text: (row: R) => string): Pick<Column<R>, 'make' | 'fill'> =>
  ({ make: () => el('div', {}, el('bdi')), fill: (cell, row) => setText(cell.firstElementChild!, text(row)) });

export const figureCell = <R>(text: (row: R) => string): Pick<Column<R>, 'number' | 'fill'> =>
  ({ number: true, fill: (cell, row) => setText(cell, text(row)) });

// In a row that stands for what could not be loaded. The keyboard has Enter for it.
export const retryButton = (): HTMLButtonElement => el('button', { type: 'button', class: 'link again', tabindex: '-1', hidden: true }, t('retry'));

// The column with the box that shows whether a row is marked.
export const markColumn = <R>(state: (row: R) => 'open' | 'locked' | 'none'): Column<R> => ({
  title: 'colMark', width: '1.25rem', hidden: true,
  make: () => el('div', { class: 'mark-cell' }, el('span', { class: 'mark', 'aria-hidden': 'true' }, icon('check'))),
  fill: (cell, row) => {
    const box = cell.firstElementChild!;
    const kind = state(row);
    setAttribute(box, 'class', kind === 'open' ? 'mark' : `mark ${kind}`);
    const use = box.firstElementChild?.firstElementChild;
    if (use) setAttribute(use, 'href', kind === 'locked' ? '#i-lock' : '#i-check');
  },
});

// The column with the button that opens a row's menu.
export const menuColumn = <R>(has: (row: R) => boolean, open: (index: number, button: HTMLElement) => void): Column<R> => ({
  title: 'colMenu', width: '1.75rem', hidden: true,
  make: () => el('div', { class: 'menu-cell' }, el('button', { type: 'button', class: 'row-menu', tabindex: '-1', 'aria-label': t('menu'), title: t('menu') })),
  fill: (cell, row, index) => {
    const button = cell.firstElementChild as HTMLButtonElement;
    button.hidden = !has(row);
    button.onclick = () => open(index, button);
  },
});
