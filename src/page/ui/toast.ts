// Short confirmations that go away by themselves, and words for those who listen.
import { el } from './dom';
import { messageOf, wordOf } from './api';

const SHOWN_MS = 4500;

const places = {
  toasts: el('div', { class: 'toasts', role: 'status' }),
  heard: el('div', { class: 'heard', 'aria-live': 'polite' }),
};

export const toastPlaces = (): HTMLElement[] => [places.toasts, places.heard];

export function toast(message: string): void {
  const note = el('div', { class: 'toast' }, message);
  // A modal dialog lies above everything else, so its toasts have to lie in it.
  const dialog = [...document.querySelectorAll('dialog[open]')].pop();
  (dialog ?? document.body).append(places.toasts);
  places.toasts.append(note);
  setTimeout(() => note.remove(), SHOWN_MS);
}

// A missing key is asked for in a dialog of its own, which says it all.
export function toastFailure(error: unknown): void {
  if (wordOf(error) !== 'key') toast(messageOf(error));
}

export function announce(message: string): void {
  places.heard.textContent = message;
}

export async function copyText(text: string, confirmation: string): Promise<void> {
  try {
    await navigator.clipboard.writeText(text);
  } catch {
    // Pages that are not served over HTTPS or by this machine have no clipboard of their own.
    const area = el('textarea', { class: 'heard', readonly: true });
    area.value = text;
    document.body.append(area);
    area.select();
    // eslint-disable-next-line @typescript-eslint/no-deprecated -- nothing else copies without HTTPS
    document.execCommand('copy');
    area.remove();
  }
  toast(confirmation);
}
