// Files with equal contents, across all scans: a form, its progress, and the groups.
import type { AcrossAnswer, CopyGroup } from '../../core/answers';
import { percent, phrase, size, t } from '../../core/i18n';
import { typedNumber } from '../../core/question';
import { shareOf } from '../../core/units';
import { duplicates } from '../../data/runs';
import { state } from '../../data/state';
import type { Screen } from '../../flows/screen';
import { boundInput, chosenScans, leftOut, scanChoices } from '../../flows/search_form';
import { SearchFrame, type Progress } from '../../flows/search_frame';
import { el, field, type Child } from '../../ui/dom';
import { GroupList, marks } from './groups';

const MEBI = 1024 * 1024;

// The values of the form outlive the section.
const entered = { names: '', exts: '', min: '1', without: new Set<string>() };

async function start(): Promise<string> {
  const ids = chosenScans(entered.without);
  if (ids.length === 0) return t('fiNoScans');
  marks.clear();
  const min = Math.max(1, Math.round(typedNumber(entered.min) * MEBI));
  return duplicates.start({ ids: ids.join(','), names: entered.names.trim(), exts: entered.exts.trim(), min });
}

const form = (go: HTMLElement, begin: () => void, scans: HTMLElement): Child => [
  el('div', { class: 'form' },
    field(t('colName'), boundInput(entered, 'names', begin, { placeholder: t('fiNamesHint') })),
    field(t('fiExts'), boundInput(entered, 'exts', begin, { placeholder: t('fiExtsHint') })),
    field(`${t('fiMin')} (MB)`, boundInput(entered, 'min', begin, { inputmode: 'decimal' }), { class: 'narrow' }), go),
  scans,
];

function progress({ percent: done = 0, phase = 'listing', read = 0, total }: AcrossAnswer): Progress {
  const share = shareOf(done, 100);
  return {
    share, words: t('acRunning', { phase: phrase('acPhase_', phase), percent: percent(share) }),
    more: total ? t('acRead', { read: size(read), total: size(total) }) : '',
  };
}

function found({ groups = [], count, waste = 0, emptied }: AcrossAnswer): string {
  if (emptied) return t('acAllGone');
  return groups.length === 0 ? `${t('acNone')} ${t('acNoneText')}`
    : t('acFound', { groups: t('nGroups', { n: count ?? groups.length }), size: size(waste) });
}

function notes(answer: AcrossAnswer | null): Child {
  const { cloud, unreadable, changed } = answer?.skipped ?? {};
  return [
    answer?.capped ? el('p', {}, t('acCapped', { shown: answer.shown ?? 0, n: answer.count ?? 0 })) : null,
    cloud ? el('p', {}, t('acSkipCloud', { n: cloud })) : null,
    unreadable ? el('p', {}, t('acSkipUnreadable', { n: unreadable })) : null,
    changed ? el('p', {}, t('acSkipChanged', { n: changed })) : null,
    leftOut(answer),
  ];
}

export function across(): Screen {
  return new SearchFrame<AcrossAnswer, CopyGroup>({
    title: 'secAcross', intro: 'acIntro', go: { text: 'acStart', icon: 'across' },
    run: duplicates, answer: () => state.across, start, form, scans: () => scanChoices(entered.without), progress, found, notes,
    hitsOf: (answer) => answer.groups,
    list: new GroupList(),
  });
}
