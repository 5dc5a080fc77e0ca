// Talking to the program. Every failure has a text that can be shown.
import { failure, t } from '../core/i18n';
import { changed, state } from './state';

export class Failure extends Error {
  constructor(readonly word: string, message: string, readonly status = 0) {
    super(message);
  }
}

const KEY_STORED = 'vorda-token';

// Set by the frame: shows the key dialog, told whether a key had been tried.
export const onKeyNeeded = { ask: (_wrong: boolean): void => {} };

function reachable(yes: boolean): void {
  if (state.offline === !yes) return;
  state.offline = !yes;
  changed('offline');
}

export function markEnded(): void {
  state.ended = true;
  reachable(false);
  changed('offline');
}

export function useKey(key: string): void {
  state.TOKEN = key;
  try {
    sessionStorage.setItem(KEY_STORED, key);
  } catch {
    // Without storage the key lasts as long as the page.
  }
}

export function rememberedKey(): string {
  try {
    return sessionStorage.getItem(KEY_STORED) ?? '';
  } catch {
    return '';
  }
}

export interface Options extends RequestInit {
  withoutKey?: boolean;
}

// A header holds bytes, one per letter: of the key, those of its UTF-8.
const asBytes = (text: string): string => String.fromCharCode(...new TextEncoder().encode(text));

// One request; the answer's document, or a Failure.
export async function api<T>(path: string, options: Options = {}): Promise<T> {
  const { withoutKey, ...init } = options;
  const headers = new Headers(init.headers);
  const tried = !withoutKey && state.TOKEN !== '';
  if (tried) headers.set('X-Vorda-Token', asBytes(state.TOKEN));
  let response: Response;
  let body: string;
  try {
    response = await fetch(path, { ...init, headers });
    body = await response.text();
  } catch {
    reachable(false);
    throw new Failure('offline', t('eOffline'));
  }
  reachable(true);
  if (response.status === 401) {
    onKeyNeeded.ask(tried);
    throw new Failure('key', t('keyWrong'), 401);
  }
  let document: unknown;
  try {
    document = JSON.parse(body);
  } catch {
    throw new Failure('scanFailed', t('eScanFailed'), response.status);
  }
  if (!response.ok) {
    const word = (document as { error?: unknown } | null)?.error;
    const text = typeof word === 'string' ? word : '';
    throw new Failure(text, failure(text), response.status);
  }
  return document as T;
}

export type FieldValue = string | number | readonly string[];

// A POST of form fields; a list is sent once per element.
export function form<T>(path: string, fields: Record<string, FieldValue>, options: Options = {}): Promise<T> {
  const body = new URLSearchParams();
  for (const [name, value] of Object.entries(fields)) {
    if (typeof value === 'string' || typeof value === 'number') body.append(name, String(value));
    else for (const one of value) body.append(name, one);
  }
  return api<T>(path, {
    ...options,
    method: 'POST',
    headers: { 'Content-Type': 'application/x-www-form-urlencoded;charset=UTF-8' },
    body: body.toString(),
  });
}

export const query = (path: string, fields: Record<string, string | number>): string =>
  `${path}?${Object.entries(fields).map(([name, value]) => `${name}=${encodeURIComponent(wellFormed(String(value)))}`).join('&')}`;

// Half a surrogate pair cannot be sent; it goes as the mark for "no such letter".
const wellFormed = (text: string): string => text.replace(/[\ud800-\udbff](?![\udc00-\udfff])|(?<![\ud800-\udbff])[\udc00-\udfff]/g, '\ufffd');

export const messageOf = (error: unknown): string => (error instanceof Failure ? error.message : t('unexpected'));
export const wordOf = (error: unknown): string => (error instanceof Failure ? error.word : 'unexpected');

// An address a link can have: it carries no header, so the key goes with it.
export const linkTo = (path: string, fields: Record<string, string | number>): string =>
  query(path, state.TOKEN ? { ...fields, token: state.TOKEN } : fields);
