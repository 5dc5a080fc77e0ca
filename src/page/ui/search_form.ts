// What the forms of the two searches share: which scans, bound fields, and what had to be left out.
import { failure, t } from '../core/i18n';
import { shown } from '../core/paths';
import { button, choice, el, inert } from './dom';
import { nameOf, searchable } from './jobs';
import { emptyState, goTo } from './screen';

// Which of the finished scans a search covers; the unticked ones are kept in `without`.
export function scanChoices(without: Set<number>): HTMLElement {
  return el('fieldset', {}, el('legend', {}, t('fiWhere')), el('div', { class: 'line' }, searchable().map((job) =>
    choice('checkbox', inert(nameOf(job)), {
      checked: !without.has(job.id), on: {
        change: (event) => {
          if ((event.target as HTMLInputElement).checked) without.delete(job.id);
          else without.add(job.id);
        },
      },
    }))));
}

export const chosenScans = (without: Set<number>): number[] => searchable().map((job) => job.id).filter((id) => !without.has(id));

// A field whose text outlives it in `values`; Enter starts the search.
export function boundInput<N extends string>(values: Record<N, string>, name: N, begin: () => void, props: Record<string, unknown>): HTMLInputElement {
  const made = el('input', { class: 'input', type: 'text', autocomplete: 'off', spellcheck: 'false', value: values[name], ...props, on: {
    input: () => {
      values[name] = made.value;
    },
    keydown: (event) => {
      if (event.key === 'Enter') begin();
    },
  } });
  return made;
}

// A number as people of any of the languages type it; 0 when it is none.
export const typedNumber = (text: string): number => Number(text.trim().replace(',', '.')) || 0;

export const noScans = (): HTMLElement =>
  emptyState(t('fiNoScans'), t('fiNoScansText'), button(t('chooseTarget'), () => goTo('picker'), { class: 'first', icon: 'picker' }));

interface Searched {
  cancelled?: boolean;
  opts?: { ssh_skipped?: { label: string }[]; failed?: { label: string; error: string }[] };
}

export function leftOut(answer: Searched | null): HTMLElement[] {
  const ssh = answer?.opts?.ssh_skipped ?? [];
  const failed = answer?.opts?.failed ?? [];
  return [
    answer?.cancelled ? t('fiStopped') : '',
    ssh.length > 0 ? t('fiSsh', { names: ssh.map((one) => shown(one.label)).join(', ') }) : '',
    failed.length > 0 ? t('fiFailed', { names: failed.map((one) => `${shown(one.label)} (${failure(one.error)})`).join(', ') }) : '',
  ].filter((line) => line !== '').map((line) => el('p', {}, line));
}
