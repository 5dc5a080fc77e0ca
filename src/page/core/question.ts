// A question for the finder, as it is typed, and what it means.
import { size } from './i18n';
import { baseName, trimEnd } from './paths';

const MEBI = 1024 * 1024;
export const UNITS = { KB: 1024, MB: MEBI, GB: 1024 * MEBI } as const;
export type Unit = keyof typeof UNITS;

export interface Question {
  names: string;
  exts: string;
  min: string;
  unit: Unit;
  max: string;
  maxUnit: Unit;
  after: string; // "2026-01-31", a day of the user
  before: string;
  in: string; // a folder
  sort: string;
}

export const BY_SIZE = 'size';
export const NO_QUESTION: Question = { names: '', exts: '', min: '', unit: 'MB', max: '', maxUnit: 'GB', after: '', before: '', in: '', sort: BY_SIZE };

// A number typed with a point or a comma; 0 if it is none.
export const typedNumber = (text: string): number => Number(text.trim().replace(',', '.')) || 0;

export interface Bounds {
  min: number;
  max: number | null;
  after: number; // 0: no bound
  before: number;
}

const startOf = (day: string): number => (day ? Math.max(0, Date.parse(`${day}T00:00`)) || 0 : 0);

export const boundsOf = ({ min, unit, max, maxUnit, after, before }: Question): Bounds => ({
  min: Math.round(typedNumber(min) * UNITS[unit]), max: max.trim() ? Math.round(typedNumber(max) * UNITS[maxUnit]) : null,
  after: startOf(after), before: startOf(before),
});

// Whether the program takes it: a size alone must be large enough.
export const isEnough = (question: Question): boolean => {
  const { min, after, before } = boundsOf(question);
  return question.names.trim() !== '' || question.exts.trim() !== '' || min >= MEBI || after > 0 || before > 0;
};

// Upper case, as the program compares; "*" is any run of characters, "?" is one, neither of them means contains.
function pattern(text: string): RegExp {
  const escaped = text.toUpperCase().replace(/[.+^${}()|[\]\\]/g, '\\$&');
  return /[*?]/.test(text) ? new RegExp(`^${escaped.replaceAll('*', '.*').replaceAll('?', '.')}$`, 's') : new RegExp(escaped, 's');
}

// Picks the files of a list that answer the question.
export function picker(question: Question): (file: { p: string; s: number; m: number }) => boolean {
  const { min, max, after, before } = boundsOf(question);
  const names = question.names.split(';').map((one) => one.trim()).filter(Boolean).map(pattern);
  const exts = question.exts.split(/[\s,;]+/).filter(Boolean).map((one) => one.replace(/^\*?\.?/, '.').toUpperCase());
  const folder = question.in.trim() ? `${trimEnd(question.in.trim()).replaceAll('/', '\\')}\\`.toUpperCase() : '';
  return ({ p, s, m }) => {
    if (s < min || (max !== null && s > max)) return false;
    if ((after > 0 || before > 0) && (m === 0 || m < after || (before > 0 && m >= before))) return false;
    const name = baseName(p).toUpperCase();
    return (exts.length === 0 || exts.some((ext) => name.endsWith(ext))) && (names.length === 0 || names.some((one) => one.test(name))) &&
      p.toUpperCase().startsWith(folder);
  };
}

// What is asked, in short: for the name of a saved search and of a file.
export function questionText({ names, exts, in: folder, after, before, ...rest }: Question): string {
  const { min, max } = boundsOf({ ...NO_QUESTION, ...rest });
  return [names.trim(), exts.trim(), min > 0 ? `≥ ${size(min)}` : '', max !== null ? `≤ ${size(max)}` : '', after && `≥ ${after}`, before && `< ${before}`, folder.trim()].filter(Boolean).join(', ');
}
