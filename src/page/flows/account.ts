// The account of a drive: what its used space consists of, row by row, and what of it is not explained.
import type { AccountAnswer, AccountRow, Job } from '../core/answers';
import { percent, phrase, size, t } from '../core/i18n';
import { shown } from '../core/paths';
import { shareOf, sumOf } from '../core/units';
import { goTo } from '../data/state';
import { el, linkButton, panel, type Child } from '../ui/dom';
import { warningNotice } from '../ui/notices';
import { openPath } from './places';

const SHARPEST = 0.001; // what is less of the whole has no part of the bar

const partKey = (row: AccountRow): string => `part-${row.code.replace(/\W/g, '')}`;

function where(row: AccountRow): (() => void) | null {
  if (row.code === 'files') return () => goTo('explorer');
  const { p } = row;
  return p !== undefined && row.bytes ? () => openPath(p) : null;
}

function figureOf(row: AccountRow): string {
  if (row.told === false) return t('accNotTold');
  if (row.code === 'unreadable') return t('accFolders', { n: row.count ?? 0 });
  return `${row.exact === false ? '≈ ' : ''}${size(row.bytes ?? 0)}`;
}

function line(row: AccountRow, whole: number): HTMLElement {
  const label = phrase('acc_', row.code);
  const go = where(row);
  const parts = row.parts ?? [];
  const name: Child = go ? linkButton(label, go) : label;
  return el('li', {}, el('span', { class: `key ${row.info ? 'none' : partKey(row)}` }),
    parts.length > 0 ? el('details', {}, el('summary', {}, name), el('ul', { class: 'small' }, parts.map((part) => el('li', { class: 'line' }, el('bdi', {}, shown(part.n)), el('span', { class: 'push' }, size(part.bytes)))))) : el('span', {}, name),
    el('strong', { class: 'number' }, figureOf(row)),
    el('span', { class: 'number muted' }, row.info || !row.bytes || whole <= 0 ? '' : percent(shareOf(row.bytes, whole))));
}

export function accountPanel(job: Job, { used, unexplained, source, rows }: AccountAnswer): HTMLElement {
  const counted = rows.filter((row) => !row.info && (row.bytes ?? 0) > 0);
  const rest = unexplained ?? 0;
  const whole = used ?? sumOf(counted, (row) => row.bytes ?? 0);
  const bar = el('div', { class: 'capacity account', 'aria-hidden': 'true' });
  for (const row of [...counted, ...(rest > 0 ? [{ code: 'unexplained', bytes: rest }] : [])]) {
    if ((row.bytes ?? 0) < whole * SHARPEST) continue;
    const part = el('span', { class: partKey(row) });
    part.style.width = `${shareOf(row.bytes ?? 0, whole) * 100}%`;
    bar.append(part);
  }
  const told = rows.filter((row) => row.told === false || (row.count ?? 0) > 0 || (row.bytes ?? 0) > 0);
  // On turbo's own map of the drive nothing may be left over.
  const wrong = source === 'bitmap' && rest !== 0;
  return panel(
    el('div', { class: 'line' }, el('h2', {}, t('accTitle')), used === undefined ? null : el('span', { class: 'muted push' }, t('accUsed', { size: size(used) }))),
    bar,
    el('ul', { class: 'account-rows' }, told.map((row) => line(row, whole)),
      unexplained === undefined ? null : el('li', {}, el('span', { class: 'key part-unexplained' }), el('span', {}, t('acc_unexplained')),
        el('strong', { class: 'number' }, rest < 0 ? `−${size(-rest)}` : size(rest)), el('span', {}))),
    wrong ? warningNotice(t('accCheck', { name: job.label || job.path })) : null,
    rest < 0 && !wrong ? el('p', { class: 'small muted' }, t('accNegative')) : null);
}
