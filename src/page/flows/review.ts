// What deleting and emptying have in common: tables of what will go and of what stays, the space that is
// free afterwards, and the time that passes meanwhile.
import type { Targets } from '../core/answers';
import { date, seconds, size, t } from '../core/i18n';
import { baseName, parentOf } from '../core/paths';
import { freeAfter, type Going } from '../core/review';
import { api, form } from '../data/api';
import { changed, state } from '../data/state';
import { append, button, el, icon, setIcon, setText, type Child } from '../ui/dom';
import { cut, numberColumn, plainTable, textColumn } from '../ui/plain_table';
import type { Column } from '../ui/table_head';
import { reported } from '../ui/toast';
import { openLog } from './log';

const FIRST_ELAPSED_MS = 2000;
const TICK_MS = 500;
const LONGEST_WAIT_MS = 1000;

const nameColumn: Column<Going> = {
  title: 'colName', width: 'minmax(8rem, 3fr)',
  make: () => el('div', { class: 'name-cell' }, icon('file'), el('bdi'), el('span', { class: 'tag warning', hidden: true })),
  fill: (cell, { path, name: own, folder, note }) => {
    const [kind, name, tag] = cell.children as unknown as [SVGSVGElement, HTMLElement, HTMLElement];
    setIcon(kind, folder ? 'folder' : 'file');
    setText(name, cut(own ?? baseName(path)));
    tag.hidden = note === null;
    setText(tag, note ? t(note) : '');
  },
};

export const goingTable = (rows: readonly Going[]): HTMLElement => plainTable<Going>(t('delWhich'), [
  nameColumn,
  textColumn('folder', 'minmax(6rem, 3fr)', (row) => cut(parentOf(row.path)), true),
  numberColumn('colSize', '5.5rem', (row) => size(row.bytes)),
  numberColumn('colInside', '8.25rem', (row) => (row.folder ? t('nFiles', { n: row.files }) : ''), true),
  numberColumn('colDate', '6rem', (row) => date(row.m), true),
], (row) => row.path, rows);

// What stays; `why` is a finished text.
export interface Staying {
  p: string;
  why: string;
}

export const stayingTable = (label: string, rows: readonly Staying[]): HTMLElement => plainTable<Staying>(label, [
  textColumn('colName', 'minmax(6rem, 3fr)', (row) => cut(baseName(row.p))),
  textColumn('colWhy', 'minmax(8rem, 4fr)', (row) => row.why),
  textColumn('folder', 'minmax(6rem, 3fr)', (row) => cut(parentOf(row.p)), true),
], (row) => row.p, rows);

// The figures of the drives may be old by now. A network drive that does not answer holds nothing up.
export async function renewDrives(): Promise<void> {
  const asked = api<Targets>('/api/targets').then((targets) => {
    state.targets = targets;
    changed('targets');
  }).catch(() => {}); // then those of before are shown
  await Promise.race([asked, new Promise((resolve) => setTimeout(resolve, LONGEST_WAIT_MS))]);
}

export const freeLine = (gains: readonly { path: string; bytes: number; back?: number | undefined }[]): HTMLElement | null => {
  const drives = freeAfter(gains.map(({ path, bytes, back = bytes }) => ({ path, bytes: back })), state.targets?.drives ?? []);
  return drives.length > 0 ? el('p', { class: 'muted' }, t('delFree', { list: drives.map(({ drive, free }) => `${drive} ${size(free)}`).join(', ') })) : null;
};

export interface Working {
  root: HTMLElement;
  at: (what: string, share?: number) => void; // what is at work, and how much is done
  end: () => void;
}

// A bar, and after two seconds the time that has passed and what is at work.
export function working(): Working {
  const began = Date.now();
  const done = el('span');
  const bar = el('div', { class: 'progress unknown', 'aria-hidden': 'true' }, done);
  const status = el('p', { class: 'answer', role: 'status' }, `${t('delGoing')}…`);
  const line = el('p', { class: 'small muted' });
  let what = '';
  const timer = setInterval(() => {
    const passed = Date.now() - began;
    if (passed >= FIRST_ELAPSED_MS) setText(line, `${seconds(Math.floor(passed / 1000))}${what && `: ${cut(what)}`}`);
  }, TICK_MS);
  return {
    root: el('div', { class: 'stack' }, status, bar, line),
    at: (now, share) => {
      what = now;
      if (share === undefined) return;
      bar.classList.remove('unknown');
      done.style.width = `${share * 100}%`;
    },
    end: () => clearInterval(timer),
  };
}

// What can be looked at afterwards.
export function afterwards(place: HTMLElement, binned: boolean, more: Child = null): void {
  append(place, el('div', { class: 'actions' }, more,
    binned && state.hello.canQuit ? button(t('openBin'), () => void reported(form('/api/openbin', {})), { icon: 'bin' }) : null,
    button(t('showLog'), openLog, { icon: 'info' })));
}
