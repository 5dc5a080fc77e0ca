// The findings of a scan: what each is, what acting on it means, and its places.
import type { Finding, Job, ResultDoc } from '../core/answers';
import { count, date, known, phrase, size, t, text } from '../core/i18n';
import { isRemote } from '../core/job';
import { shown } from '../core/paths';
import { shareOf } from '../core/units';
import { EMPTIED, gainOf, gains } from '../core/winnable';
import { FINDING } from '../core/words';
import { goTo, state } from '../data/state';
import { openCleaning } from '../flows/cleaning';
import { elevateButton, mayElevate } from '../flows/elevate';
import { findOld } from '../flows/find_form';
import { scanMarksBar, toggleMark } from '../flows/marks';
import { openInExplorer } from '../flows/places';
import { resultScreen, type ResultScreen } from '../flows/result_screen';
import type { Screen } from '../flows/screen';
import { button, cutPath, el, fact, icon, iconButton, inert, meter } from '../ui/dom';
import { KEYS } from '../ui/keys';
import { emptyState } from '../ui/notices';
import { toast } from '../ui/toast';

const TAGS = { safe: 'good', look: 'warning', none: '' } as const;

interface Place {
  path: string;
  bytes: number;
  files: number;
  group: number;
  lock: string;
  m: number; // 0 where it is not known
}

function placesOf(finding: Finding, times: ReadonlyMap<string, number>): Place[] {
  return finding.paths.map((path, i): Place => ({
    path, bytes: finding.pathBytes[i] ?? 0, files: finding.pathFiles[i] ?? 0, group: finding.pathGroup[i] ?? 0, lock: finding.pathLock[i] ?? '', m: finding.pathTimes?.[i] ?? times.get(path) ?? 0,
  })).sort((a, b) => b.bytes - a.bytes || a.group - b.group);
}

// If places are copies of each other, one of each group stays.
function lastOfGroup(places: Place[], place: Place): boolean {
  return place.group > 0 && !places.some((other) => other.group === place.group && other.path !== place.path && !state.selection.has(other.path));
}

// `canMark` is false where places are emptied as a whole, or are on another machine: a lock would say that
// nothing can be done there.
function placeRow(place: Place, places: Place[], largest: number, canMark: boolean): HTMLElement {
  const label = t('dtMark');
  const box = el('input', { type: 'checkbox', 'aria-label': `${label}: ${shown(place.path)}`, checked: state.selection.has(place.path), 'data-key': place.path, on: {
    change: () => {
      if (box.checked && lastOfGroup(places, place)) {
        box.checked = false;
        toast(t('acLast'));
        return;
      }
      toggleMark(place.path, place.bytes, place.group > 0);
    },
  } });
  const locked = place.lock !== '' && canMark;
  return el('li', {},
    locked ? el('span', { title: t('locked', { why: phrase('r_', place.lock) }) }, icon('lock')) : canMark ? box : el('span'),
    cutPath(place.path), meter(shareOf(place.bytes, largest), 'extra'),
    el('span', { class: 'number extra muted' }, place.m > 0 ? date(place.m) : place.files > 1 ? t('nFiles', { n: place.files }) : ''),
    el('span', { class: 'number' }, size(place.bytes)),
    iconButton('explorer', `${t('dtOpenExplorer')}: ${shown(place.path)}`, () => openInExplorer(place.path)),
    locked ? el('span', { class: 'why small muted' }, t('locked', { why: phrase('r_', place.lock) })) : null);
}

// What is on another machine can be looked at only.
function actionsOf(job: Job, finding: Finding): HTMLElement[] {
  if (isRemote(job)) return [];
  switch (finding.code) {
    case FINDING.recycleBin:
    case FINDING.tempFiles:
    case FINDING.updates: {
      const words = t(finding.code === FINDING.recycleBin ? 'emptyBin' : 'adClean');
      return finding.paths.length > 0 ? [button(words, () => openCleaning(words, [{ job: job.id, what: finding.code }]), { icon: 'broom' })] : [];
    }
    case FINDING.oldFiles: return finding.n1 > finding.paths.length ? [button(t('adShowAll', { n: finding.n1 }), () => findOld(job.id), { icon: 'find' })] : [];
    case FINDING.duplicates: return [button(t('acStart'), () => goTo('across'), { icon: 'across' })];
    case FINDING.denied: return mayElevate() ? [elevateButton()] : [];
    default: return [];
  }
}

function card(job: Job, finding: Finding, times: ReadonlyMap<string, number>): HTMLElement {
  const places = placesOf(finding, times);
  const gain = gainOf(finding);
  const largest = places[0]?.bytes ?? 0;
  const canMark = !isRemote(job) && !EMPTIED.includes(finding.code);
  const title = phrase('a_', finding.code);
  const line = (label: string, part: string): HTMLElement[] => {
    const key = `a_${finding.code}_${part}` as const;
    if (!known(key)) return part === 'what' ? fact(label, t('a_unknown_what')) : [];
    return fact(label, text(key, { n: finding.n1 }));
  };
  const heading = el('h2', { tabindex: '-1', id: `finding-${finding.code}` }, title);
  return el('article', { class: 'panel', 'aria-labelledby': heading.id }, el('details', { class: 'finding', open: !state.folded.has(finding.code), on: { toggle: (event) => {
    if ((event.currentTarget as HTMLDetailsElement).open) state.folded.delete(finding.code);
    else state.folded.add(finding.code);
  } } },
    el('summary', { class: 'title' }, icon('right'), heading, el('span', { class: `tag ${TAGS[gain]}` }, text(`gain_${gain}`)),
      finding.bytes > 0 ? el('span', { class: 'amount' }, size(finding.bytes)) : null),
    el('dl', {}, line(t('adWhat'), 'what'), line(t('adWhy'), 'why'), line(t('adEffect'), 'effect'), line(t('adReturns'), 'returns')),
    places.length > 0 ? el('section', { class: 'stack' }, el('h3', {}, t('adPlaces')), el('ul', { class: 'places' }, places.map((place) => placeRow(place, places, largest, canMark)))) : null,
    finding.notes.length > 0 && places.length === 0 ? el('section', { class: 'stack' }, el('h3', {}, t('adNotes')), el('ul', { class: 'small' }, finding.notes.map((note) => el('li', {}, inert(note.slice(0, 600)))))) : null,
    el('div', { class: 'actions' }, actionsOf(job, finding),
      places.length === 0 && finding.target ? button(t('dtOpenExplorer'), () => openInExplorer(finding.target), { icon: 'explorer' }) : null)));
}

// The two totals, and one action for all that is safe.
function summary(job: Job, doc: ResultDoc): HTMLElement {
  const { safe, look } = gains(doc.advice);
  const sources = doc.advice.filter((finding) => gainOf(finding) === 'safe' && finding.paths.length > 0).map(({ code }) => ({ job: job.id, what: code }));
  return el('div', { class: 'panel totals' },
    safe > 0 ? el('p', { class: 'answer' }, t('adSafe', { size: size(safe) })) : null,
    sources.length > 0 && !isRemote(job) ? button(t('adSafeGo'), () => openCleaning(t('adSafeGo'), sources), { icon: 'broom', class: 'first' }) : null,
    look > 0 ? el('p', {}, t('adLook', { size: size(look) })) : null);
}

// What cannot be acted on comes last.
const sorted = (findings: readonly Finding[]): Finding[] =>
  [...findings.filter((finding) => gainOf(finding) !== 'none'), ...findings.filter((finding) => gainOf(finding) === 'none')];

function make(job: Job, doc: ResultDoc): ResultScreen {
  if (doc.advice.length === 0) {
    return { content: emptyState(t('adEmpty'), t('adEmptyText'), button(t('secExplorer'), () => goTo('explorer'), { icon: 'explorer' })) };
  }
  const times = new Map(doc.files.map((file) => [file.p, file.m]));
  const cards = el('div', { class: 'stack wide' }, summary(job, doc), sorted(doc.advice).map((finding) => card(job, finding, times)));
  const bar = scanMarksBar(() => cards.querySelector<HTMLElement>('input, h2'));
  bar.root.classList.add('stays');
  cards.addEventListener('keydown', (event) => {
    if (event.key === KEYS.delete) bar.delete();
  });
  requestAnimationFrame(() => {
    const wanted = state.finding && document.getElementById(`finding-${state.finding}`);
    state.finding = '';
    if (!wanted) return;
    wanted.closest('details')!.open = true;
    wanted.scrollIntoView({ block: 'start' });
    wanted.focus({ preventScroll: true });
  });
  return {
    top: el('span', { class: 'muted' }, count(doc.advice.length)),
    content: [bar.root, cards],
    update: (changes) => {
      if (!changes.has('selection')) return;
      bar.update();
      cards.querySelectorAll<HTMLInputElement>('input').forEach((box) => {
        box.checked = state.selection.has(box.dataset['key'] ?? '');
      });
    },
  };
}

export const advice = (): Screen => resultScreen('secAdvice', make);
