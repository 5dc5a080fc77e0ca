// The size tree: folders expanded one by one, with large files among them.
import type { Job } from '../../core/answers';
import { size, t } from '../../core/i18n';
import { isRemote } from '../../core/job';
import { BIG_FILE_BYTES, findTyped, isFailed, isItem, treeRows, type ScanTree, type TreeRow } from '../../core/tree';
import { expandTo, loadFolder } from '../../data/folders';
import { changed, treeOf, viewOf, type ScanView } from '../../data/state';
import { detailsButton, showDetails } from '../../flows/details';
import { scanMarksBar } from '../../flows/marks';
import { openInMap } from '../../flows/places';
import { resultScreen, type ResultScreen } from '../../flows/result_screen';
import type { Changes, Screen } from '../../flows/screen';
import { el, setAttribute } from '../../ui/dom';
import { KEYS } from '../../ui/keys';
import { Table } from '../../ui/table';
import { columns } from './columns';

const TYPING_MS = 800; // a longer pause starts a new word

class Explorer implements ResultScreen {
  readonly keeps = true;
  readonly top: HTMLElement[];
  readonly content: HTMLElement[];
  private readonly table: Table<TreeRow>;
  private readonly bar = scanMarksBar(() => this.table.root);
  private rows: TreeRow[] = [];
  private typed = { text: '', at: 0 };
  private completing = false;
  // A path opened from another section may have to be loaded first.
  private wanted: string;
  private readonly view: ScanView;

  constructor(private readonly job: Job) {
    this.view = viewOf(job.id);
    this.wanted = this.view.openFolder;
    if (this.view.expanded.size === 0) this.view.expanded.add(this.tree.root.path);
    this.table = this.makeTable();
    this.top = [el('span', { class: 'small muted' }, t('exBigOnly', { size: size(BIG_FILE_BYTES) })), detailsButton()];
    this.content = [this.bar.root, this.table.root];
    this.rebuild();
    void this.complete();
    requestAnimationFrame(() => this.goToOpenFolder());
    if (this.wanted && !this.has(this.wanted)) void expandTo(job.id, this.wanted);
  }

  update(changes: Changes): void {
    if (changes.has('results')) void this.complete();
    else if (changes.has('tree') && !this.completing) this.settle();
    if (changes.has('selection')) {
      this.bar.update();
      this.table.refresh();
    }
  }

  leave(): void {
    this.table.leave();
  }

  private get tree(): ScanTree {
    return treeOf(this.job.id)!;
  }

  private has(path: string): boolean {
    return this.rows.some((row) => row.entry.path === path);
  }

  private canMark(row: TreeRow): boolean {
    return !isRemote(this.job) && row.depth > 0 && isItem(row.entry);
  }

  private makeTable(): Table<TreeRow> {
    const canMark = (row: TreeRow): boolean => this.canMark(row);
    return new Table<TreeRow>({
      label: t('exTree'), role: 'treegrid', selection: this.view.selection, keyOf: (row) => row.entry.path, markable: canMark,
      columns: columns({
        whole: () => this.tree.root.s, parentSize: (row) => this.rows[row.parent]?.entry.s ?? 0, canMark,
        retry: (row) => this.enter(row),
        toggle: (index) => {
          this.setOpen(index, !this.rows[index]?.open);
          this.table.moveTo(index);
        },
      }),
      onMarked: () => this.weighMarks(),
      onActive: (row) => {
        this.view.openFolder = row.entry.path;
        showDetails(row.entry);
      },
      onEnter: (row) => this.enter(row),
      onDelete: (path) => this.bar.delete(path),
      onKey: (event, index) => this.key(event, index),
      decorate: (element, row) => {
        setAttribute(element, 'aria-level', row.depth + 1);
        setAttribute(element, 'aria-setsize', row.siblings);
        setAttribute(element, 'aria-posinset', row.place);
        setAttribute(element, 'aria-expanded', row.opens ? String(row.open) : null);
      },
    });
  }

  private weighMarks(): void {
    for (const path of this.view.selection.keys) {
      if (!this.view.weights.has(path)) this.view.weights.set(path, this.rows.find((row) => row.entry.path === path)?.entry.s ?? 0);
    }
    changed('selection');
  }

  private setOpen(index: number, open: boolean): void {
    const row = this.rows[index];
    if (!row?.opens) return;
    if (open) {
      this.view.expanded.add(row.entry.path);
      void loadFolder(this.job.id, row.entry.path);
    } else {
      this.view.expanded.delete(row.entry.path);
    }
    this.rebuild();
  }

  // Opens the map, retries a failed folder, or goes to the parent of a rest.
  private enter(row: TreeRow): void {
    if (isFailed(row.entry)) void loadFolder(this.job.id, this.rows[row.parent]!.entry.path);
    else if (isItem(row.entry)) openInMap(row.entry.path);
    else if (row.parent >= 0) this.table.moveTo(row.parent);
  }

  private key(event: KeyboardEvent, index: number): boolean {
    const row = this.rows[index];
    if (!row || event.ctrlKey || event.metaKey) return false;
    if (event.key === 'ArrowRight') {
      if (row.opens && !row.open) this.setOpen(index, true);
      else if (row.open && this.rows[index + 1]?.parent === index) this.table.moveTo(index + 1);
    } else if (event.key === 'ArrowLeft') {
      if (row.open) this.setOpen(index, false);
      else if (row.parent >= 0) this.table.moveTo(row.parent);
    } else if (event.key.length === 1 && event.key !== KEYS.space) {
      this.goToTyped(event, index);
    } else {
      return false;
    }
    return true;
  }

  private goToTyped(event: KeyboardEvent, index: number): void {
    const fresh = event.timeStamp - this.typed.at > TYPING_MS;
    const text = fresh ? event.key : this.typed.text + event.key;
    this.typed = { text, at: event.timeStamp };
    const found = findTyped(this.rows, text.length === 1 ? index + 1 : index, text);
    if (found >= 0) this.table.moveTo(found);
  }

  private rebuild(): void {
    this.rows = treeRows(this.tree, this.view.expanded);
    this.table.setRows(this.rows);
  }

  // Loads what expanded folders lack after a deletion, outer ones first. The rows are only rebuilt when all
  // are there, so that none of them disappears for a moment.
  private async complete(): Promise<void> {
    this.completing = true;
    for (const path of [...this.view.expanded].sort((a, b) => a.length - b.length)) {
      const tree = treeOf(this.job.id);
      if (tree?.find(path) && tree.needsLoading(path)) await loadFolder(this.job.id, path);
    }
    this.completing = false;
    if (this.table.root.isConnected && treeOf(this.job.id)) this.settle();
  }

  private settle(): void {
    this.rebuild();
    if (!this.wanted || !this.has(this.wanted)) return;
    this.view.openFolder = this.wanted;
    this.wanted = '';
    this.goToOpenFolder();
  }

  private goToOpenFolder(): void {
    const index = this.rows.findIndex((row) => row.entry.path === this.view.openFolder);
    if (index >= 0 && index !== this.table.active) this.table.moveTo(index, true);
    const row = this.rows[this.table.active];
    if (row) showDetails(row.entry);
  }
}

export const explorer = (): Screen => resultScreen('exTitle', (job) => new Explorer(job), { fills: true, detailed: true });
