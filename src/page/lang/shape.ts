// The type of a dictionary. English is the reference: every other language has the same keys, each with
// the same {placeholders}, and the plural forms that its own rules need. A dictionary that differs does
// not compile.
import type { en } from './en';

type English = typeof en;
export type Key = keyof English;

// The placeholder names in a text.
type Holes<S> = S extends `${string}{${infer Name}}${infer Rest}` ? Name | Holes<Rest> : never;
type AllHoles<E> = E extends string ? Holes<E> : Holes<E[keyof E]>;
type Same<A, B> = [A] extends [B] ? ([B] extends [A] ? true : false) : false;

// Keys of texts without placeholders.
export type PlainKey = { [K in Key]: [AllHoles<English[K]>] extends [never] ? K : never }[Key];

export type Vars<K extends Key> = Record<AllHoles<English[K]>, string | number>;

export type Forms = { readonly [category: string]: string };
export type Dictionary = { readonly [K in Key]: English[K] extends string ? string : Forms };

type CheckedText<E, D> = Same<Holes<E>, Holes<D>> extends true ? string : { placeholders: Holes<E> };
type CheckedForms<E, D, Categories extends string> =
  Same<keyof D, Categories> extends true
    ? (Same<AllHoles<E>, AllHoles<D>> extends true ? D : { placeholders: AllHoles<E> })
    : Record<Categories, string>;
type Checked<D, Categories extends string> = {
  [K in keyof D]: K extends Key
    ? (English[K] extends string ? CheckedText<English[K], D[K]> : CheckedForms<English[K], D[K], Categories>)
    : never;
};

// Dutch has the plural forms of English; French, Spanish and Portuguese have another one for millions.
// A function, since the built page makes a dictionary only when its language is chosen.
export const dictionary = <Categories extends string>() =>
  <const D extends Record<Key, unknown>>(texts: D & Checked<D, Categories>) => (): Dictionary => texts as unknown as Dictionary;
