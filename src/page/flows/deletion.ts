// The deletion dialog. It first asks the program for a dry run and shows its result; only then it offers
// to delete: into the recycle bin, or permanently once the confirmation word has been typed.
import type { DeleteAnswer } from '../core/answers';
import { missedBin } from '../core/bin';
import { messageOf } from '../core/failure';
import { failure, percent, phrase, size, t } from '../core/i18n';
import { isRemote } from '../core/job';
import { liesBelow, trimEnd } from '../core/paths';
import { confirms, expectations, NO_PLAN, outcomeKey, outcomeOf, partsByJob, planOf, together, type CopyProof, type Gain, type Outcome, type Part, type Plan } from '../core/plan';
import { goingOf, requestsFor, type Going } from '../core/review';
import { sumOf } from '../core/units';
import { CHANGED, MISSING, TOO_LONG } from '../core/words';
import { form } from '../data/api';
import { poll, refreshResults } from '../data/jobs';
import { dropFromSearches } from '../data/runs';
import { changed, jobById, jobOnView, scanRoots, state, unmarkEverywhere } from '../data/state';
import { openDialog, type Dialog } from '../ui/dialog';
import { append, button, choice, el, field, fill, icon, onEnter, rest, setText, type Child } from '../ui/dom';
import { failureNotice, warningNotice } from '../ui/notices';
import { announce } from '../ui/toast';
import { afterwards, freeLine, goingTable, renewDrives, stayingTable, working, type Staying, type Working } from './review';

const PERMANENT = 'forgood';

export interface DeletionOptions {
  fallback?: () => HTMLElement | null; // takes the focus if the row that had it is gone
  proofs?: ReadonlyMap<string, CopyProof>; // of copies that were compared: only with these they go
  permanent?: boolean; // is proposed first
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

// Never for the scan of a host: what is there can't be deleted from here.
const partsOf = (paths: Iterable<string>): Part[] =>
  partsByJob(paths, scanRoots().filter(({ id }) => !isRemote(jobById(id))), isRemote(jobOnView()) ? 0 : state.view);

type Progress = (done: number, all: number) => void;

async function dryRun(parts: Part[], fields: Record<string, string>, progress: Progress = () => {}): Promise<Plan> {
  const runs: { part: Part; answer: DeleteAnswer }[] = [];
  const requests = requestsFor(parts);
  for (const part of requests) {
    progress(runs.length, requests.length);
    runs.push({ part, answer: await form<DeleteAnswer>('/api/delete', { p: part.paths, job: part.job, dryrun: '1', ...fields }) });
  }
  return planOf(runs);
}

async function lookAt(parts: Part[], progress: Progress): Promise<Offer> {
  const plan = await dryRun(parts, { seen: '1', more: '1' }, progress);
  const long = plan.refused.filter((one) => one.why === TOO_LONG).map((one) => one.p);
  const tooLong = await dryRun(long.length > 0 ? partsOf(long) : [], { seen: '1', more: '1', permanent: '1' });
  return { plan: { ...plan, refused: [...plan.refused.filter((one) => one.why !== TOO_LONG), ...tooLong.refused] }, tooLong };
}

const stayingOf = (refused: Plan['refused']): Staying[] => refused.map(({ p, why }) => ({ p, why: phrase('r_', why) }));

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
  const parts = partsOf(paths);
  if (parts.length === 0) return;
  const stay = button(t('cancel'), () => dialog.close());
  const dialog = openDialog({
    title: t('delete'), width: 'wide', first: stay, ends: stay, fallback: options.fallback,
    body: el('p', { role: 'status' }, `${t('delChecking')}…`),
  });
  void check({ dialog, stay, options }, parts);
}

async function check(deletion: Deletion, parts: Part[]): Promise<void> {
  const { dialog } = deletion;
  try {
    const status = dialog.body.firstElementChild;
    const renewed = renewDrives();
    const offered = await lookAt(parts, (done, all) => {
      if (all > 1 && status) setText(status, `${t('delChecking')}… ${percent(done / all)}`);
    });
    await renewed;
    if (dialog.element.isConnected) showPlan(deletion, offered);
  } catch (error) {
    fill(dialog.body, failureNotice(messageOf(error), () => void check(deletion, parts), parts.flatMap((part) => part.paths).join('\n')));
  }
}

// How many files and bytes; items that are folders have files inside.
function amountOf(rows: readonly Going[]): string {
  const bytes = size(sumOf(rows, (row) => row.bytes));
  return rows.some((row) => row.folder) ? `${t('nFiles', { n: sumOf(rows, (row) => row.files) })}, ${bytes}` : bytes;
}

// What comes back, where that is known and not simply the sizes.
function promise(gains: readonly Gain[]): Child {
  if (!gains.every((gain) => gain.back !== undefined)) return null;
  const [bytes, back, shared] = [sumOf(gains, (gain) => gain.bytes), sumOf(gains, (gain) => gain.back ?? 0), sumOf(gains, (gain) => gain.shared)];
  if (size(back) === size(bytes) && shared === 0) return null;
  return el('p', {}, t(gains.some((gain) => gain.most) ? 'delBackMost' : 'delBack', { size: size(back) }),
    shared > 0 ? ` ${t('delShared', { size: size(shared) })}` : null);
}

function showPlan(deletion: Deletion, { plan, tooLong }: Offer): void {
  const { refused, noBin } = plan;
  const rows = goingOf(plan, tooLong);
  const would = rows.filter((row) => row.note !== 'delTagLong');
  fill(deletion.dialog.body,
    el('div', {},
      el('p', { class: 'answer' }, would.length > 0 ? t('delWould', { items: t('nItems', { n: would.length }), size: amountOf(would) })
        : rows.length > 0 ? t('delWouldNotBin') : t('delWouldNone')),
      promise(plan.gains),
      freeLine([...plan.gains, ...tooLong.gains])),
    rows.length > 0 ? goingTable(rows) : null,
    noBin.length > 0 ? warningNotice(t('delNoBin', { n: noBin.length })) : null,
    tooLong.wouldDelete.length > 0 ? warningNotice(t('delTooLong', { n: tooLong.wouldDelete.length })) : null,
    refused.length > 0 ? el('div', { class: 'stack' }, el('p', { class: 'line' }, icon('lock'), t('delRefused', { n: refused.length })),
      stayingTable(t('delRefused', { n: refused.length }), stayingOf(refused))) : null);
  // Where nothing would go into the bin, the bin is not offered.
  if (rows.length > 0) offer(deletion, { plan, tooLong }, would.length === noBin.length);
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
    choice('radio', t('delBin'), { name: 'how', value: 'bin', checked: !onlyPermanent && !deletion.options.permanent, hint: t('delBinHint') }),
    choice('radio', t('delForGood'), { name: 'how', value: PERMANENT, checked: onlyPermanent || deletion.options.permanent, hint: t('delForGoodHint') }));
  const permanent = (): boolean => how.querySelector<HTMLInputElement>(`input[value=${PERMANENT}]`)!.checked;
  const chosen = (): Plan => (permanent() ? together(plan, tooLong) : plan);
  const go = button('', () => void carryOut(deletion, chosen(), permanent(), go), { icon: 'bin', class: 'danger first' });
  const update = (): void => {
    const needsWord = permanent() || noBin.length > 0;
    typing.hidden = !needsWord;
    go.disabled = needsWord && !confirms(typed.value, word);
    const rows = goingOf(chosen(), NO_PLAN);
    const named = { n: rows.length, size: amountOf(rows) };
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

interface Stopping {
  stopped: boolean; // the user wants no further request
}

interface Done {
  answers: DeleteAnswer[];
  problem: string; // why a request failed, or ''
}

// One request after the other; between them it can be stopped.
async function deleteParts(plan: Plan, permanent: boolean, proofs: DeletionOptions['proofs'], work: Working, stopping: Stopping): Promise<Done> {
  const done: Done = { answers: [], problem: '' };
  for (const [at, part] of plan.parts.entries()) {
    const fields = expectations(part.paths, plan.seen, proofs ?? null);
    if (fields['p']!.length === 0) continue;
    if (stopping.stopped) break;
    work.at(part.paths[0] ?? '', plan.parts.length > 1 ? at / plan.parts.length : undefined);
    try {
      done.answers.push(await form<DeleteAnswer>('/api/delete', { ...fields, job: part.job, permanent: permanent ? '1' : '0', why: '1', more: '1' }));
    } catch (error) {
      done.problem = messageOf(error);
    }
  }
  return done;
}

async function carryOut({ dialog, stay, options }: Deletion, plan: Plan, permanent: boolean, go: HTMLElement): Promise<void> {
  dialog.busy = true;
  const stopping: Stopping = { stopped: false };
  const stop = button(t('fiStop'), () => {
    stopping.stopped = true;
    rest(stop, true);
  }, { icon: 'stop' });
  rest(stay, true);
  stay.focus();
  if (plan.parts.length > 1) {
    go.replaceWith(stop);
    stop.focus();
  } else {
    go.remove();
  }
  const work = working();
  fill(dialog.body, work.root);
  const done = await deleteParts(plan, permanent, options.proofs, work, stopping);
  work.end();
  // Any scan may hold what went; the one on view comes first.
  await refreshResults([state.view]);
  await Promise.all([refreshResults([...state.results.keys()].filter((id) => id !== state.view)), poll()]);
  removeGone(plan, outcomeOf(done.answers).deleted, done.problem !== '', options);
  dialog.busy = false;
  rest(stay, false);
  setText(stay, t('close'));
  stay.focus();
  stop.remove();
  showOutcome(dialog, plan, done, { permanent, proofs: options.proofs });
}

function showOutcome(dialog: Dialog, plan: Plan, { answers, problem }: Done, { permanent, proofs }: { permanent: boolean; proofs: DeletionOptions['proofs'] }): void {
  const outcome = outcomeOf(answers);
  const inside = outcome.inside > 0 ? t('delInside', { size: size(outcome.inside) }) : null;
  const words = problem || (outcome.deleted === 0 && !outcome.error && inside) || outcomeText(outcome);
  const unproven = proofs ? plan.wouldDelete.filter((path) => !proofs.has(path)).map((p) => ({ p, why: CHANGED })) : [];
  const left = plan.wouldDelete.length - outcome.deleted;
  const missed = permanent ? 0 : missedBin(plan, outcome);
  const stays = [
    ...stayingOf([...plan.refused, ...unproven, ...answers.flatMap((answer) => answer.refused ?? [])]),
    ...answers.flatMap((answer) => answer.stayed ?? []).map(({ p, why }) => ({ p, why: phrase('w_', why) })),
  ];
  // What went comes before what went wrong.
  const partial = (problem || outcome.error) && outcome.deleted > 0 ? outcomeText({ ...outcome, error: '' }) : null;
  const end = el('div', {});
  afterwards(end, outcome.binned > 0);
  fill(dialog.body,
    el('p', { class: 'answer', role: 'status' }, partial ?? words),
    partial ? el('p', {}, words) : null,
    missed > 0 ? warningNotice(t('delNotBinned', { size: size(missed) })) : null,
    inside && inside !== words ? el('p', {}, inside) : null,
    outcome.gained !== null && outcome.bytes > outcome.binned ? el('p', {}, outcome.gained > 0 ? t('delGained', { size: size(outcome.gained) }) : t('delNoGain')) : null,
    left > 0 ? el('p', {}, t('delStill', { n: left })) : null,
    stays.length > 0 ? el('div', { class: 'stack' }, el('p', {}, t('delStays')), stayingTable(t('delStays'), stays)) : null,
    outcome.logged ? logNote() : warningNotice(t('delNotLogged')), end);
  announce(partial ?? words);
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

function forget(gone: (path: string) => boolean, { after }: DeletionOptions): void {
  unmarkEverywhere(gone);
  after?.(gone);
  dropFromSearches(gone);
  changed('selection');
}

// The same for everything inside folders that were emptied.
export function forgetInside(folders: readonly string[]): void {
  forget((path) => folders.some((folder) => liesBelow(folder, path)), {});
}

async function forgetMissing(paths: string[], options: DeletionOptions): Promise<void> {
  try {
    const { refused } = await dryRun(partsOf(paths), {});
    forget(below(refused.filter((one) => one.why === MISSING).map((one) => one.p)), options);
  } catch {
    // The lists keep showing deleted paths; deleting those again is refused as missing.
  }
}
