// What can be done with a folder or a file through Windows, and copying lists.
import { isFile, type Entry } from '../core/entry';
import { date, t } from '../core/i18n';
import { form } from '../data/api';
import { state } from '../data/state';
import { copyText, reported } from '../ui/toast';

export type Opening = 'open' | 'terminal' | 'properties';

// Only the program that runs for its own user opens anything; a server would do it on another screen.
export const mayOpen = (): boolean => state.hello.canQuit;

export const openWith = (what: Opening, path: string): Promise<void> => reported(form('/api/open', { what, p: path }));

type Item = Pick<Entry, 'kind' | 'path' | 'name' | 's' | 'f' | 'm' | 'a'>;

// Text that a spreadsheet takes as cells. A name that begins like a formula is kept from being one.
function cell(value: string | number): string {
  const text = String(value).replace(/[\t\r\n]/g, ' ');
  return typeof value === 'string' && /^[=+\-@]/.test(text) ? `'${text}` : text;
}

export function asTable(items: readonly Item[]): string {
  const disk = items.some((item) => item.a !== undefined);
  const head = [t('colName'), t('colSize'), ...(disk ? [t('colDisk')] : []), t('colFiles'), t('colDate'), t('dtPath')];
  const rows = items.map((item) => [item.name, item.s, ...(disk ? [item.a ?? ''] : []), isFile(item as Entry) ? '' : item.f, date(item.m), item.path]);
  return [head, ...rows].map((row) => row.map(cell).join('\t')).join('\n');
}

export const copyPaths = (paths: readonly string[]): void => void copyText(paths.join('\n'), t('copied'));
export const copyTable = (items: readonly Item[]): void => void copyText(asTable(items), t('copied'));
