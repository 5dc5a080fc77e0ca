// Which types of files take the space, and where the large files of a type are.
import type { ExtAnswer, FileItem, Job, ResultDoc } from '../core/answers';
import { messageOf } from '../core/failure';
import { count, date, percent, size, t } from '../core/i18n';
import { isRemote } from '../core/job';
import { typeName } from '../core/names';
import { baseName, shown } from '../core/paths';
import { BIG_FILE_BYTES } from '../core/tree';
import { shareOf } from '../core/units';
import { api, query } from '../data/api';
import { changed, state } from '../data/state';
import { findAll } from '../flows/find_form';
import { scanMarksBar, type MarksBar } from '../flows/marks';
import { openInExplorer, openPath } from '../flows/places';
import { resultScreen, type ResultScreen } from '../flows/result_screen';
import type { Screen } from '../flows/screen';
import { button, cutPath, el, fill, inert, loading, meter, setAttribute, setText, type Child } from '../ui/dom';
import { failureNotice } from '../ui/notices';
import { markColumn, Table } from '../ui/table';

const MAX_ROWS = 14; // visible rows of the table of files
const MAX_TYPES = 20; // types that a result lists

async function load(job: number, type: string): Promise<void> {
  try {
    state.types.set(type, await api<ExtAnswer>(query('/api/ext', { id: job, e: type })));
  } catch (error) {
    state.types.set(type, messageOf(error));
  }
  changed('types');
}

interface Detail {
  root: HTMLElement;
  table: Table<FileItem> | null;
}

type Remove = MarksBar['delete'];

const panel = (...content: Child[]): HTMLElement => el('section', { class: 'panel stack' }, content);

function titleOf(job: Job, doc: ResultDoc, type: string): HTMLElement {
  const known = doc.exts.find((one) => one.e === type);
  return el('div', { class: 'line' }, el('h2', { tabindex: '-1' }, inert(typeName(type))),
    known ? el('span', { class: 'muted' }, `${size(known.s)}, ${t('nFiles', { n: known.c })}`) : null,
    type.startsWith('.') && !isRemote(job) ? button(t('tyFind'), () => findAll(type), { icon: 'find', class: 'push' }) : null);
}

function detailOf(job: Job, doc: ResultDoc, type: string, remove: Remove): Detail {
  const answer = state.types.get(type);
  const title = titleOf(job, doc, type);
  if (answer === undefined) return { root: panel(title, loading()), table: null };
  if (typeof answer === 'string') {
    const retry = (): void => {
      state.types.delete(type);
      changed('types');
      void load(job.id, type);
    };
    return { root: panel(title, failureNotice(answer, retry, `${type}\n${answer}`)), table: null };
  }
  if (answer.files.length === 0) return { root: panel(title, el('p', { class: 'muted' }, t('tyNoBig', { size: size(BIG_FILE_BYTES) }))), table: null };
  return filesAndFolders(title, fileTable(answer, isRemote(job), remove), answer);
}

function fileTable({ files }: ExtAnswer, remote: boolean, remove: Remove): Table<FileItem> {
  const table = new Table<FileItem>({
    label: t('tyFiles'), role: 'grid', selection: state.selection, keyOf: (row) => row.p, markable: () => !remote, grows: true,
    columns: [
      markColumn(() => (remote ? 'none' : 'open')),
      { title: 'colName', width: 'minmax(8rem, 2fr)', make: () => el('div', {}, el('bdi')), fill: (cell, row) => setText(cell.firstElementChild!, shown(baseName(row.p).slice(0, 300))) },
      { title: 'colFolder', width: 'minmax(6rem, 3fr)', extra: true, fill: (cell, row) => cell.replaceChildren(cutPath(row.p.slice(0, -baseName(row.p).length - 1))) },
      { title: 'colSize', width: '5.5rem', number: true, fill: (cell, row) => setText(cell, size(row.s)) },
      { title: 'colDate', width: '6rem', number: true, extra: true, fill: (cell, row) => setText(cell, date(row.m)) },
    ],
    onMarked: () => {
      for (const file of files) if (state.selection.has(file.p)) state.weights.set(file.p, file.s);
      changed('selection');
    },
    onEnter: (row) => openInExplorer(row.p),
    onDelete: remove,
    decorate: (element, row) => setAttribute(element, 'title', shown(row.p.slice(0, 1000))),
  });
  table.setRows(files);
  table.root.style.height = `calc(var(--row) * ${Math.min(files.length, MAX_ROWS)} + 2.25rem)`;
  return table;
}

function filesAndFolders(title: HTMLElement, table: Table<FileItem>, { files, folders, total }: ExtAnswer): Detail {
  const largest = folders[0]?.s ?? 0;
  const root = el('section', { class: 'panel stack wide' }, title,
    el('div', { class: 'stack' }, el('h3', {}, t('tyFolders')), el('ol', { class: 'bars' }, folders.map((folder) => el('li', {},
      el('button', { type: 'button', class: 'link', on: { click: () => openPath(folder.p) } }, cutPath(folder.p)),
      el('span', { class: 'number' }, size(folder.s)), meter(shareOf(folder.s, largest)))))),
    el('div', { class: 'stack' }, el('h3', {}, t('tyFiles')),
      total > files.length ? el('p', { class: 'small muted' }, t('tyShown', { shown: files.length, n: total })) : null,
      table.root));
  return { root, table };
}

function make(job: Job, doc: ResultDoc): ResultScreen {
  if (!doc.exts.some((one) => one.e === state.type)) state.type = doc.exts[0]?.e ?? '';
  const bar = scanMarksBar(() => detail?.table?.root ?? null);
  const place = el('div', { class: 'stack' });
  let detail: Detail | null = null;
  const show = (): void => {
    detail?.table?.leave();
    detail = state.type ? detailOf(job, doc, state.type, bar.delete) : null;
    fill(place, detail?.root);
  };
  const choose = (type: string): void => {
    state.type = type;
    list.querySelectorAll('button').forEach((one) => setAttribute(one, 'aria-current', one.dataset['key'] === `type ${type}`));
    if (state.types.get(type) === undefined) void load(job.id, type);
    show();
  };
  const largest = doc.exts[0]?.s ?? 0;
  const list = el('ol', { class: 'bars type-list' }, doc.exts.map((one) => el('li', {},
    el('button', { type: 'button', class: 'link', 'data-key': `type ${one.e}`, on: { click: () => choose(one.e) } }, inert(typeName(one.e))),
    el('span', { class: 'number' }, size(one.s), el('span', { class: 'muted' }, ` · ${percent(shareOf(one.s, doc.meta.used))} · ${count(one.c)}`)), meter(shareOf(one.s, largest)))));
  if (state.type) choose(state.type);
  return {
    content: [bar.root, el('div', { class: 'columns types' },
      el('section', { class: 'panel stack' }, list, doc.exts.length >= MAX_TYPES ? el('p', { class: 'small muted' }, t('tyRest', { n: doc.exts.length })) : null), place)],
    leave: () => detail?.table?.leave(),
    update: (changes) => {
      if (changes.has('types')) {
        if (state.type && state.types.get(state.type) === undefined) void load(job.id, state.type);
        show();
      }
      if (changes.has('selection')) {
        bar.update();
        detail?.table?.refresh();
      }
    },
  };
}

export const types = (): Screen => resultScreen('tyTitle', make);
