// The tiles of the size map. Every tile has exactly its share of the whole area: children fill their folder
// without margins, and what a folder holds besides the children drawn is a tile of its own.
import { squarify, type Rect } from './squarify';
import { sumOf } from './units';

export interface Tile<T> extends Rect {
  item: T; // of a rest: the folder that it is the rest of
  size: number;
  level: number; // 0: a direct child of the folder on view; an only child has the level of its parent
  branch: number; // which direct child it is in, for colours; -1 above the first level with several tiles
  parent: number; // index of the tile around it, or -1
  rest: boolean; // what its folder holds besides its other tiles
  count: number; // of a rest: how many of the children are in it
  inside: boolean; // has tiles inside
  joined: boolean; // an only child, which shares the heading of the tile around it
  only: number; // index of the tile inside that shares its heading, or -1
}

export interface MapSource<T> {
  childrenOf: (item: T) => readonly T[]; // largest first
  sizeOf: (item: T) => number;
  isFolder: (item: T) => boolean;
}

const SMALLEST_AREA = 9; // square pixels; what is smaller melts into the rest
const SMALLEST_FOLDER = 14; // pixels; smaller ones are not divided
const MOST_TILES = 6000;
const LONGEST_CHAIN = 100;

interface Part<T> {
  item: T;
  size: number;
  rest: boolean;
  count: number;
}

// The children that are large enough for a tile, and the rest if there is one.
function partsOf<T>(item: T, children: readonly T[], whole: number, area: number, { sizeOf }: MapSource<T>): Part<T>[] {
  const sizes = children.map(sizeOf);
  const sum = sumOf(sizes, (size) => Math.max(0, size));
  // Children listed live may have grown since the scan; then they share what their folder had.
  const scale = sum > whole ? whole / sum : 1;
  const parts: Part<T>[] = [];
  let rest = whole;
  children.forEach((child, i) => {
    const size = sizes[i]! * scale;
    if ((size / whole) * area < SMALLEST_AREA) return;
    parts.push({ item: child, size, rest: false, count: 0 });
    rest -= size;
  });
  if ((rest / whole) * area >= 0.5) parts.push({ item, size: rest, rest: true, count: children.length - parts.length });
  return parts;
}

const isChain = <T>(parts: Part<T>[], { isFolder }: MapSource<T>): boolean => parts.length === 1 && !parts[0]!.rest && isFolder(parts[0]!.item);

// Divides `area` among what is in `top`, then among what is in that, down to `deepest` levels and as far as
// there is room.
export function layoutMap<T>(top: T, area: Rect, source: MapSource<T>, deepest: number): Tile<T>[] {
  const tiles: Tile<T>[] = [];
  const waiting = [{ item: top, size: source.sizeOf(top), rect: area, level: -1, branch: -1, index: -1, chain: 0 }];
  for (let at = 0; at < waiting.length; ++at) {
    const { item, size, rect: space, level, branch, index, chain } = waiting[at]!;
    if (!(size > 0) || !(space.w > 0) || !(space.h > 0)) continue;
    const children = source.childrenOf(item);
    // A folder whose contents are not known, or all too small, stays one tile.
    if (index >= 0 && children.length === 0) continue;
    const parts = partsOf(item, children, size, space.w * space.h, source);
    if (index >= 0 && (parts.every((part) => part.rest) || tiles.length + parts.length > MOST_TILES)) continue;
    const joined = index >= 0 && chain < LONGEST_CHAIN && isChain(parts, source);
    if (index >= 0) tiles[index]!.inside = true;
    if (joined) tiles[index]!.only = tiles.length;
    const rects = squarify(parts.map((part) => part.size), space);
    parts.forEach((part, i) => {
      const rect = rects[i]!;
      const { x, y, w, h } = rect;
      const { item: own, size: bytes, rest, count } = part;
      // Named one by one: spreading the two objects takes far longer.
      const tile: Tile<T> = {
        x, y, w, h, item: own, size: bytes, rest, count, level: joined ? level : level + 1, branch: branch >= 0 ? branch : parts.length > 1 ? i : -1,
        parent: index, inside: false, joined, only: -1,
      };
      tiles.push(tile);
      const divided = !rest && source.isFolder(own) && (tile.level + 1 < deepest) && w >= SMALLEST_FOLDER && h >= SMALLEST_FOLDER;
      if (divided) waiting.push({ item: own, size: bytes, rect, level: tile.level, branch: tile.branch, index: tiles.length - 1, chain: joined ? chain + 1 : 0 });
    });
  }
  return tiles;
}

// Index of the innermost tile under a point, or -1.
export function tileAt<T>(tiles: readonly Tile<T>[], x: number, y: number): number {
  for (let i = tiles.length - 1; i >= 0; --i) {
    const tile = tiles[i]!;
    if (x >= tile.x && x < tile.x + tile.w && y >= tile.y && y < tile.y + tile.h) return i;
  }
  return -1;
}

// Index of the nearest rectangle in a direction, measured between centres; `from` itself at the edge.
export function nearestTile(rects: readonly Rect[], from: number, dx: number, dy: number): number {
  const here = rects[from];
  if (!here) return rects.length > 0 ? 0 : -1;
  const cx = here.x + here.w / 2;
  const cy = here.y + here.h / 2;
  let best = from;
  let distance = Infinity;
  rects.forEach((rect, index) => {
    if (index === from) return;
    const ox = rect.x + rect.w / 2 - cx;
    const oy = rect.y + rect.h / 2 - cy;
    const ahead = ox * dx + oy * dy;
    if (ahead <= 0) return;
    const away = ahead + 2 * Math.abs(ox * dy + oy * dx);
    if (away < distance) {
      distance = away;
      best = index;
    }
  });
  return best;
}
