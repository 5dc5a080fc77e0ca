// Draws the tiles of the map. Tiles end at whole pixels and leave a dark line to the next one.
import type { Tile } from '../core/map_layout';
import { COLOURS } from '../core/map_colours';
import type { Entry } from '../core/entry';
import { MapPixels, shadesOf, type Box, type Shades } from './map_pixels';

// In pixels at the default text size.
const HEADING = 17;
const LABEL_WIDTH = 36;
const LABEL_HEIGHT = 16;
const LABEL_SIZE = 12;
const PADDING = 4;
const SPARE = 64; // pixels
const FADED = 0.72; // the part that the colour of the lines has in a faded tile

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

// The pixels that a tile fills, without the line at its right and lower edge.
function boxOf({ x, y, w, h }: Area, ratio: number): Box {
  const line = Math.max(1, Math.round(ratio));
  return { left: Math.round(x * ratio), top: Math.round(y * ratio), right: Math.round((x + w) * ratio) - line, bottom: Math.round((y + h) * ratio) - line };
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

// The outer folders have a wider line around them.
function frame(pixels: MapPixels, { tiles }: Look, ratio: number): void {
  for (const tile of tiles) {
    if (!tile.inside || tile.joined || tile.level > 1) continue;
    const box = boxOf(tile, ratio);
    const { left, top, right, bottom } = box;
    const wide = (tile.level === 0 ? 2 : 1) * Math.max(1, Math.round(ratio));
    if (right - left < 4 * wide || bottom - top < 4 * wide) continue;
    pixels.clear({ ...box, left: right - wide });
    pixels.clear({ ...box, top: bottom - wide });
    if (left > 0) pixels.clear({ ...box, right: left + wide });
    if (top > 0) pixels.clear({ ...box, bottom: top + wide });
  }
}

export class MapPainter {
  // Where headings were drawn, by tile, so that a click on one chooses its folder.
  readonly headings = new Map<number, Area>();
  #colours: Colours = { tiles: [], ink: '', line: '', pill: '', pillInk: '' };
  readonly #canvas: HTMLCanvasElement;
  readonly #pixels = new MapPixels();

  constructor(canvas: HTMLCanvasElement) {
    this.#canvas = canvas;
  }

  draw(look: Look): void {
    const { width, height, tiles } = look;
    const ratio = Math.min(devicePixelRatio || 1, 2);
    const [w, h] = [Math.round(width * ratio), Math.round(height * ratio)];
    // Allocating a canvas takes as long as drawing on it, so it only grows, and by more than is needed.
    for (const [side, least] of [['width', w], ['height', h]] as const) {
      if (this.#canvas[side] < least) this.#canvas[side] = least + SPARE;
      this.#canvas.style[side] = `${this.#canvas[side] / ratio}px`;
    }
    const pen = this.#canvas.getContext('2d', { alpha: false });
    if (!pen) return;
    this.#colours = coloursOf(look.ramp);
    this.headings.clear();
    this.#pixels.start(w, h, ratio, this.#colours.line);
    this.#fill(look, ratio);
    frame(this.#pixels, look, ratio);
    pen.putImageData(this.#pixels.image, 0, 0);
    pen.setTransform(ratio, 0, 0, ratio, 0, 0);
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

  // Rests are hatched, since they are no single thing.
  #fill(look: Look, ratio: number): void {
    const { tiles: colours, ink, line } = this.#colours;
    const shades = (faded: number): Shades[] => colours.map((colour) => shadesOf(colour, { shaded: look.shaded, faded, ink, line }));
    const plain = shades(0);
    const faded = look.highlighted < 0 ? [] : shades(FADED);
    look.tiles.forEach((tile, index) => {
      if (!tile.inside) this.#pixels.shade(boxOf(tile, ratio), (isFaded(look, index) ? faded : plain)[look.colours[index]!]!, tile.rest);
    });
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
