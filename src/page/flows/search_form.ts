// Parts of the forms and notes of both searches: choice of scans, bound fields, what was left out.
import type { FindAnswer } from '../core/answers';
import { failure, t } from '../core/i18n';
import { nameOf } from '../core/job';
import { shown } from '../core/paths';
import { searchable } from '../data/jobs';
import { choice, el, inert, onEnter, select } from '../ui/dom';

// Checkboxes for the finished scans; the targets of the unticked ones are kept in `without`.
export function scanChoices(without: Set<string>): HTMLElement {
  return el('fieldset', {}, el('legend', {}, t('fiWhere')), el('div', { class: 'line' }, searchable().map((job) =>
    choice('checkbox', inert(nameOf(job)), {
      checked: !without.has(job.path), on: {
        change: (event) => {
          if ((event.target as HTMLInputElement).checked) without.delete(job.path);
          else without.add(job.path);
        },
      },
    }))));
}

export const chosenScans = (without: Set<string>): number[] => searchable().filter((job) => !without.has(job.path)).map((job) => job.id);

// A text field bound to `values`, which keep the text when the section is left; Enter starts the search.
export function boundInput<N extends string>(values: Record<N, string>, name: N, begin: () => void, props: Record<string, string>): HTMLInputElement {
  const made = el('input', { class: 'input', type: 'text', autocomplete: 'off', spellcheck: 'false', value: values[name], ...props, on: {
    input: () => {
      values[name] = made.value;
    },
  } });
  onEnter(made, begin);
  return made;
}

// A select bound to `values`.
export function boundSelect<N extends string, V extends string>(values: Record<N, V>, name: N, options: readonly V[], words: (option: V) => string, props: Record<string, string> = {}): HTMLSelectElement {
  return select(options, values[name], words, (value) => {
    values[name] = value;
  }, props);
}

// What the search could not look at.
export function leftOut(answer: Pick<FindAnswer, 'cancelled' | 'opts'> | null): HTMLElement[] {
  const ssh = answer?.opts?.ssh_skipped ?? [];
  const failed = answer?.opts?.failed ?? [];
  return [
    answer?.cancelled ? t('fiStopped') : '',
    ssh.length > 0 ? t('fiSsh', { names: ssh.map((one) => shown(one.label)).join(', ') }) : '',
    failed.length > 0 ? t('fiFailed', { names: failed.map((one) => `${shown(one.label)} (${failure(one.error)})`).join(', ') }) : '',
  ].filter((line) => line !== '').map((line) => el('p', {}, line));
}
