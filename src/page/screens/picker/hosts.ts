// The hosts that were scanned before, with what is remembered of them.
import { date, size, t } from '../../core/i18n';
import { hostAndFolder, type Host } from '../../core/hosts';
import { shown } from '../../core/paths';
import { KIND } from '../../core/words';
import { forgetHost, hosts, renameHost } from '../../data/hosts';
import { poll } from '../../data/jobs';
import { openDialog } from '../../ui/dialog';
import { button, el, field, inert, onEnter } from '../../ui/dom';
import { target, type Target } from './targets';

function rename(path: string): void {
  const before = hosts().find((host) => host.path === path);
  const input = el('input', { type: 'text', class: 'input', autocomplete: 'off', maxlength: '100', value: before?.name ?? '' });
  const save = (): void => {
    renameHost(path, input.value.trim());
    void poll();
    dialog.close();
  };
  onEnter(input, save);
  const dialog = openDialog({
    title: t('hostRename'), width: 'small', first: input, body: field(t('hostName'), input, { hint: hostAndFolder(path) }),
    ends: [button(t('cancel'), () => dialog.close()), button(t('hostSave'), save, { class: 'first' })],
  });
}

export function hostFacts(path: string): HTMLElement {
  const host = hosts().find((one) => one.path === path);
  const facts = host ? [host.scanned > 0 ? t('hostLast', { date: date(host.scanned) }) : '', host.free > 0 ? `${size(host.free)} ${t('free')}` : ''].filter(Boolean).join(', ') : '';
  return el('p', { class: 'line small muted' }, inert(path), facts ? el('span', {}, facts) : null,
    button(t('hostRename'), () => rename(path), { class: 'plain', label: `${t('hostRename')}: ${shown(path)}` }),
    host ? button(t('hostForget'), () => forgetHost(path), { class: 'plain', label: `${t('hostForget')}: ${shown(path)}` }) : null);
}

export const hostTarget = ({ path, name }: Host): Target =>
  target({ icon: 'ssh', name: name || hostAndFolder(path), path, kind: KIND.ssh, under: [hostFacts(path)] });
