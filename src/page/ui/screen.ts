// What a section is, and what all sections about one scan have in common.
import type { Job, ResultDoc } from '../core/answers';
import { failure, phrase, t } from '../core/i18n';
import type { PlainKey } from '../lang/shape';
import { button, el, heading, icon, inert, rest, setText, type Child } from './dom';
import { cancelScan, fetchResult, isRunning, nameOf, progressText, rescan } from './jobs';
import { changed, jobOnView, resultOnView, state, type Change } from './state';
import { copyText } from './toast';

export interface Screen {
  root: HTMLElement;
  update?: (changes: ReadonlySet<Change>) => void;
  leave?: () => void;
  detailed?: boolean; // has the details pane beside it
}

export function goTo(section: typeof state.section): void {
  state.section = section;
  changed('section');
}

export const emptyState = (title: string, text: string, ...actions: Child[]): HTMLElement =>
  el('div', { class: 'empty' }, el('h2', {}, title), el('p', { class: 'text muted' }, text), el('div', { class: 'actions' }, actions));

export const noScanState = (): HTMLElement =>
  emptyState(t('noScanTitle'), t('noScanText'), button(t('chooseTarget'), () => goTo('picker'), { class: 'first', icon: 'picker' }));

// A failure where it happened: the cause, another try, and details that can be copied.
export const failureNotice = (cause: string, retry: (() => void) | null, detail: string): HTMLElement =>
  el('div', { class: 'notice failed', role: 'alert' }, icon('warning'), el('div', { class: 'stack' }, el('p', {}, cause),
    el('div', { class: 'actions' },
      retry ? button(t('retry'), retry, { icon: 'refresh' }) : null,
      button(t('copyDetail'), () => void copyText(detail, t('copied')), { icon: 'copy', class: 'plain' }))));

export const statusText = (job: Job): string => (job.status ? phrase('s_', job.status) : t('stScanning'));

interface Following {
  root: HTMLElement;
  update: (job: Job) => void;
}

// A scan on its way, figures running.
function progressPanel(job: Job): Following {
  const status = el('p', {});
  const figures = el('p', { class: 'answer' });
  const current = el('p', { class: 'small muted' });
  const bar = el('div', { class: 'progress unknown', role: 'progressbar', 'aria-label': nameOf(job) }, el('span'));
  const stop = button(t('scanStop'), () => void cancelScan(job.id), { icon: 'stop' });
  const root = el('div', { class: 'panel stack wide' }, el('h2', {}, inert(nameOf(job))), figures, bar, status, current, el('div', {}, stop));
  const update = (now: Job): void => {
    setText(figures, progressText(now));
    setText(status, now.state === 'cancelled' ? t('stCancelled') : statusText(now));
    bar.setAttribute('aria-valuetext', progressText(now));
    current.replaceChildren(inert(now.current.slice(0, 300)));
    rest(stop, now.state === 'cancelled');
  };
  update(job);
  return { root, update };
}

export interface ResultScreen {
  content: Child;
  top?: Child; // beside the heading
  update?: (changes: ReadonlySet<Change>, doc: ResultDoc) => void;
  leave?: () => void;
  keeps?: boolean; // takes a fresh result of the same scan without being made anew
}

// A section about the scan on view: waits for its result, shows why there is none, and makes the
// section anew when another result comes.
export function resultScreen(title: PlainKey, make: (job: Job, doc: ResultDoc) => ResultScreen, options: { fills?: boolean; detailed?: boolean } = {}): Screen {
  const top = el('div', { class: 'top' });
  const root = el('div', { class: options.fills ? 'screen fills' : 'screen' }, top);
  let shownFor = '';
  let shownDoc: ResultDoc | undefined;
  let inner: ResultScreen | null = null;
  let following: Following | null = null;

  const show = (beside: Child, content: Child): void => {
    const hadFocus = root.contains(document.activeElement) ? document.activeElement?.id || document.activeElement?.getAttribute('data-key') : null;
    const titleElement = heading(t(title));
    top.replaceChildren(titleElement);
    if (beside) top.append(...(Array.isArray(beside) ? beside : [beside]) as Node[]);
    root.replaceChildren(top);
    for (const node of Array.isArray(content) ? content : [content]) if (node instanceof Node) root.append(node);
    if (hadFocus !== null) (root.querySelector<HTMLElement>(`[data-key="${CSS.escape(hadFocus ?? '')}"]`) ?? titleElement).focus();
  };

  const update = (changes: ReadonlySet<Change>): void => {
    const job = jobOnView();
    const doc = resultOnView();
    const error = state.resultErrors.get(state.view);
    const kind = !job ? 'none' : doc ? 'done' : job.state === 'error' ? 'error' : error ? 'lost' : isRunning(job) ? 'running' : 'waiting';
    const wanted = `${kind} ${state.view}`;
    if (wanted === shownFor && (doc === shownDoc || inner?.keeps)) {
      shownDoc = doc;
      if (job) following?.update(job);
      if (doc) inner?.update?.(changes, doc);
      return;
    }
    inner?.leave?.();
    inner = null;
    following = null;
    shownFor = wanted;
    shownDoc = doc;
    if (!job) return show(null, noScanState());
    if (doc) {
      try {
        inner = make(job, doc);
      } catch (thrown) {
        return show(null, failureNotice(t('unexpected'), () => void fetchResult(job.id), `${job.path}\n${String(thrown)}`));
      }
      return show(inner.top, inner.content);
    }
    if (kind === 'running' || kind === 'waiting') {
      following = progressPanel(job);
      return show(null, following.root);
    }
    const cause = kind === 'error' ? failure(job.error) : error ?? '';
    const again = kind === 'error' ? (): void => void rescan(job) : (): void => void fetchResult(job.id);
    return show(null, el('div', { class: 'stack' }, kind === 'lost' ? el('p', {}, t('resultFailed')) : null,
      failureNotice(cause, again, `${job.path}\n${job.error || cause}`)));
  };
  update(new Set());
  return { root, update, leave: () => inner?.leave?.(), detailed: options.detailed };
}
