// Searches that run in the program's background, one of a kind at a time: starting, following and
// stopping them. A result that is already there when the page opens is shown as well.
import type { AcrossAnswer, FindAnswer, Running } from '../core/answers';
import { api, Failure, form, messageOf, type FieldValue } from './api';
import { changed, state, type Change } from './state';
import { toast, toastFailure } from './toast';
import { t } from '../core/i18n';

const POLL_MS = 400;
const HIDDEN_POLL_MS = 5000;
const MOST_WAIT_MS = 10_000;

export class BackgroundRun<A extends Running> {
  private timer = 0;
  private failures = 0;
  asked = false;

  constructor(private readonly path: string, private readonly change: Change, private readonly keep: (answer: A | null) => void) {}

  // Asks how things are; while the search goes on, again and again.
  async follow(): Promise<void> {
    clearTimeout(this.timer);
    this.asked = true;
    let again = true;
    try {
      const answer = await api<A>(this.path);
      this.failures = 0;
      again = answer.running;
      this.keep(answer);
      changed(this.change);
    } catch (error) {
      ++this.failures;
      if (!(error instanceof Failure) || error.word !== 'offline') again = false;
    }
    if (!again || state.ended) return;
    const pace = document.hidden ? HIDDEN_POLL_MS : POLL_MS;
    this.timer = window.setTimeout(() => void this.follow(), Math.min(MOST_WAIT_MS, pace * 2 ** Math.min(5, this.failures)));
  }

  // Starts the search; when another is going, that one is followed instead. Returns the failure's text.
  async start(fields: Record<string, FieldValue>): Promise<string> {
    try {
      const answer = await form<A>(this.path, fields);
      if (answer.started === false) toast(t('fiBusy'));
      this.keep({ running: true } as A);
      changed(this.change);
      await this.follow();
      return '';
    } catch (error) {
      return messageOf(error);
    }
  }

  async stop(): Promise<void> {
    try {
      await form(this.path, { cancel: '1' });
      await this.follow();
    } catch (error) {
      toastFailure(error);
    }
  }
}

export const finder = new BackgroundRun<FindAnswer>('/api/findfiles', 'find', (answer) => {
  state.find = answer;
});

export const duplicates = new BackgroundRun<AcrossAnswer>('/api/dupsacross', 'across', (answer) => {
  state.across = answer;
});

// One run that is waited for: resolves to its result. Used for comparing before deleting.
export async function wholeRun<A extends Running>(path: string, fields: Record<string, FieldValue>, progress: (answer: A) => void): Promise<A> {
  const begun = await form<A>(path, fields);
  if (begun.started === false) throw new Failure('busy', t('acBusy'));
  for (;;) {
    const answer = await api<A>(path);
    if (!answer.running) {
      if (answer.error) throw new Failure(answer.error, t('eScanFailed'));
      return answer;
    }
    progress(answer);
    await new Promise((resolve) => setTimeout(resolve, POLL_MS));
  }
}

// Ends a run nobody waits for any more, so that the next one need not.
export async function stopRun(path: string): Promise<void> {
  await form(path, { cancel: '1' }).catch(() => {});
}

// Takes what a deletion removed, or a forgotten scan's files, out of the results on view.
export function dropFromSearches(gone: (path: string, job: number) => boolean): void {
  const { find, across } = state;
  if (find?.files) {
    const files = find.files.filter((file) => !gone(file.p, file.job));
    const lost = find.files.length - files.length;
    const bytes = find.files.reduce((sum, file) => sum + file.s, 0) - files.reduce((sum, file) => sum + file.s, 0);
    if (lost > 0) {
      state.find = { ...find, files, shown: files.length, count: Math.max(0, (find.count ?? 0) - lost), bytes: Math.max(0, (find.bytes ?? 0) - bytes) };
      changed('find');
    }
  }
  if (across?.groups) {
    let touched = false;
    const groups = across.groups.map((group) => {
      const files = group.files.filter((file) => !gone(file.p, file.job));
      if (files.length === group.files.length) return group;
      touched = true;
      const c = group.c - (group.files.length - files.length);
      return { ...group, files, c, waste: Math.max(0, c - 1) * group.s };
    }).filter((group) => group.files.length > 1);
    if (touched) {
      state.across = {
        ...across, groups, shown: groups.length, count: Math.max(groups.length, (across.count ?? 0) - (across.groups.length - groups.length)),
        waste: groups.reduce((sum, group) => sum + group.waste, 0),
      };
      changed('across');
    }
  }
}

