// The deletion dialog. It first asks the program for a dry run and shows its result; only then it offers
// to delete: into the recycle bin, or permanently once the confirmation word has been typed.
import type { DeleteAnswer } from '../core/answers';
import { missedBin } from '../core/bin';
import { messageOf } from '../core/failure';
import { failure, phrase, size, t } from '../core/i18n';
import { trimEnd } from '../core/paths';
import { confirms, expectations, outcomeKey, outcomeOf, partsByJob, planOf, together, type CopyProof, type Outcome, type Part, type Plan } from '../core/plan';
import { CHANGED, MISSING, TOO_LONG } from '../core/words';
import { form } from '../data/api';
import { poll, refreshResults } from '../data/jobs';
import { dropFromSearches } from '../data/runs';
import { changed, scanRoots, state, unmarkEverywhere } from '../data/state';
import { openDialog, type Dialog } from '../ui/dialog';
import { append, button, choice, el, field, fill, icon, onEnter, rest, setText, wholePath } from '../ui/dom';
import { busyBar, failureNotice } from '../ui/notices';
import { announce } from '../ui/toast';

const MAX_LISTED = 80;
const PERMANENT = 'forgood';

export interface DeletionOptions {
  fallback?: () => HTMLElement | null; // takes the focus if the row that had it is gone
  proofs?: ReadonlyMap<string, CopyProof>; // of copies that were compared: only with these they go
  after?: (gone: (path: string) => boolean) => void; // removes deleted paths from marks of the caller's own
}

// A deletion from its dry run to its outcome.
interface Deletion {
  dialog: Dialog;
  stay: HTMLButtonElement;
  options: DeletionOptions;
}

// What would go, and what goes only if it is deleted permanently: it is too long for the bin.
interface Offer {
  plan: Plan;
  tooLong: Plan;
}

async function dryRun(parts: Part[], fields: Record<string, string>): Promise<Plan> {
  return planOf(await Promise.all(parts.map(async (part) => ({
    part, answer: await form<DeleteAnswer>('/api/delete', { p: part.paths, job: part.job, dryrun: '1', ...fields }),
  }))));
}

async function lookAt(parts: Part[]): Promise<Offer> {
  const plan = await dryRun(parts, { seen: '1' });
  const long = plan.refused.filter((one) => one.why === TOO_LONG).map((one) => one.p);
  const tooLong = await dryRun(long.length > 0 ? partsByJob(long, scanRoots(), state.view) : [], { seen: '1', permanent: '1' });
  return { plan: { ...plan, refused: [...plan.refused.filter((one) => one.why !== TOO_LONG), ...tooLong.refused] }, tooLong };
}

function listed<I>(label: string, items: readonly I[], line: (item: I) => HTMLElement): HTMLElement {
  return el('ul', { class: 'path-list', tabindex: '0', 'aria-label': label }, items.slice(0, MAX_LISTED).map(line),
    items.length > MAX_LISTED ? el('li', { class: 'muted' }, t('andMore', { n: items.length - MAX_LISTED })) : null);
}

const pathList = (paths: readonly string[]): HTMLElement => listed(t('delWhich'), paths, (path) => el('li', {}, wholePath(path)));

const refusedList = (refused: Plan['refused']): HTMLElement => listed(t('delRefused', { n: refused.length }), refused,
  ({ p, why }) => el('li', {}, wholePath(p), ' ', el('span', { class: 'muted' }, `(${phrase('r_', why)})`)));

const logNote = (): HTMLElement | null =>
  state.targets?.logPath ? el('p', { class: 'small muted' }, t('delLog', { path: state.targets.logPath })) : null;

function outcomeText(outcome: Outcome): string {
  if (outcome.error) return failure(outcome.error);
  const { deleted, bytes, binned } = outcome;
  const sentences = {
    delDone: () => t('delDone', { n: deleted, size: size(bytes) }),
    delDoneBin: () => t('delDoneBin', { n: deleted, size: size(bytes) }),
    delDoneMixed: () => t('delDoneMixed', { n: deleted, freed: size(bytes - binned), binned: size(binned) }),
    delNothing: () => t('delNothing'),
  };
  return sentences[outcomeKey(outcome)]();
}

export function openDeletion(paths: Iterable<string>, options: DeletionOptions = {}): void {
  const parts = partsByJob(paths, scanRoots(), state.view);
  if (parts.length === 0) return;
  const stay = button(t('cancel'), () => dialog.close());
  const dialog = openDialog({
    title: t('delTitle'), first: stay, ends: stay, fallback: options.fallback,
    body: el('p', { role: 'status' }, `${t('delChecking')}…`),
  });
  void check({ dialog, stay, options }, parts);
}

async function check(deletion: Deletion, parts: Part[]): Promise<void> {
  const { dialog } = deletion;
  try {
    const offered = await lookAt(parts);
    if (dialog.element.isConnected) showPlan(deletion, offered);
  } catch (error) {
    fill(dialog.body, failureNotice(messageOf(error), () => void check(deletion, parts), parts.flatMap((part) => part.paths).join('\n')));
  }
}

function showPlan(deletion: Deletion, { plan, tooLong }: Offer): void {
  const { wouldDelete, refused, noBin } = plan;
  const beyondBin = new Set(noBin);
  const binned = wouldDelete.filter((path) => !beyondBin.has(path));
  fill(deletion.dialog.body,
    el('p', { class: 'answer' }, wouldDelete.length > 0 ? t('delWould', { items: t('nItems', { n: wouldDelete.length }), size: size(plan.bytes) })
      : tooLong.wouldDelete.length > 0 ? t('delWouldNotBin') : t('delWouldNone')),
    binned.length > 0 ? pathList(binned) : null,
    noBin.length > 0 ? el('div', { class: 'notice warning' }, icon('warning'), el('p', {}, t('delNoBin', { n: noBin.length }))) : null,
    noBin.length > 0 ? pathList(noBin) : null,
    tooLong.wouldDelete.length > 0 ? el('div', { class: 'notice warning' }, icon('warning'), el('p', {}, t('delTooLong', { n: tooLong.wouldDelete.length }))) : null,
    tooLong.wouldDelete.length > 0 ? pathList(tooLong.wouldDelete) : null,
    refused.length > 0 ? el('div', { class: 'stack' }, el('p', { class: 'line' }, icon('lock'), t('delRefused', { n: refused.length })), refusedList(refused)) : null);
  // Where nothing would go into the bin, the bin is not offered.
  if (wouldDelete.length + tooLong.wouldDelete.length > 0) offer(deletion, { plan, tooLong }, binned.length === 0);
  else setText(deletion.stay, t('close'));
}

// Adds the choice of how to delete, the confirmation and the button.
function offer(deletion: Deletion, { plan, tooLong }: Offer, onlyPermanent: boolean): void {
  const { dialog } = deletion;
  const { noBin } = plan;
  const word = t('confirmWord');
  const typed = el('input', { type: 'text', class: 'input', autocomplete: 'off', spellcheck: 'false', autocapitalize: 'characters' });
  const typing = field(t('delType', { word }), typed);
  const how = el('fieldset', { class: 'stack', hidden: onlyPermanent }, el('legend', {}, t('delHow')),
    choice('radio', t('delBin'), { name: 'how', value: 'bin', checked: !onlyPermanent, hint: t('delBinHint') }),
    choice('radio', t('delForGood'), { name: 'how', value: PERMANENT, checked: onlyPermanent, hint: t('delForGoodHint') }));
  const permanent = (): boolean => how.querySelector<HTMLInputElement>(`input[value=${PERMANENT}]`)!.checked;
  const chosen = (): Plan => (permanent() ? together(plan, tooLong) : plan);
  const go = button('', () => void carryOut(deletion, chosen(), permanent(), go), { icon: 'bin', class: 'danger first' });
  const update = (): void => {
    const needsWord = permanent() || noBin.length > 0;
    typing.hidden = !needsWord;
    go.disabled = needsWord && !confirms(typed.value, word);
    const { wouldDelete, bytes } = chosen();
    const named = { n: wouldDelete.length, size: size(bytes) };
    // What the bin does not take is deleted permanently, so the button must say so.
    go.replaceChildren(icon('bin'), permanent() ? t('delGoForGood', named)
      : noBin.length > 0 ? t('delGoMixed', { ...named, gone: noBin.length }) : t('delGoBin', named));
  };
  how.addEventListener('change', update);
  typed.addEventListener('input', update);
  onEnter(typed, () => {
    if (!go.disabled) void carryOut(deletion, chosen(), permanent(), go);
  });
  append(dialog.body, how, typing, logNote());
  dialog.ends.append(go);
  update();
}

interface Done {
  answers: DeleteAnswer[];
  problem: string; // why a request failed, or ''
}

async function deleteParts(plan: Plan, permanent: boolean, proofs: DeletionOptions['proofs']): Promise<Done> {
  const done: Done = { answers: [], problem: '' };
  for (const part of plan.parts) {
    const fields = expectations(part.paths, plan.seen, proofs ?? null);
    if (fields['p']!.length === 0) continue;
    try {
      done.answers.push(await form<DeleteAnswer>('/api/delete', { ...fields, job: part.job, permanent: permanent ? '1' : '0' }));
    } catch (error) {
      done.problem = messageOf(error);
    }
  }
  return done;
}

async function carryOut({ dialog, stay, options }: Deletion, plan: Plan, permanent: boolean, go: HTMLElement): Promise<void> {
  const keepOpen = (event: Event): void => event.preventDefault();
  dialog.element.addEventListener('cancel', keepOpen);
  rest(stay, true);
  stay.focus();
  go.remove();
  fill(dialog.body, el('p', { class: 'answer', role: 'status' }, `${t('delGoing')}…`), busyBar());
  const done = await deleteParts(plan, permanent, options.proofs);
  await Promise.all([refreshResults(state.results.keys()), poll()]); // any scan may hold what went
  removeGone(plan, outcomeOf(done.answers).deleted, done.problem !== '', options);
  dialog.element.removeEventListener('cancel', keepOpen);
  rest(stay, false);
  setText(stay, t('close'));
  stay.focus();
  showOutcome(dialog, plan, done, { permanent, proofs: options.proofs });
}

function showOutcome(dialog: Dialog, plan: Plan, { answers, problem }: Done, { permanent, proofs }: { permanent: boolean; proofs: DeletionOptions['proofs'] }): void {
  const outcome = outcomeOf(answers);
  const inside = outcome.inside > 0 ? t('delInside', { size: size(outcome.inside) }) : null;
  const words = problem || (outcome.deleted === 0 && !outcome.error && inside) || outcomeText(outcome);
  const unproven = proofs ? plan.wouldDelete.filter((path) => !proofs.has(path)).map((p) => ({ p, why: CHANGED })) : [];
  const left = plan.wouldDelete.length - outcome.deleted;
  const missed = permanent ? 0 : missedBin(plan, outcome);
  const refused = [...plan.refused, ...unproven, ...answers.flatMap((answer) => answer.refused ?? [])];
  const partial = (problem || outcome.error) && outcome.deleted > 0 ? outcomeText({ ...outcome, error: '' }) : null;
  fill(dialog.body,
    el('p', { class: 'answer', role: 'status' }, words),
    partial ? el('p', {}, partial) : null,
    missed > 0 ? el('div', { class: 'notice warning' }, icon('warning'), el('p', {}, t('delNotBinned', { size: size(missed) }))) : null,
    inside && inside !== words ? el('p', {}, inside) : null,
    left > 0 ? el('p', {}, t('delStill', { n: left })) : null,
    refused.length > 0 ? el('div', { class: 'stack' }, el('p', {}, t('delRefused', { n: refused.length })), refusedList(refused)) : null,
    outcome.logged ? logNote() : el('div', { class: 'notice warning' }, icon('warning'), el('p', {}, t('delNotLogged'))));
  announce(words);
}

// Whether a path is one of the roots or lies below one.
function below(paths: readonly string[]): (path: string) => boolean {
  const roots = new Set(paths.map((path) => trimEnd(path).toLowerCase()));
  return (path) => {
    const text = trimEnd(path).toLowerCase();
    if (roots.has(text)) return true;
    for (let at = text.search(/[\\/][^\\/]*$/); at > 0; at = text.slice(0, at).search(/[\\/][^\\/]*$/)) {
      if (roots.has(text.slice(0, at))) return true;
    }
    return false;
  };
}

// Removes deleted paths from marks and search results. The answers don't say which paths of a partial
// deletion are gone, so another dry run does: it refuses them as missing.
function removeGone(plan: Plan, deleted: number, problem: boolean, options: DeletionOptions): void {
  if (deleted === 0 && !problem) return;
  if (deleted >= plan.wouldDelete.length) forget(below(plan.wouldDelete), options);
  else void forgetMissing(plan.wouldDelete, options);
}

function forget(gone: (path: string) => boolean, options: DeletionOptions): void {
  unmarkEverywhere(gone);
  options.after?.(gone);
  dropFromSearches(gone);
  changed('selection');
}

async function forgetMissing(paths: string[], options: DeletionOptions): Promise<void> {
  try {
    const { refused } = await dryRun(partsByJob(paths, scanRoots(), state.view), {});
    const missing = new Set(refused.filter((one) => one.why === MISSING).map((one) => one.p));
    forget((path) => missing.has(path), options);
  } catch {
    // The lists keep showing deleted paths; deleting those again is refused as missing.
  }
}
