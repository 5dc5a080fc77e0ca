// The button with which the columns of a table are chosen, and what else orders it.
import { t } from '../core/i18n';
import { iconButton } from '../ui/dom';
import { openMenu, placeBelow, type MenuItem } from '../ui/menu';
import type { Table } from '../ui/table';

export function columnsButton<R>(table: () => Table<R>, more: () => MenuItem[] = () => []): HTMLButtonElement {
  const button = iconButton('columns', t('columns'), () => {
    const columns = table().head.hidable.map(({ id, title, shown }): MenuItem => ({ label: t(title), checked: shown, stays: true, act: () => table().toggleColumn(id) }));
    openMenu([columns, more()], t('columns'), placeBelow(button));
  }, { 'aria-haspopup': 'menu' });
  return button;
}
