// The bar that shows what is marked and what can be done with it.
import type { ResultDoc } from '../core/answers';
import { size, t } from '../core/i18n';
import { topmost } from '../core/paths';
import { Selection } from '../core/selection';
import { sumOf } from '../core/units';
import { FINDING } from '../core/words';
import { changed, listen, resultOnView, state, viewOf } from '../data/state';
import { button, el, setText } from '../ui/dom';
import { toast } from '../ui/toast';
import { openDeletion } from './deletion';
import { verifyAndDelete, type Copies } from './verify';

export interface MarksBar {
  root: HTMLElement;
  update: () => void;
  delete: (active?: string, permanent?: boolean) => void; // the Del key: deletes what is marked, or else the active item
}

export interface MarksOptions {
  selection: Selection;
  counted?: (paths: Iterable<string>) => string[]; // the marked paths that count
  bytesOf: (path: string) => number;
  hidden?: () => number; // number of marked rows that the filter hides
  all?: () => void; // marks all rows
  onDelete: (permanent?: boolean) => void;
  deleteLabel?: string;
  fallback: () => HTMLElement | null; // takes the focus when the bar disappears
  clear: () => void;
}

export function marksBar(options: MarksOptions): MarksBar {
  const words = el('strong', { role: 'status' });
  const hiddenWords = el('span', { class: 'muted' });
  const none = button(t('selectNone'), options.clear, { class: 'plain' });
  const remove = button(options.deleteLabel ?? t('deleteMarked'), () => options.onDelete(), { icon: 'bin', class: 'danger' });
  const all = options.all ? button(t('selectAll'), options.all, { class: 'plain' }) : null;
  const root = el('div', { class: 'selection-bar' }, words, hiddenWords, el('span', { class: 'push actions' }, all, none, remove));
  const update = (): void => {
    const keys = options.counted?.(options.selection.keys) ?? [...options.selection.keys];
    if (keys.length === 0 && root.contains(document.activeElement)) options.fallback()?.focus();
    root.hidden = keys.length === 0;
    const bytes = sumOf(keys, options.bytesOf);
    setText(words, keys.length === 0 ? '' : t('selected', { items: t('nItems', { n: keys.length }), size: size(bytes) }));
    const hidden = options.hidden?.() ?? 0;
    setText(hiddenWords, hidden > 0 ? t('selectedHidden', { n: hidden }) : '');
  };
  update();
  const byKey = (active?: string, permanent = false): void => {
    if (options.selection.keys.size > 0) options.onDelete(permanent);
    else if (active !== undefined) openDeletion([active], { fallback: options.fallback, permanent });
  };
  return { root, update, delete: byKey };
}

function clearMarks(): void {
  state.selection.clear();
  state.weights.clear();
  viewOf(state.view).copies.clear();
  changed('selection');
}

// The groups of possible duplicates that a scan lists: files of the same name and size.
const possibleCopies = (doc: ResultDoc | undefined): Copies[] =>
  (doc?.advice ?? []).filter((finding) => finding.code === FINDING.duplicates).flatMap(({ paths, pathGroup }) =>
    [...new Set(pathGroup)].map((number) => ({ files: paths.filter((_, i) => pathGroup[i] === number).map((p) => ({ p })) })));

// What was marked as a possible duplicate only goes if it is one. It comes last: what goes before may be the
// copy that was to stay.
export function deleteMarks(fallback: () => HTMLElement | null, permanent: boolean): void {
  const { selection, copies } = viewOf(state.view);
  const others = [...selection.keys].filter((path) => !copies.has(path));
  if (others.length > 0) {
    openDeletion(others, { fallback, permanent });
    return;
  }
  const compared = new Selection();
  for (const path of selection.keys) compared.keys.add(path);
  const groups = possibleCopies(resultOnView());
  if (groups.some((group) => group.files.some((file) => compared.has(file.p)))) void verifyAndDelete(groups, compared, fallback, permanent);
  else toast(t('acVerifyNone'));
}

// A file that is no longer marked as a copy may be marked for itself next time.
listen((changes) => {
  if (!changes.has('selection')) return;
  const { selection, copies } = viewOf(state.view);
  for (const path of copies) if (!selection.has(path)) copies.delete(path);
});

export function toggleMark(path: string, bytes: number, asCopy = false): void {
  state.selection.toggle(-1, path);
  if (asCopy) viewOf(state.view).copies.add(path);
  state.weights.set(path, bytes);
  changed('selection');
}

// The bar for the marks shared by explorer, map, types and advice. A parent and its child count once.
export const scanMarksBar = (fallback: () => HTMLElement | null): MarksBar => marksBar({
  selection: state.selection,
  counted: topmost,
  bytesOf: (path) => state.weights.get(path) ?? 0,
  clear: clearMarks,
  fallback,
  onDelete: (permanent = false) => deleteMarks(fallback, permanent),
});
