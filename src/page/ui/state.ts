// What the page knows and shows. One object; whoever changes it says so with changed(), and the frame
// passes that on to the section on view once the current task is over.
import type { AcrossAnswer, ExtAnswer, FindAnswer, Hello, Job, ResultDoc, Targets } from '../core/answers';
import { Selection } from '../core/selection';
import { ScanTree } from '../core/tree';

export const SECTIONS = ['overview', 'explorer', 'advice', 'types', 'map', 'find', 'across', 'picker'] as const;
export type Section = (typeof SECTIONS)[number];

export type Change = 'session' | 'targets' | 'jobs' | 'results' | 'view' | 'section' | 'selection' | 'tree' | 'types' | 'find' | 'across' | 'offline' | 'language' | 'details';

export const state = {
  TOKEN: '',
  hello: { auth: false, server: false, canQuit: false } as Hello,
  targets: null as Targets | null,
  jobs: [] as Job[],
  results: new Map<number, ResultDoc>(),
  resultErrors: new Map<number, string>(), // the text that tells why there is no result
  trees: new Map<number, ScanTree>(),
  view: 0, // the job on view
  section: 'picker' as Section,
  selection: new Selection(), // paths in the explorer, the map and the advice
  weights: new Map<string, number>(), // bytes of the marked paths when they were marked
  expanded: new Set<string>(),
  type: '', // the type in focus
  openFolder: '', // the folder whose details or map is on view
  types: new Map<string, ExtAnswer | string>(), // by extension: the detail, or why there is none
  finding: '', // the advice finding in focus
  find: null as FindAnswer | null,
  across: null as AcrossAnswer | null,
  passwords: new Map<string, string>(), // SSH passwords by target: in memory only
  stopped: new Set<number>(), // scans that were ended early while this page looked on
  wacht: 0, // the scan to jump to when it finishes
  started: false, // the start is over: scans and targets are known
  offline: false,
  ended: false,
};

const listeners = new Set<(changes: ReadonlySet<Change>) => void>();
let pending: Set<Change> | null = null;

export function listen(listener: (changes: ReadonlySet<Change>) => void): void {
  listeners.add(listener);
}

export function changed(...changes: Change[]): void {
  if (!pending) {
    pending = new Set();
    queueMicrotask(() => {
      const now = pending ?? new Set<Change>();
      pending = null;
      for (const listener of listeners) listener(now);
    });
  }
  for (const change of changes) pending.add(change);
}

export const jobById = (id: number): Job | undefined => state.jobs.find((job) => job.id === id);
export const jobOnView = (): Job | undefined => jobById(state.view);
export const resultOnView = (): ResultDoc | undefined => state.results.get(state.view);
export const isRemote = (job: Job | undefined): boolean => job?.kind === 'ssh' || job?.method === 'ssh';

// The tree of a finished scan, made when first asked for.
export function treeOf(id: number): ScanTree | undefined {
  const doc = state.results.get(id);
  if (!doc) return undefined;
  let tree = state.trees.get(id);
  if (!tree) {
    tree = new ScanTree(doc);
    state.trees.set(id, tree);
  }
  return tree;
}

// Where each finished scan begins, to tell which one a path belongs to.
export const scanRoots = (): { id: number; root: string }[] =>
  [...state.results].map(([id, doc]) => ({ id, root: doc.meta.path }));

export function clearFetched(): void {
  state.trees.clear();
  state.types.clear();
}
