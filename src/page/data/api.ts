// Requests to the program. Every failure carries a text that can be shown.
import { Failure } from '../core/failure';
import { failure, t } from '../core/i18n';
import { wellFormed } from '../core/paths';
import { FAILURE } from '../core/words';
import { changed, state } from './state';

const KEY_STORED = 'vorda-token';

// Shows the key dialog; `wrong` says that a key was tried. Set at the start of the page.
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
  state.key = key;
  try {
    sessionStorage.setItem(KEY_STORED, key);
  } catch {
    // Without storage the key is lost on reload.
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

// Header values are byte strings: the key is sent as UTF-8.
const asBytes = (text: string): string => String.fromCharCode(...new TextEncoder().encode(text));

// Makes one request and returns the answer's document, or throws a Failure.
export async function api<T>(path: string, options: Options = {}): Promise<T> {
  const { withoutKey, ...init } = options;
  const headers = new Headers(init.headers);
  const tried = !withoutKey && state.key !== '';
  if (tried) headers.set('X-Vorda-Token', asBytes(state.key));
  let response: Response;
  let body: string;
  try {
    response = await fetch(path, { ...init, headers });
    body = await response.text();
  } catch {
    reachable(false);
    throw new Failure(FAILURE.offline, t('eOffline'));
  }
  reachable(true);
  if (response.status === 401) {
    onKeyNeeded.ask(tried);
    throw new Failure(FAILURE.key, t('keyWrong'), 401);
  }
  let document: unknown;
  try {
    document = JSON.parse(body);
  } catch {
    throw new Failure(FAILURE.scanFailed, t('eScanFailed'), response.status);
  }
  if (!response.ok) {
    const word = (document as { error?: unknown } | null)?.error;
    const text = typeof word === 'string' ? word : '';
    throw new Failure(text, failure(text), response.status);
  }
  return document as T;
}

export type FieldValue = string | number | readonly string[];

// Posts form fields; a list is sent as one field per element.
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

// The address for a link. Links send no headers, so the key goes into the address.
export const linkTo = (path: string, fields: Record<string, string | number>): string =>
  query(path, state.key ? { ...fields, token: state.key } : fields);
