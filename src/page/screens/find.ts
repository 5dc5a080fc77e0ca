// The file finder: a form, its progress, and a table of up to 20,000 hits.
import type { Hit } from '../core/answers';
import { date, failure, phrase, size, t } from '../core/i18n';
import { baseName, shown } from '../core/paths';
import { Selection } from '../core/selection';
import { detailsButton, showHit } from '../ui/details';
import { openDeletion } from '../ui/deletion';
import { button, el, field, fill, heading, rest, setAttribute, setText } from '../ui/dom';
import { searchable } from '../ui/jobs';
import { marksBar } from '../ui/marks';
import { reveal } from '../ui/places';
import { finder } from '../ui/runs';
import { goTo, type Screen } from '../ui/screen';
import { boundInput, chosenScans, leftOut, noScans, scanChoices, typedNumber } from '../ui/search_form';
import { state } from '../ui/state';
import { markColumn, Table } from '../ui/table';
import { announce, copyText } from '../ui/toast';

const MEBI = 1024 * 1024;
const UNITS = { KB: 1024, MB: MEBI, GB: 1024 * MEBI } as const;

// What stands in the form outlives the section.
const entered = { names: '', exts: '', min: '', unit: 'MB' as keyof typeof UNITS, sort: 'size', without: new Set<number>() };
const marks = { selection: new Selection(), weights: new Map<string, number>() };

export function findAll(type: string): void {
  Object.assign(entered, { names: '', exts: type, min: '', sort: 'size' });
  goTo('find');
  void start();
}

async function start(): Promise<string> {
  const min = Math.round(typedNumber(entered.min) * UNITS[entered.unit]);
  const names = entered.names.trim();
  const exts = entered.exts.trim();
  const ids = chosenScans(entered.without);
  if ((!names && !exts && min < MEBI) || ids.length === 0) return t('fiNotYet');
  marks.selection.clear();
  marks.weights.clear();
  return finder.start({ ids: ids.join(','), names, exts, min, sort: entered.sort });
}

type SortWord = 'name' | 'folder' | 'size' | 'date';

function sortHits(hits: Hit[], word: SortWord, down: boolean): Hit[] {
  const way = down ? -1 : 1;
  if (word === 'size') return hits.sort((a, b) => way * (a.s - b.s));
  if (word === 'date') return hits.sort((a, b) => way * (a.m - b.m));
  const keyed = hits.map((hit) => ({ hit, key: (word === 'name' ? baseName(hit.p) : hit.p).toLowerCase() }));
  keyed.sort((a, b) => (a.key < b.key ? -way : a.key > b.key ? way : 0));
  return keyed.map((one) => one.hit);
}

export function find(): Screen {
  const problem = el('p', { class: 'wrong', role: 'alert' });
  const status = el('p');
  const notes = el('div', { class: 'stack small muted' });
  const progress = el('div', { class: 'progress unknown', role: 'progressbar', 'aria-label': t('fiTitle') }, el('span'));
  const stop = button(t('fiStop'), () => void finder.stop(), { icon: 'stop' });
  const go = button(t('fiStart'), () => void begin(), { icon: 'find', class: 'first' });
  const formPlace = el('div', {});
  const results = el('div', { class: 'stack results' });
  let shownFiles: Hit[] | undefined;
  let rows: Hit[] = [];
  let order: { word: SortWord; down: boolean } | null = null;
  let table: Table<Hit> | null = null;
  let hasForm = false;
  let wasRunning = false;

  const begin = async (): Promise<void> => setText(problem, await start());

  const buildForm = (): void => {
    const unit = el('select', { class: 'input', 'aria-label': t('fiUnit'), on: { change: () => {
      entered.unit = unit.value as keyof typeof UNITS;
    } } }, Object.keys(UNITS).map((one) => el('option', { value: one, selected: one === entered.unit }, one)));
    const sort = el('select', { class: 'input', on: { change: () => {
      entered.sort = sort.value;
    } } }, ['size', 'new', 'old', 'name'].map((one) => el('option', { value: one, selected: one === entered.sort }, phrase('sort_', one))));
    fill(formPlace, el('section', { class: 'panel stack' },
      el('div', { class: 'form' },
        field(t('fiNames'), boundInput(entered, 'names', () => void begin(), { placeholder: t('fiNamesHint') })),
        field(t('fiExts'), boundInput(entered, 'exts', () => void begin(), { placeholder: t('fiExtsHint') })),
        field(t('fiMin'), boundInput(entered, 'min', () => void begin(), { inputmode: 'decimal' }), { class: 'pair', after: unit }),
        field(t('fiSort'), sort, { class: 'natural' }), go),
      scanChoices(entered.without), problem));
  };

  const filter = el('input', { type: 'search', class: 'input filter', placeholder: t('filterHint'), 'aria-label': t('filter'), on: { input: () => arrange() } });
  const filtered = el('span', { class: 'small muted' });

  const makeTable = (): Table<Hit> => new Table<Hit>({
    label: t('fiTable'), role: 'grid', selection: marks.selection, keyOf: (hit) => hit.p, markable: (hit) => !hit.lock,
    columns: [
      markColumn((hit) => (hit.lock ? 'locked' : 'open')),
      { title: 'colName', width: 'minmax(8rem, 3fr)', sort: 'name', make: () => el('div', {}, el('bdi')), fill: (cell, hit) => setText(cell.firstElementChild!, shown(baseName(hit.p).slice(0, 300))) },
      { title: 'colFolder', width: 'minmax(6rem, 4fr)', extra: true, sort: 'folder', make: () => el('div', {}, el('bdi')), fill: (cell, hit) => setText(cell.firstElementChild!, shown(hit.p.slice(0, Math.min(hit.p.length - baseName(hit.p).length - 1, 400)))) },
      { title: 'colSize', width: '5.5rem', number: true, sort: 'size', fill: (cell, hit) => setText(cell, size(hit.s)) },
      { title: 'colDate', width: '7.5rem', number: true, extra: true, sort: 'date', fill: (cell, hit) => setText(cell, date(hit.m)) },
    ],
    onMarked: () => bar.update(),
    onActive: (hit) => showHit(hit, hit.s),
    onEnter: (hit) => void reveal(hit.p),
    onKey: (event) => {
      const hit = table?.row(table.active);
      if (event.key.toLowerCase() !== 'c' || !(event.ctrlKey || event.metaKey) || !hit) return false;
      void copyText(marks.selection.keys.size > 0 ? [...marks.selection.keys].join('\n') : hit.p, t('copied'));
      return true;
    },
    onSort: (word) => {
      const down = order?.word === word ? !order.down : word === 'size' || word === 'date';
      order = { word: word as SortWord, down };
      table?.showSort(word, down);
      arrange();
      table?.toTop();
    },
    decorate: (element, hit) => setAttribute(element, 'title', shown(hit.p.slice(0, 1000)) + (hit.lock ? ` (${t('locked', { why: phrase('r_', hit.lock) })})` : '')),
  });

  const bytesOf = (path: string): number => marks.weights.get(path) ?? 0;
  const bar = marksBar({
    selection: marks.selection, bytesOf,
    hidden: () => {
      if (!filter.value) return 0;
      const seen = new Set(rows.map((hit) => hit.p));
      return [...marks.selection.keys].filter((path) => !seen.has(path)).length;
    },
    all: () => table?.markAll(),
    fallback: () => table?.root ?? null,
    clear: () => {
      marks.selection.clear();
      table?.refresh();
      bar.update();
    },
    onDelete: () => openDeletion(marks.selection.keys, {
      fallback: () => table?.root ?? null,
      after: (gone) => {
        marks.selection.keepOnly((path) => !gone(path));
      },
    }),
  });

  // The hits as filtered and sorted; the server's order until another is chosen.
  const arrange = (): void => {
    const wanted = filter.value.trim().toLowerCase();
    const all = state.find?.files ?? [];
    rows = wanted ? all.filter((hit) => hit.p.toLowerCase().includes(wanted)) : all.slice();
    if (order) rows = sortHits(rows, order.word, order.down);
    table?.setRows(rows);
    setText(filtered, wanted ? t('rowsFiltered', { shown: rows.length, n: all.length }) : '');
    bar.update();
  };

  const showNotes = (): void => {
    const answer = state.find;
    fill(notes,
      answer?.capped ? el('p', {}, t('fiCapped', { shown: answer.shown ?? 0, n: answer.count ?? 0 })) : null,
      leftOut(answer));
  };

  const update = (): void => {
    const can = searchable().length > 0;
    if (can !== hasForm || !formPlace.firstChild) {
      hasForm = can;
      if (can) buildForm();
      else fill(formPlace, noScans());
    }
    const answer = state.find;
    const running = answer?.running === true;
    rest(go, running);
    if (!running && document.activeElement === stop) go.focus();
    progress.hidden = stop.hidden = !running;
    if (running) {
      setText(status, t('fiRunning', { found: answer.found ?? 0, seen: answer.seen ?? 0, done: answer.scans_done ?? 0, scans: t('nScans', { n: answer.scans ?? 0 }) }));
      progress.setAttribute('aria-valuetext', status.textContent ?? '');
    } else if (answer?.error) {
      setText(status, failure(answer.error));
    } else if (answer?.files) {
      setText(status, answer.count === 0 ? `${t('fiNone')} ${t('fiNoneText')}` : t('fiFound', { files: t('nFiles', { n: answer.count ?? 0 }), size: size(answer.bytes ?? 0) }));
      if (wasRunning) announce(status.textContent ?? '');
    } else {
      setText(status, '');
    }
    wasRunning = running;
    showNotes();
    if (answer?.files === shownFiles) return;
    shownFiles = answer?.files;
    const any = (shownFiles?.length ?? 0) > 0;
    const alive = new Set(shownFiles?.map((hit) => hit.p));
    marks.selection.keepOnly((path) => alive.has(path)); // a removed scan takes its hits along
    if (any) {
      for (const hit of shownFiles!) marks.weights.set(hit.p, hit.s);
      if (!table) {
        table = makeTable();
        fill(results, el('div', { class: 'line' }, filter, filtered), bar.root, table.root);
      }
      arrange();
    } else {
      table?.leave();
      table = null;
      fill(results);
    }
  };
  update();
  if (!finder.asked) void finder.follow();

  return {
    root: el('div', { class: 'screen fills' }, el('div', { class: 'top' }, heading(t('fiTitle')), el('span', { class: 'muted' }, t('fiIntro')), detailsButton()),
     
      formPlace, el('div', { class: 'line' }, status, el('span', { class: 'push' }, stop)), progress, notes, results),
    detailed: true,
    leave: () => table?.leave(),
    update: (changes) => {
      if (changes.has('find') || changes.has('jobs') || changes.has('results')) update();
    },
  };
}

