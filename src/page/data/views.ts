// What was opened and marked in each scan, kept in this tab so that it lives through a reload.
import { sameTarget } from '../core/paths';
import { changed, jobById, listen, state, viewOf } from './state';

const STORED = 'vorda-views';
const KEEP_MS = 400;
const MOST_FOLDERS = 3000;
const MOST_MARKS = 5000;

interface Kept {
  path: string;
  expanded: string[];
  marks: [string, number][]; // with their bytes
  copies: string[];
  openFolder: string;
  scroll: number;
  type: string;
}

interface Stored {
  viewed: string; // the path of the scan on view
  views: Kept[];
}

const waiting = { timer: 0, stored: null as Stored | null };

function keep(): void {
  clearTimeout(waiting.timer);
  waiting.timer = 0;
  // A scan that still runs has the view of the one before it, or none as yet.
  const views = state.jobs.map((job): Kept => {
    const { expanded, selection, weights, copies, openFolder, scroll, type } = viewOf(job.id);
    return notTaken(job.path) ?? {
      path: job.path, expanded: [...expanded].slice(0, MOST_FOLDERS), marks: [...selection.keys].slice(0, MOST_MARKS).map((path) => [path, weights.get(path) ?? 0]),
      copies: [...copies].slice(0, MOST_MARKS), openFolder, scroll, type,
    };
  });
  const stored: Stored = { viewed: jobById(state.view)?.path ?? '', views };
  try {
    sessionStorage.setItem(STORED, JSON.stringify(stored));
  } catch {
    // Without storage, or with too much to store, a reload starts afresh.
  }
}

const texts = (value: unknown): string[] => (Array.isArray(value) ? value.filter((one) => typeof one === 'string') : []);

function read(): Stored {
  try {
    const value = JSON.parse(sessionStorage.getItem(STORED) ?? '{}') as Partial<Stored> | null;
    return { viewed: typeof value?.viewed === 'string' ? value.viewed : '', views: Array.isArray(value?.views) ? value.views.filter((one) => typeof (one as Partial<Kept> | null)?.path === 'string') : [] };
  } catch {
    return { viewed: '', views: [] };
  }
}

const stored = (): Stored => (waiting.stored ??= read());

const notTaken = (target: string): Kept | undefined => stored().views.find((one) => sameTarget(one.path, target));

// Gives each finished scan the view that this tab had of its target. A later scan of it does not get it again.
function takeBack(): void {
  for (const job of state.jobs) {
    const kept = state.results.has(job.id) && notTaken(job.path);
    if (!kept) continue;
    stored().views.splice(stored().views.indexOf(kept), 1);
    const view = viewOf(job.id);
    if (view.expanded.size > 0) continue;
    for (const path of texts(kept.expanded)) view.expanded.add(path);
    for (const path of texts(kept.copies)) view.copies.add(path);
    if (Array.isArray(kept.marks)) {
      for (const [path, bytes] of kept.marks) {
        if (typeof path !== 'string' || typeof bytes !== 'number') continue;
        view.selection.keys.add(path);
        view.weights.set(path, bytes);
      }
    }
    if (typeof kept.openFolder === 'string') view.openFolder ||= kept.openFolder;
    if (typeof kept.type === 'string') view.type ||= kept.type;
    if (typeof kept.scroll === 'number') view.scroll = kept.scroll;
  }
}

// The scan that this tab had on view, or the last one.
export function scanAtStart(): number {
  const last = state.jobs[state.jobs.length - 1];
  return (state.jobs.find((job) => stored().viewed !== '' && sameTarget(job.path, stored().viewed)) ?? last)?.id ?? 0;
}

export function keepViews(): void {
  takeBack();
  listen((changes) => {
    if (changes.has('results')) takeBack();
    if (!waiting.timer) waiting.timer = window.setTimeout(keep, KEEP_MS);
  });
  addEventListener('pagehide', keep);
  changed('view');
}
