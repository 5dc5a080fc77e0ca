// Everything the page knows and shows, in one object. Code that changes it calls changed(); listeners
// hear of all changes once the current task is over.
import type { AcrossAnswer, ExtAnswer, FindAnswer, Hello, Job, ResultDoc, Targets } from '../core/answers';
import { isMeasure, type Measure } from '../core/measure';
import { Selection } from '../core/selection';
import { ScanTree } from '../core/tree';
import { read, write } from './stored';

export const SECTIONS = ['overview', 'explorer', 'advice', 'types', 'largest', 'map', 'find', 'across', 'picker'] as const;
export type Section = (typeof SECTIONS)[number];
export const isSection = (text: string): text is Section => (SECTIONS as readonly string[]).includes(text);
// The searches work on the disk and across all scans; the other sections need a scan on view.
export const isSearch = (section: Section): boolean => section === 'find' || section === 'across';

export type Change = 'session' | 'targets' | 'jobs' | 'results' | 'view' | 'section' | 'selection' | 'tree' | 'types' | 'find' | 'across' | 'offline' | 'language' | 'details' | 'step' | 'measure';

// What the user has marked and opened in one scan. It survives a look at another scan, and a new scan of the
// same target.
export interface ScanView {
  selection: Selection; // paths in the explorer, the map, the types and the advice
  weights: Map<string, number>; // bytes of the marked paths, as of when they were marked
  copies: Set<string>; // the paths that were marked as possible duplicates, and must be compared first
  expanded: Set<string>;
  openFolder: string; // the folder shown in the details or the map
  scroll: number; // of the folder tree, in rows
  type: string; // the type on view
}

const views = new Map<number, ScanView>();

export function viewOf(id: number): ScanView {
  let view = views.get(id);
  if (!view) {
    view = { selection: new Selection(), weights: new Map(), copies: new Set(), expanded: new Set(), openFolder: '', scroll: 0, type: '' };
    views.set(id, view);
  }
  return view;
}

export function passViewOn(from: number, to: number): void {
  views.set(to, viewOf(from));
  views.delete(from);
}

export function unmarkEverywhere(gone: (path: string) => boolean): void {
  for (const { selection } of views.values()) selection.keepOnly((path) => !gone(path));
}

export const dropView = (id: number): boolean => views.delete(id);

export const state = {
  key: '', // of a server that asks for one
  hello: { auth: false, server: false, canQuit: false } as Hello,
  targets: null as Targets | null,
  jobs: [] as Job[],
  results: new Map<number, ResultDoc>(),
  resultErrors: new Map<number, string>(), // why there is no result, as text
  trees: new Map<number, ScanTree>(),
  view: 0, // id of the scan on view
  section: 'picker' as Section,
  types: new Map<string, ExtAnswer | string>(), // by extension: its folders and files, or why there are none
  finding: '', // the finding to scroll to
  folded: new Set<string>(), // findings whose cards are collapsed
  find: null as FindAnswer | null,
  across: null as AcrossAnswer | null,
  passwords: new Map<string, string>(), // SSH passwords by target: in memory only
  stopped: new Set<number>(), // scans that were stopped while this page was open
  proposed: '', // a path from the address that waits for the user's consent
  awaited: 0, // id of the scan whose overview opens when it finishes
  started: false, // scans and targets are known
  offline: false,
  ended: false,
  finishing: false, // it ended once its deletions are done
  // Of the scan on view:
  get selection(): Selection {
    return viewOf(this.view).selection;
  },
  get weights(): Map<string, number> {
    return viewOf(this.view).weights;
  },
  get type(): string {
    return viewOf(this.view).type;
  },
  set type(name: string) {
    viewOf(this.view).type = name;
  },
  get openFolder(): string {
    return viewOf(this.view).openFolder;
  },
  set openFolder(path: string) {
    viewOf(this.view).openFolder = path;
  },
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

// The tree of a finished scan, built on first use.
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

// The root of each finished scan, to find the scan a path belongs to.
export const scanRoots = (): { id: number; root: string }[] =>
  [...state.results].map(([id, doc]) => ({ id, root: doc.meta.path }));

// Whether the user is choosing what to scan.
export const isChoosing = (): boolean => state.section === 'picker';

export function goTo(section: Section): void {
  state.section = section;
  changed('section');
}

// What sizes mean in lists and on the map, as chosen in this browser.
const MEASURE_STORED = 'vorda-measure';
const chosen = { measure: null as Measure | null };

// Whether a scan knows what its files take on the disk.
export const knowsDisk = (id: number): boolean => state.results.get(id)?.tree?.a !== undefined;

// Where it is known, what is on the disk, unless the user chose otherwise.
export function measure(id: number): Measure {
  if (!knowsDisk(id)) return 's';
  if (chosen.measure === null) {
    const stored = read(MEASURE_STORED);
    chosen.measure = isMeasure(stored) ? stored : 'a';
  }
  return chosen.measure;
}

export function chooseMeasure(wanted: Measure): void {
  chosen.measure = wanted;
  write(MEASURE_STORED, wanted);
  changed('measure');
}
