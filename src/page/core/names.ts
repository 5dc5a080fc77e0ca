// What entries of the tree and types of files are called in the user's language.
import { failure, t } from './i18n';
import { shown } from './paths';
import { isFailed, isLoading, type Entry } from './entry';
import { REST, TYPE } from './words';

const LONGEST_NAME = 300;
const short = (name: string): string => shown(name.length > LONGEST_NAME ? `${name.slice(0, LONGEST_NAME)}…` : name);

export function entryName(entry: Entry): string {
  if (entry.kind === REST.smaller) return t('exSmaller', { n: entry.n });
  if (entry.kind === REST.loose) return entry.f > 0 ? t('exLoose', { n: entry.f }) : t('exLooseSome');
  if (entry.kind === 'more') return t('exMore', { n: entry.n });
  if (entry.kind === 'gone') return t('exGone');
  if (isLoading(entry)) return `${t('loading')}…`;
  if (isFailed(entry)) return t('exFailed', { why: failure(entry.name) });
  return short(entry.name);
}

export const typeName = (key: string): string => (key === TYPE.none ? t('tyNone') : key === TYPE.other ? t('tyOther') : short(key));
