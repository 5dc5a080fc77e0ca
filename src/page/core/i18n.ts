// The chosen language: texts, numbers, dates.
import { en } from '../lang/en';
import { es } from '../lang/es';
import { fr } from '../lang/fr';
import { nl } from '../lang/nl';
import { pt } from '../lang/pt';
import { shown } from './paths';
import type { Dictionary, Forms, Key, Vars } from '../lang/shape';
import * as units from './units';
import { wordingOf } from './failure_texts';

export const LANGS = { en: 'English', nl: 'Nederlands', fr: 'Français', es: 'Español', pt: 'Português (Portugal)' } as const;
export type Lang = keyof typeof LANGS;

const DICTIONARIES: Record<Lang, () => Dictionary> = { en: () => en, nl, fr, es, pt };

const LOCALES: Record<Lang, string> = { en: 'en-GB', nl: 'nl-NL', fr: 'fr-FR', es: 'es-ES', pt: 'pt-PT' };

const chosen = { lang: 'en' as Lang, texts: en as Dictionary, plurals: new Map<Lang, Intl.PluralRules>() };

export const isLang = (value: unknown): value is Lang => typeof value === 'string' && Object.hasOwn(LANGS, value);

export function setLanguage(lang: Lang): void {
  chosen.lang = lang;
  chosen.texts = DICTIONARIES[lang]();
}

export const language = (): Lang => chosen.lang;
export const locale = (): string => LOCALES[chosen.lang];

// The first of the preferred languages that the page has.
export function preferredLanguage(wanted: readonly string[]): Lang {
  for (const tag of wanted) {
    const lang = tag.slice(0, 2).toLowerCase();
    if (isLang(lang)) return lang;
  }
  return 'en';
}

function formFor(forms: Forms, count: unknown): string {
  let rules = chosen.plurals.get(chosen.lang);
  if (!rules) {
    rules = new Intl.PluralRules(locale());
    chosen.plurals.set(chosen.lang, rules);
  }
  return forms[rules.select(Number(count) || 0)] ?? forms['other'] ?? '';
}

// Keys that are put together at run time. All others stand in the sources as they are, since the built page has
// numbers instead of them.
type Composed = `${string}_${string}`;

// Splits a text at its placeholders; each placeholder becomes an object with its name.
function pieces(key: string, vars: Record<string, unknown>): (string | { name: string })[] {
  const entry = chosen.texts[key as Key];
  const whole = entry === undefined ? shown(key) : typeof entry === 'string' ? entry : formFor(entry, vars['n']);
  return whole.split(/\{(\w+)\}/).map((part, index) => (index % 2 === 0 ? part : { name: part }));
}

// A value may be a file name or a word from the server, so it is made harmless like any other name.
const written = (value: unknown): string => (typeof value === 'number' ? units.formatCount(value, locale()) : shown(String(value)));

export type Args<K extends Key> = keyof Vars<K> extends never ? [] : [vars: Vars<K>];

// The text for a key with its placeholders filled in; numbers are formatted for the locale.
export function t<K extends Key>(key: K, ...args: Args<K>): string {
  return filled(key, args[0]);
}

function filled(key: string, vars: Record<string, unknown> = {}): string {
  return pieces(key, vars).map((part) => (typeof part === 'string' ? part : part.name in vars ? written(vars[part.name]) : `{${part.name}}`)).join('');
}

// The same for keys put together at run time. An unknown key is shown as it is.
export const text: (key: Composed, vars?: Record<string, unknown>) => string = filled;

// The same with arbitrary placeholder values, such as elements; returns the parts in order.
export function parts<K extends Key, V>(key: K, vars: Record<keyof Vars<K>, string | number | V>): (string | V)[] {
  return pieces(key, vars).map((part) => {
    if (typeof part === 'string') return part;
    const value = (vars as Record<string, string | number | V>)[part.name];
    return typeof value === 'number' ? written(value) : (value as string | V);
  });
}

export const known = (key: Composed): boolean => Object.hasOwn(en, key);

// The phrase for a word of the program, or the word itself if there is none.
export function phrase(prefix: `${string}_`, word: string): string {
  const key: Composed = `${prefix}${word}`;
  return known(key) ? text(key) : shown(word);
}

// The sentence for a failure word.
export function failure(word: string): string {
  const { key, code } = wordingOf(word);
  return key === null ? shown(word) : filled(key, { code });
}

export const size = (bytes: number): string => units.formatSize(bytes, locale());
export const count = (value: number): string => units.formatCount(value, locale());
export const seconds = (value: number): string => units.formatSeconds(value, locale());
export const date = (milliseconds: number): string => units.formatDate(milliseconds, locale());
export const time = (milliseconds: number): string => units.formatTime(milliseconds, locale());
export const percent = (share: number): string => units.formatPercent(share, locale());

// Makes the browser load what it formats numbers with.
export function prepareFormats(): void {
  size(1.5e9);
  count(1);
}
