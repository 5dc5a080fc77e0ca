// Layout of the size map: divides a rectangle by size into pieces that are as square as possible.

export interface Rect {
  x: number;
  y: number;
  w: number;
  h: number;
}

// Appends one rectangle per value to `out`, in order. Values must be sorted, largest first; zero and
// negative ones get no area.
export function squarify(values: readonly number[], area: Rect, out: Rect[] = []): Rect[] {
  const total = values.reduce((sum, value) => sum + Math.max(0, value), 0);
  let { x, y, w, h } = area;
  if (!(total > 0) || !(w > 0) || !(h > 0)) {
    for (let i = 0; i < values.length; ++i) out.push({ x, y, w: 0, h: 0 });
    return out;
  }
  const scale = (w * h) / total;
  let start = 0;
  while (start < values.length) {
    const side = Math.min(w, h);
    let sum = 0;
    let smallest = Infinity;
    let largest = 0;
    let worst = Infinity;
    let end = start;
    // A row along the shorter side takes values as long as that improves its worst aspect ratio.
    while (end < values.length) {
      const size = Math.max(0, values[end]!) * scale;
      const nextSum = sum + size;
      const nextSmallest = Math.min(smallest, size);
      const nextLargest = Math.max(largest, size);
      const square = nextSum * nextSum;
      const strip = side * side;
      const nextWorst = nextSmallest > 0 && side > 0 ? Math.max((strip * nextLargest) / square, square / (strip * nextSmallest)) : worst;
      if (end > start && nextWorst > worst) break;
      sum = nextSum;
      smallest = nextSmallest;
      largest = nextLargest;
      worst = nextWorst;
      ++end;
    }
    const depth = side > 0 ? Math.min(sum / side, Math.max(w, h)) : 0;
    let along = 0;
    for (let i = start; i < end; ++i) {
      const length = depth > 0 ? (Math.max(0, values[i]!) * scale) / depth : 0;
      out.push(w >= h ? { x, y: y + along, w: depth, h: length } : { x: x + along, y, w: length, h: depth });
      along += length;
    }
    if (w >= h) {
      x += depth;
      w = Math.max(0, w - depth);
    } else {
      y += depth;
      h = Math.max(0, h - depth);
    }
    start = end;
  }
  return out;
}

export interface MapItem<T> {
  item: T;
  size: number;
}

export interface Tile<T> extends Rect {
  item: T;
  level: number; // 0: a direct child of the folder
  branch: number; // index of the ancestor at the first level with several tiles; -1 above that level
  heading: boolean; // has a strip with its name at the top
}

export interface MapLayout<T> {
  tiles: Tile<T>[];
  melted: Rect[]; // areas whose pieces are too small to draw
}

const SMALLEST = 3;
const MOST_TILES = 6000;

// Divides `area` among the children of `top`, then among their children while there is room.
// childrenOf returns them largest first.
export function layoutMap<T>(top: T, area: Rect, childrenOf: (item: T) => MapItem<T>[], deepest: number, heading: number): MapLayout<T> {
  const tiles: Tile<T>[] = [];
  const melted: Rect[] = [];
  const waiting: { item: T; area: Rect; level: number; branch: number; tile: Tile<T> | null }[] = [{ item: top, area, level: 0, branch: -1, tile: null }];
  for (let at = 0; at < waiting.length && tiles.length < MOST_TILES; ++at) {
    const { item, area: space, level, branch, tile: holder } = waiting[at]!;
    const children = childrenOf(item);
    if (holder) holder.heading = children.length > 0;
    const rects = squarify(children.map((child) => child.size), space);
    let rest: Rect | null = null;
    for (let i = 0; i < rects.length; ++i) {
      const rect = rects[i]!;
      if (rect.w < SMALLEST || rect.h < SMALLEST) {
        if (rect.w > 0 && rect.h > 0) rest = rest ? around(rest, rect) : rect;
        continue;
      }
      const deeper = level + 1 < deepest && rect.w > 24 && rect.h > heading + 24;
      const tile: Tile<T> = { ...rect, item: children[i]!.item, level, branch: branch >= 0 ? branch : children.length > 1 ? i : -1, heading: false };
      tiles.push(tile);
      if (deeper) {
        waiting.push({
          item: tile.item, level: level + 1, branch: tile.branch, tile,
          area: { x: rect.x + 2, y: rect.y + heading, w: rect.w - 4, h: rect.h - heading - 2 },
        });
      }
    }
    if (rest) melted.push(rest);
  }
  return { tiles, melted };
}

function around(a: Rect, b: Rect): Rect {
  const x = Math.min(a.x, b.x);
  const y = Math.min(a.y, b.y);
  return { x, y, w: Math.max(a.x + a.w, b.x + b.w) - x, h: Math.max(a.y + a.h, b.y + b.h) - y };
}

// Index of the deepest tile under a point, or -1.
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
