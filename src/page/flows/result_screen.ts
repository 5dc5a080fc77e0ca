// A section about the scan on view: waits for its result, shows why there is none, and is built again
// when there is another one.
import type { Job, ResultDoc } from '../core/answers';
import { failure, percent, phrase, size, t } from '../core/i18n';
import { hasFailed, isStopping, nameOf, paceText, progressText, shareRead, statusText } from '../core/job';
import { shareOf } from '../core/units';
import { cancelScan, fetchResult, rescan } from '../data/jobs';
import { goTo, jobOnView, resultOnView, state } from '../data/state';
import type { PlainKey } from '../lang/shape';
import { append, button, el, fill, heading, inert, meter, rest, setAttribute, setText, type Child } from '../ui/dom';
import { emptyState, failureNotice, warningNotice } from '../ui/notices';
import type { Changes, Screen } from './screen';

export interface ResultScreen {
  content: Child;
  top?: Child; // beside the heading
  update?: (changes: Changes, doc: ResultDoc) => void;
  leave?: () => void;
  keeps?: boolean; // takes a new result of the same scan without being built again
}

export type MakeResultScreen = (job: Job, doc: ResultDoc) => ResultScreen;

interface ProgressPanel {
  root: HTMLElement;
  update: (job: Job) => void;
}

// A running scan with its live figures.
function progressPanel(job: Job): ProgressPanel {
  const status = el('p', {});
  const figures = el('p', { class: 'answer' });
  const current = el('p', { class: 'small muted' });
  const pace = el('p', { class: 'muted' });
  const done = el('span', { class: 'moves' });
  const bar = el('div', { class: 'progress unknown', role: 'progressbar', 'aria-label': nameOf(job) }, done);
  const tops = el('ol', { class: 'bars' });
  const stop = button(t('scanStop'), () => void cancelScan(job.id), { icon: 'stop' });
  const root = el('div', { class: 'panel stack wide' }, el('h2', {}, inert(nameOf(job))), figures, bar, pace, status, current, el('div', {}, stop), tops);
  const update = (now: Job): void => {
    const share = shareRead(now, state.targets?.drives ?? []);
    setText(figures, share === null ? progressText(now) : `${percent(share)}, ${progressText(now)}`);
    setText(pace, paceText(now));
    bar.classList.toggle('unknown', share === null);
    setAttribute(bar, 'aria-valuenow', share === null ? null : Math.round(share * 100));
    done.style.width = share === null ? '' : `${share * 100}%`;
    const { top = [] } = now;
    const largest = top[0]?.s ?? 0;
    fill(tops, top.map(({ n, s }) => el('li', {}, inert(n.slice(0, 200)), el('span', { class: 'number' }, size(s)), meter(shareOf(s, largest)))));
    setText(status, statusText(now));
    bar.setAttribute('aria-valuetext', figures.textContent ?? '');
    current.replaceChildren(inert(now.current.slice(0, 300)));
    rest(stop, isStopping(now));
  };
  update(job);
  return { root, update };
}

const noScan = (): HTMLElement =>
  emptyState(t('noScanTitle'), t('noScanText'), button(t('chooseTarget'), () => goTo('picker'), { class: 'first', icon: 'picker' }));

// Why a scan has no result, and what can be done about it.
function noResult(job: Job, lost: string | undefined): HTMLElement {
  const failed = hasFailed(job);
  const cause = failed ? failure(job.error) : lost ?? '';
  const again = failed ? (): void => void rescan(job) : (): void => void fetchResult(job.id);
  return el('div', { class: 'stack' }, failed ? null : el('p', {}, t('resultFailed')), failureNotice(cause, again, `${job.path}\n${job.error || cause}`));
}

class ResultSection implements Screen {
  readonly root: HTMLElement;
  readonly #top = el('div', { class: 'top' });
  #shownFor = '';
  #shownDoc: ResultDoc | undefined;
  #inner: ResultScreen | null = null;
  #panel: ProgressPanel | null = null;
  readonly #title: PlainKey;
  readonly #make: MakeResultScreen;

  constructor(title: PlainKey, make: MakeResultScreen, fills: boolean, readonly detailed: boolean, readonly drawer: boolean) {
    this.#title = title;
    this.#make = make;
    this.root = el('div', { class: fills ? 'screen fills' : 'screen' }, this.#top);
    this.update(new Set());
  }

  update(changes: Changes): void {
    const job = jobOnView();
    const doc = resultOnView();
    const lost = state.resultErrors.get(state.view);
    const kind = !job ? 'none' : doc ? 'result' : hasFailed(job) || lost !== undefined ? 'lost' : 'waiting';
    const wanted = `${kind} ${state.view} ${kind === 'lost' ? lost : ''} ${job?.gone ?? ''}`;
    if (wanted === this.#shownFor && (doc === this.#shownDoc || this.#inner?.keeps)) {
      this.#shownDoc = doc;
      if (job) this.#panel?.update(job);
      if (doc) this.#inner?.update?.(changes, doc);
      return;
    }
    this.leave();
    this.#shownFor = wanted;
    this.#shownDoc = doc;
    if (!job) this.#show(noScan());
    else if (doc) this.#showResult(job, doc);
    else if (kind === 'lost') this.#show(noResult(job, lost));
    else this.#showProgress(job);
  }

  leave(): void {
    this.#inner?.leave?.();
    this.#inner = null;
    this.#panel = null;
  }

  #showResult(job: Job, doc: ResultDoc): void {
    try {
      this.#inner = this.#make(job, doc);
    } catch (error) {
      this.#show(failureNotice(t('unexpected'), () => void fetchResult(job.id), `${job.path}\n${String(error)}`));
      return;
    }
    this.#show([
      job.gone ? warningNotice(t('rootGone')) : null,
      doc.meta.partial ? warningNotice(phrase('ovPartial_', doc.meta.partial)) : null,
      this.#inner.content,
    ], this.#inner.top);
  }

  #showProgress(job: Job): void {
    this.#panel = progressPanel(job);
    this.#show(this.#panel.root);
  }

  // The focus stays on the same control, or else goes to the heading.
  #show(content: Child, beside?: Child): void {
    const active = this.root.contains(document.activeElement) ? document.activeElement : null;
    const key = active && (active.id || active.getAttribute('data-key'));
    const title = heading(t(this.#title));
    this.#top.replaceChildren(title);
    append(this.#top, beside);
    this.root.replaceChildren(this.#top);
    append(this.root, content);
    if (active) (this.root.querySelector<HTMLElement>(`[data-key="${CSS.escape(key ?? '')}"]`) ?? title).focus();
  }
}

export const resultScreen = (title: PlainKey, make: MakeResultScreen, options: { fills?: boolean; detailed?: boolean; drawer?: boolean } = {}): Screen =>
  new ResultSection(title, make, options.fills === true, options.detailed === true, options.drawer === true);
