// The table of hits, which can be filtered, sorted and marked.
import type { Hit } from '../../core/answers';
import { csvOf, utcDate } from '../../core/csv';
import { date, phrase, size, t } from '../../core/i18n';
import { nameOf } from '../../core/job';
import { baseName, fileNameOf, shown } from '../../core/paths';
import { questionText } from '../../core/question';
import { jobById } from '../../data/state';
import { openDeletion } from '../../flows/deletion';
import { showHit } from '../../flows/details';
import { findMarks, known } from '../../flows/find_form';
import { marksBar, type MarksBar } from '../../flows/marks';
import { reveal } from '../../flows/places';
import type { ResultList } from '../../flows/search_frame';
import { button, el, setAttribute, setText, type Child } from '../../ui/dom';
import { download } from '../../ui/download';
import { Table } from '../../ui/table';
import type { Column } from '../../ui/table_head';
import { figureCell, markColumn, textCell } from '../../ui/table_columns';
import { copyText } from '../../ui/toast';

interface Order {
  word: string;
  down: boolean;
}

type Compare = (a: Hit, b: Hit) => number;

const BY_NUMBER: Record<string, Compare> = { size: (a, b) => a.s - b.s, date: (a, b) => a.m - b.m };
const BY_TEXT: Record<string, (hit: Hit) => string> = { name: (hit) => baseName(hit.p), folder: (hit) => hit.p };

function sortHits(hits: Hit[], { word, down }: Order): Hit[] {
  const way = down ? -1 : 1;
  const compare = BY_NUMBER[word];
  if (compare) return hits.sort((a, b) => way * compare(a, b));
  const textOf = BY_TEXT[word]!;
  const keyed = hits.map((hit) => ({ hit, key: textOf(hit).toLowerCase() }));
  keyed.sort((a, b) => (a.key < b.key ? -way : a.key > b.key ? way : 0));
  return keyed.map((one) => one.hit);
}

const folderText = (hit: Hit): string => shown(hit.p.slice(0, Math.min(hit.p.length - baseName(hit.p).length - 1, 400)));
const title = (hit: Hit): string => shown(hit.p.slice(0, 1000)) + (hit.lock ? ` (${t('locked', { why: phrase('r_', hit.lock) })})` : '');

const columns = (): Column<Hit>[] => [
  markColumn((hit) => (hit.lock ? 'locked' : 'open')),
  { title: 'colName', width: 'minmax(8rem, 3fr)', sort: 'name', ...textCell((hit) => shown(baseName(hit.p).slice(0, 300))) },
  { title: 'folder', width: 'minmax(6rem, 4fr)', extra: true, sort: 'folder', ...textCell(folderText) },
  { title: 'colSize', width: '5.5rem', sort: 'size', ...figureCell((hit) => size(hit.s)) },
  { title: 'colDate', width: '7.5rem', extra: true, sort: 'date', ...figureCell((hit) => date(hit.m)) },
];

export class HitList implements ResultList<Hit> {
  readonly #marks = findMarks.selection;
  readonly #filter = el('input', { type: 'search', class: 'input filter', placeholder: t('filterHint'), 'aria-label': t('filter'), on: { input: () => this.#arrange() } });
  readonly #filtered = el('span', { class: 'small muted' });
  readonly #bar: MarksBar;
  #all: readonly Hit[] = [];
  #rows: Hit[] = [];
  #order: Order | null = null; // null: as the program sorted them
  #table: Table<Hit> | null = null;

  constructor() {
    const fallback = (): HTMLElement | null => this.#table?.root ?? null;
    this.#bar = marksBar({
      selection: this.#marks, bytesOf: (path) => findMarks.weights.get(path) ?? 0, fallback,
      hidden: () => this.#hiddenMarks(),
      all: () => this.#table?.markAll(),
      clear: () => {
        this.#marks.clear();
        this.#table?.refresh();
        this.#bar.update();
      },
      onDelete: (permanent) => openDeletion(this.#marks.keys, { fallback, permanent, after: (gone) => this.#marks.keepOnly((path) => !gone(path)) }),
    });
  }

  open(): Child {
    this.#table = this.#makeTable();
    if (this.#order) this.#table.head.showSort(this.#order.word, this.#order.down);
    return [el('div', { class: 'line' }, this.#filter, this.#filtered, button(t('exportHits'), () => this.#save(), { icon: 'download', class: 'plain push' })), this.#bar.root, this.#table.root];
  }

  // The rows as they are shown, named by scan and question.
  #save(): void {
    const scans = [...new Set(this.#rows.map((hit) => hit.job))].map((id) => jobById(id)).filter((job) => job !== undefined).map(nameOf);
    download(`vorda-${fileNameOf([...scans, questionText(known.asked)].join(' '))}.csv`,
      csvOf(['path', 'bytes', 'modified'], this.#rows.map((hit) => [hit.p, hit.s, utcDate(hit.m)])));
  }

  show(hits: readonly Hit[]): void {
    this.#all = hits;
    const there = new Set(hits.map((hit) => hit.p));
    this.#marks.keepOnly((path) => there.has(path));
    for (const hit of hits) findMarks.weights.set(hit.p, hit.s);
    this.#arrange();
  }

  close(): void {
    this.#all = [];
    this.#marks.clear();
    this.leave();
  }

  leave(): void {
    this.#table?.leave();
    this.#table = null;
  }

  #makeTable(): Table<Hit> {
    return new Table<Hit>({
      label: t('fiTable'), role: 'grid', selection: this.#marks, keyOf: (hit) => hit.p, markable: (hit) => !hit.lock, columns: columns(),
      onMarked: () => this.#bar.update(),
      onActive: (hit) => showHit(hit, hit.s),
      onEnter: (hit) => void reveal(hit.p),
      onDelete: (path, permanent) => this.#bar.delete(path, permanent),
      onKey: (event, index) => this.#copy(event, index),
      onSort: (word) => this.#sortBy(word),
      decorate: (element, hit) => setAttribute(element, 'title', title(hit)),
    });
  }

  // Ctrl+C copies the marked paths, or else the active one.
  #copy(event: KeyboardEvent, index: number): boolean {
    const hit = this.#rows[index];
    if (event.key.toLowerCase() !== 'c' || !(event.ctrlKey || event.metaKey) || !hit) return false;
    const { keys } = this.#marks;
    void copyText(keys.size > 0 ? [...keys].join('\n') : hit.p, t('copied'));
    return true;
  }

  #sortBy(word: string): void {
    // Numbers start with the largest.
    const down = this.#order?.word === word ? !this.#order.down : word in BY_NUMBER;
    this.#order = { word, down };
    this.#table?.head.showSort(word, down);
    this.#arrange();
    this.#table?.toTop();
  }

  #hiddenMarks(): number {
    if (!this.#filter.value) return 0;
    const visible = new Set(this.#rows.map((hit) => hit.p));
    return [...this.#marks.keys].filter((path) => !visible.has(path)).length;
  }

  #arrange(): void {
    const wanted = this.#filter.value.trim().toLowerCase();
    const rows = wanted ? this.#all.filter((hit) => hit.p.toLowerCase().includes(wanted)) : this.#all.slice();
    this.#rows = this.#order ? sortHits(rows, this.#order) : rows;
    this.#table?.setRows(this.#rows);
    setText(this.#filtered, wanted ? t('rowsFiltered', { shown: this.#rows.length, n: this.#all.length }) : '');
    this.#bar.update();
  }
}
