// Which columns of a table are shown and how wide they are, as chosen in this browser.
import { readChoice, writeChoice } from './stored';

export interface TableSettings {
  shown: Record<string, boolean>; // by column: chosen or not; others are as the table has them
  widths: Record<string, number>; // by column, in pixels
  sort?: { word: string; down: boolean };
  foldersFirst?: boolean;
}

const LEAST = 40;
const MOST = 2000;
const kept = new Map<string, TableSettings>();

function parts<T>(value: unknown, check: (one: unknown) => one is T): Record<string, T> {
  if (typeof value !== 'object' || value === null) return {};
  return Object.fromEntries(Object.entries(value).filter((entry): entry is [string, T] => check(entry[1])));
}

const isWidth = (value: unknown): value is number => typeof value === 'number' && value >= LEAST && value <= MOST;
const isFlag = (value: unknown): value is boolean => typeof value === 'boolean';

export function tableSettings(name: string): TableSettings {
  let settings = kept.get(name);
  if (!settings) {
    const { shown, widths, sort, foldersFirst } = readChoice(`vorda-table-${name}`);
    const { word, down } = (typeof sort === 'object' && sort !== null ? sort : {}) as { word?: unknown; down?: unknown };
    settings = {
      shown: parts(shown, isFlag), widths: parts(widths, isWidth),
      ...(typeof word === 'string' && typeof down === 'boolean' && { sort: { word, down } }),
      ...(typeof foldersFirst === 'boolean' && { foldersFirst }),
    };
    kept.set(name, settings);
  }
  return settings;
}

export const keepTable = (name: string): void => writeChoice(`vorda-table-${name}`, tableSettings(name));
