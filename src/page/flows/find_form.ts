// The values of the finder's form, which outlive the section, and starting a search with them.
import { t } from '../core/i18n';
import { Selection } from '../core/selection';
import { finder } from '../data/runs';
import { goTo } from '../data/state';
import { chosenScans, typedNumber } from './search_form';

export const MEBI = 1024 * 1024;
export const UNITS = { KB: 1024, MB: MEBI, GB: 1024 * MEBI } as const;
export type Unit = keyof typeof UNITS;

const BY_SIZE = 'size';
// Orders in which the program can return hits.
export const ORDERS: readonly string[] = [BY_SIZE, 'new', 'old', 'name'];

export const entered = { names: '', exts: '', min: '', unit: 'MB' as Unit, sort: BY_SIZE, without: new Set<number>() };
export const findMarks = { selection: new Selection(), weights: new Map<string, number>() };

// Starts a search with what is entered; returns the text of a problem, or ''.
export async function startFinding(): Promise<string> {
  const min = Math.round(typedNumber(entered.min) * UNITS[entered.unit]);
  const names = entered.names.trim();
  const exts = entered.exts.trim();
  const ids = chosenScans(entered.without);
  if ((!names && !exts && min < MEBI) || ids.length === 0) return t('fiNotYet');
  findMarks.selection.clear();
  findMarks.weights.clear();
  return finder.start({ ids: ids.join(','), names, exts, min, sort: entered.sort });
}

// Opens the finder and searches for all files of a type.
export function findAll(type: string): void {
  Object.assign(entered, { names: '', exts: type, min: '', sort: BY_SIZE });
  goTo('find');
  void startFinding();
}

// Opens the finder with a size to begin with.
export function findLarge(bytes: number): void {
  const mebi = Math.max(1, Math.floor(bytes / MEBI));
  Object.assign(entered, { names: '', exts: '', min: String(mebi), unit: 'MB', sort: BY_SIZE });
  goTo('find');
}
