// A table with only the visible rows in the document. All rows have the same height, so a row's place
// is a multiplication; a fixed pool of row elements is moved and refilled. The table is one tab stop:
// the arrow keys move the active row, which assistive technology follows through
// aria-activedescendant. Marks are kept in a Selection.
import { t } from '../core/i18n';
import type { Selection } from '../core/selection';
import type { PlainKey } from '../lang/shape';
import { el, icon, setAttribute } from './dom';
import { KEYS } from './keys';

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

export interface TableOptions<R> {
  label: string;
  role: 'grid' | 'treegrid';
  columns: Column<R>[];
  keyOf: (row: R) => string;
  markable?: (row: R) => boolean;
  selection?: Selection;
  onMarked?: () => void;
  mayMark?: (row: R) => boolean; // asked before each mark
  onRefused?: () => void; // called when mayMark refused a single mark
  onActive?: (row: R, index: number) => void;
  onEnter?: (row: R, index: number) => void;
  onKey?: (event: KeyboardEvent, index: number) => boolean; // true: handled
  onDelete?: (key: string | undefined, permanent: boolean) => void; // the active row, if it can be marked
  onMenu?: (row: R, x: number, y: number) => void; // right click, long press, the menu key
  onCopy?: (rows: readonly R[]) => void; // the marked rows, or else the active one
  onScroll?: (row: number) => void; // the first row in view
  layout?: TableLayout; // which columns are shown and how wide
  onSort?: (word: string) => void;
  decorate?: (element: HTMLElement, row: R, index: number) => void;
  grows?: boolean; // height follows its rows, within limits
}

export interface TableLayout {
  shown: Record<string, boolean>;
  widths: Record<string, number>;
  keep: () => void;
}

const SPARE = 12;
const WIDTH_STEP = 16;
const LEAST_WIDTH = 48;
const MOST_WIDTH = 1600;
const GAPS = 12;
let tables = 0;

// The least width of a grid track.
const leastOf = (width: string): string => /^minmax\(([^,]+),/.exec(width)?.[1] ?? width;

interface PooledRow {
  element: HTMLElement;
  cells: HTMLElement[];
  index: number;
}

export class Table<R> {
  readonly root: HTMLElement;
  readonly #space = el('div', { class: 'space', role: 'rowgroup' });
  readonly #head: HTMLElement;
  readonly #probe = el('div', { class: 'trow', role: 'presentation', 'aria-hidden': 'true' });
  readonly #prefix = `t${++tables}`;
  readonly #pool: PooledRow[] = [];
  #rows: readonly R[] = [];
  #rowHeight = 32;
  #first = 0;
  #room = 0; // visible height for rows; cached, since reading it forces layout
  #columns: Column<R>[] = []; // the ones that are shown
  #sorted: { word: string; down: boolean } | null = null;
  readonly #observer: ResizeObserver;
  active = 0;
  readonly #options: TableOptions<R>;

  constructor(options: TableOptions<R>) {
    this.#options = options;
    options.selection?.startAt(-1); // a range that was begun in another table
    this.#head = el('div', { class: 'head-row', role: 'rowgroup' });
    this.root = el('div', {
      class: options.grows ? 'table grows' : 'table', role: options.role, tabindex: '0', 'aria-label': options.label,
      'aria-multiselectable': options.selection ? 'true' : null,
      on: { keydown: (event) => this.#key(event), click: (event) => this.#click(event), dblclick: (event) => this.#twice(event), contextmenu: (event) => this.#menu(event) },
    }, this.#head, this.#space);
    this.#arrangeColumns();
    this.#probe.style.visibility = 'hidden';
    this.#space.append(this.#probe);
    this.root.addEventListener('scroll', () => {
      this.#draw(false);
      options.onScroll?.(Math.floor(this.root.scrollTop / this.#rowHeight));
    }, { passive: true });
    this.root.addEventListener('focus', () => this.#pointAtActive());
    this.#observer = new ResizeObserver(() => this.#measure());
    this.#observer.observe(this.root);
  }

  // Makes the head and the rows again, for the columns that are shown.
  #arrangeColumns(): void {
    const { columns, layout } = this.#options;
    this.#columns = columns.filter((column) => !column.optional || (layout?.shown[column.id ?? ''] ?? !column.off));
    this.#head.replaceChildren(el('div', { role: 'row', 'aria-rowindex': '1' }, this.#columns.map((column) => this.#headCell(column))));
    while (this.#pool.length > 0) this.#pool.pop()!.element.remove();
    this.#setWidths();
    if (this.#sorted) this.showSort(this.#sorted.word, this.#sorted.down);
    this.#draw(true);
  }

  #widthOf(column: Column<R>): string {
    const own = column.id === undefined ? undefined : this.#options.layout?.widths[column.id];
    return own === undefined ? column.width : `${own}px`;
  }

  #setWidths(): void {
    const widths = this.#columns.map((column) => this.#widthOf(column));
    const { style } = this.root;
    style.setProperty('--columns-wide', widths.join(' '));
    style.setProperty('--columns-narrow', this.#columns.filter((column) => !column.extra).map((column) => column.width).join(' '));
    // Rows are placed freely, so their least width has to be said.
    style.setProperty('--least-wide', `calc(${widths.map(leastOf).join(' + ')} + ${widths.length * GAPS + 4}px)`);
  }

  get hidable(): { id: string; title: PlainKey; shown: boolean }[] {
    return this.#options.columns.filter((column) => column.optional && column.id).map((column) => ({ id: column.id!, title: column.title, shown: this.#columns.includes(column) }));
  }

  toggleColumn(id: string): void {
    const { layout } = this.#options;
    if (!layout) return;
    layout.shown[id] = !this.#columns.some((column) => column.id === id);
    layout.keep();
    this.#arrangeColumns();
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

  #headKey(event: KeyboardEvent, id: string, cell: HTMLElement): void {
    const step = { ArrowLeft: -WIDTH_STEP, ArrowRight: WIDTH_STEP }[event.key];
    if (!step || !event.shiftKey) return;
    event.preventDefault();
    this.#resize(id, cell.getBoundingClientRect().width + step, true);
  }

  #headCell(column: Column<R>): HTMLElement {
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
      cell.addEventListener('keydown', (event) => this.#headKey(event, id, cell));
    }
    return cell;
  }

  showSort(word: string, down: boolean): void {
    this.#sorted = { word, down };
    this.#head.querySelectorAll('[role=columnheader]').forEach((cell) => {
      const mine = cell.querySelector(`[data-sort="${word}"]`) !== null;
      setAttribute(cell, 'aria-sort', mine ? (down ? 'descending' : 'ascending') : null);
    });
  }

  get sort(): { word: string; down: boolean } | null {
    return this.#sorted;
  }

  leave(): void {
    this.#observer.disconnect();
  }

  #measure(): void {
    const height = this.#probe.offsetHeight || 32;
    this.#room = Math.max(0, this.root.clientHeight - this.#head.offsetHeight);
    if (height !== this.#rowHeight) {
      const top = this.root.scrollTop / this.#rowHeight;
      this.#rowHeight = height;
      this.#setHeight();
      this.root.scrollTop = top * height;
    }
    this.#draw(true);
  }

  #setHeight(): void {
    this.#space.style.height = `${this.#rows.length * this.#rowHeight}px`;
  }

  setRows(rows: readonly R[]): void {
    const { keyOf, selection } = this.#options;
    // Where a row of before is now, or -1.
    const placeOf = (index: number): number => {
      const row = this.#rows[index];
      const key = row === undefined ? null : keyOf(row);
      return key === null ? -1 : rows[index] !== undefined && keyOf(rows[index]) === key ? index : rows.findIndex((one) => keyOf(one) === key);
    };
    const active = placeOf(this.active);
    // If the active row is gone, its neighbour becomes active.
    this.active = active >= 0 ? active : Math.max(0, Math.min(this.active, rows.length - 1));
    selection?.startAt(placeOf(selection.anchor));
    this.#rows = rows;
    setAttribute(this.root, 'aria-rowcount', rows.length + 1);
    this.#setHeight();
    this.#draw(true);
  }

  row(index: number): R | undefined {
    return this.#rows[index];
  }

  get length(): number {
    return this.#rows.length;
  }

  // Refills the visible rows after marks or contents have changed.
  refresh(): void {
    this.#draw(true);
  }

  #draw(refill: boolean): void {
    const count = this.#rows.length;
    const inView = Math.ceil(this.#room / this.#rowHeight) + 1;
    const first = Math.max(0, Math.min(Math.floor(this.root.scrollTop / this.#rowHeight) - SPARE / 2, count - inView - SPARE));
    if (!refill && first === this.#first) return;
    const leap = Math.abs(first - this.#first) > SPARE;
    this.#first = first;
    const size = Math.min(count, inView + SPARE);
    if (this.#pool.length !== size) refill = true; // the row of an element depends on the pool's size
    while (this.#pool.length < size) this.#pool.push(this.#makeRow());
    while (this.#pool.length > size) this.#pool.pop()!.element.remove();
    // After a long jump all rows change: those out of view are filled after painting.
    const seen = Math.floor(this.root.scrollTop / this.#rowHeight);
    let waiting = false;
    for (let index = first; index < first + size; ++index) {
      const pooled = this.#pool[index % size]!;
      if (!refill && pooled.index === index) continue;
      if (!refill && leap && (index < seen || index >= seen + inView)) waiting = true;
      else this.#fillRow(pooled, index);
    }
    if (waiting) setTimeout(() => this.#fillRest());
    this.#pointAtActive();
  }

  #fillRest(): void {
    const size = this.#pool.length;
    for (let index = this.#first; index < this.#first + size; ++index) {
      const pooled = this.#pool[index % size]!;
      if (pooled.index !== index) this.#fillRow(pooled, index);
    }
  }

  #pooled(index: number): PooledRow | undefined {
    return this.#pool.find((one) => one.index === index);
  }

  #pointAtActive(): void {
    setAttribute(this.root, 'aria-activedescendant', this.#pooled(this.active) ? `${this.#prefix}-${this.active}` : null);
  }

  #makeRow(): PooledRow {
    const cells = this.#columns.map((column) => {
      const cell = column.make ? column.make() : el('div');
      cell.setAttribute('role', 'gridcell');
      if (column.number) cell.classList.add('number');
      if (column.extra) cell.classList.add('extra');
      return cell;
    });
    const element = el('div', { class: 'trow', role: 'row' }, cells);
    this.#space.append(element);
    return { element, cells, index: -1 };
  }

  #fillRow(pooled: PooledRow, index: number): void {
    const row = this.#rows[index];
    if (row === undefined) return;
    const { element, cells } = pooled;
    pooled.index = index;
    element.id = `${this.#prefix}-${index}`;
    element.style.transform = `translateY(${index * this.#rowHeight}px)`;
    setAttribute(element, 'aria-rowindex', index + 2);
    element.classList.toggle('active', index === this.active);
    if (this.#options.selection) {
      const markable = this.#options.markable?.(row) ?? true;
      setAttribute(element, 'aria-selected', markable ? (this.#options.selection.has(this.#options.keyOf(row)) ? 'true' : 'false') : null);
    }
    this.#columns.forEach((column, at) => column.fill(cells[at]!, row, index));
    this.#options.decorate?.(element, row, index);
  }

  moveTo(index: number, quiet = false): void {
    if (this.#rows.length === 0) return;
    this.#pooled(this.active)?.element.classList.remove('active');
    this.active = Math.max(0, Math.min(index, this.#rows.length - 1));
    this.#reveal(this.active);
    this.#draw(false);
    this.#pooled(this.active)?.element.classList.add('active');
    this.#pointAtActive();
    const row = this.#rows[this.active];
    if (row !== undefined && !quiet) this.#options.onActive?.(row, this.active);
  }

  toTop(): void {
    this.root.scrollTop = 0;
    this.moveTo(0, true);
  }

  #reveal(index: number): void {
    const top = index * this.#rowHeight;
    if (top < this.root.scrollTop) this.root.scrollTop = top;
    else if (top + this.#rowHeight > this.root.scrollTop + this.#room) this.root.scrollTop = top + this.#rowHeight - this.#room;
  }

  #mark(index: number): void {
    const row = this.#rows[index];
    const { selection } = this.#options;
    if (row === undefined || !selection || !(this.#options.markable?.(row) ?? true)) return;
    const key = this.#options.keyOf(row);
    if (!selection.has(key) && !(this.#options.mayMark?.(row) ?? true)) {
      this.#options.onRefused?.();
      return;
    }
    selection.toggle(index, key);
    this.#options.onMarked?.();
    this.#draw(true);
  }

  #keyAt = (index: number): string | null => {
    const row = this.#rows[index];
    if (row === undefined || !(this.#options.markable?.(row) ?? true) || !(this.#options.mayMark?.(row) ?? true)) return null;
    return this.#options.keyOf(row);
  };

  #extend(index: number): void {
    if (!this.#options.selection) return;
    this.#options.selection.extendTo(index, this.#keyAt);
    this.#options.onMarked?.();
    this.#draw(true);
  }

  markAll(): void {
    if (!this.#options.selection) return;
    for (let i = 0; i < this.#rows.length; ++i) {
      const key = this.#keyAt(i);
      if (key !== null) this.#options.selection.keys.add(key);
    }
    this.#options.onMarked?.();
    this.#draw(true);
  }

  #key(event: KeyboardEvent): void {
    if (event.target !== this.root || event.altKey) return;
    if (this.#options.onKey?.(event, this.active)) {
      event.preventDefault();
      return;
    }
    const page = Math.max(1, Math.floor(this.#room / this.#rowHeight) - 1);
    const moves: Record<string, number> = {
      ArrowDown: this.active + 1, ArrowUp: this.active - 1, PageDown: this.active + page, PageUp: this.active - page,
      Home: 0, End: this.#rows.length - 1,
    };
    const target = moves[event.key];
    if (target !== undefined) {
      event.preventDefault();
      if (event.shiftKey && this.#options.selection) {
        this.#extend(Math.max(0, Math.min(target, this.#rows.length - 1)));
      } else {
        this.#options.selection?.startAt(target);
      }
      this.moveTo(target);
    } else if (event.key === KEYS.space) {
      event.preventDefault();
      if (event.shiftKey) this.#extend(this.active);
      else this.#mark(this.active);
    } else if (event.key === KEYS.enter) {
      const row = this.#rows[this.active];
      if (row === undefined) return;
      event.preventDefault();
      this.#options.onEnter?.(row, this.active);
    } else if (event.key === KEYS.delete && this.#options.onDelete) {
      event.preventDefault();
      this.#options.onDelete(this.#keyAt(this.active) ?? undefined, event.shiftKey);
    } else if (event.key.toLowerCase() === 'c' && (event.ctrlKey || event.metaKey) && this.#options.onCopy) {
      event.preventDefault();
      this.#options.onCopy(this.chosenRows());
    } else if (event.key.toLowerCase() === 'a' && (event.ctrlKey || event.metaKey) && this.#options.selection) {
      event.preventDefault();
      this.markAll();
    }
  }

  // The marked rows, or else the active one.
  chosenRows(): R[] {
    const { selection, keyOf } = this.#options;
    const marked = selection && selection.keys.size > 0 ? this.#rows.filter((row) => selection.has(keyOf(row))) : [];
    const active = this.#rows[this.active];
    return marked.length > 0 ? marked : active === undefined ? [] : [active];
  }

  // The row's menu at the pointer, or below the active row if a key asks for it.
  #menu(event: MouseEvent): void {
    const { onMenu } = this.#options;
    if (!onMenu) return;
    const byKey = event.button !== 2 && (event as PointerEvent).pointerType !== 'touch';
    const index = byKey ? this.active : this.#indexOf(event);
    const row = this.#rows[index];
    if (row === undefined) return;
    event.preventDefault();
    this.moveTo(index);
    const box = this.#pooled(index)?.element.getBoundingClientRect();
    if (byKey && box) onMenu(row, box.left + 2 * this.#rowHeight, box.bottom);
    else onMenu(row, event.clientX, event.clientY);
  }

  // The same from a button in the row.
  menuOf(index: number, button: HTMLElement): void {
    const row = this.#rows[index];
    const box = button.getBoundingClientRect();
    if (row === undefined) return;
    this.moveTo(index);
    this.#options.onMenu?.(row, box.left, box.bottom);
  }

  // Scrolls so that this row is the first in view.
  scrollToRow(index: number): void {
    this.root.scrollTop = index * this.#rowHeight;
  }

  #indexOf(event: Event): number {
    const element = (event.target as Element).closest('.trow');
    return this.#pool.find((pooled) => pooled.element === element)?.index ?? -1;
  }

  #click(event: MouseEvent): void {
    const index = this.#indexOf(event);
    if (index < 0 || (event.target as Element).closest('button, a, .twist')) return;
    this.root.focus({ preventScroll: true });
    if (event.shiftKey) this.#extend(index);
    else if (event.ctrlKey || event.metaKey || (event.target as Element).closest('.mark-cell')) this.#mark(index);
    else this.#options.selection?.startAt(index);
    this.moveTo(index);
  }

  #twice(event: MouseEvent): void {
    const index = this.#indexOf(event);
    const row = this.#rows[index];
    if (row === undefined || (event.target as Element).closest('button, a, .twist, .mark-cell')) return;
    this.#options.onEnter?.(row, index);
  }
}
