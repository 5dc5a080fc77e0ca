// The values of the finder's form, which outlive the section, and starting a search with them.
import type { Hit } from '../core/answers';
import { t } from '../core/i18n';
import { boundsOf, BY_SIZE, isEnough, NO_QUESTION, picker, UNITS, type Question } from '../core/question';
import { Selection } from '../core/selection';
import { finder } from '../data/runs';
import { goTo, state } from '../data/state';
import { read, writeChoice } from '../data/stored';
import { chosenScans } from './search_form';

const DAY_MS = 86_400_000;
const YEAR_MS = 365 * DAY_MS;
const MOST_SAVED = 20;
const STORED = 'vorda-searches';

// Orders in which the program can return hits.
export const ORDERS: readonly string[] = [BY_SIZE, 'new', 'old', 'name'];

export const entered = { ...NO_QUESTION, without: new Set<string>() };
export const findMarks = { selection: new Selection(), weights: new Map<string, number>() };

// What the scans themselves know of the answer, until the disk has been searched.
export const known = { hits: [] as Hit[], asked: NO_QUESTION, began: 0 };

const question = (): Question =>
  Object.fromEntries(Object.keys(NO_QUESTION).map((name) => [name, entered[name as keyof Question]])) as unknown as Question;

// Starts a search with what is entered; returns the text of a problem, or ''.
export async function startFinding(): Promise<string> {
  const ids = chosenScans(entered.without);
  if (!isEnough(entered) || ids.length === 0) return t('fiNotYet');
  findMarks.selection.clear();
  findMarks.weights.clear();
  const asked = question();
  const fits = picker(asked);
  known.asked = asked;
  known.began = Date.now();
  known.hits = ids.flatMap((job) => (state.results.get(job)?.files ?? []).filter(fits).map((file) => ({ ...file, job })));
  const { min, max, after, before } = boundsOf(asked);
  return finder.start({
    ids: ids.join(','), names: asked.names.trim(), exts: asked.exts.trim(), min, sort: asked.sort,
    ...(max === null ? {} : { max }), ...(after ? { after } : {}), ...(before ? { before } : {}), ...(asked.in.trim() ? { in: asked.in.trim() } : {}),
  });
}

// Opens the finder with a question and answers it.
export function ask(asked: Partial<Question>): void {
  Object.assign(entered, NO_QUESTION, asked);
  goTo('find');
  void startFinding();
}

export const findAll = (type: string): void => ask({ exts: type });

// The files that the advice calls old, all of them.
export function findOld(job: number): void {
  const day = new Date(Date.now() - YEAR_MS);
  entered.without = new Set(state.jobs.filter((one) => one.id !== job).map((one) => one.path));
  ask({ min: '50', before: `${day.getFullYear()}-${String(day.getMonth() + 1).padStart(2, '0')}-${String(day.getDate()).padStart(2, '0')}` });
}

// Saved questions are data of this browser; anything may have been written there.
export function savedQuestions(): Question[] {
  try {
    const list: unknown = JSON.parse(read(STORED) ?? '[]');
    return (Array.isArray(list) ? list : []).slice(0, MOST_SAVED).map((one: Partial<Question> | null) =>
      Object.fromEntries(Object.entries(NO_QUESTION).map(([name, value]) => {
        const given = one?.[name as keyof Question];
        return [name, typeof given === 'string' ? given : value];
      })) as unknown as Question);
  } catch {
    return [];
  }
}

const sameAs = (a: Question) => (b: Question): boolean => JSON.stringify(a) === JSON.stringify(b);

const store = (list: Question[]): void => writeChoice(STORED, list.slice(0, MOST_SAVED));

export const saveQuestion = (): void => {
  const asked = { ...NO_QUESTION, ...question() };
  store([asked, ...savedQuestions().filter((one) => !sameAs(asked)(one))]);
};

export const forgetQuestion = (asked: Question): void => store(savedQuestions().filter((one) => !sameAs(asked)(one)));

// Opens the finder with a size to begin with.
export function findLarge(bytes: number): void {
  const mebi = Math.max(1, Math.floor(bytes / UNITS.MB));
  Object.assign(entered, NO_QUESTION, { min: String(mebi) });
  goTo('find');
}
