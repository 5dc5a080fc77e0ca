// What a deletion would do and what it did, summed over the answers for all scans it touches.
import type { Copy, CopyGroup, DeleteAnswer } from './answers';
import { owningJob, topmost } from './paths';
import type { Key } from '../lang/shape';

export interface Part {
  job: number;
  paths: string[];
}

// The chosen paths grouped by scan; paths outside all scans go to the scan on view.
export function partsByJob(paths: Iterable<string>, roots: { id: number; root: string }[], view: number): Part[] {
  const byJob = new Map<number, string[]>();
  for (const path of topmost(paths)) {
    const job = owningJob(path, roots) || view;
    const list = byJob.get(job);
    if (list) list.push(path);
    else byJob.set(job, [path]);
  }
  return [...byJob].map(([job, list]) => ({ job, paths: list }));
}

export interface Plan {
  parts: Part[]; // what would go, by scan
  wouldDelete: string[];
  refused: { p: string; why: string }[];
  noBin: string[];
  bytes: number;
}

export function planOf(runs: { part: Part; answer: DeleteAnswer }[]): Plan {
  const plan: Plan = { parts: [], wouldDelete: [], refused: [], noBin: [], bytes: 0 };
  for (const { part, answer } of runs) {
    const would = answer.wouldDelete ?? [];
    if (would.length > 0) plan.parts.push({ job: part.job, paths: would });
    plan.wouldDelete.push(...would);
    plan.refused.push(...(answer.refused ?? []));
    plan.noBin.push(...(answer.noBin ?? []));
    plan.bytes += answer.bytes || 0;
  }
  return plan;
}

export interface Outcome {
  deleted: number;
  bytes: number;
  binned: number;
  error: string;
}

export function outcomeOf(answers: Pick<DeleteAnswer, 'deleted' | 'bytes' | 'binned' | 'error'>[]): Outcome {
  const sum: Outcome = { deleted: 0, bytes: 0, binned: 0, error: '' };
  for (const answer of answers) {
    sum.deleted += answer.deleted || 0;
    sum.bytes += answer.bytes || 0;
    sum.binned += answer.binned || 0;
    if (answer.error) sum.error = answer.error;
  }
  return sum;
}

// The sentence for an outcome without an error.
export function outcomeKey(outcome: Outcome): Extract<Key, 'delNothing' | 'delDone' | 'delDoneBin' | 'delDoneMixed'> {
  if (outcome.deleted === 0) return 'delNothing';
  if (outcome.binned === 0) return 'delDone';
  return outcome.binned >= outcome.bytes ? 'delDoneBin' : 'delDoneMixed';
}

// Whether the typed text is the confirmation word.
export const confirms = (typed: string, word: string): boolean => typed.trim().toUpperCase() === word;

// Rules for the copy of a group that is kept.
export const KEEP_RULES = ['newest', 'oldest', 'shortest', 'first'] as const;
export type KeepRule = (typeof KEEP_RULES)[number];

// The copy of a group that is kept. Copies that can't be deleted anyway are preferred.
export function keeper(group: CopyGroup, rule: KeepRule): Copy {
  const locked = group.files.filter((file) => file.lock);
  const among = locked.length > 0 ? locked : group.files;
  const better: Record<KeepRule, (a: Copy, b: Copy) => boolean> = {
    newest: (a, b) => a.m > b.m,
    oldest: (a, b) => (a.m || Infinity) < (b.m || Infinity),
    shortest: (a, b) => a.p.length < b.p.length,
    first: (a, b) => a.p.toLowerCase() < b.p.toLowerCase(),
  };
  return among.reduce((best, file) => (better[rule](file, best) ? file : best));
}

// Whether one more copy of a group may be chosen: at least one must stay.
export function mayChoose(group: CopyGroup, chosen: ReadonlySet<string>, path: string): boolean {
  const file = group.files.find((one) => one.p === path);
  if (!file || file.lock) return false;
  return chosen.has(path) || group.files.some((other) => other.p !== path && !chosen.has(other.p));
}

// The chosen copies that are still equal to a copy that stays, after the files were read again.
export function verified(chosen: ReadonlySet<string>, paths: readonly string[], duplicates: readonly number[][]): Set<string> {
  const sure = new Set<string>();
  for (const equal of duplicates) {
    const names = equal.map((index) => paths[index]).filter((path): path is string => path !== undefined);
    if (!names.some((path) => !chosen.has(path))) continue;
    for (const path of names) {
      if (chosen.has(path)) sure.add(path);
    }
  }
  return sure;
}
