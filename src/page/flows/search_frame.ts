// What the sections of both searches have in common: form, progress, notes, and a list of results that
// is there while there are any.
import type { Running } from '../core/answers';
import { failure, t } from '../core/i18n';
import { nameOf } from '../core/job';
import { searchable } from '../data/jobs';
import type { BackgroundRun } from '../data/runs';
import { goTo } from '../data/state';
import type { PlainKey } from '../lang/shape';
import { button, el, fill, heading, panel, rest, setAttribute, setText, type Child } from '../ui/dom';
import { emptyState } from '../ui/notices';
import { announce } from '../ui/toast';
import { detailsButton } from './details';
import type { Changes, Screen } from './screen';

export interface ResultList<H> {
  open: () => Child; // before the first hits are shown: what to put on the page
  show: (hits: readonly H[]) => void;
  close: () => void; // there are no hits any more
  leave: () => void;
}

export interface Progress {
  share: number;
  words: string;
  more: string; // what is not read out with the bar
}

export interface Search<A extends Running, H> {
  title: PlainKey;
  intro: PlainKey;
  go: { text: PlainKey; icon: string };
  run: BackgroundRun<A>;
  answer: () => A | null;
  start: () => Promise<string>; // returns the text of a problem, or ''
  form: (go: HTMLElement, begin: () => void, scans: HTMLElement) => Child;
  scans: () => HTMLElement; // the choice of scans, made again when there are others
  progress: (answer: A) => Progress;
  found: (answer: A) => string;
  notes: (answer: A | null) => Child;
  hitsOf: (answer: A) => readonly H[] | undefined;
  list: ResultList<H>;
}

const nothingToSearch = (): HTMLElement =>
  emptyState(t('fiNoScans'), t('fiNoScansText'), button(t('chooseTarget'), () => goTo('picker'), { class: 'first', icon: 'picker' }));

export class SearchFrame<A extends Running, H> implements Screen {
  readonly root: HTMLElement;
  readonly detailed = true;
  readonly #problem = el('p', { class: 'wrong', role: 'alert' });
  readonly #status = el('p');
  readonly #notes = el('div', { class: 'stack small muted' });
  readonly #done = el('span', { class: 'moves' });
  readonly #bar: HTMLElement;
  readonly #formPlace = el('div', {});
  readonly #results = el('div', { class: 'stack results' });
  readonly #stop: HTMLButtonElement;
  readonly #go: HTMLButtonElement;
  #shownHits: readonly H[] | undefined;
  #listOpen = false;
  readonly #scans = el('div', {});
  #scansShown = '';
  #formShown: boolean | null = null;
  #wasRunning = false;
  readonly #search: Search<A, H>;

  constructor(search: Search<A, H>) {
    this.#search = search;
    const { title, intro, go, run } = search;
    this.#bar = el('div', { class: 'progress', role: 'progressbar', 'aria-label': t(title) }, this.#done);
    this.#stop = button(t('fiStop'), () => void run.stop(), { icon: 'stop' });
    this.#go = button(t(go.text), () => void this.#begin(), { icon: go.icon, class: 'first' });
    this.root = el('div', { class: 'screen fills' },
      el('div', { class: 'top' }, heading(t(title)), el('span', { class: 'muted' }, t(intro)), detailsButton()),
      this.#formPlace, el('div', { class: 'line' }, this.#status, el('span', { class: 'push' }, this.#stop)), this.#bar, this.#notes, this.#results);
    this.#showAll();
    void run.followOnce();
  }

  update(changes: Changes): void {
    // A saved search or another section has filled in the form.
    if (changes.has('section')) this.#formShown = null;
    if (changes.has('section') || changes.has(this.#search.run.change) || changes.has('jobs') || changes.has('results')) this.#showAll();
  }

  leave(): void {
    this.#search.list.leave();
  }

  async #begin(): Promise<void> {
    setText(this.#problem, await this.#search.start());
  }

  #showAll(): void {
    const answer = this.#search.answer();
    this.#showForm();
    this.#showStatus(answer);
    fill(this.#notes, this.#search.notes(answer));
    this.#showHits(answer ? this.#search.hitsOf(answer) : undefined);
  }

  #showForm(): void {
    const scans = searchable();
    const named = JSON.stringify(scans.map((job) => [job.id, nameOf(job)]));
    if (named !== this.#scansShown) fill(this.#scans, this.#search.scans());
    this.#scansShown = named;
    const possible = scans.length > 0;
    if (possible === this.#formShown) return;
    this.#formShown = possible;
    const focused = this.#formPlace.contains(document.activeElement);
    fill(this.#formPlace, possible ? panel(this.#search.form(this.#go, () => void this.#begin(), this.#scans), this.#problem) : nothingToSearch());
    if (focused) this.#formPlace.querySelector('button')?.focus();
  }

  #showStatus(answer: A | null): void {
    const [search, status] = [this.#search, this.#status];
    const running = answer?.running === true;
    rest(this.#go, running);
    if (!running && document.activeElement === this.#stop) this.#go.focus();
    this.#bar.hidden = this.#stop.hidden = !running;
    if (!answer) setText(status, '');
    else if (running) setText(status, this.#showProgress(search.progress(answer)));
    else if (answer.error) setText(status, failure(answer.error));
    else setText(status, search.hitsOf(answer) ? search.found(answer) : '');
    if (this.#wasRunning && !running && status.textContent && !answer?.error) announce(status.textContent);
    this.#wasRunning = running;
  }

  #showProgress({ share, words, more }: Progress): string {
    this.#done.style.width = `${share * 100}%`;
    setAttribute(this.#bar, 'aria-valuenow', Math.round(share * 100));
    setAttribute(this.#bar, 'aria-valuetext', words);
    return more ? `${words}, ${more}` : words;
  }

  #showHits(hits: readonly H[] | undefined): void {
    if (hits === this.#shownHits) return;
    this.#shownHits = hits;
    const { list } = this.#search;
    const any = hits !== undefined && hits.length > 0;
    if (any !== this.#listOpen) fill(this.#results, any ? list.open() : null);
    this.#listOpen = any;
    if (any) list.show(hits);
    else list.close();
  }
}
