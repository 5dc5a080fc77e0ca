// Restarts the program with administrator rights, or ends it. The new process takes over the port, so
// this tab goes on with it.
import { wordOf } from '../core/failure';
import { t } from '../core/i18n';
import { FAILURE } from '../core/words';
import { api, markEnded } from '../data/api';
import { changed, state } from '../data/state';
import { button } from '../ui/dom';
import { toast, toastFailure } from '../ui/toast';

const MARKER = 'vorda-elevating';
const ROUND_MS = 400;
const ROUNDS = 450;
const ASK_FROM = 8;
const RELOAD_FROM = 15;
const BUSY_ROUNDS = 150; // as long as the program waits for its deletions

const progress = { words: '' as '' | 'elevateWait' | 'elevateAsk' | 'elevateBusy' };

const pause = (milliseconds: number): Promise<void> => new Promise((resolve) => setTimeout(resolve, milliseconds));

async function waitForNewProcess(waiting: boolean): Promise<void> {
  let gone = false;
  const reloadFrom = RELOAD_FROM + (waiting ? BUSY_ROUNDS : 0);
  for (let round = 1; round <= ROUNDS; ++round) {
    await pause(ROUND_MS);
    progress.words = waiting ? 'elevateBusy' : round > ASK_FROM ? 'elevateAsk' : 'elevateWait';
    changed('session');
    try {
      await fetch('/api/hello', { cache: 'no-store' });
      if (gone || round >= reloadFrom) break;
    } catch {
      gone = true;
    }
  }
  location.reload();
}

async function elevate(): Promise<void> {
  if (progress.words) return;
  try {
    const answer = await api<{ already?: boolean; waiting?: boolean }>('/api/elevate', { method: 'POST' });
    if (answer.already) {
      location.reload();
      return;
    }
    progress.words = 'elevateWait';
    sessionStorage.setItem(MARKER, '1');
    await waitForNewProcess(answer.waiting === true);
  } catch (error) {
    toastFailure(error);
  }
}

// Only the program of one's own machine can be restarted from the page: an agent has its own rights.
export const mayElevate = (): boolean => state.hello.canQuit && state.targets !== null && !state.targets.elevated;

// The text of the button follows the progress of the restart.
export const elevateButton = (): HTMLButtonElement =>
  button(progress.words ? t(progress.words) : t('elevate'), () => void elevate(), { icon: 'shield', class: 'elevates' });

export function updateElevateButtons(): void {
  if (!progress.words) return;
  for (const made of document.querySelectorAll<HTMLButtonElement>('.elevates')) {
    const words = made.lastChild;
    if (words instanceof Text) words.data = t(progress.words);
    made.setAttribute('aria-disabled', 'true');
  }
}

// After the reload: says so if the rights were not granted.
export function checkElevation(): void {
  let asked = false;
  try {
    asked = sessionStorage.getItem(MARKER) !== null;
    sessionStorage.removeItem(MARKER);
  } catch {
    return;
  }
  if (asked && state.targets && !state.targets.elevated) setTimeout(() => toast(t('eElevateDenied')), 300);
}

export async function quitProgram(): Promise<void> {
  try {
    state.finishing = (await api<{ waiting?: boolean }>('/api/quit')).waiting === true;
    markEnded();
  } catch (error) {
    if (wordOf(error) === FAILURE.offline) markEnded();
    else toastFailure(error);
  }
}
