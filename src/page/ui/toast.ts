// Short confirmations that disappear by themselves, and announcements for screen readers.
import { messageOf, wordOf } from '../core/failure';
import { FAILURE } from '../core/words';
import { el } from './dom';

const SHOWN_MS = 4500;

const places = {
  toasts: el('div', { class: 'toasts', role: 'status' }),
  heard: el('div', { class: 'heard', 'aria-live': 'polite' }),
};

export const toastPlaces = (): HTMLElement[] => [places.toasts, places.heard];

export function toast(message: string): void {
  const note = el('div', { class: 'toast' }, message);
  // A modal dialog covers everything else, so the toasts go inside it.
  const dialog = [...document.querySelectorAll('dialog[open]')].pop();
  (dialog ?? document.body).append(places.toasts);
  places.toasts.append(note);
  setTimeout(() => note.remove(), SHOWN_MS);
}

// For a missing key there is a dialog, so it gets no toast.
export function toastFailure(error: unknown): void {
  if (wordOf(error) !== FAILURE.key) toast(messageOf(error));
}

// Waits for what the user asked for, and tells its failure.
export const reported = (action: Promise<unknown>): Promise<void> => action.then(() => {}, toastFailure);

export function announce(message: string): void {
  places.heard.textContent = message;
}

export async function copyText(text: string, confirmation: string): Promise<void> {
  try {
    await navigator.clipboard.writeText(text);
  } catch {
    // The clipboard API needs HTTPS or the local machine.
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
