// Which types of files take the space, and where the large files of a type are.
import type { ExtAnswer, Job, ResultDoc, TypeItem, TypesAnswer } from '../core/answers';
import { messageOf } from '../core/failure';
import { count, percent, size, t } from '../core/i18n';
import { isRemote } from '../core/job';
import { valueOf } from '../core/measure';
import { typeName } from '../core/names';
import { byText } from '../core/tree_order';
import { shareOf } from '../core/units';
import { api, query } from '../data/api';
import { changed, measure, state } from '../data/state';
import { keepTable, tableSettings } from '../data/table_settings';
import { columnsButton } from '../flows/columns_menu';
import { fileTable, type FileTable } from '../flows/file_table';
import { findAll } from '../flows/find_form';
import { scanMarksBar, type MarksBar } from '../flows/marks';
import { measureSwitch } from '../flows/measure_switch';
import { openPath } from '../flows/places';
import { resultScreen, type ResultScreen } from '../flows/result_screen';
import type { Changes, Screen } from '../flows/screen';
import { button, cutPath, el, fill, linkButton, loading, meter, panel, type Child } from '../ui/dom';
import { failureNotice } from '../ui/notices';
import { Table } from '../ui/table';
import type { Column } from '../ui/table_head';
import { figureCell, textCell } from '../ui/table_columns';

const MAX_ROWS = 14; // visible rows of the table of files

async function load(job: number, type: string): Promise<void> {
  let answer: ExtAnswer | string;
  try {
    answer = await api<ExtAnswer>(query('/api/ext', { id: job, e: type, more: 1 }));
  } catch (error) {
    answer = messageOf(error);
  }
  if (state.view !== job) return; // the user looks at another scan by now
  state.types.set(type, answer);
  changed('types');
}

class Types implements ResultScreen {
  readonly top: HTMLElement[];
  readonly content: Child;
  readonly #bar: MarksBar = scanMarksBar(() => this.#files?.table.root ?? this.#list.root);
  readonly #place = el('div', { class: 'stack' });
  readonly #settings = tableSettings('types');
  readonly #list: Table<TypeItem>;
  #all: readonly TypeItem[];
  #files: FileTable | null = null;
  #wanted = 0;
  readonly #job: Job;
  readonly #doc: ResultDoc;

  constructor(job: Job, doc: ResultDoc) {
    this.#job = job;
    this.#doc = doc;
    this.#all = doc.exts;
    this.#list = this.#makeList();
    this.top = [el('div', { class: 'line push' }, measureSwitch(job.id))].filter((line) => line.firstChild);
    this.content = [this.#bar.root, el('div', { class: 'columns types' }, this.#list.root, this.#place)];
    // Where the detail is below the list, a tap leads to it.
    this.#list.root.addEventListener('click', () => {
      if (this.#place.offsetTop > this.#list.root.offsetTop) this.#goToDetail();
    });
    this.#arrange();
    state.type ||= this.#all[0]?.e ?? '';
    this.#goToType();
    void this.#loadAll();
  }

  leave(): void {
    this.#list.leave();
    this.#files?.table.leave();
    clearTimeout(this.#wanted);
  }

  update(changes: Changes): void {
    if (changes.has('measure')) this.#arrange();
    if (changes.has('step')) state.type ||= this.#doc.exts[0]?.e ?? '';
    if (changes.has('types') || changes.has('step') || changes.has('measure')) this.#goToType();
    if (changes.has('selection')) {
      this.#bar.update();
      this.#files?.table.refresh();
    }
  }

  // The result lists the largest types only.
  async #loadAll(): Promise<void> {
    try {
      const { types } = await api<TypesAnswer>(query('/api/types', { id: this.#job.id, more: 1 }));
      if (!Array.isArray(types) || !this.#list.root.isConnected) return;
      this.#all = types;
      this.#arrange();
      if (types.some((one) => one.e === state.type)) this.#goToType();
      else this.#choose(types[0]?.e ?? '');
    } catch {
      // Those of the result are there.
    }
  }

  readonly #value = (one: TypeItem): number => valueOf(one, measure(this.#job.id));

  #columns(): Column<TypeItem>[] {
    return [
      { id: 'name', title: 'colType', width: 'minmax(5rem, 2fr)', sort: 'name', ...textCell((row) => typeName(row.e)) },
      { id: 'size', title: 'colSize', width: '5.5rem', sort: 'size', ...figureCell((row) => size(this.#value(row))) },
      { id: 'share', title: 'colShare', width: '4rem', ...figureCell((row) => percent(shareOf(this.#value(row), this.#whole()))) },
      { id: 'files', title: 'colFiles', width: '4.5rem', sort: 'files', extra: true, ...figureCell((row) => count(row.c)) },
    ];
  }

  #whole(): number {
    const { tree, meta } = this.#doc;
    return tree ? valueOf(tree, measure(this.#job.id)) : meta.used;
  }

  #makeList(): Table<TypeItem> {
    return new Table<TypeItem>({
      label: t('secTypes'), role: 'grid', keyOf: (row) => row.e, columns: this.#columns(), layout: { ...this.#settings, keep: () => keepTable('types') },
      onActive: (row) => this.#choose(row.e),
      onEnter: () => this.#goToDetail(),
      onSort: (word) => {
        const { sort } = this.#settings;
        this.#settings.sort = { word, down: sort?.word === word ? !sort.down : word !== 'name' };
        keepTable('types');
        this.#arrange();
      },
    });
  }

  #goToDetail(): void {
    queueMicrotask(() => this.#place.querySelector<HTMLElement>('h2')?.focus());
  }

  #arrange(): void {
    const { word, down } = this.#settings.sort ?? { word: 'size', down: true };
    const by = word === 'name' ? (a: TypeItem, b: TypeItem) => byText(a.e, b.e) : word === 'files' ? (a: TypeItem, b: TypeItem) => a.c - b.c : (a: TypeItem, b: TypeItem) => this.#value(a) - this.#value(b);
    this.#list.head.showSort(word, down);
    this.#list.setRows([...this.#all].sort((a, b) => (down ? -1 : 1) * by(a, b)));
  }

  #choose(type: string): void {
    if (state.type === type && this.#place.firstChild) return;
    state.type = type;
    changed('step');
  }

  // Loads a type that is looked at, but not every one that the arrow keys pass by.
  #goToType(): void {
    const { type } = state;
    for (let index = 0; index < this.#list.length; ++index) {
      if (this.#list.row(index)?.e === type && this.#list.active !== index) this.#list.moveTo(index, true);
    }
    clearTimeout(this.#wanted);
    if (type && state.types.get(type) === undefined) this.#wanted = window.setTimeout(() => void load(this.#job.id, type), 120);
    this.#showDetail();
  }

  #showDetail(): void {
    this.#files?.table.leave();
    this.#files = null;
    const focused = this.#place.querySelector('h2') === document.activeElement && document.activeElement !== null;
    fill(this.#place, state.type ? this.#detail(state.type) : null);
    if (focused) this.#place.querySelector<HTMLElement>('h2')?.focus();
  }

  #title(type: string): HTMLElement {
    const known = this.#all.find((one) => one.e === type);
    return el('div', { class: 'line' }, el('h2', { tabindex: '-1' }, el('bdi', {}, typeName(type))),
      known ? el('span', { class: 'muted' }, `${size(this.#value(known))}, ${t('nFiles', { n: known.c })}`) : null,
      type.startsWith('.') && !isRemote(this.#job) ? button(t('tyFind'), () => findAll(type), { icon: 'find', class: 'push' }) : null);
  }

  #detail(type: string): HTMLElement {
    const answer = state.types.get(type);
    const title = this.#title(type);
    if (answer === undefined) return panel(title, loading());
    if (typeof answer === 'string') {
      const retry = (): void => {
        state.types.delete(type);
        changed('types');
      };
      return panel(title, failureNotice(answer, retry, `${type}\n${answer}`));
    }
    if (answer.files.length === 0) return panel(title, el('p', { class: 'muted' }, t('tyNoBig')));
    return this.#filesAndFolders(title, answer);
  }

  #filesAndFolders(title: HTMLElement, { files, folders, total }: ExtAnswer): HTMLElement {
    // What comes back is not known of a folder's files of one type.
    const bytesOf = ({ s, a }: ExtAnswer['folders'][number]): number => (measure(this.#job.id) === 's' ? s : a ?? s);
    const largest = Math.max(0, ...folders.map(bytesOf));
    this.#files = fileTable(this.#job, 'typefiles', t('tyFiles'), () => this.#bar);
    const { table } = this.#files;
    this.#files.show(files);
    table.root.classList.add('grows');
    table.root.style.height = `calc(var(--row) * ${Math.min(files.length, MAX_ROWS)} + 2.25rem)`;
    return el('section', { class: 'panel stack wide' }, title,
      el('div', { class: 'stack' }, el('h3', {}, t('tyFolders')), el('ol', { class: 'bars' }, folders.map((folder) => el('li', {},
        linkButton(cutPath(folder.p), () => openPath(folder.p)),
        el('span', { class: 'number' }, size(bytesOf(folder))), meter(shareOf(bytesOf(folder), largest)))))),
      el('div', { class: 'stack' }, el('div', { class: 'line' }, el('h3', {}, t('tyFiles')),
        total > files.length ? el('span', { class: 'small muted' }, t('tyShown', { shown: files.length, n: total })) : null,
        el('span', { class: 'push' }, columnsButton(() => table))),
      table.root));
  }
}

export const types = (): Screen => resultScreen('secTypes', (job, doc) => new Types(job, doc));
