// The table of groups of equal files, with the rule for the copy that is kept.
import type { Copy, CopyGroup } from '../../core/answers';
import { date, phrase, size, t } from '../../core/i18n';
import { shown } from '../../core/paths';
import { keeper, KEEP_RULES, mayChoose, type KeepRule } from '../../core/plan';
import { Selection } from '../../core/selection';
import { showHit } from '../../flows/details';
import { marksBar, type MarksBar } from '../../flows/marks';
import { reveal } from '../../flows/places';
import { boundSelect } from '../../flows/search_form';
import type { ResultList } from '../../flows/search_frame';
import { verifyAndDelete } from '../../flows/verify';
import { button, cutPath, el, field, icon, setAttribute, setText, type Child } from '../../ui/dom';
import { markColumn, Table, type Column } from '../../ui/table';
import { toast } from '../../ui/toast';

const LISTED_NAMES = 20;

// Both outlive the section.
export const marks = new Selection();
const chosen = { rule: 'newest' as KeepRule };

// A row of the group itself, then one for each of its copies.
interface Row {
  group: CopyGroup;
  copy: Copy | null;
  number: number;
}

const rowsOf = (groups: readonly CopyGroup[]): Row[] =>
  groups.flatMap((group, number) => [{ group, copy: null, number }, ...group.files.map((copy) => ({ group, copy, number }))]);

const groupText = ({ group }: Row): string => t('acGroup', { n: group.c, size: size(group.s), waste: size(group.waste) });

const keyOf = (row: Row): string => row.copy?.p ?? `\0group ${row.number}`;

function titleOf(row: Row): string {
  if (!row.copy) return groupText(row);
  const { p, lock } = row.copy;
  return shown(p.slice(0, 1000)) + (lock ? ` (${t('locked', { why: phrase('r_', lock) })})` : '');
}

// Hard links of a copy are counted in a tag beside its path.
function fillName(cell: HTMLElement, row: Row): void {
  const [kind, name, more] = cell.children as unknown as [SVGSVGElement, HTMLElement, HTMLElement];
  const names = row.copy?.names ?? [];
  kind.classList.toggle('none', !row.copy);
  more.hidden = names.length === 0;
  setText(more, names.length > 0 ? `+${names.length}` : '');
  more.title = names.length > 0 ? `${t('acHard', { n: names.length })}\n${names.slice(0, LISTED_NAMES).map(shown).join('\n')}` : '';
  if (row.copy) name.replaceChildren(cutPath(row.copy.p));
  else setText(name, groupText(row));
}

const columns = (): Column<Row>[] => [
  markColumn((row) => (!row.copy ? 'none' : row.copy.lock ? 'locked' : 'open')),
  {
    title: 'colName', width: 'minmax(8rem, 6fr)', fill: fillName,
    make: () => el('div', { class: 'name-cell' }, icon('file'), el('span', { class: 'line-part' }), el('span', { class: 'tag', hidden: true })),
  },
  { title: 'colSize', width: '5.5rem', number: true, fill: (cell, row) => setText(cell, row.copy ? size(row.group.s) : size(row.group.waste)) },
  { title: 'colDate', width: '6.5rem', number: true, extra: true, fill: (cell, row) => setText(cell, row.copy ? date(row.copy.m) : '') },
];

export class GroupList implements ResultList<CopyGroup> {
  private readonly bar: MarksBar;
  private groups: readonly CopyGroup[] = [];
  private bytes = new Map<string, number>();
  private table: Table<Row> | null = null;

  constructor() {
    const fallback = (): HTMLElement | null => this.table?.root ?? null;
    this.bar = marksBar({
      selection: marks, bytesOf: (path) => this.bytes.get(path) ?? 0, deleteLabel: t('acVerify'), fallback,
      clear: () => {
        marks.clear();
        this.refresh();
      },
      onDelete: () => void verifyAndDelete(this.groups, marks, fallback),
    });
  }

  open(): Child {
    const rule = boundSelect(chosen, 'rule', KEEP_RULES, (one) => phrase('keep_', one));
    this.table = this.makeTable();
    return [
      el('div', { class: 'form keep' }, field(t('acKeep'), rule, { class: 'natural' }), button(t('acApply'), () => this.markOthers(), { icon: 'check' }),
        el('span', { class: 'small muted' }, t('acLast'))),
      this.bar.root, this.table.root,
    ];
  }

  show(groups: readonly CopyGroup[]): void {
    this.groups = groups;
    this.bytes = new Map(groups.flatMap((group) => group.files.map((file): [string, number] => [file.p, group.s])));
    marks.keepOnly((path) => this.bytes.has(path));
    this.table?.setRows(rowsOf(groups));
    this.bar.update();
  }

  close(): void {
    this.groups = [];
    this.leave();
  }

  leave(): void {
    this.table?.leave();
    this.table = null;
  }

  private refresh(): void {
    this.table?.refresh();
    this.bar.update();
  }

  // Marks all copies but the one that the rule keeps.
  private markOthers(): void {
    marks.clear();
    for (const group of this.groups) {
      const kept = keeper(group, chosen.rule);
      for (const file of group.files) if (file !== kept && !file.lock) marks.keys.add(file.p);
    }
    this.refresh();
  }

  private makeTable(): Table<Row> {
    return new Table<Row>({
      label: t('acTable'), role: 'grid', selection: marks, keyOf, columns: columns(),
      markable: (row) => row.copy !== null && !row.copy.lock,
      mayMark: (row) => row.copy !== null && mayChoose(row.group, marks.keys, row.copy.p),
      onRefused: () => toast(t('acLast')),
      onMarked: () => this.bar.update(),
      onDelete: () => this.bar.delete(), // what is marked only: one copy must stay
      onActive: (row) => {
        if (row.copy) showHit(row.copy, row.group.s);
      },
      onEnter: (row) => {
        if (row.copy) void reveal(row.copy.p);
      },
      decorate: (element, row) => {
        element.classList.toggle('group', !row.copy);
        setAttribute(element, 'title', titleOf(row));
      },
    });
  }
}
