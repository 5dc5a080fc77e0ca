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

const byText = new Intl.Collator(undefined, { numeric: true, sensitivity: 'base' });

// What stands for files that are not listed comes last.
const lastOf = (item: Entry): number => (item.kind === 'more' || item.kind === 'gone' ? 1 : item.kind === 'failed' || item.kind === 'loading' ? 2 : 0);
const isListed = (item: Entry): boolean => item.kind === 'folder' || item.kind === 'file';

const VALUES: Record<Exclude<Sort, 'name' | 'type'>, (item: Entry, measure: Measure) => number> = {
  size: valueOf, disk: (item) => item.a ?? item.s, files: (item) => item.f, date: (item) => item.m,
};

function compareBy(a: Entry, b: Entry, { by, measure }: Order): number {
  if (by === 'name') return byText.compare(a.name, b.name);
  if (by === 'type') {
    const [first, second] = [a.kind === 'file' ? extensionOf(a.name) : '', b.kind === 'file' ? extensionOf(b.name) : ''];
    return first < second ? -1 : first > second ? 1 : 0;
  }
  return VALUES[by](a, measure) - VALUES[by](b, measure);
}

export const compareEntries = (order: Order) => (a: Entry, b: Entry): number => {
  const last = lastOf(a) - lastOf(b);
  if (last !== 0) return last;
  // Rests have a size, but nothing else to sort by.
  if (order.by !== 'size' && isListed(a) !== isListed(b)) return isListed(a) ? -1 : 1;
  if (order.foldersFirst && (a.kind === 'folder') !== (b.kind === 'folder')) return a.kind === 'folder' ? -1 : 1;
  const compared = compareBy(a, b, order) * (order.down ? -1 : 1);
  return compared || valueOf(b, order.measure) - valueOf(a, order.measure) || (a.name < b.name ? -1 : a.name > b.name ? 1 : 0);
};
