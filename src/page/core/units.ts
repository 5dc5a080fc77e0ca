// Formats numbers and dates for one locale. Formatters are expensive to create, so they are cached.

const kept = new Map<string, Intl.NumberFormat | Intl.DateTimeFormat>();

function keptFormat<T extends Intl.NumberFormat | Intl.DateTimeFormat>(key: string, make: () => T): T {
  let format = kept.get(key) as T | undefined;
  if (!format) {
    format = make();
    kept.set(key, format);
  }
  return format;
}

function decimals(locale: string, digits: number, grouping: boolean): Intl.NumberFormat {
  return keptFormat(`n${locale}${digits}${grouping}`, () => new Intl.NumberFormat(locale, {
    minimumFractionDigits: digits, maximumFractionDigits: digits, useGrouping: grouping,
  }));
}

// French counts in octets.
const UNITS = ['B', 'KB', 'MB', 'GB', 'TB', 'PB'];
const FRENCH_UNITS = ['o', 'Ko', 'Mo', 'Go', 'To', 'Po'];

// No decimals for bytes and from 100 up, one from 10, two below. A value that would round up to the
// next unit or step (1,024 KB, 10.00 MB) is written in that one.
export function formatSize(bytes: number, locale: string): string {
  let value = Number.isFinite(bytes) && bytes > 0 ? bytes : 0;
  let unit = 0;
  while (unit < UNITS.length - 1 && value >= 1024) {
    value /= 1024;
    ++unit;
  }
  if (unit > 0 && unit < UNITS.length - 1 && Math.round(value) >= 1024) {
    value = 1;
    ++unit;
  }
  const digits = unit === 0 || value >= 99.95 ? 0 : value >= 9.995 ? 1 : 2;
  return `${decimals(locale, digits, false).format(value)} ${(locale.startsWith('fr') ? FRENCH_UNITS : UNITS)[unit]}`;
}

export const formatCount = (value: number, locale: string): string => decimals(locale, 0, true).format(value);

export const formatSeconds = (seconds: number, locale: string): string => `${decimals(locale, 1, true).format(seconds)} s`;

function formatMoment(milliseconds: number, locale: string, options: Intl.DateTimeFormatOptions): string {
  if (!(milliseconds > 0 && milliseconds < 8.64e15)) return '';
  return keptFormat(`d${locale}${options.timeStyle ?? ''}`, () => new Intl.DateTimeFormat(locale, { dateStyle: 'short', ...options })).format(milliseconds);
}

// The locale's short date; empty if the time is unknown or out of range.
export const formatDate = (milliseconds: number, locale: string): string => formatMoment(milliseconds, locale, {});

// The same with hours and minutes.
export const formatTime = (milliseconds: number, locale: string): string => formatMoment(milliseconds, locale, { timeStyle: 'short' });

export const sumOf = <T>(list: readonly T[], of: (one: T) => number): number => list.reduce((sum, one) => sum + of(one), 0);

// The share of a part in a whole, from 0 to 1; 0 if the whole is 0.
export const shareOf = (part: number, whole: number): number => (whole > 0 ? Math.min(1, Math.max(0, part / whole)) : 0);

export function formatPercent(share: number, locale: string): string {
  if (share > 0 && share < 0.0005) return `< ${formatPercent(0.001, locale)}`;
  const digits = share > 0 && share < 0.0995 ? 1 : 0;
  const format = keptFormat(`p${locale}${digits}`, () => new Intl.NumberFormat(locale, {
    style: 'percent', minimumFractionDigits: digits, maximumFractionDigits: digits,
  }));
  return format.format(share);
}
