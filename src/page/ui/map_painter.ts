// Draws the tiles of the map. Tiles end at whole pixels and leave a dark line to the next one.
import type { Tile } from '../core/map_layout';
import { COLOURS } from '../core/map_colours';
import type { Entry } from '../core/entry';

// In pixels at the default text size.
const HEADING = 17;
const LABEL_WIDTH = 36;
const LABEL_HEIGHT = 16;
const LABEL_SIZE = 12;
const PADDING = 4;
const CUSHION = 32; // pixels of the shaded square that is stretched over each tile
const SMALLEST_CUSHION = 40;
const SMALLEST_SHADE = 5;
// What is laid over a small tile: from which part of its height to which, and in what colour.
const SHADES = [[0, 0.4, 'rgb(255 255 255 / 13%)'], [0.75, 1, 'rgb(0 0 0 / 9%)']] as const;

export interface Look {
  tiles: readonly Tile<Entry>[];
  width: number;
  height: number;
  colours: readonly number[]; // of the tiles; -1 of those that have tiles inside
  highlighted: number; // the colour that the legend points at: tiles of others are faded; -1 if none
  nameOf: (tile: Tile<Entry>) => string;
  sizeText: (tile: Tile<Entry>) => string;
  ramp: boolean; // the colours of ages
  shaded: boolean;
  textScale: number;
}

export interface Area {
  x: number;
  y: number;
  w: number;
  h: number;
}

interface Colours {
  tiles: string[];
  ink: string;
  line: string;
  pill: string;
  pillInk: string;
}

// Forced colours replace those of the page, but not what a canvas draws: the map keeps its own, like a picture.
function coloursOf(ramp: boolean): Colours {
  const style = getComputedStyle(document.documentElement);
  const value = (name: string): string => style.getPropertyValue(name).trim();
  const tiles = Array.from({ length: COLOURS }, (_, i) => value(`--${ramp ? 'age' : 'tile'}-${i + 1}`));
  return { tiles: [...tiles, value('--tile-other')], ink: value('--tile-ink'), line: value('--tile-line'), pill: value('--tile-pill'), pillInk: value('--tile-pill-ink') };
}

// A square of one colour that is lighter at the top left and darker at the bottom right.
function cushion(colour: string): HTMLCanvasElement {
  const canvas = document.createElement('canvas');
  canvas.width = canvas.height = CUSHION;
  const pen = canvas.getContext('2d');
  if (!pen) return canvas;
  pen.fillStyle = colour;
  pen.fillRect(0, 0, CUSHION, CUSHION);
  const shade = pen.createRadialGradient(CUSHION * 0.35, CUSHION * 0.3, 0, CUSHION * 0.35, CUSHION * 0.3, CUSHION);
  shade.addColorStop(0, 'rgb(255 255 255 / 30%)');
  shade.addColorStop(0.5, 'rgb(255 255 255 / 4%)');
  shade.addColorStop(1, 'rgb(0 0 0 / 14%)');
  pen.fillStyle = shade;
  pen.fillRect(0, 0, CUSHION, CUSHION);
  return canvas;
}

// The rectangle of whole pixels that a tile fills, without the line at its right and lower edge.
function filled({ x, y, w, h }: Area, ratio: number): Area {
  const snap = (value: number): number => Math.round(value * ratio) / ratio;
  const left = snap(x);
  const top = snap(y);
  const line = 1 / Math.min(ratio, 1);
  return { x: left, y: top, w: Math.max(0, snap(x + w) - left - line), h: Math.max(0, snap(y + h) - top - line) };
}

const isFaded = ({ highlighted, colours }: Look, index: number): boolean => highlighted >= 0 && colours[index] !== highlighted;

const overlap = (a: Area, b: Area): boolean => a.x < b.x + b.w && b.x < a.x + a.w && a.y < b.y + b.h && b.y < a.y + a.h;

// Cuts a text at its end, so that it fits; '' if nothing of it does.
function cutToFit(pen: CanvasRenderingContext2D, words: string, room: number): string {
  if (pen.measureText(words.slice(0, 400)).width <= room && words.length <= 400) return words;
  let low = 0;
  let high = Math.min(words.length, Math.ceil(room / 2));
  while (low < high) {
    const middle = Math.ceil((low + high) / 2);
    if (pen.measureText(`${words.slice(0, middle)}…`).width <= room) low = middle;
    else high = middle - 1;
  }
  const cut = /[\ud800-\udbff]$/.test(words.slice(0, low)) ? low - 1 : low;
  return cut < 2 ? '' : `${words.slice(0, cut).trimEnd()}…`;
}

export class MapPainter {
  // Where headings were drawn, by tile, so that a click on one chooses its folder.
  readonly headings = new Map<number, Area>();
  #colours: Colours = { tiles: [], ink: '', line: '', pill: '', pillInk: '' };
  readonly #canvas: HTMLCanvasElement;

  constructor(canvas: HTMLCanvasElement) {
    this.#canvas = canvas;
  }

  draw(look: Look): void {
    const { width, height, tiles } = look;
    const ratio = Math.min(devicePixelRatio || 1, 2);
    const [w, h] = [Math.round(width * ratio), Math.round(height * ratio)];
    // Setting the size clears the canvas and allocates it again, which takes longer than drawing over it.
    if (this.#canvas.width !== w || this.#canvas.height !== h) {
      this.#canvas.width = w;
      this.#canvas.height = h;
    }
    const pen = this.#canvas.getContext('2d', { alpha: false });
    if (!pen) return;
    this.#colours = coloursOf(look.ramp);
    pen.setTransform(ratio, 0, 0, ratio, 0, 0);
    pen.globalAlpha = 1;
    pen.fillStyle = this.#colours.line;
    pen.fillRect(0, 0, width, height);
    this.headings.clear();
    this.#fill(pen, look, ratio);
    this.#frame(pen, look, ratio);
    pen.textBaseline = 'middle';
    pen.font = `${LABEL_SIZE * look.textScale}px ${getComputedStyle(this.#canvas).fontFamily}`;
    tiles.forEach((tile, index) => {
      if (tile.inside && !tile.joined) this.#heading(pen, look, index);
    });
    pen.fillStyle = this.#colours.ink;
    tiles.forEach((tile, index) => {
      if (!tile.inside && !isFaded(look, index)) this.#label(pen, look, tile);
    });
  }

  // One pass for each colour: changing the colour costs more than filling a small tile. And drawing a cushion
  // costs ten times as much, so small tiles are shaded by strips.
  #fill(pen: CanvasRenderingContext2D, look: Look, ratio: number): void {
    const byColour: Tile<Entry>[][] = this.#colours.tiles.map(() => []);
    const rests: Tile<Entry>[] = [];
    const small: Area[] = [];
    const faded: Tile<Entry>[] = [];
    look.tiles.forEach((tile, index) => {
      if (tile.inside) return;
      byColour[look.colours[index]!]!.push(tile);
      if (tile.rest) rests.push(tile);
      if (isFaded(look, index)) faded.push(tile);
    });
    byColour.forEach((list, colour) => {
      if (list.length === 0) return;
      pen.fillStyle = this.#colours.tiles[colour]!;
      const shaded = look.shaded ? cushion(this.#colours.tiles[colour]!) : null;
      for (const tile of list) {
        const { x, y, w, h } = filled(tile, ratio);
        if (w <= 0 || h <= 0) continue;
        if (shaded && w >= SMALLEST_CUSHION && h >= SMALLEST_CUSHION) pen.drawImage(shaded, x, y, w, h);
        else {
          pen.fillRect(x, y, w, h);
          if (shaded && w >= SMALLEST_SHADE && h >= SMALLEST_SHADE) small.push({ x, y, w, h });
        }
      }
    });
    for (const [from, to, colour] of SHADES) {
      pen.fillStyle = colour;
      for (const { x, y, w, h } of small) {
        const top = Math.round(h * from);
        pen.fillRect(x, y + top, w, Math.round(h * to) - top);
      }
    }
    this.#hatch(pen, rests, ratio);
    pen.fillStyle = this.#colours.line;
    pen.globalAlpha = 0.72;
    for (const tile of faded) {
      const { x, y, w, h } = filled(tile, ratio);
      pen.fillRect(x, y, w, h);
    }
    pen.globalAlpha = 1;
  }

  // Rests are hatched, since they are no single thing.
  #hatch(pen: CanvasRenderingContext2D, rests: readonly Tile<Entry>[], ratio: number): void {
    if (rests.length === 0) return;
    const square = document.createElement('canvas');
    square.width = square.height = 8;
    const small = square.getContext('2d');
    if (!small) return;
    small.strokeStyle = this.#colours.ink;
    small.lineWidth = 1;
    small.beginPath();
    for (const at of [-8, 0, 8]) {
      small.moveTo(at - 1, 9);
      small.lineTo(at + 9, -1);
    }
    small.stroke();
    pen.globalAlpha = 0.3;
    pen.fillStyle = pen.createPattern(square, 'repeat') ?? 'transparent';
    for (const tile of rests) {
      const { x, y, w, h } = filled(tile, ratio);
      pen.fillRect(x, y, w, h);
    }
    pen.globalAlpha = 1;
  }

  // The outer folders have a wider line around them.
  #frame(pen: CanvasRenderingContext2D, look: Look, ratio: number): void {
    pen.fillStyle = this.#colours.line;
    for (const tile of look.tiles) {
      if (!tile.inside || tile.joined || tile.level > 1) continue;
      const { x, y, w, h } = filled(tile, ratio);
      const wide = tile.level === 0 ? 2 : 1;
      if (w < 4 * wide || h < 4 * wide) continue;
      pen.fillRect(x + w - wide, y, wide, h);
      pen.fillRect(x, y + h - wide, w, wide);
      if (x > 0) pen.fillRect(x, y, wide, h);
      if (y > 0) pen.fillRect(x, y, w, wide);
    }
  }

  // The headings that a tile must not cover: those of the folders around it.
  #headingsAround(look: Look, tile: Tile<Entry>): Area[] {
    const around: Area[] = [];
    for (let at = tile.parent; at >= 0; at = look.tiles[at]!.parent) {
      const area = this.headings.get(at);
      if (area) around.push(area);
    }
    return around;
  }

  // The highest place in a tile that no heading covers.
  #topOf(look: Look, tile: Tile<Entry>, width: number): number {
    const around = this.#headingsAround(look, tile);
    let top = tile.y;
    for (let again = true; again;) {
      again = false;
      for (const area of around) {
        if (overlap(area, { x: tile.x, y: top, w: width, h: HEADING * look.textScale })) {
          top = area.y + area.h;
          again = true;
        }
      }
    }
    return top;
  }

  // A folder's name stands on the corner of what is in it, which takes nothing away from the tiles' areas.
  #heading(pen: CanvasRenderingContext2D, look: Look, index: number): void {
    const tile = look.tiles[index]!;
    const scale = look.textScale;
    const height = HEADING * scale;
    if (tile.w < 1.6 * LABEL_WIDTH * scale || tile.h < 2.2 * height) return;
    const words = cutToFit(pen, look.nameOf(tile), tile.w - 2 * PADDING - 4);
    if (!words) return;
    const width = Math.ceil(pen.measureText(words).width) + 2 * PADDING;
    const y = Math.round(this.#topOf(look, tile, width));
    if (y + height > tile.y + tile.h - height / 2) return;
    const area = { x: Math.round(tile.x), y, w: width, h: height };
    this.headings.set(index, area);
    pen.fillStyle = this.#colours.pill;
    pen.fillRect(area.x, area.y, area.w, area.h);
    pen.fillStyle = this.#colours.pillInk;
    pen.fillText(words, area.x + PADDING, area.y + height / 2 + 0.5);
  }

  #label(pen: CanvasRenderingContext2D, look: Look, tile: Tile<Entry>): void {
    const scale = look.textScale;
    const line = LABEL_HEIGHT * scale;
    if (tile.w < LABEL_WIDTH * scale || tile.h < line) return;
    const room = tile.w - 2 * PADDING;
    const top = this.#topOf(look, tile, room);
    if (top + line > tile.y + tile.h) return;
    const words = cutToFit(pen, look.nameOf(tile), room);
    if (!words) return;
    const middle = top + line / 2 + (tile.y + tile.h - top > 2 * line ? 2 : 0);
    pen.fillText(words, tile.x + PADDING, middle);
    if (top + 2 * line + 4 > tile.y + tile.h) return;
    const amount = look.sizeText(tile);
    if (pen.measureText(amount).width <= room) pen.fillText(amount, tile.x + PADDING, middle + line);
  }
}
