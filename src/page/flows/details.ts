// The details pane: the chosen folder or file in full.
import { date, percent, phrase, size, t } from '../core/i18n';
import { isRemote } from '../core/job';
import { baseName, joinPath } from '../core/paths';
import { isFolder, isItem, type Entry } from '../core/entry';
import { shareOf } from '../core/units';
import { linkTo } from '../data/api';
import { loadFiles } from '../data/folders';
import { viewJob } from '../data/jobs';
import { jobOnView, knowsDisk, listen, state, treeOf } from '../data/state';
import { fileFacts, ownSizes } from './file_facts';
import { mayOpen, openWith } from './item_actions';
import { button, choice, el, fact, fill, inert, iconButton, wholePath } from '../ui/dom';
import { copyText } from '../ui/toast';
import { openDeletion } from './deletion';
import { toggleMark } from './marks';
import { openInExplorer, openInMap, reveal } from './places';

const LISTED_FILES = 30;
const FETCH_MS = 250;

// A file that a search found, in any scan.
interface Found {
  p: string;
  m: number;
  job: number;
  lock?: string;
  names?: string[];
}

const IMAGE = /\.(png|jpe?g|jfif|gif|webp|bmp)$/i;

// Only of duplicates, and only where the program shows files of the machine it runs on. What is no image after
// all leaves no trace.
function preview({ p, names }: Found): HTMLElement | null {
  if (!names || !state.hello.canQuit || !IMAGE.test(p)) return null;
  if (pane.image?.path === p) return pane.image.element;
  const image = el('img', { class: 'preview', alt: '', src: linkTo('/api/preview', { p }), on: { error: () => image.remove() } });
  pane.image = { path: p, element: image };
  return image;
}

const pane = { root: null as HTMLElement | null, entry: null as Entry | null, found: null as Found | null, job: 0, timer: 0, frame: 0, image: null as { path: string; element: HTMLElement } | null };

export function detailsPane(): HTMLElement {
  pane.entry = null;
  pane.found = null;
  pane.root = el('aside', { class: 'details', 'aria-label': t('details'), on: { keydown: (event) => {
    if (event.key === 'Escape' && pane.root?.classList.contains('open')) toggleDrawer();
  } } });
  draw();
  return pane.root;
}

// While a key is held down to go through rows, only the last row is drawn.
function drawSoon(): void {
  clearTimeout(pane.timer);
  cancelAnimationFrame(pane.frame);
  pane.frame = requestAnimationFrame(() => {
    pane.frame = requestAnimationFrame(draw);
  });
}

// Shows an entry of the scan on view. A folder's files are fetched after a short delay.
export function showDetails(entry: Entry | null): void {
  pane.entry = entry;
  pane.found = null;
  const job = state.view;
  pane.job = job;
  drawSoon();
  if (entry && isFolder(entry)) pane.timer = window.setTimeout(() => void loadFiles(job, entry.path), FETCH_MS);
}

export function showHit(found: Found, bytes: number): void {
  pane.entry = { kind: 'file', path: found.p, name: baseName(found.p), s: bytes, f: 1, n: 0, m: found.m };
  pane.found = found;
  drawSoon();
}

// A hit may be in another scan than the one on view.
function openOf({ job, p }: Found, open: (path: string) => void): void {
  viewJob(job);
  open(p);
}

function drawHit(root: HTMLElement, { path, name, s, m }: Entry, found: Found, close: HTMLElement): void {
  const names = found.names ?? [];
  fill(root, el('div', { class: 'stack wide' },
    el('div', { class: 'line' }, el('h2', {}, inert(name.slice(0, 200))), close), preview(found),
    el('dl', {}, fact(t('colSize'), size(s)), m > 0 ? fact(t('colDate'), date(m)) : null, fact(t('dtPath'), wholePath(path))),
    found.lock ? el('p', { class: 'small' }, t('locked', { why: phrase('r_', found.lock) })) : null,
    el('div', { class: 'actions' },
      button(t('copyPath'), () => void copyText(path, t('copied')), { icon: 'copy' }),
      button(t('reveal'), () => void reveal(path), { icon: 'reveal' }),
      state.results.has(found.job) ? button(t('dtOpenExplorer'), () => openOf(found, openInExplorer), { icon: 'explorer' }) : null,
      state.results.has(found.job) ? button(t('dtOpenMap'), () => openOf(found, openInMap), { icon: 'map' }) : null),
    names.length > 0 ? el('section', { class: 'stack' }, el('p', { class: 'small muted' }, t('acHard', { n: names.length })),
      el('ul', { class: 'small' }, names.slice(0, LISTED_FILES).map((one) => el('li', {}, wholePath(one))))) : null));
}

// On narrow windows the pane is a drawer: the focus moves into it and back.
export function toggleDrawer(): void {
  if (pane.root?.classList.toggle('open')) pane.root.querySelector('button')?.focus();
  else document.querySelector<HTMLElement>('.content .button.shut')?.focus();
}

export const detailsButton = (): HTMLElement => button(t('details'), toggleDrawer, { icon: 'info', class: 'shut push' });

function filesOf(entry: Entry): HTMLElement | null {
  const files = treeOf(pane.job)?.filesOf(entry.path);
  if (!files) return null;
  if (files.files.length === 0) return el('p', { class: 'small muted' }, t('dtFilesNone'));
  const more = files.total - Math.min(files.files.length, LISTED_FILES);
  return el('section', { class: 'stack' }, el('h3', {}, t('dtFilesHere')),
    el('ul', { class: 'files' }, files.files.slice(0, LISTED_FILES).map((file) => {
      const path = joinPath(entry.path, file.n);
      return el('li', {}, choice('checkbox', inert(file.n), { checked: state.selection.has(path), on: { change: () => toggleMark(path, file.s) } }),
        el('span', { class: 'number' }, size(file.s)));
    })),
    more > 0 ? el('p', { class: 'small muted' }, t('dtMoreFiles', { n: more })) : null);
}

function draw(): void {
  const { root, entry } = pane;
  if (!root) return;
  const close = iconButton('remove', t('close'), toggleDrawer, { class: 'shut push' });
  if (!entry || !isItem(entry)) {
    fill(root, el('div', { class: 'stack' }, el('div', { class: 'line' }, el('h2', {}, t('details')), close), el('p', { class: 'muted' }, t('dtNone'))));
    return;
  }
  if (pane.found) {
    drawHit(root, entry, pane.found, close);
    return;
  }
  drawEntry(root, entry, close);
}

function drawEntry(root: HTMLElement, entry: Entry, close: HTMLElement): void {
  const tree = treeOf(pane.job);
  const remote = isRemote(jobOnView());
  const isRoot = entry.path === tree?.root.path;
  const parent = isRoot ? undefined : tree?.find(tree.folderOf(entry.path));
  const marked = state.selection.has(entry.path);
  const { path } = entry;
  fill(root, el('div', { class: 'stack wide' },
    el('div', { class: 'line' }, el('h2', {}, inert(entry.name.slice(0, 200))), close),
    el('dl', {},
      fact(t('colSize'), size(entry.s)),
      isFolder(entry) ? fact(t('colFiles'), t('nFiles', { n: entry.f })) : null,
      ownSizes(entry),
      parent ? fact(t('dtShare'), percent(shareOf(entry.s, parent.s))) : null,
      entry.m > 0 ? fact(t('colDate'), date(entry.m)) : null,
      fact(t('dtPath'), wholePath(path))),
    el('div', { class: 'actions' },
      button(t('copyPath'), () => void copyText(path, t('copied')), { icon: 'copy' }),
      remote ? null : button(t('reveal'), () => void reveal(path), { icon: 'reveal' }),
      remote || !mayOpen() ? null : button(t('miOpen'), () => void openWith('open', path), { icon: isFolder(entry) ? 'folder' : 'file' }),
      state.section === 'map' ? button(t('dtOpenExplorer'), () => openInExplorer(path), { icon: 'explorer' }) : button(t('dtOpenMap'), () => openInMap(path), { icon: 'map' })),
    remote ? el('p', { class: 'small muted' }, t('dtRemote')) : null,
    remote || isRoot ? null : el('div', { class: 'actions' },
      button(marked ? t('dtUnmark') : t('dtMark'), () => toggleMark(path, entry.s), { icon: 'check', 'aria-pressed': String(marked) }),
      button(`${t('delete')}…`, () => openDeletion([path]), { icon: 'bin', class: 'danger' })),
    isFolder(entry) ? filesOf(entry) : !remote && knowsDisk(pane.job) ? fileFacts(pane.job, path) : null));
}

listen((changes) => {
  if (!pane.root?.isConnected) return;
  if (changes.has('view')) pane.entry = null;
  if (changes.has('results') && pane.entry && !pane.found) pane.entry = treeOf(state.view)?.find(pane.entry.path) ?? null;
  if (changes.has('view') || changes.has('results') || changes.has('details') || changes.has('selection')) {
    // Redrawing must not take the focus from a control inside.
    const focused = [...pane.root.querySelectorAll('button, input')].indexOf(document.activeElement as Element);
    draw();
    if (focused >= 0) (pane.root.querySelectorAll<HTMLElement>('button, input')[focused] ?? pane.root.querySelector<HTMLElement>('button'))?.focus();
  }
});
