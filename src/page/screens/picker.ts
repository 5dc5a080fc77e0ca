// Choosing what to scan: drives, Linux distributions, a folder, a host.
import type { BrowseAnswer, Drive, Job } from '../core/answers';
import { failure, phrase, size, t } from '../core/i18n';
import { kindOf, sameTarget, shown } from '../core/paths';
import { shareOf } from '../core/units';
import { api, onKeyNeeded, query, wordOf } from '../ui/api';
import { button, el, field, fill, heading, icon, inert, loading, meter, rest, setText } from '../ui/dom';
import { elevateButton } from '../ui/elevate';
import { emptyState, failureNotice, type Screen } from '../ui/screen';
import { isRunning, progressText, rescan, startScan, stateText } from '../ui/jobs';
import { state, type Change } from '../ui/state';
import { toastFailure } from '../ui/toast';

const jobOf = (path: string): Job | undefined => state.jobs.find((job) => sameTarget(job.path, path));

async function start(path: string, kind: string, label: string): Promise<void> {
  const before = jobOf(path);
  if (before && isRunning(before)) return;
  try {
    await startScan(path, kind, label);
  } catch (error) {
    toastFailure(error);
  }
}

interface Target {
  root: HTMLElement;
  words: string; // what a search looks at
  update: () => void;
}

// One target with what can be said about it, and below it how its last scan goes or went.
function target(options: { icon: string; name: string; path: string; kind: string; under: HTMLElement[] }): Target {
  const { name, path, kind } = options;
  const line = el('p', { class: 'small' });
  const go = button(t('scan'), () => void (jobOf(path) ? rescan(jobOf(path)!) : start(path, kind, name)), { class: 'go' });
  const root = el('li', { class: 'target' }, icon(options.icon, 'kind'), el('span', { class: 'name' }, inert(name)), go,
    el('div', { class: 'under stack' }, options.under, line));
  const update = (): void => {
    const job = jobOf(path);
    line.hidden = !job;
    line.classList.toggle('wrong', job?.state === 'error');
    if (job) setText(line, job.state === 'error' ? `${t('stError')}: ${failure(job.error)}` : `${stateText(job)}: ${progressText(job)}`);
    setText(go, job ? t('rescan') : t('scan'));
    go.setAttribute('aria-label', `${t(job ? 'rescan' : 'scan')}: ${shown(name)}`);
    rest(go, job !== undefined && isRunning(job));
  };
  update();
  return { root, words: `${name} ${path}`.toLowerCase(), update };
}

const DRIVE_ICONS: Record<Drive['type'], string> = { fixed: 'drive', network: 'network', removable: 'usb' };

function driveTarget(drive: Drive): Target {
  const kind = { fixed: t('typeFixed'), network: t('typeNetwork'), removable: t('typeRemovable') }[drive.type] ?? t('typeFixed');
  const letter = drive.path.replace(/\\$/, '');
  const facts = [kind, shown(drive.fs)].filter(Boolean).join(', ');
  const turbo = drive.turbo
    ? el('span', { class: 'tag good' }, icon('bolt'), t('turbo'))
    : el('span', { class: 'small muted' }, t('turboOff', { why: phrase('t_', drive.turboReason) }));
  return target({
    icon: DRIVE_ICONS[drive.type] ?? 'drive', name: drive.label ? `${drive.label} (${letter})` : letter, path: drive.path, kind: 'drive',
    under: [
      drive.size > 0 ? meter(shareOf(drive.size - drive.free, drive.size)) : el('span'),
      el('p', { class: 'line small' }, drive.size > 0 ? el('span', {}, t('freeOf', { free: size(drive.free), size: size(drive.size) })) : null,
        el('span', { class: 'muted' }, facts), turbo),
    ],
  });
}

// Goes through the folders of the machine and hands the chosen one over.
function browser(into: HTMLInputElement): HTMLElement {
  const list = el('ul', { class: 'browser', hidden: true });
  const place = el('p', { class: 'small muted', hidden: true });
  const open = async (path: string): Promise<void> => {
    list.hidden = false;
    fill(list, loading());
    try {
      const answer = await api<BrowseAnswer>(path ? query('/api/browse', { p: path }) : '/api/browse');
      if (answer.error) throw new Error(answer.error);
      into.value = answer.path || into.value;
      place.hidden = !answer.path;
      fill(place, answer.path ? t('browseIn', { path: answer.path }) : '');
      fill(list,
        answer.path ? el('li', {}, el('button', { type: 'button', on: { click: () => void open(answer.parent) } }, icon('up'), answer.parent ? t('browseUp') : t('browseTop'))) : null,
        answer.dirs.map((dir) => el('li', {}, el('button', { type: 'button', on: { click: () => void open(dir.p) } }, icon('folder'), inert(dir.n),
          dir.hidden ? el('span', { class: 'small muted' }, t('hiddenFolder')) : null, dir.link ? el('span', { class: 'small muted' }, t('linkFolder')) : null))),
        answer.path && answer.dirs.length === 0 ? el('li', { class: 'small muted' }, t('browseNone')) : null);
      list.querySelector('button')?.focus();
    } catch (error) {
      const word = error instanceof Error && !('word' in error) ? error.message : wordOf(error);
      fill(list, el('li', {}, failureNotice(failure(word), () => void open(path), `${path}\n${word}`)));
    }
  };
  return el('div', { class: 'stack' },
    el('div', {}, button(t('browse'), () => void open(into.value.trim()), { icon: 'folder' })), place, list);
}

// A field and a button that scans what was typed; complains in place.
function typed(label: string, hint: string, input: HTMLInputElement, words: string, scan: (text: string) => void, extra: HTMLElement[]): HTMLElement {
  const wrong = el('p', { class: 'small wrong', role: 'alert' });
  const go = (): void => {
    const text = input.value.trim();
    setText(wrong, text ? '' : t('pathMissing'));
    input.toggleAttribute('aria-invalid', !text);
    if (text) scan(text);
    else input.focus();
  };
  input.addEventListener('keydown', (event) => {
    if (event.key === 'Enter') go();
  });
  return el('div', { class: 'stack' }, el('div', { class: 'form' }, field(label, input, { hint }), extra, button(words, go)), wrong);
}

function folderPart(): HTMLElement {
  const input = el('input', { type: 'text', class: 'input', autocomplete: 'off', spellcheck: 'false' });
  return el('div', { class: 'stack' },
    typed(t('folderPath'), t('folderHint'), input, t('scanFolder'), (path) => void start(path, kindOf(path), path), []),
    browser(input));
}

function sshPart(): HTMLElement {
  const input = el('input', { type: 'text', class: 'input', autocomplete: 'off', spellcheck: 'false', autocapitalize: 'off' });
  const password = el('input', { type: 'password', class: 'input', autocomplete: 'off' });
  input.addEventListener('change', () => {
    password.value = state.passwords.get(input.value.trim()) ?? '';
  });
  return typed(t('sshTarget'), t('sshHint'), input, t('scanHost'), (host) => {
    if (password.value) state.passwords.set(host, password.value);
    else state.passwords.delete(host);
    void start(host, 'ssh', host);
  }, [field(t('sshPassword'), password, { hint: t('sshPasswordHint') })]);
}

export function picker(): Screen {
  const search = el('input', { type: 'search', class: 'input filter', placeholder: t('pickSearch'), 'aria-label': t('pickSearch') });
  const none = el('p', { class: 'muted', role: 'status' });
  const groups = el('div', { class: 'stack wide' });
  const folders = el('ul', { class: 'targets' });
  const hosts = el('ul', { class: 'targets' });
  let targets: Target[] = [];
  let extra = '';

  const filter = (): void => {
    const wanted = search.value.trim().toLowerCase();
    let any = false;
    for (const one of targets) {
      one.root.hidden = !one.words.includes(wanted);
      any ||= !one.root.hidden;
    }
    setText(none, any || !wanted ? '' : t('pickNone', { text: search.value.trim() }));
  };
  search.addEventListener('input', filter);

  const group = (title: string, list: Target[], empty?: string): HTMLElement =>
    el('section', { class: 'panel stack' }, el('h2', {}, title), el('ul', { class: 'targets' }, list.map((one) => one.root)), empty && list.length === 0 ? el('p', { class: 'muted' }, empty) : null);

  // Scans of folders and hosts that are no drive stand with the others of their kind.
  const otherScans = (): Job[] => state.jobs.filter((job) => !state.targets?.drives.some((drive) => sameTarget(drive.path, job.path)) &&
    !state.targets?.wsl.some((one) => sameTarget(one.path, job.path)) && !sameTarget(job.path, state.targets?.home ?? ''));

  const listOthers = (): void => {
    const others = otherScans();
    const signature = others.map((job) => job.id).join();
    if (signature === extra) return;
    extra = signature;
    targets = targets.filter((one) => !folders.contains(one.root) && !hosts.contains(one.root));
    for (const [list, remote] of [[folders, false], [hosts, true]] as const) {
      const added = others.filter((job) => (job.kind === 'ssh') === remote)
        .map((job) => target({ icon: remote ? 'ssh' : 'folder', name: job.label, path: job.path, kind: job.kind, under: [] }));
      fill(list, added.map((one) => one.root));
      targets.push(...added);
    }
    filter();
  };

  const build = (): void => {
    const known = state.targets;
    if (!known) {
      fill(groups, state.hello.auth ? emptyState(t('keyTitle'), t('keyText'), button(t('keyGo'), () => onKeyNeeded.ask(false), { icon: 'key' })) : loading());
      return;
    }
    const drives = known.drives.map(driveTarget);
    const wsl = known.wsl.map((one) => target({ icon: 'wsl', name: one.name, path: one.path, kind: 'wsl', under: [] }));
    const home = known.home ? [target({ icon: 'folder', name: t('homeFolder'), path: known.home, kind: 'folder', under: [el('p', { class: 'small muted' }, inert(known.home))] })] : [];
    targets = [...drives, ...wsl, ...home];
    const slow = !known.elevated && known.drives.some((drive) => drive.turboReason === 'noadmin');
    fill(groups,
      group(t('drives'), drives, t('drivesNone')),
      slow ? el('div', { class: 'notice' }, icon('shield'), el('div', { class: 'stack' }, el('p', {}, t('elevateWhy')), el('div', {}, elevateButton()))) : null,
      wsl.length > 0 ? group(t('wsl'), wsl) : null,
      el('section', { class: 'panel stack' }, el('h2', {}, t('folder')), el('ul', { class: 'targets' }, home.map((one) => one.root)), folderPart(), folders),
      el('section', { class: 'panel stack' }, el('h2', {}, t('ssh')), sshPart(), hosts));
    extra = '';
    listOthers();
    filter();
  };
  build();

  return {
    root: el('div', { class: 'screen' }, el('div', { class: 'top' }, heading(t('pickTitle')), el('span', { class: 'push' }, search)), none, groups),
    update: (changes: ReadonlySet<Change>) => {
      if (changes.has('targets') || changes.has('session')) build();
      if (!changes.has('jobs')) return;
      listOthers();
      for (const one of targets) one.update();
    },
  };
}

