// Browses the folders of the machine to fill in a path.
import type { BrowseAnswer } from '../../core/answers';
import { messageOf, wordOf } from '../../core/failure';
import { failure, t } from '../../core/i18n';
import { api, query } from '../../data/api';
import { button, el, fill, icon, inert, loading } from '../../ui/dom';
import { failureNotice } from '../../ui/notices';

type Folder = BrowseAnswer['dirs'][number];

const folderItem = (dir: Folder, open: (path: string) => void): HTMLElement =>
  el('li', {}, el('button', { type: 'button', on: { click: () => open(dir.p) } }, icon('folder'), inert(dir.n),
    dir.hidden ? el('span', { class: 'small muted' }, t('hiddenFolder')) : null, dir.link ? el('span', { class: 'small muted' }, t('linkFolder')) : null));

const upItem = (parent: string, open: (path: string) => void): HTMLElement =>
  el('li', {}, el('button', { type: 'button', on: { click: () => open(parent) } }, icon('up'), parent ? t('browseUp') : t('drives')));

export function folderBrowser(into: HTMLInputElement): HTMLElement {
  const list = el('ul', { class: 'browser', hidden: true });
  const place = el('p', { class: 'small muted', hidden: true });
  const go = (path: string): void => void open(path);
  const failed = (path: string, cause: string, word: string): void =>
    fill(list, el('li', {}, failureNotice(cause, () => go(path), `${path}\n${word}`)));
  const open = async (path: string): Promise<void> => {
    list.hidden = false;
    fill(list, loading());
    try {
      const answer = await api<BrowseAnswer>(path ? query('/api/browse', { p: path }) : '/api/browse');
      if (answer.error) {
        failed(path, failure(answer.error), answer.error);
        return;
      }
      into.value = answer.path || into.value;
      place.hidden = !answer.path;
      fill(place, answer.path ? t('browseIn', { path: answer.path }) : '');
      fill(list, answer.path ? upItem(answer.parent, go) : null, answer.dirs.map((dir) => folderItem(dir, go)),
        answer.path && answer.dirs.length === 0 ? el('li', { class: 'small muted' }, t('browseNone')) : null);
      list.querySelector('button')?.focus();
    } catch (error) {
      failed(path, messageOf(error), wordOf(error));
    }
  };
  return el('div', { class: 'stack' },
    el('div', {}, button(t('browse'), () => go(into.value.trim()), { icon: 'folder' })), place, list);
}
