// What the colours of the map stand for. There are seven colours and one for the rest; ages have a scale of
// their own, from light to dark.
import { groupOf, GROUPS } from './type_groups';
import { isFile, isFolder, type Entry } from './entry';
import type { MapSource, Tile } from './map_layout';

export const COLOURINGS = ['type', 'age', 'folder'] as const;
export type Colouring = (typeof COLOURINGS)[number];
export const isColouring = (text: unknown): text is Colouring => (COLOURINGS as readonly unknown[]).includes(text);

export const COLOURS = 7;
export const OTHER = COLOURS; // the colour of what has no other one

const DAY = 86_400_000;
// The ages that have a colour, in days: younger than this.
export const AGES = [30, 180, 365, 730, 1825, Infinity] as const;

const ageOf = (m: number, now: number): number => AGES.findIndex((days) => now - m < days * DAY);

function fileColour(file: Entry, colouring: Colouring, now: number): number {
  if (colouring === 'age') return file.m > 0 ? ageOf(file.m, now) : OTHER;
  const group = groupOf(file.name);
  return group === null ? OTHER : GROUPS.indexOf(group);
}

const MOSTLY = 0.9;
const LOOKED_AT = 400; // items of one tile

// What is one tile, though it holds several files, has their colour if nearly all of it is of that colour.
function commonColour(items: readonly Entry[], whole: number, sizeOf: (item: Entry) => number, colouring: Colouring, now: number): number {
  if (items.length === 0) return OTHER;
  const bytes = new Array<number>(OTHER + 1).fill(0);
  for (const item of items.slice(0, LOOKED_AT)) if (isFile(item)) bytes[fileColour(item, colouring, now)]! += sizeOf(item);
  const most = Math.max(...bytes);
  return most > 0 && most >= MOSTLY * whole ? bytes.indexOf(most) : OTHER;
}

// The colour of a tile that has none inside: 0 to 6, or OTHER.
export function colourOf({ item, size, rest, count, branch }: Tile<Entry>, { childrenOf, sizeOf }: MapSource<Entry>, colouring: Colouring, now: number): number {
  if (colouring === 'folder') return rest || branch < 0 || branch >= COLOURS ? OTHER : branch;
  if (isFile(item)) return fileColour(item, colouring, now);
  if (!isFolder(item)) return OTHER;
  const children = childrenOf(item);
  return commonColour(rest ? children.slice(children.length - count) : children, size, sizeOf, colouring, now);
}
