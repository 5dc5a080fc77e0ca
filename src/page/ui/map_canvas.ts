// The size map: a canvas drawn only when its contents or its size change, and elements above it for
// everything that moves: rings around the hovered and the chosen tile, a tooltip at the pointer, and a listbox
// option per direct child of the folder for keyboard and screen readers.
import { layoutMap, nearestTile, tileAt, type MapSource, type Tile } from '../core/map_layout';
import { isFolder, type Entry } from '../core/entry';
import { el, setAttribute } from './dom';
import { KEYS } from './keys';
import { MapPainter } from './map_painter';

const MOST_OPTIONS = 300;

export interface MapHooks {
  source: MapSource<Entry>;
  nameOf: (tile: Tile<Entry>) => string; // of a rest: what it is
  headingOf: (tiles: readonly Tile<Entry>[]) => string; // the folder and its only children
  sizeText: (entry: Entry, size: number) => string;
  optionName: (tile: Tile<Entry>) => string;
  colourOf: (tile: Tile<Entry>) => number; // asked once for each tile that is drawn
  tooltip: (tile: Tile<Entry>) => readonly string[]; // its lines
  onTiles: (tiles: readonly Tile<Entry>[], colours: readonly number[]) => void;
  onChoose: (entry: Entry) => void;
  onEnter: (entry: Entry) => void;
  onLeave: () => void;
  onHover: (colour: number) => void; // of the tile under the pointer; -1 if none is or it has tiles inside
  onMark: (entry: Entry) => void;
  onDelete: (entry: Entry, permanent: boolean) => void;
  onMenu: (entry: Entry, x: number, y: number) => void;
  onDepth: (by: number) => void;
}

export interface MapLook {
  depth: number;
  shaded: boolean;
  ramp: boolean;
  highlighted: number; // the colour that the legend points at, or -1
}

let maps = 0;

// A rest is told from its folder.
const keyOf = (tile: Tile<Entry>): string => (tile.rest ? `${tile.item.path}\0` : tile.item.path);

function cover({ style }: HTMLElement, { x, y, w, h }: Tile<Entry>): void {
  style.transform = `translate(${x}px, ${y}px)`;
  style.width = `${w}px`;
  style.height = `${h}px`;
}

export class MapCanvas {
  readonly root: HTMLElement;
  readonly #canvas = el('canvas', { 'aria-hidden': 'true' });
  readonly #painter = new MapPainter(this.#canvas);
  readonly #options: HTMLElement;
  readonly #hoverRing = el('div', { class: 'ring hover', hidden: true });
  readonly #chosenRing = el('div', { class: 'ring', hidden: true });
  readonly #tip = el('div', { class: 'map-tip', 'aria-hidden': 'true', hidden: true });
  readonly #prefix = `m${++maps}`;
  readonly #observer: ResizeObserver;
  #tiles: Tile<Entry>[] = [];
  #colours: number[] = []; // of the tiles; -1 of those that have tiles inside
  #own: Tile<Entry>[] = []; // the tiles of the folder's direct children
  #folder: Entry | null = null;
  #look: MapLook = { depth: 4, shaded: true, ramp: false, highlighted: -1 };
  #hovered = -1;
  #active = 0;
  #moved = false; // by arrow keys
  #chosen = ''; // the key of a tile
  #box: DOMRect | null = null; // the map's place in the window; null if it may have changed
  #frame = 0;
  readonly #hooks: MapHooks;

  constructor(hooks: MapHooks) {
    this.#hooks = hooks;
    this.#options = el('div', {
      class: 'options', role: 'listbox', tabindex: '0', on: {
        keydown: (event) => this.#key(event),
        pointermove: (event) => this.#hover(event),
        pointerenter: () => {
          this.#box = null;
        },
        pointerleave: () => this.#setHovered(-1),
        click: (event) => this.#click(event),
        dblclick: (event) => this.#twice(event),
        contextmenu: (event) => this.#menu(event),
        focus: () => this.#showChosen(),
        blur: () => this.#showChosen(),
      },
    });
    this.#options.addEventListener('wheel', (event) => this.#wheel(event), { passive: false });
    this.root = el('div', { class: 'map' }, this.#canvas, this.#hoverRing, this.#chosenRing, this.#options, this.#tip);
    this.#observer = new ResizeObserver(() => this.redraw());
    this.#observer.observe(this.root);
  }

  leave(): void {
    this.#observer.disconnect();
    cancelAnimationFrame(this.#frame);
  }

  show(folder: Entry, label: string, look: MapLook): void {
    const same = this.#folder?.path === folder.path;
    this.#folder = folder;
    this.#look = look;
    this.#options.setAttribute('aria-label', label);
    if (!same) {
      this.#active = 0;
      this.#moved = false;
      this.#chosen = '';
    }
    this.redraw();
  }

  // Shows the same tiles in another look.
  repaint(look: MapLook): void {
    this.#look = look;
    cancelAnimationFrame(this.#frame);
    this.#frame = requestAnimationFrame(() => this.#draw());
  }

  choose(key: string): void {
    this.#chosen = key;
    const index = this.#own.findIndex((tile) => keyOf(tile) === key);
    if (index >= 0) this.#active = index;
    this.#showChosen();
  }

  redraw(): void {
    const { clientWidth: width, clientHeight: height } = this.root;
    if (!this.#folder || width === 0 || height === 0) return;
    this.#box = null;
    const start = performance.now();
    this.#tiles = layoutMap(this.#folder, { x: 0, y: 0, w: width, h: height }, this.#hooks.source, this.#look.depth);
    this.#own = this.#tiles.filter((tile) => tile.parent < 0).slice(0, MOST_OPTIONS);
    this.#colours = this.#tiles.map((tile) => (tile.inside ? -1 : this.#hooks.colourOf(tile)));
    performance.measure('map-layout', { start, detail: this.#tiles.length });
    this.#draw();
    this.#makeOptions();
    this.#setHovered(-1);
    this.#showChosen();
    this.#hooks.onTiles(this.#tiles, this.#colours);
  }

  #draw(): void {
    const start = performance.now();
    this.#painter.draw({
      tiles: this.#tiles, colours: this.#colours, highlighted: this.#look.highlighted, width: this.root.clientWidth, height: this.root.clientHeight, shaded: this.#look.shaded, ramp: this.#look.ramp,
      textScale: parseFloat(getComputedStyle(document.documentElement).fontSize) / 16 || 1,
      nameOf: (tile) => (tile.inside ? this.#hooks.headingOf(this.#chainOf(tile)) : this.#hooks.nameOf(tile)),
      sizeText: (tile) => this.#hooks.sizeText(tile.item, tile.size),
    });
    performance.measure('map-draw', { start });
  }

  // A tile and the only children in it that share its heading.
  #chainOf(tile: Tile<Entry>): Tile<Entry>[] {
    const chain = [tile];
    for (let at = tile.only; at >= 0; at = this.#tiles[at]!.only) chain.push(this.#tiles[at]!);
    return chain;
  }

  #makeOptions(): void {
    this.#options.replaceChildren(...this.#own.map((tile, index) => {
      const option = el('div', { role: 'option', id: `${this.#prefix}-${index}`, 'aria-label': this.#hooks.optionName(tile), 'aria-selected': 'false' });
      cover(option, tile);
      return option;
    }));
  }

  #place(ring: HTMLElement, tile: Tile<Entry> | undefined): void {
    ring.hidden = !tile;
    if (tile) cover(ring, tile);
  }

  #showChosen(): void {
    const focused = document.activeElement === this.#options;
    this.#place(this.#chosenRing, this.#chosen || focused ? this.#chosenTile() : undefined);
    this.#own.forEach((one, index) => {
      const option = this.#options.children[index];
      if (option) setAttribute(option, 'aria-selected', keyOf(one) === this.#chosen ? 'true' : 'false');
    });
    setAttribute(this.#options, 'aria-activedescendant', this.#own.length > 0 ? `${this.#prefix}-${Math.min(this.#active, this.#own.length - 1)}` : null);
  }

  // The folder whose heading is under the pointer, or else the innermost tile.
  #indexAt(event: MouseEvent): number {
    const box = (this.#box ??= this.root.getBoundingClientRect());
    const [x, y] = [event.clientX - box.left, event.clientY - box.top];
    for (const [index, area] of this.#painter.headings) {
      if (x >= area.x && x < area.x + area.w && y >= area.y && y < area.y + area.h) return index;
    }
    return tileAt(this.#tiles, x, y);
  }

  #setHovered(index: number): void {
    if (index === this.#hovered) return;
    this.#hovered = index;
    const tile = this.#tiles[index];
    this.#place(this.#hoverRing, tile);
    this.#tip.hidden = !tile;
    if (tile) {
      const lines = this.#hooks.tooltip(tile);
      while (this.#tip.children.length < lines.length) this.#tip.append(el('bdi'));
      [...this.#tip.children].forEach((line, at) => {
        line.textContent = lines[at] ?? '';
      });
    }
    this.#hooks.onHover(this.#colours[index] ?? -1);
  }

  #hover(event: PointerEvent): void {
    if (event.pointerType === 'touch') return;
    this.#setHovered(this.#indexAt(event));
    if (this.#hovered < 0 || !this.#box) return;
    const [x, y] = [event.clientX - this.#box.left, event.clientY - this.#box.top];
    // Beside the pointer, on the side with more room; so its own size need not be measured.
    const right = x > this.#box.width / 2;
    const below = y < this.#box.height / 2;
    this.#tip.style.transform = `translate(${x + (right ? -12 : 14)}px, ${y + (below ? 18 : -12)}px) translate(${right ? '-100%' : '0'}, ${below ? '0' : '-100%'})`;
  }

  #click(event: MouseEvent): void {
    this.#box = null;
    const tile = this.#tiles[this.#indexAt(event)];
    if (!tile) return;
    this.choose(keyOf(tile));
    this.#hooks.onChoose(tile.item);
    if (!tile.rest && (event.ctrlKey || event.metaKey)) this.#hooks.onMark(tile.item);
  }

  // Opens the innermost folder under the pointer.
  #twice(event: MouseEvent): void {
    const tile = this.#tiles[this.#indexAt(event)];
    if (!tile) return;
    const folder = tile.rest || isFolder(tile.item) ? tile.item : this.#tiles[tile.parent]?.item;
    if (folder) this.#hooks.onEnter(folder);
  }

  #menuAt(x: number, y: number, tile: Tile<Entry> | undefined): void {
    if (!tile) return;
    this.choose(keyOf(tile));
    this.#hooks.onChoose(tile.item);
    this.#hooks.onMenu(tile.item, x, y);
  }

  #menu(event: MouseEvent): void {
    event.preventDefault();
    this.#box = null;
    // The menu key reports no place of its own.
    if (event.button !== 2 && (event as PointerEvent).pointerType !== 'touch') {
      const tile = this.#chosenTile();
      const box = this.root.getBoundingClientRect();
      if (tile) this.#menuAt(box.left + tile.x + 8, box.top + tile.y + 8, tile);
    } else {
      this.#menuAt(event.clientX, event.clientY, this.#tiles[this.#indexAt(event)]);
    }
  }

  // The wheel shows more or fewer levels, unless the section itself scrolls.
  #wheel(event: WheelEvent): void {
    const page = this.root.closest('.content');
    if (event.ctrlKey || !page || page.scrollHeight > page.clientHeight + 1) return;
    event.preventDefault();
    this.#hooks.onDepth(event.deltaY < 0 ? 1 : -1);
  }

  // A click may have chosen a tile inside another one.
  #chosenTile(): Tile<Entry> | undefined {
    return this.#chosen ? this.#tiles.find((one) => keyOf(one) === this.#chosen) : this.#own[this.#active];
  }

  #key(event: KeyboardEvent): void {
    if (event.key === KEYS.backspace || (event.altKey && event.key === 'ArrowUp')) {
      event.preventDefault();
      this.#hooks.onLeave();
      return;
    }
    if (event.altKey || event.ctrlKey || event.metaKey) return;
    const arrows: Record<string, [number, number]> = { ArrowLeft: [-1, 0], ArrowRight: [1, 0], ArrowUp: [0, -1], ArrowDown: [0, 1] };
    const arrow = arrows[event.key];
    const chosen = this.#chosenTile();
    const acts: Record<string, (tile: Tile<Entry>) => void> = {
      [KEYS.enter]: (tile) => this.#hooks.onEnter(tile.item), [KEYS.space]: (tile) => this.#hooks.onMark(tile.item),
      [KEYS.delete]: (tile) => this.#hooks.onDelete(tile.item, event.shiftKey),
    };
    const act = acts[event.key];
    if (event.key === '+' || event.key === '-') {
      event.preventDefault();
      this.#hooks.onDepth(event.key === '+' ? 1 : -1);
    } else if (arrow) {
      event.preventDefault();
      this.#move(arrow);
    } else if (act && chosen) {
      event.preventDefault();
      if (!chosen.rest) act(chosen);
    }
  }

  #move([dx, dy]: [number, number]): void {
    const next = this.#moved || this.#chosen ? nearestTile(this.#own, this.#active, dx, dy) : this.#active;
    const target = this.#own[next];
    if (!target) return;
    this.#active = next;
    this.#moved = true;
    this.choose(keyOf(target));
    this.#hooks.onChoose(target.item);
  }

  focus(): void {
    this.#options.focus();
  }
}
