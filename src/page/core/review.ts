// What a deletion is reviewed by: its rows, the requests it is made with, the space that is free afterwards.
import type { DeleteItem, Drive } from './answers';
import { trimEnd } from './paths';
import type { Part, Plan } from './plan';
import type { Key } from '../lang/shape';

// Longer lists are sent in several requests, one after the other: each drive by itself, since the program can
// only tell for one at a time what went into its recycle bin.
export const MOST_PATHS = 500;

export interface Going {
  path: string;
  name?: string; // instead of the last one of the path
  bytes: number;
  files: number; // inside; of a file 1
  m: number;
  folder: boolean;
  note: Extract<Key, 'delTagGone' | 'delTagLong'> | null; // why the recycle bin does not take it
}

// The drive of a path as "C:", or '' for one on a share or a host.
export const driveOf = (path: string): string => (/^[a-z]:/i.test(path) ? path.slice(0, 2).toUpperCase() : '');

export function requestsFor(parts: readonly Part[]): Part[] {
  return parts.flatMap(({ job, paths }) => {
    const drives = [...new Set(paths.map(driveOf))];
    return drives.flatMap((drive) => {
      const list = paths.filter((path) => driveOf(path) === drive);
      return Array.from({ length: Math.ceil(list.length / MOST_PATHS) }, (_, i) => ({ job, paths: list.slice(i * MOST_PATHS, (i + 1) * MOST_PATHS) }));
    });
  });
}

const NOTHING: DeleteItem = { s: 0, f: 0, m: 0 };

// The rows for what would go, largest first.
export function goingOf(plan: Plan, tooLong: Plan): Going[] {
  const beyondBin = new Set(plan.noBin);
  const row = ({ items }: Plan, path: string, note: Going['note']): Going => {
    const { s, f, m, dir = false } = items.get(path) ?? NOTHING;
    return { path, bytes: s, files: f, m, folder: dir, note };
  };
  return [
    ...plan.wouldDelete.map((path) => row(plan, path, beyondBin.has(path) ? 'delTagGone' : null)),
    ...tooLong.wouldDelete.map((path) => row(tooLong, path, 'delTagLong')),
  ].sort((a, b) => b.bytes - a.bytes);
}

// The drives that gain space, with what is free on each once it is gone.
export function freeAfter(rows: readonly { path: string; bytes: number }[], drives: readonly Drive[]): { drive: string; free: number }[] {
  const gains = new Map<string, number>();
  for (const { path, bytes } of rows) gains.set(driveOf(path), (gains.get(driveOf(path)) ?? 0) + bytes);
  return drives.flatMap(({ path, free, size }) => {
    const gain = gains.get(driveOf(path)) ?? 0;
    return gain > 0 && size > 0 ? [{ drive: trimEnd(path), free: Math.min(size, free + gain) }] : [];
  });
}
