// Scans: starting, following, showing and forgetting them.
import { isResult, type AccountAnswer, type Job, type ResultDoc } from '../core/answers';
import { Failure, messageOf, wordOf } from '../core/failure';
import { failure, size, t } from '../core/i18n';
import { hasFailed, isDone, isRemote, isRunning, isScanning, isStopping, nameOf } from '../core/job';
import { sameTarget } from '../core/paths';
import { FAILURE, JOB_STATE, KIND } from '../core/words';
import { announce, reported, toast } from '../ui/toast';
import { api, form, query } from './api';
import { labelOf } from './hosts';
import { Poller } from './poller';
import { dropFromSearches } from './runs';
import { changed, dropView, isChoosing, isSearch, jobById, listen, passViewOn, state, treeOf, viewOf } from './state';

const ANNOUNCE_MS = 10_000;

// `changes` counts this page's own changes to the list of scans: an answer that was under way during
// one does not include it.
const list = { announced: 0, changes: 0 };

const lacksResult = (job: Job): boolean => isDone(job) && !state.results.has(job.id) && !state.resultErrors.has(job.id);

function announceProgress(before: Job | undefined, job: Job): void {
  const figures = { name: nameOf(job), files: t('nFiles', { n: job.files }), size: size(job.bytes) };
  if (before && isRunning(before) && !isRunning(job)) {
    announce(hasFailed(job) ? t('heardFailed', { name: figures.name, why: failure(job.error) }) : t('heardEnd', figures));
  } else if (isRunning(job) && Date.now() - list.announced >= ANNOUNCE_MS) {
    list.announced = Date.now();
    announce(t('heardProgress', figures));
  }
}

function takeOver(jobs: Job[]): void {
  for (const job of jobs) {
    // After a restart the program uses the same ids for other scans.
    if ((jobById(job.id)?.path ?? job.path) !== job.path) drop(job.id);
    if (isStopping(job)) state.stopped.add(job.id);
    announceProgress(jobById(job.id), job);
  }
  state.jobs = jobs.map((job) => ({ ...job, label: labelOf(job) }));
  for (const id of state.results.keys()) {
    if (!jobById(id)) drop(id);
  }
  if (state.view && !jobById(state.view)) viewLast();
  changed('jobs');
}

async function askJobs(): Promise<boolean> {
  try {
    const before = list.changes;
    const jobs = await api<Job[]>('/api/jobs');
    if (before === list.changes) {
      takeOver(jobs);
      await Promise.all(jobs.filter(lacksResult).map((job) => fetchResult(job.id)));
      jumpIfAwaited();
    }
  } catch {
    // The banner or the key dialog shows why.
  }
  return state.offline || state.jobs.some((job) => isRunning(job) || lacksResult(job));
}

const poller = new Poller(askJobs);

// Asks for all scans, and goes on asking while any of them is running.
export const poll = (): Promise<void> => poller.poll();

// Whichever request found the program gone: this one is repeated until it is back.
listen((changes) => {
  if (changes.has('offline') && state.offline && !state.ended) void poll();
});

// A host tells nothing of the kind.
async function askAccount(id: number): Promise<AccountAnswer | null> {
  const job = jobById(id);
  if (!job || isRemote(job)) return null;
  try {
    const account = await api<AccountAnswer>(query('/api/account', { id }));
    return Array.isArray(account.rows) && account.rows.length > 0 ? account : null;
  } catch {
    return null;
  }
}

// With its account, so that the overview is whole at once and nothing in it moves later.
async function askResult(id: number): Promise<ResultDoc> {
  const [answer, account] = await Promise.all([api<unknown>(query('/api/result', { id, more: 1 })), askAccount(id)]);
  if (!isResult(answer)) throw new Failure(FAILURE.scanFailed, t('eScanFailed'));
  return { ...answer, account };
}

// Marks made in an earlier scan of the same target count as much as this one found.
function weighAgain(id: number): void {
  const { selection, weights } = viewOf(id);
  for (const path of selection.keys) {
    const entry = treeOf(id)?.find(path);
    if (entry) weights.set(path, entry.s);
  }
}

function lose(id: number, why: string): void {
  state.results.delete(id);
  state.trees.delete(id);
  state.resultErrors.set(id, why);
}

export async function fetchResult(id: number): Promise<void> {
  try {
    state.results.set(id, await askResult(id));
    state.resultErrors.delete(id);
    state.trees.delete(id);
    weighAgain(id);
  } catch (error) {
    // If the server can't be reached, the next round asks again.
    if (wordOf(error) !== FAILURE.offline) lose(id, messageOf(error));
  }
  changed('results', 'view');
}

// When the scan the user is waiting for is finished, its overview opens, but only from the picker.
function jumpIfAwaited(): void {
  const job = jobById(state.awaited);
  if (!state.awaited || (job && isScanning(job))) return;
  if (isChoosing() && state.results.has(state.awaited)) {
    viewJob(state.awaited);
    state.section = 'overview';
    changed('section');
  }
  if (!job || hasFailed(job) || state.results.has(state.awaited) || state.resultErrors.has(state.awaited)) state.awaited = 0;
}

const viewLast = (): void => viewJob(state.jobs[state.jobs.length - 1]?.id ?? 0);

export function viewJob(id: number): void {
  if (state.view === id) return;
  state.view = id;
  state.finding = '';
  state.types.clear(); // of the scan that was on view
  changed('view', 'selection', 'types');
}

// Starts a scan, which replaces older ones of the same target. Throws a Failure if the program refuses.
export async function startScan(path: string, kind: string, label: string): Promise<number> {
  // What a host is called is known to this page only.
  const fields: Record<string, string> = { path, kind, label: kind === KIND.ssh ? path : label };
  const password = kind === KIND.ssh ? state.passwords.get(path) : undefined;
  if (password) fields['password'] = password;
  const { id } = await form<{ id: number }>('/api/scan', fields);
  const replaced = state.jobs.filter((job) => job.id !== id && sameTarget(job.path, path));
  ++list.changes;
  const same = replaced.find((job) => job.path === path);
  if (same) passViewOn(same.id, id);
  for (const job of replaced) drop(job.id);
  // Stands in until the program's next answer.
  state.jobs = [...state.jobs, {
    id, path, kind, label, state: JOB_STATE.scanning, files: 0, bytes: 0, dirs: 0, phase: 0, seconds: 0, status: '', current: '', error: '', method: '', noTurbo: '',
  }];
  state.proposed = '';
  state.awaited = id;
  viewJob(id);
  changed('jobs');
  list.announced = Date.now();
  announce(t('heardStart', { name: label || path }));
  await Promise.all(replaced.map((job) => api(query('/api/forget', { id: job.id })).catch(() => {})));
  await poll();
  return id;
}

export const rescan = (job: Job): Promise<void> => reported(startScan(job.path, job.kind, job.label));

export const cancelScan = (id: number): Promise<void> => reported(api(query('/api/cancel', { id })).then(() => {
  state.stopped.add(id);
  return poll();
}));

function drop(id: number): void {
  state.jobs = state.jobs.filter((job) => job.id !== id);
  state.results.delete(id);
  state.resultErrors.delete(id);
  state.trees.delete(id);
  state.stopped.delete(id);
  dropView(id);
  dropFromSearches((_path, job) => job === id);
}

export const forgetScan = (id: number): Promise<void> => reported(api(query('/api/forget', { id })).then(() => {
  ++list.changes;
  drop(id);
  if (state.view === id) {
    viewLast();
    if (state.jobs.length === 0 && !isSearch(state.section)) state.section = 'picker';
  }
  changed('jobs', 'results', 'view', 'section');
}));

// Fetches the results again after a file operation. Expanded folders stay expanded.
export async function refreshResults(ids: Iterable<number>): Promise<void> {
  state.types.clear();
  const wanted = [...new Set(ids)].filter((id) => state.results.has(id));
  let stale = false;
  await Promise.all(wanted.map(async (id) => {
    try {
      state.results.set(id, await askResult(id));
      state.trees.delete(id);
      weighAgain(id);
    } catch (error) {
      stale ||= wordOf(error) === FAILURE.offline;
      // What is on view would show what is no longer there.
      if (wordOf(error) !== FAILURE.offline) lose(id, messageOf(error));
    }
  }));
  if (stale) toast(t('delStale'));
  changed('results', 'tree', 'types');
}

export const searchable = (): Job[] => state.jobs.filter((job) => isDone(job) && !isRemote(job) && state.results.has(job.id));
