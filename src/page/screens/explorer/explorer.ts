// The size tree: folders expanded one by one, with large files among them.
import type { Job } from '../../core/answers';
import { t } from '../../core/i18n';
import { isRemote } from '../../core/job';
import { valueOf } from '../../core/measure';
import { isFailed, isFolder, isItem, isMore } from '../../core/entry';
import { findTyped, treeRows, type ScanTree, type TreeRow } from '../../core/tree';
import { isSort, startsDown, type Order } from '../../core/tree_order';
import { expandBelow, expandTo, loadFolder, loadMoreFiles } from '../../data/folders';
import { changed, knowsDisk, measure, treeOf, viewOf, type ScanView } from '../../data/state';
import { keepTable, tableSettings } from '../../data/table_settings';
import { columnsButton } from '../../flows/columns_menu';
import { detailsButton, showDetails } from '../../flows/details';
import { copyPaths } from '../../flows/item_actions';
import { openItemMenu } from '../../flows/item_menu';
import { scanMarksBar } from '../../flows/marks';
import { measureSwitch } from '../../flows/measure_switch';
import { openInMap } from '../../flows/places';
import { resultScreen, type ResultScreen } from '../../flows/result_screen';
import type { Changes, Screen } from '../../flows/screen';
import { el, setAttribute } from '../../ui/dom';
import { KEYS } from '../../ui/keys';
import { Table } from '../../ui/table';
import { toast } from '../../ui/toast';
import { columns } from './columns';

const TYPING_MS = 800; // a longer pause starts a new word
const TABLE = 'tree'; // under which its columns and order are remembered

class Explorer implements ResultScreen {
  readonly keeps = true;
  readonly top: HTMLElement[];
  readonly content: HTMLElement[];
  readonly #table: Table<TreeRow>;
  readonly #bar = scanMarksBar(() => this.#table.root);
  #rows: TreeRow[] = [];
  #typed = { text: '', at: 0 };
  #completing = 0; // how many times at once
  // A path opened from another section may have to be loaded first; who moves on does not wait for it.
  #wanted: string;
  readonly #view: ScanView;
  readonly #settings = tableSettings(TABLE);
  #order: Order;
  readonly #job: Job;

  constructor(job: Job) {
    this.#job = job;
    this.#view = viewOf(job.id);
    this.#wanted = this.#view.openFolder;
    if (this.#view.expanded.size === 0) this.#view.expanded.add(this.#tree.root.path);
    this.#order = this.#chosenOrder();
    this.#table = this.#makeTable();
    this.#table.head.showSort(this.#order.by, this.#order.down);
    this.top = [el('div', { class: 'line push' }, measureSwitch(job.id), columnsButton(() => this.#table, () => [{
      label: t('foldersFirst'), checked: this.#order.foldersFirst, act: () => {
        this.#settings.foldersFirst = !this.#order.foldersFirst;
        this.#reorder();
      },
    }]), detailsButton())];
    this.content = [this.#bar.root, this.#table.root];
    this.#rebuild();
    void this.#complete();
    const { scroll } = this.#view;
    requestAnimationFrame(() => {
      this.#goToOpenFolder();
      if (!this.#wanted || this.#has(this.#wanted)) this.#table.scrollToRow(scroll);
    });
    if (this.#wanted && !this.#has(this.#wanted)) void expandTo(job.id, this.#wanted);
  }

  update(changes: Changes): void {
    if (changes.has('results')) void this.#complete();
    else if (changes.has('measure')) this.#reorder();
    else if (changes.has('tree') && this.#completing === 0) this.#settle();
    if (changes.has('selection')) {
      this.#bar.update();
      this.#table.refresh();
    }
  }

  leave(): void {
    this.#table.leave();
  }

  get #tree(): ScanTree {
    return treeOf(this.#job.id)!;
  }

  #has(path: string): boolean {
    return this.#rows.some((row) => row.entry.path === path);
  }

  #canMark(row: TreeRow): boolean {
    return !isRemote(this.#job) && row.depth > 0 && isItem(row.entry);
  }

  #chosenOrder(): Order {
    const { sort, foldersFirst } = this.#settings;
    const by = isSort(sort?.word) && (sort.word !== 'disk' || knowsDisk(this.#job.id)) ? sort.word : 'size';
    return { by, down: sort && by === sort.word ? sort.down : startsDown(by), foldersFirst: foldersFirst ?? !startsDown(by), measure: measure(this.#job.id) };
  }

  #reorder(): void {
    keepTable(TABLE);
    this.#order = this.#chosenOrder();
    this.#table.head.showSort(this.#order.by, this.#order.down);
    this.#rebuild();
  }

  #sortBy(word: string): void {
    if (!isSort(word)) return;
    this.#settings.sort = { word, down: this.#order.by === word ? !this.#order.down : startsDown(word) };
    this.#reorder();
  }

  #makeTable(): Table<TreeRow> {
    const canMark = (row: TreeRow): boolean => this.#canMark(row);
    return new Table<TreeRow>({
      label: t('exTree'), role: 'treegrid', selection: this.#view.selection, keyOf: (row) => row.entry.path, markable: canMark,
      columns: columns({
        whole: () => this.#tree.root.s, value: (row) => this.#value(row), parentSize: (row) => this.#valueAt(row.parent), canMark, knowsDisk: knowsDisk(this.#job.id),
        menu: (index, button) => this.#table.menuOf(index, button),
        retry: (row) => this.#enter(row),
        toggle: (index) => {
          this.#setOpen(index, !this.#rows[index]?.open);
          this.#table.moveTo(index);
        },
      }),
      layout: { ...this.#settings, keep: () => keepTable(TABLE) },
      onSort: (word) => this.#sortBy(word),
      onScroll: (row) => {
        this.#view.scroll = row;
      },
      onMenu: (row, x, y) => this.#menu(row, x, y),
      onCopy: (rows) => copyPaths(rows.filter((row) => isItem(row.entry)).map((row) => row.entry.path)),
      onMarked: () => this.#weighMarks(),
      onActive: (row) => {
        this.#wanted = '';
        this.#view.openFolder = row.entry.path;
        showDetails(row.entry);
      },
      onEnter: (row) => this.#enter(row),
      onDelete: (path, permanent) => this.#bar.delete(path, permanent),
      onKey: (event, index) => this.#key(event, index),
      decorate: (element, row) => {
        // What is not listed yet is loaded as soon as one gets to it.
        if (isMore(row.entry)) this.#loadMore(row);
        setAttribute(element, 'aria-level', row.depth + 1);
        setAttribute(element, 'aria-setsize', row.siblings);
        setAttribute(element, 'aria-posinset', row.place);
        setAttribute(element, 'aria-expanded', row.opens ? String(row.open) : null);
      },
    });
  }

  #weighMarks(): void {
    for (const { entry: { path, s } } of this.#rows) if (this.#view.selection.has(path)) this.#view.weights.set(path, s);
    changed('selection');
  }

  #setOpen(index: number, open: boolean): void {
    const row = this.#rows[index];
    if (!row?.opens) return;
    if (open) {
      this.#view.expanded.add(row.entry.path);
      void loadFolder(this.#job.id, row.entry.path);
    } else {
      this.#view.expanded.delete(row.entry.path);
    }
    this.#rebuild();
  }

  #value(row: TreeRow): number {
    return valueOf(row.entry, this.#order.measure);
  }

  #valueAt(index: number): number {
    const row = this.#rows[index];
    return row ? this.#value(row) : 0;
  }

  // Opens or closes a folder, retries a failed one, or goes to the parent of a rest.
  #enter(row: TreeRow): void {
    if (isFailed(row.entry)) void loadFolder(this.#job.id, this.#rows[row.parent]!.entry.path);
    else if (isMore(row.entry)) this.#loadMore(row);
    else if (isFolder(row.entry)) this.#setOpen(this.#rows.indexOf(row), !row.open);
    else if (!isItem(row.entry) && row.parent >= 0) this.#table.moveTo(row.parent);
  }

  #loadMore(row: TreeRow): void {
    const folder = this.#rows[row.parent]?.entry.path;
    if (folder !== undefined) void loadMoreFiles(this.#job.id, folder);
  }

  async #openBelow(path: string): Promise<void> {
    if (!await expandBelow(this.#job.id, path)) toast(t('exTooMany'));
  }

  #menu(row: TreeRow, x: number, y: number): void {
    const { path } = row.entry;
    openItemMenu(this.#job, row.entry, { x, y, from: this.#table.root }, row.opens ? {
      open: { label: row.open ? t('miCollapse') : t('miExpand'), icon: row.open ? 'up' : 'down', keys: t('keyEnter'), act: () => this.#enter(row) },
      below: { label: t('miExpandAll'), icon: 'explorer', keys: '*', act: () => void this.#openBelow(path) },
    } : {});
  }

  #key(event: KeyboardEvent, index: number): boolean {
    const row = this.#rows[index];
    if (!row) return false;
    if (event.ctrlKey || event.metaKey) {
      if (event.key.toLowerCase() !== 'm' || !isItem(row.entry)) return false;
      openInMap(row.entry.path);
    } else if (event.key === '*' && row.opens) {
      void this.#openBelow(row.entry.path);
    } else if (event.key === KEYS.backspace) {
      if (row.parent >= 0) this.#table.moveTo(row.parent);
    } else if (event.key === 'ArrowRight') {
      if (row.opens && !row.open) this.#setOpen(index, true);
      else if (row.open && this.#rows[index + 1]?.parent === index) this.#table.moveTo(index + 1);
    } else if (event.key === 'ArrowLeft') {
      if (row.open) this.#setOpen(index, false);
      else if (row.parent >= 0) this.#table.moveTo(row.parent);
    } else if (event.key.length === 1 && event.key !== KEYS.space && event.key !== '?' && event.key !== '/') {
      this.#goToTyped(event, index);
    } else {
      return false;
    }
    return true;
  }

  #goToTyped(event: KeyboardEvent, index: number): void {
    const fresh = event.timeStamp - this.#typed.at > TYPING_MS;
    const text = fresh ? event.key : this.#typed.text + event.key;
    this.#typed = { text, at: event.timeStamp };
    const found = findTyped(this.#rows, text.length === 1 ? index + 1 : index, text);
    if (found >= 0) this.#table.moveTo(found);
  }

  #rebuild(): void {
    this.#rows = treeRows(this.#tree, this.#view.expanded, this.#order);
    this.#table.setRows(this.#rows);
    // The largest files are listed first; another order needs all of them.
    if (this.#order.by === 'size' && this.#order.down) return;
    for (const row of this.#rows) if (isMore(row.entry)) void loadMoreFiles(this.#job.id, this.#rows[row.parent]!.entry.path, true);
  }

  // Loads what expanded folders lack after a deletion, outer ones first. The rows are only rebuilt when all
  // are there, so that none of them disappears for a moment.
  async #complete(): Promise<void> {
    ++this.#completing;
    for (const path of [...this.#view.expanded].sort((a, b) => a.length - b.length)) {
      const tree = treeOf(this.#job.id);
      if (tree?.find(path) && tree.needsLoading(path)) await loadFolder(this.#job.id, path);
    }
    if (--this.#completing === 0 && this.#table.root.isConnected && treeOf(this.#job.id)) this.#settle();
  }

  #settle(): void {
    this.#rebuild();
    if (!this.#wanted || !this.#has(this.#wanted)) return;
    this.#view.openFolder = this.#wanted;
    this.#wanted = '';
    this.#goToOpenFolder();
  }

  #goToOpenFolder(): void {
    const index = this.#rows.findIndex((row) => row.entry.path === this.#view.openFolder);
    if (index >= 0 && index !== this.#table.active) this.#table.moveTo(index, true);
    const row = this.#rows[this.#table.active];
    if (row) showDetails(row.entry);
  }
}

export const explorer = (): Screen => resultScreen('secExplorer', (job) => new Explorer(job), { fills: true, detailed: true });
