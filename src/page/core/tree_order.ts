// The orders in which the contents of folders can be listed.
import { valueOf, type Measure } from './measure';
import { extensionOf } from './type_groups';
import type { Entry } from './entry';

export const SORTS = ['size', 'disk', 'name', 'files', 'date', 'type'] as const;
export type Sort = (typeof SORTS)[number];
export const isSort = (text: unknown): text is Sort => (SORTS as readonly unknown[]).includes(text);

export interface Order {
  by: Sort;
  down: boolean;
  foldersFirst: boolean;
  measure: Measure; // what a size is
}

export const SIZE_ORDER: Order = { by: 'size', down: true, foldersFirst: false, measure: 's' };

// Texts start with A, figures with the largest.
export const startsDown = (by: Sort): boolean => by !== 'name' && by !== 'type';

// Names in the order of Windows: numbers by their value, capitals and accents ignored. A key for each name makes
// that ten times as fast as a collator, which 100,000 names need.
export const nameKey = (name: string): string => {
  const plain = /[^\0-\x7f]/.test(name) ? name.normalize('NFD').replace(/[\u0300-\u036f]/g, '') : name;
  return plain.toLowerCase().replace(/\d+/g, (digits) => digits.replace(/^0+(?=\d)/, '').padStart(15, '0'));
};

export const byText = (a: string, b: string): number => (a < b ? -1 : a > b ? 1 : 0);

// What stands for files that are not listed comes last.
const lastOf = (item: Entry): number => (item.kind === 'more' || item.kind === 'gone' ? 1 : item.kind === 'failed' || item.kind === 'loading' ? 2 : 0);
const isListed = (item: Entry): boolean => item.kind === 'folder' || item.kind === 'file';

const VALUES: Record<Exclude<Sort, 'name' | 'type'>, (item: Entry, measure: Measure) => number> = {
  size: valueOf, disk: (item) => item.a ?? item.s, files: (item) => item.f, date: (item) => item.m,
};

function compareBy(a: Entry, b: Entry, { by, measure }: Order, keyOf: (item: Entry) => string): number {
  if (by === 'name') return byText(keyOf(a), keyOf(b));
  if (by === 'type') {
    const [first, second] = [a.kind === 'file' ? extensionOf(a.name) : '', b.kind === 'file' ? extensionOf(b.name) : ''];
    return byText(first, second);
  }
  return VALUES[by](a, measure) - VALUES[by](b, measure);
}

const comparer = (order: Order, keyOf: (item: Entry) => string) => (a: Entry, b: Entry): number => {
  const last = lastOf(a) - lastOf(b);
  if (last !== 0) return last;
  // Rests have a size, but nothing else to sort by.
  if (order.by !== 'size' && isListed(a) !== isListed(b)) return isListed(a) ? -1 : 1;
  if (order.foldersFirst && (a.kind === 'folder') !== (b.kind === 'folder')) return a.kind === 'folder' ? -1 : 1;
  const compared = compareBy(a, b, order, keyOf) * (order.down ? -1 : 1);
  return compared || valueOf(b, order.measure) - valueOf(a, order.measure) || byText(a.name, b.name);
};

// Sorts a list in place.
export function sortEntries(list: Entry[], order: Order): Entry[] {
  const keys = order.by === 'name' ? new Map(list.map((item) => [item, nameKey(item.name)])) : null;
  return list.sort(comparer(order, (item) => keys?.get(item) ?? ''));
}
