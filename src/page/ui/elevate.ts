// Restarting the program with administrator rights. The new copy takes over the same port, so that
// this tab ends up with it.
import { failure, text, t } from '../core/i18n';
import { api, markEnded } from './api';
import { button } from './dom';
import { changed, state } from './state';
import { toast, toastFailure } from './toast';

const MARKER = 'vorda-elevating';
const ROUND_MS = 400;
const ROUNDS = 450;
const ASK_FROM = 8;
const RELOAD_FROM = 15;

const progress = { words: '' };

const pause = (milliseconds: number): Promise<void> => new Promise((resolve) => setTimeout(resolve, milliseconds));

async function waitForTheNewCopy(): Promise<void> {
  let gone = false;
  for (let round = 1; round <= ROUNDS; ++round) {
    await pause(ROUND_MS);
    progress.words = round > ASK_FROM ? 'elevateAsk' : 'elevateWait';
    changed('session');
    try {
      await fetch('/api/hello', { cache: 'no-store' });
      if (gone || round >= RELOAD_FROM) break;
    } catch {
      gone = true;
    }
  }
  location.reload();
}

async function elevate(): Promise<void> {
  if (progress.words) return;
  try {
    const answer = await api<{ already?: boolean }>('/api/elevate', { method: 'POST' });
    if (answer.already) {
      location.reload();
      return;
    }
    progress.words = 'elevateWait';
    sessionStorage.setItem(MARKER, '1');
    await waitForTheNewCopy();
  } catch (error) {
    toastFailure(error);
  }
}

// The button says by itself how far things are.
export function elevateButton(): HTMLButtonElement {
  const made = button(progress.words ? text(progress.words) : t('elevate'), () => void elevate(), { icon: 'shield', class: 'elevates' });
  return made;
}

export function updateElevateButtons(): void {
  if (!progress.words) return;
  for (const made of document.querySelectorAll<HTMLButtonElement>('.elevates')) {
    const words = made.lastChild;
    if (words instanceof Text) words.data = text(progress.words);
    made.setAttribute('aria-disabled', 'true');
  }
}

// After the reload: tell when the rights did not come.
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
    const response = await fetch('/api/quit');
    if (response.ok) {
      markEnded();
      return;
    }
    const { error } = (await response.json()) as { error?: string };
    toast(failure(error ?? ''));
  } catch {
    markEnded();
  }
}

