// The deletion dialog. It always asks the program first what would happen, shows that, and only then
// offers to do it: into the recycle bin, or for good once the confirmation word has been typed.
import type { DeleteAnswer } from '../core/answers';
import { failure, phrase, size, t } from '../core/i18n';
import { confirms, outcomeKey, outcomeOf, partsByJob, planOf, type Outcome, type Part, type Plan } from '../core/plan';
import { trimEnd } from '../core/paths';
import { form, messageOf } from './api';
import { openDialog, type Dialog } from './dialog';
import { append, button, choice, el, field, fill, icon, rest, setText, wholePath } from './dom';
import { refreshResults } from './jobs';
import { dropFromSearches } from './runs';
import { failureNotice } from './screen';
import { changed, scanRoots, state } from './state';
import { announce } from './toast';

const MOST_LISTED = 80;

export interface DeletionOptions {
  fallback?: () => HTMLElement | null; // takes the focus when the row that had it is gone
  after?: (gone: (path: string) => boolean) => void; // drops what went from marks of one's own
}

const ask = (part: Part, more: Record<string, string>): Promise<DeleteAnswer> =>
  form<DeleteAnswer>('/api/delete', { p: part.paths, job: part.job, ...more });

function pathList(paths: readonly string[]): HTMLElement {
  return el('ul', { class: 'path-list', tabindex: '0', 'aria-label': t('delWhich') },
    paths.slice(0, MOST_LISTED).map((path) => el('li', {}, wholePath(path))),
    paths.length > MOST_LISTED ? el('li', { class: 'muted' }, t('andMore', { n: paths.length - MOST_LISTED })) : null);
}

function refusedList(refused: Plan['refused']): HTMLElement {
  return el('ul', { class: 'path-list', tabindex: '0', 'aria-label': t('delRefused', { n: refused.length }) },
    refused.slice(0, MOST_LISTED).map(({ p, why }) => el('li', {}, wholePath(p), ' ', el('span', { class: 'muted' }, `(${phrase('r_', why)})`))),
    refused.length > MOST_LISTED ? el('li', { class: 'muted' }, t('andMore', { n: refused.length - MOST_LISTED })) : null);
}

function outcomeText(outcome: Outcome): string {
  if (outcome.error) return failure(outcome.error);
  const { deleted, bytes, binned } = outcome;
  switch (outcomeKey(outcome)) {
    case 'delDone': return t('delDone', { n: deleted, size: size(bytes) });
    case 'delDoneBin': return t('delDoneBin', { n: deleted, size: size(bytes) });
    case 'delDoneMixed': return t('delDoneMixed', { n: deleted, freed: size(bytes - binned), binned: size(binned) });
    default: return t('delNothing');
  }
}

export function openDeletion(paths: Iterable<string>, options: DeletionOptions = {}): void {
  const parts = partsByJob(paths, scanRoots(), state.view);
  if (parts.length === 0) return;
  const stay = button(t('cancel'), () => dialog.close());
  const dialog = openDialog({
    title: t('delTitle'), first: stay, ends: stay, fallback: options.fallback,
    body: el('p', { role: 'status' }, `${t('delChecking')}…`),
  });
  void check(dialog, stay, parts, options);
}

async function check(dialog: Dialog, stay: HTMLButtonElement, parts: Part[], options: DeletionOptions): Promise<void> {
  try {
    const runs = await Promise.all(parts.map(async (part) => ({ part, answer: await ask(part, { dryrun: '1' }) })));
    if (dialog.element.isConnected) showPlan(dialog, stay, planOf(runs), options);
  } catch (error) {
    fill(dialog.body, failureNotice(messageOf(error), () => void check(dialog, stay, parts, options), parts.flatMap((part) => part.paths).join('\n')));
  }
}

function showPlan(dialog: Dialog, stay: HTMLButtonElement, plan: Plan, options: DeletionOptions): void {
  const { wouldDelete, refused, noBin } = plan;
  const beyondBin = new Set(noBin);
  const binned = wouldDelete.filter((path) => !beyondBin.has(path));
  fill(dialog.body,
    el('p', { class: 'answer' }, wouldDelete.length > 0 ? t('delWould', { items: t('nItems', { n: wouldDelete.length }), size: size(plan.bytes) }) : t('delWouldNone')),
    binned.length > 0 ? pathList(binned) : null,
    noBin.length > 0 ? el('div', { class: 'notice warning' }, icon('warning'), el('p', {}, t('delNoBin', { n: noBin.length }))) : null,
    noBin.length > 0 ? pathList(noBin) : null,
    refused.length > 0 ? el('div', { class: 'stack' }, el('p', { class: 'line' }, icon('lock'), t('delRefused', { n: refused.length })), refusedList(refused)) : null);
  if (wouldDelete.length === 0) {
    setText(stay, t('close'));
    return;
  }

  const word = t('confirmWord');
  const typed = el('input', { type: 'text', class: 'input', autocomplete: 'off', spellcheck: 'false', autocapitalize: 'characters' });
  const typing = field(t('delType', { word }), typed);
  // Where the bin would take nothing, it is no choice.
  const onlyForGood = binned.length === 0;
  const how = el('fieldset', { class: 'stack', hidden: onlyForGood }, el('legend', {}, t('delHow')),
    choice('radio', t('delBin'), { name: 'how', value: 'bin', checked: !onlyForGood, hint: t('delBinHint') }),
    choice('radio', t('delForGood'), { name: 'how', value: 'forgood', checked: onlyForGood, hint: t('delForGoodHint') }));
  const go = button('', () => void run(), { icon: 'bin', class: 'danger first' });
  const forGood = (): boolean => how.querySelector<HTMLInputElement>('input[value=forgood]')!.checked;
  const needsWord = (): boolean => forGood() || noBin.length > 0;
  const update = (): void => {
    typing.hidden = !needsWord();
    go.disabled = needsWord() && !confirms(typed.value, word);
    const named = { n: wouldDelete.length, size: size(plan.bytes) };
    // What the bin would not take goes for good, so the button must not promise otherwise.
    go.replaceChildren(icon('bin'), forGood() ? t('delGoForGood', named)
      : noBin.length > 0 ? t('delGoMixed', { ...named, gone: noBin.length }) : t('delGoBin', named));
  };
  const run = (): Promise<void> => carryOut(dialog, stay, go, plan, forGood(), options);
  how.addEventListener('change', update);
  typed.addEventListener('input', update);
  typed.addEventListener('keydown', (event) => {
    if (event.key !== 'Enter') return;
    event.preventDefault();
    if (!go.disabled) void run();
  });
  append(dialog.body, how, typing,
    state.targets?.logPath ? el('p', { class: 'small muted' }, t('delLog', { path: state.targets.logPath })) : null);
  dialog.ends.append(go);
  update();
}

async function carryOut(dialog: Dialog, stay: HTMLButtonElement, go: HTMLButtonElement, plan: Plan, permanent: boolean, options: DeletionOptions): Promise<void> {
  const keepOpen = (event: Event): void => event.preventDefault();
  dialog.element.addEventListener('cancel', keepOpen);
  rest(stay, true);
  stay.focus();
  go.remove();
  fill(dialog.body, el('p', { class: 'answer', role: 'status' }, `${t('delGoing')}…`), el('div', { class: 'progress unknown', 'aria-hidden': 'true' }, el('span')));
  const answers: DeleteAnswer[] = [];
  const touched: number[] = [];
  let problem = '';
  for (const part of plan.parts) {
    try {
      answers.push(await ask(part, { permanent: permanent ? '1' : '0' }));
    } catch (error) {
      problem = messageOf(error);
    }
    touched.push(part.job);
  }
  const outcome = outcomeOf(answers);
  const words = problem || outcomeText(outcome);
  const left = plan.wouldDelete.length - outcome.deleted;
  const refused = [...plan.refused, ...answers.flatMap((answer) => answer.refused ?? [])];
  const told = (problem || outcome.error) && outcome.deleted > 0 ? outcomeText({ ...outcome, error: '' }) : null;
  await refreshResults(touched);
  dropGone(plan, outcome.deleted, options);
  dialog.element.removeEventListener('cancel', keepOpen);
  rest(stay, false);
  setText(stay, t('close'));
  stay.focus();
  fill(dialog.body,
    el('p', { class: 'answer', role: 'status' }, words),
    told ? el('p', {}, told) : null,
    left > 0 ? el('p', {}, t('delStill', { n: left })) : null,
    refused.length > 0 ? el('div', { class: 'stack' }, el('p', {}, t('delRefused', { n: refused.length })), refusedList(refused)) : null,
    state.targets?.logPath ? el('p', { class: 'small muted' }, t('delLog', { path: state.targets.logPath })) : null);
  announce(words);
}

// Marks and lists forget what went. When only part of it went, the answers do not say which, so another
// dry run does: what is gone is refused as missing.
function dropGone(plan: Plan, deleted: number, options: DeletionOptions): void {
  if (deleted === 0) return;
  const all = deleted >= plan.wouldDelete.length;
  const roots = new Set(plan.wouldDelete.map((path) => trimEnd(path).toLowerCase()));
  const gone = (path: string): boolean => {
    const text = trimEnd(path).toLowerCase();
    if (roots.has(text)) return true;
    for (let at = text.search(/[\\/][^\\/]*$/); at > 0; at = text.slice(0, at).search(/[\\/][^\\/]*$/)) {
      if (roots.has(text.slice(0, at))) return true;
    }
    return false;
  };
  if (all) forget(gone, options);
  else void forgetMissing(plan.wouldDelete, options);
}

function forget(gone: (path: string) => boolean, options: DeletionOptions): void {
  state.selection.keepOnly((path) => !gone(path));
  options.after?.(gone);
  dropFromSearches(gone);
  changed('selection');
}

async function forgetMissing(paths: string[], options: DeletionOptions): Promise<void> {
  try {
    const runs = await Promise.all(partsByJob(paths, scanRoots(), state.view).map(async (part) => ({ part, answer: await ask(part, { dryrun: '1' }) })));
    const missing = new Set(planOf(runs).refused.filter((one) => one.why === 'missing').map((one) => one.p));
    forget((path) => missing.has(path), options);
  } catch {
    // The lists then keep showing what is gone; deleting it again is refused as missing.
  }
}
