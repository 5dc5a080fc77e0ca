// A table with only the visible rows in the document. All rows have the same height, so a row's place
// is a multiplication; a fixed pool of row elements is moved and refilled. The table is one tab stop:
// the arrow keys move the active row, which assistive technology follows through
// aria-activedescendant. Marks are kept in a Selection.
import type { Selection } from '../core/selection';
import { el, setAttribute } from './dom';
import { KEYS } from './keys';
import { TableHead, type HeadOptions } from './table_head';

export interface TableOptions<R> extends HeadOptions<R> {
  label: string;
  role: 'grid' | 'treegrid';
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
  decorate?: (element: HTMLElement, row: R, index: number) => void;
  grows?: boolean; // height follows its rows, within limits
}

const BEHIND = 3; // rows out of view that are kept where the list came from
let tables = 0;

interface PooledRow {
  element: HTMLElement;
  cells: HTMLElement[];
  index: number;
  stale: boolean; // its contents have changed since it was filled
}

export class Table<R> {
  readonly root: HTMLElement;
  readonly #space = el('div', { class: 'space', role: 'rowgroup' });
  readonly head: TableHead<R>;
  readonly #probe = el('div', { class: 'trow', role: 'presentation', 'aria-hidden': 'true' });
  readonly #prefix = `t${++tables}`;
  readonly #pool: PooledRow[] = [];
  #rows: readonly R[] = [];
  #rowHeight = 32;
  #first = 0;
  #top = 0; // the first row in view
  #down = true; // where the list was last scrolled to
  #later = 0;
  #room = 0; // visible height for rows; cached, since reading it forces layout
  readonly #observer: ResizeObserver;
  active = 0;
  readonly #options: TableOptions<R>;

  constructor(options: TableOptions<R>) {
    this.#options = options;
    options.selection?.startAt(-1); // a range that was begun in another table
    this.root = el('div', {
      class: options.grows ? 'table grows' : 'table', role: options.role, tabindex: '0', 'aria-label': options.label,
      'aria-multiselectable': options.selection ? 'true' : null,
      on: { keydown: (event) => this.#key(event), click: (event) => this.#click(event), dblclick: (event) => this.#twice(event), contextmenu: (event) => this.#menu(event) },
    });
    this.head = new TableHead(this.root, options);
    this.root.append(this.head.root, this.#space);
    this.#probe.style.visibility = 'hidden';
    this.#space.append(this.#probe);
    this.root.addEventListener('scroll', () => {
      this.#draw(false);
      options.onScroll?.(this.#top);
    }, { passive: true });
    this.root.addEventListener('focus', () => this.#pointAtActive());
    this.#observer = new ResizeObserver(() => this.#measure());
    this.#observer.observe(this.root);
  }

  toggleColumn(id: string): void {
    if (!this.head.toggle(id)) return;
    while (this.#pool.length > 0) this.#pool.pop()!.element.remove();
    this.#draw(true);
  }

  leave(): void {
    this.#observer.disconnect();
    clearTimeout(this.#later);
  }

  #measure(): void {
    const height = this.#probe.offsetHeight || 32;
    this.#room = Math.max(0, this.root.clientHeight - this.head.root.offsetHeight);
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

  // The rows in view are filled at once, and while there is time those of the next page.
  #draw(refill: boolean): void {
    const count = this.#rows.length;
    const inView = Math.ceil(this.#room / this.#rowHeight) + 1;
    const size = Math.min(count, 2 * inView + BEHIND);
    const top = Math.floor(this.root.scrollTop / this.#rowHeight);
    if (!refill && top === this.#top) return;
    if (top !== this.#top) this.#down = top > this.#top;
    this.#top = top;
    this.#first = Math.max(0, Math.min(top - (this.#down ? BEHIND : size - inView - BEHIND), count - size));
    if (this.#pool.length !== size) this.#setPool(size);
    if (refill) this.#pool.forEach((pooled) => (pooled.stale = true));
    this.#fillRows(top, top + inView);
    this.#later ||= window.setTimeout(() => this.#fillRest());
    this.#pointAtActive();
  }

  // Lays the rows out as well, so that scrolling to them only has to show them.
  #fillRest(): void {
    this.#later = 0;
    this.#fillRows(0, Infinity);
    this.root.getBoundingClientRect();
    this.#pointAtActive();
  }

  // Which element has a row depends on the pool's size, so none may be left in view.
  #setPool(size: number): void {
    while (this.#pool.length < size) this.#pool.push(this.#makeRow());
    while (this.#pool.length > size) this.#pool.pop()!.element.remove();
    for (const pooled of this.#pool) {
      pooled.index = -1;
      pooled.element.hidden = true;
    }
  }

  #fillRows(from: number, to: number): void {
    const size = this.#pool.length;
    for (let index = Math.max(from, this.#first); index < Math.min(to, this.#first + size); ++index) {
      const pooled = this.#pool[index % size]!;
      if (pooled.index !== index || pooled.stale) this.#fillRow(pooled, index);
    }
  }

  #pooled(index: number): PooledRow | undefined {
    return this.#pool.find((one) => one.index === index);
  }

  #pointAtActive(): void {
    setAttribute(this.root, 'aria-activedescendant', this.#pooled(this.active) ? `${this.#prefix}-${this.active}` : null);
  }

  #makeRow(): PooledRow {
    const cells = this.head.columns.map((column) => {
      const cell = column.make ? column.make() : el('div');
      cell.setAttribute('role', 'gridcell');
      if (column.number) cell.classList.add('number');
      if (column.extra) cell.classList.add('extra');
      return cell;
    });
    const element = el('div', { class: 'trow', role: 'row' }, cells);
    this.#space.append(element);
    return { element, cells, index: -1, stale: true };
  }

  #fillRow(pooled: PooledRow, index: number): void {
    const row = this.#rows[index];
    const { element, cells } = pooled;
    pooled.index = index;
    pooled.stale = false;
    element.hidden = row === undefined;
    if (row === undefined) return;
    element.id = `${this.#prefix}-${index}`;
    element.style.transform = `translateY(${index * this.#rowHeight}px)`;
    setAttribute(element, 'aria-rowindex', index + 2);
    element.classList.toggle('active', index === this.active);
    if (this.#options.selection) {
      const markable = this.#options.markable?.(row) ?? true;
      setAttribute(element, 'aria-selected', markable ? (this.#options.selection.has(this.#options.keyOf(row)) ? 'true' : 'false') : null);
    }
    this.head.columns.forEach((column, at) => column.fill(cells[at]!, row, index));
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
