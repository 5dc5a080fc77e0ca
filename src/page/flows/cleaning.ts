// Empties the recycle bin or folders of temporary files, after a confirmation.
import type { CleanupAnswer } from '../core/answers';
import { messageOf } from '../core/failure';
import { size, t } from '../core/i18n';
import { form } from '../data/api';
import { refreshResults } from '../data/jobs';
import { state } from '../data/state';
import { openDialog } from '../ui/dialog';
import { button, el, fill, rest, setText, wholePath, type Child } from '../ui/dom';
import { busyBar } from '../ui/notices';

function askAndRun(title: string, question: Child, go: string, action: () => Promise<string[]>): void {
  const stay = button(t('cancel'), () => dialog.close());
  const run = async (): Promise<void> => {
    rest(stay, true);
    stay.focus();
    act.remove();
    fill(dialog.body, el('p', { role: 'status' }, `${t('delGoing')}…`), busyBar());
    let words: string[];
    try {
      words = await action();
    } catch (error) {
      words = [messageOf(error)];
      await refreshResults(state.results.keys()); // it may have failed half way
    }
    fill(dialog.body, el('div', { role: 'status', class: 'stack' }, words.map((line, index) => el('p', { class: index === 0 ? 'answer' : '' }, line))));
    rest(stay, false);
    setText(stay, t('close'));
    stay.focus();
  };
  const act = button(go, () => void run(), { icon: 'broom', class: 'danger first' });
  const dialog = openDialog({ title, body: question, ends: [stay, act], first: stay });
}

export function openEmptyBin(): void {
  askAndRun(t('emptyBin'), el('p', { class: 'text' }, t('emptyBinAsk')), t('emptyBin'), async () => {
    const answer = await form<{ ok: boolean; bytes: number; items: number }>('/api/emptybin', {});
    await refreshResults(state.results.keys());
    return [answer.items > 0 ? t('emptyBinDone', { n: answer.items, size: size(answer.bytes) }) : t('emptyBinEmpty')];
  });
}

export function openCleanup(job: number, what: string, folders: readonly string[]): void {
  askAndRun(t('adClean'), [
    el('p', { class: 'text' }, t('adCleanAsk')),
    el('ul', { class: 'path-list', tabindex: '0', 'aria-label': t('adPlaces') }, folders.map((path) => el('li', {}, wholePath(path)))),
    state.targets?.logPath ? el('p', { class: 'small muted' }, t('delLog', { path: state.targets.logPath })) : null,
  ], t('adClean'), async () => {
    const answer = await form<CleanupAnswer>('/api/cleanup', { what, job });
    await refreshResults(state.results.keys());
    const words = [t('adCleanDone', { n: answer.deleted, size: size(answer.bytes) })];
    if (answer.skipped > 0) words.push(t('adCleanSkipped', { n: answer.skipped }));
    if (answer.logged === false) words.push(t('delNotLogged'));
    return words;
  });
}
