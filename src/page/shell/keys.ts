// Keys that work everywhere in the page, and the sheet that lists all of them.
import { t } from '../core/i18n';
import type { Key } from '../lang/shape';
import { isDone } from '../core/job';
import { rescan } from '../data/jobs';
import { goTo, jobOnView, state } from '../data/state';
import { openDialog } from '../ui/dialog';
import { button, el } from '../ui/dom';

interface Line {
  keys: string;
  what: Key;
}

const combined = (...keys: string[]): string => keys.join('+');

function sheet(): { title: Key; lines: Line[] }[] {
  const [shift, enter, del, space, esc] = [t('keyShift'), t('keyEnter'), t('keyDelete'), t('keySpace'), 'Esc'];
  return [
    { title: 'ksEverywhere', lines: [
      { keys: '/, Ctrl+F', what: 'ksFind' }, { keys: 'F5', what: 'rescan' }, { keys: '?', what: 'ksSheet' }, { keys: 'Alt+←, Alt+→', what: 'ksBack' }, { keys: esc, what: 'ksClose' },
    ] },
    { title: 'ksLists', lines: [
      { keys: '↑ ↓ Home End PgUp PgDn', what: 'ksMove' }, { keys: space, what: 'ksMark' }, { keys: combined(shift, '↑ ↓'), what: 'ksRange' }, { keys: 'Ctrl+A', what: 'selectAll' },
      { keys: 'Ctrl+C', what: 'ksCopy' }, { keys: del, what: 'delete' }, { keys: combined(shift, del), what: 'delForGood' },
      { keys: `${combined(shift, 'F10')}, ☰`, what: 'ksMenu' }, { keys: combined(shift, '← →'), what: 'ksWidth' },
    ] },
    { title: 'ksFolders', lines: [
      { keys: `→ ← ${enter}`, what: 'ksOpen' }, { keys: '*', what: 'ksOpenAll' }, { keys: 'Ctrl+M', what: 'ksMap' }, { keys: 'A–Z', what: 'ksType' },
    ] },
    { title: 'ksMapKeys', lines: [
      { keys: '← → ↑ ↓', what: 'ksTile' }, { keys: enter, what: 'ksEnter' }, { keys: '⌫, Alt+↑', what: 'ksLeave' }, { keys: '+ −', what: 'ksDepth' },
    ] },
  ];
}

export function openKeySheet(): void {
  const close = button(t('close'), () => dialog.close(), { class: 'first' });
  const dialog = openDialog({
    title: t('ksTitle'), first: close, ends: close,
    body: sheet().map(({ title, lines }) => el('section', { class: 'stack' }, el('h2', {}, t(title as 'ksLists')),
      el('dl', { class: 'key-sheet' }, lines.map(({ keys, what }) => [el('dt', {}, el('kbd', {}, keys)), el('dd', {}, t(what as 'ksFind'))])))),
  });
}

const isTyping = (target: EventTarget | null): boolean => target instanceof HTMLElement && target.closest('input, textarea, select, [contenteditable]') !== null;

// To the search of this section if it has one, else to the finder.
function find(): void {
  const here = document.querySelector<HTMLInputElement>('main input[type=search]');
  if (here) {
    here.focus();
    return;
  }
  goTo('find');
  setTimeout(() => document.querySelector<HTMLElement>('main form input, main .form input')?.focus());
}

function onKey(event: KeyboardEvent): void {
  if (event.defaultPrevented || event.altKey || document.querySelector('dialog[open]') || !state.started) return;
  const control = event.ctrlKey || event.metaKey;
  const job = jobOnView();
  if ((control && event.key.toLowerCase() === 'f') || (event.key === '/' && !control && !isTyping(event.target))) {
    find();
  } else if (event.key === '?' && !control && !isTyping(event.target)) {
    openKeySheet();
  } else if (event.key === 'F5' && !control && !event.shiftKey && job && isDone(job) && state.section !== 'picker') {
    void rescan(job);
  } else {
    return;
  }
  event.preventDefault();
}

export const startKeys = (): void => addEventListener('keydown', onKey);
