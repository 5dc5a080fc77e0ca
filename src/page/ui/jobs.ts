// Scans: starting, following, viewing and forgetting them.
import { isResult, type Job, type ResultDoc } from '../core/answers';
import { count, failure, size, t } from '../core/i18n';
import { sameTarget } from '../core/paths';
import { api, Failure, form, messageOf, query, wordOf } from './api';
import { changed, clearFetched, isRemote, jobById, state } from './state';
import { dropFromSearches } from './runs';
import { announce, toast, toastFailure } from './toast';

const POLL_MS = 400;
const HIDDEN_POLL_MS = 5000;
const MOST_WAIT_MS = 10_000;
const ANNOUNCE_MS = 10_000;

// `changes` counts what this page did to the list of scans: an answer that was under way meanwhile
// knows nothing of it.
const poller = { timer: 0, busy: false, failures: 0, announced: 0, changes: 0 };

export const isRunning = (job: Job): boolean => job.state === 'scanning' || job.state === 'cancelled';

export const nameOf = (job: Job): string => job.label || job.path;

const lacksResult = (job: Job): boolean => job.state === 'done' && !state.results.has(job.id) && !state.resultErrors.has(job.id);

function schedule(): void {
  clearTimeout(poller.timer);
  if (state.ended) return;
  if (!state.jobs.some((job) => isRunning(job) || lacksResult(job)) && !state.offline) return;
  const pace = document.hidden ? HIDDEN_POLL_MS : POLL_MS;
  const wait = state.offline ? Math.min(MOST_WAIT_MS, pace * 2 ** Math.min(5, poller.failures)) : pace;
  poller.timer = window.setTimeout(() => void poll(), wait);
}

function tell(before: Job | undefined, job: Job): void {
  const figures = { name: nameOf(job), files: t('nFiles', { n: job.files }), size: size(job.bytes) };
  if (before && isRunning(before) && !isRunning(job)) {
    announce(job.state === 'error' ? t('heardFailed', { name: figures.name, why: failure(job.error) }) : t('heardEnd', figures));
  } else if (isRunning(job) && Date.now() - poller.announced >= ANNOUNCE_MS) {
    poller.announced = Date.now();
    announce(t('heardProgress', figures));
  }
}

// Asks for all scans once, and again after a while as long as any is going.
export async function poll(): Promise<void> {
  clearTimeout(poller.timer);
  if (poller.busy) return;
  poller.busy = true;
  try {
    const before = poller.changes;
    const jobs = await api<Job[]>('/api/jobs');
    poller.failures = 0;
    if (before !== poller.changes) return;
    for (const job of jobs) {
      // A program that was started anew gives its numbers to other scans.
      if ((jobById(job.id)?.path ?? job.path) !== job.path) drop(job.id);
      if (job.state === 'cancelled') state.stopped.add(job.id);
      tell(jobById(job.id), job);
    }
    state.jobs = jobs;
    for (const id of state.results.keys()) {
      if (!jobById(id)) drop(id);
    }
    if (state.view && !jobById(state.view)) viewLast();
    changed('jobs');
    await Promise.all(jobs.filter(lacksResult).map((job) => fetchResult(job.id)));
    jumpIfAwaited();
  } catch {
    ++poller.failures;
  } finally {
    poller.busy = false;
    schedule();
  }
}

document.addEventListener('visibilitychange', () => {
  if (!document.hidden && (state.offline || state.jobs.some(isRunning))) void poll();
});

async function askResult(id: number): Promise<ResultDoc> {
  const answer = await api<unknown>(query('/api/result', { id }));
  if (!isResult(answer)) throw new Failure('scanFailed', t('eScanFailed'));
  return answer;
}

export async function fetchResult(id: number): Promise<void> {
  try {
    state.results.set(id, await askResult(id));
    state.resultErrors.delete(id);
    state.trees.delete(id);
  } catch (error) {
    // Whoever does not answer at all is asked again in the next round.
    if (wordOf(error) === 'offline') ++poller.failures;
    else state.resultErrors.set(id, messageOf(error));
  }
  changed('results', 'view');
}

// The scan that the user waits for opens its overview, but only from the picker.
function jumpIfAwaited(): void {
  const job = jobById(state.wacht);
  if (!state.wacht || (job && job.state === 'scanning')) return;
  if (state.section === 'picker' && state.results.has(state.wacht)) {
    viewJob(state.wacht);
    state.section = 'overview';
    changed('section');
  }
  if (!job || job.state === 'error' || state.results.has(state.wacht) || state.resultErrors.has(state.wacht)) state.wacht = 0;
}

function viewLast(): void {
  state.view = state.jobs[state.jobs.length - 1]?.id ?? 0;
  changed('view');
}

export function viewJob(id: number): void {
  if (state.view === id) return;
  state.view = id;
  state.openFolder = '';
  state.finding = '';
  changed('view');
}

function clearView(): void {
  state.selection.clear();
  state.weights.clear();
  state.expanded.clear();
  state.openFolder = '';
  state.finding = '';
  clearFetched();
  changed('selection', 'tree', 'types');
}

// Starts a scan; older ones of the same target make way for it. The words are the program's failure.
export async function startScan(path: string, kind: string, label: string): Promise<number> {
  const fields: Record<string, string> = { path, kind, label };
  const password = kind === 'ssh' ? state.passwords.get(path) : undefined;
  if (password) fields['password'] = password;
  const { id } = await form<{ id: number }>('/api/scan', fields);
  const replaced = state.jobs.filter((job) => job.id !== id && sameTarget(job.path, path));
  ++poller.changes;
  for (const job of replaced) drop(job.id);
  // Until the program says more about it.
  state.jobs = [...state.jobs, {
    id, path, kind, label, state: 'scanning', files: 0, bytes: 0, dirs: 0, phase: 0, seconds: 0, status: '', current: '', error: '', method: '', noTurbo: '',
  }];
  state.wacht = id;
  state.view = id;
  clearView();
  changed('view', 'jobs');
  poller.announced = Date.now();
  announce(t('heardStart', { name: label || path }));
  await Promise.all(replaced.map((job) => api(query('/api/forget', { id: job.id })).catch(() => {})));
  await poll();
  return id;
}

export async function rescan(job: Job): Promise<void> {
  try {
    await startScan(job.path, job.kind, job.label);
  } catch (error) {
    toastFailure(error);
  }
}

export async function cancelScan(id: number): Promise<void> {
  try {
    await api(query('/api/cancel', { id }));
    state.stopped.add(id);
    await poll();
  } catch (error) {
    toastFailure(error);
  }
}

function drop(id: number): void {
  state.jobs = state.jobs.filter((job) => job.id !== id);
  state.results.delete(id);
  state.resultErrors.delete(id);
  state.trees.delete(id);
  state.stopped.delete(id);
  dropFromSearches((_path, job) => job === id);
}

export async function forgetScan(id: number): Promise<void> {
  try {
    await api(query('/api/forget', { id }));
    ++poller.changes;
    drop(id);
    if (state.view === id) {
      viewLast();
      clearView();
      if (state.jobs.length === 0 && state.section !== 'find' && state.section !== 'across') state.section = 'picker';
    }
    changed('jobs', 'results', 'view', 'section');
  } catch (error) {
    toastFailure(error);
  }
}

// After a file operation: fresh figures instead of a new scan. Open branches stay open.
export async function refreshResults(ids: Iterable<number>): Promise<void> {
  state.types.clear();
  const wanted = [...new Set(ids)].filter((id) => state.results.has(id));
  let stale = false;
  await Promise.all(wanted.map(async (id) => {
    try {
      state.results.set(id, await askResult(id));
      state.trees.delete(id);
    } catch {
      stale = true;
    }
  }));
  if (stale) toast(t('delStale'));
  changed('results', 'tree', 'types');
}

export const searchable = (): Job[] => state.jobs.filter((job) => job.state === 'done' && !isRemote(job) && state.results.has(job.id));

export const stateText = (job: Job): string => {
  switch (job.state) {
    case 'scanning': return t('stScanning');
    case 'cancelled': return t('stCancelled');
    case 'error': return t('stError');
    default: return t('stDone');
  }
};

export const progressText = (job: Job): string => t('progressLine', { files: t('nFiles', { n: job.files }), size: size(job.bytes) });

export const countText = (value: number): string => count(value);
