// Where in the page one is: what a step in the browser's history holds, and what the address says.

export interface Step {
  section: string;
  scan: number; // id of the scan on view, 0 if there is none
  at: string; // the folder of the map or the type on view, or ''
}

// A step that this page stored, or null for anything else.
export function stepOf(value: unknown): Step | null {
  const { section, scan, at } = (typeof value === 'object' && value !== null ? value : {}) as Partial<Step>;
  return typeof section === 'string' && typeof scan === 'number' && typeof at === 'string' ? { section, scan, at } : null;
}

export const sameStep = (a: Step | null, b: Step): boolean => a?.section === b.section && a.scan === b.scan && a.at === b.at;

// Lone surrogates can't be encoded.
const encoded = (text: string): string => {
  try {
    return encodeURIComponent(text);
  } catch {
    return '';
  }
};

// The fragment of an address, "#map/C%3A%5Cdata".
export const fragmentOf = (section: string, at: string): string => `#${section}${at ? `/${encoded(at)}` : ''}`;

export function readFragment(fragment: string): { section: string; at: string } {
  const text = fragment.replace(/^#/, '');
  const slash = text.indexOf('/');
  if (slash < 0) return { section: text, at: '' };
  try {
    return { section: text.slice(0, slash), at: decodeURIComponent(text.slice(slash + 1)) };
  } catch {
    return { section: text.slice(0, slash), at: '' };
  }
}
