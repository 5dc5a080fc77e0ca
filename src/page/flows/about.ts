// The dialog about the program, with the check for a newer version.
import type { About, UpdateAnswer } from '../core/answers';
import { messageOf } from '../core/failure';
import { date, t } from '../core/i18n';
import { api, form } from '../data/api';
import { state } from '../data/state';
import { openDialog } from '../ui/dialog';
import { button, el, fact, fill, rest, wholePath } from '../ui/dom';
import { openLog } from './log';

// Only web addresses become links.
const safeLink = (address: string, text: string): HTMLElement =>
  /^https:\/\//.test(address) ? el('a', { href: address, target: '_blank', rel: 'noopener noreferrer' }, text) : el('span', {}, text);

async function check(into: HTMLElement, asking: HTMLButtonElement): Promise<void> {
  rest(asking, true);
  fill(into, `${t('upChecking')}…`);
  try {
    const answer = await form<UpdateAnswer>('/api/update', {});
    fill(into, answer.newer ? [t('upNewer', { latest: answer.latest }), ' ', safeLink(answer.url, t('upDownload'))] : t('upCurrent', { latest: answer.latest }));
  } catch (error) {
    fill(into, messageOf(error));
  }
  rest(asking, false);
}

// What only the program knows about its build and its last crash. Without an answer the dialog goes without.
async function describeBuild(signature: HTMLElement, facts: HTMLElement): Promise<void> {
  const about = await api<About>('/api/about').catch(() => null);
  if (!about) return;
  if (!about.signed) fill(signature, t('abUnsigned'));
  if (about.log) facts.append(...fact(t('abDiagnostic'), wholePath(about.log)));
  if (about.crash) {
    facts.append(...fact(t('abCrash'), t('abCrashWhat', { when: date(about.crash.time) }), wholePath(about.crash.path)));
  }
}

export function openAbout(): void {
  if (document.querySelector('dialog.about')) return;
  const { targets } = state;
  const answer = el('p', { role: 'status' });
  const ask = button(t('upCheck'), () => void check(answer, ask), { icon: 'refresh' });
  const signature = el('p', { class: 'muted' });
  const facts = el('dl', { class: 'stack' }, targets ? [
    fact(t('abRights'), t(targets.elevated ? 'abElevated' : 'abNotElevated')),
    fact(t('abLog'), wholePath(targets.logPath))] : []);
  const dialog = openDialog({
    title: t('about'), width: 'small',
    body: [
      targets ? el('div', { class: 'stack' },
        el('p', {}, t('abVersion', { version: targets.version }), '. ', t('abBy', { vendor: targets.vendor }), '.'),
        el('p', {}, t('abMachine', { machine: targets.machine })),
        targets.website ? el('p', {}, safeLink(targets.website, t('abWebsite'))) : null,
        signature) : null,
      facts,
      el('div', {}, button(t('showLog'), openLog, { icon: 'info' })),
      el('div', { class: 'stack' }, el('div', {}, ask), answer, el('p', { class: 'small muted' }, t('upPrivacy'))),
    ],
  });
  dialog.element.classList.add('about');
  void describeBuild(signature, facts);
}
