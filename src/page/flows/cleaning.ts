// Empties the recycle bin and folders of temporary files, all of it permanently: first shows what they hold
// now, then asks, then says what happened.
import type { BinsAnswer, CleanableAnswer, CleanupAnswer } from '../core/answers';
import { messageOf } from '../core/failure';
import { failure, phrase, size, t } from '../core/i18n';
import { trimEnd } from '../core/paths';
import type { Going } from '../core/review';
import { sumOf } from '../core/units';
import { FINDING } from '../core/words';
import { api, form, query } from '../data/api';
import { poll, refreshResults } from '../data/jobs';
import { state } from '../data/state';
import { openDialog, type Dialog } from '../ui/dialog';
import { button, el, fill, icon, rest, setText } from '../ui/dom';
import { failureNotice } from '../ui/notices';
import { announce } from '../ui/toast';
import { forgetInside } from './deletion';
import { afterwards, freeLine, goingTable, renewDrives, stayingTable, working, type Staying } from './review';

// What is emptied: the recycle bin of all drives, or the folders that a finding of a scan lists.
export interface Source {
  job: number;
  what: string;
}

interface Look {
  rows: Going[];
  stays: Staying[];
}

async function lookInBins(): Promise<Look> {
  const { bytes, items, bins } = await api<BinsAnswer>('/api/bins');
  const row = (path: string, held: number, n: number): Going =>
    ({ path, name: path ? t('cleanBin', { drive: trimEnd(path) }) : phrase('a_', FINDING.recycleBin), bytes: held, files: n, m: 0, folder: true, note: null });
  const rows = bins.map((bin) => row(bin.p, bin.bytes, bin.items));
  // Some bins are on no drive of the list.
  const others = { bytes: bytes - sumOf(rows, (one) => one.bytes), files: items - sumOf(rows, (one) => one.files) };
  if (others.files > 0) rows.push(row('', Math.max(0, others.bytes), others.files));
  return { rows, stays: [] };
}

async function lookInFolders({ job, what }: Source): Promise<Look> {
  const { folders } = await api<CleanableAnswer>(query('/api/cleanable', { job, what }));
  return {
    rows: folders.flatMap(({ p, s = 0, f = 0, why }) => (why ? [] : [{ path: p, bytes: s, files: f, m: 0, folder: true, note: null }])),
    stays: folders.flatMap(({ p, why }) => (why ? [{ p, why: failure(why) }] : [])),
  };
}

const isBin = ({ what }: Source): boolean => what === FINDING.recycleBin;

export function openCleaning(title: string, sources: readonly Source[]): void {
  const stay = button(t('cancel'), () => dialog.close());
  const dialog = openDialog({ title, width: 'wide', body: el('p', { role: 'status' }, `${t('delChecking')}…`), ends: stay, first: stay });
  void check(dialog, stay, sources);
}

async function check(dialog: Dialog, stay: HTMLButtonElement, sources: readonly Source[]): Promise<void> {
  try {
    const looks = [];
    for (const source of sources) looks.push(await (isBin(source) ? lookInBins() : lookInFolders(source)));
    await renewDrives();
    if (dialog.element.isConnected) show(dialog, stay, sources, looks);
  } catch (error) {
    fill(dialog.body, failureNotice(messageOf(error), () => void check(dialog, stay, sources), ''));
  }
}

function show(dialog: Dialog, stay: HTMLButtonElement, sources: readonly Source[], looks: readonly Look[]): void {
  const rows = looks.flatMap((look) => look.rows).sort((a, b) => b.bytes - a.bytes);
  const stays = looks.flatMap((look) => look.stays);
  const files = sumOf(rows, (row) => row.files);
  const amount = { items: t('nItems', { n: files }), size: size(sumOf(rows, (row) => row.bytes)) };
  fill(dialog.body,
    el('div', {}, el('p', { class: 'answer' }, files > 0 ? t('delWould', amount) : t('cleanEmpty')), files > 0 ? freeLine(rows) : null),
    rows.length > 0 ? goingTable(rows) : null,
    files > 0 ? el('p', { class: 'text' }, t('cleanAsk')) : null,
    stays.length > 0 ? el('div', { class: 'stack' }, el('p', { class: 'line' }, icon('lock'), t('delStays')), stayingTable(t('delStays'), stays)) : null);
  if (files === 0) {
    setText(stay, t('close'));
    return;
  }
  const go = button(t('cleanGo', amount), () => void run(dialog, stay, go, sources, looks), { icon: 'broom', class: 'danger first' });
  dialog.ends.append(go);
}

async function run(dialog: Dialog, stay: HTMLButtonElement, go: HTMLElement, sources: readonly Source[], looks: readonly Look[]): Promise<void> {
  dialog.busy = true;
  rest(stay, true);
  stay.focus();
  go.remove();
  const work = working();
  fill(dialog.body, work.root);
  const lines: string[] = [];
  for (const [at, source] of sources.entries()) {
    work.at(phrase('a_', source.what), sources.length > 1 ? at / sources.length : undefined);
    try {
      lines.push(...await empty(source, looks[at]!.rows));
    } catch (error) {
      lines.push(`${phrase('a_', source.what)}: ${messageOf(error)}`);
    }
  }
  work.end();
  await Promise.all([refreshResults([state.view, ...state.results.keys()]), poll()]);
  dialog.busy = false;
  fill(dialog.body, el('div', { role: 'status', class: 'stack' }, lines.map((line, index) => el('p', { class: index === 0 ? 'answer' : '' }, line))));
  afterwards(dialog.body, false);
  announce(lines.join(' '));
  rest(stay, false);
  setText(stay, t('close'));
  stay.focus();
}

async function empty(source: Source, rows: readonly Going[]): Promise<string[]> {
  if (isBin(source)) {
    const { items, bytes } = await form<{ bytes: number; items: number }>('/api/emptybin', {});
    return [items > 0 ? t('emptyBinDone', { n: items, size: size(bytes) }) : t('emptyBinEmpty')];
  }
  const answer = await form<CleanupAnswer>('/api/cleanup', { ...source });
  const lines = [`${phrase('a_', source.what)}: ${t('adCleanDone', { n: answer.deleted, size: size(answer.bytes) })}`];
  if (answer.skipped > 0) lines.push(t('adCleanSkipped', { n: answer.skipped }));
  else forgetInside(rows.map((row) => row.path));
  if (answer.logged === false) lines.push(t('delNotLogged'));
  return lines;
}

// Without a scan of its own: the bins are those of all drives.
export const openEmptyBin = (): void => openCleaning(t('emptyBin'), [{ job: 0, what: FINDING.recycleBin }]);
