// What stands where there is nothing else to show: empty states, warnings and failures.
import { t } from '../core/i18n';
import { button, el, icon, type Child } from './dom';
import { copyText } from './toast';

export const emptyState = (title: string, text: string, ...actions: Child[]): HTMLElement =>
  el('div', { class: 'empty' }, el('h2', {}, title), el('p', { class: 'text muted' }, text), el('div', { class: 'actions' }, actions));

export const warningNotice = (...words: Child[]): HTMLElement => el('div', { class: 'notice warning' }, icon('warning'), el('p', {}, words));

// A failure shown where it happened: the cause, a retry, and details that can be copied.
export const failureNotice = (cause: string, retry: (() => void) | null, detail: string): HTMLElement =>
  el('div', { class: 'notice failed', role: 'alert' }, icon('warning'), el('div', { class: 'stack' }, el('p', {}, cause),
    el('div', { class: 'actions' },
      retry ? button(t('retry'), retry, { icon: 'refresh' }) : null,
      button(t('copyDetail'), () => void copyText(detail, t('copied')), { icon: 'copy', class: 'plain' }))));

// A deletion or a search of unknown length is running.
export const busyBar = (): HTMLElement => el('div', { class: 'progress unknown', 'aria-hidden': 'true' }, el('span'));
