// What a deletion would do and what it did, summed over the answers for all scans it touches.
import type { CopyGroup, DeleteAnswer, DeleteItem, VerifiedFile } from './answers';
import { liesBelow, owningJob, topmost } from './paths';
import type { Key } from '../lang/shape';

export interface Part {
  job: number;
  paths: string[];
}

// The chosen paths grouped by scan: the one on view if they lie in it, else the innermost around them.
// Paths outside all scans go to the scan on view as well.
export function partsByJob(paths: Iterable<string>, roots: { id: number; root: string }[], view: number): Part[] {
  const byJob = new Map<number, string[]>();
  for (const path of topmost(paths)) {
    const around = roots.filter(({ root }) => liesBelow(root, path));
    const job = around.some(({ id }) => id === view) ? view : owningJob(path, around) || view;
    const list = byJob.get(job);
    if (list) list.push(path);
    else byJob.set(job, [path]);
  }
  return [...byJob].map(([job, list]) => ({ job, paths: list }));
}

// What one request would free.
export interface Gain {
  path: string; // one of those that go, for their drive
  bytes: number; // the sizes of what goes
  back: number | undefined; // what comes back of them, if that is known
  most: boolean; // maybe less
  shared: number; // what does not come back, because it has other names elsewhere
}

export interface Plan {
  parts: Part[]; // what would go, by scan
  wouldDelete: string[];
  refused: { p: string; why: string }[];
  noBin: string[];
  seen: Map<string, string>; // by path, what the program saw of it
  items: Map<string, DeleteItem>; // by path, what was measured
  gains: Gain[];
}

const noPlan = (): Plan => ({ parts: [], wouldDelete: [], refused: [], noBin: [], seen: new Map(), items: new Map(), gains: [] });
export const NO_PLAN = noPlan();

export function planOf(runs: { part: Part; answer: DeleteAnswer }[]): Plan {
  const plan = noPlan();
  for (const { part, answer } of runs) {
    const would = answer.wouldDelete ?? [];
    if (would[0] !== undefined) {
      plan.parts.push({ job: part.job, paths: would });
      plan.gains.push({ path: would[0], bytes: answer.bytes || 0, back: answer.x, most: answer.xs === 1, shared: answer.shared ?? 0 });
    }
    plan.wouldDelete.push(...would);
    plan.refused.push(...(answer.refused ?? []));
    plan.noBin.push(...(answer.noBin ?? []));
    would.forEach((path, index) => {
      plan.seen.set(path, answer.seen?.[index] ?? '');
      const item = answer.items?.[index];
      if (item) plan.items.set(path, item);
    });
  }
  return plan;
}

// Both plans in one, for what goes with the same request.
export const together = (a: Plan, b: Plan): Plan => ({
  parts: [...a.parts, ...b.parts], wouldDelete: [...a.wouldDelete, ...b.wouldDelete], refused: [...a.refused, ...b.refused],
  noBin: [...a.noBin, ...b.noBin], seen: new Map([...a.seen, ...b.seen]), items: new Map([...a.items, ...b.items]), gains: [...a.gains, ...b.gains],
});

// What was seen of a copy that is to go, and of the one that stays.
export interface CopyProof {
  seen: string;
  keep: string;
  keepSeen: string;
}

// The lists of fields that say what is expected of each path, in the order of the paths. Of copies that
// were compared only those go that have a proof.
export function expectations(paths: readonly string[], seen: ReadonlyMap<string, string>, proofs: ReadonlyMap<string, CopyProof> | null): Record<string, string[]> {
  if (!proofs) return { p: [...paths], seen: paths.map((path) => seen.get(path) ?? '') };
  const proven = paths.flatMap((path) => {
    const proof = proofs.get(path);
    return proof ? [{ path, ...proof }] : [];
  });
  return {
    p: proven.map((one) => one.path), seen: proven.map((one) => one.seen),
    keep: proven.map((one) => one.keep), keepseen: proven.map((one) => one.keepSeen),
  };
}

export interface Outcome {
  deleted: number;
  bytes: number;
  binned: number;
  error: string;
  inside: number; // bytes that went from inside folders that are still there
  logged: boolean;
  gained: number | null; // by how much the free space of the drives grew, if that is known
}

export function outcomeOf(answers: Omit<DeleteAnswer, 'dryRun' | 'refused' | 'wouldDelete'>[]): Outcome {
  const sum: Outcome = { deleted: 0, bytes: 0, binned: 0, error: '', inside: 0, logged: true, gained: 0 };
  for (const answer of answers) {
    sum.deleted += answer.deleted || 0;
    sum.bytes += answer.bytes || 0;
    sum.binned += answer.binned || 0;
    if (answer.error) sum.error = answer.error;
    for (const { bytes } of answer.partial ?? []) sum.inside += bytes || 0;
    if (answer.logged === false) sum.logged = false;
    const { freeBefore, freeAfter } = answer;
    sum.gained = sum.gained === null || freeBefore === undefined || freeAfter === undefined ? null : sum.gained + freeAfter - freeBefore;
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

// Whether one more copy of a group may be chosen: at least one must stay.
export function mayChoose(group: CopyGroup, chosen: ReadonlySet<string>, path: string): boolean {
  const file = group.files.find((one) => one.p === path);
  if (!file || file.lock) return false;
  return chosen.has(path) || group.files.some((other) => other.p !== path && !chosen.has(other.p));
}

// The chosen copies that are still equal to a copy that stays, after the files were read again: for each
// path what was seen of both.
export function verified(chosen: ReadonlySet<string>, files: readonly VerifiedFile[], duplicates: readonly number[][]): Map<string, CopyProof> {
  const sure = new Map<string, CopyProof>();
  for (const equal of duplicates) {
    const copies = equal.map((index) => files[index]).filter((file): file is VerifiedFile => file !== undefined);
    const stays = copies.find((file) => !chosen.has(file.p));
    if (!stays) continue;
    for (const { p, seen } of copies) {
      if (chosen.has(p)) sure.set(p, { seen: seen ?? '', keep: stays.p, keepSeen: stays.seen ?? '' });
    }
  }
  return sure;
}
