// What the user chose in this browser: language and appearance.
import { isLang, preferredLanguage, setLanguage, type Lang } from '../core/i18n';
import { changed } from './state';
import { read, write } from './stored';

const LANG_STORED = 'vorda-lang';
const THEME_STORED = 'vorda-theme';
export const THEME = { light: 'light', dark: 'dark' } as const;
export type Theme = (typeof THEME)[keyof typeof THEME];

const isTheme = (value: string | null | undefined): value is Theme => value === THEME.light || value === THEME.dark;

export function chooseLanguage(lang: Lang): void {
  write(LANG_STORED, lang);
  applyLanguage(lang);
  changed('language');
}

function applyLanguage(lang: Lang): void {
  setLanguage(lang);
  document.documentElement.lang = lang;
}

export const theme = (): Theme => (document.documentElement.dataset['theme'] === THEME.dark ? THEME.dark : THEME.light);

export function chooseTheme(wanted: Theme): void {
  write(THEME_STORED, wanted);
  document.documentElement.dataset['theme'] = wanted;
}

export function applyStoredChoices(): void {
  const lang = read(LANG_STORED);
  applyLanguage(isLang(lang) ? lang : preferredLanguage(navigator.languages));
  const stored = read(THEME_STORED);
  const dark = matchMedia('(prefers-color-scheme: dark)');
  const apply = (): void => {
    const chosen = read(THEME_STORED);
    document.documentElement.dataset['theme'] = isTheme(chosen) ? chosen : dark.matches ? THEME.dark : THEME.light;
  };
  apply();
  if (!isTheme(stored)) dark.addEventListener('change', apply);
}
