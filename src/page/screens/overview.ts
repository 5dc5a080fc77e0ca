// The overview of a scan: where the space went, and what could be freed.
import type { Job, ResultDoc } from '../core/answers';
import { count, parts, percent, phrase, seconds, size, t } from '../core/i18n';
import { isDrive, isRemote, nameOf, turboReason } from '../core/job';
import { typeName } from '../core/names';
import { fileNameOf, shown } from '../core/paths';
import { isFolder, type Entry } from '../core/entry';
import { shareOf, sumOf } from '../core/units';
import { winnable } from '../core/winnable';
import { FILE_TABLE, METHOD, REST } from '../core/words';
import { linkTo } from '../data/api';
import { loadFolder } from '../data/folders';
import { forgetScan, rescan } from '../data/jobs';
import { changed, goTo, knowsDisk, state, treeOf } from '../data/state';
import { accountPanel } from '../flows/account';
import { openEmptyBin } from '../flows/cleaning';
import { openInExplorer, openPath } from '../flows/places';
import { resultScreen, type ResultScreen } from '../flows/result_screen';
import type { Screen } from '../flows/screen';
import { button, cutPath, el, fill, icon, inert, linkButton, meter, panel } from '../ui/dom';

const LISTED = 5;

interface Space {
  size: number;
  used: number; // counted by the scan
  other: number;
  binned: number;
  freed: number;
  free: number;
}

// The drive as it was when scanned, and what has changed since. A scan of the whole drive includes the
// recycle bin; a scan of one folder does not.
function spaceOf({ meta }: ResultDoc): Space {
  const free = Math.min(meta.volumeFree, meta.volumeSize);
  const occupied = meta.volumeSize - free;
  const freed = Math.min(meta.freed, occupied);
  const binned = Math.min(meta.binned, occupied - freed);
  const counted = /^[a-z]:[\\/]?$/i.test(meta.path) ? meta.used - binned : meta.used;
  const used = Math.max(0, Math.min(counted, occupied - freed - binned));
  return { size: meta.volumeSize, used, other: Math.max(0, occupied - freed - binned - used), binned, freed, free };
}

// The folders right below the root, largest first, and what lies elsewhere: in folders that are not among
// the ones listed, and in the root itself.
function contentsOf({ root, entries }: ReturnType<typeof rootOf>): { folders: Entry[]; spread: number; loose: number } {
  const folders = entries.filter((entry) => isFolder(entry) && entry.s > 0);
  const bytes = (list: readonly Entry[]): number => sumOf(list, (entry) => entry.s);
  const smaller = entries.filter((entry) => entry.kind === REST.smaller);
  const inFolders = bytes(folders) + bytes(smaller);
  return { folders: folders.slice(0, LISTED), spread: bytes(folders.slice(LISTED)) + bytes(smaller), loose: root.s - inFolders };
}

const rootOf = (job: Job): { root: Entry; entries: readonly Entry[] } => {
  const tree = treeOf(job.id)!;
  return { root: tree.root, entries: tree.entries(tree.root.path) };
};

function answer(job: Job, doc: ResultDoc): HTMLElement {
  const { root, entries } = rootOf(job);
  const { folders: [largest], spread, loose } = contentsOf({ root, entries });
  const space = spaceOf(doc);
  const all = { size: size(doc.meta.used), path: inert(root.path) };
  if (doc.meta.used === 0) return el('p', { class: 'answer' }, parts('ovAnswerEmpty', all));
  if (spread > Math.max(largest?.s ?? 0, loose)) return el('p', { class: 'answer' }, parts('ovAnswerSpread', all));
  if (!largest || largest.s * 2 < root.s && loose > largest.s) return el('p', { class: 'answer' }, parts('ovAnswerFlat', all));
  const link = linkButton(inert(largest.name), () => openPath(largest.path));
  const nowFree = space.free + space.freed;
  return el('p', { class: 'answer' }, space.size > 0 && nowFree * 10 < space.size && isDrive(job)
    ? parts(largest.s * 2 >= doc.meta.used ? 'ovAnswerTight' : 'ovAnswerTightLargest', { free: size(nowFree), size: size(space.size), path: link, used: size(largest.s) })
    : parts(largest.s * 2 >= doc.meta.used ? 'ovAnswer' : 'ovAnswerLargest', { path: link, size: size(largest.s), percent: percent(shareOf(largest.s, doc.meta.used)) }));
}

function capacity(doc: ResultDoc, remote: boolean): HTMLElement | null {
  const space = spaceOf(doc);
  if (space.size <= 0) return null;
  // Sparse and compressed files free less than their size, so the deleted bytes may exceed what the bar
  // has room for; the legend shows the real figure.
  const rows: [string, string, number, number][] = [
    ['used', t('ovScanned'), space.used, space.used], ['other', t('ovOther'), space.other, space.other],
    ['binned', t('ovBinned'), space.binned, doc.meta.binned], ['freed', t('ovFreed'), space.freed, doc.meta.freed],
    ['free', t('ovFree'), space.free, space.free],
  ];
  const seen = rows.filter(([, , , real]) => real > 0);
  const bar = el('div', { class: 'capacity', 'aria-hidden': 'true' }, seen.filter(([name]) => name !== 'free').map(([name, , bytes]) => {
    const part = el('span', { class: `${name} moves` });
    part.style.width = `${shareOf(bytes, space.size) * 100}%`;
    return part;
  }));
  return panel(
    el('div', { class: 'line' }, el('h2', {}, t('ovCapacity')), el('span', { class: 'muted push' }, t('freeOf', { free: size(space.free + space.freed), size: size(space.size) }))),
    bar, el('ul', { class: 'legend small' }, seen.map(([name, label, , real]) => el('li', {}, el('span', { class: `key ${name}` }), label, ' ', el('strong', {}, size(real))))),
    remote ? null : el('div', { class: 'actions' }, button(t('emptyBin'), openEmptyBin, { icon: 'broom' })));
}

function figures(job: Job, doc: ResultDoc): HTMLElement {
  const { meta } = doc;
  const fact = (label: string, value: string): HTMLElement => el('div', {}, el('dt', {}, label), el('dd', {}, value));
  const why = job.noTurbo && meta.method === METHOD.walk && (isDrive(job) || job.noTurbo.startsWith(FILE_TABLE)) ? t('turboOff', { why: turboReason(job.noTurbo) }) : null;
  return panel(
    el('dl', { class: 'figures' },
      fact(t('colSize'), size(meta.used)), fact(t('colFiles'), count(meta.files)), fact(t('ovFolders'), count(meta.dirs)),
      fact(t('ovTime'), seconds(meta.seconds)), fact(t('ovHow'), phrase('how_', meta.method)), isRemote(job) ? fact(t('ovHost'), shown(meta.host)) : null),
    why ? el('p', { class: 'small muted' }, why) : null,
    meta.denied > 0 ? el('details', {}, el('summary', {}, t('ovDeniedText', { n: meta.denied })), el('p', { class: 'small muted' }, t('ovDeniedWhy'))) : null,
    meta.skipped > 0 ? el('p', { class: 'small muted' }, t(isRemote(job) ? 'ovSkippedHost' : 'ovSkipped', { n: meta.skipped })) : null);
}

interface Bar {
  label: HTMLElement;
  bytes: number;
  open: () => void;
}

function bars(title: string, list: Bar[], whole: number, all: () => void, key: string): HTMLElement[] {
  if (list.length === 0) return [];
  return [
    el('div', { class: 'line' }, el('h2', {}, title), button(t('ovAll'), all, { class: 'plain push', label: `${t('ovAll')}: ${title}` })),
    el('ol', { class: 'bars' }, list.map((bar, index) => el('li', {},
      linkButton(bar.label, bar.open, { 'data-key': `${key}${index}` }), el('span', { class: 'number' }, size(bar.bytes)), meter(shareOf(bar.bytes, whole)))))];
}

function make(job: Job, doc: ResultDoc): ResultScreen {
  const found = el('div', {});
  const largest = panel();
  let shownEntries: readonly Entry[] | null = null;
  const showFolders = (): void => {
    const { entries } = rootOf(job);
    if (entries === shownEntries) return;
    shownEntries = entries;
    fill(found, answer(job, doc));
    const folders = contentsOf(rootOf(job)).folders
      .map((entry): Bar => ({ label: inert(entry.name), bytes: entry.s, open: () => openPath(entry.path) }));
    largest.hidden = folders.length === 0;
    fill(largest, bars(t('ovLargest'), folders, doc.meta.used, () => goTo('explorer'), 'folder'));
  };
  showFolders();
  // The result leaves out small folders, which may be all there are.
  void loadFolder(job.id, rootOf(job).root.path);
  const files = doc.files.slice(0, LISTED).map((file): Bar => ({ label: cutPath(file.p), bytes: file.s, open: () => openInExplorer(file.p) }));
  const types = doc.exts.slice(0, LISTED).map((type): Bar => ({ label: inert(typeName(type.e)), bytes: type.s, open: () => {
    state.type = type.e;
    goTo('types');
  } }));
  const won = Math.min(winnable(doc.advice), doc.meta.used);
  const adviceBars = doc.advice.slice(0, LISTED).map((finding): Bar => ({
    label: el('span', {}, phrase('a_', finding.code)), bytes: finding.bytes, open: () => {
      state.finding = finding.code;
      changed('view');
      goTo('advice');
    },
  }));
  const csv = (what: string, label: string): HTMLElement =>
    el('a', { class: 'button plain', href: linkTo('/api/export', { id: job.id, what }), download: `vorda-${fileNameOf(nameOf(job))}-${what}.csv` }, icon('download'), label);
  return {
    top: el('div', { class: 'actions push' },
      button(t('rescan'), () => void rescan(job), { icon: 'refresh' }),
      button(t('scanForget'), () => void forgetScan(job.id), { class: 'plain' })),
    content: [
      el('div', { class: 'stack' }, found, won > 0 ? el('p', {}, t('ovWin', { size: size(won) })) : null),
      capacity(doc, isRemote(job)),
      doc.account && knowsDisk(job.id) ? accountPanel(job, doc.account) : null,
      figures(job, doc),
      el('div', { class: 'columns' },
        largest,
        adviceBars.length > 0 ? panel(bars(t('secAdvice'), adviceBars, doc.meta.used, () => goTo('advice'), 'advice'))
          : panel(el('h2', {}, t('secAdvice')), el('p', { class: 'muted' }, t('adEmpty'))),
        types.length > 0 ? panel(bars(t('ovTypes'), types, doc.meta.used, () => goTo('types'), 'type')) : null,
        files.length > 0 ? panel(bars(t('secLargest'), files, doc.meta.used, () => goTo('largest'), 'file')) : null),
      el('section', { class: 'stack' }, el('h2', {}, t('export')), el('div', { class: 'actions' },
        csv('files', t('exportFiles')), csv('types', t('exportTypes')), csv('advice', t('exportAdvice')))),
    ],
    update: (changes) => {
      if (changes.has('tree')) showFolders();
    },
  };
}

export const overview = (): Screen => resultScreen('secOverview', make);
