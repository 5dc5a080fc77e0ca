// The deletion log, as far as the program reads it back: the newest entries, in the language of the page.
import type { LogAnswer, LogEntry } from '../core/answers';
import { messageOf } from '../core/failure';
import { phrase, size, t, time } from '../core/i18n';
import { api } from '../data/api';
import { state } from '../data/state';
import { openDialog } from '../ui/dialog';
import { append, el, fill, loading, wholePath } from '../ui/dom';
import { failureNotice } from '../ui/notices';
import { cut, numberColumn, plainTable, textColumn } from '../ui/plain_table';

const dateOf = ({ at }: LogEntry): string => (at ? time(Date.parse(at.replace(' ', 'T'))) : '');

function whatOf(entry: LogEntry): string {
  const { kind, left = 0, paths = 0, deleted = 0, partly, interrupted } = entry;
  const what = kind === 'failed' ? t('log_failed', { left, n: paths }) : kind === 'cleaned' ? `${t('log_cleaned')} (${t('nItems', { n: deleted })})` : phrase('log_', kind);
  return [what, partly ? t('logPartly') : '', interrupted ? t('logInterrupted') : ''].filter(Boolean).join(', ');
}

const tableOf = (entries: readonly LogEntry[]): HTMLElement => plainTable<LogEntry>(t('abLog'), [
  textColumn('colWhen', '8.5rem', dateOf),
  textColumn('colWhat', 'minmax(8rem, 4fr)', whatOf),
  numberColumn('colSize', '5.5rem', ({ bytes }) => (bytes === undefined ? '' : size(bytes))),
  textColumn('dtPath', 'minmax(8rem, 5fr)', ({ p = '' }) => cut(p), true),
], ({ p = '' }) => p, entries);

export function openLog(): void {
  void show(openDialog({ title: t('abLog'), width: 'wide', body: loading() }).body);
}

async function show(body: HTMLElement): Promise<void> {
  try {
    const { entries, more } = await api<LogAnswer>('/api/log');
    fill(body, entries.length > 0 ? tableOf(entries) : el('p', {}, t('logEmpty')),
      more ? el('p', { class: 'small muted' }, t('logMore', { n: entries.length })) : null);
  } catch (error) {
    fill(body, failureNotice(messageOf(error), () => void show(body), ''));
  }
  if (state.targets?.logPath) append(body, el('p', { class: 'small muted' }, wholePath(state.targets.logPath)));
}
