// A folder as a map of sizes, with the same folder as a table beside it.
import type { Job } from '../../core/answers';
import { size, t } from '../../core/i18n';
import { isRemote } from '../../core/job';
import { entryName } from '../../core/names';
import { baseName, shown } from '../../core/paths';
import { isFailed, isFolder, isItem, type Entry, type ScanTree } from '../../core/tree';
import { chainTo, loadFolder } from '../../data/folders';
import { changed, state, treeOf } from '../../data/state';
import { detailsButton, showDetails } from '../../flows/details';
import { scanMarksBar, toggleMark } from '../../flows/marks';
import { resultScreen, type ResultScreen } from '../../flows/result_screen';
import type { Changes, Screen } from '../../flows/screen';
import { el, fill, iconButton, inert, setText } from '../../ui/dom';
import { KEYS } from '../../ui/keys';
import { MapCanvas } from '../../ui/map_canvas';
import { Table } from '../../ui/table';
import { columns } from './columns';

// The state of a step in the browser's history: each folder entered is one, so that Back leaves it.
interface Step {
  map: string;
}

const stepOf = (value: unknown): string | null => {
  const path = (value as Partial<Step> | null)?.map;
  return typeof path === 'string' ? path : null;
};

class MapSection implements ResultScreen {
  readonly keeps = true;
  readonly top: HTMLElement[];
  readonly content: HTMLElement[];
  private readonly crumbs = el('nav', { class: 'crumbs', 'aria-label': t('mapCrumbs') });
  private readonly under = el('p', { class: 'small muted hovered' }, t('mapHelp'));
  private readonly empty = el('p', { class: 'muted', hidden: true }, t('mapEmpty'));
  private readonly bar = scanMarksBar(() => this.table.root);
  private readonly canvas: MapCanvas;
  private readonly table: Table<Entry>;
  private folder: Entry;

  constructor(private readonly job: Job) {
    // Back into this section restores the folder of its step.
    this.folder = this.nearestFolder(stepOf(history.state) ?? state.openFolder);
    history.replaceState({ map: this.folder.path } satisfies Step, '', '#map');
    this.canvas = this.makeCanvas();
    this.table = this.makeTable();
    this.top = [iconButton('up', t('mapUp'), () => this.up()), this.crumbs, detailsButton()];
    this.content = [this.bar.root, this.empty, el('div', { class: 'map-area' }, this.canvas.root, this.table.root), this.under];
    addEventListener('popstate', this.onBack);
    this.load();
    this.show();
    showDetails(this.folder);
  }

  update(changes: Changes): void {
    if (changes.has('results')) {
      this.folder = this.nearestFolder(this.folder.path);
      this.load();
    }
    if (changes.has('results') || changes.has('tree')) this.show();
    if (changes.has('selection')) {
      this.bar.update();
      this.table.refresh();
    }
  }

  leave(): void {
    removeEventListener('popstate', this.onBack);
    this.canvas.leave();
    this.table.leave();
  }

  private readonly onBack = (event: PopStateEvent): void => {
    const path = stepOf(event.state);
    if (path !== null) this.goInto(this.nearestFolder(path));
  };

  private get tree(): ScanTree {
    return treeOf(this.job.id)!;
  }

  private get rows(): readonly Entry[] {
    return this.tree.entries(this.folder.path);
  }

  // The folder with this path, or the nearest one above it that still exists and has contents.
  private nearestFolder(path: string): Entry {
    const { tree } = this;
    for (let at = path.split('\0')[0]!; at !== '' && at !== tree.root.path; at = tree.folderOf(at)) {
      const entry = tree.find(at);
      if (entry && tree.opens(entry)) return entry;
    }
    return tree.root;
  }

  private canMark(entry: Entry): boolean {
    return !isRemote(this.job) && isItem(entry);
  }

  private makeCanvas(): MapCanvas {
    return new MapCanvas({
      childrenOf: (entry) => this.tree.entries(entry.path),
      nameOf: entryName,
      onChoose: (entry) => {
        this.moveTo(entry.path);
        showDetails(isItem(entry) ? entry : null);
      },
      onEnter: (entry) => this.enter(entry),
      onLeave: () => this.up(),
      onHover: (entry) => setText(this.under, entry ? `${shown((isItem(entry) ? entry.path : entryName(entry)).slice(0, 400))}  ${size(entry.s)}` : t('mapHelp')),
      onDelete: (entry) => this.bar.delete(this.canMark(entry) ? entry.path : undefined),
      onMark: (entry) => {
        if (this.canMark(entry)) toggleMark(entry.path, entry.s);
      },
    });
  }

  private makeTable(): Table<Entry> {
    const markable = (row: Entry): boolean => this.canMark(row);
    return new Table<Entry>({
      label: '', role: 'grid', selection: state.selection, keyOf: (row) => row.path, markable, columns: columns(markable, () => this.folder.s, () => this.load()),
      onMarked: () => {
        for (const row of this.rows) if (state.selection.has(row.path)) state.weights.set(row.path, row.s);
        changed('selection');
      },
      onActive: (row) => {
        this.canvas.choose(row.path);
        showDetails(isItem(row) ? row : null);
      },
      onEnter: (row) => this.enter(row),
      onDelete: (path) => this.bar.delete(path),
      onKey: (event) => {
        if (event.key !== KEYS.backspace) return false;
        this.up();
        return true;
      },
    });
  }

  private moveTo(path: string): void {
    const index = this.rows.findIndex((row) => row.path === path);
    if (index >= 0) this.table.moveTo(index, true);
  }

  private show(): void {
    const name = shown(this.folder.path);
    this.table.root.setAttribute('aria-label', t('mapTable', { path: name }));
    this.table.setRows(this.rows);
    this.canvas.show(this.folder, t('mapOf', { path: name }));
    this.empty.hidden = this.rows.length > 0;
    this.showCrumbs();
  }

  private showCrumbs(): void {
    const chain = chainTo(this.tree.root.path, this.folder.path);
    fill(this.crumbs, el('ol', {}, chain.map((path, index) => {
      const label = inert(index === 0 ? path : baseName(path));
      return el('li', {}, index === chain.length - 1 ? el('span', { 'aria-current': 'location' }, label) : this.crumb(path, label));
    })));
  }

  private crumb(path: string, label: HTMLElement): HTMLElement {
    return el('a', { href: '#map', on: { click: (event) => {
      event.preventDefault();
      const entry = this.tree.find(path);
      if (entry) this.enter(entry);
    } } }, label);
  }

  private load(): void {
    void loadFolder(this.job.id, this.folder.path);
  }

  private goInto(entry: Entry): void {
    this.folder = entry;
    state.openFolder = entry.path;
    this.table.active = 0;
    this.table.root.scrollTop = 0;
    this.load();
    this.show();
    showDetails(entry);
  }

  private step(entry: Entry): void {
    history.pushState({ map: entry.path } satisfies Step, '', '#map');
    this.goInto(entry);
  }

  private enter(entry: Entry): void {
    if (isFailed(entry)) this.load();
    if (isFolder(entry) && this.tree.opens(entry) && entry.path !== this.folder.path) this.step(entry);
  }

  private up(): void {
    const left = this.folder.path;
    if (left === this.tree.root.path) return;
    this.step(this.nearestFolder(this.tree.folderOf(left)));
    this.moveTo(left);
    this.canvas.choose(left);
  }
}

export const map = (): Screen => resultScreen('mapTitle', (job) => new MapSection(job), { fills: true, detailed: true });
