// Choosing what to scan: drives, Linux distributions, a folder, a host.
import type { Job, Targets } from '../../core/answers';
import { parts, t } from '../../core/i18n';
import { isHost } from '../../core/job';
import { kindOf, sameTarget } from '../../core/paths';
import { KIND, NO_RIGHTS } from '../../core/words';
import { onKeyNeeded } from '../../data/api';
import { hosts } from '../../data/hosts';
import { state } from '../../data/state';
import { elevateButton, mayElevate } from '../../flows/elevate';
import { keyText } from '../../flows/key_dialog';
import type { Changes, Screen } from '../../flows/screen';
import { button, el, field, fill, heading, icon, inert, loading, onEnter, panel, setText } from '../../ui/dom';
import { emptyState, warningNotice } from '../../ui/notices';
import { folderBrowser } from './browser';
import { hostFacts, hostTarget } from './hosts';
import { driveTarget, scan, target, type Target } from './targets';

// A field with a button that scans what was typed; an empty field is reported beside it.
function typed(label: string, hint: string, input: HTMLInputElement, words: string, start: (text: string) => void, extra: HTMLElement[]): HTMLElement {
  const wrong = el('p', { class: 'small wrong', role: 'alert' });
  const go = (): void => {
    const text = input.value.trim();
    setText(wrong, text ? '' : t('pathMissing'));
    input.toggleAttribute('aria-invalid', !text);
    if (text) start(text);
    else input.focus();
  };
  onEnter(input, go);
  return el('div', { class: 'stack' }, el('div', { class: 'form' }, field(label, input, { hint }), extra, button(words, go)), wrong);
}

// Says that the path in the field below was not entered by the user.
const proposal = (path: string): HTMLElement | null =>
  path ? warningNotice(parts('proposed', { path: inert(path) })) : null;

function folderPart(proposed: string): HTMLElement {
  const input = el('input', { type: 'text', class: 'input', autocomplete: 'off', spellcheck: 'false', value: proposed });
  return el('div', { class: 'stack' }, proposal(proposed),
    typed(t('folderPath'), t('folderHint'), input, t('scanFolder'), (path) => void scan(path, kindOf(path), path), []),
    folderBrowser(input));
}

function sshPart(proposed: string): HTMLElement {
  const input = el('input', { type: 'text', class: 'input', autocomplete: 'off', spellcheck: 'false', autocapitalize: 'off', value: proposed });
  const password = el('input', { type: 'password', class: 'input', autocomplete: 'off' });
  input.addEventListener('change', () => {
    password.value = state.passwords.get(input.value.trim()) ?? '';
  });
  const start = (host: string): void => {
    if (password.value) state.passwords.set(host, password.value);
    else state.passwords.delete(host);
    void scan(host, KIND.ssh, host);
  };
  return el('div', { class: 'stack' }, proposal(proposed),
    typed(t('sshTarget'), t('sshHint'), input, t('scanHost'), start, [field(t('sshPassword'), password, { hint: t('sshPasswordHint') })]));
}

const listOf = (targets: Target[]): HTMLElement => el('ul', { class: 'targets' }, targets.map((one) => one.root));

const group = (title: string, targets: Target[], empty?: string): HTMLElement =>
  panel(el('h2', {}, title), listOf(targets), empty && targets.length === 0 ? el('p', { class: 'muted' }, empty) : null);

const keyMissing = (): HTMLElement =>
  emptyState(t('keyTitle'), keyText(), button(t('keyGo'), () => onKeyNeeded.ask(false), { icon: 'key' }));

const rightsNotice = (): HTMLElement =>
  el('div', { class: 'notice' }, icon('shield'), el('div', { class: 'stack' }, el('p', {}, t('elevateWhy')), el('div', {}, elevateButton())));

// Scans of folders and hosts that are not listed as targets of their own.
function otherScans(): Job[] {
  const listed = [...state.targets?.drives ?? [], ...state.targets?.wsl ?? []].map((one) => one.path);
  return state.jobs.filter((job) => ![...listed, state.targets?.home ?? ''].some((path) => sameTarget(path, job.path)));
}

class Picker implements Screen {
  readonly root: HTMLElement;
  readonly #search = el('input', { type: 'search', class: 'input filter', placeholder: t('pickSearch'), 'aria-label': t('pickSearch'), on: { input: () => this.#filter() } });
  readonly #none = el('p', { class: 'muted', role: 'status' });
  readonly #groups = el('div', { class: 'stack wide' });
  readonly #folders = el('ul', { class: 'targets' });
  readonly #hosts = el('ul', { class: 'targets' });
  #targets: Target[] = [];
  #othersShown = ''; // ids of the scans listed besides the targets

  constructor() {
    this.root = el('div', { class: 'screen' }, el('div', { class: 'top' }, heading(t('pickTitle')), el('span', { class: 'push' }, this.#search)), this.#none, this.#groups);
    this.#build();
  }

  update(changes: Changes): void {
    if (changes.has('targets') || changes.has('session')) this.#build();
    if (!changes.has('jobs')) return;
    this.#listOthers();
    for (const one of this.#targets) one.update();
  }

  #build(): void {
    if (state.targets) this.#buildGroups(state.targets);
    else fill(this.#groups, state.hello.auth ? keyMissing() : loading());
  }

  #buildGroups(known: Targets): void {
    const drives = known.drives.map(driveTarget);
    const wsl = known.wsl.map((one) => target({ icon: 'wsl', name: one.name, path: one.path, kind: KIND.wsl, under: [] }));
    const home = known.home ? [target({ icon: 'folder', name: t('homeFolder'), path: known.home, kind: KIND.folder, under: [el('p', { class: 'small muted' }, inert(known.home))] })] : [];
    this.#targets = [...drives, ...wsl, ...home];
    const slow = mayElevate() && known.drives.some((drive) => drive.turboReason === NO_RIGHTS);
    const { proposed } = state;
    const remote = kindOf(proposed) === KIND.ssh;
    fill(this.#groups,
      group(t('drives'), drives, t('drivesNone')),
      slow ? rightsNotice() : null,
      wsl.length > 0 ? group(t('wsl'), wsl) : null,
      panel(el('h2', {}, t('folder')), listOf(home), folderPart(remote ? '' : proposed), this.#folders),
      panel(el('h2', {}, t('ssh')), sshPart(remote ? proposed : ''), this.#hosts));
    // After the layout, which comes with the section.
    requestAnimationFrame(() => this.#groups.querySelector('.notice.warning')?.scrollIntoView({ block: 'center' }));
    this.#othersShown = '';
    this.#listOthers();
    this.#filter();
  }

  #listOthers(): void {
    const others = otherScans();
    const ids = JSON.stringify([others.map((job) => [job.id, job.label]), hosts()]);
    if (ids === this.#othersShown) return;
    this.#othersShown = ids;
    this.#targets = this.#targets.filter((one) => !this.#folders.contains(one.root) && !this.#hosts.contains(one.root));
    for (const [list, remote] of [[this.#folders, false], [this.#hosts, true]] as const) {
      const added = others.filter((job) => isHost(job) === remote)
        .map((job) => target({ icon: remote ? 'ssh' : 'folder', name: job.label, path: job.path, kind: job.kind, under: remote ? [hostFacts(job.path)] : [] }));
      if (remote) added.push(...hosts().filter((host) => !others.some((job) => job.path === host.path)).map(hostTarget));
      fill(list, added.map((one) => one.root));
      this.#targets.push(...added);
    }
    this.#filter();
  }

  #filter(): void {
    const wanted = this.#search.value.trim().toLowerCase();
    for (const one of this.#targets) one.root.hidden = !one.words.includes(wanted);
    const any = this.#targets.some((one) => !one.root.hidden);
    setText(this.#none, any || !wanted ? '' : t('pickNone', { text: this.#search.value.trim() }));
  }
}

export const picker = (): Screen => new Picker();
