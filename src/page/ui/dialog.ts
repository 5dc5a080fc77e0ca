// Native modal dialogs, all with the same layout.
import { t } from '../core/i18n';
import { button, el, heading, type Child } from './dom';

let titles = 0;

export interface DialogOptions {
  title: string;
  body: Child;
  ends?: Child; // the buttons, if it has not just one that closes it
  width?: 'small' | 'wide';
  first?: HTMLElement; // takes the focus
  onClose?: () => void;
  fallback?: () => HTMLElement | null; // takes the focus afterwards if the element that had it is gone
}

export interface Dialog {
  element: HTMLDialogElement;
  body: HTMLElement;
  ends: HTMLElement;
  busy: boolean; // it stays open whatever is pressed
  close(): void;
}

export function openDialog(options: DialogOptions): Dialog {
  const id = `d${++titles}`;
  const before = document.activeElement;
  const title = heading(options.title);
  title.id = id;
  const body = el('div', { class: 'body' }, options.body);
  const close = button(t('close'), () => element.close());
  const ends = el('div', { class: 'ends' }, options.ends ?? close);
  const element = el('dialog', { class: options.width ? `${options.width}-dialog` : '', 'aria-labelledby': id },
    el('div', { class: 'sheet' }, el('div', { class: 'title' }, title), body, ends));
  document.body.append(element);
  element.addEventListener('cancel', (event) => {
    if (dialog.busy) event.preventDefault();
  });
  element.addEventListener('close', () => {
    // The browser closes it at the second Escape without asking.
    if (dialog.busy) {
      element.showModal();
      return;
    }
    // Toasts shown in the dialog outlive it.
    element.querySelectorAll('.toasts').forEach((toasts) => document.body.append(toasts));
    element.remove();
    options.onClose?.();
    // The element that had the focus may be gone or hidden by now; then the next candidate gets it.
    for (const next of [before, options.fallback?.(), document.querySelector('main h1')]) {
      if (document.activeElement !== document.body && document.activeElement !== null) break;
      if (next instanceof HTMLElement) next.focus();
    }
  });
  const dialog: Dialog = { element, body, ends, busy: false, close: () => element.close() };
  element.showModal();
  (options.first ?? (options.ends ? title : close)).focus();
  return dialog;
}
