// Searches that run in the background of the program, one of each kind at a time: starting, following
// and stopping them.
import type { AcrossAnswer, CopyGroup, FindAnswer, Running } from '../core/answers';
import { Failure, messageOf, wordOf } from '../core/failure';
import { t } from '../core/i18n';
import { sumOf } from '../core/units';
import { FAILURE } from '../core/words';
import { reported, toast } from '../ui/toast';
import { api, form, type FieldValue } from './api';
import { Poller, pollPause } from './poller';
import { changed, state, type Change } from './state';

export class BackgroundRun<A extends Running> {
  readonly #poller = new Poller(() => this.#ask());
  #asked = false;
  #own = false; // started or seen running in this tab
  readonly #path: string;
  readonly #keep: (answer: A) => void;
  readonly #empty: (answer: A) => boolean;

  // `empty` tells whether an answer found nothing.
  constructor(path: string, readonly change: Change, keep: (answer: A) => void, empty: (answer: A) => boolean) {
    this.#path = path;
    this.#keep = keep;
    this.#empty = empty;
  }

  async #ask(): Promise<boolean> {
    try {
      const answer = await api<A>(this.#path);
      this.#own ||= answer.running;
      // That another tab found nothing says nothing here.
      if (!this.#own && this.#empty(answer)) return false;
      this.#keep(answer);
      changed(this.change);
      return answer.running;
    } catch (error) {
      return wordOf(error) === FAILURE.offline;
    }
  }

  // Asks for the state of the search, and goes on asking while it runs.
  follow(): Promise<void> {
    this.#asked = true;
    return this.#poller.poll();
  }

  // A search may already be there when the page opens.
  async followOnce(): Promise<void> {
    if (!this.#asked) await this.follow();
  }

  // Starts the search; if another one is running, that one is followed instead. Returns the text of the
  // failure, or ''.
  async start(fields: Record<string, FieldValue>): Promise<string> {
    try {
      const answer = await form<A>(this.#path, fields);
      if (answer.started === false) toast(t('fiBusy'));
      this.#own = true;
      this.#keep({ running: true } as A);
      changed(this.change);
      await this.follow();
      return '';
    } catch (error) {
      return messageOf(error);
    }
  }

  stop(): Promise<void> {
    return reported(form(this.#path, { cancel: '1' }).then(() => this.follow()));
  }
}

export const finder = new BackgroundRun<FindAnswer>('/api/findfiles', 'find', (answer) => {
  state.find = answer;
}, (answer) => answer.count === 0);

export const duplicates = new BackgroundRun<AcrossAnswer>('/api/dupsacross', 'across', (answer) => {
  state.across = answer;
}, (answer) => answer.count === 0);

// Starts a run and waits for its result.
export async function wholeRun<A extends Running>(path: string, fields: Record<string, FieldValue>, progress: (answer: A) => void): Promise<A> {
  const begun = await form<A>(path, fields);
  if (begun.started === false) throw new Failure(FAILURE.busy, t('acBusy'));
  for (;;) {
    const answer = await api<A>(path);
    if (!answer.running) {
      if (answer.error) throw new Failure(answer.error, t('eScanFailed'));
      return answer;
    }
    progress(answer);
    await pollPause();
  }
}

// Ends a run whose result is no longer wanted, so that the next one can start.
export async function stopRun(path: string): Promise<void> {
  await form(path, { cancel: '1' }).catch(() => {});
}

// Removes deleted files, or the files of a forgotten scan, from the search results.
export function dropFromSearches(gone: Gone): void {
  dropHits(gone);
  dropCopies(gone);
}

type Gone = (path: string, job: number) => boolean;

function dropHits(gone: Gone): void {
  const { find } = state;
  if (!find?.files) return;
  const files = find.files.filter((file) => !gone(file.p, file.job));
  const lost = find.files.filter((file) => gone(file.p, file.job));
  if (lost.length === 0) return;
  const bytes = sumOf(lost, (file) => file.s);
  state.find = { ...find, files, shown: files.length, count: Math.max(0, (find.count ?? 0) - lost.length), bytes: Math.max(0, (find.bytes ?? 0) - bytes) };
  changed('find');
}

const wasteOf = (groups: readonly CopyGroup[]): number => sumOf(groups, (group) => group.waste);

// A group of fewer than two copies is no group.
function dropCopies(gone: Gone): void {
  const { across } = state;
  if (!across?.groups?.some((group) => group.files.some((file) => gone(file.p, file.job)))) return;
  const groups = across.groups.map((group) => {
    const files = group.files.filter((file) => !gone(file.p, file.job));
    const c = group.c - (group.files.length - files.length);
    return files.length === group.files.length ? group : { ...group, files, c, waste: Math.max(0, c - 1) * group.s };
  }).filter((group) => group.files.length > 1);
  state.across = {
    ...across, groups, emptied: groups.length === 0, shown: groups.length, count: Math.max(groups.length, (across.count ?? 0) - (across.groups.length - groups.length)),
    waste: Math.max(0, (across.waste ?? 0) - wasteOf(across.groups) + wasteOf(groups)), // there may be more than are listed
  };
  changed('across');
}
