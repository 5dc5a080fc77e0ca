// What is kept in the browser. Without storage a choice is lost on reload.

export function read(key: string): string | null {
  try {
    return localStorage.getItem(key);
  } catch {
    return null;
  }
}

export function write(key: string, value: string): void {
  try {
    localStorage.setItem(key, value);
  } catch {
    // Without storage the choice is lost on reload.
  }
}

// A choice that is an object: what is stored may come from another version of the page, so each part is checked
// by whoever reads it.
export function readChoice(key: string): Record<string, unknown> {
  try {
    const value: unknown = JSON.parse(read(key) ?? '{}');
    return typeof value === 'object' && value !== null && !Array.isArray(value) ? value as Record<string, unknown> : {};
  } catch {
    return {};
  }
}

export const writeChoice = (key: string, value: object): void => write(key, JSON.stringify(value));
