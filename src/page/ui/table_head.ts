// The head of a table: which columns are shown and how wide, and what the list is sorted by.
import { t } from '../core/i18n';
import type { PlainKey } from '../lang/shape';
import { el, icon, setAttribute } from './dom';

export interface Column<R> {
  id?: string; // columns that have one can be resized
  optional?: boolean; // can be hidden
  off?: boolean; // hidden unless chosen
  title: PlainKey;
  width: string;
  number?: boolean;
  extra?: boolean; // hidden on narrow screens
  sort?: string; // passed to onSort
  hidden?: boolean; // title for screen readers only
  make?: () => HTMLElement;
  fill: (cell: HTMLElement, row: R, index: number) => void;
}

export interface TableLayout {
  shown: Record<string, boolean>;
  widths: Record<string, number>;
  keep: () => void;
}

export interface HeadOptions<R> {
  columns: Column<R>[];
  layout?: TableLayout; // which columns are shown and how wide
  onSort?: (word: string) => void;
}

const WIDTH_STEP = 16;
const LEAST_WIDTH = 48;
const MOST_WIDTH = 1600;
const GAPS = 12;

// The least width of a grid track.
const leastOf = (width: string): string => /^minmax\(([^,]+),/.exec(width)?.[1] ?? width;

export class TableHead<R> {
  readonly root = el('div', { class: 'head-row', role: 'rowgroup' });
  columns: Column<R>[] = []; // the ones that are shown
  #sorted: { word: string; down: boolean } | null = null;
  readonly #table: HTMLElement;
  readonly #options: HeadOptions<R>;

  constructor(table: HTMLElement, options: HeadOptions<R>) {
    this.#table = table;
    this.#options = options;
    this.arrange();
  }

  // Makes the headings again, for the columns that are shown.
  arrange(): void {
    const { columns, layout } = this.#options;
    this.columns = columns.filter((column) => !column.optional || (layout?.shown[column.id ?? ''] ?? !column.off));
    this.root.replaceChildren(el('div', { role: 'row', 'aria-rowindex': '1' }, this.columns.map((column) => this.#cell(column))));
    this.#setWidths();
    if (this.#sorted) this.showSort(this.#sorted.word, this.#sorted.down);
  }

  get hidable(): { id: string; title: PlainKey; shown: boolean }[] {
    return this.#options.columns.filter((column) => column.optional && column.id).map((column) => ({ id: column.id!, title: column.title, shown: this.columns.includes(column) }));
  }

  // Returns whether there is another set of columns now.
  toggle(id: string): boolean {
    const { layout } = this.#options;
    if (!layout) return false;
    layout.shown[id] = !this.columns.some((column) => column.id === id);
    layout.keep();
    this.arrange();
    return true;
  }

  #widthOf(column: Column<R>): string {
    const own = column.id === undefined ? undefined : this.#options.layout?.widths[column.id];
    return own === undefined ? column.width : `${own}px`;
  }

  #setWidths(): void {
    const widths = this.columns.map((column) => this.#widthOf(column));
    const { style } = this.#table;
    style.setProperty('--columns-wide', widths.join(' '));
    style.setProperty('--columns-narrow', this.columns.filter((column) => !column.extra).map((column) => column.width).join(' '));
    // Rows are placed freely, so their least width has to be said.
    style.setProperty('--least-wide', `calc(${widths.map(leastOf).join(' + ')} + ${widths.length * GAPS + 4}px)`);
  }

  #resize(id: string, width: number, keep: boolean): void {
    const { layout } = this.#options;
    if (!layout) return;
    layout.widths[id] = Math.round(Math.max(LEAST_WIDTH, Math.min(MOST_WIDTH, width)));
    this.#setWidths();
    if (keep) layout.keep();
  }

  // The edge of a heading, by which its column is made wider or narrower. For keys there are Shift and the
  // arrows in the heading itself.
  #grip(id: string, cell: HTMLElement): HTMLElement {
    const grip = el('span', { class: 'grip', 'aria-hidden': 'true', on: {
      pointerdown: (event) => {
        event.preventDefault();
        grip.setPointerCapture(event.pointerId);
      },
      pointermove: (event) => {
        if (grip.hasPointerCapture(event.pointerId)) this.#resize(id, event.clientX - cell.getBoundingClientRect().left, false);
      },
      pointerup: () => this.#options.layout?.keep(),
      click: (event) => event.stopPropagation(),
      dblclick: (event) => {
        event.stopPropagation();
        delete this.#options.layout?.widths[id];
        this.#setWidths();
        this.#options.layout?.keep();
      },
    } });
    return grip;
  }

  #key(event: KeyboardEvent, id: string, cell: HTMLElement): void {
    const step = { ArrowLeft: -WIDTH_STEP, ArrowRight: WIDTH_STEP }[event.key];
    if (!step || !event.shiftKey) return;
    event.preventDefault();
    this.#resize(id, cell.getBoundingClientRect().width + step, true);
  }

  #cell(column: Column<R>): HTMLElement {
    const className = [column.number ? 'number' : '', column.extra ? 'extra' : ''].join(' ').trim();
    const cell = el('div', { role: 'columnheader', class: className });
    const { sort } = column;
    if (sort && this.#options.onSort) {
      cell.append(el('button', {
        type: 'button', class: 'sort', 'aria-label': t('sortBy', { column: t(column.title) }), 'data-sort': sort,
        on: { click: () => this.#options.onSort?.(sort) },
      }, t(column.title), icon('down', 'arrow')));
    } else {
      cell.append(el('span', { class: column.hidden ? 'heard' : '' }, t(column.title)));
    }
    const { id } = column;
    if (id !== undefined && this.#options.layout) {
      cell.append(this.#grip(id, cell));
      cell.addEventListener('keydown', (event) => this.#key(event, id, cell));
    }
    return cell;
  }

  showSort(word: string, down: boolean): void {
    this.#sorted = { word, down };
    this.root.querySelectorAll('[role=columnheader]').forEach((cell) => {
      const mine = cell.querySelector(`[data-sort="${word}"]`) !== null;
      setAttribute(cell, 'aria-sort', mine ? (down ? 'descending' : 'ascending') : null);
    });
  }
}
