// Divides a rectangle by size into pieces that are as square as possible.
import { sumOf } from './units';

export interface Rect {
  x: number;
  y: number;
  w: number;
  h: number;
}

// Appends one rectangle per value to `out`, in order. Sorted values, largest first, give the
// squarest pieces; zero and negative ones get no area.
export function squarify(values: readonly number[], area: Rect, out: Rect[] = []): Rect[] {
  const total = sumOf(values, (value) => Math.max(0, value));
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
