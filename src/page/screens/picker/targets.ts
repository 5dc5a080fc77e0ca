// A target that can be scanned, with what is known about it and the state of its last scan.
import type { Drive, Job } from '../../core/answers';
import { size, t } from '../../core/i18n';
import { failureText, hasFailed, isRunning, summary, turboReason } from '../../core/job';
import { sameTarget, shown } from '../../core/paths';
import { shareOf } from '../../core/units';
import { KIND } from '../../core/words';
import { rescan, startScan } from '../../data/jobs';
import { state } from '../../data/state';
import { button, el, icon, inert, meter, rest, setText } from '../../ui/dom';
import { reported } from '../../ui/toast';

export interface Target {
  root: HTMLElement;
  words: string; // the search field looks in these
  update: () => void;
}

interface TargetOptions {
  icon: string;
  name: string;
  path: string;
  kind: string;
  under: HTMLElement[]; // facts below the name
}

const jobOf = (path: string): Job | undefined => state.jobs.find((job) => sameTarget(job.path, path));

export async function scan(path: string, kind: string, label: string): Promise<void> {
  const before = jobOf(path);
  if (!before || !isRunning(before)) await reported(startScan(path, kind, label));
}

export function target(options: TargetOptions): Target {
  const { name, path, kind } = options;
  const line = el('p', { class: 'small' });
  const go = button(t('scan'), () => {
    const job = jobOf(path);
    void (job ? rescan(job) : scan(path, kind, name));
  }, { class: 'go' });
  const root = el('li', { class: 'target' }, icon(options.icon, 'kind'), el('span', { class: 'name' }, inert(name)), go,
    el('div', { class: 'under stack' }, options.under, line));
  const update = (): void => {
    const job = jobOf(path);
    const failed = job !== undefined && hasFailed(job);
    line.hidden = !job;
    line.classList.toggle('wrong', failed);
    if (job) setText(line, failed ? failureText(job) : summary(job));
    setText(go, job ? t('rescan') : t('scan'));
    go.setAttribute('aria-label', `${t(job ? 'rescan' : 'scan')}: ${shown(name)}`);
    rest(go, job !== undefined && isRunning(job));
  };
  update();
  return { root, words: `${name} ${path}`.toLowerCase(), update };
}

const DRIVE_ICONS: Record<Drive['type'], string> = { fixed: 'drive', network: 'network', removable: 'usb' };

export function driveTarget(drive: Drive): Target {
  const kind = { fixed: t('typeFixed'), network: t('typeNetwork'), removable: t('typeRemovable') }[drive.type] ?? t('typeFixed');
  const letter = drive.path.replace(/\\$/, '');
  const facts = [kind, shown(drive.fs)].filter(Boolean).join(', ');
  const turbo = drive.turbo
    ? el('span', { class: 'tag good' }, icon('bolt'), t('turbo'))
    : el('span', { class: 'small muted' }, t('turboOff', { why: turboReason(drive.turboReason) }));
  return target({
    icon: DRIVE_ICONS[drive.type] ?? 'drive', name: drive.label ? `${drive.label} (${letter})` : letter, path: drive.path, kind: KIND.drive,
    under: [
      drive.size > 0 ? meter(shareOf(drive.size - drive.free, drive.size)) : el('span'),
      el('p', { class: 'line small' }, drive.size > 0 ? el('span', {}, t('freeOf', { free: size(drive.free), size: size(drive.size) })) : null,
        el('span', { class: 'muted' }, facts), turbo),
    ],
  });
}
