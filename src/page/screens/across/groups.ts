// The table of groups of equal files, with the rule for the copy that is kept.
import type { CopyGroup } from '../../core/answers';
import { csvOf, utcDate } from '../../core/csv';
import { date, phrase, size, t } from '../../core/i18n';
import { nameOf } from '../../core/job';
import { fileNameOf, shown } from '../../core/paths';
import { foldersOf, keeper, KEEP_RULES, type KeepRule } from '../../core/keeping';
import { mayChoose } from '../../core/plan';
import { Selection } from '../../core/selection';
import { jobById } from '../../data/state';
import { showHit } from '../../flows/details';
import { marksBar, type MarksBar } from '../../flows/marks';
import { reveal } from '../../flows/places';
import { boundInput, boundSelect } from '../../flows/search_form';
import type { ResultList } from '../../flows/search_frame';
import { verifyAndDelete } from '../../flows/verify';
import { button, cutPath, el, field, icon, setAttribute, setIcon, setText, type Child } from '../../ui/dom';
import { download } from '../../ui/download';
import { Table } from '../../ui/table';
import type { Column } from '../../ui/table_head';
import { figureCell, markColumn } from '../../ui/table_columns';
import { toast } from '../../ui/toast';
import { groupsShown, keyOf, rowsOf, SORTS, type GroupSort, type Row } from './rows';

const LISTED_NAMES = 20;

// All of it outlives the section.
export const marks = new Selection();
const chosen = { rule: 'newest' as KeepRule, prefer: '', sort: 'waste' as GroupSort, filter: '' };
const closed = new Set<CopyGroup>();

const groupText = ({ group }: Row): string => t('acGroup', { n: group.c, size: size(group.s), waste: size(group.waste) });

function titleOf(row: Row): string {
  if (!row.copy) return groupText(row);
  const { p, lock } = row.copy;
  return shown(p.slice(0, 1000)) + (lock ? ` (${t('locked', { why: phrase('r_', lock) })})` : '');
}

// Hard links of a copy are counted in a tag beside its path.
function fillName(cell: HTMLElement, row: Row, fold: (group: CopyGroup) => void): void {
  const [twist, kind, name, more] = cell.children as unknown as [HTMLElement, SVGSVGElement, HTMLElement, HTMLElement];
  twist.classList.toggle('none', row.copy !== null);
  twist.onclick = () => fold(row.group);
  setIcon(twist.firstElementChild as SVGSVGElement, row.open ? 'down' : 'right');
  const names = row.copy?.names ?? [];
  kind.classList.toggle('none', !row.copy);
  more.hidden = names.length === 0;
  setText(more, names.length > 0 ? `+${names.length}` : '');
  more.title = names.length > 0 ? `${t('acHard', { n: names.length })}\n${names.slice(0, LISTED_NAMES).map(shown).join('\n')}` : '';
  if (row.copy) name.replaceChildren(cutPath(row.copy.p));
  else setText(name, groupText(row));
}

const columns = (fold: (group: CopyGroup) => void): Column<Row>[] => [
  markColumn((row) => (!row.copy ? 'none' : row.copy.lock ? 'locked' : 'open')),
  {
    title: 'colName', width: 'minmax(8rem, 6fr)', fill: (cell, row) => fillName(cell, row, fold),
    make: () => el('div', { class: 'name-cell' }, el('span', { class: 'twist', 'aria-hidden': 'true' }, icon('right')), icon('file'), el('span', { class: 'line-part' }), el('span', { class: 'tag', hidden: true })),
  },
  { title: 'colSize', width: '5.5rem', ...figureCell((row) => size(row.copy ? row.group.s : row.group.waste)) },
  { title: 'colDate', width: '6.5rem', extra: true, ...figureCell((row) => (row.copy ? date(row.copy.m) : '')) },
];

export class GroupList implements ResultList<CopyGroup> {
  readonly #bar: MarksBar;
  #groups: readonly CopyGroup[] = [];
  #bytes = new Map<string, number>();
  #table: Table<Row> | null = null;

  constructor() {
    const fallback = (): HTMLElement | null => this.#table?.root ?? null;
    this.#bar = marksBar({
      selection: marks, bytesOf: (path) => this.#bytes.get(path) ?? 0, deleteLabel: t('acVerify'), fallback,
      clear: () => {
        marks.clear();
        this.#refresh();
      },
      onDelete: (permanent) => void verifyAndDelete(this.#groups, marks, fallback, permanent),
    });
  }

  open(): Child {
    const rule = boundSelect(chosen, 'rule', KEEP_RULES, (one) => phrase('keep_', one));
    const sort = boundSelect(chosen, 'sort', SORTS, (one) => phrase('acSort_', one), { 'aria-label': t('fiSort') });
    sort.addEventListener('change', () => this.#arrange());
    const filter = el('input', { type: 'search', class: 'input filter', value: chosen.filter, placeholder: t('filterHint'), 'aria-label': t('filter'), on: { input: () => {
      chosen.filter = filter.value;
      this.#arrange();
    } } });
    this.#table = this.#makeTable();
    return [
      el('div', { class: 'form keep' }, field(t('acKeep'), rule, { class: 'natural' }),
        field(t('acPrefer'), boundInput(chosen, 'prefer', () => this.#markOthers(), {})),
        button(t('acApply'), () => this.#markOthers(), { icon: 'check' }),
        el('span', { class: 'small muted' }, `${t('acLast')} ${t('acPreferHint')}`)),
      el('div', { class: 'line' }, filter, sort, button(t('acFold'), () => this.#foldAll(), { class: 'plain' }),
        button(t('exportGroups'), () => this.#save(), { icon: 'download', class: 'plain push' })),
      this.#bar.root, this.#table.root,
    ];
  }

  show(groups: readonly CopyGroup[]): void {
    this.#groups = groups;
    this.#bytes = new Map(groups.flatMap((group) => group.files.map((file): [string, number] => [file.p, group.s])));
    marks.keepOnly((path) => this.#bytes.has(path));
    this.#arrange();
  }

  #arrange(): void {
    this.#table?.setRows(rowsOf(groupsShown(this.#groups, chosen.filter, chosen.sort), (group) => closed.has(group)));
    this.#bar.update();
  }

  #fold(group: CopyGroup): void {
    if (!closed.delete(group)) closed.add(group);
    this.#arrange();
  }

  // All groups, or if they are collapsed already, none.
  #foldAll(): void {
    const all = this.#groups.every((group) => closed.has(group));
    closed.clear();
    if (!all) for (const group of this.#groups) closed.add(group);
    this.#arrange();
  }

  #save(): void {
    const rows = this.#groups.flatMap((group, index) => group.files.map((file) => [index + 1, file.p, group.s, utcDate(file.m)]));
    const scans = [...new Set(this.#groups.flatMap((group) => group.files.map((file) => file.job)))].map((id) => jobById(id)).filter((job) => job !== undefined).map(nameOf);
    download(`vorda-${fileNameOf([...scans, t('secAcross')].join(' '))}.csv`, csvOf(['group', 'path', 'bytes', 'modified'], rows));
  }

  close(): void {
    this.#groups = [];
    this.leave();
  }

  leave(): void {
    this.#table?.leave();
    this.#table = null;
  }

  #refresh(): void {
    this.#table?.refresh();
    this.#bar.update();
  }

  // Marks all copies but the one that the rule keeps.
  #markOthers(): void {
    marks.clear();
    const folders = foldersOf(chosen.prefer);
    for (const group of this.#groups) {
      const kept = keeper(group, chosen.rule, folders);
      for (const file of group.files) if (file !== kept && !file.lock) marks.keys.add(file.p);
    }
    this.#refresh();
  }

  #makeTable(): Table<Row> {
    return new Table<Row>({
      label: t('acTable'), role: 'grid', selection: marks, keyOf, columns: columns((group) => this.#fold(group)),
      markable: (row) => row.copy !== null && !row.copy.lock,
      mayMark: (row) => row.copy !== null && mayChoose(row.group, marks.keys, row.copy.p),
      onRefused: () => toast(t('acLast')),
      onMarked: () => this.#bar.update(),
      onDelete: (_path, permanent) => this.#bar.delete(undefined, permanent), // what is marked only: one copy must stay
      onActive: (row) => {
        if (row.copy) showHit({ ...row.copy, names: row.copy.names ?? [] }, row.group.s);
      },
      onEnter: (row) => {
        if (row.copy) void reveal(row.copy.p);
        else this.#fold(row.group);
      },
      onKey: (event, index) => {
        const row = this.#table?.row(index);
        if (!row || row.copy || (event.key !== 'ArrowRight' && event.key !== 'ArrowLeft') || row.open === (event.key === 'ArrowRight')) return false;
        this.#fold(row.group);
        return true;
      },
      decorate: (element, row) => {
        element.classList.toggle('group', !row.copy);
        setAttribute(element, 'title', titleOf(row));
      },
    });
  }
}
