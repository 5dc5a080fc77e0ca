// The rows of the table of duplicates: each group, and below it its copies unless it is collapsed.
import type { Copy, CopyGroup } from '../../core/answers';

export const SORTS = ['waste', 'size', 'count', 'path'] as const;
export type GroupSort = (typeof SORTS)[number];

export interface Row {
  group: CopyGroup;
  copy: Copy | null; // null: the row of the group itself
  open: boolean;
}

// A group by its first copy: groups have no number of their own, and a deletion changes their order.
export const keyOf = ({ group, copy }: Row): string => copy?.p ?? `\0${group.files[0]?.p ?? ''}`;

const ORDER: Record<GroupSort, (a: CopyGroup, b: CopyGroup) => number> = {
  waste: (a, b) => b.waste - a.waste,
  size: (a, b) => b.s - a.s,
  count: (a, b) => b.c - a.c,
  path: (a, b) => ((a.files[0]?.p ?? '').toLowerCase() < (b.files[0]?.p ?? '').toLowerCase() ? -1 : 1),
};

// The groups of which a copy has the text in its path, in order.
export function groupsShown(groups: readonly CopyGroup[], filter: string, sort: GroupSort): CopyGroup[] {
  const wanted = filter.trim().toLowerCase();
  const fitting = wanted ? groups.filter((group) => group.files.some((file) => file.p.toLowerCase().includes(wanted))) : groups.slice();
  return fitting.sort(ORDER[sort]);
}

export const rowsOf = (groups: readonly CopyGroup[], isClosed: (group: CopyGroup) => boolean): Row[] =>
  groups.flatMap((group) => {
    const open = !isClosed(group);
    return [{ group, copy: null, open }, ...(open ? group.files.map((copy) => ({ group, copy, open })) : [])];
  });
