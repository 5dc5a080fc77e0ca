// Tables as CSV, like those of the program: UTF-8 with a byte order mark, text in quotation marks.
const MARK = '\ufeff';

// A spreadsheet would calculate a text that begins with one of these: a quotation mark before it makes it text.
const field = (value: string | number): string =>
  (typeof value === 'number' ? String(value) : `"${(/^[=+\-@\t\r]/.test(value) ? `'${value}` : value).replaceAll('"', '""')}"`);

export const csvOf = (titles: readonly string[], rows: readonly (readonly (string | number)[])[]): string =>
  MARK + [titles.join(','), ...rows.map((row) => row.map(field).join(','))].map((line) => `${line}\r\n`).join('');

// "2026-01-31" in UTC, as in the program's own files; empty if the time is unknown.
export const utcDate = (milliseconds: number): string => (milliseconds > 0 && milliseconds < 8.64e15 ? new Date(milliseconds).toISOString().slice(0, 10) : '');
