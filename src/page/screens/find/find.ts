// The file finder: a form, its progress, and a table of up to 20,000 hits.
import type { FindAnswer, Hit } from '../../core/answers';
import { phrase, size, t } from '../../core/i18n';
import { finder } from '../../data/runs';
import { state } from '../../data/state';
import { entered, ORDERS, startFinding, UNITS, type Unit } from '../../flows/find_form';
import type { Screen } from '../../flows/screen';
import { boundInput, boundSelect, leftOut, scanChoices } from '../../flows/search_form';
import { SearchFrame } from '../../flows/search_frame';
import { el, field, type Child } from '../../ui/dom';
import { HitList } from './hits';

function form(go: HTMLElement, begin: () => void): Child {
  const unit = boundSelect(entered, 'unit', Object.keys(UNITS) as Unit[], (one) => one, { 'aria-label': t('fiUnit') });
  const sort = boundSelect(entered, 'sort', ORDERS, (one) => phrase('sort_', one));
  return [
    el('div', { class: 'form' },
      field(t('fiNames'), boundInput(entered, 'names', begin, { placeholder: t('fiNamesHint') })),
      field(t('fiExts'), boundInput(entered, 'exts', begin, { placeholder: t('fiExtsHint') })),
      field(t('fiMin'), boundInput(entered, 'min', begin, { inputmode: 'decimal' }), { class: 'pair', after: unit }),
      field(t('fiSort'), sort, { class: 'natural' }), go),
    scanChoices(entered.without),
  ];
}

function found({ count = 0, bytes = 0 }: FindAnswer): string {
  return count === 0 ? `${t('fiNone')} ${t('fiNoneText')}` : t('fiFound', { files: t('nFiles', { n: count }), size: size(bytes) });
}

export function find(): Screen {
  const bar = el('div', { class: 'progress unknown', role: 'progressbar', 'aria-label': t('fiTitle') }, el('span'));
  return new SearchFrame<FindAnswer, Hit>({
    title: 'fiTitle', intro: 'fiIntro', go: { text: 'fiStart', icon: 'find' },
    run: finder, answer: () => state.find, start: startFinding, form, bar, found,
    running: (answer) => {
      const words = t('fiRunning', {
        found: answer.found ?? 0, seen: answer.seen ?? 0, done: answer.scans_done ?? 0, scans: t('nScans', { n: answer.scans ?? 0 }),
      });
      bar.setAttribute('aria-valuetext', words);
      return words;
    },
    notes: (answer) => [
      answer?.capped ? el('p', {}, t('fiCapped', { shown: answer.shown ?? 0, n: answer.count ?? 0 })) : null,
      leftOut(answer),
    ],
    hitsOf: (answer) => answer.files,
    list: new HitList(),
  });
}
