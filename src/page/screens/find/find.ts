// The file finder: a form, its progress, and a table of up to 20,000 hits.
import type { FindAnswer, Hit } from '../../core/answers';
import { percent, phrase, seconds, size, t } from '../../core/i18n';
import { isEnough, questionText, UNITS, type Unit } from '../../core/question';
import { extensionsOf, GROUPS, type TypeGroup } from '../../core/type_groups';
import { shareOf, sumOf } from '../../core/units';
import { finder } from '../../data/runs';
import { jobById, state } from '../../data/state';
import { ask, entered, forgetQuestion, known, ORDERS, savedQuestions, saveQuestion, startFinding } from '../../flows/find_form';
import type { Screen } from '../../flows/screen';
import { boundInput, boundSelect, chosenScans, leftOut, scanChoices } from '../../flows/search_form';
import { SearchFrame, type Progress } from '../../flows/search_frame';
import { button, el, field, fill, iconButton, inert, linkButton, type Child } from '../../ui/dom';
import { toast } from '../../ui/toast';
import { HitList } from './hits';

const ALL_UNITS = Object.keys(UNITS) as Unit[];

function savedList(): HTMLElement {
  const list = el('div', { class: 'line saved' });
  const show = (): void => fill(list, savedQuestions().map((asked) => el('span', { class: 'tag' },
    linkButton(inert(questionText(asked)), () => ask(asked)),
    iconButton('remove', `${t('fiForget')}: ${questionText(asked)}`, () => {
      forgetQuestion(asked);
      show();
    }))), button(t('fiSave'), () => {
      if (!isEnough(entered)) {
        toast(t('fiNotYet'));
        return;
      }
      saveQuestion();
      show();
    }, { class: 'plain' }));
  show();
  return list;
}

function form(go: HTMLElement, begin: () => void, scans: HTMLElement): Child {
  const exts = boundInput(entered, 'exts', begin, { placeholder: t('fiExtsHint') });
  const listOf = (group: TypeGroup): string => extensionsOf(group).join(' ');
  const chosen: { kind: TypeGroup | '' } = { kind: GROUPS.find((group) => listOf(group) === entered.exts.trim()) ?? '' };
  const kind = boundSelect(chosen, 'kind', ['', ...GROUPS], (one) => (one ? phrase('g_', one) : t('fiAnyKind')));
  kind.addEventListener('change', () => {
    entered.exts = exts.value = chosen.kind ? listOf(chosen.kind) : '';
  });
  const bound = (name: 'min' | 'max', unit: 'unit' | 'maxUnit', label: string): HTMLElement =>
    field(label, boundInput(entered, name, begin, { inputmode: 'decimal' }), { class: 'pair', after: boundSelect(entered, unit, ALL_UNITS, (one) => one, { 'aria-label': `${t('fiUnit')}: ${label}` }) });
  const day = (name: 'after' | 'before', label: string): HTMLElement => field(label, boundInput(entered, name, begin, { type: 'date' }), { class: 'natural' });
  const more = [entered.max, entered.after, entered.before, entered.in].some(Boolean);
  return [
    el('div', { class: 'form' },
      field(t('colName'), boundInput(entered, 'names', begin, { placeholder: t('fiNamesHint') })),
      field(t('fiExts'), exts),
      bound('min', 'unit', t('fiMin')),
      field(t('fiSort'), boundSelect(entered, 'sort', ORDERS, (one) => phrase('sort_', one)), { class: 'natural' }), go),
    el('details', { open: more }, el('summary', {}, t('fiMore')), el('div', { class: 'form' },
      field(t('fiKind'), kind, { class: 'natural' }), bound('max', 'maxUnit', t('fiMax')), day('before', t('fiBefore')), day('after', t('fiAfter')),
      field(t('fiIn'), boundInput(entered, 'in', begin, { placeholder: t('folderHint') })))),
    scans, savedList(),
  ];
}

function found({ count = 0, bytes = 0 }: FindAnswer): string {
  return count === 0 ? `${t('fiNone')} ${t('fiNoneText')}` : t('fiFound', { files: t('nFiles', { n: count }), size: size(bytes) });
}

// How much of the disk is read, by the files that the scans found there.
const shareDone = ({ seen = 0 }: FindAnswer): number =>
  Math.min(0.99, shareOf(seen, sumOf(chosenScans(entered.without), (id) => jobById(id)?.files ?? 0)));

function progress(answer: FindAnswer): Progress {
  const share = shareDone(answer);
  return {
    share, words: t('fiRunning', { found: answer.found ?? 0, seen: answer.seen ?? 0, percent: percent(share) }),
    more: known.began > 0 ? seconds((Date.now() - known.began) / 1000) : '',
  };
}

export function find(): Screen {
  return new SearchFrame<FindAnswer, Hit>({
    title: 'fiTitle', intro: 'fiIntro', go: { text: 'secFind', icon: 'find' },
    run: finder, answer: () => state.find, start: startFinding, form, scans: () => scanChoices(entered.without), progress, found,
    notes: (answer) => [
      answer?.running && known.hits.length > 0 ? el('p', {}, t('fiKnown')) : null,
      answer?.capped ? el('p', {}, t('rowsFiltered', { shown: answer.shown ?? 0, n: answer.count ?? 0 })) : null,
      leftOut(answer),
    ],
    hitsOf: (answer) => answer.files ?? (answer.running && known.hits.length > 0 ? known.hits : undefined),
    list: new HitList(),
  });
}
