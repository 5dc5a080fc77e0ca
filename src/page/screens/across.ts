// Files with the same contents, over all scans: groups, a rule for the copy that stays, and a last
// comparison right before anything is deleted.
import type { Copy, CopyGroup, VerifyAnswer } from '../core/answers';
import { date, failure, known, percent, phrase, size, t, text } from '../core/i18n';
import { keeper, mayChoose, verified, type KeepRule } from '../core/plan';
import { shown } from '../core/paths';
import { Selection } from '../core/selection';
import { shareOf } from '../core/units';
import { messageOf } from '../ui/api';
import { detailsButton, showHit } from '../ui/details';
import { openDeletion } from '../ui/deletion';
import { openDialog } from '../ui/dialog';
import { button, cutPath, el, field, fill, heading, icon, rest, setAttribute, setText } from '../ui/dom';
import { searchable } from '../ui/jobs';
import { marksBar } from '../ui/marks';
import { reveal } from '../ui/places';
import { duplicates, stopRun, wholeRun } from '../ui/runs';
import { failureNotice, type Screen } from '../ui/screen';
import { boundInput, chosenScans, leftOut, noScans, scanChoices, typedNumber } from '../ui/search_form';
import { state } from '../ui/state';
import { Table, markColumn } from '../ui/table';
import { announce, toast } from '../ui/toast';

const MEBI = 1024 * 1024;

const entered = { names: '', exts: '', min: '1', rule: 'newest' as KeepRule, without: new Set<number>() };
const marks = new Selection();

// A group's own row, then one for each of its copies.
interface Row {
  group: CopyGroup;
  copy: Copy | null;
  number: number;
}

function rowsOf(groups: readonly CopyGroup[]): Row[] {
  return groups.flatMap((group, number) => [{ group, copy: null, number }, ...group.files.map((copy) => ({ group, copy, number }))]);
}

const groupWords = ({ group }: Row): string => t('acGroup', { n: group.c, size: size(group.s), waste: size(group.waste) });

const keyOf = (row: Row): string => row.copy?.p ?? `\0group ${row.number}`;

// Reads the files again; what is still equal to a copy that stays goes on to the deletion dialog.
async function verifyAndDelete(groups: readonly CopyGroup[], fallback: () => HTMLElement | null): Promise<void> {
  const chosen = new Set(marks.keys);
  const paths = groups.filter((group) => group.files.some((file) => chosen.has(file.p))).flatMap((group) => group.files.map((file) => file.p));
  const words = el('p', { role: 'status' }, `${t('acVerifying')}…`);
  const done = el('span');
  const bar = el('div', { class: 'progress', role: 'progressbar', 'aria-label': t('acVerifying') }, done);
  const stay = button(t('cancel'), () => dialog.close());
  let open = true;
  let reading = true;
  const dialog = openDialog({ title: t('acVerify'), small: true, body: [words, bar], ends: stay, first: stay, fallback, onClose: () => {
    open = false;
    if (reading) void stopRun('/api/verifydups');
  } });
  try {
    const answer = await wholeRun<VerifyAnswer>('/api/verifydups', { p: paths }, (progress) => {
      done.style.width = `${progress.percent ?? 0}%`;
      bar.setAttribute('aria-valuenow', String(progress.percent ?? 0));
    });
    reading = false;
    if (!open) return;
    const sure = verified(chosen, paths, answer.duplicates ?? []);
    const less = chosen.size - sure.size;
    dialog.close();
    if (sure.size === 0) {
      toast(t('acVerifyNone'));
      return;
    }
    if (less > 0) toast(t('acVerifyLess', { n: less }));
    openDeletion(sure, {
      fallback,
      after: (gone) => {
        marks.keepOnly((path) => !gone(path));
      },
    });
  } catch (error) {
    reading = false;
    fill(dialog.body, failureNotice(messageOf(error), null, paths.join('\n')));
  }
}

export function across(): Screen {
  const problem = el('p', { class: 'wrong', role: 'alert' });
  const status = el('p');
  const notes = el('div', { class: 'stack small muted' });
  const done = el('span', { class: 'moves' });
  const progress = el('div', { class: 'progress', role: 'progressbar', 'aria-label': t('acTitle') }, done);
  const stop = button(t('fiStop'), () => void duplicates.stop(), { icon: 'stop' });
  const go = button(t('acStart'), () => void begin(), { icon: 'across', class: 'first' });
  const formPlace = el('div', {});
  const results = el('div', { class: 'stack results' });
  let shownGroups: CopyGroup[] | undefined;
  let rows: Row[] = [];
  let bytes = new Map<string, number>();
  let table: Table<Row> | null = null;
  let hasForm = false;
  let wasRunning = false;

  const begin = async (): Promise<void> => {
    const ids = chosenScans(entered.without);
    if (ids.length === 0) {
      setText(problem, t('fiNoScans'));
      return;
    }
    marks.clear();
    const min = Math.max(1, Math.round(typedNumber(entered.min) * MEBI));
    setText(problem, await duplicates.start({ ids: ids.join(','), names: entered.names.trim(), exts: entered.exts.trim(), min }));
  };

  const buildForm = (): void => fill(formPlace, el('section', { class: 'panel stack' },
    el('div', { class: 'form' },
      field(t('fiNames'), boundInput(entered, 'names', () => void begin(), { placeholder: t('fiNamesHint') })),
      field(t('fiExts'), boundInput(entered, 'exts', () => void begin(), { placeholder: t('fiExtsHint') })),
      field(`${t('fiMin')} (MB)`, boundInput(entered, 'min', () => void begin(), { inputmode: 'decimal' }), { class: 'narrow' }), go),
    scanChoices(entered.without), problem));

  const rule = el('select', { class: 'input', on: { change: () => {
    entered.rule = rule.value as KeepRule;
  } } }, ['newest', 'oldest', 'shortest', 'first'].map((one) => el('option', { value: one, selected: one === entered.rule }, phrase('keep_', one))));
  const apply = (): void => {
    marks.clear();
    for (const group of shownGroups ?? []) {
      const stays = keeper(group, entered.rule);
      for (const file of group.files) if (file !== stays && !file.lock) marks.keys.add(file.p);
    }
    table?.refresh();
    bar.update();
  };

  const bar = marksBar({
    selection: marks, bytesOf: (path) => bytes.get(path) ?? 0, deleteLabel: t('acVerify'), fallback: () => table?.root ?? null,
    clear: () => {
      marks.clear();
      table?.refresh();
      bar.update();
    },
    onDelete: () => void verifyAndDelete(shownGroups ?? [], () => table?.root ?? null),
  });

  const makeTable = (): Table<Row> => new Table<Row>({
    label: t('acTable'), role: 'grid', selection: marks, keyOf,
    markable: (row) => row.copy !== null && !row.copy.lock,
    mayMark: (row) => row.copy !== null && mayChoose(row.group, marks.keys, row.copy.p),
    onRefused: () => toast(t('acLast')),
    columns: [
      markColumn((row) => (!row.copy ? 'none' : row.copy.lock ? 'locked' : 'open')),
      {
        title: 'colName', width: 'minmax(8rem, 6fr)', make: () => el('div', { class: 'name-cell' }, icon('file'), el('span', { class: 'line-part' }), el('span', { class: 'tag', hidden: true })),
        fill: (cell, row) => {
          const [kind, name, more] = cell.children as unknown as [SVGSVGElement, HTMLElement, HTMLElement];
          kind.classList.toggle('none', !row.copy);
          const names = row.copy?.names?.length ?? 0;
          more.hidden = names === 0;
          setText(more, names > 0 ? `+${names}` : '');
          more.title = names > 0 ? `${t('acHard', { n: names })}\n${row.copy!.names!.slice(0, 20).map(shown).join('\n')}` : '';
          if (row.copy) name.replaceChildren(cutPath(row.copy.p));
          else setText(name, groupWords(row));
        },
      },
      { title: 'colSize', width: '5.5rem', number: true, fill: (cell, row) => setText(cell, row.copy ? size(row.group.s) : size(row.group.waste)) },
      { title: 'colDate', width: '6.5rem', number: true, extra: true, fill: (cell, row) => setText(cell, row.copy ? date(row.copy.m) : '') },
    ],
    onMarked: () => bar.update(),
    onActive: (row) => {
      if (row.copy) showHit(row.copy, row.group.s);
    },
    onEnter: (row) => {
      if (row.copy) void reveal(row.copy.p);
    },
    decorate: (element, row) => {
      element.classList.toggle('group', !row.copy);
      setAttribute(element, 'title', !row.copy ? groupWords(row) : shown(row.copy.p.slice(0, 1000)) + (row.copy.lock ? ` (${t('locked', { why: phrase('r_', row.copy.lock) })})` : ''));
    },
  });

  const showNotes = (): void => {
    const answer = state.across;
    const skipped = answer?.skipped ?? {};
    fill(notes,
      answer?.capped ? el('p', {}, t('acCapped', { shown: answer.shown ?? 0, n: answer.count ?? 0 })) : null,
      skipped.cloud ? el('p', {}, t('acSkipCloud', { n: skipped.cloud })) : null,
      skipped.unreadable ? el('p', {}, t('acSkipUnreadable', { n: skipped.unreadable })) : null,
      skipped.changed ? el('p', {}, t('acSkipChanged', { n: skipped.changed })) : null,
      leftOut(answer));
  };

  const showProgress = (): void => {
    const answer = state.across!;
    const phaseKey = `acPhase_${answer.phase ?? 'listing'}`;
    const share = shareOf(answer.percent ?? 0, 100);
    const words = t('acRunning', { phase: known(phaseKey) ? text(phaseKey) : answer.phase ?? '', percent: percent(share) });
    setText(status, answer.total ? `${words}, ${t('acRead', { read: size(answer.read ?? 0), total: size(answer.total) })}` : words);
    done.style.width = `${share * 100}%`;
    setAttribute(progress, 'aria-valuenow', Math.round(share * 100));
    setAttribute(progress, 'aria-valuetext', words);
  };

  const update = (): void => {
    const can = searchable().length > 0;
    if (can !== hasForm || !formPlace.firstChild) {
      hasForm = can;
      if (can) buildForm();
      else fill(formPlace, noScans());
    }
    const answer = state.across;
    const running = answer?.running === true;
    rest(go, running);
    if (!running && document.activeElement === stop) go.focus();
    progress.hidden = stop.hidden = !running;
    if (running) showProgress();
    else if (answer?.error) setText(status, failure(answer.error));
    else if (answer?.groups) {
      setText(status, answer.groups.length === 0 ? `${t('acNone')} ${t('acNoneText')}`
        : t('acFound', { groups: t('nGroups', { n: answer.count ?? answer.groups.length }), size: size(answer.waste ?? 0) }));
      if (wasRunning) announce(status.textContent ?? '');
    } else setText(status, '');
    wasRunning = running;
    showNotes();
    if (answer?.groups === shownGroups) return;
    shownGroups = answer?.groups;
    if (!shownGroups?.length) {
      table?.leave();
      table = null;
      fill(results);
      return;
    }
    rows = rowsOf(shownGroups);
    bytes = new Map(shownGroups.flatMap((group) => group.files.map((file): [string, number] => [file.p, group.s])));
    marks.keepOnly((path) => bytes.has(path));
    if (!table) {
      table = makeTable();
      fill(results, el('div', { class: 'form keep' }, field(t('acKeep'), rule, { class: 'natural' }), button(t('acApply'), apply, { icon: 'check' }),
        el('span', { class: 'small muted' }, t('acLast'))), bar.root, table.root);
    }
    table.setRows(rows);
    bar.update();
  };
  update();
  if (!duplicates.asked) void duplicates.follow();

  return {
    root: el('div', { class: 'screen fills' }, el('div', { class: 'top' }, heading(t('acTitle')), el('span', { class: 'muted' }, t('acIntro')), detailsButton()),
     
      formPlace, el('div', { class: 'line' }, status, el('span', { class: 'push' }, stop)), progress, notes, results),
    detailed: true,
    leave: () => table?.leave(),
    update: (changes) => {
      if (changes.has('across') || changes.has('jobs') || changes.has('results')) update();
    },
  };
}
