// A folder as a map of sizes, with the legend and the same folder as a table beside it.
import type { Job } from '../../core/answers';
import { date, percent, size, t, text } from '../../core/i18n';
import { isRemote } from '../../core/job';
import { COLOURINGS, colourOf } from '../../core/map_colours';
import type { Tile } from '../../core/map_layout';
import { valueOf } from '../../core/measure';
import { entryName } from '../../core/names';
import { baseName, shown } from '../../core/paths';
import { isFailed, isFolder, isItem, isMore, type Entry } from '../../core/entry';
import type { ScanTree } from '../../core/tree';
import { shareOf } from '../../core/units';
import { chainTo, loadAbove, loadFolder, loadMoreFiles } from '../../data/folders';
import { changeMap, LEAST_DEPTH, LEAST_SHARE, mapSettings, MOST_DEPTH, MOST_SHARE } from '../../data/map_settings';
import { changed, measure, state, treeOf } from '../../data/state';
import { addressOf, replaceStep } from '../../data/steps';
import { detailsButton, showDetails } from '../../flows/details';
import { openItemMenu } from '../../flows/item_menu';
import { scanMarksBar, toggleMark } from '../../flows/marks';
import { measureSwitch } from '../../flows/measure_switch';
import { resultScreen, type ResultScreen } from '../../flows/result_screen';
import type { Changes, Screen } from '../../flows/screen';
import { el, fill, iconButton, inert, select, setAttribute } from '../../ui/dom';
import { KEYS } from '../../ui/keys';
import { MapCanvas, type MapLook } from '../../ui/map_canvas';
import { splitter } from '../../ui/splitter';
import { Table } from '../../ui/table';
import { columns } from './columns';
import { Legend } from './legend';

// Folders of at least this many square pixels are looked into, so many at once, and so many for one view.
const LARGE_AREA = 100;
const AT_ONCE = 4;
const MOST_FETCHED = 800;
const REDRAW_MS = 250;
const ROOMY = 1300; // pixels of a window in which the list beside a large map still has room for names

class MapSection implements ResultScreen {
  readonly keeps = true;
  readonly top: HTMLElement[];
  readonly content: HTMLElement[];
  readonly #crumbs = el('nav', { class: 'crumbs', 'aria-label': t('mapCrumbs') });
  readonly #empty = el('p', { class: 'muted', hidden: true }, t('mapEmpty'));
  readonly #bar = scanMarksBar(() => this.#table.root);
  readonly #legend = new Legend((colour) => this.#canvas.repaint(this.#look(colour)));
  readonly #canvas: MapCanvas;
  readonly #table: Table<Entry>;
  readonly #depthButtons: [HTMLButtonElement, HTMLButtonElement];
  #folder: Entry;
  #now = Date.now();
  #fetched = 0;
  #fetching = 0;
  #waiting: string[] = [];
  #timer = 0;
  #sought: object | null = null; // a folder that is shown once those above it are known
  readonly #job: Job;

  constructor(job: Job) {
    this.#job = job;
    this.#folder = this.#tree.root;
    this.#canvas = this.#makeCanvas();
    this.#table = this.#makeTable();
    this.#depthButtons = [iconButton('minus', t('mapShallower'), () => this.#deepen(-1)), iconButton('plus', t('mapDeeper'), () => this.#deepen(1))];
    this.top = [iconButton('up', t('mapUp'), () => this.#up()), this.#crumbs, this.#controls()];
    this.content = [this.#bar.root, this.#empty, this.#area()];
    this.#seek(state.openFolder, (entry) => this.#goInto(entry));
  }

  update(changes: Changes): void {
    if (changes.has('results')) {
      this.#seek(state.openFolder, (entry) => {
        this.#folder = entry;
        this.#fetched = 0; // nothing is known of the folders in it any more
        this.#load();
        this.#show();
      });
    } else if (changes.has('step') && state.openFolder !== this.#folder.path) {
      this.#seek(state.openFolder, (entry) => this.#goInto(entry));
    } else if (changes.has('measure')) {
      this.#show();
    } else if (changes.has('tree') && !this.#sought) {
      // Folders arrive one after the other; the map is not drawn again for each.
      clearTimeout(this.#timer);
      this.#timer = window.setTimeout(() => this.#show(), REDRAW_MS);
    }
    if (changes.has('selection')) {
      this.#bar.update();
      this.#table.refresh();
    }
  }

  leave(): void {
    clearTimeout(this.#timer);
    this.#sought = null;
    this.#waiting = [];
    this.#canvas.leave();
    this.#table.leave();
  }

  get #tree(): ScanTree {
    return treeOf(this.#job.id)!;
  }

  get #rows(): readonly Entry[] {
    return this.#tree.entries(this.#folder.path);
  }

  readonly #value = (entry: Entry): number => valueOf(entry, measure(this.#job.id));

  #look(highlighted = this.#legend.highlighted): MapLook {
    const { depth, shaded, colouring } = mapSettings();
    return { depth, shaded, ramp: colouring === 'age', highlighted };
  }

  // The folder with this path, or the nearest one above it that still exists and has contents.
  #nearestFolder(path: string): Entry {
    const tree = this.#tree;
    for (let at = path; at !== '' && at !== tree.root.path; at = tree.folderOf(at)) {
      const entry = tree.find(at);
      if (entry && tree.opens(entry)) return entry;
    }
    return tree.root;
  }

  // Finds the folder with this path, or the nearest one, after loading what is not known of those above it.
  #seek(target: string, arrive: (entry: Entry) => void): void {
    const path = target.split('\0')[0]!; // what stands for a rest names it after its folder
    const found = (): void => {
      this.#sought = null;
      const entry = this.#nearestFolder(path);
      state.openFolder = entry.path;
      arrive(entry);
    };
    if (path === '' || chainTo(this.#tree.root.path, path).every((one) => this.#tree.find(one))) {
      found();
      return;
    }
    clearTimeout(this.#timer);
    const sought = this.#sought = {};
    void loadAbove(this.#job.id, path).then(() => {
      if (this.#sought !== sought) return; // the user went on
      found();
      replaceStep(); // it may lead to a folder that is gone
    });
  }

  #canMark(entry: Entry): boolean {
    return !isRemote(this.#job) && isItem(entry) && entry.path !== this.#tree.root.path;
  }

  // ---- the controls ----

  #controls(): HTMLElement {
    const { colouring, shaded } = mapSettings();
    const colours = select(COLOURINGS, colouring, (one) => text(`by_${one}`), (chosen) => {
      changeMap({ colouring: chosen });
      this.#show();
    }, { 'aria-label': t('mapColour') });
    const shading = iconButton('shade', t('mapShading'), () => {
      const next = changeMap({ shaded: !mapSettings().shaded });
      setAttribute(shading, 'aria-pressed', String(next.shaded));
      this.#canvas.repaint(this.#look());
    }, { 'aria-pressed': String(shaded) });
    return el('div', { class: 'line push map-controls' }, measureSwitch(this.#job.id), colours, this.#depthButtons, shading, detailsButton());
  }

  #deepen(by: number): void {
    const { depth } = mapSettings();
    const next = Math.min(MOST_DEPTH, Math.max(LEAST_DEPTH, depth + by));
    if (next === depth) return;
    changeMap({ depth: next });
    this.#show();
  }

  #area(): HTMLElement {
    const side = el('div', { class: 'map-side' }, this.#table.root, this.#legend.root);
    const area = el('div', { class: 'map-area' }, this.#canvas.root);
    const handle = splitter(area, {
      label: t('mapSplitter'), least: LEAST_SHARE, most: MOST_SHARE, share: mapSettings().share ?? (innerWidth < ROOMY ? 0.7 : 0.78),
      onMove: (share) => area.style.setProperty('--map-share', `${share * 100}%`),
      onKeep: (share) => changeMap({ share }),
    });
    area.append(handle, side);
    return area;
  }

  // ---- the map ----

  #tileName(tile: Tile<Entry>): string {
    if (!tile.rest) return entryName(tile.item);
    return tile.count > 0 ? t('mapSmaller', { n: tile.count }) : t('mapRest', { name: baseName(tile.item.path) });
  }

  #tooltip(tile: Tile<Entry>): string[] {
    const share = percent(shareOf(tile.size, this.#value(this.#folder)));
    const name = tile.rest ? this.#tileName(tile) : isItem(tile.item) ? shown(tile.item.path.slice(0, 400)) : entryName(tile.item);
    const changedAt = !tile.rest && tile.item.m > 0 ? ` · ${t('mapChanged', { date: date(tile.item.m) })}` : '';
    return [name, `${size(tile.size)} · ${share}${changedAt}`];
  }

  #makeCanvas(): MapCanvas {
    const chosen = (entry: Entry): void => {
      this.#moveTo(entry.path);
      showDetails(isItem(entry) ? entry : null);
    };
    const source = { childrenOf: (entry: Entry) => this.#childrenOf(entry), sizeOf: this.#value, isFolder };
    return new MapCanvas({
      source,
      nameOf: (tile) => this.#tileName(tile),
      headingOf: (tiles) => tiles.map((tile) => entryName(tile.item)).join(this.#job.path.startsWith('/') ? '/' : '\\'),
      sizeText: (_entry, bytes) => size(bytes),
      optionName: (tile) => t('mapTile', { name: this.#tileName(tile), size: size(tile.size), percent: percent(shareOf(tile.size, this.#value(this.#folder))) }),
      colourOf: (tile) => colourOf(tile, source, mapSettings().colouring, this.#now), tooltip: (tile) => this.#tooltip(tile),
      onTiles: (tiles, colours) => {
        this.#legend.show(tiles, colours, mapSettings().colouring);
        this.#fetchFor(tiles);
      },
      onChoose: chosen,
      onEnter: (entry) => this.#enter(entry),
      onLeave: () => this.#up(),
      onHover: (colour) => this.#legend.point(colour),
      onDelete: (entry, permanent) => this.#bar.delete(this.#canMark(entry) ? entry.path : undefined, permanent),
      onMark: (entry) => {
        if (this.#canMark(entry)) toggleMark(entry.path, entry.s);
      },
      onMenu: (entry, x, y) => openItemMenu(this.#job, entry, { x, y, from: this.#canvas.root.querySelector<HTMLElement>('.options')! }),
      onDepth: (by) => this.#deepen(by),
    });
  }

  // What has a figure, largest first; the entries are in the order of their lengths.
  #childrenOf(entry: Entry): Entry[] {
    const list = this.#tree.entries(entry.path).filter((child) => this.#value(child) > 0);
    return measure(this.#job.id) === 's' ? list : list.sort((a, b) => this.#value(b) - this.#value(a));
  }

  // Looks into the folders that are large on the map and not known yet, largest first.
  #fetchFor(tiles: readonly Tile<Entry>[]): void {
    const large = tiles.filter((tile) => !tile.rest && isFolder(tile.item) && tile.w * tile.h >= LARGE_AREA && tile.level + 1 < mapSettings().depth && this.#tree.needsLoading(tile.item.path));
    this.#waiting = large.sort((a, b) => b.w * b.h - a.w * a.h).map((tile) => tile.item.path);
    while (this.#fetching < AT_ONCE) if (!this.#fetchNext()) break;
  }

  #fetchNext(): boolean {
    const path = this.#waiting.shift();
    if (path === undefined || this.#fetched >= MOST_FETCHED) return false;
    ++this.#fetched;
    ++this.#fetching;
    void loadFolder(this.#job.id, path, true).then(() => {
      --this.#fetching;
      this.#fetchNext();
    });
    return true;
  }

  // ---- the table ----

  #makeTable(): Table<Entry> {
    const markable = (row: Entry): boolean => this.#canMark(row);
    return new Table<Entry>({
      label: '', role: 'grid', selection: state.selection, keyOf: (row) => row.path, markable,
      columns: columns({ canMark: markable, value: this.#value, retry: () => this.#load() }),
      onMarked: () => {
        for (const row of this.#rows) if (state.selection.has(row.path)) state.weights.set(row.path, row.s);
        changed('selection');
      },
      onActive: (row) => {
        this.#canvas.choose(row.path);
        showDetails(isItem(row) ? row : null);
      },
      onEnter: (row) => this.#enter(row),
      onDelete: (path, permanent) => this.#bar.delete(path, permanent),
      onMenu: (row, x, y) => openItemMenu(this.#job, row, { x, y, from: this.#table.root }),
      onKey: (event) => {
        if (event.key !== KEYS.backspace) return false;
        this.#up();
        return true;
      },
    });
  }

  #moveTo(path: string): void {
    const index = this.#rows.findIndex((row) => row.path === path);
    if (index >= 0) this.#table.moveTo(index, true);
  }

  #show(): void {
    clearTimeout(this.#timer);
    this.#now = Date.now();
    const name = shown(this.#folder.path);
    this.#table.root.setAttribute('aria-label', t('mapTable', { path: name }));
    this.#table.setRows(measure(this.#job.id) === 's' ? this.#rows : [...this.#rows].sort((a, b) => this.#value(b) - this.#value(a)));
    this.#canvas.show(this.#folder, t('mapOf', { path: name }), this.#look());
    this.#empty.hidden = this.#value(this.#folder) > 0;
    const { depth } = mapSettings();
    setAttribute(this.#depthButtons[0], 'aria-disabled', depth <= LEAST_DEPTH);
    setAttribute(this.#depthButtons[1], 'aria-disabled', depth >= MOST_DEPTH);
    this.#showCrumbs();
  }

  #showCrumbs(): void {
    const chain = chainTo(this.#tree.root.path, this.#folder.path);
    fill(this.#crumbs, el('ol', {}, chain.map((path, index) => {
      const label = inert(index === 0 ? path : baseName(path));
      return el('li', {}, index === chain.length - 1 ? el('span', { 'aria-current': 'location' }, label) : this.#crumb(path, label));
    })));
  }

  #crumb(path: string, label: HTMLElement): HTMLElement {
    return el('a', { href: addressOf('map', path), on: { click: (event) => {
      if (event.ctrlKey || event.metaKey || event.shiftKey) return; // the browser opens it elsewhere
      event.preventDefault();
      const entry = this.#tree.find(path);
      if (entry) this.#enter(entry);
    } } }, label);
  }

  #load(): void {
    void loadFolder(this.#job.id, this.#folder.path);
  }

  #goInto(entry: Entry): void {
    this.#sought = null;
    this.#folder = entry;
    this.#fetched = 0;
    state.openFolder = entry.path;
    this.#table.active = 0;
    this.#table.root.scrollTop = 0;
    this.#load();
    this.#show();
    showDetails(entry);
    changed('details'); // the frame makes a step of it
  }

  #enter(entry: Entry): void {
    if (isFailed(entry)) this.#load();
    else if (isMore(entry)) void loadMoreFiles(this.#job.id, this.#folder.path);
    else if (isFolder(entry) && this.#tree.opens(entry) && entry.path !== this.#folder.path) this.#goInto(entry);
  }

  #up(): void {
    const left = this.#folder.path;
    if (left === this.#tree.root.path) return;
    this.#goInto(this.#nearestFolder(this.#tree.folderOf(left)));
    this.#moveTo(left);
    this.#canvas.choose(left);
  }
}

export const map = (): Screen => resultScreen('secMap', (job) => new MapSection(job), { fills: true, detailed: true, drawer: true });
