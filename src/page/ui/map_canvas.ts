// The size map: a canvas drawn only when the folder or the size changes, and elements above it for
// everything that moves: rings around the hovered and the chosen tile, and a listbox option per direct
// child of the folder for keyboard and screen readers.
import { percent, size, t } from '../core/i18n';
import { shorten } from '../core/paths';
import { layoutMap, nearestTile, tileAt, type MapLayout, type Tile } from '../core/squarify';
import { isFolder, isRest, type Entry } from '../core/tree';
import { shareOf } from '../core/units';
import { el, setAttribute } from './dom';
import { KEYS } from './keys';

const DEEPEST = 6;
// In pixels at the default text size.
const HEADING = 18;
const LABEL_WIDTH = 44;
const LABEL_HEIGHT = 16;
const LABEL_SIZE = 12;
const PALETTE = 7;
const MOST_OPTIONS = 300;

export interface MapHooks {
  childrenOf: (entry: Entry) => readonly Entry[];
  nameOf: (entry: Entry) => string;
  onChoose: (entry: Entry) => void;
  onEnter: (entry: Entry) => void;
  onLeave: () => void;
  onHover: (entry: Entry | null) => void;
  onMark: (entry: Entry) => void;
  onDelete: (entry: Entry) => void;
}

interface Colours {
  tiles: string[];
  other: string;
  ink: string;
  line: string;
  veil: string;
  edge: string;
}

function colours(): Colours {
  if (matchMedia('(forced-colors: active)').matches) {
    return { tiles: Array.from({ length: PALETTE }, () => 'Canvas'), other: 'Canvas', ink: 'CanvasText', line: 'CanvasText', veil: 'transparent', edge: 'CanvasText' };
  }
  const style = getComputedStyle(document.documentElement);
  const value = (name: string): string => style.getPropertyValue(name).trim();
  return {
    tiles: Array.from({ length: PALETTE }, (_, i) => value(`--tile-${i + 1}`)),
    other: value('--tile-other'), ink: value('--tile-ink'), line: value('--surface'), veil: 'rgb(255 255 255 / 45%)', edge: 'rgb(17 22 28 / 35%)',
  };
}

let maps = 0;

export class MapCanvas {
  readonly root: HTMLElement;
  private readonly canvas = el('canvas', { 'aria-hidden': 'true' });
  private readonly options: HTMLElement;
  private readonly hoverRing = el('div', { class: 'ring hover', hidden: true });
  private readonly chosenRing = el('div', { class: 'ring', hidden: true });
  private readonly prefix = `m${++maps}`;
  private readonly observer: ResizeObserver;
  private layout: MapLayout<Entry> = { tiles: [], melted: [] };
  private own: Tile<Entry>[] = []; // the tiles of the folder's direct children
  private folder: Entry | null = null;
  private hovered = -1;
  private active = 0;
  private chosen = '';
  private textScale = 1; // the user's text size relative to the default
  private box: DOMRect | null = null; // the map's place in the window; null if it may have changed

  constructor(private readonly hooks: MapHooks) {
    this.options = el('div', {
      class: 'options', role: 'listbox', tabindex: '0', on: {
        keydown: (event) => this.key(event),
        pointermove: (event) => this.hover(event),
        pointerenter: () => {
          this.box = null;
        },
        pointerleave: () => this.setHovered(-1),
        click: (event) => this.click(event),
        dblclick: (event) => this.twice(event),
        focus: () => this.showChosen(),
      },
    });
    this.root = el('div', { class: 'map' }, this.canvas, this.hoverRing, this.chosenRing, this.options);
    this.observer = new ResizeObserver(() => this.redraw());
    this.observer.observe(this.root);
  }

  leave(): void {
    this.observer.disconnect();
  }

  show(folder: Entry, label: string): void {
    const same = this.folder?.path === folder.path;
    this.folder = folder;
    this.options.setAttribute('aria-label', label);
    if (!same) {
      this.active = 0;
      this.chosen = '';
    }
    this.redraw();
  }

  choose(path: string): void {
    this.chosen = path;
    const index = this.own.findIndex((tile) => tile.item.path === path);
    if (index >= 0) this.active = index;
    this.showChosen();
  }

  redraw(): void {
    const { clientWidth: width, clientHeight: height } = this.root;
    if (!this.folder || width === 0 || height === 0) return;
    this.box = null;
    this.textScale = parseFloat(getComputedStyle(document.documentElement).fontSize) / 16 || 1;
    performance.mark('map-layout');
    this.layout = layoutMap(this.folder, { x: 0, y: 0, w: width, h: height },
      (entry) => (isFolder(entry) ? this.hooks.childrenOf(entry).filter((child) => child.s > 0).map((item) => ({ item, size: item.s })) : []),
      DEEPEST, HEADING * this.textScale);
    this.own = this.layout.tiles.filter((tile) => tile.level === 0).slice(0, MOST_OPTIONS);
    performance.mark('map-draw');
    this.draw(width, height);
    performance.measure('map-layout', 'map-layout', 'map-draw');
    performance.measure('map-draw', 'map-draw');
    this.makeOptions();
    this.setHovered(-1);
    this.showChosen();
  }

  private draw(width: number, height: number): void {
    const ratio = Math.min(devicePixelRatio || 1, 2);
    this.canvas.width = Math.round(width * ratio);
    this.canvas.height = Math.round(height * ratio);
    const pen = this.canvas.getContext('2d');
    if (!pen) return;
    const { tiles, other, ink, line, veil, edge } = colours();
    pen.setTransform(ratio, 0, 0, ratio, 0, 0);
    pen.fillStyle = line;
    pen.fillRect(0, 0, width, height);
    pen.textBaseline = 'middle';
    const font = getComputedStyle(this.root).fontFamily;
    pen.font = `${LABEL_SIZE * this.textScale}px ${font}`;
    pen.strokeStyle = edge;
    pen.lineWidth = 1;
    for (const tile of this.layout.tiles) {
      pen.fillStyle = isRest(tile.item) || tile.branch < 0 || tile.branch >= PALETTE ? other : tiles[tile.branch % PALETTE]!;
      pen.fillRect(tile.x + 0.5, tile.y + 0.5, tile.w - 1, tile.h - 1);
      // Folders with tiles inside are paler than those, and every tile has an edge.
      if (tile.heading) {
        pen.fillStyle = veil;
        pen.fillRect(tile.x + 0.5, tile.y + 0.5, tile.w - 1, tile.h - 1);
      }
      if (tile.level > 0) pen.strokeRect(tile.x + 0.5, tile.y + 0.5, tile.w - 1, tile.h - 1);
    }
    for (const area of this.layout.melted) this.hatch(pen, area.x, area.y, area.w, area.h, ink, other);
    pen.fillStyle = ink;
    for (const tile of this.layout.tiles) {
      if (tile.w < LABEL_WIDTH * this.textScale || tile.h < LABEL_HEIGHT * this.textScale) continue;
      this.label(pen, tile);
    }
  }

  private hatch(pen: CanvasRenderingContext2D, x: number, y: number, w: number, h: number, ink: string, ground: string): void {
    pen.save();
    pen.beginPath();
    pen.rect(x, y, w, h);
    pen.clip();
    pen.fillStyle = ground;
    pen.fillRect(x, y, w, h);
    pen.strokeStyle = ink;
    pen.globalAlpha = 0.35;
    pen.beginPath();
    for (let at = x - h; at < x + w; at += 4) {
      pen.moveTo(at, y + h);
      pen.lineTo(at + h, y);
    }
    pen.stroke();
    pen.restore();
  }

  private label(pen: CanvasRenderingContext2D, tile: Tile<Entry>): void {
    const room = tile.w - 8;
    const scale = this.textScale;
    // A letter is at least about four wide; measures only when that leaves doubt.
    let words = this.hooks.nameOf(tile.item);
    if (words.length * 4 * scale > room) words = shorten(words, Math.max(3, Math.floor(room / (4 * scale))));
    while (words.length > 3 && pen.measureText(words).width > room) words = shorten(words, words.length - Math.max(1, Math.ceil(words.length / 12)));
    if (pen.measureText(words).width > room) return;
    const middle = tile.heading || tile.h < 34 * scale ? tile.y + Math.min(tile.h, HEADING * scale) / 2 : tile.y + 12 * scale;
    pen.fillText(words, tile.x + 4, middle);
    if (!tile.heading && tile.h >= 40 * scale) {
      const amount = size(tile.item.s);
      if (pen.measureText(amount).width <= room) pen.fillText(amount, tile.x + 4, middle + 16 * scale);
    }
  }

  private makeOptions(): void {
    const whole = this.folder?.s ?? 0;
    this.options.replaceChildren(...this.own.map((tile, index) => {
      const name = t('mapTile', { name: this.hooks.nameOf(tile.item), size: size(tile.item.s), percent: percent(shareOf(tile.item.s, whole)) });
      const option = el('div', { role: 'option', id: `${this.prefix}-${index}`, 'aria-label': name, 'aria-selected': 'false' });
      option.style.transform = `translate(${tile.x}px, ${tile.y}px)`;
      option.style.width = `${tile.w}px`;
      option.style.height = `${tile.h}px`;
      return option;
    }));
  }

  private place(ring: HTMLElement, tile: Tile<Entry> | undefined): void {
    ring.hidden = !tile;
    if (!tile) return;
    ring.style.transform = `translate(${tile.x}px, ${tile.y}px)`;
    ring.style.width = `${tile.w}px`;
    ring.style.height = `${tile.h}px`;
  }

  private showChosen(): void {
    const focused = document.activeElement === this.options;
    const tile = this.chosen ? this.layout.tiles.find((one) => one.item.path === this.chosen) : focused ? this.own[this.active] : undefined;
    this.place(this.chosenRing, tile);
    this.own.forEach((one, index) => {
      const option = this.options.children[index];
      if (option) setAttribute(option, 'aria-selected', one.item.path === this.chosen ? 'true' : 'false');
    });
    setAttribute(this.options, 'aria-activedescendant', this.own.length > 0 ? `${this.prefix}-${Math.min(this.active, this.own.length - 1)}` : null);
  }

  private indexAt(event: MouseEvent): number {
    const box = (this.box ??= this.root.getBoundingClientRect());
    return tileAt(this.layout.tiles, event.clientX - box.left, event.clientY - box.top);
  }

  private setHovered(index: number): void {
    if (index === this.hovered) return;
    this.hovered = index;
    const tile = this.layout.tiles[index];
    this.place(this.hoverRing, tile);
    this.hooks.onHover(tile?.item ?? null);
  }

  private hover(event: PointerEvent): void {
    this.setHovered(this.indexAt(event));
  }

  private click(event: MouseEvent): void {
    this.box = null;
    const tile = this.layout.tiles[this.indexAt(event)];
    if (!tile) return;
    this.choose(tile.item.path);
    this.hooks.onChoose(tile.item);
    if (event.ctrlKey || event.metaKey) this.hooks.onMark(tile.item);
  }

  // Opens the innermost folder under the pointer.
  private twice(event: MouseEvent): void {
    const tile = this.layout.tiles[this.indexAt(event)];
    if (!tile) return;
    if (isFolder(tile.item)) this.hooks.onEnter(tile.item);
    else {
      const around = this.layout.tiles.filter((one) => isFolder(one.item) && one.level === tile.level - 1 &&
        tile.x >= one.x && tile.y >= one.y && tile.x < one.x + one.w && tile.y < one.y + one.h).pop();
      if (around) this.hooks.onEnter(around.item);
    }
  }

  private key(event: KeyboardEvent): void {
    const arrows: Record<string, [number, number]> = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };
    if (event.key === KEYS.backspace || (event.altKey && event.key === 'ArrowUp')) {
      event.preventDefault();
      this.hooks.onLeave();
      return;
    }
    if (event.altKey || event.ctrlKey || event.metaKey) return;
    const tile = this.own[this.active];
    // A click may have chosen a tile inside another one.
    const chosen = this.layout.tiles.find((one) => one.item.path === this.chosen) ?? tile;
    const arrow = arrows[event.key];
    if (arrow) {
      event.preventDefault();
      const next = this.chosen ? nearestTile(this.own, this.active, arrow[0], arrow[1]) : this.active;
      const target = this.own[next];
      if (!target) return;
      this.active = next;
      this.choose(target.item.path);
      this.hooks.onChoose(target.item);
    } else if (event.key === KEYS.enter && tile) {
      event.preventDefault();
      this.hooks.onEnter(tile.item);
    } else if (event.key === KEYS.space && chosen) {
      event.preventDefault();
      this.hooks.onMark(chosen.item);
    } else if (event.key === KEYS.delete && chosen) {
      event.preventDefault();
      this.hooks.onDelete(chosen.item);
    }
  }

  focus(): void {
    this.options.focus();
  }
}
